#include <QJsonArray>
#include <algorithm>
#include <cmath>
#include <memory>

#include "commands/commands.h"
#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/geometry/plane.h"
#include "host/command_context.h"
#include "host/document.h"
#include "host/text/number_text.h"
#include "host/text/point_text.h"
#include "properties/json_text.h"
#include "properties/value_text.h"

namespace vela::commands {
namespace {

/// One element of a create request read as texts, keys compared case-sensitively: each value's plain text.
/// "points" and "bulges" are JSON arrays, given as such or as a string holding one.
class EntityAttributes {
  public:
    explicit EntityAttributes(QJsonObject element) : element_(std::move(element)) {}

    /// The text of `key`; nothing when the element has no such key.
    std::optional<QString> text(QLatin1StringView key) const {
        const auto it = element_.constFind(key);
        if (it == element_.constEnd()) return std::nullopt;
        return properties::PlainText(*it);
    }
    /// A point given by `key`; nothing when it is missing or does not read.
    std::optional<db::Point3d> point(QLatin1StringView key) const {
        const std::optional<QString> t = text(key);
        return t ? host::ReadPointText(*t).point() : std::nullopt;
    }
    /// A number given by `key`; nothing when it is missing or does not read.
    std::optional<double> number(QLatin1StringView key) const {
        const std::optional<QString> t = text(key);
        return t ? host::NumberFromText(*t) : std::nullopt;
    }
    /// The array of `key` when its value is one or is a text holding one in JSON; nothing otherwise.
    std::optional<QJsonArray> array(QLatin1StringView key) const {
        const auto it = element_.constFind(key);
        if (it == element_.constEnd()) return std::nullopt;
        if (it->isArray()) return it->toArray();
        const QJsonDocument parsed = QJsonDocument::fromJson(properties::PlainText(*it).toUtf8());
        if (!parsed.isArray()) return std::nullopt;
        return parsed.array();
    }
    bool contains(QLatin1StringView key) const { return element_.contains(key); }

  private:
    QJsonObject element_;
};

std::optional<double> positive(const std::optional<double>& value) {
    return value && *value > 0.0 ? value : std::nullopt;
}

// One class's reading of the attributes: the free entity, with the database's defaults and its geometry, and
// its summary "properties" written as the writer's next value; null when an attribute is missing or wrong
// (the caller then takes back what was written).
using Maker = std::unique_ptr<db::Entity> (*)(const db::Database&, const EntityAttributes&,
                                              properties::JsonTextWriter&);

template <class T>
std::unique_ptr<T> withDefaults(const db::Database& database) {
    auto entity = std::make_unique<T>();
    entity->setDatabaseDefaults(&database);
    return entity;
}

std::unique_ptr<db::Entity> makeLine(const db::Database& database, const EntityAttributes& a,
                                     properties::JsonTextWriter& out) {
    const std::optional<db::Point3d> start = a.point(QLatin1String("start")),
                                     end = a.point(QLatin1String("end"));
    if (!start || !end) return nullptr;
    auto line = withDefaults<db::Line>(database);
    line->setStartPoint(*start);
    line->setEndPoint(*end);
    out.beginObject().key("endPoint").pointString(*end).key("startPoint").pointString(*start).endObject();
    return line;
}

std::unique_ptr<db::Entity> makeCircle(const db::Database& database, const EntityAttributes& a,
                                       properties::JsonTextWriter& out) {
    const std::optional<db::Point3d> center = a.point(QLatin1String("center"));
    const std::optional<double> radius = positive(a.number(QLatin1String("radius")));
    if (!center || !radius) return nullptr;
    auto circle = withDefaults<db::Circle>(database);
    circle->setCenter(*center);
    if (circle->setRadius(*radius) != db::ErrorStatus::Ok) return nullptr;
    out.beginObject().key("center").pointString(*center).key("radius").sixDigitString(*radius).endObject();
    return circle;
}

std::unique_ptr<db::Entity> makeArc(const db::Database& database, const EntityAttributes& a,
                                    properties::JsonTextWriter& out) {
    const std::optional<db::Point3d> center = a.point(QLatin1String("center"));
    const std::optional<double> radius = positive(a.number(QLatin1String("radius")));
    const std::optional<double> startAngle = a.number(QLatin1String("startAngle"));
    const std::optional<double> endAngle = a.number(QLatin1String("endAngle"));
    if (!center || !radius || !startAngle || !endAngle) return nullptr;
    // The angles are radians as they come: the assistant page sends them so.
    auto arc = withDefaults<db::Arc>(database);
    arc->setCenter(*center);
    if (arc->setRadius(*radius) != db::ErrorStatus::Ok) return nullptr;
    arc->setStartAngle(*startAngle);
    arc->setEndAngle(*endAngle);
    out.beginObject()
        .key("center")
        .pointString(*center)
        .key("endAngle")
        .sixDigitString(*endAngle)
        .key("radius")
        .sixDigitString(*radius)
        .key("startAngle")
        .sixDigitString(*startAngle)
        .endObject();
    return arc;
}

std::unique_ptr<db::Entity> makeEllipse(const db::Database& database, const EntityAttributes& a,
                                        properties::JsonTextWriter& out) {
    const std::optional<db::Point3d> center = a.point(QLatin1String("center"));
    const std::optional<double> major = positive(a.number(QLatin1String("majorAxis")));
    const std::optional<double> minor = positive(a.number(QLatin1String("minorAxis")));
    std::optional<double> rotation = 0.0;
    if (a.contains(QLatin1String("rotation"))) rotation = a.number(QLatin1String("rotation"));
    if (!center || !major || !minor || !rotation) return nullptr;

    // Unlike the arc's angles, the ellipse's rotation comes in degrees.
    const double r = *rotation * db::kPi / 180.0;
    const db::Vector3d majorAxis(*major * std::cos(r), *major * std::sin(r), 0.0);
    auto ellipse = withDefaults<db::Ellipse>(database);
    // The ellipse refuses a minor axis longer than the major one; the entity then fails like any bad input.
    if (ellipse->set(*center, db::Vector3d::zAxis(), majorAxis, *minor / *major, 0.0,
                     db::Ellipse::kFullTurn) != db::ErrorStatus::Ok)
        return nullptr;
    out.beginObject()
        .key("center")
        .pointString(*center)
        .key("majorAxis")
        .sixDigitString(*major)
        .key("minorAxis")
        .sixDigitString(*minor)
        .key("rotation")
        .sixDigitString(*rotation)
        .endObject();
    return ellipse;
}

std::unique_ptr<db::Entity> makePolyline(const db::Database& database, const EntityAttributes& a,
                                         properties::JsonTextWriter& out) {
    const std::optional<QJsonArray> points = a.array(QLatin1String("points"));
    if (!points || points->size() < 2) return nullptr;
    std::optional<QJsonArray> bulges;
    if (a.contains(QLatin1String("bulges"))) {
        bulges = a.array(QLatin1String("bulges"));
        if (!bulges || bulges->size() != points->size()) return nullptr;
    }

    auto polyline = withDefaults<db::Polyline>(database);
    out.beginObject().key("vertices").beginArray();
    for (qsizetype i = 0; i < points->size(); ++i) {
        const QJsonValue element = points->at(i);
        const std::optional<db::Point3d> p =
            element.isString() ? host::ReadPointText(element.toString()).point() : std::nullopt;
        if (!p) return nullptr;
        // A lightweight polyline is flat: Z is checked and reported but the vertex keeps only X and Y. Widths
        // stay 0, which the polyline treats as "no width of its own".
        polyline->addVertexAt(static_cast<std::size_t>(i), db::Point2d(p->x, p->y), 0.0, 0.0, 0.0);
        out.pointString(*p);
    }
    out.endArray().key("bulges").beginArray();
    for (qsizetype i = 0; i < points->size(); ++i) {
        const QJsonValue b = bulges ? bulges->at(i) : QJsonValue(0.0);
        if (!b.isDouble() ||
            polyline->setBulgeAt(static_cast<std::size_t>(i), b.toDouble()) != db::ErrorStatus::Ok)
            return nullptr;
        out.number(b.toDouble());
    }
    out.endArray();

    const std::optional<QString> closedText = a.text(QLatin1String("closed"));
    const bool closed = closedText && closedText->compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
    if (closed) polyline->setClosed(true);
    out.key("closed").string(closed ? "true" : "false").endObject();
    return polyline;
}

struct EntityClass {
    const char* name;
    Maker make;
};
constexpr EntityClass kClasses[] = {{"AcDbLine", makeLine},
                                    {"AcDbCircle", makeCircle},
                                    {"AcDbArc", makeArc},
                                    {"AcDbPolyline", makePolyline},
                                    {"AcDbEllipse", makeEllipse}};

// Creates the entity in model space and writes its summary as the writer's next value; false, with nothing
// added to the drawing and nothing written, for any fault.
bool createEntity(db::Database* database, const QString& className, const EntityAttributes& a,
                  db::Extents3d& createdExtents, properties::JsonTextWriter& out) {
    if (!database) return false;
    const auto cls = std::find_if(std::begin(kClasses), std::end(kClasses),
                                  [&](const EntityClass& c) { return className == QLatin1String(c.name); });
    if (cls == std::end(kClasses)) return false;
    const properties::JsonTextWriter::Mark mark = out.mark();
    try {
        // The properties come first: the handle is known only once the entity is in the drawing.
        out.beginObject().key("properties");
        std::unique_ptr<db::Entity> entity = cls->make(*database, a, out);
        // The extents do not change by appending; taking them from the free entity saves an open.
        db::Extents3d extents;
        const bool hasExtents = entity && entity->getGeomExtents(extents) == db::ErrorStatus::Ok;
        db::ObjectId id;
        if (entity &&
            database->appendEntity(database->modelSpaceId(), std::move(entity), &id) == db::ErrorStatus::Ok) {
            if (hasExtents) createdExtents.addExtents(extents);
            out.key("className").string(cls->name).key("handle").string(id.handle().toText()).endObject();
            return true;
        }
    } catch (const std::exception&) {
    }
    out.rewind(mark);
    return false;
}

// Zooms out just enough to show the new geometry too, when some of it lies outside the visible area.
void showCreated(host::Document* document, const db::Extents3d& created) {
    if (!document || !created.isValid()) return;
    host::View& view = document->view();
    db::Extents3d visible = view.visibleExtents();
    const double tol = db::kGeomTolerance;
    const db::Point3d &vmin = visible.minPoint(), &vmax = visible.maxPoint();
    const db::Point3d &cmin = created.minPoint(), &cmax = created.maxPoint();
    const bool inside = !(vmin.x > cmin.x + tol || vmin.y > cmin.y + tol || vmin.z > cmin.z + tol ||
                          vmax.x < cmax.x - tol || vmax.y < cmax.y - tol || vmax.z < cmax.z - tol);
    if (inside) return;
    visible.addExtents(created);
    view.zoomToExtents(visible, 1.02);
}

// Creates the entities of the request's "entities" in order, answers with the summaries of those created and
// "success" true when none failed, and zooms the view out when the new geometry lies outside it. Elements
// that are not objects or have no "className" are skipped.
QJsonObject createEntities(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{QStringLiteral("success"), false}};
    const QJsonValue entities = request.object().value(QLatin1String("entities"));
    if (!entities.isArray()) return response;

    bool allCreated = true;
    db::Extents3d created;
    const QJsonArray elements = entities.toArray();
    properties::JsonTextWriter summaries;
    // Room for a batch of lines and circles at once: growing a large buffer step by step copies it each time.
    summaries.reserve(elements.size() * 128 + 2);
    summaries.beginArray();
    for (const QJsonValue& element : elements) {
        if (!element.isObject()) continue;
        const EntityAttributes attributes(element.toObject());
        const std::optional<QString> className = attributes.text(QLatin1String("className"));
        if (!className) continue;
        if (!createEntity(context.database(), *className, attributes, created, summaries)) allCreated = false;
    }
    summaries.endArray();
    showCreated(context.document(), created);
    response.insert(QStringLiteral("success"), allCreated);
    response.insert(QStringLiteral("entities"), summaries.toArray());
    return response;
}

}  // namespace

extern const catalogue::CommandRow kCreateEntities = {
    .slot = "CreateEntities",
    .parameter = "creationQuery",
    .refusalPayloadKey = "entities",
    .receivedLog = "Received creation query from assistant:\n%1",
    .responseLog = "Entity creation response:\n%1",
    .globalName = "_V3_CREATEENTITIES",
    .className = "CJxCommandCreateObjects",
    .body = createEntities,
    .effect = catalogue::Effect::Changes,
    .description =
        "Draws new lines, circles, arcs, lightweight polylines and ellipses in model space on the current "
        "layer, and answers each one's handle and the geometry it got. Points are texts \"x,y\" or "
        "\"x,y,z\"; arc angles are radians, the ellipse's rotation is degrees.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "entities": {
      "type": "array",
      "items": {
        "type": "object",
        "properties": {
          "className": {"enum": ["AcDbLine", "AcDbCircle", "AcDbArc", "AcDbPolyline", "AcDbEllipse"]},
          "start": {"type": "string", "description": "line start point x,y[,z]"},
          "end": {"type": "string", "description": "line end point x,y[,z]"},
          "center": {"type": "string", "description": "center point x,y[,z]"},
          "radius": {"type": ["number", "string"]},
          "startAngle": {"type": ["number", "string"], "description": "radians"},
          "endAngle": {"type": ["number", "string"], "description": "radians"},
          "majorAxis": {"type": ["number", "string"], "description": "length of the major axis"},
          "minorAxis": {"type": ["number", "string"], "description": "length of the minor axis"},
          "rotation": {"type": ["number", "string"], "description": "degrees"},
          "points": {"type": "array", "items": {"type": "string"}, "minItems": 2},
          "bulges": {"type": "array", "items": {"type": "number"}},
          "closed": {"type": ["boolean", "string"]}
        },
        "required": ["className"]
      }
    }
  },
  "required": ["entities"]
})json",
    .exampleRequest = R"json({"entities": [
        {"className": "AcDbLine", "start": "0,0", "end": "2500,1200"},
        {"className": "AcDbCircle", "center": "500,500", "radius": 120},
        {"className": "AcDbPolyline", "points": ["0,0", "1000,0", "1000,800"], "bulges": [0, 0.4, 0], "closed": true}]})json",
};

}  // namespace vela::commands

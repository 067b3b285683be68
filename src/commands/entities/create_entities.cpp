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
#include "properties/handle_text.h"
#include "properties/number_text.h"
#include "properties/point_text.h"
#include "properties/value_text.h"

namespace vela::commands {
namespace {

using properties::PointToText;
using properties::SixDigitNumberText;

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
        return t ? properties::ReadPointText(*t).point() : std::nullopt;
    }
    /// A number given by `key`; nothing when it is missing or does not read.
    std::optional<double> number(QLatin1StringView key) const {
        const std::optional<QString> t = text(key);
        return t ? properties::NumberFromText(*t) : std::nullopt;
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

/// A new entity of one class, made from the attributes, with the summary of the geometry it was given.
struct Made {
    std::unique_ptr<db::Entity> entity;
    QJsonObject properties;
};

// One class's reading of the attributes: the free entity, with the database's defaults and its geometry;
// nothing when an attribute is missing or wrong.
using Maker = std::optional<Made> (*)(const db::Database&, const EntityAttributes&);

template <class T>
std::unique_ptr<T> withDefaults(const db::Database& database) {
    auto entity = std::make_unique<T>();
    entity->setDatabaseDefaults(&database);
    return entity;
}

std::optional<Made> makeLine(const db::Database& database, const EntityAttributes& a) {
    const std::optional<db::Point3d> start = a.point(QLatin1String("start")),
                                     end = a.point(QLatin1String("end"));
    if (!start || !end) return std::nullopt;
    auto line = withDefaults<db::Line>(database);
    line->setStartPoint(*start);
    line->setEndPoint(*end);
    return Made{std::move(line), {{"endPoint", PointToText(*end)}, {"startPoint", PointToText(*start)}}};
}

std::optional<Made> makeCircle(const db::Database& database, const EntityAttributes& a) {
    const std::optional<db::Point3d> center = a.point(QLatin1String("center"));
    const std::optional<double> radius = positive(a.number(QLatin1String("radius")));
    if (!center || !radius) return std::nullopt;
    auto circle = withDefaults<db::Circle>(database);
    circle->setCenter(*center);
    if (circle->setRadius(*radius) != db::ErrorStatus::Ok) return std::nullopt;
    return Made{std::move(circle),
                {{"center", PointToText(*center)}, {"radius", SixDigitNumberText(*radius)}}};
}

std::optional<Made> makeArc(const db::Database& database, const EntityAttributes& a) {
    const std::optional<db::Point3d> center = a.point(QLatin1String("center"));
    const std::optional<double> radius = positive(a.number(QLatin1String("radius")));
    const std::optional<double> startAngle = a.number(QLatin1String("startAngle"));
    const std::optional<double> endAngle = a.number(QLatin1String("endAngle"));
    if (!center || !radius || !startAngle || !endAngle) return std::nullopt;
    // The angles are radians as they come: the assistant page sends them so.
    auto arc = withDefaults<db::Arc>(database);
    arc->setCenter(*center);
    if (arc->setRadius(*radius) != db::ErrorStatus::Ok) return std::nullopt;
    arc->setStartAngle(*startAngle);
    arc->setEndAngle(*endAngle);
    return Made{std::move(arc),
                {{"center", PointToText(*center)},
                 {"endAngle", SixDigitNumberText(*endAngle)},
                 {"radius", SixDigitNumberText(*radius)},
                 {"startAngle", SixDigitNumberText(*startAngle)}}};
}

std::optional<Made> makeEllipse(const db::Database& database, const EntityAttributes& a) {
    const std::optional<db::Point3d> center = a.point(QLatin1String("center"));
    const std::optional<double> major = positive(a.number(QLatin1String("majorAxis")));
    const std::optional<double> minor = positive(a.number(QLatin1String("minorAxis")));
    std::optional<double> rotation = 0.0;
    if (a.contains(QLatin1String("rotation"))) rotation = a.number(QLatin1String("rotation"));
    if (!center || !major || !minor || !rotation) return std::nullopt;

    // Unlike the arc's angles, the ellipse's rotation comes in degrees.
    const double r = *rotation * db::kPi / 180.0;
    const db::Vector3d majorAxis(*major * std::cos(r), *major * std::sin(r), 0.0);
    auto ellipse = withDefaults<db::Ellipse>(database);
    // The ellipse refuses a minor axis longer than the major one; the entity then fails like any bad input.
    if (ellipse->set(*center, db::Vector3d::zAxis(), majorAxis, *minor / *major, 0.0,
                     db::Ellipse::kFullTurn) != db::ErrorStatus::Ok)
        return std::nullopt;
    return Made{std::move(ellipse),
                {{"center", PointToText(*center)},
                 {"majorAxis", SixDigitNumberText(*major)},
                 {"minorAxis", SixDigitNumberText(*minor)},
                 {"rotation", SixDigitNumberText(*rotation)}}};
}

std::optional<Made> makePolyline(const db::Database& database, const EntityAttributes& a) {
    const std::optional<QJsonArray> points = a.array(QLatin1String("points"));
    if (!points || points->size() < 2) return std::nullopt;

    auto polyline = withDefaults<db::Polyline>(database);
    QJsonArray vertices;
    for (qsizetype i = 0; i < points->size(); ++i) {
        const QJsonValue element = points->at(i);
        const std::optional<db::Point3d> p =
            element.isString() ? properties::ReadPointText(element.toString()).point() : std::nullopt;
        if (!p) return std::nullopt;
        // A lightweight polyline is flat: Z is checked and reported but the vertex keeps only X and Y. Widths
        // stay 0, which the polyline treats as "no width of its own".
        polyline->addVertexAt(static_cast<std::size_t>(i), db::Point2d(p->x, p->y), 0.0, 0.0, 0.0);
        vertices.append(PointToText(*p));
    }

    QJsonArray bulges;
    if (a.contains(QLatin1String("bulges"))) {
        const std::optional<QJsonArray> given = a.array(QLatin1String("bulges"));
        if (!given || given->size() != points->size()) return std::nullopt;
        for (qsizetype i = 0; i < given->size(); ++i) {
            const QJsonValue b = given->at(i);
            if (!b.isDouble() ||
                polyline->setBulgeAt(static_cast<std::size_t>(i), b.toDouble()) != db::ErrorStatus::Ok)
                return std::nullopt;
            bulges.append(b.toDouble());
        }
    } else {
        for (qsizetype i = 0; i < points->size(); ++i) bulges.append(0);
    }

    const std::optional<QString> closedText = a.text(QLatin1String("closed"));
    const bool closed = closedText && closedText->compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
    if (closed) polyline->setClosed(true);
    return Made{std::move(polyline),
                {{"bulges", bulges}, {"closed", closed ? "true" : "false"}, {"vertices", vertices}}};
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

// Creates the entity in model space and answers its summary; nothing, with nothing added to the drawing, for
// any fault.
std::optional<QJsonObject> createEntity(db::Database* database, const QString& className,
                                        const EntityAttributes& a, db::Extents3d& createdExtents) {
    if (!database) return std::nullopt;
    const auto cls = std::find_if(std::begin(kClasses), std::end(kClasses),
                                  [&](const EntityClass& c) { return className == QLatin1String(c.name); });
    if (cls == std::end(kClasses)) return std::nullopt;
    try {
        std::optional<Made> made = cls->make(*database, a);
        if (!made) return std::nullopt;
        // The extents do not change by appending; taking them from the free entity saves an open.
        db::Extents3d extents;
        const bool hasExtents = made->entity->getGeomExtents(extents) == db::ErrorStatus::Ok;
        db::ObjectId id;
        if (database->appendEntity(database->modelSpaceId(), std::move(made->entity), &id) !=
            db::ErrorStatus::Ok)
            return std::nullopt;
        if (hasExtents) createdExtents.addExtents(extents);
        return QJsonObject{{"className", QLatin1String(cls->name)},
                           {"handle", properties::HandleText(id)},
                           {"properties", made->properties}};
    } catch (const std::exception&) {
        return std::nullopt;
    }
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
    QJsonArray summaries;
    for (const QJsonValue& element : entities.toArray()) {
        if (!element.isObject()) continue;
        const EntityAttributes attributes(element.toObject());
        const std::optional<QString> className = attributes.text(QLatin1String("className"));
        if (!className) continue;
        if (std::optional<QJsonObject> summary =
                createEntity(context.database(), *className, attributes, created))
            summaries.append(*summary);
        else
            allCreated = false;
    }
    showCreated(context.document(), created);
    response.insert(QStringLiteral("success"), allCreated);
    response.insert(QStringLiteral("entities"), summaries);
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
        "\"x,y,z\"; "
        "arc angles are radians, the ellipse's rotation is degrees.",
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

#include "commands/entities/create_entities.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "commands/entities/number_text.h"
#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "host/command_context.h"
#include "host/document.h"

namespace vela::commands {
namespace {

constexpr double kPi = 3.141592653589793;

// A point text split at its commas: at least two parts, the third (when there is one) is Z, the rest is
// ignored. Splitting and converting are separate steps because every part count is checked before any
// coordinate is.
struct PointParts {
    QStringView x, y, z;
    bool hasZ = false;
};

std::optional<PointParts> splitPoint(QStringView text) {
    const qsizetype first = text.indexOf(u',');
    if (first < 0) return std::nullopt;
    PointParts parts;
    parts.x = text.first(first);
    QStringView rest = text.sliced(first + 1);
    const qsizetype second = rest.indexOf(u',');
    if (second < 0) {
        parts.y = rest;
        return parts;
    }
    parts.y = rest.first(second);
    rest = rest.sliced(second + 1);
    const qsizetype third = rest.indexOf(u',');
    parts.z = third < 0 ? rest : rest.first(third);
    parts.hasZ = true;
    return parts;
}

std::optional<db::Point3d> convertPoint(const PointParts& parts) {
    const std::optional<double> x = NumberFromText(parts.x), y = NumberFromText(parts.y);
    if (!x || !y) return std::nullopt;
    double z = 0.0;
    if (parts.hasZ) {
        const std::optional<double> value = NumberFromText(parts.z);
        if (!value) return std::nullopt;
        z = *value;
    }
    return db::Point3d(*x, *y, z);
}

std::optional<double> positive(const std::optional<double>& value) {
    return value && *value > 0.0 ? value : std::nullopt;
}

// The summaries are written as JSON text and parsed once for the whole batch: building Qt's JSON objects
// member by member costs several allocations per member, which dominated large requests. Everything written
// here is a number, a handle, a fixed name or "true"/"false", so nothing needs escaping. Members may come in
// any order, as the parser sorts them. A writer opens its object at once and closes it when it goes away, at
// the end of the statement that made it.
class JsonText {
  public:
    explicit JsonText(QByteArray& out) : out_(out) { out_ += '{'; }
    ~JsonText() { out_ += '}'; }
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;
    JsonText& point(const char* key, const db::Point3d& p) {
        return quoted(key, [&] { AppendPointText(out_, p); });
    }
    JsonText& scalar(const char* key, double v) {
        return quoted(key, [&] { AppendSixDigitNumber(out_, v); });
    }
    JsonText& text(const char* key, const char* s) {
        return quoted(key, [&] { out_ += s; });
    }
    /// JSON written elsewhere (an array, an object).
    JsonText& json(const char* key, const QByteArray& s) { return name(key), out_ += s, *this; }

  private:
    void name(const char* key) {
        out_ += first_ ? "\"" : ",\"";
        out_ += key;
        out_ += "\":";
        first_ = false;
    }
    template <class F>
    JsonText& quoted(const char* key, F write) {
        name(key);
        out_ += '"';
        write();
        out_ += '"';
        return *this;
    }
    QByteArray& out_;
    bool first_ = true;
};

// One class's reading of the attributes: the free entity, with the database's defaults and its geometry, and
// its summary "properties" appended to `properties` as a JSON object; null when an attribute is missing or
// wrong.
using Maker = std::unique_ptr<db::Entity> (*)(const db::Database&, const EntityAttributes&, QByteArray&);

std::unique_ptr<db::Entity> makeLine(const db::Database& database, const EntityAttributes& a,
                                     QByteArray& properties) {
    const std::optional<QString> startText = a.text(QLatin1String("start"));
    const std::optional<QString> endText = a.text(QLatin1String("end"));
    if (!startText || !endText) return nullptr;
    const std::optional<PointParts> startParts = splitPoint(*startText), endParts = splitPoint(*endText);
    if (!startParts || !endParts) return nullptr;
    const std::optional<db::Point3d> start = convertPoint(*startParts);
    if (!start) return nullptr;
    const std::optional<db::Point3d> end = convertPoint(*endParts);
    if (!end) return nullptr;

    auto line = std::make_unique<db::Line>();
    line->setDatabaseDefaults(&database);
    line->setStartPoint(*start);
    line->setEndPoint(*end);
    JsonText(properties).point("endPoint", *end).point("startPoint", *start);
    return line;
}

std::unique_ptr<db::Entity> makeCircle(const db::Database& database, const EntityAttributes& a,
                                       QByteArray& properties) {
    const std::optional<QString> centerText = a.text(QLatin1String("center"));
    const std::optional<QString> radiusText = a.text(QLatin1String("radius"));
    if (!centerText || !radiusText) return nullptr;
    const std::optional<PointParts> centerParts = splitPoint(*centerText);
    if (!centerParts) return nullptr;
    const std::optional<double> radius = positive(NumberFromText(*radiusText));
    if (!radius) return nullptr;
    const std::optional<db::Point3d> center = convertPoint(*centerParts);
    if (!center) return nullptr;

    auto circle = std::make_unique<db::Circle>();
    circle->setDatabaseDefaults(&database);
    circle->setCenter(*center);
    if (circle->setRadius(*radius) != db::ErrorStatus::Ok) return nullptr;
    JsonText(properties).point("center", *center).scalar("radius", *radius);
    return circle;
}

std::unique_ptr<db::Entity> makeArc(const db::Database& database, const EntityAttributes& a,
                                    QByteArray& properties) {
    const std::optional<QString> centerText = a.text(QLatin1String("center"));
    const std::optional<QString> radiusText = a.text(QLatin1String("radius"));
    const std::optional<QString> startText = a.text(QLatin1String("startAngle"));
    const std::optional<QString> endText = a.text(QLatin1String("endAngle"));
    if (!centerText || !radiusText || !startText || !endText) return nullptr;
    const std::optional<PointParts> centerParts = splitPoint(*centerText);
    if (!centerParts) return nullptr;
    const std::optional<double> radius = positive(NumberFromText(*radiusText));
    if (!radius) return nullptr;
    const std::optional<double> startAngle = NumberFromText(*startText);
    if (!startAngle) return nullptr;
    const std::optional<double> endAngle = NumberFromText(*endText);
    if (!endAngle) return nullptr;
    const std::optional<db::Point3d> center = convertPoint(*centerParts);
    if (!center) return nullptr;

    // The angles are radians as they come: the assistant page sends them so.
    auto arc = std::make_unique<db::Arc>();
    arc->setDatabaseDefaults(&database);
    arc->setCenter(*center);
    if (arc->setRadius(*radius) != db::ErrorStatus::Ok) return nullptr;
    arc->setStartAngle(*startAngle);
    arc->setEndAngle(*endAngle);
    JsonText(properties)
        .point("center", *center)
        .scalar("endAngle", *endAngle)
        .scalar("radius", *radius)
        .scalar("startAngle", *startAngle);
    return arc;
}

std::unique_ptr<db::Entity> makeEllipse(const db::Database& database, const EntityAttributes& a,
                                        QByteArray& properties) {
    const std::optional<QString> centerText = a.text(QLatin1String("center"));
    const std::optional<QString> majorText = a.text(QLatin1String("majorAxis"));
    const std::optional<QString> minorText = a.text(QLatin1String("minorAxis"));
    if (!centerText || !majorText || !minorText) return nullptr;
    const std::optional<PointParts> centerParts = splitPoint(*centerText);
    if (!centerParts) return nullptr;
    const std::optional<double> major = NumberFromText(*majorText);
    const std::optional<double> minor = NumberFromText(*minorText);
    if (!major || !minor) return nullptr;
    double rotation = 0.0;
    if (const std::optional<QString> rotationText = a.text(QLatin1String("rotation"))) {
        const std::optional<double> value = NumberFromText(*rotationText);
        if (!value) return nullptr;
        rotation = *value;
    }
    if (!(*major > 0.0) || !(*minor > 0.0)) return nullptr;
    const std::optional<db::Point3d> center = convertPoint(*centerParts);
    if (!center) return nullptr;

    // Unlike the arc's angles, the ellipse's rotation comes in degrees.
    const double r = rotation * kPi / 180.0;
    const db::Vector3d majorAxis(*major * std::cos(r), *major * std::sin(r), 0.0);
    auto ellipse = std::make_unique<db::Ellipse>();
    ellipse->setDatabaseDefaults(&database);
    // The ellipse refuses a minor axis longer than the major one; the entity then fails like any bad input.
    if (ellipse->set(*center, db::Vector3d::zAxis(), majorAxis, *minor / *major, 0.0,
                     db::Ellipse::kFullTurn) != db::ErrorStatus::Ok)
        return nullptr;
    JsonText(properties)
        .point("center", *center)
        .scalar("majorAxis", *major)
        .scalar("minorAxis", *minor)
        .scalar("rotation", rotation);
    return ellipse;
}

std::unique_ptr<db::Entity> makePolyline(const db::Database& database, const EntityAttributes& a,
                                         QByteArray& properties) {
    const std::optional<QJsonArray> points = a.array(QLatin1String("points"));
    if (!points || points->size() < 2) return nullptr;

    auto polyline = std::make_unique<db::Polyline>();
    polyline->setDatabaseDefaults(&database);
    QByteArray vertices;
    for (qsizetype i = 0; i < points->size(); ++i) {
        const QJsonValue element = points->at(i);
        if (!element.isString()) return nullptr;
        const QString text = element.toString();  // the parts view this text: it must outlive them
        const std::optional<PointParts> parts = splitPoint(text);
        const std::optional<db::Point3d> p = parts ? convertPoint(*parts) : std::nullopt;
        if (!p) return nullptr;
        // A lightweight polyline is flat: Z is checked and reported but the vertex keeps only X and Y. Widths
        // stay 0, which the polyline treats as "no width of its own".
        polyline->addVertexAt(static_cast<std::size_t>(i), db::Point2d(p->x, p->y), 0.0, 0.0, 0.0);
        vertices += i ? ",\"" : "\"";
        AppendPointText(vertices, *p);
        vertices += '"';
    }

    QByteArray bulges;
    if (a.contains(QLatin1String("bulges"))) {
        const std::optional<QJsonArray> given = a.array(QLatin1String("bulges"));
        if (!given || given->size() != points->size()) return nullptr;
        for (qsizetype i = 0; i < given->size(); ++i) {
            const QJsonValue b = given->at(i);
            if (!b.isDouble()) return nullptr;
            if (polyline->setBulgeAt(static_cast<std::size_t>(i), b.toDouble()) != db::ErrorStatus::Ok)
                return nullptr;
            if (i) bulges += ',';
            AppendShortestNumber(bulges, b.toDouble());
        }
    } else {
        for (qsizetype i = 0; i < points->size(); ++i) bulges += i ? ",0" : "0";
    }

    const std::optional<QString> closedText = a.text(QLatin1String("closed"));
    const bool closed = closedText && closedText->compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
    if (closed) polyline->setClosed(true);
    JsonText(properties)
        .json("bulges", '[' + bulges + ']')
        .text("closed", closed ? "true" : "false")
        .json("vertices", '[' + vertices + ']');
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

// Creates the entity and writes its summary as a JSON object to `summary`; false, with nothing added to the
// drawing and `summary` to be thrown away, for any fault.
bool createEntity(db::Database* database, const QString& className, const EntityAttributes& a,
                  db::Extents3d& createdExtents, QByteArray& summary) {
    if (!database) return false;
    const auto cls = std::find_if(std::begin(kClasses), std::end(kClasses),
                                  [&](const EntityClass& c) { return className == QLatin1String(c.name); });
    if (cls == std::end(kClasses)) return false;
    try {
        // The properties come first: the handle is known only once the entity is in the drawing.
        summary += "{\"properties\":";
        std::unique_ptr<db::Entity> entity = cls->make(*database, a, summary);
        if (!entity) return false;
        // The extents do not change by appending; taking them from the free entity saves an open.
        db::Extents3d extents;
        const bool hasExtents = entity->getGeomExtents(extents) == db::ErrorStatus::Ok;
        db::ObjectId id;
        if (database->appendEntity(database->modelSpaceId(), std::move(entity), &id) != db::ErrorStatus::Ok)
            return false;
        if (hasExtents) createdExtents.addExtents(extents);
        summary += ",\"className\":\"";
        summary += cls->name;
        summary += "\",\"handle\":\"";
        summary += id.handle().toText();
        summary += "\"}";
        return true;
    } catch (const std::exception&) {
        return false;
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

// Plain text of a JSON value, as requests' geometry is read.
QString plainText(const QJsonValue& value) {
    switch (value.type()) {
        case QJsonValue::String:
            return value.toString();
        case QJsonValue::Double:
            return ShortestNumberText(value.toDouble());
        case QJsonValue::Bool:
            return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
        default:
            return QString();
    }
}

}  // namespace

std::optional<QString> EntityAttributes::text(QLatin1StringView key) const {
    const auto it = element_.constFind(key);
    if (it == element_.constEnd()) return std::nullopt;
    return plainText(*it);
}

std::optional<QJsonArray> EntityAttributes::array(QLatin1StringView key) const {
    const auto it = element_.constFind(key);
    if (it == element_.constEnd()) return std::nullopt;
    const QJsonValue value = *it;
    if (value.isArray()) return value.toArray();
    const QJsonDocument parsed = QJsonDocument::fromJson(plainText(value).toUtf8());
    if (!parsed.isArray()) return std::nullopt;
    return parsed.array();
}

QJsonObject CreateEntity(host::CommandContext& context, const EntityAttributes& attributes,
                         db::Extents3d& createdExtents) {
    const std::optional<QString> className = attributes.text(QLatin1String("className"));
    QByteArray summary;
    if (!className || !createEntity(context.database(), *className, attributes, createdExtents, summary))
        return QJsonObject{{QStringLiteral("success"), false}};
    return QJsonObject{{QStringLiteral("entities"), QJsonArray{QJsonDocument::fromJson(summary).object()}},
                       {QStringLiteral("success"), true}};
}

QJsonObject CreateObjectsResponse(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{QStringLiteral("success"), false}};
    const QJsonValue entities = request.object().value(QLatin1String("entities"));
    if (!entities.isArray()) return response;

    bool allCreated = true;
    db::Extents3d created;
    const QJsonArray elements = entities.toArray();
    QByteArray summaries, summary;
    // Room for a batch of lines and circles at once: growing a large buffer step by step copies it each time.
    summaries.reserve(elements.size() * 128 + 2);
    summaries += '[';
    db::Database* database = context.database();
    for (const QJsonValue& element : elements) {
        if (!element.isObject()) continue;
        const EntityAttributes attributes(element.toObject());
        const std::optional<QString> className = attributes.text(QLatin1String("className"));
        if (!className) continue;
        summary.truncate(0);  // keeps its room for the next one
        if (!createEntity(database, *className, attributes, created, summary)) {
            allCreated = false;
            continue;
        }
        if (summaries.size() > 1) summaries += ',';
        summaries += summary;
    }
    summaries += ']';
    showCreated(context.document(), created);
    response.insert(QStringLiteral("success"), allCreated);
    response.insert(QStringLiteral("entities"), QJsonDocument::fromJson(summaries).array());
    return response;
}

}  // namespace vela::commands

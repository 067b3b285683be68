#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <optional>
#include <utility>

#include "db/geometry/extents.h"

namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// One element of a create request read as texts, keys compared case-sensitively: strings as they stand,
/// numbers in their shortest exact form, booleans as "true"/"false", arrays, objects and null as empty text.
/// "points" and "bulges" are JSON arrays, given as such or as a string holding one.
class EntityAttributes {
  public:
    explicit EntityAttributes(QJsonObject element) : element_(std::move(element)) {}

    /// The text of `key`; nothing when the element has no such key.
    std::optional<QString> text(QLatin1StringView key) const;
    /// The array of `key` when its value is one or is a text holding one in JSON; nothing otherwise.
    std::optional<QJsonArray> array(QLatin1StringView key) const;
    bool contains(QLatin1StringView key) const { return element_.contains(key); }

  private:
    QJsonObject element_;
};

/// Creates one entity in model space from its attributes: "AcDbLine", "AcDbCircle", "AcDbArc",
/// "AcDbPolyline" or "AcDbEllipse" with the geometry keys of its class, and the database's current layer,
/// color, linetype, lineweight, linetype scale and transparency. Answers {"success": true, "entities":
/// [{"handle", "className", "properties"}]} and widens `createdExtents` by the new geometry, or
/// {"success": false} with nothing added to the drawing.
QJsonObject CreateEntity(host::CommandContext& context, const EntityAttributes& attributes,
                         db::Extents3d& createdExtents);

/// The body of _V3_CREATEENTITIES: creates the entities of the request's "entities" in order, answers with
/// the summaries of those created and "success" true when none failed, and zooms the view out when the new
/// geometry lies outside it. Elements that are not objects or have no "className" are skipped.
QJsonObject CreateObjectsResponse(const QJsonDocument& request, host::CommandContext& context);

}  // namespace vela::commands

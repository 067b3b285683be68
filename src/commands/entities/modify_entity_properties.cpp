#include <QFileInfo>
#include <QJsonArray>
#include <cmath>
#include <map>
#include <optional>
#include <vector>

#include "commands/commands.h"
#include "db/database.h"
#include "db/support/support_path.h"
#include "db/value_checks.h"
#include "host/command_context.h"
#include "host/document.h"
#include "host/property_protocol/geometry_edits.h"
#include "host/text/color_text.h"
#include "host/text/number_text.h"
#include "host/text/point_text.h"
#include "properties/linescale_text.h"
#include "properties/lineweight_text.h"
#include "properties/requested_entities.h"
#include "properties/transparency_text.h"
#include "properties/value_text.h"

namespace vela::commands {

namespace {

/// One object of "propertyDescriptors": property name to value text. QString orders by UTF-16 code units, so
/// a descriptor's properties apply in that order whatever order the page wrote them in ("Layer" before
/// "LineColor"), which makes the outcome of a descriptor independent of how the page serialised it.
using PropertyDescriptor = std::map<QString, QString>;

/// What happened to one entity, and to the whole command: every message ends in ". " so that the joined text
/// reads as sentences run together.
struct ModifyResult {
    bool ok = true;
    QString messages;

    void fail(const QString& message) {
        ok = false;
        messages += message;
    }
};

std::vector<PropertyDescriptor> readDescriptors(const QJsonValue& list) {
    std::vector<PropertyDescriptor> descriptors;
    for (const QJsonValue& element : list.toArray()) {
        if (!element.isObject()) continue;
        PropertyDescriptor descriptor;
        const QJsonObject object = element.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            if (std::optional<QString> text = properties::SixDigitText(it.value()))
                descriptor[it.key()] = *text;
        descriptors.push_back(std::move(descriptor));
    }
    return descriptors;
}

/// Runs a setter of the drawing database; true when the database refused it by throwing (the setters of an
/// object open for write only throw when the object cannot take the change).
template <class Set>
bool refused(Set&& set) {
    try {
        set();
        return false;
    } catch (const std::exception&) {
        return true;
    }
}

/// A finite number, or nothing: geometry that took an infinity or NaN could not be drawn or saved.
std::optional<double> readNumber(const QString& text) {
    return host::NumberFromText(text);
}

/// "x,y" or "x,y,z". With two parts the current z stays; a part that does not read counts as 0, so a point
/// with a typo still lands somewhere predictable rather than being refused.
std::optional<db::Point3d> readPoint(const QString& text, const db::Point3d& current) {
    const host::PointText p = host::ReadPointText(text);
    if (p.parts < 2) return std::nullopt;
    return db::Point3d(p.x.value_or(0.0), p.y.value_or(0.0), p.parts > 2 ? p.z.value_or(0.0) : current.z);
}

/// Sets a geometric property from its text, as the entity's class defines it: the nearest class the entity is
/// a kind of decides which names mean something. Refusals by the database (a zero scale factor, a major axis
/// that leaves the ellipse's plane) change nothing and, like every geometric property, say nothing.
void applyGeometry(db::Entity& entity, const QString& name, const QString& value) {
    const host::GeometryEdit* edit = host::findGeometryEdit(entity.isA(), name);
    if (!edit) return;
    switch (edit->value) {
        case host::GeometryValue::Point:
            if (const std::optional<db::Point3d> p = readPoint(value, edit->current(entity)))
                edit->setPoint(entity, *p);
            break;
        case host::GeometryValue::Number:
            if (const std::optional<double> v = readNumber(value)) edit->setNumber(entity, *v);
            break;
        case host::GeometryValue::ScaleFactors: {
            // A part that does not read is 0, which the database refuses.
            const host::PointText p = host::ReadPointText(value);
            const double x = p.x.value_or(0.0);
            edit->setPoint(entity, db::Point3d(x, p.parts > 1 ? p.y.value_or(0.0) : x,
                                               p.parts > 2 ? p.z.value_or(0.0) : x));
            break;
        }
    }
}

/// Geometric properties never produce a message: one the database will not take changes nothing.
void applyGeometrySilently(db::Entity& entity, const QString& name, const QString& value) {
    try {
        applyGeometry(entity, name, value);
    } catch (const std::exception&) {
    }
}

/// Applies descriptors to entities of one drawing.
class PropertyApplier {
  public:
    explicit PropertyApplier(const host::Document* document) : document_(document) {}

    void apply(db::Entity& entity, const PropertyDescriptor& descriptor, ModifyResult& result) {
        for (const auto& [name, value] : descriptor) {
            if (name == QLatin1String("Layer"))
                setLayer(entity, value, result);
            else if (name == QLatin1String("LineColor"))
                setColor(entity, value, result);
            else if (name == QLatin1String("LineType"))
                setLinetype(entity, value, result);
            else if (name == QLatin1String("LineWeight"))
                setLineWeight(entity, value, result);
            else if (name == QLatin1String("LineScale"))
                setLineScale(entity, value, result);
            else if (name == QLatin1String("Transparency"))
                setTransparency(entity, value, result);
            else
                applyGeometrySilently(entity, name, value);
        }
    }

  private:
    static void setLayer(db::Entity& entity, const QString& name, ModifyResult& result) {
        db::ErrorStatus status = db::ErrorStatus::InvalidInput;
        try {
            status = entity.setLayer(name.toStdString());
        } catch (const db::DbError& e) {
            status = e.status();
        } catch (const std::exception&) {
        }
        if (status == db::ErrorStatus::Ok) return;
        const QString reason = status == db::ErrorStatus::KeyNotFound
                                   ? QStringLiteral(" because the layer doesn't exist")
                                   : QString();
        result.fail(QStringLiteral("Error setting layer to %1%2. ").arg(name, reason));
    }

    static void setColor(db::Entity& entity, const QString& text, ModifyResult& result) {
        const host::ColorParseResult parsed = host::ParseColorText(text);
        if (parsed.status != host::ColorParseStatus::Ok) {
            result.fail(host::ColorParseErrorMessage(parsed.status, text));
            return;
        }
        if (refused([&] { entity.setColor(parsed.color); }))
            result.fail(QStringLiteral("Error setting color to %1. ").arg(host::ColorToText(parsed.color)));
    }

    static bool setLinetypeByName(db::Entity& entity, const std::string& name) {
        try {
            return entity.setLinetype(name) == db::ErrorStatus::Ok;
        } catch (const std::exception&) {
            return false;
        }
    }

    // A linetype the drawing lacks is looked for in the support file of the drawing's unit system and loaded
    // from there, as a user would load it by hand before using it.
    void setLinetype(db::Entity& entity, const QString& name, ModifyResult& result) {
        const std::string utf8 = name.toStdString();
        if (setLinetypeByName(entity, utf8)) return;
        // A load that failed fails the same way for every further entity, so the file is read once per name
        // and command, not once per entity of a large selection.
        auto [attempt, firstTry] = failedLoads_.try_emplace(name);
        LoadAttempt& load = attempt->second;
        db::Database* database = entity.database();
        if (firstTry && database) {
            const bool metric = database->measurement() != db::MeasurementSystem::Imperial;
            if (const std::optional<std::filesystem::path> file =
                    supportPath().find(db::linetypeFileName(metric))) {
                load.tried = true;
                try {
                    const db::ErrorStatus status = database->loadLinetype(utf8, *file);
                    if (status != db::ErrorStatus::Ok)
                        load.description = QString::fromUtf8(db::errorText(status));
                } catch (const std::exception& e) {
                    load.description = QString::fromUtf8(e.what());
                }
            }
        }
        if (firstTry && load.tried && setLinetypeByName(entity, utf8)) {
            failedLoads_.erase(attempt);
            result.messages +=
                QStringLiteral("Linetype %1 was not initially found, so it has been loaded and set. ")
                    .arg(name);
            return;
        }
        result.fail(
            load.description.isEmpty()
                ? QStringLiteral("Error setting linetype to %1. ").arg(name)
                : QStringLiteral("Error setting linetype to %1 because of %2. ").arg(name, load.description));
    }

    static void setLineWeight(db::Entity& entity, const QString& text, ModifyResult& result) {
        // A text that names no lineweight keeps the entity's own: guessing a width would change the drawing
        // in a way the user did not ask for. It is not reported either, as the page expects.
        db::LineWeight weight = entity.lineWeight();
        if (!properties::LineWeightFromText(text, weight)) return;
        if (refused([&] { entity.setLineWeight(weight); }))
            result.fail(QStringLiteral("Error setting lineweight to %1. ").arg(text));
    }

    static void setLineScale(db::Entity& entity, const QString& text, ModifyResult& result) {
        const properties::LineScaleParseResult parsed = properties::LineScaleFromText(text);
        if (!parsed.ok()) {
            result.fail(parsed.errorMessage);
            return;
        }
        const double scale = *parsed.scale;
        // Dash lengths are multiplied by the scale: zero or a negative scale gives no usable pattern, and
        // other drawing programs refuse such an entity, so it is refused like a setter failure.
        if (!(scale > 0) || refused([&] { entity.setLinetypeScale(scale); }))
            result.fail(
                QStringLiteral("Error setting linescale to %1. ").arg(QString::number(scale, 'g', 6)));
    }

    static void setTransparency(db::Entity& entity, const QString& text, ModifyResult& result) {
        const std::optional<db::Transparency> transparency = properties::TransparencyFromText(text);
        if (!transparency) return;  // "50%" and other unknown texts change nothing and say nothing
        if (!refused([&] { entity.setTransparency(*transparency); })) return;
        if (transparency->isByLayer())
            result.fail(QStringLiteral("Error setting transparency to ByLayer. "));
        else if (transparency->isByBlock())
            result.fail(QStringLiteral("Error setting transparency to ByBlock. "));
        else
            result.fail(QStringLiteral("Error setting transparency to %1. ").arg(text.toInt()));
    }

    const db::SupportPath& supportPath() {
        if (!supportPath_) {
            std::filesystem::path folder;
            if (document_ && !document_->path().isEmpty())
                folder = QFileInfo(document_->path()).absolutePath().toStdString();
            supportPath_ = db::SupportPath::standard(folder);
        }
        return *supportPath_;
    }

    struct LoadAttempt {
        bool tried = false;   // the support file was found and loading was attempted
        QString description;  // why loading failed, when it did
    };

    const host::Document* document_;
    std::optional<db::SupportPath> supportPath_;  // built when a linetype first has to be loaded
    std::map<QString, LoadAttempt> failedLoads_;
};

// Applies each property descriptor of "propertyDescriptors" to each entity of "handles" (or, without handles,
// of the current selection), the properties of one descriptor in ascending order of their names. Handles that
// name no entity and entities on locked layers are skipped without a message. "success" is false when any
// property failed; the messages of all entities are joined into one string under "errorMessages" (on failure)
// or "infoMessages" (on success).
QJsonObject modifyEntityProperties(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{QStringLiteral("success"), false}};
    const QJsonObject object = request.object();
    const std::vector<db::ObjectId> ids = properties::RequestedOrSelectedIds(object, context);
    if (ids.empty()) {
        response.insert(QStringLiteral("errorMessages"),
                        QStringLiteral("No entities to modify. Provide handles or select entities first."));
        return response;
    }
    const std::vector<PropertyDescriptor> descriptors =
        readDescriptors(object.value(QStringLiteral("propertyDescriptors")));

    ModifyResult result;
    if (!context.database()) {
        result.fail(QStringLiteral("Invalid database"));
    } else {
        PropertyApplier applier(context.document());
        for (db::ObjectId id : ids) {
            // Unknown handles, non-entities, erased objects and entities on locked layers are passed over
            // without a word: the page often sends whatever was selected.
            auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForWrite);
            if (!entity) continue;
            const std::unique_ptr<db::DbObject> before = entity->clone();
            ModifyResult entityResult;
            for (const PropertyDescriptor& descriptor : descriptors)
                applier.apply(*entity, descriptor, entityResult);
            // A value that overflowed on the way (a scale of 1e154 multiplied out, a rotation of 1e308) must
            // not be kept: the entity goes back to how it was.
            if (const std::string problem = db::describeBadValue(*entity); !problem.empty()) {
                entity->restoreContents(*before);
                entityResult.fail(QStringLiteral("Entity %1 would have been left with %2; it was not changed. ")
                                      .arg(QString::fromStdString(entity->handle().toText()),
                                           QString::fromStdString(problem)));
            }
            result.ok = result.ok && entityResult.ok;
            result.messages += entityResult.messages;
        }
    }

    response.insert(QStringLiteral("success"), result.ok);
    if (!result.ok)
        response.insert(QStringLiteral("errorMessages"), result.messages);
    else if (!result.messages.isEmpty())
        response.insert(QStringLiteral("infoMessages"), result.messages);
    return response;
}

}  // namespace

extern const catalogue::CommandRow kModifyEntityProperties = {
    .slot = "ModifyEntityProperties",
    .parameter = "sModificationQuery",
    .receivedLog = "Received modification query from assistant:\n%1",
    .responseLog = "Entity modification response:\n%1",
    .globalName = "_V3_MODIFYENTITYPROPERTIES",
    .className = "CJxCommandModifyEntityProperties",
    .body = modifyEntityProperties,
    .effect = catalogue::Effect::Changes,
    .description =
        "Changes properties of entities named by \"handles\" or, without them, of the selection. General "
        "properties: Layer, LineColor (index 0-256, #RRGGBB or (r,g,b)), LineType (loaded from the standard"
        " file when missing), LineWeight (millimetres such as 0.35, ByLayer, ByBlock, Default), LineScale, "
        "Transparency (alpha 0-255, ByLayer, ByBlock). Geometry: StartPoint, EndPoint, Center, Radius, "
        "StartAngle, EndAngle (radians), MajorAxis, MinorAxisRatio, Position, ScaleFactors, Scale X/Y/Z.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "handles": {"type": "array", "items": {"type": "string"}},
    "propertyDescriptors": {
      "type": "array",
      "items": {"type": "object", "additionalProperties": {"type": ["string", "number", "boolean"]}}
    }
  },
  "required": ["propertyDescriptors"]
})json",
    .exampleRequest = R"json({"handles": ["113"], "propertyDescriptors": [
        {"Layer": "Walls", "LineColor": "#FF8000", "LineWeight": "0.35"}]})json",
};

}  // namespace vela::commands

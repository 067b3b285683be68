#include <QJsonArray>
#include <cstdlib>

#include "commands/commands.h"
#include "db/database.h"
#include "db/raw_object.h"
#include "host/command_context.h"
#include "properties/handle_text.h"

namespace vela::commands {

namespace {

/// The class name the page is told. Entities of types we do not model share one run-time class, so for them
/// the record says what they were: a dimension by its kind (group 70), since a file need not carry its last
/// subclass marker, anything else by the most derived subclass marker it carried ("AcDbLeader").
QString className(const db::Entity& entity) {
    if (const auto* raw = db::objectCast<db::RawEntity>(&entity); raw && raw->extras()) {
        static constexpr const char* kDimensionClasses[] = {
            "AcDbRotatedDimension",   "AcDbAlignedDimension", "AcDb2LineAngularDimension",
            "AcDbDiametricDimension", "AcDbRadialDimension",  "AcDb3PointAngularDimension",
            "AcDbOrdinateDimension"};
        const std::vector<db::DxfTag>& tags = raw->extras()->keptTags;
        std::string marker;
        for (const db::DxfTag& tag : tags) {
            if (tag.code == 100) marker = tag.value;
            if (tag.code != 70 || marker != "AcDbDimension" || raw->dxfName() != "DIMENSION") continue;
            const int kind = std::atoi(tag.value.c_str()) % 32;  // 32, 64 and 128 are flags beside the kind
            if (kind >= 0 && kind < 7) return QString::fromLatin1(kDimensionClasses[kind]);
        }
        for (auto it = tags.rbegin(); it != tags.rend(); ++it)
            if (it->code == 100 && it->value.starts_with("AcDb")) return QString::fromStdString(it->value);
    }
    return QString::fromLatin1(entity.isA()->name());
}

// Erases the entities named by "handles" and lists each erased one under "entities" as {"handle": the text
// as sent, "className": its class name}, in request order. Elements that are not strings, handles that name
// nothing and objects that are not entities are skipped without a trace; an entity that cannot be opened for
// write (on a locked layer) is left alone and makes "success" false. Early failures (no "handles" array, an
// empty one, no database) answer with a single "error" text.
QJsonObject deleteEntities(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{QStringLiteral("success"), false}};
    const QJsonValue handles = request.object().value(QStringLiteral("handles"));
    if (!handles.isArray()) {
        response.insert(QStringLiteral("error"),
                        QStringLiteral("Missing or invalid 'handles' array in input"));
        return response;
    }
    if (handles.toArray().isEmpty()) {
        response.insert(QStringLiteral("error"), QStringLiteral("Empty 'handles' array in input"));
        return response;
    }
    db::Database* database = context.database();
    if (!database) {
        response.insert(QStringLiteral("error"), QStringLiteral("Invalid database"));
        return response;
    }

    bool success = true;
    QJsonArray erased;
    for (const QJsonValue& value : handles.toArray()) {
        if (!value.isString()) continue;
        const QString text = value.toString();
        // An erased object is not found by its handle, so a handle listed twice is erased and reported once.
        const db::ObjectId id = properties::ObjectIdFromHandleText(*database, text);
        if (!db::openObject<db::Entity>(id, db::OpenMode::ForRead)) continue;  // nothing, or not an entity
        auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForWrite);
        if (!entity) {
            success = false;  // on a locked layer: left as it is, and the page learns that not all went
            continue;
        }
        try {
            const QJsonObject report{{QStringLiteral("handle"), text},
                                     {QStringLiteral("className"), className(*entity)}};
            entity->erase(true);
            erased.append(report);
        } catch (const std::exception&) {
            success = false;
        }
    }
    response.insert(QStringLiteral("success"), success);
    response.insert(QStringLiteral("entities"), erased);
    return response;
}

}  // namespace

extern const catalogue::CommandRow kDeleteEntities = {
    .slot = "DeleteEntities",
    .parameter = "deletionQuery",
    .receivedLog = "Received deletion query from assistant:\n%1",
    .responseLog = "Entity deletion response:\n%1",
    .globalName = "_V3_DELETEENTITIES",
    .className = "CJxCommandDeleteObjects",
    .notFoundMessage = "Empty JSON payload",
    .notFoundReturn = host::RTNORM,
    .body = deleteEntities,
    .effect = catalogue::Effect::Deletes,
    .description =
        "Erases the entities named by their handles and lists those erased with their class names. Entities"
        " on locked layers are left alone and make the answer's success false.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "handles": {"type": "array", "items": {"type": "string"}, "minItems": 1}
  },
  "required": ["handles"]
})json",
    .exampleRequest = R"json({"handles": ["113", "114"]})json",
};

}  // namespace vela::commands

#include "tracking/changes_report.h"

#include <QJsonArray>

#include "host/command_context.h"
#include "properties/handle_text.h"
#include "properties/json_text.h"
#include "tracking/tracking.h"

namespace vela::tracking {

QString CategoryName(ChangeCategory category) {
    switch (category) {
        case ChangeCategory::Entity:
            return QStringLiteral("Entity");
        case ChangeCategory::Layer:
            return QStringLiteral("Layer");
        case ChangeCategory::Linetype:
            return QStringLiteral("Linetype");
        case ChangeCategory::TextStyle:
            return QStringLiteral("TextStyle");
        case ChangeCategory::DimStyle:
            return QStringLiteral("DimStyle");
        case ChangeCategory::Other:
            break;
    }
    return QStringLiteral("Other");
}

namespace {

// Category name -> class name -> elements, written as JSON text and read once per class: a report can list a
// hundred thousand created entities.
QJsonObject grouped(const std::map<db::Handle, ChangedObjectRecord>& records) {
    std::map<QString, std::map<QString, properties::JsonTextWriter>> groups;
    for (const auto& [handle, record] : records) {
        properties::JsonTextWriter& list =
            groups[CategoryName(record.category)][QString::fromLatin1(record.className)];
        if (list.empty()) list.beginArray();
        if (record.name.isEmpty())
            list.string(handle.toText());
        else
            list.beginObject()
                .key("handle")
                .string(handle.toText())
                .key("name")
                .string(record.name)
                .endObject();
    }
    QJsonObject result;
    for (auto& [category, classes] : groups) {
        QJsonObject byClass;
        for (auto& [className, list] : classes) byClass.insert(className, list.endArray().toArray());
        result.insert(category, byClass);
    }
    return result;
}

// The changes report of the drawing of the command's document; a drawing the tracker knows nothing of gives
// the empty report.
QJsonObject changesInfo(const QJsonDocument&, host::CommandContext& context) {
    return QJsonObject{{QStringLiteral("success"), true},
                       {QStringLiteral("changes"),
                        BuildChangesReport(GetV3ChangeTracker()->TakeChanges(context.database()))}};
}

}  // namespace

QJsonObject BuildChangesReport(const DatabaseChanges& changes) {
    QJsonArray modified;
    for (const auto& [handle, record] : changes.modified) {
        QJsonArray list;
        for (const PropertyChange& change : record.changes)
            list.append(QJsonObject{{QStringLiteral("property"), change.property},
                                    {QStringLiteral("oldValue"), change.oldValue},
                                    {QStringLiteral("newValue"), change.newValue}});
        QJsonObject item{{QStringLiteral("handle"), properties::HandleText(handle)},
                         {QStringLiteral("className"), QString::fromLatin1(record.className)},
                         {QStringLiteral("category"), CategoryName(record.category)},
                         {QStringLiteral("changes"), list}};
        if (!record.name.isEmpty()) item.insert(QStringLiteral("name"), record.name);
        modified.append(item);
    }
    return QJsonObject{
        {QStringLiteral("created"), grouped(changes.created)},
        {QStringLiteral("erased"), grouped(changes.erased)},
        {QStringLiteral("modified"), modified},
        {QStringLiteral("summary"),
         QJsonObject{{QStringLiteral("created"), static_cast<qint64>(changes.created.size())},
                     {QStringLiteral("modified"), static_cast<qint64>(changes.modified.size())},
                     {QStringLiteral("erased"), static_cast<qint64>(changes.erased.size())}}},
    };
}

extern const catalogue::CommandRow kChangesReport = {
    .slot = "GetChangesInfo",
    .parameter = "jsonRequest",
    .dispatch = catalogue::Dispatch::Direct,
    // The report is about what happened, and answers for no drawing as well.
    .gated = false,
    .receivedLog = "Received GetChangesInfo query from assistant",
    .globalName = "_V3_GETCHANGESINFO",
    .className = "CJxCommandGetChangesInfo",
    .takesPayload = false,
    .body = changesInfo,
    .effect = catalogue::Effect::Reads,
    .description =
        "Reports what changed in the drawing since the last report: objects created and erased (by category "
        "and class), and objects modified with the old and new values of their color, layer, linetype, "
        "lineweight and transparency (layers: name, color, linetype, lineweight, on, frozen, locked). Taking "
        "the report empties it.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object"
})json",
    .exampleRequest = R"json({})json",
};

}  // namespace vela::tracking

#include "bridge/command_catalogue.h"

#include <QJsonArray>
#include <QJsonDocument>

#include "commands/commands.h"
#include "tracking/tracking.h"

namespace vela::bridge {

const std::vector<const catalogue::CommandRow*>& Catalogue() {
    // A new command is one row beside its body, and one line here at its slot's place.
    static const std::vector<const catalogue::CommandRow*> rows = {
        &commands::kSelectEntities,       &commands::kModifyEntityProperties, &commands::kTransformEntities,
        &commands::kCreateEntities,       &commands::kDeleteEntities,         &commands::kCreateLayers,
        &commands::kModifyLayers,         &commands::kDeleteLayers,           &commands::kCreateBlocks,
        &commands::kCreateHatch,          &tracking::kChangesReport,          &tracking::kEvaluateLisp,
        &commands::kSelectEntityByHandle, &commands::kSummarizeEntities,      &commands::kSummarizeLayers,
        &commands::kSelectedHandles,
    };
    return rows;
}

const catalogue::CommandRow* FindBySlot(QAnyStringView slot) {
    for (const catalogue::CommandRow* row : Catalogue())
        if (QAnyStringView::equal(slot, QLatin1StringView(row->slot))) return row;
    return nullptr;
}

const catalogue::CommandRow* FindByGlobalName(QAnyStringView globalName) {
    for (const catalogue::CommandRow* row : Catalogue())
        if (row->globalName && QAnyStringView::equal(globalName, QLatin1StringView(row->globalName)))
            return row;
    return nullptr;
}

namespace {

QJsonValue text(const char* s) {
    return s ? QJsonValue(QString::fromUtf8(s)) : QJsonValue(QJsonValue::Null);
}

QJsonValue effectName(catalogue::Effect effect) {
    switch (effect) {
        case catalogue::Effect::Reads:
            return QStringLiteral("reads");
        case catalogue::Effect::Changes:
            return QStringLiteral("changes");
        case catalogue::Effect::Deletes:
            return QStringLiteral("deletes");
    }
    return QJsonValue();
}

}  // namespace

QJsonObject CatalogueJson() {
    QJsonArray commands;
    for (const catalogue::CommandRow* row : Catalogue()) {
        commands.append(QJsonObject{
            {QStringLiteral("slot"), text(row->slot)},
            {QStringLiteral("parameter"), text(row->parameter)},
            {QStringLiteral("command"), text(row->globalName)},
            {QStringLiteral("className"), text(row->className)},
            {QStringLiteral("effect"), effectName(row->effect)},
            {QStringLiteral("description"), text(row->description)},
            {QStringLiteral("requestSchema"), QJsonDocument::fromJson(row->requestSchema).object()},
            {QStringLiteral("exampleRequest"), QJsonDocument::fromJson(row->exampleRequest).object()},
            {QStringLiteral("available"), row->body != nullptr},
        });
    }
    return QJsonObject{{QStringLiteral("commands"), commands}};
}

}  // namespace vela::bridge

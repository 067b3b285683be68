#include "module/velaassistant_api.h"

#include "commands/commands.h"
#include "host/command_context.h"
#include "tracking/tracking.h"

namespace vela::module {

namespace {

QJsonObject run(const catalogue::CommandRow& row, const QJsonDocument& request,
                host::CommandContext* context) {
    if (context) return row.body(request, *context);
    host::NoUserInput noUser;
    host::UserIO io({}, noUser);
    host::CommandContext noDrawing(nullptr, io);
    return row.body(request, noDrawing);
}

}  // namespace

void CJxVelaAssistantAPIImpl::SelectEntities(const QJsonDocument& request, host::CommandContext* context,
                                             QJsonObject& response) {
    response = run(commands::kSelectEntities, request, context);
}

void CJxVelaAssistantAPIImpl::GetHandlesOfSelectedEntities(host::CommandContext* context,
                                                           QJsonObject& response) {
    response = run(commands::kSelectedHandles, QJsonDocument(), context);
}

bool CJxVelaAssistantAPIImpl::TransformEntities(const QJsonDocument& request, host::CommandContext* context) {
    return run(commands::kTransformEntities, request, context).value(QStringLiteral("success")).toBool();
}

void CJxVelaAssistantAPIImpl::ModifyEntityProperties(const QJsonDocument& request,
                                                     host::CommandContext* context, QJsonObject& response) {
    response = run(commands::kModifyEntityProperties, request, context);
}

void CJxVelaAssistantAPIImpl::CreateEntities(const QJsonDocument& request, host::CommandContext* context,
                                             QJsonObject& response) {
    response = run(commands::kCreateEntities, request, context);
}

void CJxVelaAssistantAPIImpl::DeleteEntities(const QJsonDocument& request, host::CommandContext* context,
                                             QJsonObject& response) {
    response = run(commands::kDeleteEntities, request, context);
}

void CJxVelaAssistantAPIImpl::CreateLayers(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = run(commands::kCreateLayers, request, context);
}

void CJxVelaAssistantAPIImpl::ModifyLayers(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = run(commands::kModifyLayers, request, context);
}

void CJxVelaAssistantAPIImpl::DeleteLayers(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = run(commands::kDeleteLayers, request, context);
}

void CJxVelaAssistantAPIImpl::CreateBlocks(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = run(commands::kCreateBlocks, request, context);
}

void CJxVelaAssistantAPIImpl::SummarizeLayers(host::CommandContext* context, QJsonObject& response) {
    response = run(commands::kSummarizeLayers, QJsonDocument(), context);
}

void CJxVelaAssistantAPIImpl::SummarizeEntities(const QJsonDocument& request, host::CommandContext* context,
                                                QJsonObject& response) {
    response = run(commands::kSummarizeEntities, request, context);
}

void CJxVelaAssistantAPIImpl::CreateHatch(const QJsonDocument& request, host::CommandContext* context,
                                          QJsonObject& response) {
    response = run(commands::kCreateHatch, request, context);
}

void CJxVelaAssistantAPIImpl::EvaluateLisp(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = run(tracking::kEvaluateLisp, request, context);
}

void CJxVelaAssistantAPIImpl::GetChangesInfo(host::CommandContext* context, QJsonObject& response) {
    // Without a context there is no drawing to ask about, and nothing is taken from the tracker.
    if (!context) {
        response = QJsonObject{{QStringLiteral("error"), QStringLiteral("Invalid command context")}};
        return;
    }
    response = run(tracking::kChangesReport, QJsonDocument(), context);
}

}  // namespace vela::module

namespace {
vela::module::CJxVelaAssistantAPI* g_assistantApi = nullptr;
vela::module::CJxElectricalAssistantAPI* g_electricalApi = nullptr;
}  // namespace

extern "C" {
vela::module::CJxVelaAssistantAPI* GetJxVelaAssistantAPI() {
    return g_assistantApi;
}
void SetJxVelaAssistantAPI(vela::module::CJxVelaAssistantAPI* api) {
    g_assistantApi = api;
}
vela::module::CJxElectricalAssistantAPI* GetJxElectricalAssistantAPI() {
    return g_electricalApi;
}
void SetJxElectricalAssistantAPI(vela::module::CJxElectricalAssistantAPI* api) {
    g_electricalApi = api;
}
}

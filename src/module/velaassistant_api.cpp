#include "module/velaassistant_api.h"

#include "commands/entities/select_entities.h"
#include "commands/entities/selected_handles.h"
#include "commands/entities/summarize_entities.h"
#include "commands/layers/summarize_layers.h"
#include "host/command_context.h"

namespace vela::module {

void CJxVelaAssistantAPIImpl::SelectEntities(const QJsonDocument& request, host::CommandContext* context,
                                             QJsonObject& response) {
    response = commands::SelectObjects(request.object(), context ? context->document() : nullptr);
}

void CJxVelaAssistantAPIImpl::GetHandlesOfSelectedEntities(host::CommandContext* context, QJsonObject& response) {
    response = commands::SelectedHandlesResponse(context ? context->document() : nullptr);
}

void CJxVelaAssistantAPIImpl::SummarizeLayers(host::CommandContext* context, QJsonObject& response) {
    response = commands::SummarizeLayers(context ? context->database() : nullptr);
}

void CJxVelaAssistantAPIImpl::SummarizeEntities(const QJsonDocument& request, host::CommandContext* context,
                                                QJsonObject& response) {
    if (context) {
        response = commands::SummarizeEntitiesResponse(request, *context);
        return;
    }
    response = QJsonObject{{QStringLiteral("success"), false}};
}

}  // namespace vela::module

namespace {
vela::module::CJxVelaAssistantAPI* g_assistantApi = nullptr;
vela::module::CJxElectricalAssistantAPI* g_electricalApi = nullptr;
}  // namespace

extern "C" {
vela::module::CJxVelaAssistantAPI* GetJxVelaAssistantAPI() { return g_assistantApi; }
void SetJxVelaAssistantAPI(vela::module::CJxVelaAssistantAPI* api) { g_assistantApi = api; }
vela::module::CJxElectricalAssistantAPI* GetJxElectricalAssistantAPI() { return g_electricalApi; }
void SetJxElectricalAssistantAPI(vela::module::CJxElectricalAssistantAPI* api) { g_electricalApi = api; }
}

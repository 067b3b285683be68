#include "module/velaassistant_api.h"

#include "commands/blocks/create_blocks.h"
#include "commands/entities/create_entities.h"
#include "commands/entities/delete_entities.h"
#include "commands/entities/modify_entity_properties.h"
#include "commands/entities/select_entities.h"
#include "commands/entities/transform_entities.h"
#include "commands/layers/create_layers.h"
#include "commands/layers/delete_layers.h"
#include "commands/layers/modify_layers.h"
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

namespace {
// The bodies that take a command context by reference answer "no context" the way the envelope would.
const QJsonObject kNoContext{{QStringLiteral("success"), false},
                             {QStringLiteral("errorMessages"), QStringLiteral("Invalid command context")}};
}  // namespace

bool CJxVelaAssistantAPIImpl::TransformEntities(const QJsonDocument& request, host::CommandContext* context) {
    return context && commands::TransformEntities(request, *context);
}

void CJxVelaAssistantAPIImpl::ModifyEntityProperties(const QJsonDocument& request, host::CommandContext* context,
                                                     QJsonObject& response) {
    response = context ? commands::ModifyEntityPropertiesResponse(request, *context) : kNoContext;
}

void CJxVelaAssistantAPIImpl::CreateEntities(const QJsonDocument& request, host::CommandContext* context,
                                             QJsonObject& response) {
    response = context ? commands::CreateObjectsResponse(request, *context) : kNoContext;
}

void CJxVelaAssistantAPIImpl::DeleteEntities(const QJsonDocument& request, host::CommandContext* context,
                                             QJsonObject& response) {
    response = context ? commands::DeleteEntitiesResponse(request, *context) : kNoContext;
}

void CJxVelaAssistantAPIImpl::CreateLayers(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = commands::CreateLayers(request, context);
}

void CJxVelaAssistantAPIImpl::ModifyLayers(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = commands::ModifyLayers(request, context);
}

void CJxVelaAssistantAPIImpl::DeleteLayers(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = commands::DeleteLayers(request, context);
}

void CJxVelaAssistantAPIImpl::CreateBlocks(const QJsonDocument& request, host::CommandContext* context,
                                           QJsonObject& response) {
    response = commands::CreateBlocks(request, context);
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

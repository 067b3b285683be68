#include "module/command_table.h"

#include <map>
#include <memory>

#include "bridge/assistant_command.h"
#include "commands/blocks/create_blocks.h"
#include "commands/entities/create_entities.h"
#include "commands/entities/delete_entities.h"
#include "commands/entities/modify_entity_properties.h"
#include "commands/entities/select_entities.h"
#include "commands/entities/selected_handles.h"
#include "commands/entities/summarize_entities.h"
#include "commands/entities/transform_entities.h"
#include "commands/layers/create_layers.h"
#include "commands/layers/delete_layers.h"
#include "commands/layers/modify_layers.h"
#include "commands/layers/summarize_layers.h"
#include "host/command_context.h"
#include "module/panel_commands.h"

namespace vela::module {

namespace {

// The work of each assistant command, by global name. A command joins the host only when its work is here;
// until then its bridge slot answers {"success": false}, as for a command that leaves no response.
const std::map<QString, bridge::AssistantBody>& assistantBodies() {
    static const std::map<QString, bridge::AssistantBody> bodies = {
        {QStringLiteral("_V3_CREATEBLOCKS"), &commands::CreateBlocksResponse},
        {QStringLiteral("_V3_CREATEENTITIES"), &commands::CreateObjectsResponse},
        {QStringLiteral("_V3_CREATELAYERS"), &commands::CreateLayersResponse},
        {QStringLiteral("_V3_DELETEENTITIES"), &commands::DeleteEntitiesResponse},
        {QStringLiteral("_V3_DELETELAYERS"), &commands::DeleteLayersResponse},
        {QStringLiteral("_V3_MODIFYENTITYPROPERTIES"), &commands::ModifyEntityPropertiesResponse},
        {QStringLiteral("_V3_MODIFYLAYERS"), &commands::ModifyLayersResponse},
        // The transform body answers only whether it succeeded.
        {QStringLiteral("_V3_TRANSFORMENTITIES"),
         [](const QJsonDocument& request, host::CommandContext& c) {
             return QJsonObject{{QStringLiteral("success"), commands::TransformEntities(request, c)}};
         }},
        {QStringLiteral("_V3_GETHANDLESOFSELECTEDENTITIES"),
         [](const QJsonDocument&, host::CommandContext& c) { return commands::SelectedHandlesResponse(c.document()); }},
        {QStringLiteral("_V3_SELECTENTITIES"), &commands::SelectObjectsResponse},
        {QStringLiteral("_V3_SUMMARIZEENTITIES"), &commands::SummarizeEntitiesResponse},
        {QStringLiteral("_V3_SUMMARIZELAYERS"),
         [](const QJsonDocument&, host::CommandContext& c) { return commands::SummarizeLayers(c.database()); }},
    };
    return bodies;
}

}  // namespace

std::vector<host::Command*> moduleCommands() {
    static CJxCommandVelaAssistant show;
    static CJxCommandHideVelaAssistant hide;
    static CJxCommandHighlightUI highlight;
    static std::vector<std::unique_ptr<bridge::AssistantCommand>> assistant;
    if (assistant.empty()) {
        for (const bridge::AssistantCommandVariant& variant : bridge::assistantVariants()) {
            auto body = assistantBodies().find(QString::fromLatin1(variant.globalName));
            if (body != assistantBodies().end())
                assistant.push_back(std::make_unique<bridge::AssistantCommand>(variant, body->second));
        }
    }
    std::vector<host::Command*> commands = {&show, &hide, &highlight};
    for (const auto& c : assistant) commands.push_back(c.get());
    return commands;
}

}  // namespace vela::module

#include "module/command_table.h"

#include <algorithm>
#include <memory>

#include "bridge/assistant_command.h"
#include "bridge/command_catalogue.h"
#include "module/panel_commands.h"

namespace vela::module {

std::vector<host::Command*> moduleCommands() {
    static CJxCommandVelaAssistant show;
    static CJxCommandHideVelaAssistant hide;
    static CJxCommandHighlightUI highlight;
    static std::vector<std::unique_ptr<bridge::AssistantCommand>> assistant;
    if (assistant.empty()) {
        // A command joins the host only when its body is built; until then its slot answers {"success":
        // false}, as for a command that leaves no response. The host gets them in the order of their class
        // names.
        std::vector<const catalogue::CommandRow*> rows;
        for (const catalogue::CommandRow* row : bridge::Catalogue())
            if (row->globalName && row->body) rows.push_back(row);
        std::sort(rows.begin(), rows.end(),
                  [](const catalogue::CommandRow* a, const catalogue::CommandRow* b) {
                      return std::string_view(a->className) < std::string_view(b->className);
                  });
        for (const catalogue::CommandRow* row : rows)
            assistant.push_back(std::make_unique<bridge::AssistantCommand>(*row));
    }
    std::vector<host::Command*> commands = {&show, &hide, &highlight};
    for (const auto& c : assistant) commands.push_back(c.get());
    return commands;
}

}  // namespace vela::module

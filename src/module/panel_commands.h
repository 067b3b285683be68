#pragma once

#include "host/command.h"

namespace vela::module {

/// A command of the module that is not an assistant request: the panel and highlight commands.
class CJxCommand : public host::Command {
  public:
    /// `className` and `name` (without underscore) give the local name through the translation catalogue.
    CJxCommand(const char* className, const char* name) : className_(className), name_(name) {}
    QString globalName() const override;
    QString localName() const override;

  private:
    const char* className_;
    const char* name_;
};

/// _VELAAIASSIST: shows the assistant panel.
class CJxCommandVelaAssistant : public CJxCommand {
  public:
    CJxCommandVelaAssistant() : CJxCommand("CJxCommandVelaAssistant", "VELAAIASSIST") {}
    int execute(host::CommandContext& context) override;
};

/// _HIDEVELAAIASSIST: hides the assistant panel.
class CJxCommandHideVelaAssistant : public CJxCommand {
  public:
    CJxCommandHideVelaAssistant() : CJxCommand("CJxCommandHideVelaAssistant", "HIDEVELAAIASSIST") {}
    int execute(host::CommandContext& context) override;
};

/// _HIGHLIGHTUI: asks for a command name and highlights the controls that start it.
class CJxCommandHighlightUI : public CJxCommand {
  public:
    CJxCommandHighlightUI() : CJxCommand("CJxCommandHighlightUI", "HIGHLIGHTUI") {}
    int execute(host::CommandContext& context) override;
};

}  // namespace vela::module

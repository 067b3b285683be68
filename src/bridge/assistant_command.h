#pragma once

#include <QString>
#include <functional>

#include "catalogue/command_row.h"
#include "host/command.h"

namespace vela::bridge {

/// A host command that answers one assistant request, made from the command's catalogue row: it reads the
/// request identifier from its input, finds the request, parses it, runs the row's body and leaves the
/// response in the request registry.
class AssistantCommand : public host::Command {
  public:
    using BodyFunction = std::function<QJsonObject(const QJsonDocument&, host::CommandContext&)>;

    /// `body` replaces the row's own, for tests that watch the envelope; by default the row's body runs.
    explicit AssistantCommand(const catalogue::CommandRow& row, BodyFunction body = {});

    QString globalName() const override;
    /// The name without underscore, translated in the context of the command's class.
    QString localName() const override;
    int execute(host::CommandContext& context) override;

    const catalogue::CommandRow& row() const { return row_; }

  private:
    const catalogue::CommandRow& row_;
    BodyFunction body_;
    /// The row's body writes its response as text, which is left as it is.
    bool answersText_ = false;
};

}  // namespace vela::bridge

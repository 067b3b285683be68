#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <functional>

#include "host/command.h"

namespace vela::host {
class CommandContext;
}

namespace vela::bridge {

/// How one assistant command behaves around its body: the message it leaves when its request is not found,
/// under which key, what it returns then, whether its body gets the request as parsed JSON, and whether it
/// needs a drawing before anything else.
struct AssistantCommandVariant {
    const char* className;        // "CJxCommandCreateBlocks": names the command in translations
    const char* globalName;       // "_V3_CREATEBLOCKS"
    const char* notFoundMessage;  // "Request not found" or "Empty JSON payload"
    const char* notFoundKey;      // "errorMessages" or "error"
    bool takesPayload;
    int notFoundReturn;  // RTERROR or RTNORM
    bool needsDatabase;  // returns RTERROR, leaving no response, when no drawing is open
};

/// The variants of every assistant command, by global name; null for a name that is not one.
const AssistantCommandVariant* findAssistantVariant(const QString& globalName);
/// All of them, in the order they are registered with the host.
const std::vector<AssistantCommandVariant>& assistantVariants();

/// The work of an assistant command: the parsed request (empty for commands that take none) and the command
/// context in, the response object out.
using AssistantBody = std::function<QJsonObject(const QJsonDocument& request, host::CommandContext& context)>;

/// A host command that answers one assistant request: it reads the request identifier from its input, finds
/// the request, parses it, runs its body and leaves the response in the request registry.
class AssistantCommand : public host::Command {
public:
    AssistantCommand(const AssistantCommandVariant& variant, AssistantBody body);

    QString globalName() const override;
    /// The name without underscore, translated in the context of the command's class.
    QString localName() const override;
    int execute(host::CommandContext& context) override;

    const AssistantCommandVariant& variant() const { return variant_; }

private:
    const AssistantCommandVariant& variant_;
    AssistantBody body_;
};

}  // namespace vela::bridge

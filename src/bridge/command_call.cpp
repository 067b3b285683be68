#include "bridge/command_call.h"

#include <QJsonDocument>

#include "bridge/request_registry.h"
#include "host/host.h"

namespace vela::bridge {

QJsonObject MakeResult(bool success) {
    QJsonObject result;
    result.insert(QStringLiteral("success"), success);
    return result;
}

QString ToCompactText(const QJsonObject& object) {
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void RunAssistantCommand(CommandCall& call) {
    RequestRegistry& registry = RequestRegistry::instance();
    call.requestIdentifier = registry.AddRequest(call.requestText);
    // The result code is not looked at: the response (or its absence) says everything.
    host::systemServices().runCommand(call.commandName, {call.requestIdentifier});
    if (std::optional<QByteArray> response = registry.TakeResponseText(call.requestIdentifier))
        call.responseText = std::move(*response);
    else
        call.responseText = QJsonDocument(MakeResult(false)).toJson(QJsonDocument::Compact);
}

}  // namespace vela::bridge

#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace vela::bridge {

/// One slot call's trip to a host command and back.
struct CommandCall {
    QString requestIdentifier;  // empty until the registry gives one
    QString requestText;        // the slot's argument, unchanged
    QString commandName;        // global name of the command to run ("_V3_CREATEBLOCKS")
    QByteArray responseText;    // the response as compact JSON text; {"success":false} when none came
};

/// A new response object holding only "success".
QJsonObject MakeResult(bool success);
/// The object as one line of compact JSON (keys sorted, as the JSON library keeps them).
QString ToCompactText(const QJsonObject& object);

/// Parks the request, has the host run the command with the identifier as its only input, and takes the
/// command's response out again, as text; when the command left none, the response is {"success": false}.
void RunAssistantCommand(CommandCall& call);

}  // namespace vela::bridge

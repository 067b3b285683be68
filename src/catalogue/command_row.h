#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "host/result_codes.h"

namespace vela::host {
class CommandContext;
}

namespace vela::catalogue {

/// What a command does to the drawing, so that a client can ask before it lets a model change anything.
enum class Effect { Reads, Changes, Deletes };

/// How the page's slot reaches the command's body.
enum class Dispatch {
    /// The slot parks the request and has the host run the row's command; the command's envelope finds the
    /// request, parses it and leaves the body's response.
    HostCommand,
    /// The slot calls the body at once in the active document, without a host command or the registry.
    Direct,
};

/// The work of an assistant command: the parsed request (empty for commands that take none) and the command
/// context in, the response object out. Every command has this one form.
using Body = QJsonObject (*)(const QJsonDocument& request, host::CommandContext& context);
/// A body that writes its response as compact JSON text itself, the text Qt would write for the object: for
/// answers of tens of megabytes, which cost more to build as Qt's JSON objects than to find.
using TextBody = QByteArray (*)(const QJsonDocument& request, host::CommandContext& context);

/// The Body of a TextBody, for everything that wants the response as an object.
template <TextBody Text>
QJsonObject ObjectOfText(const QJsonDocument& request, host::CommandContext& context) {
    return QJsonDocument::fromJson(Text(request, context)).object();
}

/// Everything about one assistant command, in one place: the page's slot that reaches it, the host command
/// that runs it, the envelope around its body, the body, and what a model or a person needs to call it. Every
/// face of the command (the bridge's slot, the host's registration, the exported API, tool lists for AI
/// clients, forms of a page) is made from its row.
struct CommandRow {
    // The bridge slot.
    const char* slot;       // "SelectEntities": the slot's name, also the command's name for clients
    const char* parameter;  // "sSelectionQuery": the slot's parameter name
    Dispatch dispatch = Dispatch::HostCommand;
    /// Whether the slot first asks for the assistant's capability and an open drawing.
    bool gated = true;
    /// The refusal answer is {"success": false}, plus an empty array under this key when there is one.
    const char* refusalPayloadKey = nullptr;
    /// Log lines written when debugging is on; "%1" stands for the request text and the indented response.
    /// Null: that line is not written.
    const char* receivedLog = nullptr;
    const char* responseLog = nullptr;
    /// A direct slot announces its work to the editor's reactors under this name; null: it does not.
    const char* modelessOperation = nullptr;

    // The host command. A row without a global name is reached only through its slot.
    const char* globalName = nullptr;  // "_V3_SELECTENTITIES"
    const char* className = nullptr;   // "CJxCommandSelectObjects": names the command for translations
    /// What the envelope answers when the request identifier names no parked request.
    const char* notFoundMessage = "Request not found";
    const char* notFoundKey = "errorMessages";  // also the key of "Invalid JSON payload: ..."
    int notFoundReturn = host::RTERROR;
    bool takesPayload = true;    // the body gets the parsed request; otherwise an empty document
    bool needsDatabase = false;  // without a drawing the command returns RTERROR and leaves no response

    /// The body; null while it is not built (the host does not get the command and the slot answers
    /// {"success": false}, as for a command that leaves no response).
    Body body = nullptr;
    /// The same body writing its response as text (body is then ObjectOfText<textBody>); the bridge sends
    /// the text as it is. Null for most commands.
    TextBody textBody = nullptr;

    // For a model or a person.
    Effect effect = Effect::Reads;
    const char* description = "";
    /// The JSON Schema (draft 2020-12) of the request, as JSON text.
    const char* requestSchema = "";
    /// A request the schema accepts, as JSON text.
    const char* exampleRequest = "{}";
};

}  // namespace vela::catalogue

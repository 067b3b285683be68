#include "bridge/velaassistant_communication.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QVariant>

#include "bridge/command_call.h"
#include "bridge/command_catalogue.h"
#include "bridge/electrical_go_to.h"
#include "host/command_context.h"
#include "host/host.h"

namespace vela::bridge {

namespace {

// Logging is on only for exactly "enabled"; the setting is read afresh each time.
bool loggingOn() {
    return host::debugSettings().value(kDebugSettingKey) == QLatin1String("enabled");
}

void log(const QString& text) {
    host::systemServices().writeMessage(text);
}

// A log line of a row: "%1" stands for the argument; a text without it is written as it stands.
void logLine(const char* format, const QString& argument) {
    const QString text = QString::fromUtf8(format);
    log(text.contains(QLatin1String("%1")) ? text.arg(argument) : text);
}

bool gateOpen() {
    host::Capabilities* caps = host::capabilities();
    return caps && caps->hasCapability(kSelectEntitiesCapability) && host::activeDocument() != nullptr;
}

QJsonObject refusal(const catalogue::CommandRow& row) {
    QJsonObject result = MakeResult(false);
    if (row.refusalPayloadKey) result.insert(QLatin1String(row.refusalPayloadKey), QJsonArray());
    return result;
}

QString indented(const QJsonObject& response) {
    return QString::fromUtf8(QJsonDocument(response).toJson(QJsonDocument::Indented));
}

// Calls a body at once in the active document, as a command would run it but without the host: no request
// registry, no undo step (direct bodies only read the drawing or change the selection). The response comes
// as compact JSON text.
QByteArray callDirectly(const catalogue::CommandRow& row, const QString& requestText) {
    if (!row.body) return QJsonDocument(MakeResult(false)).toJson(QJsonDocument::Compact);
    const QJsonDocument request =
        row.takesPayload ? QJsonDocument::fromJson(requestText.toUtf8()) : QJsonDocument();
    host::NoUserInput noUser;
    host::UserIO io({}, noUser);
    host::CommandContext context(host::activeDocument(), io);
    auto run = [&] {
        return row.textBody ? row.textBody(request, context)
                            : QJsonDocument(row.body(request, context)).toJson(QJsonDocument::Compact);
    };
    if (!row.modelessOperation) return run();
    const QString operation = QString::fromLatin1(row.modelessOperation);
    host::editor().fireModelessOperationWillStart(operation);
    QByteArray response = run();
    host::editor().fireModelessOperationEnded(operation);
    return response;
}

// Requests and answers beyond these sizes are refused with a message: a host that built or sent them would
// stall every other query for texts no assistant can read.
constexpr qsizetype kMaxRequestCharacters = 16 * 1024 * 1024;
constexpr qsizetype kMaxAnswerCharacters = 64 * 1024 * 1024;

QJsonObject tooLarge(const catalogue::CommandRow& row, const QString& message) {
    QJsonObject result = MakeResult(false);
    result.insert(QLatin1String(row.notFoundKey), message);
    return result;
}

}  // namespace

std::function<bool(const QString& query)>& ElectricalGoTo() {
    static std::function<bool(const QString&)> goTo;
    return goTo;
}

CJxVelaAssistantCommunication::CJxVelaAssistantCommunication(QObject* parent) : QObject(parent) {}

QString CJxVelaAssistantCommunication::answer(const QString& text) {
    setProperty("JxAnswer", text);
    return text;
}

QString CJxVelaAssistantCommunication::call(const char* slot, const QString& requestText) {
    const catalogue::CommandRow& row = *FindBySlot(QLatin1StringView(slot));
    if (row.gated && !gateOpen()) return answer(ToCompactText(refusal(row)));
    if (requestText.size() > kMaxRequestCharacters)
        return answer(
            ToCompactText(tooLarge(row, QStringLiteral("The request has %1 characters; at most %2 are "
                                                       "accepted. Send it in parts.")
                                            .arg(requestText.size())
                                            .arg(kMaxRequestCharacters))));
    if (row.receivedLog && loggingOn()) logLine(row.receivedLog, requestText);
    QByteArray responseText;
    if (row.dispatch == catalogue::Dispatch::Direct) {
        responseText = callDirectly(row, requestText);
    } else {
        CommandCall call;
        call.requestText = requestText;
        call.commandName = QString::fromLatin1(row.globalName);
        RunAssistantCommand(call);
        responseText = std::move(call.responseText);
    }
    if (row.responseLog && loggingOn())
        logLine(row.responseLog, indented(QJsonDocument::fromJson(responseText).object()));
    QString text = QString::fromUtf8(responseText);
    responseText.clear();
    // Only a reading command's answer can be given up: a change has been made and its answer says so.
    if (text.size() > kMaxAnswerCharacters && row.effect == catalogue::Effect::Reads)
        text = ToCompactText(
            tooLarge(row, QStringLiteral("The answer would have %1 characters, more than the %2 "
                                         "allowed. Ask about fewer entities at a time.")
                              .arg(text.size())
                              .arg(kMaxAnswerCharacters)));
    return answer(text);
}

// Each slot is its catalogue row; the declarations stay in the header because the web channel lists the
// object's methods from its meta-object, in declaration order.
#define VELA_CATALOGUE_SLOT(Slot, Parameter)                         \
    QString CJxVelaAssistantCommunication::Slot(QString Parameter) { \
        return call(#Slot, Parameter);                               \
    }

VELA_CATALOGUE_SLOT(SelectEntities, sSelectionQuery)
VELA_CATALOGUE_SLOT(ModifyEntityProperties, sModificationQuery)
VELA_CATALOGUE_SLOT(TransformEntities, sTransformationQuery)
VELA_CATALOGUE_SLOT(CreateEntities, creationQuery)
VELA_CATALOGUE_SLOT(DeleteEntities, deletionQuery)
VELA_CATALOGUE_SLOT(CreateLayers, layerQuery)
VELA_CATALOGUE_SLOT(ModifyLayers, layerQuery)
VELA_CATALOGUE_SLOT(DeleteLayers, layerQuery)
VELA_CATALOGUE_SLOT(CreateBlocks, blockQuery)
VELA_CATALOGUE_SLOT(CreateHatch, hatchQuery)
VELA_CATALOGUE_SLOT(GetChangesInfo, jsonRequest)
VELA_CATALOGUE_SLOT(EvaluateLisp, lispQuery)
VELA_CATALOGUE_SLOT(SelectEntityByHandle, jsonQuery)
VELA_CATALOGUE_SLOT(SummarizeEntities, jsonRequest)
VELA_CATALOGUE_SLOT(GetCurrentLayersInfo, jsonRequest)
VELA_CATALOGUE_SLOT(GetHandlesOfSelectedEntities, jsonRequest)

#undef VELA_CATALOGUE_SLOT

bool CJxVelaAssistantCommunication::ElectricalGoTo(QString query) {
    if (!gateOpen()) return false;
    // The same received-text as entity creation: kept as it is.
    if (loggingOn()) log(QStringLiteral("Received creation query from assistant:\n%1").arg(query));
    const QString operation = QStringLiteral("V3_ELECTRICALGOTO");
    host::editor().fireModelessOperationWillStart(operation);
    const auto& goTo = bridge::ElectricalGoTo();
    const bool done = goTo && goTo(query);
    host::editor().fireModelessOperationEnded(operation);
    return done;
}

QString CJxVelaAssistantCommunication::HighlightUi(QString sCommandName) {
    // Where the control lives is a question about the user interface, not the drawing: no gate.
    host::UiManager* ui = host::systemServices().uiManager();
    const QString workspace = ui ? ui->workspaceOfCommand(sCommandName) : QString();
    QJsonObject result = MakeResult(!workspace.isEmpty());
    result.insert(QStringLiteral("targetWorkspace"), workspace);
    return answer(ToCompactText(result));
}

void CJxVelaAssistantCommunication::newThreadStarted() {
    // Nothing in the drawing depends on the page's conversations; the call is accepted and has no effect
    // here.
}

void CJxVelaAssistantCommunication::openUrl(QString sUrl) {
    host::systemServices().openUrl(sUrl);
}

}  // namespace vela::bridge

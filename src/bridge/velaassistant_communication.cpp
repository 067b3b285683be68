#include "bridge/velaassistant_communication.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QVariant>

#include "bridge/command_call.h"
#include "bridge/direct_bodies.h"
#include "host/host.h"

namespace vela::bridge {

namespace {

const QString kCapability = QStringLiteral("veladesk.v3.selectentities");
const QString kDebugKey = QStringLiteral("V3Debugging");

// Logging is on only for exactly "enabled"; the setting is read afresh each time.
bool loggingOn() { return host::debugSettings().value(kDebugKey) == QLatin1String("enabled"); }

void log(const QString& text) { host::systemServices().writeMessage(text); }

bool gateOpen() {
    host::Capabilities* caps = host::capabilities();
    return caps && caps->hasCapability(kCapability) && host::activeDocument() != nullptr;
}

QJsonObject refusal(const char* payloadKey) {
    QJsonObject result = MakeResult(false);
    if (payloadKey) result.insert(QLatin1String(payloadKey), QJsonArray());
    return result;
}

}  // namespace

struct CJxVelaAssistantCommunication::SlotRow {
    const char* command;
    const char* receivedText;
    const char* responseText;  // null: no log lines at all
    const char* refusalPayloadKey;
};

CJxVelaAssistantCommunication::CJxVelaAssistantCommunication(QObject* parent) : QObject(parent) {}

QString CJxVelaAssistantCommunication::answer(const QString& text) {
    setProperty("JxAnswer", text);
    return text;
}

QString CJxVelaAssistantCommunication::runCommandSlot(const SlotRow& row, const QString& requestText) {
    if (!gateOpen()) return answer(ToCompactText(refusal(row.refusalPayloadKey)));
    if (row.responseText && loggingOn()) log(QString::fromUtf8(row.receivedText).arg(requestText));
    CommandCall call;
    call.requestText = requestText;
    call.commandName = QString::fromLatin1(row.command);
    call.response = MakeResult(false);
    RunAssistantCommand(call);
    if (row.responseText && loggingOn())
        log(QString::fromUtf8(row.responseText)
                .arg(QString::fromUtf8(QJsonDocument(call.response).toJson(QJsonDocument::Indented))));
    return answer(ToCompactText(call.response));
}

#define VELA_COMMAND_SLOT(Slot, Param, Command, Received, Response, Refusal)                     \
    QString CJxVelaAssistantCommunication::Slot(QString Param) {                                 \
        static const SlotRow row{Command, Received, Response, Refusal};                          \
        return runCommandSlot(row, Param);                                                       \
    }

VELA_COMMAND_SLOT(SelectEntities, sSelectionQuery, "_V3_SELECTENTITIES",
                  "Received selection query from assistant:\n%1", "Entity selection response:\n%1", nullptr)
VELA_COMMAND_SLOT(ModifyEntityProperties, sModificationQuery, "_V3_MODIFYENTITYPROPERTIES",
                  "Received modification query from assistant:\n%1", "Entity modification response:\n%1", nullptr)
VELA_COMMAND_SLOT(TransformEntities, sTransformationQuery, "_V3_TRANSFORMENTITIES",
                  "Received transformation query from assistant:\n%1", "Entity transformation response:\n%1", nullptr)
VELA_COMMAND_SLOT(CreateEntities, creationQuery, "_V3_CREATEENTITIES", "Received creation query from assistant:\n%1",
                  "Entity creation response:\n%1", "entities")
VELA_COMMAND_SLOT(DeleteEntities, deletionQuery, "_V3_DELETEENTITIES", "Received deletion query from assistant:\n%1",
                  "Entity deletion response:\n%1", nullptr)
VELA_COMMAND_SLOT(CreateLayers, layerQuery, "_V3_CREATELAYERS", "Received layer creation query from assistant:\n%1",
                  "Layer creation response:\n%1", "layers")
VELA_COMMAND_SLOT(ModifyLayers, layerQuery, "_V3_MODIFYLAYERS",
                  "Received layer modification query from assistant:\n%1", "Layer modification response:\n%1", nullptr)
VELA_COMMAND_SLOT(DeleteLayers, layerQuery, "_V3_DELETELAYERS", "Received layer deletion query from assistant:\n%1",
                  "Layer deletion response:\n%1", "layers")
VELA_COMMAND_SLOT(CreateBlocks, blockQuery, "_V3_CREATEBLOCKS", "Received block creation query from assistant:\n%1",
                  "Block creation response:\n%1", "blocks")
VELA_COMMAND_SLOT(CreateHatch, hatchQuery, "_V3_CREATEHATCH", "Received hatch creation query from assistant:\n%1",
                  "Hatch creation response:\n%1", "entities")
VELA_COMMAND_SLOT(EvaluateLisp, lispQuery, "_V3_EVALUATELISP", "Received EvaluateLisp query from assistant:\n%1",
                  "EvaluateLisp response:\n%1", nullptr)
VELA_COMMAND_SLOT(SummarizeEntities, jsonRequest, "_V3_SUMMARIZEENTITIES",
                  "Received SummarizeEntities query from assistant:\n%1", "Drawing summarization response:\n%1", nullptr)
// The layer summary writes no log lines at all.
VELA_COMMAND_SLOT(GetCurrentLayersInfo, jsonRequest, "_V3_SUMMARIZELAYERS", "", nullptr, nullptr)

#undef VELA_COMMAND_SLOT

QString CJxVelaAssistantCommunication::GetChangesInfo(QString) {
    // No gate: the changes report is about what happened, and answers for no drawing as well.
    if (loggingOn()) log(QStringLiteral("Received GetChangesInfo query from assistant"));
    const auto& body = DirectBodies::instance().changesReport;
    return answer(ToCompactText(body ? body(host::activeDocument()) : MakeResult(false)));
}

QString CJxVelaAssistantCommunication::GetHandlesOfSelectedEntities(QString) {
    if (!gateOpen()) return answer(ToCompactText(MakeResult(false)));
    if (loggingOn()) log(QStringLiteral("Received GetHandlesOfSelectedEntities query from assistant"));
    const auto& body = DirectBodies::instance().selectedHandles;
    return answer(ToCompactText(body ? body(host::activeDocument()) : MakeResult(false)));
}

QString CJxVelaAssistantCommunication::SelectEntityByHandle(QString jsonQuery) {
    if (!gateOpen()) return answer(ToCompactText(MakeResult(false)));
    if (loggingOn()) log(QStringLiteral("Received SelectEntityByHandle query from assistant:\n%1").arg(jsonQuery));
    const QString operation = QStringLiteral("V3_SELECTBYHANDLE");
    host::editor().fireModelessOperationWillStart(operation);
    const auto& body = DirectBodies::instance().selectByHandle;
    const QJsonObject response = body ? body(host::activeDocument(), jsonQuery) : MakeResult(false);
    host::editor().fireModelessOperationEnded(operation);
    return answer(ToCompactText(response));
}

bool CJxVelaAssistantCommunication::ElectricalGoTo(QString query) {
    if (!gateOpen()) return false;
    // The same received-text as entity creation: kept as it is.
    if (loggingOn()) log(QStringLiteral("Received creation query from assistant:\n%1").arg(query));
    const QString operation = QStringLiteral("V3_ELECTRICALGOTO");
    host::editor().fireModelessOperationWillStart(operation);
    const auto& goTo = DirectBodies::instance().electricalGoTo;
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
    // Nothing in the drawing depends on the page's conversations; the call is accepted and has no effect here.
}

void CJxVelaAssistantCommunication::openUrl(QString sUrl) { host::systemServices().openUrl(sUrl); }

}  // namespace vela::bridge

#include "bridge/assistant_command.h"

#include <QCoreApplication>
#include <QJsonParseError>

#include "bridge/request_registry.h"
#include "host/command_context.h"
#include "host/result_codes.h"

namespace vela::bridge {

using host::RTERROR;
using host::RTNORM;

const std::vector<AssistantCommandVariant>& assistantVariants() {
    static const std::vector<AssistantCommandVariant> variants = {
        {"CJxCommandCreateBlocks", "_V3_CREATEBLOCKS", "Request not found", "errorMessages", true, RTERROR, false},
        {"CJxCommandCreateHatch", "_V3_CREATEHATCH", "Empty JSON payload", "errorMessages", true, RTNORM, false},
        {"CJxCommandCreateLayers", "_V3_CREATELAYERS", "Empty JSON payload", "errorMessages", true, RTNORM, false},
        {"CJxCommandCreateObjects", "_V3_CREATEENTITIES", "Request not found", "errorMessages", true, RTERROR, false},
        {"CJxCommandDeleteLayers", "_V3_DELETELAYERS", "Empty JSON payload", "errorMessages", true, RTNORM, false},
        {"CJxCommandDeleteObjects", "_V3_DELETEENTITIES", "Empty JSON payload", "errorMessages", true, RTNORM, false},
        {"CJxCommandEvaluateLisp", "_V3_EVALUATELISP", "Request not found", "error", true, RTERROR, false},
        {"CJxCommandGetHandlesOfSelectedEntities", "_V3_GETHANDLESOFSELECTEDENTITIES", "Request not found",
         "errorMessages", false, RTERROR, false},
        {"CJxCommandModifyEntityProperties", "_V3_MODIFYENTITYPROPERTIES", "Request not found", "errorMessages",
         true, RTERROR, false},
        {"CJxCommandModifyLayers", "_V3_MODIFYLAYERS", "Empty JSON payload", "errorMessages", true, RTNORM, false},
        {"CJxCommandSelectObjects", "_V3_SELECTENTITIES", "Request not found", "errorMessages", true, RTERROR, false},
        {"CJxCommandSummarizeEntities", "_V3_SUMMARIZEENTITIES", "Request not found", "errorMessages", true, RTERROR,
         false},
        {"CJxCommandSummarizeLayers", "_V3_SUMMARIZELAYERS", "Request not found", "errorMessages", false, RTERROR,
         true},
        {"CJxCommandTransformEntities", "_V3_TRANSFORMENTITIES", "Request not found", "errorMessages", true, RTERROR,
         false},
    };
    return variants;
}

const AssistantCommandVariant* findAssistantVariant(const QString& globalName) {
    for (const AssistantCommandVariant& v : assistantVariants())
        if (globalName == QLatin1String(v.globalName)) return &v;
    return nullptr;
}

AssistantCommand::AssistantCommand(const AssistantCommandVariant& variant, AssistantBody body)
    : variant_(variant), body_(std::move(body)) {}

QString AssistantCommand::globalName() const { return QString::fromLatin1(variant_.globalName); }

QString AssistantCommand::localName() const {
    return QCoreApplication::translate(variant_.className, variant_.globalName + 1,
                                       "Command Name: Needs to be unique and all uppercase.");
}

int AssistantCommand::execute(host::CommandContext& context) {
    QString identifier;
    if (context.userIO().getString(QString(), false, identifier) != RTNORM) return RTERROR;
    RequestRegistry& registry = RequestRegistry::instance();
    const std::optional<RequestRegistry::Request> request = registry.FindRequest(identifier);
    if (!request) {
        // Stored for form's sake: the entry does not exist, so nothing is kept and the caller sees no response.
        QJsonObject notFound;
        notFound.insert(QStringLiteral("success"), false);
        notFound.insert(QLatin1String(variant_.notFoundKey), QLatin1String(variant_.notFoundMessage));
        registry.SetResponse(identifier, notFound);
        return variant_.notFoundReturn;
    }
    if (variant_.needsDatabase && !context.database()) return RTERROR;
    QJsonDocument document;
    if (variant_.takesPayload) {
        QJsonParseError error;
        document = QJsonDocument::fromJson(request->requestText.toUtf8(), &error);
        if (error.error != QJsonParseError::NoError) {
            QJsonObject invalid;
            invalid.insert(QStringLiteral("success"), false);
            invalid.insert(variant_.notFoundKey == QLatin1String("error") ? QStringLiteral("error")
                                                                          : QStringLiteral("errorMessages"),
                           QStringLiteral("Invalid JSON payload: %1").arg(error.errorString()));
            registry.SetResponse(identifier, invalid);
            return RTNORM;
        }
    }
    registry.SetResponse(identifier, body_(document, context));
    return RTNORM;
}

}  // namespace vela::bridge

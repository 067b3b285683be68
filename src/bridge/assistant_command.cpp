#include "bridge/assistant_command.h"

#include <QCoreApplication>
#include <QJsonParseError>

#include "bridge/request_registry.h"
#include "host/command_context.h"
#include "host/result_codes.h"

namespace vela::bridge {

using host::RTERROR;
using host::RTNORM;

AssistantCommand::AssistantCommand(const catalogue::CommandRow& row, BodyFunction body)
    : row_(row), body_(std::move(body)) {
    if (!body_ && row.body) {
        body_ = row.body;
        answersText_ = row.textBody != nullptr;
    }
}

QString AssistantCommand::globalName() const {
    return QString::fromLatin1(row_.globalName);
}

QString AssistantCommand::localName() const {
    return QCoreApplication::translate(row_.className, row_.globalName + 1,
                                       "Command Name: Needs to be unique and all uppercase.");
}

int AssistantCommand::execute(host::CommandContext& context) {
    if (!body_) return RTERROR;  // a command whose work is not built answers nothing
    QString identifier;
    if (context.userIO().getString(QString(), false, identifier) != RTNORM) return RTERROR;
    RequestRegistry& registry = RequestRegistry::instance();
    const std::optional<RequestRegistry::Request> request = registry.FindRequest(identifier);
    if (!request) {
        // Stored for form's sake: the entry does not exist, so nothing is kept and the caller sees no
        // response.
        QJsonObject notFound;
        notFound.insert(QStringLiteral("success"), false);
        notFound.insert(QLatin1String(row_.notFoundKey), QLatin1String(row_.notFoundMessage));
        registry.SetResponse(identifier, notFound);
        return row_.notFoundReturn;
    }
    if (row_.needsDatabase && !context.database()) return RTERROR;
    QJsonDocument document;
    if (row_.takesPayload) {
        QJsonParseError error;
        document = QJsonDocument::fromJson(request->requestText.toUtf8(), &error);
        if (error.error != QJsonParseError::NoError) {
            QJsonObject invalid;
            invalid.insert(QStringLiteral("success"), false);
            invalid.insert(QLatin1String(row_.notFoundKey),
                           QStringLiteral("Invalid JSON payload: %1").arg(error.errorString()));
            registry.SetResponse(identifier, invalid);
            return RTNORM;
        }
    }
    if (answersText_)
        registry.SetResponseText(identifier, row_.textBody(document, context));
    else
        registry.SetResponse(identifier, body_(document, context));
    return RTNORM;
}

}  // namespace vela::bridge

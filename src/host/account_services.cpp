#include "host/account_services.h"

#include <QObject>
#include <QSettings>
#include <QTimer>

#include "host/host.h"

namespace vela::host {

bool AccountServices::isSignedIn() const {
    const std::optional<Resources>& resources = clientInformation().resources;
    return resources && !resources->assistantPageAddress.isEmpty() && !resources->assistantService.isEmpty();
}

void AccountServices::showStartPage() {
    if (startPage_) {
        startPage_();
        return;
    }
    systemServices().writeMessage(
        QStringLiteral("Sign in by naming the assistant page and its service in the settings."));
}

namespace {

std::unique_ptr<QSettings> openSettings(const QString& file) {
    return file.isEmpty() ? std::make_unique<QSettings>()
                          : std::make_unique<QSettings>(file, QSettings::IniFormat);
}

QString keyOf(const QString& service) {
    return QStringLiteral("consent/") + service;
}

/// Why the store cannot be used, or empty.
QString storeProblem(QSettings& settings, bool writing) {
    if (settings.status() == QSettings::AccessError) return QStringLiteral("the settings cannot be read");
    if (settings.status() == QSettings::FormatError) return QStringLiteral("the settings file is damaged");
    if (writing && !settings.isWritable()) return QStringLiteral("the settings cannot be written");
    return {};
}

}  // namespace

AiSession::AiSession() : context_(std::make_unique<QObject>()) {}

AiSession::~AiSession() {
    abortAll();
}

void AiSession::answerLater(ConsentCallbacks callbacks, const QString& problem, std::optional<bool> consent) {
    const std::uint64_t id = next_++;
    pending_.emplace(id, std::move(callbacks));
    QTimer::singleShot(0, context_.get(), [this, id, problem, consent] {
        auto it = pending_.find(id);
        if (it == pending_.end()) return;
        const ConsentCallbacks c = std::move(it->second);
        pending_.erase(it);
        if (!problem.isEmpty()) {
            if (c.failed) c.failed(problem);
        } else if (c.finished) {
            c.finished(consent);
        }
    });
}

void AiSession::requestConsent(const QString& service, ConsentCallbacks callbacks) {
    auto settings = openSettings(settingsFile_);
    // A store the answer could not be written to is no place to keep a consent in: it counts as failing.
    const QString problem = storeProblem(*settings, true);
    const QVariant stored = settings->value(keyOf(service));
    std::optional<bool> consent;
    if (stored.isValid()) consent = stored.toString() == QLatin1String("granted");
    answerLater(std::move(callbacks), problem, consent);
}

void AiSession::saveConsent(const QString& service, bool consent, ConsentCallbacks callbacks) {
    auto settings = openSettings(settingsFile_);
    QString problem = storeProblem(*settings, true);
    if (problem.isEmpty()) {
        settings->setValue(keyOf(service), consent ? QStringLiteral("granted") : QStringLiteral("declined"));
        settings->sync();
        if (settings->status() != QSettings::NoError)
            problem = QStringLiteral("the settings cannot be written");
    }
    answerLater(std::move(callbacks), problem, consent);
}

void AiSession::abortAll() {
    std::map<std::uint64_t, ConsentCallbacks> given;
    given.swap(pending_);
    context_ = std::make_unique<QObject>();
    for (auto& [id, callbacks] : given)
        if (callbacks.aborted) callbacks.aborted();
}

}  // namespace vela::host

#pragma once

#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <optional>

class QObject;

namespace vela::host {

/// The user's account as the host knows it, and where the user signs in.
class AccountServices {
  public:
    /// Signed in to the assistant's service: this installation names an assistant page and its service.
    bool isSignedIn() const;
    /// Shows the host's Start page, where the user signs in (a desktop front end sets how); without one the
    /// command-line log says where the settings are.
    void showStartPage();
    void setStartPageHandler(std::function<void()> handler) { startPage_ = std::move(handler); }

  private:
    std::function<void()> startPage_;
};

/// The answers a consent request may end with. Exactly one of them is called, later, on the thread that
/// asked (as a network service's answer would arrive).
struct ConsentCallbacks {
    /// The stored answer: true (consented), false (declined), none (never asked).
    std::function<void(std::optional<bool>)> finished;
    /// The store could not be read or written; the text says why.
    std::function<void(const QString&)> failed;
    /// The request was given up before it ended (the session closed).
    std::function<void()> aborted;
};

/// The user's consent to AI services, kept per service in the user's settings (QSettings): on a desktop the
/// user's settings are the cloud storage the consent lives in, so a store that cannot be read or written is
/// a cloud failure.
class AiSession {
  public:
    AiSession();
    ~AiSession();
    AiSession(const AiSession&) = delete;
    AiSession& operator=(const AiSession&) = delete;

    /// The settings file to keep consents in; empty: the user's settings of the application.
    void setSettingsFile(const QString& path) { settingsFile_ = path; }
    const QString& settingsFile() const { return settingsFile_; }

    void requestConsent(const QString& service, ConsentCallbacks callbacks);
    void saveConsent(const QString& service, bool consent, ConsentCallbacks callbacks);
    /// Gives up every request still on its way: each gets its aborted callback.
    void abortAll();
    /// Requests on their way.
    std::size_t pending() const { return pending_.size(); }

  private:
    /// Posts the request's end: `failed` when there is a problem, else `finished` with the consent.
    void answerLater(ConsentCallbacks callbacks, const QString& problem, std::optional<bool> consent);

    QString settingsFile_;
    std::unique_ptr<QObject> context_;  // answers are posted to it; deleting it drops those not delivered
    std::map<std::uint64_t, ConsentCallbacks> pending_;
    std::uint64_t next_ = 1;
};

}  // namespace vela::host

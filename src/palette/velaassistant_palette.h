#pragma once

#include <QWidget>
#include <array>
#include <optional>

#include "host/account_services.h"

class QLabel;
class QPushButton;
class QStackedWidget;
class QVBoxLayout;
class QWebChannel;
class QWebEngineView;

namespace vela::bridge {
class CJxVelaAssistantCommunication;
}

namespace vela::palette {

/// The content of the assistant's dock panel: a stack of five status pages, each telling the user why the
/// assistant cannot be used yet and offering one way out, and the web view that shows the assistant page with
/// the bridge on its web channel as "VelaAssistantAPI".
class CJxWidgetVelaAssistantPalette : public QWidget {
    Q_OBJECT
  public:
    enum Page { CloudStorageFailure = 0, NotConnected, AiFeaturesDisabled, ConsentQuestion, ConsentDeclined };

    explicit CJxWidgetVelaAssistantPalette(QWidget* parent = nullptr);
    ~CJxWidgetVelaAssistantPalette() override;

    /// Builds the pages, the web view and the bridge, then shows the page the user's state calls for.
    void CreateUI();
    /// Makes the page the account, the capability and the consent call for the current one; asks for the
    /// consent when it is not known yet.
    void CheckPages();
    /// Asks the host's AI session for the user's consent to the assistant; the answer comes later.
    void RequestConsentStatus();
    /// Stores the user's answer through the AI session; the page follows when it is stored.
    void SaveConsentStatus(bool consent);

    QStackedWidget* pageStack() const { return stack_; }
    QWidget* statusPage(Page page) const { return pages_[page]; }
    QWebEngineView* webView() const { return webView_; }
    QWebChannel* webChannel() const { return channel_; }
    bridge::CJxVelaAssistantCommunication* bridge() const { return bridge_; }
    bool isConsentRequestInProgress() const { return consentRequestInProgress_; }

  signals:
    /// The web view was given the assistant page's address.
    void assistantPageLoading(const QUrl& address);

  private:
    QWidget* makeStatusPage(const QString& text, const QStringList& buttons);
    void setupWebView();
    void showAssistant();
    void consentAnswered(std::optional<bool> consent);
    /// The answers of one consent request; marks the request as in progress.
    host::ConsentCallbacks consentCallbacks();

    QVBoxLayout* layout_ = nullptr;
    QStackedWidget* stack_ = nullptr;
    std::array<QWidget*, 5> pages_{};
    QWebEngineView* webView_ = nullptr;
    QWebChannel* channel_ = nullptr;
    bridge::CJxVelaAssistantCommunication* bridge_ = nullptr;
    bool consentRequestInProgress_ = false;
    // What the AI session last said: none until it answered, then consented / declined / never asked.
    enum class Consent { Unknown, Granted, Declined, NotAsked, Failed };
    Consent consent_ = Consent::Unknown;
};

/// The assistant's icon from the palette's resources ("vela_assistant", "vela_assistant-48") at `size`
/// pixels; null when there is no such icon.
QPixmap assistantIcon(const QString& name, int size);

}  // namespace vela::palette

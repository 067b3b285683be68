#include "palette/velaassistant_palette.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QSvgRenderer>
#include <QUrl>
#include <QVBoxLayout>
#include <QWebChannel>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineView>

#include "bridge/assistant_page.h"
#include "bridge/velaassistant_communication.h"
#include "host/host.h"

namespace vela::palette {

namespace {

const char* const kContext = "CJxWidgetVelaAssistantPalette";
const char* const kConsentService = "velaassist";
const char* const kAiFeaturesCapability = "tessera_ai_features";

QString translated(const char* text) {
    return QCoreApplication::translate(kContext, text);
}

/// The palette's web view as the page loader sees it.
class WebViewPage : public bridge::AssistantPageView {
  public:
    explicit WebViewPage(QWebEngineView* view) : view_(view) {}
    bool isPageLoaded() const override { return view_ && !view_->url().isEmpty(); }
    bool hasWidget() const override { return view_ != nullptr; }
    QString paletteText() const override { return QStringLiteral("VELAASSISTANT"); }
    void setDefaultUserAgentString(const QString& userAgent, bool) override {
        view_->page()->profile()->setHttpUserAgent(userAgent);
    }
    void setUrl(const QString& address) override { view_->setUrl(QUrl(address)); }

  private:
    QWebEngineView* view_;
};

/// An empty label added with a stretch factor: the pages' spacers.
void addSpacer(QBoxLayout* layout, int stretch) {
    layout->addWidget(new QLabel, stretch);
}

}  // namespace

QPixmap assistantIcon(const QString& name, int size) {
    // Every size is drawn from the one vector icon: "vela_assistant-48" is the icon at 48 pixels.
    QString base = name;
    if (const qsizetype dash = base.lastIndexOf(QLatin1Char('-')); dash > 0) base.truncate(dash);
    QSvgRenderer svg(QStringLiteral(":/images/VelaAssistant/%1.svg").arg(base));
    if (!svg.isValid()) return {};
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    svg.render(&painter);
    return pixmap;
}

CJxWidgetVelaAssistantPalette::CJxWidgetVelaAssistantPalette(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("CJxWidgetVelaAssistantPalette"));
}

CJxWidgetVelaAssistantPalette::~CJxWidgetVelaAssistantPalette() {
    // The web page must go before the channel and the bridge it reaches.
    delete webView_;
    webView_ = nullptr;
}

QWidget* CJxWidgetVelaAssistantPalette::makeStatusPage(const QString& text, const QStringList& buttons) {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setSpacing(1);
    addSpacer(layout, 2);
    auto* icon = new QLabel;
    icon->setObjectName(QStringLiteral("icon"));
    icon->setPixmap(assistantIcon(QStringLiteral("vela_assistant-48"), 48));
    icon->setAlignment(Qt::AlignCenter);
    layout->addWidget(icon);
    addSpacer(layout, 1);
    auto* label = new QLabel(text);
    label->setObjectName(QStringLiteral("text"));
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignCenter);
    layout->addWidget(label);
    addSpacer(layout, 1);
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel, 1);
    for (const QString& caption : buttons) row->addWidget(new QPushButton(caption));
    row->addWidget(new QLabel, 1);
    layout->addLayout(row);
    addSpacer(layout, 3);
    return page;
}

void CJxWidgetVelaAssistantPalette::CreateUI() {
    if (stack_) return;
    layout_ = new QVBoxLayout(this);
    layout_->setObjectName(QStringLiteral("verticalLayout"));
    layout_->setContentsMargins(0, 0, 0, 0);
    stack_ = new QStackedWidget;

    pages_[CloudStorageFailure] = makeStatusPage(
        translated("There was an error in accessing\ncloud storage services.\n\nPlease try again."),
        {translated("TRY AGAIN")});
    pages_[NotConnected] =
        makeStatusPage(translated("You are not connected to your\nOrlentz Account.\n\nPlease log in "
                                  "with your\ncredentials on the Start page."),
                       {translated("SHOW START PAGE")});
    pages_[AiFeaturesDisabled] =
        makeStatusPage(translated("AI features are currently disabled for your account.\n\nTo use VELA AI "
                                  "Assist, please enable these "
                                  "features in your personal settings in the Customer Portal."),
                       {translated("Open Customer Portal")});
    pages_[ConsentQuestion] =
        makeStatusPage(translated("VELA AI Assist uses artificial intelligence to assist you in your work. "
                                  "When enabled, your input and "
                                  "relevant data from your current session may be processed by AI "
                                  "systems.\n\nDo you consent to using "
                                  "VELA AI Assist?"),
                       {translated("Yes"), translated("No")});
    pages_[ConsentDeclined] =
        makeStatusPage(translated("You have chosen not to enable VELA AI Assist. This feature will remain "
                                  "disabled until consent is "
                                  "provided.\n\nTo update your choice, click \"Review Consent\"."),
                       {translated("Review Consent")});
    for (QWidget* page : pages_) stack_->addWidget(page);

    auto button = [this](Page page, int index) { return pages_[page]->findChildren<QPushButton*>()[index]; };
    connect(button(CloudStorageFailure, 0), &QPushButton::clicked, this, [this] {
        consent_ = Consent::Unknown;
        CheckPages();
    });
    connect(button(NotConnected, 0), &QPushButton::clicked, this,
            [] { host::Host::instance()->account().showStartPage(); });
    connect(button(AiFeaturesDisabled, 0), &QPushButton::clicked, this, [] {
        const std::optional<host::Resources>& resources = host::clientInformation().resources;
        if (resources && !resources->customerPortalAddress.isEmpty())
            QDesktopServices::openUrl(QUrl(resources->customerPortalAddress));
    });
    connect(button(ConsentQuestion, 0), &QPushButton::clicked, this, [this] { SaveConsentStatus(true); });
    connect(button(ConsentQuestion, 1), &QPushButton::clicked, this, [this] { SaveConsentStatus(false); });
    connect(button(ConsentDeclined, 0), &QPushButton::clicked, this,
            [this] { stack_->setCurrentWidget(pages_[ConsentQuestion]); });

    setupWebView();
    layout_->addWidget(stack_);
    CheckPages();
}

void CJxWidgetVelaAssistantPalette::setupWebView() {
    webView_ = new QWebEngineView;
    webView_->setObjectName(QStringLiteral("webView"));
    bridge_ = new bridge::CJxVelaAssistantCommunication(this);
    bridge_->setObjectName(QStringLiteral("VelaAssistantAPI"));
    channel_ = new QWebChannel(this);
    channel_->registerObject(QStringLiteral("VelaAssistantAPI"), bridge_);
    webView_->page()->setWebChannel(channel_);
    stack_->addWidget(webView_);
}

void CJxWidgetVelaAssistantPalette::CheckPages() {
    if (!stack_) return;
    host::Host* h = host::Host::instance();
    QWidget* current = nullptr;
    if (!h->account().isSignedIn()) {
        current = pages_[NotConnected];
    } else if (!h->capabilities().hasCapability(QLatin1String(kAiFeaturesCapability))) {
        current = pages_[AiFeaturesDisabled];
    } else {
        switch (consent_) {
            case Consent::Unknown:
                // The answer comes back through consentAnswered, which looks again.
                RequestConsentStatus();
                return;
            case Consent::Failed:
                current = pages_[CloudStorageFailure];
                break;
            case Consent::NotAsked:
                current = pages_[ConsentQuestion];
                break;
            case Consent::Declined:
                current = pages_[ConsentDeclined];
                break;
            case Consent::Granted:
                showAssistant();
                return;
        }
    }
    stack_->setCurrentWidget(current);
}

void CJxWidgetVelaAssistantPalette::showAssistant() {
    if (!webView_) {
        stack_->setCurrentWidget(pages_[NotConnected]);
        return;
    }
    WebViewPage page(webView_);
    const bool loadedBefore = page.isPageLoaded();
    bridge::LoadAssistantPage(page);
    if (!page.isPageLoaded()) {
        // Signed in but no page to show: the account has no assistant page behind it.
        stack_->setCurrentWidget(pages_[NotConnected]);
        return;
    }
    if (!loadedBefore) emit assistantPageLoading(webView_->url());
    stack_->setCurrentWidget(webView_);
}

void CJxWidgetVelaAssistantPalette::consentAnswered(std::optional<bool> consent) {
    consent_ = !consent ? Consent::NotAsked : *consent ? Consent::Granted : Consent::Declined;
    CheckPages();
}

host::ConsentCallbacks CJxWidgetVelaAssistantPalette::consentCallbacks() {
    consentRequestInProgress_ = true;
    // The palette may be gone when the answer comes (the main window closed).
    QPointer<CJxWidgetVelaAssistantPalette> self(this);
    host::ConsentCallbacks callbacks;
    callbacks.finished = [self](std::optional<bool> consent) {
        if (!self) return;
        self->consentRequestInProgress_ = false;
        self->consentAnswered(consent);
    };
    callbacks.failed = [self](const QString&) {
        if (!self) return;
        self->consentRequestInProgress_ = false;
        self->consent_ = Consent::Failed;
        self->CheckPages();
    };
    callbacks.aborted = [self] {
        if (self) self->consentRequestInProgress_ = false;
    };
    return callbacks;
}

void CJxWidgetVelaAssistantPalette::RequestConsentStatus() {
    if (consentRequestInProgress_) return;
    host::Host::instance()->aiSession().requestConsent(QLatin1String(kConsentService), consentCallbacks());
}

void CJxWidgetVelaAssistantPalette::SaveConsentStatus(bool consent) {
    if (consentRequestInProgress_) return;
    host::Host::instance()->aiSession().saveConsent(QLatin1String(kConsentService), consent,
                                                    consentCallbacks());
}

}  // namespace vela::palette

#pragma once

#include <QString>
#include <QUrl>

namespace vela::bridge {

/// What loading the assistant page needs of the view that shows it: the palette's web view on a desktop, the
/// user's browser for a served page.
class AssistantPageView {
  public:
    virtual ~AssistantPageView() = default;
    /// Whether the page is shown already (it is loaded once per view).
    virtual bool isPageLoaded() const = 0;
    /// Whether the view has something to show a page in.
    virtual bool hasWidget() const = 0;
    /// The view's own text, the second field of "lid".
    virtual QString paletteText() const = 0;
    virtual void setDefaultUserAgentString(const QString& userAgent, bool overridden) = 0;
    virtual void setUrl(const QString& address) = 0;
};

/// The assistant page's address: the host's page base address followed by what the page is told about the
/// client ("lid", "application", "licenseVer", "sysServiceVer", "language", "theme", "osName", "osVer",
/// "intercom", "hash"). Empty when the host has no page address or names no assistant service.
QUrl AssistantPageAddress(const QString& paletteText);

/// Shows the assistant page in the view, once; nothing when no page is configured or the view cannot show it.
void LoadAssistantPage(AssistantPageView& palette);

}  // namespace vela::bridge

#pragma once

class QWebEngineProfile;

namespace vela::desk {

/// The address of the assistant page built into the program, for a desktop whose settings name no other:
/// the served page's files under a scheme of their own, so that the page's address can take the query that
/// tells the page about the client.
inline constexpr const char* kBuiltInAssistantPage = "vela-page://assistant";

/// Makes the scheme known to the web engine; before the application object exists.
void registerBuiltInPageScheme();
/// Serves the built-in page to the web views of a profile (the default one when null).
void serveBuiltInPage(QWebEngineProfile* profile = nullptr);

}  // namespace vela::desk

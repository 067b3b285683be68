#pragma once

class QWebEngineProfile;

namespace vela::desk {

/// The address of the assistant page built into the program, for a desktop whose settings name no other:
/// the served page's files under a scheme of their own, so that the page's address can take the query that
/// tells the page about the client.
inline constexpr const char* kBuiltInAssistantPage = "vela-page://assistant";

/// What the web engine needs before the application object exists: the built-in page's scheme, shared GL
/// contexts, and, as root, no sandbox (Chromium will not start its sandbox as root: containers, CI machines).
void prepareWebEngine();
/// Serves the built-in page to the web views of a profile (the default one when null).
void serveBuiltInPage(QWebEngineProfile* profile = nullptr);

}  // namespace vela::desk

#pragma once

#include <QString>
#include <optional>

#include "host/client_information.h"

namespace vela::cli::serve {

/// The model behind the page's chat: any endpoint that speaks OpenAI's chat completions.
struct ChatSettings {
    QString url;    // the API's base address ("http://127.0.0.1:8080/v1"); /chat/completions is added
    QString model;  // the model's name at that endpoint
    QString key;    // sent as "Authorization: Bearer KEY"; stays in the server, never reaches the page
    int maxToolRounds = 16;    // model turns with tool calls in one answer
    int timeoutSeconds = 120;  // for each request to the model
    bool configured() const { return !url.isEmpty() && !model.isEmpty(); }
};

/// What `vela-assist serve` reads from its settings file (INI). Every key may be left out:
///
///   [resources]  application=VELA AI Assist   service=velaassist   customerPortal=   page= (desktop only)
///   [user]       id=<the login name>   intercom=   hash=
///   [licence]    text=Apache-2.0   version=<this version>   special=false
///   [interface]  theme=0 (0, 1: light; 2 and above: dark)   language=0 (0: the system's; see languages.h)
///   [chat]       url=   model=   key=   maxToolRounds=16   timeout=120
struct ServeSettings {
    QString path;  // the file read (it need not exist)
    host::ClientInformation client;
    /// The assistant page a desktop's palette shows, when the file names one (empty: none at all). The
    /// served page is its own, whatever this says.
    std::optional<QString> page;
    ChatSettings chat;
};

/// $XDG_CONFIG_HOME/vela-assist/assistant.ini (~/.config/... by default).
QString defaultSettingsPath();

/// Reads the file; missing keys and a missing file give the defaults. Empty `why` unless a value is unusable.
ServeSettings readServeSettings(const QString& path, QString* why);

}  // namespace vela::cli::serve

#pragma once

#include <QString>
#include <optional>

namespace vela::host {

/// The host's resources: its name and the addresses of the services it shows.
struct Resources {
    QString applicationName;
    /// Base address of the assistant page; empty when this installation has none.
    QString assistantPageAddress;
    /// The service the assistant page stands for; a page is shown only when it is named.
    QString assistantService;
    QString customerPortalAddress;
};

/// Who uses the host, as the account service knows them.
struct UserInformation {
    QString userId;
    QString intercom;
    QString hash;
};

/// What the user's licence says about itself.
struct LicenceInformation {
    QString text;
    QString version;
    /// Whether the licence is one of the kinds the assistant page treats apart (a trial or a school licence).
    bool specialKind = false;
};

/// Everything the host tells the pages it shows about the client: the front end fills it (from the user's
/// settings) before any page is loaded.
struct ClientInformation {
    std::optional<Resources> resources;  // none: the host has no resources object
    UserInformation user;
    LicenceInformation licence;
    /// The host's colour theme: 0 and 1 are light themes, 2 and above dark ones.
    int theme = 0;
    /// The host's user-interface language (see languages.h): 0 follows the system; none: the host has no
    /// language source.
    std::optional<int> language;
};

/// The host's version text, as its system services report it.
QString hostVersion();

/// The text a web view of the host sends as its user agent.
QString userAgent();

}  // namespace vela::host

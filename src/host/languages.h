#pragma once

#include <QString>

namespace vela::host {

/// The host's languages by number. 0 is "the system's language"; a number the host does not know is English.
inline constexpr int kEnglishLanguage = 2;

/// The language of the system the host runs on, as one of the host's numbers (English when it has none of
/// them).
int systemLanguageId();

/// The ISO 639-1 code of one of the host's languages ("en", "de", ...).
QString languageCode(int id);

}  // namespace vela::host

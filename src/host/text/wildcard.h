#pragma once

#include <QStringView>

namespace vela::host {

/// Matches a text against a CAD wildcard pattern, as layer filters and selection filters use them: "#" a
/// digit, "@" a letter, "." any character that is neither, "*" any run of characters, "?" any one, "~" at
/// the start of a pattern: not matching the rest, "[...]" one of the characters (ranges "a-z"; "[~...]"
/// none of them), "`" takes the next character as itself, and "," separates patterns of which any may
/// match.
bool WildcardMatch(QStringView text, QStringView pattern, Qt::CaseSensitivity cs = Qt::CaseSensitive);

}  // namespace vela::host

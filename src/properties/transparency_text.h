#pragma once

#include <QString>
#include <optional>

#include "db/transparency.h"

namespace vela::properties {

/// Reads a transparency the page sends: a base-10 integer (as QString::toInt accepts it, so surrounding
/// blanks and a sign are allowed) is an alpha, 0 fully transparent and 255 opaque, taken modulo 256 (256 is
/// 0, -1 is 255); "ByLayer" or "ByBlock" in any case. Anything else, "50%" included, gives nullopt: the
/// caller sets nothing and reports nothing.
std::optional<db::Transparency> TransparencyFromText(const QString& text);

}  // namespace vela::properties

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vela::db {

/// The persistent name of a drawing object: a 64-bit number, written as upper-case hexadecimal with no prefix and
/// no leading zeros ("2B7"). Zero is the null handle.
class Handle {
public:
    constexpr Handle() = default;
    constexpr explicit Handle(std::uint64_t value) : value_(value) {}

    /// Parses handle text: 1 to 16 hexadecimal digits in either case, nothing else (no prefix, no blanks).
    /// Leading zeros are accepted ("02B7" names the same object as "2B7").
    static std::optional<Handle> fromText(std::string_view text);

    constexpr std::uint64_t value() const { return value_; }
    constexpr bool isNull() const { return value_ == 0; }
    std::string toText() const;

    constexpr auto operator<=>(const Handle&) const = default;

private:
    std::uint64_t value_ = 0;
};

}  // namespace vela::db

template <>
struct std::hash<vela::db::Handle> {
    std::size_t operator()(const vela::db::Handle& h) const noexcept { return std::hash<std::uint64_t>{}(h.value()); }
};

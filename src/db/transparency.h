#pragma once

#include <cstdint>

namespace vela::db {

/// Transparency as one 32-bit word: the method in the top byte (0 by layer, 1 by block, 2 by alpha) and the alpha
/// in the low byte (0 fully transparent, 255 opaque).
class Transparency {
public:
    enum class Method : std::uint8_t { ByLayer = 0, ByBlock = 1, ByAlpha = 2 };

    constexpr Transparency() = default;
    static constexpr Transparency byLayer() { return Transparency(0); }
    static constexpr Transparency byBlock() { return Transparency(0x01000000u); }
    static constexpr Transparency fromAlpha(std::uint8_t alpha) { return Transparency(0x02000000u | alpha); }
    static constexpr Transparency fromRaw(std::uint32_t raw) { return Transparency(raw); }

    constexpr Method method() const { return static_cast<Method>(raw_ >> 24); }
    constexpr bool isByLayer() const { return method() == Method::ByLayer; }
    constexpr bool isByBlock() const { return method() == Method::ByBlock; }
    constexpr bool isByAlpha() const { return method() == Method::ByAlpha; }
    constexpr std::uint8_t alpha() const { return static_cast<std::uint8_t>(raw_ & 0xFF); }
    constexpr std::uint32_t raw() const { return raw_; }
    constexpr bool operator==(const Transparency&) const = default;

private:
    constexpr explicit Transparency(std::uint32_t raw) : raw_(raw) {}
    std::uint32_t raw_ = 0;
};

}  // namespace vela::db

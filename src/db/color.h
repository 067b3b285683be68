#pragma once

#include <cstdint>

namespace vela::db {

/// How a color is given. The numbers are those drawings store, so they survive a round trip unchanged.
enum class ColorMethod : std::uint8_t {
    ByLayer = 0xC0,
    ByBlock = 0xC1,
    ByColor = 0xC2,  // true color: red, green, blue
    ByAci = 0xC3,    // palette index 0..255
    Foreground = 0xC5,
    None = 0xC8,
};

/// An entity or layer color held in one 32-bit word: the method in the top byte and, below it, either the
/// red/green/blue bytes or the palette index.
class Color {
public:
    /// A new color is by layer, which is what a new entity gets when nothing else is asked for.
    constexpr Color() = default;

    static constexpr Color byLayer() { return Color(ColorMethod::ByLayer, 0); }
    static constexpr Color byBlock() { return Color(ColorMethod::ByBlock, 0); }
    static constexpr Color fromIndex(std::uint8_t index) { return Color(ColorMethod::ByAci, index); }
    static constexpr Color fromRgb(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
        return Color(ColorMethod::ByColor, (std::uint32_t(r) << 16) | (std::uint32_t(g) << 8) | b);
    }
    static constexpr Color fromRaw(std::uint32_t raw) {
        Color c;
        c.raw_ = raw;
        return c;
    }
    /// The color as DXF group 62 gives it: 0 by block, 256 by layer, 1..255 palette; negative values (a layer that
    /// is off) are taken by magnitude.
    static Color fromDxfIndex(int index);

    constexpr ColorMethod method() const { return static_cast<ColorMethod>(raw_ >> 24); }
    constexpr bool isByLayer() const { return method() == ColorMethod::ByLayer; }
    constexpr bool isByBlock() const { return method() == ColorMethod::ByBlock; }
    constexpr bool isByAci() const { return method() == ColorMethod::ByAci; }
    constexpr bool isByColor() const { return method() == ColorMethod::ByColor; }
    /// The palette index for by-palette colors; 256 for by layer, 0 for by block, -1 otherwise.
    int colorIndex() const;
    /// The nearest palette index for any color (true colors are matched against the palette).
    int nearestColorIndex() const;

    /// Red/green/blue of the color: its own for true colors, the palette's for palette indexes. By layer and by
    /// block have no color of their own and give the palette's white (7) as a drawing program shows them.
    std::uint8_t red() const;
    std::uint8_t green() const;
    std::uint8_t blue() const;
    /// 0x00RRGGBB.
    std::uint32_t rgb() const;

    constexpr std::uint32_t raw() const { return raw_; }
    constexpr bool operator==(const Color&) const = default;

private:
    constexpr Color(ColorMethod m, std::uint32_t value)
        : raw_((std::uint32_t(static_cast<std::uint8_t>(m)) << 24) | (value & 0xFFFFFF)) {}

    std::uint32_t raw_ = std::uint32_t(static_cast<std::uint8_t>(ColorMethod::ByLayer)) << 24;
};

/// The standard 256-entry color index palette of DWG/DXF drawings, as 0x00RRGGBB.
std::uint32_t paletteRgb(int index);

}  // namespace vela::db

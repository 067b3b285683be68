#include "host/text/color_text.h"

#include <QRegularExpression>

namespace vela::host {

namespace {

// A decimal component 0..255; leading zeros are allowed up to three digits, so "007" is 7.
constexpr char kComponent[] = "(25[0-5]|2[0-4][0-9]|[0-1]?[0-9]?[0-9])";

// Compiled while its function-local static is initialised, which C++ makes thread-safe, so concurrent
// callers only ever match against a finished pattern.
QRegularExpression compiled(const QString& pattern) {
    QRegularExpression re(pattern);
    Q_ASSERT(re.isValid());
    re.optimize();
    return re;
}

const QRegularExpression& triplePattern() {
    // The closing parenthesis is required and the opening one optional; blanks only around the commas.
    static const QRegularExpression re = compiled(
        QStringLiteral("([\\(]?%1[\\s]*,[\\s]*%1[\\s]*,[\\s]*%1[\\)])").arg(QLatin1String(kComponent)));
    return re;
}

const QRegularExpression& hexPattern() {
    static const QRegularExpression re =
        compiled(QStringLiteral("(#([A-Fa-f0-9]{2})([A-Fa-f0-9]{2})([A-Fa-f0-9]{2}))"));
    return re;
}

const QRegularExpression& indexPattern() {
    static const QRegularExpression re = compiled(QLatin1String(kComponent));
    return re;
}

// The pure colors the palette holds at 1..7 are stored by index so that they follow the palette like colors
// drawn from it. Black is left a true color on purpose: index 0 would mean by block.
db::Color mapTriple(int r, int g, int b) {
    struct Pure {
        int r, g, b;
        std::uint8_t index;
    };
    static constexpr Pure kPure[] = {{255, 0, 0, 1}, {255, 255, 0, 2}, {0, 255, 0, 3},    {0, 255, 255, 4},
                                     {0, 0, 255, 5}, {255, 0, 255, 6}, {255, 255, 255, 7}};
    for (const Pure& p : kPure) {
        if (p.r == r && p.g == g && p.b == b) return db::Color::fromIndex(p.index);
    }
    return db::Color::fromRgb(static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g),
                              static_cast<std::uint8_t>(b));
}

// The page has always received an empty reason for a bad hexadecimal color; it is kept so that nothing
// reading these messages changes its behaviour.
QString failureReason(ColorParseStatus status) {
    switch (status) {
        case ColorParseStatus::InvalidRgb:
            return QStringLiteral("RGB color is invalid");
        case ColorParseStatus::InvalidIndex:
            return QStringLiteral("Color index is invalid");
        case ColorParseStatus::Unrecognized:
            return QStringLiteral("Unknown error");
        default:
            return {};
    }
}

}  // namespace

ColorParseResult ParseColorText(const QString& text) {
    const QRegularExpressionMatch triple = triplePattern().match(text);
    const QRegularExpressionMatch hex = hexPattern().match(text);
    const QRegularExpressionMatch index = indexPattern().match(text);
    const qsizetype length = text.size();

    if (!triple.hasMatch() && !hex.hasMatch()) {
        if (!index.hasMatch()) return {ColorParseStatus::Unrecognized, {}};
        // Only the length decides: a number found anywhere passes only when it is the whole text.
        if (index.capturedLength(1) != length) return {ColorParseStatus::InvalidIndex, {}};
        bool ok = false;
        const int value = index.captured(1).toInt(&ok, 10);
        if (!ok || value < 0 || value > 255) return {ColorParseStatus::InvalidIndex, {}};
        return {ColorParseStatus::Ok, db::Color::fromIndex(static_cast<std::uint8_t>(value))};
    }

    // Each form reports its own failure, the triple first, even when the other form would also fail.
    if (triple.hasMatch() && triple.capturedLength(1) < length) return {ColorParseStatus::InvalidRgb, {}};
    if (hex.hasMatch() && hex.capturedLength(1) < length) return {ColorParseStatus::InvalidHex, {}};

    const QRegularExpressionMatch& source = triple.hasMatch() ? triple : hex;
    const int base = triple.hasMatch() ? 10 : 16;
    int rgb[3] = {};
    for (int i = 0; i < 3; ++i) {
        bool ok = false;
        rgb[i] = source.captured(i + 2).toInt(&ok, base);
        if (!ok || rgb[i] < 0 || rgb[i] > 255) {
            return {triple.hasMatch() ? ColorParseStatus::InvalidRgb : ColorParseStatus::InvalidHex, {}};
        }
    }
    return {ColorParseStatus::Ok, mapTriple(rgb[0], rgb[1], rgb[2])};
}

QString ColorParseErrorMessage(ColorParseStatus status, const QString& text) {
    // One pass over both placeholders, so a "%2" inside the parsed text is left as it is.
    return QStringLiteral("Error parsing property from %1 because %2. ").arg(text, failureReason(status));
}

QString ColorToText(db::Color color) {
    if (color.isByLayer()) return QStringLiteral("ByLayer");
    if (color.isByBlock()) return QStringLiteral("ByBlock");
    if (color.isByAci()) return QString::number(color.colorIndex());
    return QStringLiteral("RGB(%1,%2,%3)").arg(color.red()).arg(color.green()).arg(color.blue());
}

}  // namespace vela::host

namespace vela::host {

std::optional<db::Color> ReadCommandLineColor(const QString& typed) {
    const QString text = typed.trimmed();
    if (text.compare(QLatin1String("bylayer"), Qt::CaseInsensitive) == 0) return db::Color::byLayer();
    if (text.compare(QLatin1String("byblock"), Qt::CaseInsensitive) == 0) return db::Color::byBlock();
    static const char* const names[] = {"red", "yellow", "green", "cyan", "blue", "magenta", "white"};
    for (int i = 0; i < 7; ++i)
        if (text.compare(QLatin1String(names[i]), Qt::CaseInsensitive) == 0)
            return db::Color::fromIndex(static_cast<std::uint8_t>(i + 1));
    bool isIndex = false;
    const int index = text.toInt(&isIndex);
    if (isIndex)
        return index >= 1 && index <= 255
                   ? std::optional(db::Color::fromIndex(static_cast<std::uint8_t>(index)))
                   : std::nullopt;
    // The page's reader wants the closing parenthesis of a triple; a user types the numbers alone.
    const QString request = text.startsWith(QLatin1Char('#')) || text.endsWith(QLatin1Char(')'))
                                ? text
                                : QLatin1Char('(') + text + QLatin1Char(')');
    const ColorParseResult parsed = ParseColorText(request);
    if (parsed.status != ColorParseStatus::Ok) return std::nullopt;
    return parsed.color;
}

QString CommandLineColorText(db::Color color) {
    if (color.isByLayer()) return QStringLiteral("BYLAYER");
    if (color.isByBlock()) return QStringLiteral("BYBLOCK");
    if (color.method() == db::ColorMethod::ByAci) return QString::number(color.colorIndex());
    const std::uint32_t rgb = color.rgb();
    return QStringLiteral("%1,%2,%3").arg(rgb >> 16 & 0xFF).arg(rgb >> 8 & 0xFF).arg(rgb & 0xFF);
}

}  // namespace vela::host

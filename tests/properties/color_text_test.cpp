#include "host/text/color_text.h"

#include <gtest/gtest.h>

namespace vela::properties {
namespace {

using S = host::ColorParseStatus;

db::Color rgb(int r, int g, int b) {
    return db::Color::fromRgb(std::uint8_t(r), std::uint8_t(g), std::uint8_t(b));
}
db::Color aci(int i) {
    return db::Color::fromIndex(std::uint8_t(i));
}

// A failed parse must carry the default color, so `color` of a failing row is simply left default.
struct Row {
    const char* text;
    host::ColorParseStatus status;
    db::Color color = {};
};

void expectRows(std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        const host::ColorParseResult r = host::ParseColorText(QString::fromUtf8(row.text));
        EXPECT_EQ(r.status, row.status) << '"' << row.text << '"';
        EXPECT_EQ(r.color, row.color) << '"' << row.text << "\" gave raw " << std::hex << r.color.raw();
    }
}

TEST(ParseColorText, DecimalTriple) {
    expectRows({{"(255,0,0)", S::Ok, aci(1)},
                {"255, 0 ,0)", S::Ok, aci(1)},
                {"1,2,3)", S::Ok, rgb(1, 2, 3)},
                {"(1 ,\t2 , 3)", S::Ok, rgb(1, 2, 3)},
                {"(007,08,9)", S::Ok, rgb(7, 8, 9)},
                {"(0,0,0)", S::Ok, rgb(0, 0, 0)},
                {"(254,0,0)", S::Ok, rgb(254, 0, 0)}});
    // Without its closing parenthesis, or with a component out of range, no triple is found and the first
    // number found is not the whole text.
    expectRows({{"255,0,0", S::InvalidIndex}, {"(1,2,300)", S::InvalidIndex}, {"(1,2,3 )", S::InvalidIndex}});
    // A triple found inside a longer text fails as a triple, even when a hexadecimal color is there too.
    expectRows({{"(1,2,3,4)", S::InvalidRgb},
                {"( 1,2,3)", S::InvalidRgb},
                {"(1,2,3) ", S::InvalidRgb},
                {"RGB(12,200,7)", S::InvalidRgb},
                {"(1,2,3)#FF0000", S::InvalidRgb},
                {"#FF0000(1,2,3)", S::InvalidRgb}});
}

TEST(ParseColorText, PureColorsBecomeIndexesButBlackDoesNot) {
    expectRows({{"(255,0,0)", S::Ok, aci(1)},
                {"(255,255,0)", S::Ok, aci(2)},
                {"(0,255,0)", S::Ok, aci(3)},
                {"#00FFFF", S::Ok, aci(4)},
                {"(0,0,255)", S::Ok, aci(5)},
                {"(255,0,255)", S::Ok, aci(6)},
                {"#ffffff", S::Ok, aci(7)},
                {"(0,0,0)", S::Ok, rgb(0, 0, 0)},
                {"#000000", S::Ok, rgb(0, 0, 0)}});
}

TEST(ParseColorText, Hexadecimal) {
    expectRows({{"#ff8000", S::Ok, rgb(255, 128, 0)},
                {"#FF8000", S::Ok, rgb(255, 128, 0)},
                {"#Ff8000", S::Ok, rgb(255, 128, 0)},
                {"#FF0000", S::Ok, aci(1)},
                {"#FF00001", S::InvalidHex},
                {" #FF8000", S::InvalidHex},
                {"color #FF8000", S::InvalidHex}});
    // Not the hexadecimal form at all: only the digits inside count.
    expectRows({{"#GG0000", S::InvalidIndex}, {"FF8000", S::InvalidIndex}, {"#abc", S::Unrecognized}});
}

TEST(ParseColorText, PaletteIndex) {
    expectRows({{"0", S::Ok, aci(0)},
                {"007", S::Ok, aci(7)},
                {"249", S::Ok, aci(249)},
                {"255", S::Ok, aci(255)},
                {" 7", S::InvalidIndex},
                {"7 ", S::InvalidIndex},
                {"256", S::InvalidIndex},
                {"0007", S::InvalidIndex},
                {"-1", S::InvalidIndex},
                {"7.5", S::InvalidIndex}});
    expectRows({{"", S::Unrecognized},
                {"red", S::Unrecognized},
                {"ByLayer", S::Unrecognized},
                {"ByBlock", S::Unrecognized}});
    for (int i = 0; i <= 255; ++i) {
        EXPECT_EQ(host::ParseColorText(host::ColorToText(aci(i))).color, aci(i))
            << "every formatted index reads back: " << i;
    }
}

TEST(ColorParseErrorMessage, NamesTheTextAndTheReason) {
    EXPECT_EQ(host::ColorParseErrorMessage(S::InvalidRgb, QStringLiteral("(1,2,3,4)")),
              QStringLiteral("Error parsing property from (1,2,3,4) because RGB color is invalid. "));
    EXPECT_EQ(host::ColorParseErrorMessage(S::InvalidIndex, QStringLiteral("256")),
              QStringLiteral("Error parsing property from 256 because Color index is invalid. "));
    EXPECT_EQ(host::ColorParseErrorMessage(S::Unrecognized, QStringLiteral("%2 %1")),
              QStringLiteral("Error parsing property from %2 %1 because Unknown error. "))
        << "placeholders in the text stay as they are";
    // The hexadecimal failure, and any code without a reason, leave the reason empty.
    EXPECT_EQ(host::ColorParseErrorMessage(S::InvalidHex, QStringLiteral("#FF00001")),
              QStringLiteral("Error parsing property from #FF00001 because . "));
    EXPECT_EQ(host::ColorParseErrorMessage(static_cast<S>(17), QStringLiteral("x")),
              QStringLiteral("Error parsing property from x because . "));
}

TEST(ColorToText, WritesEachMethod) {
    EXPECT_EQ(host::ColorToText(db::Color()), QStringLiteral("ByLayer"));
    EXPECT_EQ(host::ColorToText(db::Color::byBlock()), QStringLiteral("ByBlock"));
    EXPECT_EQ(host::ColorToText(aci(0)), QStringLiteral("0"));
    EXPECT_EQ(host::ColorToText(aci(254)), QStringLiteral("254"));
    EXPECT_EQ(host::ColorToText(rgb(12, 200, 7)), QStringLiteral("RGB(12,200,7)"));
    EXPECT_EQ(host::ColorToText(rgb(255, 0, 0)), QStringLiteral("RGB(255,0,0)"))
        << "a stored true red stays RGB";
    // Methods without an index fall back to the red, green and blue a drawing shows for them.
    EXPECT_EQ(host::ColorToText(db::Color::fromRaw(std::uint32_t(db::ColorMethod::Foreground) << 24)),
              QStringLiteral("RGB(255,255,255)"));
    // The true-color text is for reading, not for reading back.
    EXPECT_EQ(host::ParseColorText(host::ColorToText(rgb(12, 200, 7))).status, S::InvalidRgb);
}

}  // namespace
}  // namespace vela::properties

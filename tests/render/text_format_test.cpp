#include "render/text_format.h"

#include <gtest/gtest.h>

#include <array>

namespace vela::render {
namespace {

QString joined(const TextParagraph& p) {
    QString s;
    for (const TextRun& r : p.runs) s += r.text;
    return s;
}

TEST(TextFormat, SingleLineCodesBecomeTheirCharacters) {
    EXPECT_EQ(decodeTextCodes("%%c50 %%p0.1 45%%d"), QString::fromUtf8("\u230050 \u00B10.1 45\u00B0"));
    EXPECT_EQ(decodeTextCodes("%%uUnder%%u 100%%% %%065"), QStringLiteral("Under 100% A"));
    EXPECT_EQ(decodeTextCodes("caf\\U+00E9 and \\U+zz"), QString::fromUtf8("caf\u00E9 and \\U+zz"));
    EXPECT_EQ(decodeTextCodes("\xC3\xBC"
                              "ber 50%"),
              QString(QChar(0xFC)) + QStringLiteral("ber 50%"));
}

TEST(TextFormat, MTextSplitsParagraphsAndKeepsOnlyShownText) {
    const auto paras =
        parseMText("{\\fArial|b1|i0;Title}\\PLine \\Lunder\\l two\\~three\\Pa\\S1/2;b \\{x\\}", 2.5);
    ASSERT_EQ(paras.size(), 3u);
    EXPECT_EQ(joined(paras[0]), QStringLiteral("Title"));
    EXPECT_EQ(joined(paras[1]), QStringLiteral("Line under two three"));
    EXPECT_EQ(joined(paras[2]), QStringLiteral("a1/2b {x}"));
    // The non-breaking space is a run of its own that a line must not be broken at.
    int nonBreaking = 0;
    for (const TextRun& r : paras[1].runs) nonBreaking += r.nonBreaking;
    EXPECT_EQ(nonBreaking, 1);
    EXPECT_EQ(joined(parseMText("\\A1;\\Q15;\\T1.2;\\pxi-3,l3;%%c5", 1)[0]), QString::fromUtf8("\u23005"));
}

TEST(TextFormat, MTextHeightsColoursAndGroupsApplyToTheirRunsOnly) {
    const auto paras = parseMText("a{\\H2x;\\C1;b\\H0.5;c}d\\c255;e\\W0.8;f", 3.0);
    ASSERT_EQ(paras.size(), 1u);
    const std::vector<TextRun>& p = paras[0].runs;
    ASSERT_EQ(p.size(), 6u);
    EXPECT_EQ(p[0].text, QStringLiteral("a"));
    EXPECT_DOUBLE_EQ(p[0].height, 3.0);
    EXPECT_FALSE(p[0].colorIndex);
    EXPECT_EQ(p[1].text, QStringLiteral("b"));
    EXPECT_DOUBLE_EQ(p[1].height, 6.0);  // relative to the height before it
    EXPECT_EQ(p[1].colorIndex, 1);
    EXPECT_EQ(p[2].text, QStringLiteral("c"));
    EXPECT_DOUBLE_EQ(p[2].height, 0.5);  // absolute
    EXPECT_EQ(p[2].colorIndex, 1);
    // The group ends: height and colour are back.
    EXPECT_EQ(p[3].text, QStringLiteral("d"));
    EXPECT_DOUBLE_EQ(p[3].height, 3.0);
    EXPECT_FALSE(p[3].colorIndex);
    // True colours are stored blue-green-red: 255 is red.
    EXPECT_EQ(p[4].text, QStringLiteral("e"));
    ASSERT_TRUE(p[4].trueColor);
    EXPECT_EQ(*p[4].trueColor, QColor(255, 0, 0));
    EXPECT_DOUBLE_EQ(p[4].widthFactor, 1.0);
    EXPECT_DOUBLE_EQ(p[5].widthFactor, 0.8);
    EXPECT_EQ(*p[5].trueColor, QColor(255, 0, 0));
}

TEST(TextFormat, LinesUnderOverAndThroughRunUntilSwitchedOff) {
    const auto runs = parseMText("a\\Lb\\Oc\\ld\\o\\Ke\\kf", 1.0)[0].runs;
    ASSERT_EQ(runs.size(), 6u);
    const std::vector<std::array<bool, 3>> expected{{false, false, false}, {true, false, false},
                                                    {true, true, false},   {false, true, false},
                                                    {false, false, true},  {false, false, false}};
    for (std::size_t i = 0; i < runs.size(); ++i) {
        EXPECT_EQ(runs[i].underline, expected[i][0]) << i;
        EXPECT_EQ(runs[i].overline, expected[i][1]) << i;
        EXPECT_EQ(runs[i].strikeThrough, expected[i][2]) << i;
    }
}

TEST(TextFormat, ParagraphAlignmentHoldsUntilChanged) {
    using Align = TextParagraph::Align;
    const auto paras = parseMText("a\\P\\pxqr;b\\Pc\\P\\pxi-3,l3,qc;d\\P\\pq*;e\\P\\pi2;f", 1.0);
    ASSERT_EQ(paras.size(), 6u);
    EXPECT_FALSE(paras[0].align);
    EXPECT_EQ(paras[1].align, Align::Right);
    EXPECT_EQ(paras[2].align, Align::Right);
    EXPECT_EQ(paras[3].align, Align::Center);
    EXPECT_FALSE(paras[4].align);  // back to the attachment's
    EXPECT_FALSE(paras[5].align);  // an indent alone changes no alignment
    EXPECT_EQ(joined(paras[3]), QStringLiteral("d"));
}

TEST(TextFormat, CaretControlCharactersShowAsSpaces) {
    EXPECT_EQ(decodeTextCodes("abc^Idef ^ x ^a"), QStringLiteral("abc def ^x ^a"));
    EXPECT_EQ(joined(parseMText("\\pxi-3;\xE2\x80\xA2^Ifirst", 1.0)[0]),
              QString(QChar(0x2022)) + QStringLiteral(" first"));
}

TEST(TextFormat, BrokenCodesEndQuietly) {
    // An unclosed group, a code at the very end and a height without its ';' lose nothing before them.
    const auto paras = parseMText("abc{\\H", 1.0);
    ASSERT_EQ(paras.size(), 1u);
    EXPECT_EQ(joined(paras[0]), QStringLiteral("abc"));
    EXPECT_EQ(joined(parseMText("x}}y\\", 1.0)[0]), QStringLiteral("xy\\"));
    EXPECT_TRUE(parseMText("", 1.0)[0].runs.empty());
}

}  // namespace
}  // namespace vela::render

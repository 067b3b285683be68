#include <gtest/gtest.h>

#include <cmath>

#include "properties/linescale_text.h"
#include "properties/transparency_text.h"

namespace vela::properties {
namespace {

TEST(TransparencyFromText, ReadsIntegersAsAlphaWrappingModulo256) {
    const std::pair<const char*, int> cases[] = {
        {"128", 128}, {"0", 0},  {"255", 255}, {"300", 44},         {"256", 0},
        {"-1", 255},  {"+7", 7}, {"-256", 0},  {"2147483647", 255}, {"-2147483648", 0}};
    for (const auto& [text, alpha] : cases) {
        const auto t = TransparencyFromText(QString::fromUtf8(text));
        ASSERT_TRUE(t.has_value()) << text;
        EXPECT_TRUE(t->isByAlpha()) << text;
        EXPECT_EQ(t->raw(), 0x02000000u | std::uint32_t(alpha)) << text;
    }
}

TEST(TransparencyFromText, ReadsTheWordsInAnyCase) {
    EXPECT_EQ(TransparencyFromText(QStringLiteral("ByLayer")), db::Transparency::byLayer());
    EXPECT_EQ(TransparencyFromText(QStringLiteral("bylayer")), db::Transparency::byLayer());
    EXPECT_EQ(TransparencyFromText(QStringLiteral("BYBLOCK")), db::Transparency::byBlock());
    EXPECT_EQ(TransparencyFromText(QStringLiteral("BYBLOCK"))->raw(), 0x01000000u);
}

TEST(TransparencyFromText, SetsNothingForOtherTexts) {
    for (const char* text : {"50%", "", "abc", "1.5", "0x10", "By Layer", " ByLayer", "99999999999"}) {
        EXPECT_FALSE(TransparencyFromText(QString::fromUtf8(text)).has_value()) << text;
    }
}

TEST(LineScaleFromText, ReadsDecimalsAndExponents) {
    const std::pair<const char*, double> cases[] = {{"1", 1.0},      {"0.5", 0.5},  {"2.5e1", 25.0},
                                                    {"1E-3", 0.001}, {".25", 0.25}, {"-2", -2.0}};
    for (const auto& [text, value] : cases) {
        const LineScaleParseResult r = LineScaleFromText(QString::fromUtf8(text));
        ASSERT_TRUE(r.ok()) << text;
        EXPECT_DOUBLE_EQ(*r.scale, value) << text;
        EXPECT_TRUE(r.errorMessage.isEmpty()) << text;
    }
}

TEST(LineScaleFromText, ReportsTextsThatAreNotNumbers) {
    for (const char* text : {"", "abc", "1,5", "1.5 mm", "1.5x", "nan", "inf", "-inf", "1e400"}) {
        const LineScaleParseResult r = LineScaleFromText(QString::fromUtf8(text));
        EXPECT_FALSE(r.ok()) << text;
        EXPECT_EQ(r.errorMessage, QStringLiteral("Error parsing linescale %1. ").arg(QString::fromUtf8(text)))
            << text;
    }
    EXPECT_EQ(LineScaleFromText(QStringLiteral("big")).errorMessage,
              QStringLiteral("Error parsing linescale big. "));
}

}  // namespace
}  // namespace vela::properties

#include <gtest/gtest.h>

#include <vector>

#include "properties/lineweight_text.h"

namespace vela::properties {
namespace {

using db::LineWeight;

TEST(LineWeightToText, WritesSpecialValuesByNameAndWidthsInHundredths) {
    EXPECT_EQ(LineWeightToText(LineWeight::ByLayer), QStringLiteral("ByLayer"));
    EXPECT_EQ(LineWeightToText(LineWeight::ByBlock), QStringLiteral("ByBlock"));
    EXPECT_EQ(LineWeightToText(LineWeight::ByLineWeightDefault), QStringLiteral("Default"));
    EXPECT_EQ(LineWeightToText(LineWeight::W000), QStringLiteral("0"));
    EXPECT_EQ(LineWeightToText(LineWeight::W025), QStringLiteral("25"));
    EXPECT_EQ(LineWeightToText(LineWeight::W211), QStringLiteral("211"));
}

TEST(LineWeightDisplayString, WritesMillimetresWithTwoDecimals) {
    EXPECT_EQ(LineWeightToDisplayText(LineWeight::ByLayer), QStringLiteral("ByLayer"));
    EXPECT_EQ(LineWeightToDisplayText(LineWeight::ByBlock), QStringLiteral("ByBlock"));
    EXPECT_EQ(LineWeightToDisplayText(LineWeight::ByLineWeightDefault), QStringLiteral("Default"));
    EXPECT_EQ(LineWeightToDisplayText(LineWeight::W000), QStringLiteral("0.00 mm"));
    EXPECT_EQ(LineWeightToDisplayText(LineWeight::W005), QStringLiteral("0.05 mm"));
    EXPECT_EQ(LineWeightToDisplayText(LineWeight::W025), QStringLiteral("0.25 mm"));
    EXPECT_EQ(LineWeightToDisplayText(LineWeight::W100), QStringLiteral("1.00 mm"));
    EXPECT_EQ(LineWeightToDisplayText(LineWeight::W211), QStringLiteral("2.11 mm"));
    EXPECT_EQ(LineWeightToDisplayText(static_cast<LineWeight>(-25)), QStringLiteral("-0.25 mm"));
}

TEST(LineWeightFromString, ReadsBackEveryDisplayString) {
    std::vector<int> all = {-1, -2, -3};
    all.insert(all.end(), db::kStandardLineWeights.begin(), db::kStandardLineWeights.end());
    for (int value : all) {
        const auto weight = static_cast<LineWeight>(value);
        const QString text = LineWeightToDisplayText(weight);
        LineWeight read = static_cast<LineWeight>(-99);
        EXPECT_TRUE(LineWeightFromText(text, read)) << text.toStdString();
        EXPECT_EQ(read, weight) << text.toStdString();
    }
}

TEST(LineWeightFromString, AcceptsTheUsualSpellings) {
    const std::pair<LineWeight, std::vector<const char*>> accepted[] = {
        {LineWeight::ByLayer, {"ByLayer", "bylayer"}},
        {LineWeight::ByBlock, {"BYBLOCK"}},
        {LineWeight::ByLineWeightDefault, {"default", " Default "}},
        {LineWeight::W025, {"0.25", "0.25 mm", "0.25mm", "0.25MM", ".25", "00.250", "  0.25 mm\n"}},
        {LineWeight::W000, {"0", "0.00", "0."}},
        {LineWeight::W005, {"0.05"}},
        {LineWeight::W050, {"0.5"}},
        {LineWeight::W100, {"1"}},
        {LineWeight::W211, {"2.110000"}}};
    for (const auto& [weight, texts] : accepted) {
        for (const char* text : texts) {
            LineWeight read = static_cast<LineWeight>(-99);
            EXPECT_TRUE(LineWeightFromText(QString::fromUtf8(text), read)) << text;
            EXPECT_EQ(read, weight) << text;
        }
    }
}

TEST(LineWeightFromString, RefusesOtherTextsAndLeavesTheValueAlone) {
    const char* refused[] = {"",         " ",
                             "abc",      "25",
                             "211",      "0.26",
                             "0.251",    "2.12",
                             "-0.25",    "+0.25",
                             "0,25",     "2.5e-1",
                             "0.25 in",  "mm",
                             ".",        "0.25 mm mm",
                             "-1",       "By Layer",
                             "ByLayers", "LWDEFAULT",
                             "10",       "99999999999999999999"};
    for (const char* text : refused) {
        LineWeight read = LineWeight::W090;
        EXPECT_FALSE(LineWeightFromText(QString::fromUtf8(text), read)) << text;
        EXPECT_EQ(read, LineWeight::W090) << text;
    }
}

}  // namespace
}  // namespace vela::properties

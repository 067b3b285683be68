#include "db/support/hatch_pattern_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace vela::db {
namespace {

constexpr double kEps = 1e-12;

bool contains(const std::string& haystack, std::string_view needle) {
    return haystack.find(needle) != std::string::npos;
}

std::string allErrors(const HatchPatternFile& file) {
    std::string out;
    for (const auto& e : file.errors) out += e.text() + "\n";
    return out;
}

TEST(HatchPatternFileTest, ParsesLineFamiliesInRadiansWithDashes) {
    const HatchPatternFile file = parseHatchPatternFile(
        "; comment\r\n"
        "*STEEL, Two lines, close together\r\n"
        "45, 0,0, 0,.375\r\n"
        "  45 , .176776695, 0 , 0 , .375 ,\r\n"
        "*BRICK,Brick\n"
        "; comments between line families are fine\n"
        "0, 0,0, 0,.25\n"
        "90, 0,0, .25,.25, .25,-.25, 0, -.1\n"
        "*NEG, negative numbers and exponents\n"
        "-30, -1e-1, +2, -0.5, -2.5E0\n");
    ASSERT_TRUE(file.errors.empty()) << allErrors(file);
    ASSERT_EQ(file.definitions.size(), 3u);

    const HatchPatternDefinition& steel = file.definitions[0];
    EXPECT_EQ(steel.name, "STEEL");
    EXPECT_EQ(steel.description, "Two lines, close together");
    EXPECT_FALSE(steel.isSolid());
    ASSERT_EQ(steel.lines.size(), 2u);
    EXPECT_NEAR(steel.lines[0].angle, std::numbers::pi / 4, kEps);
    EXPECT_EQ(steel.lines[1].origin, Point2d(0.176776695, 0.0));
    EXPECT_EQ(steel.lines[1].offset, (Offset2d{0.0, 0.375}));
    EXPECT_TRUE(steel.lines[1].dashes.empty());

    const HatchPatternDefinition& brick = file.definitions[1];
    ASSERT_EQ(brick.lines.size(), 2u);
    EXPECT_NEAR(brick.lines[1].angle, std::numbers::pi / 2, kEps);
    EXPECT_EQ(brick.lines[1].offset, (Offset2d{0.25, 0.25}));
    EXPECT_EQ(brick.lines[1].dashes, (std::vector<double>{0.25, -0.25, 0.0, -0.1}));

    const HatchPatternFileLine& neg = file.definitions[2].lines.at(0);
    EXPECT_NEAR(neg.angle, -std::numbers::pi / 6, kEps);
    EXPECT_EQ(neg.origin, Point2d(-0.1, 2.0));
    EXPECT_EQ(neg.offset, (Offset2d{-0.5, -2.5}));
}

TEST(HatchPatternFileTest, SolidIsKnownByNameAndHasNoLines) {
    const HatchPatternFile file = parseHatchPatternFile(
        "*SOLID, Solid fill\n"
        "45, 0,0, 0,.125\n"
        "*solid2, not solid: only the exact name fills\n"
        "0, 0,0, 0,1\n");
    ASSERT_TRUE(file.errors.empty()) << allErrors(file);
    ASSERT_EQ(file.definitions.size(), 2u);
    EXPECT_TRUE(file.definitions[0].isSolid());
    EXPECT_TRUE(file.definitions[0].lines.empty());
    EXPECT_FALSE(file.definitions[1].isSolid());

    // Without its placeholder line, in lower case, and with a line we could not draw: all the same fill.
    for (const char* text : {"*SOLID\n", "*solid, fill\n", "*Solid,x\n45,0,0,0,0,junk\n"}) {
        SCOPED_TRACE(text);
        const HatchPatternFile f = parseHatchPatternFile(text);
        EXPECT_TRUE(f.errors.empty()) << allErrors(f);
        ASSERT_EQ(f.definitions.size(), 1u);
        EXPECT_TRUE(f.definitions[0].isSolid());
        EXPECT_TRUE(f.definitions[0].lines.empty());
    }
}

// Each bad family line sits in a definition between two good ones: it must be reported on its own
// line, and only its own definition may be lost.
TEST(HatchPatternFileTest, BadLineFamiliesAreReportedAndSkipped) {
    const char* const badLines[] = {
        "45, 0,0, 0",                   // too few values
        "45",                           // far too few
        "45, 0,0, 0,0",                 // zero spacing: one line forever
        "45, 0,0, 0,-0",                // still zero
        "45, 0,0, 0,.1, 0,0",           // dashes of zero total length
        "45, 0,0, 0,.1, 1e308,-1e308",  // dash total overflows
        "x, 0,0, 0,.1",                 // not a number
        "45, 0,0, 0,.1,, .5",           // empty dash
        "45, 0,0, 0,.1, .5 .5",         // two numbers in one field
        "45, inf,0, 0,.1",              // infinity
        "45; 0,0, 0,.1",                // ';' is no separator
    };
    for (const char* bad : badLines) {
        SCOPED_TRACE(bad);
        const std::string text = "*GOOD1, one\n0,0,0,0,1\n*BAD, bad\n0,0,0,0,1\n" + std::string(bad) +
                                 "\n*GOOD2, two\n90,0,0,0,2\n";
        const HatchPatternFile file = parseHatchPatternFile(text);
        ASSERT_EQ(file.errors.size(), 1u) << allErrors(file);
        EXPECT_EQ(file.errors[0].line, 5u);
        EXPECT_TRUE(contains(file.errors[0].message, "BAD")) << file.errors[0].message;
        ASSERT_EQ(file.definitions.size(), 2u);
        EXPECT_EQ(file.definitions[0].name, "GOOD1");
        EXPECT_EQ(file.definitions[1].name, "GOOD2");
        EXPECT_EQ(file.definitions[1].lines.at(0).offset.y, 2.0);
    }
}

TEST(HatchPatternFileTest, StructuralProblemsAreReportedOnTheRightLine) {
    const HatchPatternFile file = parseHatchPatternFile(
        "0,0,0,0,1\n"            // 1: before any header
        "*EMPTY, no families\n"  // 2: not SOLID, so it needs lines
        "*TWO_BAD, x\n"          // 3
        "a,0,0,0,1\n"            // 4: both bad lines are reported
        "0,0,0,0,0\n"            // 5
        "*\n"                    // 6: bad header
        "0,0,0,0,1\n"            // 7: under the bad header: not reported again
        "*Ok, first\n"           // 8
        "0,0,0,0,1\n"            // 9
        "*OK, second\n"          // 10: duplicate (case-insensitive), ignored
        "0,0,0,0,3\n");          // 11
    std::vector<std::size_t> lines;
    for (const auto& e : file.errors) lines.push_back(e.line);
    ASSERT_EQ(lines, (std::vector<std::size_t>{1, 2, 4, 5, 6, 10})) << allErrors(file);
    EXPECT_TRUE(contains(file.errors[5].message, "line 8")) << file.errors[5].message;
    ASSERT_EQ(file.definitions.size(), 1u);
    EXPECT_EQ(file.definitions[0].description, "first");
    EXPECT_EQ(file.find("ok"), &file.definitions[0]);
    EXPECT_EQ(file.find("OK"), &file.definitions[0]);
    EXPECT_EQ(file.find("EMPTY"), nullptr);
    EXPECT_EQ(file.find("TWO_BAD"), nullptr);
}

}  // namespace
}  // namespace vela::db

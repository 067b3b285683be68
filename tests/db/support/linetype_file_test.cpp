#include "db/support/linetype_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
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

std::string allErrors(const LinetypeFile& file) {
    std::string out;
    for (const auto& e : file.errors) out += e.text() + "\n";
    return out;
}

TEST(LinetypeFileTest, ParsesPlainAndContinuousDefinitionsWithCommentsCrLfAndBom) {
    const LinetypeFile file = parseLinetypeFile(
        "\xEF\xBB\xBF;; a comment\r\n"
        "\r\n"
        "*DASHED,Dashed, then more __ __\r\n"
        "A,.5,-.25\r\n"
        "   ; indented comment\n"
        "  *dotted , Dots . . .\n"
        "a, 0 , -0.125e1 ,+0.5,-1,\n"
        "*CONTINUOUS,Solid\nA\n*ALSO\nA,\n");
    ASSERT_TRUE(file.errors.empty()) << allErrors(file);
    ASSERT_EQ(file.definitions.size(), 4u);

    const LinetypeDefinition& dashed = file.definitions[0];
    EXPECT_EQ(dashed.name, "DASHED");
    EXPECT_EQ(dashed.description, "Dashed, then more __ __");
    ASSERT_EQ(dashed.elements.size(), 2u);
    EXPECT_DOUBLE_EQ(dashed.elements[0].length, 0.5);
    EXPECT_DOUBLE_EQ(dashed.elements[1].length, -0.25);
    EXPECT_DOUBLE_EQ(dashed.patternLength(), 0.75);

    // Blanks around names and numbers, a lower-case alignment, exponents, '+' and a trailing comma.
    const LinetypeDefinition& dotted = file.definitions[1];
    EXPECT_EQ(dotted.name, "dotted");
    EXPECT_EQ(dotted.description, "Dots . . .");
    ASSERT_EQ(dotted.elements.size(), 4u);
    EXPECT_DOUBLE_EQ(dotted.elements[1].length, -1.25);
    EXPECT_DOUBLE_EQ(dotted.patternLength(), 2.75);

    // The alignment alone, with or without a comma, is a continuous line.
    for (const auto* d : {&file.definitions[2], &file.definitions[3]}) {
        EXPECT_TRUE(d->isContinuous()) << d->name;
        EXPECT_EQ(d->patternLength(), 0.0);
    }
    EXPECT_EQ(file.definitions[3].description, "");
}

TEST(LinetypeFileTest, ComplexElementsRideOnThePrecedingDashOrGap) {
    const LinetypeFile file = parseLinetypeFile(
        "*GAS,Gas line\n"
        "A,.5,-.2,[\"GAS\",STANDARD,S=.1,R=90,X=-0.1,Y=-.05],-.25\n"
        "*FENCE,Fence with circles\n"
        "A,.25,-.1,[CIRC1,shapes.shx,x=-.1,s=.1],-.1,1\n"
        "*ROT,Rotation forms\n"
        "A,1,[\"A\",S1,A=30],-1,[\"B\",S1,U=1.5r],2,[\"C\",S1,R=100g],-2,[\"D\",S1,r = 45d]\n"
        "*QUOTED,Commas and brackets inside text\n"
        "A,1,-1,[\"x, [y] ;z\",STD]\n");
    ASSERT_TRUE(file.errors.empty()) << allErrors(file);
    ASSERT_EQ(file.definitions.size(), 4u);

    const auto& gas = file.definitions[0].elements;
    ASSERT_EQ(gas.size(), 3u);
    EXPECT_EQ(gas[0].kind, LinetypeElement::Kind::Plain);
    EXPECT_EQ(gas[1].kind, LinetypeElement::Kind::Text);
    EXPECT_DOUBLE_EQ(gas[1].length, -0.2);
    EXPECT_EQ(gas[1].text, "GAS");
    EXPECT_EQ(gas[1].styleOrFile, "STANDARD");
    EXPECT_DOUBLE_EQ(gas[1].scale, 0.1);
    EXPECT_NEAR(gas[1].rotation, std::numbers::pi / 2, kEps);
    EXPECT_FALSE(gas[1].absoluteRotation);
    EXPECT_FALSE(gas[1].uprightRotation);
    EXPECT_DOUBLE_EQ(gas[1].xOffset, -0.1);
    EXPECT_DOUBLE_EQ(gas[1].yOffset, -0.05);
    EXPECT_EQ(gas[2].kind, LinetypeElement::Kind::Plain);
    EXPECT_DOUBLE_EQ(file.definitions[0].patternLength(), 0.95);

    const auto& fence = file.definitions[1].elements;
    ASSERT_EQ(fence.size(), 4u);
    EXPECT_EQ(fence[1].kind, LinetypeElement::Kind::Shape);
    EXPECT_EQ(fence[1].text, "CIRC1");
    EXPECT_EQ(fence[1].styleOrFile, "shapes.shx");
    EXPECT_DOUBLE_EQ(fence[1].xOffset, -0.1);
    EXPECT_DOUBLE_EQ(fence[1].scale, 0.1);
    EXPECT_DOUBLE_EQ(fence[1].rotation, 0.0);

    const auto& rot = file.definitions[2].elements;
    ASSERT_EQ(rot.size(), 4u);
    EXPECT_TRUE(rot[0].absoluteRotation);
    EXPECT_NEAR(rot[0].rotation, std::numbers::pi / 6, kEps);
    EXPECT_TRUE(rot[1].uprightRotation);
    EXPECT_FALSE(rot[1].absoluteRotation);
    EXPECT_NEAR(rot[1].rotation, 1.5, kEps);
    EXPECT_NEAR(rot[2].rotation, std::numbers::pi / 2, kEps);
    EXPECT_NEAR(rot[3].rotation, std::numbers::pi / 4, kEps);
    EXPECT_FALSE(rot[3].absoluteRotation);

    const auto& quoted = file.definitions[3].elements;
    ASSERT_EQ(quoted.size(), 2u);
    EXPECT_EQ(quoted[1].text, "x, [y] ;z");
}

// Each bad pattern line sits between two good definitions: it must be reported on its own line, and
// only its own definition may be lost.
TEST(LinetypeFileTest, BadPatternLinesAreReportedAndSkipped) {
    const char* const badLines[] = {
        "A,.5,abc",
        "A,.5,,-.25",
        "B,.5,-.25",
        ".5,-.25",
        "A,-.25,.5",
        "A,.5",
        "A,0,0",
        "A,.5,-1e308,1e308,-1e308",
        "A,inf,-1",
        "A,nan,-1",
        "A,0x10,-1",
        "A,+-1,-1",
        "A,[\"T\",STD],.5,-.2",
        "A,.5,-.2,[\"T\",STD],[\"U\",STD]",
        "A,.5,-.2,[\"T\",STD",
        "A,.5,-.2,[\"T,STD]",
        "A,.5,-.2,[\"T\",STD]x",
        "A,.5,-.2]",
        "A,.5,-.2,[[\"T\",STD]]",
        "A,.5,-.2,[\"T\"x,STD]",
        "A,.5,-.2,[\"T\"]",
        "A,.5,-.2,[\"T\",S=1]",
        "A,.5,-.2,[\"\",STD]",
        "A,.5,-.2,[,shapes.shx]",
        "A,.5,-.2,[\"T\",STD,Q=1]",
        "A,.5,-.2,[\"T\",STD,SS=1]",
        "A,.5,-.2,[\"T\",STD,S]",
        "A,.5,-.2,[\"T\",STD,S=x]",
        "A,.5,-.2,[\"T\",STD,S=1,s=2]",
        "A,.5,-.2,[\"T\",STD,R=1,A=2]",
        "A,.5,-.2,[\"T\",STD,R=1q]",
    };
    for (const char* bad : badLines) {
        SCOPED_TRACE(bad);
        const std::string text =
            "*GOOD1,one\nA,1,-1\n*BAD,bad\n" + std::string(bad) + "\n*GOOD2,two\nA,2,-2\n";
        const LinetypeFile file = parseLinetypeFile(text);
        ASSERT_EQ(file.errors.size(), 1u) << allErrors(file);
        EXPECT_EQ(file.errors[0].line, 4u);
        EXPECT_TRUE(contains(file.errors[0].message, "BAD")) << file.errors[0].message;
        EXPECT_TRUE(contains(file.errors[0].text(), "line 4: ")) << file.errors[0].text();
        ASSERT_EQ(file.definitions.size(), 2u);
        EXPECT_EQ(file.definitions[0].name, "GOOD1");
        EXPECT_EQ(file.definitions[1].name, "GOOD2");
        EXPECT_DOUBLE_EQ(file.definitions[1].elements[0].length, 2.0);
    }
}

TEST(LinetypeFileTest, StructuralProblemsAreReportedOnTheRightLine) {
    const LinetypeFile file = parseLinetypeFile(
        "stray before any header\n"     // 1: outside a definition
        "*,no name\n"                   // 2: bad header
        "A,1,-1\n"                      // 3: its pattern, not reported twice
        "*BAD|NAME,forbidden char\n"    // 4: bad header
        "A,1,-1\n"                      // 5
        "*LONELY,no pattern follows\n"  // 6: no pattern line
        "*Twice,first\n"                // 7
        "A,1,-1\n"                      // 8
        "A,3,-3\n"                      // 9: second pattern line: outside a definition
        "*TWICE,second\n"               // 10: duplicate (case-insensitive), ignored
        "A,2,-2\n"                      // 11
        "*LAST,no pattern at end\n");   // 12
    std::vector<std::size_t> lines;
    for (const auto& e : file.errors) lines.push_back(e.line);
    ASSERT_EQ(lines, (std::vector<std::size_t>{1, 2, 4, 6, 9, 10, 12})) << allErrors(file);
    EXPECT_TRUE(contains(file.errors[5].message, "line 7")) << file.errors[5].message;

    ASSERT_EQ(file.definitions.size(), 1u);
    EXPECT_EQ(file.definitions[0].description, "first");
    EXPECT_EQ(file.find("twice"), &file.definitions[0]);
    EXPECT_EQ(file.find("TWICE"), &file.definitions[0]);
    EXPECT_EQ(file.find("TWIC"), nullptr);
    EXPECT_EQ(file.find("LONELY"), nullptr);
}

TEST(LinetypeFileTest, ReadReportsUnreadableFilesAndParsesReadableOnes) {
    namespace fs = std::filesystem;
    const fs::path folder =
        fs::temp_directory_path() / ("vela_lin_test_" + std::to_string(std::random_device{}()));
    fs::create_directories(folder);
    const fs::path file = folder / "x.lin";
    std::ofstream(file) << "*A,a\nA,1,-1\n*B,b\nA,oops\n";

    std::string error;
    const auto parsed = readLinetypeFile(file, &error);
    ASSERT_TRUE(parsed.has_value()) << error;
    EXPECT_EQ(parsed->definitions.size(), 1u);
    ASSERT_EQ(parsed->errors.size(), 1u);
    EXPECT_EQ(parsed->errors[0].line, 4u);

    EXPECT_FALSE(readLinetypeFile(folder / "missing.lin", &error).has_value());
    EXPECT_TRUE(contains(error, "missing.lin")) << error;
    EXPECT_FALSE(readLinetypeFile(folder).has_value());  // a folder; and no error sink given

    fs::remove_all(folder);
}

}  // namespace
}  // namespace vela::db

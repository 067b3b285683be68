// The linetype and hatch pattern files shipped in support/ (written by support/generate_support_files.py).

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <string>
#include <vector>

#include "db/support/hatch_pattern_file.h"
#include "db/support/linetype_file.h"

namespace vela::db {
namespace {

namespace fs = std::filesystem;

constexpr double kMmPerInch = 25.4;

fs::path supportFile(const char* name) {
    return fs::path(VELA_SOURCE_DIR) / "support" / name;
}

// `mm` is `inch` times 25.4 to 1e-9 relative; zero must stay (practically) zero.
::testing::AssertionResult isScaled(double inch, double mm) {
    const double expected = inch * kMmPerInch;
    const double tolerance = std::max(1e-9 * std::fabs(expected), 1e-12);
    if (std::fabs(mm - expected) <= tolerance) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << mm << " is not 25.4 * " << inch;
}

::testing::AssertionResult isScaledBy(double base, double variant, double factor) {
    if (std::fabs(variant - base * factor) <= 1e-12 * std::max(1.0, std::fabs(base))) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << variant << " is not " << factor << " * " << base;
}

template <typename File>
std::string errorsOf(const File& file) {
    std::string out;
    for (const auto& e : file.errors) out += e.text() + "\n";
    return out;
}

LinetypeFile loadLinetypes(const char* name) {
    std::string error;
    auto file = readLinetypeFile(supportFile(name), &error);
    EXPECT_TRUE(file.has_value()) << error;
    return file ? *file : LinetypeFile{};
}

HatchPatternFile loadPatterns(const char* name) {
    std::string error;
    auto file = readHatchPatternFile(supportFile(name), &error);
    EXPECT_TRUE(file.has_value()) << error;
    return file ? *file : HatchPatternFile{};
}

const char* const kLinetypeFamilies[] = {"DASHED",  "HIDDEN", "CENTER", "PHANTOM",
                                         "DASHDOT", "DOT",    "DIVIDE", "BORDER"};

TEST(BundledSupportFilesTest, LinetypesExistInBothUnitSystemsAndMetricIsInchTimes25_4) {
    const LinetypeFile inch = loadLinetypes("inch.lin");
    const LinetypeFile mm = loadLinetypes("mm.lin");
    EXPECT_TRUE(inch.errors.empty()) << errorsOf(inch);
    EXPECT_TRUE(mm.errors.empty()) << errorsOf(mm);
    ASSERT_NE(inch.find("CONTINUOUS"), nullptr);
    EXPECT_TRUE(inch.find("CONTINUOUS")->isContinuous());

    std::vector<std::string> names = {"CONTINUOUS"};
    for (const char* family : kLinetypeFamilies) {
        for (const char* suffix : {"", "2", "X2"}) names.push_back(std::string(family) + suffix);
    }
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const LinetypeDefinition* i = inch.find(name);
        const LinetypeDefinition* m = mm.find(name);
        ASSERT_TRUE(i && m);
        EXPECT_FALSE(i->description.empty());
        EXPECT_EQ(m->description, i->description);
        EXPECT_EQ(i->isContinuous(), name == "CONTINUOUS");
        ASSERT_EQ(m->elements.size(), i->elements.size());
        for (std::size_t k = 0; k < i->elements.size(); ++k) {
            EXPECT_TRUE(isScaled(i->elements[k].length, m->elements[k].length)) << "element " << k;
        }
    }
    // The common size, in the units a draughtsman would check it in.
    EXPECT_DOUBLE_EQ(inch.find("DASHED")->elements[0].length, 0.5);
    EXPECT_DOUBLE_EQ(inch.find("DASHED")->elements[1].length, -0.25);
    EXPECT_NEAR(mm.find("DASHED")->elements[0].length, 12.7, 1e-9);
}

TEST(BundledSupportFilesTest, LinetypeVariantsAreHalfAndDoubleSize) {
    for (const char* fileName : {"inch.lin", "mm.lin"}) {
        const LinetypeFile file = loadLinetypes(fileName);
        for (const char* family : kLinetypeFamilies) {
            SCOPED_TRACE(std::string(fileName) + " " + family);
            const LinetypeDefinition* base = file.find(family);
            const LinetypeDefinition* half = file.find(std::string(family) + "2");
            const LinetypeDefinition* twice = file.find(std::string(family) + "X2");
            ASSERT_TRUE(base && half && twice);
            ASSERT_EQ(half->elements.size(), base->elements.size());
            ASSERT_EQ(twice->elements.size(), base->elements.size());
            for (std::size_t k = 0; k < base->elements.size(); ++k) {
                EXPECT_TRUE(isScaledBy(base->elements[k].length, half->elements[k].length, 0.5));
                EXPECT_TRUE(isScaledBy(base->elements[k].length, twice->elements[k].length, 2.0));
            }
        }
    }
}

const char* const kPatternNames[] = {"SOLID",  "ANSI31", "ANSI32", "ANSI33", "ANSI34", "ANSI35", "ANSI36",
                                     "ANSI37", "ANSI38", "LINE",   "NET",    "DOTS",   "BRICK"};

TEST(BundledSupportFilesTest, PatternsExistInBothUnitSystemsAndMetricIsInchTimes25_4) {
    const HatchPatternFile inch = loadPatterns("inch.pat");
    const HatchPatternFile mm = loadPatterns("mm.pat");
    EXPECT_TRUE(inch.errors.empty()) << errorsOf(inch);
    EXPECT_TRUE(mm.errors.empty()) << errorsOf(mm);
    for (const char* name : kPatternNames) {
        SCOPED_TRACE(name);
        const HatchPatternDefinition* i = inch.find(name);
        const HatchPatternDefinition* m = mm.find(name);
        ASSERT_TRUE(i && m);
        EXPECT_EQ(i->isSolid(), std::string(name) == "SOLID");
        EXPECT_EQ(i->lines.empty(), i->isSolid());
        ASSERT_EQ(m->lines.size(), i->lines.size());
        for (std::size_t k = 0; k < i->lines.size(); ++k) {
            const HatchPatternLine& a = i->lines[k];
            const HatchPatternLine& b = m->lines[k];
            EXPECT_DOUBLE_EQ(b.angle, a.angle);  // angles do not scale
            EXPECT_TRUE(isScaled(a.origin.x, b.origin.x));
            EXPECT_TRUE(isScaled(a.origin.y, b.origin.y));
            EXPECT_TRUE(isScaled(a.offset.x, b.offset.x));
            EXPECT_TRUE(isScaled(a.offset.y, b.offset.y));
            ASSERT_EQ(b.dashes.size(), a.dashes.size());
            for (std::size_t d = 0; d < a.dashes.size(); ++d) EXPECT_TRUE(isScaled(a.dashes[d], b.dashes[d]));
        }
    }
}

// Distance of a family's origin from the parallel line through (0, 0), measured across the lines.
double acrossOffset(const HatchPatternLine& line) {
    return -line.origin.x * std::sin(line.angle) + line.origin.y * std::cos(line.angle);
}

TEST(BundledSupportFilesTest, PatternsHaveTheirUsualGeometry) {
    const HatchPatternFile inch = loadPatterns("inch.pat");
    const double eighth = 0.125;
    const double deg45 = std::numbers::pi / 4;

    const auto& ansi31 = inch.find("ANSI31")->lines;
    ASSERT_EQ(ansi31.size(), 1u);
    EXPECT_NEAR(ansi31[0].angle, deg45, 1e-12);
    EXPECT_NEAR(ansi31[0].offset.y, eighth, 1e-12);
    EXPECT_TRUE(ansi31[0].dashes.empty());

    // Steel: pairs of lines an eighth apart, the pairs three eighths apart.
    const auto& ansi32 = inch.find("ANSI32")->lines;
    ASSERT_EQ(ansi32.size(), 2u);
    EXPECT_NEAR(ansi32[1].offset.y, 3 * eighth, 1e-12);
    EXPECT_NEAR(std::fabs(acrossOffset(ansi32[1]) - acrossOffset(ansi32[0])), eighth, 1e-9);

    // Plastic: four lines an eighth apart in each group.
    const auto& ansi34 = inch.find("ANSI34")->lines;
    ASSERT_EQ(ansi34.size(), 4u);
    for (std::size_t k = 1; k < 4; ++k) {
        EXPECT_NEAR(acrossOffset(ansi34[k]) - acrossOffset(ansi34[k - 1]), eighth, 1e-9);
    }

    // Brick: vertical joints as long as a course is high, in alternate courses.
    const auto& brick = inch.find("BRICK")->lines;
    ASSERT_EQ(brick.size(), 2u);
    const double course = brick[0].offset.y;
    ASSERT_EQ(brick[1].dashes.size(), 2u);
    EXPECT_NEAR(brick[1].dashes[0], course, 1e-12);
    EXPECT_NEAR(brick[1].dashes[1], -course, 1e-12);
    EXPECT_NEAR(brick[1].offset.x, course, 1e-12);
}

}  // namespace
}  // namespace vela::db

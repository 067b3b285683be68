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
            const HatchPatternFileLine& a = i->lines[k];
            const HatchPatternFileLine& b = m->lines[k];
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

}  // namespace
}  // namespace vela::db

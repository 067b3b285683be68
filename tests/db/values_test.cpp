#include <gtest/gtest.h>

#include "db/color.h"
#include "db/database.h"
#include "db/lineweight.h"
#include "db/records/linetype_table_record.h"
#include "db/records/text_style_table_record.h"
#include "db/support/linetype_file.h"
#include "db/transparency.h"

namespace vela::db {
namespace {

TEST(Color, PaletteGivesRedGreenBlueForIndexes) {
    EXPECT_EQ(Color::fromIndex(1).rgb(), 0xFF0000u);
    EXPECT_EQ(Color::fromIndex(5).rgb(), 0x0000FFu);
    EXPECT_EQ(Color::fromIndex(7).rgb(), 0xFFFFFFu);
    EXPECT_EQ(Color::fromIndex(8).rgb(), 0x808080u);
    EXPECT_EQ(Color::fromIndex(30).red(), 0xFF);
    EXPECT_EQ(Color::fromIndex(30).green(), 0x7F);
    EXPECT_EQ(Color::fromIndex(255).rgb(), 0xFFFFFFu);
    const Color rgb = Color::fromRgb(12, 200, 7);
    EXPECT_EQ(rgb.red(), 12);
    EXPECT_EQ(rgb.green(), 200);
    EXPECT_EQ(rgb.blue(), 7);
    EXPECT_TRUE(rgb.isByColor());
    EXPECT_EQ(rgb.colorIndex(), -1);
    EXPECT_EQ(Color::fromRgb(255, 0, 0).nearestColorIndex(), 1);
}

TEST(Color, MethodsAreDistinctAndDxfIndexesMapBothWays) {
    EXPECT_TRUE(Color().isByLayer());
    EXPECT_NE(Color::byLayer(), Color::byBlock());
    EXPECT_NE(Color::fromIndex(0), Color::byBlock()) << "palette index 0 is its own value";
    EXPECT_NE(Color::fromIndex(1), Color::fromRgb(255, 0, 0)) << "a true color is not its palette twin";
    EXPECT_EQ(Color::fromDxfIndex(256), Color::byLayer());
    EXPECT_EQ(Color::fromDxfIndex(0), Color::byBlock());
    EXPECT_EQ(Color::fromDxfIndex(-3), Color::fromIndex(3)) << "a layer that is off stores its color negated";
    EXPECT_EQ(Color::byLayer().colorIndex(), 256);
    EXPECT_EQ(Color::byBlock().colorIndex(), 0);
    EXPECT_EQ(Color::fromRaw(Color::fromRgb(1, 2, 3).raw()), Color::fromRgb(1, 2, 3));
}

TEST(LineWeightAndTransparency, HoldTheirSpecialValues) {
    for (int w : kStandardLineWeights) EXPECT_TRUE(isValidLineWeight(w)) << w;
    for (int w : {-1, -2, -3}) EXPECT_TRUE(isValidLineWeight(w));
    for (int w : {-4, 1, 24, 26, 212, 1000}) EXPECT_FALSE(isValidLineWeight(w)) << w;
    EXPECT_EQ(Transparency::byLayer().raw(), 0u);
    EXPECT_EQ(Transparency::byBlock().raw(), 0x01000000u);
    EXPECT_EQ(Transparency::fromAlpha(128).raw(), 0x02000080u);
    EXPECT_EQ(Transparency::fromAlpha(128).alpha(), 128);
    EXPECT_TRUE(Transparency::fromRaw(0x020000FFu).isByAlpha());
}

TEST(Linetypes, LoadFromTheBundledFilesByNameInAnyCase) {
    Database db;
    ObjectId id;
    ASSERT_EQ(db.loadLinetype("dashed", VELA_SOURCE_DIR "/support/mm.lin", &id), ErrorStatus::Ok);
    auto lt = openObject<LinetypeTableRecord>(id, OpenMode::ForRead);
    ASSERT_TRUE(lt);
    EXPECT_EQ(lt->name(), "DASHED");
    ASSERT_EQ(lt->dashes().size(), 2u);
    EXPECT_NEAR(lt->dashes()[0].length, 12.7, 1e-9);
    EXPECT_NEAR(lt->dashes()[1].length, -6.35, 1e-9);
    EXPECT_NEAR(lt->patternLength(), 19.05, 1e-9);
    EXPECT_EQ(db.linetypeTable()->getAt("Dashed"), id);

    EXPECT_EQ(db.loadLinetype("DASHED", VELA_SOURCE_DIR "/support/inch.lin"), ErrorStatus::DuplicateRecordName);
    EXPECT_EQ(db.loadLinetype("NoSuchLinetype", VELA_SOURCE_DIR "/support/mm.lin"), ErrorStatus::KeyNotFound);
    EXPECT_EQ(db.loadLinetype("DASHED", "/nonexistent/file.lin"), ErrorStatus::FileNotFound);
}

TEST(Linetypes, ComplexElementsResolveTheirTextStyle) {
    Database db;
    LinetypeDefinition def;
    def.name = "GAS";
    def.description = "Gas line ----GAS----";
    LinetypeElement dash;
    dash.length = 12.7;
    LinetypeElement text;
    text.length = -5.08;
    text.kind = LinetypeElement::Kind::Text;
    text.text = "GAS";
    text.styleOrFile = "NoSuchStyle";
    text.scale = 2.54;
    def.elements = {dash, text};
    ObjectId id;
    ASSERT_EQ(db.addLinetype(def, &id), ErrorStatus::Ok);
    auto lt = openObject<LinetypeTableRecord>(id, OpenMode::ForRead);
    ASSERT_EQ(lt->dashes().size(), 2u);
    EXPECT_EQ(lt->dashes()[1].text, "GAS");
    EXPECT_EQ(lt->dashes()[1].textStyle, db.textStyleTable()->getAt("Standard")) << "unknown styles fall back";
    EXPECT_DOUBLE_EQ(lt->dashes()[1].scale, 2.54);
    def.name = "bad|name";
    EXPECT_EQ(db.addLinetype(def), ErrorStatus::InvalidSymbolTableName);
}

}  // namespace
}  // namespace vela::db

#include <gtest/gtest.h>

#include "db/entities/circle.h"
#include "db/entities/hatch.h"
#include "db/entities/line.h"
#include "db/entities/text.h"
#include "db/records/layer_table_record.h"
#include "db/spatial_index.h"
#include "picture.h"

namespace vela::render::test {
namespace {

db::HatchLoop squareLoop(double x0, double y0, double size) {
    db::HatchLoop loop;
    loop.flags = db::HatchLoop::kExternal | db::HatchLoop::kPolyline;
    for (const auto& [x, y] : {std::pair{x0, y0}, {x0 + size, y0}, {x0 + size, y0 + size}, {x0, y0 + size}})
        loop.vertices.push_back({db::Point2d(x, y), 0.0});
    return loop;
}

// Picking answers what the picture shows at the point, not what the boxes of entities cover.
TEST(EntitiesAt, FindsWhatIsDrawnAtThePointTopmostFirst) {
    db::Database db;
    const db::ObjectId circle = add(db, std::make_unique<db::Circle>(db::Point3d(0, 0, 0), 100));
    const db::ObjectId line =
        add(db, std::make_unique<db::Line>(db::Point3d(-200, 0, 0), db::Point3d(200, 0, 0)));
    auto solid = std::make_unique<db::Hatch>();
    solid->setPattern(db::Hatch::PatternType::Predefined, "SOLID");
    ASSERT_EQ(solid->appendLoop(squareLoop(300, 300, 100)), db::ErrorStatus::Ok);
    const db::ObjectId hatch = add(db, std::move(solid));
    const db::ObjectId text = add(db, std::make_unique<db::Text>(db::Point3d(-300, 300, 0), "WWW", 40));
    db::SpatialIndex index(db);

    using Ids = std::vector<db::ObjectId>;
    EXPECT_EQ(entitiesAt(db, index, {100, 1, 0}, 3), (Ids{line, circle}))
        << "where both cross: the later first";
    EXPECT_EQ(entitiesAt(db, index, {70.7, 70.7, 0}, 3), (Ids{circle})) << "on the rim";
    EXPECT_EQ(entitiesAt(db, index, {40, 40, 0}, 3), Ids{}) << "inside the circle, away from the line";
    EXPECT_EQ(entitiesAt(db, index, {0, 5, 0}, 3), Ids{}) << "beyond the tolerance";
    EXPECT_EQ(entitiesAt(db, index, {0, 5, 0}, 8), (Ids{line}));
    EXPECT_EQ(entitiesAt(db, index, {350, 350, 0}, 3), (Ids{hatch})) << "a filled hatch anywhere inside";
    EXPECT_EQ(entitiesAt(db, index, {450, 450, 0}, 3), Ids{});
    // Text is picked on its letters.
    EXPECT_FALSE(entitiesAt(db, index, {-280, 320, 0}, 10).empty());
    EXPECT_EQ(entitiesAt(db, index, {-280, 320, 0}, 10).front(), text);

    // Hidden entities and nonsense are not picked.
    auto layer = std::make_unique<db::LayerTableRecord>("Off");
    layer->setIsOff(true);
    db::ObjectId off;
    ASSERT_EQ(db.addRecord(db.layerTableId(), std::move(layer), &off), db::ErrorStatus::Ok);
    auto hidden = std::make_unique<db::Line>(db::Point3d(0, -50, 0), db::Point3d(10, -50, 0));
    hidden->setLayerId(off);
    add(db, std::move(hidden));
    EXPECT_EQ(entitiesAt(db, index, {5, -50, 0}, 3), Ids{});
    EXPECT_EQ(entitiesAt(db, index, {0, 0, 0}, 0), Ids{});
    EXPECT_EQ(entitiesAt(db, index, {std::nan(""), 0, 0}, 3), Ids{});
    EXPECT_EQ(entitiesAt(db, index, {0, 0, 0}, std::numeric_limits<double>::infinity()), Ids{});
}

}  // namespace
}  // namespace vela::render::test

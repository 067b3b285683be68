#include "render/screen_view.h"

#include <gtest/gtest.h>

#include <QPainter>
#include <cmath>

#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/hatch.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/entities/text.h"
#include "db/geometry/plane.h"
#include "db/object_ref.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "picture.h"

namespace vela::render::test {
namespace {

std::unique_ptr<db::Text> text(double x, double y, double height, const char* s, int colorIndex = 5) {
    auto t = std::make_unique<db::Text>();
    t->setPosition(db::Point3d(x, y));
    t->setHeight(height);
    t->setTextString(s);
    t->setColor(db::Color::fromIndex(static_cast<std::uint8_t>(colorIndex)));
    return t;
}

db::ObjectId addLayer(db::Database& db, const char* name, bool off) {
    auto layer = std::make_unique<db::LayerTableRecord>(name);
    layer->setIsOff(off);
    db::ObjectId id;
    EXPECT_EQ(db.addRecord(db.layerTableId(), std::move(layer), &id), db::ErrorStatus::Ok);
    return id;
}

/// A busy drawing: a fan of slanted lines, rings of circles, texts and a closed polyline, over 0..400 by
/// 0..300, so that any strip of a view cuts through several of them.
void fillBusy(db::Database& db) {
    for (int i = 0; i < 60; ++i) {
        const double a = i * 0.1047;
        add(db, line(200, 150, 200 + 190 * std::cos(a), 150 + 140 * std::sin(a), 1 + i % 6));
    }
    for (int i = 0; i < 40; ++i) {
        auto c =
            std::make_unique<db::Circle>(db::Point3d(20 + (i % 10) * 40, 20 + (i / 10) * 80), 3 + i % 17);
        c->setColor(db::Color::fromIndex(static_cast<std::uint8_t>(2 + i % 5)));
        add(db, std::move(c));
    }
    for (int i = 0; i < 12; ++i) add(db, text(10 + (i % 4) * 95, 40 + (i / 4) * 90, 4 + i, "Wall 12"));
    auto pl = std::make_unique<db::Polyline>();
    for (const auto& [x, y] : {std::pair{30.0, 30.0}, {370.0, 40.0}, {360.0, 270.0}, {40.0, 260.0}})
        pl->addVertexAt(pl->vertices().size(), db::Point2d(x, y));
    pl->setClosed(true);
    add(db, std::move(pl));
}

double largestDifference(const QImage& a, const QImage& b, int* differing) {
    int worst = 0, n = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            const int d = std::max({std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                                    std::abs(qBlue(p) - qBlue(q))});
            worst = std::max(worst, d);
            if (d > 0) ++n;
        }
    *differing = n;
    return worst;
}

TEST(ScreenView, PointsMapBothWaysAndTheViewKeepsItsScaleAndPointsThroughZoomAndResize) {
    db::Database db;
    fillBusy(db);
    db::SpatialIndex index(db);
    ScreenView view(db, index);
    view.resize(QSize(200, 100));
    // The first resize fits the extents: everything shown, centred; y grows upward in the drawing.
    const db::Extents3d extents = index.extents(db.modelSpaceId());
    const db::Extents3d shown = view.shownWindow();
    EXPECT_LE(shown.minPoint().x, extents.minPoint().x);
    EXPECT_GE(shown.maxPoint().x, extents.maxPoint().x);
    EXPECT_LE(shown.minPoint().y, extents.minPoint().y);
    EXPECT_GE(shown.maxPoint().y, extents.maxPoint().y);
    EXPECT_NEAR(shown.center().x, extents.center().x, 1e-9);
    EXPECT_NEAR(shown.center().y, extents.center().y, 1e-9);
    EXPECT_LT(view.toPixels(db::Point3d(0, 10)).y(), view.toPixels(db::Point3d(0, 0)).y());

    const db::Point3d p = view.toDrawing(QPointF(37.5, 81.25));
    EXPECT_NEAR(view.toPixels(p).x(), 37.5, 1e-9);
    EXPECT_NEAR(view.toPixels(p).y(), 81.25, 1e-9);

    // Zooming in and out about a pixel keeps the point under it, and the scale follows the factor.
    const double upp = view.unitsPerPixel();
    view.zoomAt(QPointF(37.5, 81.25), 2.5);
    EXPECT_NEAR(view.unitsPerPixel(), upp / 2.5, upp * 1e-12);
    EXPECT_NEAR(view.toDrawing(QPointF(37.5, 81.25)).x, p.x, upp * 1e-9);
    EXPECT_NEAR(view.toDrawing(QPointF(37.5, 81.25)).y, p.y, upp * 1e-9);
    view.zoomAt(QPointF(150, 10), 0.25);
    EXPECT_NEAR(view.unitsPerPixel(), upp / 2.5 * 4, upp * 1e-12);
    // Factors that make no sense change nothing.
    const db::Point3d corner = view.toDrawing(QPointF(0, 0));
    for (const double f : {0.0, -2.0, double(NAN), double(INFINITY)}) view.zoomAt(QPointF(10, 10), f);
    EXPECT_NEAR(view.toDrawing(QPointF(0, 0)).x, corner.x, 1e-9);

    // A larger screen shows more around the same centre at the same scale.
    const db::Point3d centre = view.shownWindow().center();
    const double before = view.unitsPerPixel();
    view.resize(QSize(300, 260));
    EXPECT_EQ(view.unitsPerPixel(), before);
    EXPECT_NEAR(view.shownWindow().center().x, centre.x, before * 1e-9);
    EXPECT_NEAR(view.shownWindow().center().y, centre.y, before * 1e-9);
    EXPECT_NEAR(view.shownWindow().maxPoint().x - view.shownWindow().minPoint().x, 300 * before, 1e-9);
    EXPECT_EQ(view.image().size(), QSize(300, 260));

    // A pan moves the drawing with the cursor.
    const QPointF at = view.toPixels(p);
    view.pan(QPoint(12, -7));
    EXPECT_NEAR(view.toPixels(p).x(), at.x() + 12, 1e-9);
    EXPECT_NEAR(view.toPixels(p).y(), at.y() - 7, 1e-9);

    // A window is shown whole and centred, fitted by its tighter side.
    view.setWindow(db::Extents3d(db::Point3d(100, 100), db::Point3d(130, 200)));
    EXPECT_NEAR(view.unitsPerPixel(), 100.0 / 260, 1e-12);
    EXPECT_NEAR(view.shownWindow().center().x, 115, 1e-9);
    EXPECT_NEAR(view.shownWindow().minPoint().y, 100, 1e-9);
}

// What the picture shows is where toPixels says: a red line's pixels on screen, the drawing's extents inside
// the fitted picture, and a drawing changed behind the view's back shows once invalidated.
TEST(ScreenView, ThePictureShowsTheDrawingWhereTheViewSays) {
    db::Database db;
    add(db, line(0, 0, 100, 0, 5));
    add(db, line(0, 80, 100, 80, 5));
    db::SpatialIndex index(db);
    ScreenView view(db, index);
    view.resize(QSize(200, 160));
    const QRect ink = inkBounds(view.image());
    const QPointF a = view.toPixels(db::Point3d(0, 80)), b = view.toPixels(db::Point3d(100, 0));
    EXPECT_NEAR(ink.left(), a.x(), 1.5);
    EXPECT_NEAR(ink.top(), a.y(), 1.5);
    EXPECT_NEAR(ink.right(), b.x(), 1.5);
    EXPECT_NEAR(ink.bottom(), b.y(), 1.5);
    EXPECT_GT(ink.left(), 0);
    EXPECT_LT(ink.right(), 199);

    add(db, line(10, 40.2, 90, 40.2, 1));
    const QPointF mid = view.toPixels(db::Point3d(50, 40.2));
    view.invalidate();
    const QImage& image = view.image();
    EXPECT_GT(countPixels(image, QRect(int(mid.x()) - 20, int(mid.y()) - 1, 40, 3), isReddish), 35);

    view.setDark(true);
    EXPECT_TRUE(isBackground(view.image().pixel(1, 1), true));
}

// The pixels a pan keeps, shifted, and the strips it draws beside them make the picture a whole redraw of
// the same view makes. Both come from the same numbers (pans add whole pixels to the view's translation; the
// strips are drawn in the whole picture's frame, clipped), and whatever lies inside both pictures comes out
// the same to the bit. What cannot: a line crossing a picture's border, which the painter cuts at the border
// before it steps along it, so that its antialiased pixels depend a little on where the border was. That is
// a few levels of 255 along such lines; a strip drawn a pixel off, or an entity left out of it, differs by
// far more, as the last check shows.
TEST(ScreenView, APannedPictureIsTheFreshPictureOfTheSameView) {
    constexpr int kNoise = 12;
    db::Database db;
    fillBusy(db);
    db::SpatialIndex index(db);
    ScreenView panned(db, index), fresh(db, index);
    for (ScreenView* v : {&panned, &fresh}) {
        v->resize(QSize(160, 120));
        v->zoomAt(QPointF(80, 60), 2.0);
    }
    (void)panned.image();
    int step = 0;
    for (const QPoint d : {QPoint(40, 0), QPoint(0, -40), QPoint(-13, 27), QPoint(5, 3), QPoint(-1, 0),
                           QPoint(0, 1), QPoint(-70, -50), QPoint(200, 0), QPoint(-150, 10)}) {
        panned.pan(d);
        fresh.pan(d);
        const QImage shifted = panned.image();
        fresh.invalidate();
        int differing = 0;
        EXPECT_LE(largestDifference(shifted, fresh.image(), &differing), kNoise) << "pan " << step;
        ++step;
    }
    // The pans went over ink, and the comparison sees a picture one pixel off.
    const QImage last = panned.image();
    EXPECT_GT(countPixels(last, last.rect(), [](QRgb p) { return isInk(p); }), 2000);
    fresh.pan(QPoint(1, 0));
    fresh.invalidate();
    int differing = 0;
    EXPECT_GT(largestDifference(last, fresh.image(), &differing), 100);
    EXPECT_GT(differing, 1000);
}

/// Tells a view what changes in its drawing, as a screen showing it does.
struct Follower : db::DatabaseReactor {
    explicit Follower(ScreenView& v) : view(v) {}
    void objectOpenedForModify(const db::Database*, const db::DbObject* o) override {
        view.objectChanged(*o);
    }
    void objectAppended(const db::Database*, const db::DbObject* o) override { view.objectChanged(*o); }
    void objectModified(const db::Database*, const db::DbObject* o) override { view.objectChanged(*o); }
    void objectErased(const db::Database*, const db::DbObject* o, bool) override { view.objectChanged(*o); }
    ScreenView& view;
};

// After a change only the parts where entities were and are now are drawn again, and the picture is the one
// the changed drawing makes, within the antialiasing noise of lines cut at a part's border (see the pan's
// test).
TEST(ScreenView, AChangedPictureIsTheFreshPictureOfTheChangedDrawing) {
    constexpr int kNoise = 12;
    db::Database db;
    fillBusy(db);
    const db::ObjectId moved = add(db, line(50, 50, 120, 80, 3));
    const db::ObjectId label = add(db, text(220, 200, 10, "Kitchen", 2));
    const db::ObjectId ring = add(db, std::make_unique<db::Circle>(db::Point3d(300, 100), 20));
    db::SpatialIndex index(db);
    ScreenView view(db, index), fresh(db, index);
    for (ScreenView* v : {&view, &fresh}) v->resize(QSize(300, 240));
    Follower follower(view);
    db.addReactor(&follower);
    (void)view.image();
    auto expectFresh = [&](const char* what) {
        fresh.invalidate();
        int differing = 0;
        EXPECT_LE(largestDifference(view.image(), fresh.image(), &differing), kNoise) << what;
    };

    db::openObject<db::Line>(moved, db::OpenMode::ForWrite)->setEndPoint(db::Point3d(160, 20));
    expectFresh("a line moved");
    db::openObject<db::Text>(label, db::OpenMode::ForWrite)->setTextString("Kitchen and dining");
    expectFresh("a text made longer");
    db::openObject<db::Text>(label, db::OpenMode::ForWrite)->setTextString("MWMWMW");
    expectFresh("a text of wide letters, wider than its box says");
    db::openObject<db::Text>(label, db::OpenMode::ForWrite)->setTextString("K");
    expectFresh("a text made shorter");
    EXPECT_EQ(db::openObject<db::Circle>(ring, db::OpenMode::ForWrite)->erase(), db::ErrorStatus::Ok);
    expectFresh("a circle erased");
    add(db, line(10, 280, 390, 290, 4));
    expectFresh("a line added");
    db::openObject<db::Line>(moved, db::OpenMode::ForWrite)->setStartPoint(db::Point3d(390, 290));
    view.pan(QPoint(17, -9));
    fresh.pan(QPoint(17, -9));
    expectFresh("a change, then a pan");
    // A layer may change the colour of anything on it: the polyline is drawn by layer.
    db::openObject<db::LayerTableRecord>(db.layerZeroId(), db::OpenMode::ForWrite)
        ->setColor(db::Color::fromIndex(4));
    expectFresh("layer 0 made cyan");

    // A change far away is not drawn again: an entity changed while the view is not told stays as it was
    // drawn, until the whole picture is.
    db.removeReactor(&follower);
    db::openObject<db::Line>(moved, db::OpenMode::ForWrite)->setColor(db::Color::fromIndex(6));
    db.addReactor(&follower);
    db::openObject<db::Text>(label, db::OpenMode::ForWrite)->setTextString("Kitchen");
    fresh.invalidate();
    int differing = 0;
    EXPECT_GT(largestDifference(view.image(), fresh.image(), &differing), 100);
    view.invalidate();
    expectFresh("the whole picture");
    db.removeReactor(&follower);
}

// A whole picture is drawn in two bands on two threads; together they make the picture drawn in one piece,
// but for the antialiasing noise of lines cut at the seam (see the pan's test).
TEST(ScreenView, TheBandsMakeThePictureDrawnInOnePiece) {
    db::Database db;
    fillBusy(db);
    add(db, text(150, 140, 14, "Across the seam", 3));
    db::SpatialIndex index(db);
    ScreenView view(db, index);
    view.resize(QSize(300, 240));
    const QImage banded = view.image();

    RenderOptions options;
    options.lineweights = false;
    options.levelOfDetail = true;
    options.index = &index;
    QImage whole(view.size(), QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&whole);
    renderArea(db, painter, options, view.frame(), whole.rect());
    painter.end();
    int differing = 0;
    EXPECT_LE(largestDifference(banded, whole, &differing), 12);
    EXPECT_GT(countPixels(banded, banded.rect(), [](QRgb p) { return isInk(p); }), 3000);
}

RenderOptions screenOptions(double x0, double y0, int w, int h) {
    RenderOptions o = unitOptions(x0, y0, w, h);
    o.lineweights = false;
    o.levelOfDetail = true;
    return o;
}

// Text too small to read is drawn as a box on screens: where its letters would be, turned with the text, and
// filled, not left as scattered letter pixels. Readable text is drawn as letters, the same as for files.
TEST(ScreenDetail, SmallTextIsItsBoxAndReadableTextItsLetters) {
    for (const double rotation : {0.0, db::kPi / 2}) {
        db::Database db;
        auto t = text(20, 30, 3.0, "Wall 12 North", 1);
        t->setRotation(rotation);
        add(db, std::move(t));
        const QImage letters = renderImage(db, unitOptions(0, 0, 100, 100));
        const QImage greeked = renderImage(db, screenOptions(0, 0, 100, 100));
        const QRect full = inkBounds(letters), box = inkBounds(greeked);
        ASSERT_FALSE(full.isNull());
        ASSERT_FALSE(box.isNull());
        // The same place and size, to a pixel or two (the box runs from the baseline to the cap height).
        EXPECT_NEAR(box.left(), full.left(), 2) << rotation;
        EXPECT_NEAR(box.right(), full.right(), 2) << rotation;
        EXPECT_NEAR(box.top(), full.top(), 2) << rotation;
        EXPECT_NEAR(box.bottom(), full.bottom(), 2) << rotation;
        if (rotation == 0.0) {
            EXPECT_GT(box.width(), 3 * box.height());
        } else {
            EXPECT_GT(box.height(), 3 * box.width());
        }
        // Filled: the inner part of the box is ink throughout.
        const QRect inner = box.adjusted(1, 1, -1, -1);
        EXPECT_EQ(countPixels(greeked, inner, [](QRgb p) { return isInk(p); }),
                  inner.width() * inner.height());
    }
    db::Database db;
    add(db, text(10, 40, 12.0, "Wall 12", 1));
    EXPECT_EQ(renderImage(db, screenOptions(0, 0, 100, 100)), renderImage(db, unitOptions(0, 0, 100, 100)));
}

// What is smaller than a pixel still shows on screens, as the pixel it lies in, in its colour: a short line,
// a small circle, a tiny text, a block reference too small to see. What is hidden stays hidden.
TEST(ScreenDetail, WhatIsSmallerThanAPixelLeavesAMarkWhereItLies) {
    db::Database db;
    add(db, line(10.2, 10.3, 10.6, 10.5, 1));
    auto c = std::make_unique<db::Circle>(db::Point3d(30.5, 20.5), 0.3);
    c->setColor(db::Color::fromIndex(1));
    add(db, std::move(c));
    add(db, text(50.1, 70.2, 0.2, "x", 1));
    auto block = std::make_unique<db::BlockTableRecord>("Speck");
    db::ObjectId blockId;
    ASSERT_EQ(db.addRecord(db.blockTableId(), std::move(block), &blockId), db::ErrorStatus::Ok);
    add(db, line(0, 0, 10, 10, 1), blockId);
    // A reference's mark is in its own colour.
    auto ref = std::make_unique<db::BlockReference>(db::Point3d(80.1, 40.1), blockId);
    ref->setColor(db::Color::fromIndex(1));
    ref->setScaleFactors(db::Vector3d(0.05, 0.05, 0.05));
    add(db, std::move(ref));
    auto hidden = line(60.2, 60.2, 60.4, 60.4, 1);
    hidden->setLayerId(addLayer(db, "Off", true));
    add(db, std::move(hidden));

    const QImage image = renderImage(db, screenOptions(0, 0, 100, 100));
    // Pixel rows count down from the top: the point (x, y) lies in column x, row 99 - y.
    for (const QPoint at : {QPoint(10, 89), QPoint(30, 79), QPoint(50, 29), QPoint(80, 59)})
        EXPECT_TRUE(isReddish(image.pixel(at))) << at.x() << "," << at.y();
    EXPECT_EQ(countPixels(image, image.rect(), [](QRgb p) { return isInk(p); }), 4);
}

// A chain with vertices far closer together than a pixel is drawn from fewer points on screens, and looks the
// same: the same ends, the same pixels but for antialiasing.
TEST(ScreenDetail, MergedVerticesDrawTheSameChain) {
    db::Database db;
    auto pl = std::make_unique<db::Polyline>();
    for (int i = 0; i <= 2000; ++i) {
        const double a = i * db::kTwoPi / 2000;
        pl->addVertexAt(pl->vertices().size(),
                        db::Point2d(50 + 30 * std::cos(a) + 0.1 * (i % 3), 50 + 20 * std::sin(3 * a)));
    }
    pl->setColor(db::Color::fromIndex(1));
    add(db, std::move(pl));
    const QImage merged = renderImage(db, screenOptions(0, 0, 100, 100));
    const QImage full = renderImage(db, unitOptions(0, 0, 100, 100));
    EXPECT_EQ(inkBounds(merged), inkBounds(full));
    const int a = countPixels(merged, merged.rect(), isReddish),
              b = countPixels(full, full.rect(), isReddish);
    EXPECT_GT(b, 150);
    EXPECT_NEAR(a, b, b / 10);
}

}  // namespace
}  // namespace vela::render::test

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <map>

#include "db/dxf/file/dxf_reader.h"
#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/hatch.h"
#include "db/entities/line.h"
#include "db/entities/mtext.h"
#include "db/entities/polyline.h"
#include "db/entities/quadrilateral.h"
#include "db/entities/text.h"
#include "db/geometry/plane.h"
#include "db/object_ref.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"
#include "picture.h"

namespace vela::render::test {
namespace {

db::ObjectId addLayer(db::Database& db, const char* name, bool off, bool frozen) {
    auto layer = std::make_unique<db::LayerTableRecord>(name);
    layer->setIsOff(off);
    layer->setIsFrozen(frozen);
    db::ObjectId id;
    EXPECT_EQ(db.addRecord(db.layerTableId(), std::move(layer), &id), db::ErrorStatus::Ok);
    return id;
}

// The line (10, 50.5)-(90, 50.5) in a window of 100 x 100 units on 100 x 100 pixels runs along the middle
// of pixel row 49, from column 10 to 90.
TEST(Render, RedLineLiesWhereItShould) {
    db::Database db;
    add(db, line(10, 50.5, 90, 50.5));
    const QImage image = renderImage(db, unitOptions(0, 0, 100, 100));
    EXPECT_EQ(countPixels(image, QRect(12, 49, 76, 1), isReddish), 76);
    // Nothing beyond its ends, nor more than a pixel above or below it.
    EXPECT_EQ(countPixels(image, QRect(0, 0, 100, 48), [](QRgb p) { return isInk(p); }), 0);
    EXPECT_EQ(countPixels(image, QRect(0, 51, 100, 49), [](QRgb p) { return isInk(p); }), 0);
    EXPECT_EQ(countPixels(image, QRect(0, 49, 9, 1), [](QRgb p) { return isInk(p); }), 0);
    EXPECT_EQ(countPixels(image, QRect(91, 49, 9, 1), [](QRgb p) { return isInk(p); }), 0);
}

TEST(Render, LayersOffOrFrozenLeaveNoPixels) {
    db::Database db;
    const db::ObjectId off = addLayer(db, "Off", true, false), frozen = addLayer(db, "Frozen", false, true);
    auto a = line(10, 20.5, 90, 20.5), b = line(10, 70.5, 90, 70.5);
    a->setLayerId(off), b->setLayerId(frozen);
    add(db, std::move(a)), add(db, std::move(b));
    // A block reference on the frozen layer hides its content, whatever layers the content lies on.
    auto block = std::make_unique<db::BlockTableRecord>("Mark");
    db::ObjectId blockId;
    ASSERT_EQ(db.addRecord(db.blockTableId(), std::move(block), &blockId), db::ErrorStatus::Ok);
    add(db, line(0, 0, 20, 0), blockId);
    auto ref = std::make_unique<db::BlockReference>(db::Point3d(40, 40.5), blockId);
    ref->setLayerId(frozen);
    add(db, std::move(ref));
    EXPECT_TRUE(inkBounds(renderImage(db, unitOptions(0, 0, 100, 100))).isNull());
    // The same drawing with its layers on shows all three.
    for (const db::ObjectId id : {off, frozen}) {
        auto layer = db::openObject<db::LayerTableRecord>(id, db::OpenMode::ForWrite);
        layer->setIsOff(false), layer->setIsFrozen(false);
    }
    const QImage shown = renderImage(db, unitOptions(0, 0, 100, 100));
    EXPECT_GT(countPixels(shown, QRect(10, 79, 80, 1), isReddish), 70);
    EXPECT_GT(countPixels(shown, QRect(10, 29, 80, 1), isReddish), 70);
    EXPECT_GT(countPixels(shown, QRect(40, 59, 20, 1), isReddish), 15);
}

TEST(Render, DashedLinetypeAlternatesInkAndGap) {
    db::Database db;
    auto dashed = std::make_unique<db::LinetypeTableRecord>("Dashed");
    dashed->setPatternLength(20);
    dashed->setDashes({db::LinetypeDash{.length = 10}, db::LinetypeDash{.length = -10}});
    db::ObjectId dashedId;
    ASSERT_EQ(db.addRecord(db.linetypeTableId(), std::move(dashed), &dashedId), db::ErrorStatus::Ok);
    auto l = line(0, 50.5, 200, 50.5);
    l->setLinetypeId(dashedId);
    const db::ObjectId dashedLine = add(db, std::move(l));
    // The pattern starts at the line's start: ink on [0, 10], [20, 30], ...; gaps between.
    const QImage image = renderImage(db, unitOptions(0, 0, 200, 100));
    for (int k = 0; k < 10; ++k) {
        EXPECT_TRUE(isReddish(image.pixel(20 * k + 5, 49))) << "dash " << k;
        EXPECT_TRUE(isBackground(image.pixel(20 * k + 15, 49))) << "gap " << k;
    }
    // Scaled by the entity's and the drawing's linetype scales alike: 2 x 1.5 makes dashes of 30.
    db.setLinetypeScale(1.5);
    {
        auto e = db::openObject<db::Entity>(dashedLine, db::OpenMode::ForWrite);
        ASSERT_TRUE(e);
        e->setLinetypeScale(2.0);
    }
    const QImage scaled = renderImage(db, unitOptions(0, 0, 200, 100));
    EXPECT_TRUE(isReddish(scaled.pixel(25, 49)));
    EXPECT_TRUE(isBackground(scaled.pixel(45, 49)));
    EXPECT_TRUE(isReddish(scaled.pixel(65, 49)));

    // Inside a block referenced at twice its size the pattern doubles with the geometry, once: dashes of 20.
    db::Database blocks;
    auto dashes = std::make_unique<db::LinetypeTableRecord>("Dashed");
    dashes->setDashes({db::LinetypeDash{.length = 10}, db::LinetypeDash{.length = -10}});
    db::ObjectId dashesId, blockId;
    ASSERT_EQ(blocks.addRecord(blocks.linetypeTableId(), std::move(dashes), &dashesId), db::ErrorStatus::Ok);
    ASSERT_EQ(
        blocks.addRecord(blocks.blockTableId(), std::make_unique<db::BlockTableRecord>("Run"), &blockId),
        db::ErrorStatus::Ok);
    auto inside = line(0, 0, 100, 0);
    inside->setLinetypeId(dashesId);
    add(blocks, std::move(inside), blockId);
    auto ref = std::make_unique<db::BlockReference>(db::Point3d(0, 50.5), blockId);
    ASSERT_EQ(ref->setScaleFactors(db::Vector3d(2, 2, 2)), db::ErrorStatus::Ok);
    add(blocks, std::move(ref));
    const QImage inBlock = renderImage(blocks, unitOptions(0, 0, 200, 100));
    for (int k = 0; k < 5; ++k) {
        EXPECT_TRUE(isReddish(inBlock.pixel(40 * k + 10, 49))) << "dash " << k;
        EXPECT_TRUE(isBackground(inBlock.pixel(40 * k + 30, 49))) << "gap " << k;
    }
}

db::HatchLoop square(double x0, double y0, double size, std::int32_t flags) {
    db::HatchLoop loop;
    loop.flags = flags | db::HatchLoop::kPolyline;
    for (const auto& [x, y] : {std::pair{x0, y0}, {x0 + size, y0}, {x0 + size, y0 + size}, {x0, y0 + size}})
        loop.vertices.push_back({db::Point2d(x, y), 0.0});
    return loop;
}

// Geometry reaching a million times past the window: only what shows is drawn, dashes keep their phase.
TEST(Render, FarReachingGeometryIsDrawnByWhatShows) {
    db::Database db;
    auto dashed = std::make_unique<db::LinetypeTableRecord>("Dashed");
    dashed->setDashes({db::LinetypeDash{.length = 10}, db::LinetypeDash{.length = -10}});
    db::ObjectId dashedId;
    ASSERT_EQ(db.addRecord(db.linetypeTableId(), std::move(dashed), &dashedId), db::ErrorStatus::Ok);
    add(db, line(-1e8, 80.5, 1e8, 80.5));
    // The pattern starts at x = -1e8, a whole number of periods before 0: ink on 0..10, 20..30, ...
    auto l = line(-1e8, 50.5, 1e8, 50.5, 3);
    l->setLinetypeId(dashedId);
    add(db, std::move(l));
    auto h = std::make_unique<db::Hatch>();
    h->setPattern(db::Hatch::PatternType::Predefined, "SOLID");
    h->setColor(db::Color::fromIndex(5));
    ASSERT_EQ(h->appendLoop(square(-1e8, -1e8, 1e8 + 20, db::HatchLoop::kExternal)), db::ErrorStatus::Ok);
    add(db, std::move(h));
    const QImage image = renderImage(db, unitOptions(0, 0, 100, 100));
    EXPECT_EQ(countPixels(image, QRect(0, 19, 100, 1), isReddish), 100);
    auto green = [](QRgb p) { return qGreen(p) > 150 && qRed(p) < 100 && qBlue(p) < 100; };
    for (int k = 0; k < 5; ++k) {
        EXPECT_TRUE(green(image.pixel(20 * k + 5, 49))) << k;
        EXPECT_TRUE(isBackground(image.pixel(20 * k + 15, 49))) << k;
    }
    // The hatch's corner at (20, 20): filled below and left of it, empty elsewhere.
    auto blue = [](QRgb p) { return qBlue(p) > 180 && qRed(p) < 100 && qGreen(p) < 100; };
    EXPECT_EQ(countPixels(image, QRect(0, 81, 19, 19), blue), 19 * 19);
    EXPECT_EQ(countPixels(image, QRect(22, 81, 78, 19), blue), 0);
}

TEST(Render, HatchIslandStaysEmptyInsideFilledRing) {
    for (const bool solid : {true, false}) {
        db::Database db;
        auto h = std::make_unique<db::Hatch>();
        h->setColor(db::Color::fromIndex(5));
        if (solid) {
            h->setPattern(db::Hatch::PatternType::Predefined, "SOLID");
        } else {
            // Horizontal lines 4 units apart through (0, 0.5): rows through y = 0.5, 4.5, 8.5, ...
            h->setPattern(db::Hatch::PatternType::UserDefined, "_USER");
            db::HatchPatternLine family;
            family.base = db::Point2d(0, 0.5), family.offset = db::Point2d(0, 4);
            h->setPatternLines({family});
        }
        ASSERT_EQ(h->appendLoop(square(10, 10, 80, db::HatchLoop::kExternal)), db::ErrorStatus::Ok);
        ASSERT_EQ(h->appendLoop(square(35, 35, 30, 0)), db::ErrorStatus::Ok);
        add(db, std::move(h));
        const QImage image = renderImage(db, unitOptions(0, 0, 100, 100));
        auto blue = [](QRgb p) { return qBlue(p) > 180 && qRed(p) < 120 && qGreen(p) < 120; };
        // Nothing in the island (y 35..65) nor outside the ring.
        EXPECT_EQ(countPixels(image, QRect(37, 37, 26, 26), [](QRgb p) { return isInk(p); }), 0) << solid;
        EXPECT_EQ(countPixels(image, QRect(0, 0, 100, 8), [](QRgb p) { return isInk(p); }), 0) << solid;
        EXPECT_EQ(countPixels(image, QRect(0, 0, 8, 100), [](QRgb p) { return isInk(p); }), 0) << solid;
        if (solid) {
            EXPECT_EQ(countPixels(image, QRect(12, 12, 20, 76), blue), 20 * 76);
        } else {
            // The line y = 20.5 (row 79) crosses the ring's left part (x 10..35) and right part (65..90)
            // only.
            EXPECT_GT(countPixels(image, QRect(12, 79, 20, 1), blue), 18);
            EXPECT_GT(countPixels(image, QRect(67, 79, 20, 1), blue), 18);
            EXPECT_EQ(countPixels(image, QRect(12, 81, 20, 1), [](QRgb p) { return isInk(p); }), 0);
            // y = 48.5 (row 51) crosses the island: ink only beside it.
            EXPECT_GT(countPixels(image, QRect(12, 51, 20, 1), blue), 18);
            EXPECT_EQ(countPixels(image, QRect(37, 51, 26, 1), [](QRgb p) { return isInk(p); }), 0);
        }
    }
}

TEST(Render, HatchWithoutPatternLinesTakesThemFromItsPattern) {
    auto picture = [](db::Hatch::PatternType type, const char* name, bool twice) {
        db::Database db;
        auto h = std::make_unique<db::Hatch>();
        h->setPattern(type, name);
        h->setPatternSpace(10);
        h->setPatternDouble(twice);
        EXPECT_EQ(h->appendLoop(square(0, 0, 100, db::HatchLoop::kExternal)), db::ErrorStatus::Ok);
        add(db, std::move(h));
        RenderOptions options = unitOptions(0, 0, 100, 100);
        options.lineweights = false;
        return renderImage(db, options);
    };
    auto inkIn = [](const QImage& image, QRect r) {
        return countPixels(image, r, [](QRgb p) { return isInk(p); });
    };
    // A user pattern 10 apart through the origin: rows at y = 10, 20, ...; crossed by columns when doubled.
    const QImage single = picture(db::Hatch::PatternType::UserDefined, "_USER", false);
    EXPECT_GT(inkIn(single, QRect(2, 49, 96, 2)), 90);
    EXPECT_EQ(inkIn(single, QRect(2, 44, 96, 2)), 0);
    const QImage doubled = picture(db::Hatch::PatternType::UserDefined, "_USER", true);
    EXPECT_GT(inkIn(doubled, QRect(2, 44, 96, 2)), 10);
    EXPECT_GT(inkIn(doubled, QRect(49, 2, 2, 96)), 90);
    // A predefined pattern by name from the bundled file: slanted lines (3.175 apart) over the whole area.
    const QImage slanted = picture(db::Hatch::PatternType::Predefined, "ANSI31", false);
    const int inked = inkIn(slanted, QRect(0, 0, 100, 100));
    EXPECT_GT(inked, 1500);
    EXPECT_LT(inked, 7000);
    for (int y = 10; y < 100; y += 20) EXPECT_GT(inkIn(slanted, QRect(0, y, 100, 1)), 15) << y;
    EXPECT_EQ(
        inkIn(picture(db::Hatch::PatternType::Predefined, "NO_SUCH_PATTERN", false), QRect(0, 0, 100, 100)),
        0);
}

TEST(Render, TextLandsInItsBox) {
    db::Database db;
    // Capital letters of height 20 standing on the baseline y = 30 from x = 10: their ink lies in
    // x 10..~80 (DejaVu Sans capitals are about 0.9 of the height wide), y 30..50, none below the baseline.
    add(db, std::make_unique<db::Text>(db::Point3d(10, 30), "HEN", 20));
    const QImage image = renderImage(db, unitOptions(0, 0, 200, 100));
    const QRect ink = inkBounds(image);
    ASSERT_FALSE(ink.isNull());
    EXPECT_NEAR(ink.left(), 10, 3);
    EXPECT_NEAR(ink.bottom(), 69, 1);  // the baseline: row 100 - 30 - 1
    EXPECT_NEAR(ink.top(), 50, 1);     // cap height 20 above it
    EXPECT_GT(ink.width(), 3 * 20 * 0.55);
    EXPECT_LT(ink.width(), 3 * 20 * 1.0);

    // Centred on its alignment point both ways, and turned a quarter: the box is rotated about that point.
    db::Database turned;
    auto t = std::make_unique<db::Text>(db::Point3d(0, 0), "HEN", 20);
    t->setHorizontalMode(db::Text::HorizontalMode::Middle);
    t->setAlignmentPoint(db::Point3d(100, 50));
    t->setRotation(db::kPi / 2);
    add(turned, std::move(t));
    const QRect box = inkBounds(renderImage(turned, unitOptions(0, 0, 200, 100)));
    ASSERT_FALSE(box.isNull());
    EXPECT_NEAR(box.center().x(), 100, 2);
    EXPECT_NEAR(box.center().y(), 50, 2);
    EXPECT_LT(box.width(), 22);
    EXPECT_GT(box.height(), 35);
}

TEST(Render, MTextWrapsParagraphsBelowItsTopLeftCorner) {
    db::Database db;
    auto m = std::make_unique<db::MText>();
    m->setLocation(db::Point3d(10, 90));
    m->setTextHeight(10);
    m->setAttachment(db::MText::Attachment::TopLeft);
    // Two paragraphs; the second line is in red.
    m->setContents("{\\fArial|b0;HEN}\\P\\C1;HEN");
    add(db, std::move(m));
    const QImage image = renderImage(db, unitOptions(0, 0, 100, 100));
    const QRect ink = inkBounds(image);
    ASSERT_FALSE(ink.isNull());
    EXPECT_NEAR(ink.top(), 10, 1);
    EXPECT_NEAR(ink.left(), 10, 3);
    // The second baseline lies 5/3 of the height below the first: rows 20 and ~36.7.
    EXPECT_NEAR(ink.bottom(), 36, 2);
    EXPECT_EQ(countPixels(image, QRect(0, 9, 100, 12), isReddish), 0);
    EXPECT_GT(countPixels(image, QRect(0, 27, 100, 10), isReddish), 20);
    // No code is drawn as text: the first line is as wide as the second.
    const QRect first = inkBounds(image.copy(0, 0, 100, 22)), second = inkBounds(image.copy(0, 24, 100, 20));
    EXPECT_NEAR(first.width(), second.width(), 2);
}

TEST(Render, MTextUnderlineLiesBelowTheBaseline) {
    auto picture = [](const char* contents) {
        db::Database db;
        auto m = std::make_unique<db::MText>();
        m->setLocation(db::Point3d(10, 90));
        m->setTextHeight(10);
        m->setContents(contents);
        add(db, std::move(m));
        return renderImage(db, unitOptions(0, 0, 100, 100));
    };
    // Baseline y = 80 (row 20); the underline 2 units below it, rows 21 to 23.
    auto below = [](const QImage& image) {
        return countPixels(image, QRect(12, 21, 20, 3), [](QRgb p) { return isInk(p); });
    };
    EXPECT_EQ(below(picture("HEN")), 0);
    EXPECT_GT(below(picture("\\LHEN")), 15);
}

TEST(Render, SolidsFillFacesOutlineTextStretchesLayersFade) {
    db::Database db;
    // A solid's corners go 0, 1, 3, 2 around: these four make a square, not a bow tie.
    auto solid = std::make_unique<db::Solid>();
    for (const auto& [i, x, y] :
         {std::tuple{0, 10.0, 60.0}, {1, 40.0, 60.0}, {2, 10.0, 90.0}, {3, 40.0, 90.0}})
        solid->setCorner(static_cast<std::size_t>(i), db::Point3d(x, y));
    solid->setColor(db::Color::fromIndex(1));
    add(db, std::move(solid));
    // A face with such corners in order around is an outline.
    auto face = std::make_unique<db::Face>();
    for (const auto& [i, x, y] :
         {std::tuple{0, 60.0, 60.0}, {1, 90.0, 60.0}, {2, 90.0, 90.0}, {3, 60.0, 90.0}})
        face->setCorner(static_cast<std::size_t>(i), db::Point3d(x, y));
    add(db, std::move(face));
    // Text twice as wide as it is drawn by default.
    auto wide = std::make_unique<db::Text>(db::Point3d(10, 30), "HEN", 10);
    wide->setWidthFactor(2.0);
    add(db, std::move(wide));
    add(db, std::make_unique<db::Text>(db::Point3d(10, 10), "HEN", 10));
    // A line on a layer half transparent and 0.5 mm wide.
    auto faded = std::make_unique<db::LayerTableRecord>("Faded");
    faded->setTransparency(db::Transparency::fromAlpha(128));
    faded->setLineWeight(db::LineWeight::W050);
    faded->setColor(db::Color::fromIndex(5));
    db::ObjectId fadedId;
    ASSERT_EQ(db.addRecord(db.layerTableId(), std::move(faded), &fadedId), db::ErrorStatus::Ok);
    auto l = std::make_unique<db::Line>(db::Point3d(60, 45), db::Point3d(95, 45));
    l->setLayerId(fadedId);
    add(db, std::move(l));

    const QImage image = renderImage(db, unitOptions(0, 0, 100, 100));
    EXPECT_EQ(countPixels(image, QRect(12, 12, 26, 26), isReddish), 26 * 26);
    EXPECT_EQ(countPixels(image, QRect(63, 13, 24, 24), [](QRgb p) { return isInk(p); }), 0);
    EXPECT_GT(countPixels(image, QRect(62, 39, 26, 2), [](QRgb p) { return isInk(p); }), 20);  // bottom edge
    EXPECT_GT(countPixels(image, QRect(89, 12, 2, 26), [](QRgb p) { return isInk(p); }), 20);  // right edge
    EXPECT_GT(countPixels(image, QRect(59, 12, 2, 26), [](QRgb p) { return isInk(p); }), 20);  // left edge
    const QRect wideInk = inkBounds(image.copy(0, 60, 100, 12)),
                plainInk = inkBounds(image.copy(0, 80, 100, 12));
    EXPECT_NEAR(wideInk.width(), 2 * plainInk.width(), 3);
    EXPECT_NEAR(wideInk.height(), plainInk.height(), 1);
    // Half transparent blue over white, two pixels thick (0.5 mm at 96 pixels an inch is 1.9 pixels).
    const QRgb mid = image.pixel(75, 55);
    EXPECT_NEAR(qBlue(mid), 255, 2);
    EXPECT_NEAR(qRed(mid), 127, 20);
    EXPECT_EQ(countPixels(image, QRect(75, 51, 1, 8), [](QRgb p) { return isInk(p); }), 2);
}

TEST(Render, IndexSevenFollowsTheBackground) {
    db::Database db;
    add(db, line(10, 50.5, 90, 50.5, 7));
    auto trueWhite = line(10, 20.5, 90, 20.5);
    trueWhite->setColor(db::Color::fromRgb(255, 255, 255));
    add(db, std::move(trueWhite));
    RenderOptions options = unitOptions(0, 0, 100, 100);
    options.lineweights = false;
    const QImage light = renderImage(db, options);
    EXPECT_EQ(light.pixel(50, 49), qRgb(0, 0, 0));
    EXPECT_EQ(light.pixel(50, 79), qRgb(0, 0, 0));
    options.dark = true;
    const QImage dark = renderImage(db, options);
    EXPECT_EQ(dark.pixel(50, 49), qRgb(255, 255, 255));
    EXPECT_TRUE(isBackground(dark.pixel(50, 10), true));
    EXPECT_FALSE(isBackground(dark.pixel(50, 10), false));
}

TEST(Render, SvgHasAStrokedPathInTheEntitysColour) {
    db::Database db;
    add(db, line(10, 50, 90, 50));
    auto pl = std::make_unique<db::Polyline>();
    pl->addVertexAt(0, db::Point2d(10, 10));
    pl->addVertexAt(1, db::Point2d(50, 30));
    pl->addVertexAt(2, db::Point2d(90, 10));
    pl->setColor(db::Color::fromRgb(0, 128, 255));
    add(db, std::move(pl));
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("picture.svg"));
    QString error;
    ASSERT_TRUE(writeSvg(db, unitOptions(0, 0, 100, 100), path, &error)) << error.toStdString();
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    // Shapes with the stroke they get, from themselves or the nearest group around them that sets one.
    std::map<QString, int> strokedShapes;
    std::vector<QString> strokes{QStringLiteral("none")};
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            strokes.pop_back();
        } else if (token == QXmlStreamReader::StartElement) {
            const auto stroke = xml.attributes().value(QStringLiteral("stroke"));
            strokes.push_back(stroke.isEmpty() ? strokes.back() : stroke.toString());
            if (xml.name() == u"path" || xml.name() == u"polyline") ++strokedShapes[strokes.back()];
        }
    }
    ASSERT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_EQ(strokedShapes[QStringLiteral("#ff0000")], 1);
    EXPECT_EQ(strokedShapes[QStringLiteral("#0080ff")], 1);
    EXPECT_FALSE(
        writeSvg(db, unitOptions(0, 0, 100, 100), dir.filePath(QStringLiteral("no/such/dir/x.svg")), &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(Render, WindowAndAroundPutKnownPointsAtKnownPixels) {
    db::Database db;
    const db::ObjectId near = add(db, line(100, 100, 200, 100));
    add(db, line(1000, 1000, 1100, 1000, 3));
    // A window twice as wide as the picture's aspect: fitted by its width, centred by its height.
    RenderOptions options;
    options.size = QSize(200, 100);
    options.window = db::Extents3d({0, 0, 0}, {400, 100, 0});
    Frame frame = frameFor(db, options);
    EXPECT_EQ(frame.toPixels.map(QPointF(0, 50)), QPointF(0, 50));
    EXPECT_EQ(frame.toPixels.map(QPointF(400, 50)), QPointF(200, 50));
    EXPECT_NEAR(frame.shown.minPoint().y, -50, 1e-9);
    EXPECT_NEAR(frame.shown.maxPoint().y, 150, 1e-9);
    // Around the near line with a margin of a tenth of its length on each side: x 90..210 on 120 pixels.
    options.window.reset();
    options.size = QSize(120, 60);
    options.around = {near};
    options.margin = 0.1;
    frame = frameFor(db, options);
    EXPECT_NEAR(frame.toPixels.map(QPointF(100, 100)).x(), 10, 1e-9);
    EXPECT_NEAR(frame.toPixels.map(QPointF(100, 100)).y(), 30, 1e-9);
    const QImage image = renderImage(db, options);
    EXPECT_GT(countPixels(image, QRect(12, 29, 96, 2), isReddish), 90);
    EXPECT_EQ(countPixels(image, QRect(0, 0, 8, 60), [](QRgb p) { return isInk(p); }), 0);
    // With neither, the extents of everything: both lines, the far one green in the top right corner.
    options.around.clear();
    options.margin = 0;
    options.size = QSize(100, 100);
    frame = frameFor(db, options);
    EXPECT_NEAR(frame.toPixels.map(QPointF(1100, 1000)).x(), 100, 1e-9);
    EXPECT_NEAR(frame.toPixels.map(QPointF(100, 100)).x(), 0, 1e-9);
}

TEST(Render, HighlightsGhostsLineweightsAndLabels) {
    db::Database db;
    const db::ObjectId plain = add(db, line(10, 80.5, 90, 80.5));
    const db::ObjectId marked = add(db, line(10, 50.5, 90, 50.5));
    auto wide = line(10, 20.5, 90, 20.5);
    wide->setLineWeight(db::LineWeight::W100);  // 1 mm: 3.8 pixels
    add(db, std::move(wide));
    const db::ObjectId gone = add(db, line(50.5, 10, 50.5, 90));
    ASSERT_EQ(db::openObject<db::Entity>(gone, db::OpenMode::ForWrite)->erase(), db::ErrorStatus::Ok);
    RenderOptions options = unitOptions(0, 0, 100, 100);
    options.highlight = [&](db::ObjectId id) -> std::optional<QColor> {
        if (id == marked) return QColor(0, 200, 0);
        return std::nullopt;
    };
    const QImage image = renderImage(db, options);
    EXPECT_TRUE(isReddish(image.pixel(30, 19)));
    EXPECT_EQ(image.pixel(30, 49), qRgb(0, 200, 0));
    // The erased line is gone unless asked for as a ghost.
    EXPECT_TRUE(isBackground(image.pixel(50, 35)));
    auto column = [](const QImage& im) {
        return countPixels(im, QRect(30, 70, 1, 20), [](QRgb p) { return isInk(p); });
    };
    EXPECT_GE(column(image), 4);
    options.lineweights = false;
    options.ghosts = {{gone, QColor(255, 0, 255)}};
    const QImage thin = renderImage(db, options);
    EXPECT_LE(column(thin), 2);
    EXPECT_EQ(thin.pixel(50, 35), qRgb(255, 0, 255));
    // Labels: the handle of the plain line at its middle, in a label box over it.
    options.ghosts.clear();
    options.handleLabels = true;
    options.labelled = {plain};
    const QImage labelled = renderImage(db, options);
    EXPECT_GT(countPixels(labelled, QRect(40, 14, 20, 10), [](QRgb p) { return !isReddish(p) && isInk(p); }),
              5);
    EXPECT_EQ(countPixels(labelled, QRect(40, 44, 20, 10),
                          [](QRgb p) { return !isReddish(p) && isInk(p) && qGreen(p) != 200; }),
              0);
}

}  // namespace
}  // namespace vela::render::test

namespace vela::render::test {
namespace {

}  // namespace
}  // namespace vela::render::test

namespace vela::render::test {
namespace {

// A block reference in red with a visible and an invisible attribute, and a green dimension whose block draws
// a line; what lies inside says "by block".
const std::string kOwnedDrawings =
    "0\nSECTION\n2\nBLOCKS\n"
    "0\nBLOCK\n5\n20\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockBegin\n2\nTAGGED\n70\n2\n10\n0\n20\n0\n30\n0\n"
    "0\nLINE\n5\n21\n100\nAcDbEntity\n8\n0\n62\n0\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n20\n21\n0\n31\n0\n"
    "0\nENDBLK\n5\n22\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockEnd\n"
    "0\nBLOCK\n5\n30\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockBegin\n2\n*D1\n70\n1\n10\n0\n20\n0\n30\n0\n"
    "0\nLINE\n5\n31\n100\nAcDbEntity\n8\n0\n62\n0\n100\nAcDbLine\n10\n10\n20\n30.5\n30\n0\n11\n90\n21\n30."
    "5\n31\n0\n"
    "0\nENDBLK\n5\n32\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockEnd\n"
    "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
    "0\nINSERT\n5\nA0\n100\nAcDbEntity\n8\n0\n62\n1\n100\nAcDbBlockReference\n66\n1\n2\nTAGGED\n"
    "10\n10\n20\n80.5\n30\n0\n"
    "0\nATTRIB\n5\nA1\n100\nAcDbEntity\n8\n0\n62\n0\n100\nAcDbText\n10\n50\n20\n75\n30\n0\n40\n10\n1\nHEN\n"
    "100\nAcDbAttribute\n2\nNAME\n70\n0\n"
    "0\nATTRIB\n5\nA2\n100\nAcDbEntity\n8\n0\n100\nAcDbText\n10\n50\n20\n50\n30\n0\n40\n10\n1\nHIDDEN\n"
    "100\nAcDbAttribute\n2\nSECRET\n70\n1\n"
    "0\nSEQEND\n5\nA3\n100\nAcDbEntity\n8\n0\n"
    "0\nDIMENSION\n5\nB0\n100\nAcDbEntity\n8\n0\n62\n3\n100\nAcDbDimension\n2\n*D1\n10\n90\n20\n30\n30\n0\n"
    "11\n50\n21\n35\n31\n0\n70\n32\n100\nAcDbAlignedDimension\n13\n10\n23\n10\n33\n0\n14\n90\n24\n10\n34\n0\n"
    "100\nAcDbRotatedDimension\n"
    "0\nENDSEC\n0\nEOF\n";

TEST(Render, OwnedDrawingsTakeTheirOwnersByBlockProperties) {
    db::DxfReadResult read = db::readDxf(kOwnedDrawings);
    ASSERT_TRUE(read.database) << (read.error ? read.error->text() : "");
    const QImage image = renderImage(*read.database, unitOptions(0, 0, 100, 100));
    auto green = [](QRgb p) { return qGreen(p) > 180 && qRed(p) < 100 && qBlue(p) < 100; };
    // The block's line in the reference's red, from (10, 80.5) to (30, 80.5): row 19.
    EXPECT_GT(countPixels(image, QRect(12, 19, 16, 1), isReddish), 14);
    // The visible attribute in red between y 75 and 85, x from 50; the invisible one nowhere.
    EXPECT_GT(countPixels(image, QRect(50, 15, 40, 10), isReddish), 30);
    EXPECT_EQ(countPixels(image, QRect(40, 40, 60, 20), [](QRgb p) { return isInk(p); }), 0);
    // The dimension's line in its green, at y = 30.5 (row 69).
    EXPECT_GT(countPixels(image, QRect(12, 69, 76, 1), green), 70);
    EXPECT_EQ(countPixels(image, QRect(0, 69, 100, 1), isReddish), 0);
}

}  // namespace
}  // namespace vela::render::test

namespace vela::render::test {
namespace {

// With the spatial index a window visits only what lies near it, and draws exactly what the full scan draws,
// in the same order, also after the drawing changed.
TEST(Render, TheSpatialIndexDrawsWhatTheFullScanDraws) {
    db::Database db;
    for (int i = 0; i < 40; ++i) {
        auto line = std::make_unique<db::Line>(db::Point3d(i * 10, 0), db::Point3d(i * 10 + 60, 80));
        line->setColor(db::Color::fromIndex(static_cast<std::uint8_t>(1 + i % 6)));
        add(db, std::move(line));
    }
    db::SpatialIndex index(db);
    RenderOptions scan = unitOptions(95, 5, 120, 70);
    RenderOptions indexed = scan;
    indexed.index = &index;
    std::size_t visited = 0;
    indexed.highlight = [&](db::ObjectId) -> std::optional<QColor> {
        ++visited;
        return std::nullopt;
    };
    EXPECT_EQ(renderImage(db, indexed), renderImage(db, scan));
    EXPECT_LT(visited, 40u) << "lines far from the window are not visited";

    const db::ObjectId late = add(db, std::make_unique<db::Circle>(db::Point3d(150, 40), 20));
    const QImage withCircle = renderImage(db, scan);
    EXPECT_EQ(renderImage(db, indexed), withCircle);
    db::openObject<db::Circle>(late, db::OpenMode::ForWrite)->erase();
    EXPECT_EQ(renderImage(db, indexed), renderImage(db, scan));
    EXPECT_NE(renderImage(db, indexed), withCircle);
}

}  // namespace
}  // namespace vela::render::test

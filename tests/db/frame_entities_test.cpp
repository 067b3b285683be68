#include <gtest/gtest.h>

#include <cmath>

#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/modeler_data.h"
#include "db/entities/modeler_geometry.h"
#include "db/entities/ole_frame.h"
#include "db/entities/raster_image.h"
#include "db/entities/sub_d_mesh.h"
#include "db/entities/viewport.h"
#include "db/geometry/plane.h"
#include "db/object_ref.h"

namespace vela::db {
namespace {

std::string entities(const std::string& records) {
    return "0\nSECTION\n2\nENTITIES\n" + records + "0\nENDSEC\n0\nEOF\n";
}

// A saved drawing with its group codes unpadded, so that expectations read as the records above.
std::string savedText(Database& db) {
    const std::string dxf = writeDxf(db);
    std::string out;
    std::size_t line = 0;
    for (std::size_t at = 0; at < dxf.size(); ++line) {
        const std::size_t end = std::min(dxf.find('\n', at), dxf.size());
        std::string_view text = std::string_view(dxf).substr(at, end - at);
        if (line % 2 == 0) text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        out.append(text).append("\n");
        at = end + 1;
    }
    return out;
}

// The record of handle `handle` in a saved drawing, from its type to the next record, each line after a line
// end.
std::string recordOf(const std::string& dxf, const std::string& handle) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < dxf.size();) {
        const std::size_t end = std::min(dxf.find('\n', at), dxf.size());
        lines.push_back(dxf.substr(at, end - at));
        at = end + 1;
    }
    for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
        if (lines[i] != "5" || lines[i + 1] != handle) continue;
        std::size_t first = i, end = i + 2;
        while (first >= 2 && lines[first] != "0") first -= 2;
        while (end < lines.size() && lines[end] != "0") end += 2;
        std::string record;
        for (std::size_t k = first; k < end && k < lines.size(); ++k) record += "\n" + lines[k];
        return record + "\n";
    }
    return {};
}

template <class T>
T* entityOf(const DxfReadResult& r, std::uint64_t handle) {
    return objectCast<T>(r.database->getObjectId(Handle(handle)).peek());
}

void expectSameMatrix(const Matrix3d& a, const Matrix3d& b, double tol = 1e-12) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(a(r, c), b(r, c), tol) << "row " << r << " column " << c;
}

TEST(FrameEntities, ImageFrameClipsAndTransformsButRefusesDegenerateMatrices) {
    const DxfReadResult r = readDxf(entities(
        "0\nIMAGE\n5\nB1\n100\nAcDbEntity\n8\nPhotos\n100\nAcDbRasterImage\n90\n0\n10\n2\n20\n3\n30\n0\n"
        "11\n0.01\n21\n0\n31\n0\n12\n0\n22\n0.02\n32\n0\n13\n100\n23\n50\n70\n7\n280\n1\n281\n60\n282\n40\n"
        "283\n10\n71\n2\n91\n4\n14\n-0.5\n24\n-0.5\n14\n99.5\n24\n-0.5\n14\n49.5\n24\n49.5\n14\n-0.5\n24\n-0."
        "5\n"
        "0\nWIPEOUT\n5\nB2\n100\nAcDbEntity\n8\n0\n100\nAcDbWipeout\n90\n0\n10\n0\n20\n0\n30\n0\n11\n4\n21\n0"
        "\n31\n0\n"
        "12\n0\n22\n2\n32\n0\n13\n1\n23\n1\n340\n0\n70\n7\n280\n1\n281\n50\n282\n50\n283\n0\n360\n0\n71\n2\n"
        "91\n4\n14\n-0.5\n24\n0.5\n14\n0.5\n24\n0.5\n14\n0\n24\n-0.5\n14\n-0.5\n24\n0.5\n290\n0\n"));
    ASSERT_TRUE(r.database) << r.error->text();
    auto* image = entityOf<RasterImage>(r, 0xB1);
    auto* wipeout = entityOf<Wipeout>(r, 0xB2);
    ASSERT_TRUE(image && wipeout);
    EXPECT_TRUE(wipeout->isKindOf(RasterImage::desc()));
    EXPECT_EQ(image->brightness(), 60);
    EXPECT_EQ(image->clipBoundaryType(), RasterImage::ClipBoundaryType::Polygon);
    EXPECT_DOUBLE_EQ(image->width(), 1.0);
    // Pixel rows count downwards from the top: the triangle's apex (row 49.5) is at the bottom edge.
    Extents3d box;
    ASSERT_EQ(image->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_NEAR(box.minPoint().x, 2.0, 1e-12);
    EXPECT_NEAR(box.maxPoint().x, 3.0, 1e-12);
    EXPECT_NEAR(box.minPoint().y, 3.0, 1e-12);
    EXPECT_NEAR(box.maxPoint().y, 4.0, 1e-12);

    {
        auto ref = openObject<RasterImage>(image->objectId(), OpenMode::ForWrite);
        ASSERT_TRUE(ref);
        const Point3d before = ref->position();
        Matrix3d flat = Matrix3d::scaling(Vector3d(1, 1, 0));
        flat(2, 2) = 0.0;
        EXPECT_EQ(ref->transformBy(flat), ErrorStatus::CannotTransform);
        EXPECT_TRUE(ref->position() == before);
        EXPECT_TRUE(ref->uPixel() == Vector3d(0.01, 0, 0));
        // A stretch is exact for a frame: the pixels become rectangles.
        ASSERT_EQ(ref->transformBy(Matrix3d::scaling(Vector3d(2, 1, 1))), ErrorStatus::Ok);
        EXPECT_DOUBLE_EQ(ref->width(), 2.0);
    }

    // A wipeout's null references to an image definition travel as they came.
    const std::string saved = savedText(*r.database);
    const std::string record = recordOf(saved, "B2");
    EXPECT_NE(record.find("\n340\n0\n"), std::string::npos) << record;
    EXPECT_NE(record.find("\n360\n0\n"), std::string::npos) << record;
    EXPECT_EQ(savedText(*readDxf(saved).database), saved);
}

TEST(FrameEntities, ViewportKeepsItsViewRefusesTransformsAndHasNoBoxWhenOff) {
    const std::string view = "100\nAcDbViewport\n10\n100\n20\n80\n30\n0\n40\n120\n41\n90\n";
    const DxfReadResult r = readDxf(
        entities("0\nVIEWPORT\n5\nC1\n100\nAcDbEntity\n67\n1\n8\nVP\n" + view +
                 "68\n1\n69\n2\n12\n5\n22\n5\n16\n0\n26\n0\n36\n1\n17\n0\n27\n0\n37\n0\n45\n40\n51\n15\n"
                 "1\nmonochrome.ctb\n281\n0\n71\n1\n74\n0\n146\n2.5\n"
                 "0\nVIEWPORT\n5\nC2\n100\nAcDbEntity\n67\n1\n8\nVP\n" +
                 view + "68\n0\n69\n3\n45\n10\n"));
    ASSERT_TRUE(r.database) << r.error->text();
    auto* on = entityOf<Viewport>(r, 0xC1);
    auto* off = entityOf<Viewport>(r, 0xC2);
    ASSERT_TRUE(on && off);
    EXPECT_DOUBLE_EQ(on->customScale(), 90.0 / 40.0);
    EXPECT_NEAR(on->twistAngle(), 15.0 * kPi / 180.0, 1e-15);
    Extents3d box;
    ASSERT_EQ(on->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.minPoint() == Point3d(40, 35, 0));
    EXPECT_TRUE(box.maxPoint() == Point3d(160, 125, 0));
    EXPECT_EQ(off->getGeomExtents(box), ErrorStatus::InvalidInput) << "a viewport that is off shows nothing";
    {
        auto ref = openObject<Viewport>(on->objectId(), OpenMode::ForWrite);
        EXPECT_EQ(ref->transformBy(Matrix3d::translation(Vector3d(1, 2, 0))), ErrorStatus::CannotTransform);
        EXPECT_TRUE(ref->centerPoint() == Point3d(100, 80, 0));
    }
    // The settings not modelled (plot style, UCS, elevation) are written back.
    const std::string record = recordOf(savedText(*r.database), "C1");
    for (const char* kept : {"\n1\nmonochrome.ctb\n", "\n71\n1\n", "\n146\n2.5\n", "\n51\n15"})
        EXPECT_NE(record.find(kept), std::string::npos) << kept << " in " << record;
}

TEST(FrameEntities, OleFrameKeepsItsBinaryDataAndOnlyMovesOrScales) {
    const std::string data = "90\n8\n310\n0123456789ABCDEF\n310\nFFEE\n1\nOLE\n";
    const DxfReadResult r = readDxf(entities(
        "0\nOLE2FRAME\n5\nD1\n100\nAcDbEntity\n8\n0\n100\nAcDbOle2Frame\n70\n2\n3\nPaintbrush Picture\n"
        "10\n1\n20\n5\n30\n0\n11\n4\n21\n2\n31\n0\n71\n2\n72\n0\n" +
        data));
    ASSERT_TRUE(r.database) << r.error->text();
    auto* frame = entityOf<Ole2Frame>(r, 0xD1);
    ASSERT_TRUE(frame);
    EXPECT_DOUBLE_EQ(frame->width(), 3.0);
    EXPECT_DOUBLE_EQ(frame->height(), 3.0);
    {
        auto ref = openObject<Ole2Frame>(frame->objectId(), OpenMode::ForWrite);
        EXPECT_EQ(ref->transformBy(Matrix3d::rotation(0.5)), ErrorStatus::CannotTransform);
        EXPECT_EQ(ref->transformBy(Matrix3d::mirroring(Point3d(), Vector3d::xAxis())),
                  ErrorStatus::CannotTransform);
        EXPECT_TRUE(ref->upperLeft() == Point3d(1, 5, 0));
        ASSERT_EQ(ref->transformBy(Matrix3d::scaling(2.0, Point3d(1, 5, 0))), ErrorStatus::Ok);
        EXPECT_TRUE(ref->lowerRight() == Point3d(7, -1, 0));
    }
    const std::string record = recordOf(savedText(*r.database), "D1");
    EXPECT_NE(record.find("\n72\n0\n" + data.substr(0, data.size() - 1)), std::string::npos) << record;
}

// Modeller text as older files hold it: one body without a placement, a second line for the attribute.
std::vector<std::string> satText(const std::string& bodyTail = "$-1 #", const std::string& extra = "") {
    std::vector<std::string> lines = {
        "700 0 1 0",
        "@33 Open Design Alliance ACIS Builder @12 ACIS 32.0 NT @24 Fri May 13 10:01:59 2022",
        "1 9.9999999999999995e-007 1e-010",
        "body $1 -1 $-1 $2 $-1 " + bodyTail,
        "integer_attrib-name_attrib-gen-attrib $-1 -1 $-1 $-1 $0 copy custom @7 bdm_uid 33 #",
        "lump $-1 -1 $-1 $-1 $-1 $0 #"};
    if (!extra.empty()) lines.push_back(extra);
    lines.push_back("End-of-ACIS-data");
    return lines;
}

std::string solidRecord(const std::string& handle, const std::vector<std::string>& lines) {
    std::string s =
        "0\n3DSOLID\n5\n" + handle + "\n100\nAcDbEntity\n8\nSolids\n100\nAcDbModelerGeometry\n70\n1\n";
    for (const std::string& l : lines) s += "1\n" + sat::encode(l) + "\n";
    return s + "100\nAcDb3dSolid\n350\n0\n";
}

TEST(FrameEntities, ModellerTextIsScrambledAsDrawingProgramsStoreIt) {
    // An "A" is stored as "^" and a space, "@" and "_" trade places, everything else is flipped in its low
    // bits.
    EXPECT_EQ(sat::encode("ACIS"), "^ \\VL");
    EXPECT_EQ(sat::encode("@7 bdm_uid"), "_h =;2@*6;");
    EXPECT_EQ(sat::decode("^ \\VL"), "ACIS");
    for (const std::string& line : satText("$3 #", "transform $-1 -1 1 0 0 0 1 0 0 0 1 0 0 0 1 no_rotate #"))
        EXPECT_EQ(sat::decode(sat::encode(line)), line);
}

TEST(FrameEntities, SolidRecordsARigidMotionInItsBodyPlacementAndKeepsEverythingElse) {
    const DxfReadResult r =
        readDxf(entities(solidRecord("F1", satText()) +
                         "0\n3DSOLID\n5\nF2\n100\nAcDbEntity\n8\n0\n100\nAcDbModelerGeometry\n"
                         "290\n1\n2\n{62CBE1D4-F2E9-43E0-8B96-77BB35D5A924}\n"
                         "100\nAcDb3dSolid\n350\n0\n"));
    ASSERT_TRUE(r.database) << r.error->text();
    auto* solid = entityOf<Solid3d>(r, 0xF1);
    auto* binary = entityOf<Solid3d>(r, 0xF2);
    ASSERT_TRUE(solid && binary);
    EXPECT_TRUE(solid->hasTextData());
    EXPECT_FALSE(binary->hasTextData());
    Extents3d box;
    EXPECT_EQ(solid->getGeomExtents(box), ErrorStatus::InvalidInput) << "no box without a modeller";
    ASSERT_TRUE(solid->bodyTransform());
    expectSameMatrix(*solid->bodyTransform(), Matrix3d());

    const std::string before = savedText(*r.database);
    const Matrix3d first =
        Matrix3d::translation(Vector3d(3, -2, 1)) * Matrix3d::rotation(0.7, Vector3d(1, 2, 3));
    const Matrix3d second = Matrix3d::scaling(2.5, Point3d(1, 1, 1)) * Matrix3d::rotation(-1.1);
    {
        auto ref = openObject<Solid3d>(solid->objectId(), OpenMode::ForWrite);
        // What a placement cannot hold is refused and changes nothing.
        EXPECT_EQ(ref->transformBy(Matrix3d::scaling(Vector3d(1, 2, 1))), ErrorStatus::CannotTransform);
        EXPECT_EQ(ref->transformBy(Matrix3d::mirroring(Point3d(), Vector3d::xAxis())),
                  ErrorStatus::CannotTransform);
        EXPECT_EQ(ref->transformBy(Matrix3d::scaling(-2.0)), ErrorStatus::CannotTransform);
        ASSERT_EQ(ref->transformBy(first), ErrorStatus::Ok);
    }
    // The first motion adds a placement record; the second composes into it.
    {
        auto ref = openObject<Solid3d>(solid->objectId(), OpenMode::ForWrite);
        ASSERT_EQ(ref->transformBy(second), ErrorStatus::Ok);
        auto other = openObject<Solid3d>(binary->objectId(), OpenMode::ForWrite);
        EXPECT_EQ(other->transformBy(first), ErrorStatus::CannotTransform)
            << "binary data stored elsewhere cannot carry the placement";
    }
    ASSERT_TRUE(solid->bodyTransform());
    expectSameMatrix(*solid->bodyTransform(), second * first, 1e-12);

    // Only the body line changed and the placement was added before the end marker; the rest is as it was.
    const std::vector<std::string> now = solid->textData(), was = satText();
    ASSERT_EQ(now.size(), was.size() + 1);
    for (std::size_t i = 0; i + 1 < was.size(); ++i)
        if (i != 3) {
            EXPECT_EQ(now[i], was[i]);
        }
    EXPECT_EQ(now[3], "body $1 -1 $-1 $2 $-1 $3 #");
    EXPECT_TRUE(now[6].starts_with("transform $-1 -1 ")) << now[6];
    EXPECT_TRUE(now[6].ends_with(" 2.5 rotate no_reflect no_shear #")) << now[6];
    EXPECT_EQ(now.back(), "End-of-ACIS-data");

    // The placement survives the file; the solid without text data is written as it came.
    const std::string saved = savedText(*r.database);
    EXPECT_EQ(recordOf(saved, "F2"), recordOf(before, "F2"));
    const DxfReadResult again = readDxf(saved);
    auto* reread = entityOf<Solid3d>(again, 0xF1);
    ASSERT_TRUE(reread && reread->bodyTransform());
    expectSameMatrix(*reread->bodyTransform(), second * first, 1e-12);
}

TEST(FrameEntities, ModellerTextThatCannotBeFollowedSafelyIsRefusedUnchanged) {
    const std::vector<std::vector<std::string>> texts = {
        // history data follows the records
        [] {
            auto t = satText();
            t[0] = "700 0 1 1";
            return t;
        }(),
        // the body points at no placement record
        satText("$2 #"),
        // a pointer past the records
        satText("$9 #"),
        // the body record split across lines
        [] {
            auto t = satText();
            t[3] = "body $1 -1 $-1 $2";
            t.insert(t.begin() + 4, "$-1 $-1 #");
            return t;
        }(),
    };
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const DxfReadResult r = readDxf(entities(solidRecord("A1", texts[i])));
        ASSERT_TRUE(r.database) << r.error->text();
        auto ref = openObject<Solid3d>(r.database->getObjectId(Handle(0xA1)), OpenMode::ForWrite);
        ASSERT_TRUE(ref);
        const std::vector<DxfTag> kept = ref->extras()->keptTags;
        EXPECT_EQ(ref->transformBy(Matrix3d::translation(Vector3d(1, 0, 0))), ErrorStatus::CannotTransform)
            << "text " << i;
        EXPECT_EQ(ref->extras()->keptTags, kept) << "text " << i;
    }
}

TEST(FrameEntities, SurfacesOfAnOperationKeepTheirSectionAndTakeNoTransform) {
    const DxfReadResult r = readDxf(
        entities("0\nEXTRUDEDSURFACE\n5\nA2\n100\nAcDbEntity\n8\n0\n100\nAcDbModelerGeometry\n70\n1\n" + [] {
            std::string s;
            for (const std::string& l : satText()) s += "1\n" + sat::encode(l) + "\n";
            return s;
        }() + "100\nAcDbSurface\n71\n4\n72\n6\n100\nAcDbExtrudedSurface\n90\n1\n10\n0\n20\n0\n30\n5\n"));
    ASSERT_TRUE(r.database) << r.error->text();
    auto* surface = entityOf<Surface>(r, 0xA2);
    ASSERT_TRUE(surface);
    EXPECT_EQ(surface->isA(), ExtrudedSurface::desc());
    EXPECT_EQ(surface->vIsolines(), 6);
    auto ref = openObject<Surface>(surface->objectId(), OpenMode::ForWrite);
    EXPECT_EQ(ref->transformBy(Matrix3d::translation(Vector3d(1, 0, 0))), ErrorStatus::CannotTransform);
    ref.close();
    const std::string record = recordOf(savedText(*r.database), "A2");
    EXPECT_NE(record.find("\n0\nEXTRUDEDSURFACE"), std::string::npos);
    EXPECT_NE(record.find("\n72\n6\n100\nAcDbExtrudedSurface\n90\n1\n10\n0\n20\n0\n30\n5"), std::string::npos)
        << record;
}

}  // namespace
}  // namespace vela::db

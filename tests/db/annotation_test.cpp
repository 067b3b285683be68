#include <gtest/gtest.h>

#include <string>

#include "db/database.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/attribute.h"
#include "db/entities/block_reference.h"
#include "db/entities/dimension.h"
#include "db/entities/leader.h"
#include "db/entities/line.h"
#include "db/entities/multileader.h"
#include "db/entities/table.h"
#include "db/entities/tolerance.h"
#include "db/geometry/plane.h"
#include "db/raw_object.h"
#include "db/records/block_table_record.h"

namespace vela::db {
namespace {

std::unique_ptr<Database> read(const std::string& dxf) {
    DxfReadResult r = readDxf(dxf);
    EXPECT_TRUE(r.database) << (r.error ? r.error->text() : "");
    return std::move(r.database);
}

template <class T = Entity>
T* at(Database& db, std::uint64_t handle) {
    return objectCast<T>(db.getObjectId(Handle(handle), true).peek());
}

// A dimension record of a subtype, drawn by block *D1 (a line from (0,0) to (4,0) and one up to the text).
std::string dimensionDrawing(int type, const std::string& subclasses) {
    return "0\nSECTION\n2\nBLOCKS\n"
           "0\nBLOCK\n5\n20\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockBegin\n2\n*D1\n70\n1\n10\n0\n20\n0\n30\n0\n"
           "0\nLINE\n5\n21\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n4\n21\n0\n31\n0\n"
           "0\nLINE\n5\n22\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n2\n20\n0\n30\n0\n11\n2\n21\n3\n31\n0\n"
           "0\nENDBLK\n5\n23\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockEnd\n"
           "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
           "0\nDIMENSION\n5\nD1\n100\nAcDbEntity\n8\n0\n100\nAcDbDimension\n2\n*D1\n"
           "10\n4\n20\n1\n30\n0\n11\n2\n21\n1.5\n31\n0\n70\n" +
           std::to_string(type) + "\n1\nSpan <>\n42\n4\n53\n10\n" + subclasses + "0\nENDSEC\n0\nEOF\n";
}

const std::string kRotated =
    "100\nAcDbAlignedDimension\n13\n0\n23\n0\n33\n0\n14\n4\n24\n0\n34\n0\n50\n0\n"
    "100\nAcDbRotatedDimension\n";

TEST(Dimension, EachRecordIsReadAsTheClassItsSubtypeNames) {
    struct Case {
        int type;
        const RxClass* cls;
    };
    for (const Case& c : {Case{0 | 32, RotatedDimension::desc()}, Case{1 | 32, AlignedDimension::desc()},
                          Case{2, TwoLineAngularDimension::desc()}, Case{3 | 128, DiametricDimension::desc()},
                          Case{4, RadialDimension::desc()}, Case{5, ThreePointAngularDimension::desc()},
                          Case{6 | 64, OrdinateDimension::desc()}}) {
        auto db = read(dimensionDrawing(c.type, ""));
        ASSERT_TRUE(db);
        Entity* e = at(*db, 0xD1);
        ASSERT_TRUE(e);
        EXPECT_EQ(e->isA(), c.cls) << "subtype " << c.type;
        EXPECT_TRUE(e->isKindOf(Dimension::desc()));
        EXPECT_EQ(static_cast<Dimension*>(e)->typeFlags(), c.type) << "the flags are kept beside the subtype";
        EXPECT_NE(writeDxf(*db).find("  0\nDIMENSION\n"), std::string::npos)
            << "written under its record type";
    }
    EXPECT_TRUE(RotatedDimension::desc()->isDerivedFrom(AlignedDimension::desc()));
    EXPECT_EQ(RxRegistry::findByDxfName("DIMENSION"), Dimension::desc()) << "the shared name finds the base";
    EXPECT_FALSE(Dimension::desc()->canCreate());

    // A subtype no class models is kept as it came, with every group.
    auto db = read(dimensionDrawing(7, "100\nAcDbFutureDimension\n13\n1\n23\n2\n33\n3\n"));
    ASSERT_TRUE(db);
    auto* raw = at<RawEntity>(*db, 0xD1);
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->dxfName(), "DIMENSION");
    EXPECT_NE(writeDxf(*db).find("AcDbFutureDimension\n 13\n1"), std::string::npos);
}

TEST(Dimension, ARecordWithoutMarkersKeepsItsOtherGroupsInTheSectionsReadersLookIn) {
    auto db = read(
        "0\nSECTION\n2\nENTITIES\n"
        "0\nDIMENSION\n5\nD2\n8\n0\n2\n*D1\n10\n4\n20\n1\n30\n0\n11\n2\n21\n1.5\n31\n0\n70\n0\n"
        "13\n0\n23\n0\n33\n0\n14\n4\n24\n0\n34\n0\n52\n15\n"
        "0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(db);
    auto* dim = at<RotatedDimension>(*db, 0xD2);
    ASSERT_TRUE(dim);
    EXPECT_TRUE(dim->xLine2Point().isEqualTo({4, 0, 0}));
    const std::string out = writeDxf(*db);
    const std::size_t common = out.find("AcDbDimension\n"), own = out.find("AcDbAlignedDimension\n");
    const std::size_t oblique = out.find(" 52\n15");
    ASSERT_NE(oblique, std::string::npos);
    EXPECT_TRUE(common < oblique && oblique < own) << "the oblique angle is a group of the common section";
}

TEST(Dimension, TransformMovesPointsAndDrawingTogetherAndUndoRestoresBoth) {
    auto db = read(dimensionDrawing(32, kRotated));
    ASSERT_TRUE(db);
    auto* dim = at<RotatedDimension>(*db, 0xD1);
    auto* line = at<Line>(*db, 0x21);
    ASSERT_TRUE(dim && line);
    UndoManager& undo = db->undoManager();

    // Refused: a non-uniform scale, and nothing moves, neither the dimension nor its drawing.
    {
        auto ref = openObject<Dimension>(dim->objectId(), OpenMode::ForWrite);
        EXPECT_NE(ref->transformBy(Matrix3d::scaling(Vector3d(2, 1, 1))), ErrorStatus::Ok);
    }
    EXPECT_TRUE(line->endPoint().isEqualTo({4, 0, 0}));
    EXPECT_TRUE(dim->definitionPoint().isEqualTo({4, 1, 0}));

    const Matrix3d rotate = Matrix3d::rotation(kPi / 2, Vector3d::zAxis(), Point3d(1, 1, 0));
    undo.beginGroup("rotate");
    {
        auto ref = openObject<Dimension>(dim->objectId(), OpenMode::ForWrite);
        ASSERT_EQ(ref->transformBy(rotate), ErrorStatus::Ok);
    }
    undo.endGroup();
    EXPECT_TRUE(dim->definitionPoint().isEqualTo(rotate.apply(Point3d(4, 1, 0)), 1e-12));
    EXPECT_TRUE(dim->textPosition().isEqualTo(rotate.apply(Point3d(2, 1.5, 0)), 1e-12));
    EXPECT_TRUE(dim->xLine2Point().isEqualTo(rotate.apply(Point3d(4, 0, 0)), 1e-12));
    EXPECT_NEAR(dim->rotation(), kPi / 2, 1e-12);
    EXPECT_NEAR(dim->textRotation(), kPi / 18 + kPi / 2, 1e-12);
    EXPECT_TRUE(line->endPoint().isEqualTo(rotate.apply(Point3d(4, 0, 0)), 1e-12)) << "the drawing follows";
    undo.undo();
    EXPECT_TRUE(dim->definitionPoint().isEqualTo({4, 1, 0}));
    EXPECT_TRUE(line->endPoint().isEqualTo({4, 0, 0}));

    // A mirror keeps the plane's axes as images of the old ones: the normal turns over, the text stays put.
    {
        auto ref = openObject<Dimension>(dim->objectId(), OpenMode::ForWrite);
        ASSERT_EQ(ref->transformBy(Matrix3d::scaling(Vector3d(-1, 1, 1))), ErrorStatus::Ok);
    }
    EXPECT_TRUE(dim->normal().isEqualTo({0, 0, -1}));
    EXPECT_TRUE(dim->textPosition().isEqualTo({-2, 1.5, 0}, 1e-12));
    Extents3d box;
    ASSERT_EQ(dim->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({-4, 0, 0}, {0, 3, 0}), 1e-12));

    // A free copy shares the block of its source: it cannot move it.
    std::unique_ptr<DbObject> copy = dim->clone();
    EXPECT_EQ(static_cast<Entity*>(copy.get())->transformBy(Matrix3d::translation({1, 0, 0})),
              ErrorStatus::NotInDatabase);
    EXPECT_TRUE(line->endPoint().isEqualTo({-4, 0, 0}, 1e-12));
}

TEST(Dimension, ACopyPlacedAtAnInsertionPointDrawsItsBlockThereAndTakesMovesOnly) {
    auto db = read(dimensionDrawing(32, "12\n1\n22\n1\n32\n0\n" + kRotated));
    ASSERT_TRUE(db);
    auto* dim = at<RotatedDimension>(*db, 0xD1);
    auto* line = at<Line>(*db, 0x21);
    ASSERT_TRUE(dim && line);
    Extents3d box;
    ASSERT_EQ(dim->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({1, 1, 0}, {5, 4, 0})));
    auto ref = openObject<Dimension>(dim->objectId(), OpenMode::ForWrite);
    EXPECT_EQ(ref->transformBy(Matrix3d::rotation(kPi / 2)), ErrorStatus::CannotTransform);
    ASSERT_EQ(ref->transformBy(Matrix3d::translation({2, 0, 0})), ErrorStatus::Ok);
    ASSERT_EQ(dim->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({3, 1, 0}, {7, 4, 0})));
    EXPECT_TRUE(line->endPoint().isEqualTo({4, 0, 0})) << "the block is placed, not moved";
    EXPECT_TRUE(dim->definitionPoint().isEqualTo({6, 1, 0}));
}

TEST(Dimension, ADeepCloneDrawsWithACopyOfTheBlock) {
    auto db = read(dimensionDrawing(32, kRotated));
    ASSERT_TRUE(db);
    auto* dim = at<RotatedDimension>(*db, 0xD1);
    auto* line = at<Line>(*db, 0x21);
    ASSERT_TRUE(dim && line);
    IdMapping mapping;
    ASSERT_EQ(db->deepCloneObjects({dim->objectId()}, db->modelSpaceId(), mapping), ErrorStatus::Ok);
    auto* copy = objectCast<RotatedDimension>(mapping.at(dim->objectId()).peek());
    ASSERT_TRUE(copy);
    ASSERT_NE(copy->dimensionBlock(), dim->dimensionBlock());
    EXPECT_EQ(copy->dimensionBlockName().rfind("*D", 0), 0u) << copy->dimensionBlockName();
    auto* block = objectCast<BlockTableRecord>(copy->dimensionBlock().peek());
    ASSERT_TRUE(block);
    EXPECT_EQ(block->entityCount(), 2u);
    {
        auto ref = openObject<Dimension>(copy->objectId(), OpenMode::ForWrite);
        ASSERT_EQ(ref->transformBy(Matrix3d::translation({0, 10, 0})), ErrorStatus::Ok);
    }
    EXPECT_TRUE(line->endPoint().isEqualTo({4, 0, 0})) << "the source's drawing stays";
    Extents3d box;
    ASSERT_EQ(copy->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({0, 10, 0}, {4, 13, 0})));
}

// A block with a circle, and a reference to it carrying one attribute.
const std::string kInsertWithAttribute =
    "0\nSECTION\n2\nBLOCKS\n"
    "0\nBLOCK\n5\n20\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockBegin\n2\nTAGGED\n70\n2\n10\n0\n20\n0\n30\n0\n"
    "0\nCIRCLE\n5\n21\n100\nAcDbEntity\n8\n0\n100\nAcDbCircle\n10\n0\n20\n0\n30\n0\n40\n1\n"
    "0\nATTDEF\n5\n23\n100\nAcDbEntity\n8\n0\n100\nAcDbText\n10\n50\n20\n50\n30\n0\n40\n1\n1\nX\n"
    "100\nAcDbAttributeDefinition\n3\nName?\n2\nNAME\n70\n0\n"
    "0\nENDBLK\n5\n22\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockEnd\n"
    "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
    "0\nINSERT\n5\nA0\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockReference\n66\n1\n2\nTAGGED\n10\n10\n20\n0\n30\n0"
    "\n"
    "0\nATTRIB\n5\nA1\n100\nAcDbEntity\n8\n0\n100\nAcDbText\n10\n10\n20\n2\n30\n0\n40\n1\n1\nVALUE\n11\n10\n2"
    "1\n2\n31\n0\n"
    "100\nAcDbAttribute\n2\nNAME\n70\n0\n74\n2\n"
    "0\nSEQEND\n5\nA2\n100\nAcDbEntity\n8\n0\n"
    "0\nENDSEC\n0\nEOF\n";

TEST(Attribute, FollowsItsReferenceThroughEraseUndoCloneAndTransform) {
    auto db = read(kInsertWithAttribute);
    ASSERT_TRUE(db);
    auto* insert = at<BlockReference>(*db, 0xA0);
    auto* attribute = at<Attribute>(*db, 0xA1);
    ASSERT_TRUE(insert && attribute);
    UndoManager& undo = db->undoManager();

    undo.beginGroup("erase");
    {
        auto ref = openObject<BlockReference>(insert->objectId(), OpenMode::ForWrite);
        ASSERT_EQ(ref->erase(), ErrorStatus::Ok);
    }
    undo.endGroup();
    EXPECT_TRUE(attribute->isErased());
    undo.undo();
    EXPECT_FALSE(insert->isErased());
    EXPECT_FALSE(attribute->isErased()) << "undo brings the attribute back with its reference";

    // A clone owns clones of the attributes, not its source's.
    IdMapping mapping;
    undo.beginGroup("copy");
    ASSERT_EQ(db->deepCloneObjects({insert->objectId()}, db->modelSpaceId(), mapping), ErrorStatus::Ok);
    undo.endGroup();
    auto* copy = objectCast<BlockReference>(mapping.at(insert->objectId()).peek());
    ASSERT_TRUE(copy);
    ASSERT_EQ(copy->attributes().size(), 2u);
    auto* copied = objectCast<Attribute>(copy->attributes()[0].peek());
    ASSERT_TRUE(copied);
    EXPECT_NE(copied, attribute);
    EXPECT_EQ(copied->ownerId(), copy->objectId());
    EXPECT_EQ(copied->tag(), "NAME");
    EXPECT_EQ(mapping.at(attribute->objectId()), copied->objectId());

    {
        auto ref = openObject<BlockReference>(copy->objectId(), OpenMode::ForWrite);
        ASSERT_EQ(ref->transformBy(Matrix3d::translation({0, 5, 0})), ErrorStatus::Ok);
    }
    EXPECT_TRUE(copied->position().isEqualTo({10, 7, 0}));
    EXPECT_TRUE(attribute->position().isEqualTo({10, 2, 0})) << "the source's attribute stays";

    // A scale the reference can take but its text cannot: refused as a whole.
    {
        auto ref = openObject<BlockReference>(insert->objectId(), OpenMode::ForWrite);
        EXPECT_NE(ref->transformBy(Matrix3d::scaling(Vector3d(2, 1, 1))), ErrorStatus::Ok);
    }
    EXPECT_TRUE(insert->scaleFactors().isEqualTo({1, 1, 1}));
    EXPECT_TRUE(attribute->position().isEqualTo({10, 2, 0}));
}

// A table drawn by block *T1, a tolerance frame and a leader that points at it.
const std::string kTableFrameAndLeader =
    "0\nSECTION\n2\nBLOCKS\n"
    "0\nBLOCK\n5\n20\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockBegin\n2\n*T1\n70\n1\n10\n0\n20\n0\n30\n0\n"
    "0\nLINE\n5\n21\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n6\n21\n-2\n31\n0\n"
    "0\nENDBLK\n5\n22\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockEnd\n"
    "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
    "0\nACAD_TABLE\n5\nB0\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockReference\n2\n*T1\n10\n2\n20\n5\n30\n0\n"
    "100\nAcDbTable\n280\n0\n91\n1\n92\n2\n141\n2.0\n142\n3.0\n142\n3.0\n"
    "0\nTOLERANCE\n5\nB1\n100\nAcDbEntity\n8\n0\n100\nAcDbFcf\n3\nStandard\n10\n1\n20\n1\n30\n0\n"
    "1\n{\\Fgdt;j}%%v0.5\n11\n0\n21\n1\n31\n0\n"
    "0\nLEADER\n5\nB2\n100\nAcDbEntity\n8\n0\n100\nAcDbLeader\n3\nStandard\n71\n1\n72\n0\n73\n1\n76\n3\n"
    "10\n-2\n20\n-1\n30\n0\n10\n0\n20\n0\n30\n0\n10\n1\n20\n1\n30\n0\n340\nB1\n"
    "0\nENDSEC\n0\nEOF\n";

TEST(Annotation, TablesFramesAndLeadersKeepWhatTheyDoNotModelAndRefuseWhatTheyCannotDo) {
    auto db = read(kTableFrameAndLeader);
    ASSERT_TRUE(db);
    auto* table = at<Table>(*db, 0xB0);
    auto* frame = at<FeatureControlFrame>(*db, 0xB1);
    auto* leader = at<Leader>(*db, 0xB2);
    ASSERT_TRUE(table && frame && leader);
    EXPECT_TRUE(table->isKindOf(BlockReference::desc()));
    Extents3d box;
    ASSERT_EQ(table->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({2, 3, 0}, {8, 5, 0}))) << "the box of the block that draws it";
    EXPECT_EQ(leader->annotation(), frame->objectId());
    EXPECT_EQ(leader->annotationType(), Leader::AnnotationType::Tolerance);
    ASSERT_EQ(leader->vertices().size(), 3u);
    ASSERT_EQ(leader->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({-2, -1, 0}, {1, 1, 0})));
    EXPECT_EQ(frame->getGeomExtents(box), ErrorStatus::InvalidInput) << "no box without font metrics";

    // Refusals leave everything as it was.
    {
        auto ref = openObject<Table>(table->objectId(), OpenMode::ForWrite);
        EXPECT_EQ(ref->transformBy(Matrix3d::rotation(kPi / 2)), ErrorStatus::CannotTransform);
        EXPECT_EQ(ref->transformBy(Matrix3d::scaling(2.0)), ErrorStatus::CannotTransform);
        auto f = openObject<FeatureControlFrame>(frame->objectId(), OpenMode::ForWrite);
        EXPECT_EQ(f->transformBy(Matrix3d::scaling(2.0)), ErrorStatus::CannotTransform);
        ASSERT_EQ(f->transformBy(Matrix3d::rotation(kPi / 2)), ErrorStatus::Ok);
        auto l = openObject<Leader>(leader->objectId(), OpenMode::ForWrite);
        EXPECT_NE(l->transformBy(Matrix3d::scaling(Vector3d(1, 2, 1))), ErrorStatus::Ok);
    }
    EXPECT_TRUE(table->position().isEqualTo({2, 5, 0}));
    {
        auto ref = openObject<Table>(table->objectId(), OpenMode::ForWrite);
        ASSERT_EQ(ref->transformBy(Matrix3d::translation({1, 0, 0})), ErrorStatus::Ok);
    }
    ASSERT_EQ(table->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({3, 3, 0}, {9, 5, 0}))) << "a move takes the block along";
    EXPECT_TRUE(frame->location().isEqualTo({-1, 1, 0}, 1e-12));
    EXPECT_TRUE(frame->direction().isEqualTo({-1, 0, 0}, 1e-12));
    EXPECT_TRUE(leader->vertices()[0].isEqualTo({-2, -1, 0}));

    // The table's cells travel as they came, after the reference's groups.
    const std::string out = writeDxf(*db);
    EXPECT_NE(out.find("ACAD_TABLE\n"), std::string::npos);
    EXPECT_NE(out.find("AcDbBlockReference\n  2\n*T1\n 10\n3"), std::string::npos) << out;
    EXPECT_NE(out.find("AcDbTable\n280\n0\n 91\n1\n 92\n2\n141\n2.0\n142\n3.0\n142\n3.0\n"),
              std::string::npos);
    EXPECT_NE(out.find("340\nB1\n"), std::string::npos) << "the leader still points at its frame";
}

// A multileader with one leader line from (-3, -2) to a landing at (-9, 0.75) going 8 along X, and a text.
const std::string kMultileader =
    "0\nSECTION\n2\nENTITIES\n"
    "0\nMULTILEADER\n5\nC0\n100\nAcDbEntity\n8\n0\n100\nAcDbMLeader\n270\n2\n300\nCONTEXT_DATA{\n40\n1.0\n"
    "10\n-1.0\n20\n0.75\n30\n0.0\n41\n0.5\n140\n4.0\n145\n2.0\n290\n1\n304\nNote\n11\n0.0\n21\n0.0\n31\n1.0\n"
    "12\n1.0\n22\n1.0\n32\n0.0\n13\n1.0\n23\n0.0\n33\n0.0\n42\n0.0\n43\n0.0\n296\n0\n"
    "110\n0.0\n120\n0.0\n130\n0.0\n111\n1.0\n121\n0.0\n131\n0.0\n112\n0.0\n122\n1.0\n132\n0.0\n297\n0\n"
    "302\nLEADER{\n290\n1\n291\n1\n10\n-9.0\n20\n0.75\n30\n0.0\n11\n1.0\n21\n0.0\n31\n0.0\n90\n0\n40\n8.0\n"
    "304\nLEADER_LINE{\n10\n-3.0\n20\n-2.0\n30\n0.0\n91\n0\n305\n}\n271\n0\n303\n}\n301\n}\n"
    "41\n8.0\n42\n4.0\n45\n1.0\n"
    "0\nENDSEC\n0\nEOF\n";

TEST(MLeader, ReadsItsGeometryFromTheContextAndTransformsItInPlace) {
    auto db = read(kMultileader);
    ASSERT_TRUE(db);
    auto* ml = at<MLeader>(*db, 0xC0);
    ASSERT_TRUE(ml);
    MLeader::Geometry g = ml->geometry();
    ASSERT_EQ(g.lines.size(), 1u);
    ASSERT_EQ(g.lines[0].size(), 2u);
    EXPECT_TRUE(g.lines[0][0].isEqualTo({-3, -2, 0}));
    EXPECT_TRUE(g.lines[0][1].isEqualTo({-9, 0.75, 0})) << "a line ends at its leader's landing";
    ASSERT_EQ(g.landings.size(), 1u);
    EXPECT_TRUE(g.landings[0].second.isEqualTo({-1, 0.75, 0}));
    EXPECT_EQ(g.text, "Note");
    const std::string before = writeDxf(*db);

    {
        auto ref = openObject<MLeader>(ml->objectId(), OpenMode::ForWrite);
        EXPECT_NE(ref->transformBy(Matrix3d::scaling(Vector3d(1, 2, 1))), ErrorStatus::Ok);
    }
    EXPECT_EQ(writeDxf(*db), before) << "a refusal changes nothing";

    {
        auto ref = openObject<MLeader>(ml->objectId(), OpenMode::ForWrite);
        ASSERT_EQ(ref->transformBy(Matrix3d::translation({1, 2, 0}) * Matrix3d::scaling(2.0)),
                  ErrorStatus::Ok);
    }
    g = ml->geometry();
    EXPECT_TRUE(g.lines[0][0].isEqualTo({-5, -2, 0}));
    EXPECT_TRUE(g.landings[0].first.isEqualTo({-17, 3.5, 0}));
    EXPECT_TRUE(g.landings[0].second.isEqualTo({-1, 3.5, 0})) << "the landing's length scales";
    EXPECT_TRUE(g.textLocation.isEqualTo({3, 4, 0}));
    EXPECT_DOUBLE_EQ(g.textHeight, 1.0);
    const std::string after = writeDxf(*db);
    EXPECT_NE(after.find("LEADER_LINE{\n 10\n-5.0\n 20\n-2.0\n"), std::string::npos) << after;
    EXPECT_NE(after.find(" 41\n16.0\n 42\n8.0\n 45\n2.0\n"), std::string::npos)
        << "the entity's own sizes too";
}

}  // namespace
}  // namespace vela::db

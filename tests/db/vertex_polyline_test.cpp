#include "db/entities/vertex_polyline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "db/database.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/geometry/plane.h"
#include "db/records/block_table_record.h"

namespace vela::db {
namespace {

// Groups of one record, "code\nvalue\n" each.
std::string groups(std::initializer_list<std::pair<int, std::string>> gs) {
    std::string out;
    for (const auto& [code, value] : gs) out += std::to_string(code) + "\n" + value + "\n";
    return out;
}

std::string vertex(const char* handle, const char* marker, double x, double y, double z, int flags,
                   double bulge = 0.0) {
    return groups({{0, "VERTEX"},
                   {5, handle},
                   {100, "AcDbEntity"},
                   {8, "0"},
                   {100, "AcDbVertex"},
                   {100, marker},
                   {10, std::to_string(x)},
                   {20, std::to_string(y)},
                   {30, std::to_string(z)},
                   {42, std::to_string(bulge)},
                   {70, std::to_string(flags)}});
}

std::string drawing(const std::string& entities) {
    return groups({{0, "SECTION"}, {2, "ENTITIES"}}) + entities + groups({{0, "ENDSEC"}, {0, "EOF"}});
}

// A closed 2D polyline on the square (0,0)-(4,3) whose first side bulges outward as a half circle.
std::string squareWithArc() {
    return groups({{0, "POLYLINE"},
                   {5, "A0"},
                   {100, "AcDbEntity"},
                   {8, "0"},
                   {100, "AcDb2dPolyline"},
                   {66, "1"},
                   {10, "0"},
                   {20, "0"},
                   {30, "0"},
                   {70, "1"}}) +
           vertex("A1", "AcDb2dVertex", 0, 0, 0, 0, 1.0) + vertex("A2", "AcDb2dVertex", 4, 0, 0, 0) +
           vertex("A3", "AcDb2dVertex", 4, 3, 0, 0) + vertex("A4", "AcDb2dVertex", 0, 3, 0, 0) +
           groups({{0, "SEQEND"}, {5, "A5"}, {100, "AcDbEntity"}, {8, "0"}});
}

struct Loaded {
    std::unique_ptr<Database> db;
    ObjectId polyline;
};

Loaded load(const std::string& entities) {
    DxfReadResult r = readDxf(drawing(entities));
    EXPECT_TRUE(r.database) << (r.error ? r.error->message : "");
    Loaded out{std::move(r.database), {}};
    if (!out.db) return out;
    auto ms = openObject<BlockTableRecord>(out.db->modelSpaceId(), OpenMode::ForRead);
    ms->forEachEntity([&](Entity* e) {
        if (out.polyline.isNull()) out.polyline = e->objectId();
    });
    return out;
}

std::vector<Point3d> positions(ObjectId id) {
    std::vector<Point3d> out;
    auto* p = objectCast<Entity>(id.peek());
    for (const ObjectId& f : p->followers())
        if (auto* v = objectCast<Vertex>(f.peek()); v && !v->isErased()) out.push_back(v->position());
    return out;
}

TEST(VertexPolylines, ReadAsTheKindTheirFlagsNameAndOwnTheirVerticesAndEndMarker) {
    Loaded d = load(squareWithArc());
    auto* p = objectCast<Polyline2d>(d.polyline.peek());
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(p->isKindOf(Curve::desc()));
    ASSERT_EQ(p->followers().size(), 5u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(p->followers()[i].peek()->isA(), Vertex2d::desc());
        EXPECT_EQ(p->followers()[i].peek()->ownerId(), d.polyline);
    }
    EXPECT_EQ(p->followers()[4].peek()->isA(), SequenceEnd::desc());
    EXPECT_TRUE(p->isClosed());
    EXPECT_NEAR(p->length(), 2 * kPi + 3 + 4 + 3, 1e-12);

    // The half circle below the first side reaches y = -2.
    Extents3d box;
    ASSERT_EQ(p->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({0, -2, 0}, {4, 3, 0}), 1e-12));

    // Written back: the record, its vertices under their own handles, the end marker.
    const std::string out = writeDxf(*d.db);
    const std::size_t at = out.find("POLYLINE\n  5\nA0\n");
    ASSERT_NE(at, std::string::npos);
    std::size_t cursor = at;
    for (const char* h : {"A1", "A2", "A3", "A4"}) {
        cursor = out.find(std::string("VERTEX\n  5\n") + h + "\n", cursor);
        ASSERT_NE(cursor, std::string::npos) << h;
    }
    EXPECT_NE(out.find("SEQEND\n  5\nA5\n", cursor), std::string::npos);
}

TEST(VertexPolylines, DeepCloneCopiesTheVerticesForTheCopyAlone) {
    Loaded d = load(squareWithArc());
    Database& db = *d.db;
    const std::vector<Point3d> before = positions(d.polyline);
    IdMapping mapping;
    ASSERT_EQ(db.deepCloneObjects({d.polyline}, db.modelSpaceId(), mapping), ErrorStatus::Ok);
    const ObjectId copy = mapping.at(d.polyline);
    auto* clone = objectCast<Polyline2d>(copy.peek());
    ASSERT_NE(clone, nullptr);
    ASSERT_EQ(clone->followers().size(), 5u);
    auto* source = objectCast<Polyline2d>(d.polyline.peek());
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_NE(clone->followers()[i], source->followers()[i]);
        EXPECT_EQ(clone->followers()[i].peek()->ownerId(), copy);
        EXPECT_EQ(mapping.at(source->followers()[i]), clone->followers()[i]);
    }
    {
        auto c = openObject<Polyline2d>(copy, OpenMode::ForWrite);
        ASSERT_EQ(c->transformBy(Matrix3d::translation({10, 0, 0})), ErrorStatus::Ok);
    }
    EXPECT_EQ(positions(d.polyline), before);
    EXPECT_EQ(positions(copy)[0], Point3d(10, 0, 0));
    // Both are written, each with its own vertices: eight VERTEX records.
    const std::string out = writeDxf(db);
    std::size_t n = 0;
    for (std::size_t at = out.find("\nVERTEX\n"); at != std::string::npos;
         at = out.find("\nVERTEX\n", at + 1))
        ++n;
    EXPECT_EQ(n, 8u);
}

TEST(VertexPolylines, ACopyOutsideTheDatabaseMovesCopiesOfTheVertices) {
    Loaded d = load(squareWithArc());
    const std::vector<Point3d> before = positions(d.polyline);
    std::unique_ptr<DbObject> free = d.polyline.peek()->clone();
    auto& copy = static_cast<Polyline2d&>(*free);
    ASSERT_EQ(copy.transformBy(Matrix3d::translation({1, 0, 0})), ErrorStatus::Ok);
    EXPECT_EQ(positions(d.polyline), before);
    Extents3d box;
    ASSERT_EQ(copy.getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({1, -2, 0}, {5, 3, 0}), 1e-12));
    // A copy of the copy has vertices of its own.
    std::unique_ptr<DbObject> again = copy.clone();
    ASSERT_EQ(static_cast<Entity&>(*again).transformBy(Matrix3d::translation({1, 0, 0})), ErrorStatus::Ok);
    ASSERT_EQ(copy.getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({1, -2, 0}, {5, 3, 0}), 1e-12));
}

}  // namespace
}  // namespace vela::db

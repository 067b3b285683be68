#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/line.h"
#include "db/entity_dxf.h"
#include "db/raw_object.h"
#include "db/records/block_table_record.h"

namespace vela::db {
namespace {

// An entity type from outside the database library, as a loaded module would bring one. Its class is
// registered only while a test holds an RxRegistration for it, as while the module is loaded.
class ProbeEntity : public Entity {
    VELA_DB_DECLARE_CLASS(ProbeEntity)
  public:
    double size() const { return size_; }
    ErrorStatus getGeomExtents(Extents3d&) const override { return ErrorStatus::InvalidInput; }
    ErrorStatus transformBy(const Matrix3d&) override { return ErrorStatus::CannotTransform; }

  private:
    double size_ = 0.0;
};

const RxClass* ProbeEntity::desc() {
    static const RxClass cls("AcDbVelaProbe", "VELA_PROBE", Entity::desc(),
                             detail::factoryOf<ProbeEntity>("VELA_PROBE"));
    return &cls;
}

template <class Io, class Self>
void ProbeEntity::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbVelaProbe");
    io.real(40, self.size_);
}

VELA_DB_DEFINE_DXF(ProbeEntity)

std::unique_ptr<RawEntity> makeEmptyRawEntity() {
    return std::make_unique<RawEntity>();
}

TEST(RxRegistry, EveryClassThatCanBeMadeIsFoundByBothNamesAndMakesItsOwnObjects) {
    const std::vector<const RxClass*> all = RxRegistry::classes();
    ASSERT_FALSE(all.empty());
    for (const RxClass* cls : all) {
        SCOPED_TRACE(cls->name());
        // A DXF name finds its class, or the abstract base that shares it (every table is a "TABLE"), or,
        // for a record type that holds unrelated kinds told apart by its flags (2D and 3D polylines and
        // meshes are all "POLYLINE"), the kind registered first.
        const RxClass* named = RxRegistry::findByDxfName(cls->dxfName());
        ASSERT_TRUE(named);
        const bool kindByFlags = std::string_view(cls->dxfName()) == "POLYLINE" && named->canCreate();
        EXPECT_TRUE(named == cls || (cls->isDerivedFrom(named) && !named->canCreate()) || kindByFlags)
            << named->name();
        EXPECT_EQ(RxRegistry::findByName(cls->name()), cls);
        const std::unique_ptr<DbObject> object = cls->create();
        ASSERT_TRUE(object);
        EXPECT_EQ(object->isA(), cls);
        EXPECT_EQ(object->database(), nullptr);
    }
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), [](const RxClass* a, const RxClass* b) {
        return std::strcmp(a->name(), b->name()) < 0;
    })) << "listed in the order of class names, whatever order the files were loaded in";
}

TEST(RxRegistry, AClassLeavesWithItsLibraryAndGivesSharedNamesBack) {
    ASSERT_EQ(RxRegistry::findByDxfName("VELA_PROBE"), nullptr);
    const std::size_t before = RxRegistry::classes().size();
    {
        RxRegistration loaded(ProbeEntity::desc());
        RxRegistration twice(ProbeEntity::desc());
        EXPECT_EQ(RxRegistry::findByDxfName("VELA_PROBE"), ProbeEntity::desc());
        EXPECT_EQ(RxRegistry::findByName("AcDbVelaProbe"), ProbeEntity::desc());
        EXPECT_EQ(RxRegistry::classes().size(), before + 1) << "registering again adds nothing";
        const auto entities = RxRegistry::classes(Entity::desc());
        EXPECT_NE(std::find(entities.begin(), entities.end(), ProbeEntity::desc()), entities.end());
    }
    EXPECT_EQ(RxRegistry::findByDxfName("VELA_PROBE"), nullptr);
    EXPECT_EQ(RxRegistry::classes().size(), before);

    // A class of another kind claiming a name in use does not take it, and taking it back changes nothing.
    static const RxClass impostor("AcDbLine", "LINE", DbObject::desc(),
                                  [] { return std::unique_ptr<DbObject>(makeEmptyRawEntity()); });
    {
        RxRegistration loaded(&impostor);
        EXPECT_EQ(RxRegistry::findByDxfName("LINE"), Line::desc());
        EXPECT_EQ(RxRegistry::findByName("AcDbLine"), Line::desc());
    }
    EXPECT_EQ(RxRegistry::findByDxfName("LINE"), Line::desc());

    // A base registered after a class that shares its name takes the name; when it leaves, the name goes
    // back.
    static const RxClass base("AcDbVelaProbeBase", "VELA_PROBE", Entity::desc());
    static const RxClass derived("AcDbVelaProbeDerived", "VELA_PROBE", &base,
                                 [] { return std::unique_ptr<DbObject>(makeEmptyRawEntity()); });
    RxRegistration derivedLoaded(&derived);
    EXPECT_EQ(RxRegistry::findByDxfName("VELA_PROBE"), &derived);
    {
        RxRegistration baseLoaded(&base);
        EXPECT_EQ(RxRegistry::findByDxfName("VELA_PROBE"), &base);
    }
    EXPECT_EQ(RxRegistry::findByDxfName("VELA_PROBE"), &derived);
}

TEST(RxRegistry, TheReaderMakesWhatTheRegisteredClassesNameAndKeepsTheRest) {
    const std::string dxf =
        "0\nSECTION\n2\nENTITIES\n"
        "0\nVELA_PROBE\n5\nA1\n100\nAcDbEntity\n8\n0\n100\nAcDbVelaProbe\n40\n2.5\n"
        "0\nENDSEC\n0\nEOF\n";
    auto read = [&] {
        DxfReadResult r = readDxf(dxf);
        EXPECT_TRUE(r.database) << (r.error ? r.error->text() : "");
        return r;
    };
    {
        RxRegistration loaded(ProbeEntity::desc());
        DxfReadResult r = read();
        ASSERT_TRUE(r.database);
        auto* probe = objectCast<ProbeEntity>(r.database->getObjectId(Handle(0xA1)).peek());
        ASSERT_TRUE(probe) << "a class from outside the library is read without any list naming it";
        EXPECT_EQ(probe->size(), 2.5);
        EXPECT_FALSE(probe->extras()) << "its declaration took every group";
        EXPECT_NE(writeDxf(*r.database).find("AcDbVelaProbe\n 40\n2.5\n"), std::string::npos);
    }
    DxfReadResult r = read();
    ASSERT_TRUE(r.database);
    auto* raw = objectCast<RawEntity>(r.database->getObjectId(Handle(0xA1)).peek());
    ASSERT_TRUE(raw) << "once the class is gone, the type is kept as it came";
    EXPECT_EQ(raw->dxfName(), "VELA_PROBE");
    EXPECT_NE(writeDxf(*r.database).find("AcDbVelaProbe\n 40\n2.5\n"), std::string::npos);
}

}  // namespace
}  // namespace vela::db

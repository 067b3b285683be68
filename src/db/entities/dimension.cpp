#include "db/entities/dimension.h"

#include <charconv>
#include <cmath>
#include <vector>

#include "db/database.h"
#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/object_ref.h"
#include "db/records/block_table_record.h"

namespace vela::db {

namespace {

// The subtype of a DIMENSION record: the low bits of group 70 in its "AcDbDimension" section (in the only
// section of a file without markers).
const RxClass* dimensionClassOf(const DxfInput& in) {
    std::string_view section;
    bool marked = false;
    for (const DxfInput::Group& g : in.groups()) {
        if (g.code == 100) {
            section = g.value, marked = true;
            continue;
        }
        if (g.code != 70 || (marked && section != "AcDbDimension")) continue;
        std::string_view v = g.value;
        while (!v.empty() && v.front() == ' ') v.remove_prefix(1);
        int flags = 0;
        if (std::from_chars(v.data(), v.data() + v.size(), flags).ec != std::errc()) return nullptr;
        switch (flags & 15) {
            case Dimension::kRotated:
                return RotatedDimension::desc();
            case Dimension::kAligned:
                return AlignedDimension::desc();
            case Dimension::kAngular2Line:
                return TwoLineAngularDimension::desc();
            case Dimension::kDiametric:
                return DiametricDimension::desc();
            case Dimension::kRadial:
                return RadialDimension::desc();
            case Dimension::kAngular3Point:
                return ThreePointAngularDimension::desc();
            case Dimension::kOrdinate:
                return OrdinateDimension::desc();
            default:
                return nullptr;
        }
    }
    // No subtype given: the default of the group, a rotated (linear) dimension.
    return RotatedDimension::desc();
}

// Groups that a file either gives or leaves out, and that are written back only when it gave them: the
// transformation of such a value is the transformation of what is there, as other programs do it.
template <class Io, class Opt>
void optionalReal(Io& io, int code, Opt& value, bool angle = false) {
    if constexpr (Io::kReading) {
        if (!io.input().has(code)) return;
        double v = 0.0;
        angle ? io.angle(code, v) : io.real(code, v);
        value = v;
    } else if (value) {
        angle ? io.angle(code, *value) : io.real(code, *value);
    }
}

template <class Io, class Opt>
void optionalPoint(Io& io, int code, Opt& value) {
    if constexpr (Io::kReading) {
        if (!io.input().has(code)) return;
        Point3d p;
        io.point(code, p);
        value = p;
    } else if (value) {
        io.point(code, *value);
    }
}

}  // namespace

VELA_DB_DEFINE_REFINED_CLASS(Dimension, "AcDbDimension", "DIMENSION", Entity, &dimensionClassOf)
VELA_DB_DEFINE_CLASS(AlignedDimension, "AcDbAlignedDimension", "DIMENSION", Dimension)
VELA_DB_DEFINE_CLASS(RotatedDimension, "AcDbRotatedDimension", "DIMENSION", AlignedDimension)
VELA_DB_DEFINE_CLASS(TwoLineAngularDimension, "AcDb2LineAngularDimension", "DIMENSION", Dimension)
VELA_DB_DEFINE_CLASS(ThreePointAngularDimension, "AcDb3PointAngularDimension", "DIMENSION", Dimension)
VELA_DB_DEFINE_CLASS(RadialDimension, "AcDbRadialDimension", "DIMENSION", Dimension)
VELA_DB_DEFINE_CLASS(DiametricDimension, "AcDbDiametricDimension", "DIMENSION", Dimension)
VELA_DB_DEFINE_CLASS(OrdinateDimension, "AcDbOrdinateDimension", "DIMENSION", Dimension)
VELA_DB_DEFINE_CLASS(ArcDimension, "AcDbArcDimension", "ARC_DIMENSION", Dimension)
VELA_DB_DEFINE_CLASS(RadialDimensionLarge, "AcDbRadialDimensionLarge", "LARGE_RADIAL_DIMENSION", Dimension)

template <class Io, class Self>
void Dimension::dimensionFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbDimension");
    io.symbol(2, self.block_, TableKind::Block);
    io.symbolOr(3, self.style_, TableKind::DimStyle, "Standard");
    io.point(10, self.defPoint_);
    io.point(11, self.textPosition_);
    optionalPoint(io, 12, self.insertionPoint_);
    io.i16(70, self.flags_);
    optionalReal(io, 42, self.measurement_);
    io.str(1, self.text_, "");
    optionalReal(io, 53, self.textRotation_, true);
    optionalReal(io, 51, self.horizontalDirection_, true);
    io.direction(210, self.normal_, Vector3d::zAxis());
}

template <class Io, class Self>
void AlignedDimension::alignedFields(Io& io, Self& self) {
    dimensionFields(io, self);
    io.subclass("AcDbAlignedDimension");
    io.point(13, self.xLine1_);
    io.point(14, self.xLine2_);
    optionalReal(io, 50, self.rotation_, true);
}

template <class Io, class Self>
void AlignedDimension::dxfFields(Io& io, Self& self) {
    alignedFields(io, self);
}

template <class Io, class Self>
void RotatedDimension::dxfFields(Io& io, Self& self) {
    alignedFields(io, self);
    io.subclass("AcDbRotatedDimension");
}

template <class Io, class Self>
void TwoLineAngularDimension::dxfFields(Io& io, Self& self) {
    dimensionFields(io, self);
    io.subclass("AcDb2LineAngularDimension");
    io.point(13, self.line1Start_);
    io.point(14, self.line1End_);
    io.point(15, self.line2Start_);
    io.point(16, self.arcPoint_);
}

template <class Io, class Self>
void ThreePointAngularDimension::dxfFields(Io& io, Self& self) {
    dimensionFields(io, self);
    io.subclass("AcDb3PointAngularDimension");
    io.point(13, self.xLine1_);
    io.point(14, self.xLine2_);
    io.point(15, self.center_);
}

template <class Io, class Self>
void RadialDimension::dxfFields(Io& io, Self& self) {
    dimensionFields(io, self);
    io.subclass("AcDbRadialDimension");
    io.point(15, self.chord_);
    optionalReal(io, 40, self.leaderLength_);
}

template <class Io, class Self>
void DiametricDimension::dxfFields(Io& io, Self& self) {
    dimensionFields(io, self);
    io.subclass("AcDbDiametricDimension");
    io.point(15, self.chord_);
    optionalReal(io, 40, self.leaderLength_);
}

template <class Io, class Self>
void OrdinateDimension::dxfFields(Io& io, Self& self) {
    dimensionFields(io, self);
    io.subclass("AcDbOrdinateDimension");
    io.point(13, self.feature_);
    io.point(14, self.leaderEnd_);
}

template <class Io, class Self>
void ArcDimension::dxfFields(Io& io, Self& self) {
    dimensionFields(io, self);
    io.subclass("AcDbArcDimension");
    io.point(13, self.xLine1_);
    io.point(14, self.xLine2_);
    io.point(15, self.center_);
    io.real(40, self.arcStart_);
    io.real(41, self.arcEnd_);
    io.boolean(70, self.partial_);
    io.boolean(71, self.hasLeader_);
    io.point(16, self.leader1_);
    io.point(17, self.leader2_);
}

template <class Io, class Self>
void RadialDimensionLarge::dxfFields(Io& io, Self& self) {
    dimensionFields(io, self);
    io.subclass("AcDbRadialDimensionLarge");
    io.point(13, self.chord_);
    io.point(14, self.overrideCenter_);
    io.point(15, self.jog_);
}

VELA_DB_DEFINE_DXF(AlignedDimension)
VELA_DB_DEFINE_DXF(RotatedDimension)
VELA_DB_DEFINE_DXF(TwoLineAngularDimension)
VELA_DB_DEFINE_DXF(ThreePointAngularDimension)
VELA_DB_DEFINE_DXF(RadialDimension)
VELA_DB_DEFINE_DXF(DiametricDimension)
VELA_DB_DEFINE_DXF(OrdinateDimension)
VELA_DB_DEFINE_DXF(ArcDimension)
VELA_DB_DEFINE_DXF(RadialDimensionLarge)

// ---- Common
// ---------------------------------------------------------------------------------------------------

std::string Dimension::dimensionBlockName() const {
    if (auto* btr = objectCast<BlockTableRecord>(block_.peek())) return btr->name();
    return {};
}

std::string Dimension::dimensionStyleName() const {
    if (auto* rec = objectCast<SymbolTableRecord>(style_.peek())) return rec->name();
    return {};
}

Point3d Dimension::textPosition() const {
    return ocsToWcs(textPosition_, normal_);
}

void Dimension::setTextPosition(const Point3d& p) {
    assertWriteEnabled();
    textPosition_ = wcsToOcs(p, normal_);
}

ErrorStatus Dimension::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    auto* btr = objectCast<BlockTableRecord>(block_.peek());
    if (!btr) return ErrorStatus::InvalidInput;
    // A copy placed at the insertion point draws its block there.
    const bool placed = insertionPoint_.has_value();
    const Matrix3d shift =
        placed ? Matrix3d::translation(ocsToWcs(*insertionPoint_, normal_).asVector()) : Matrix3d::identity();
    btr->forEachEntity([&](const Entity* e) {
        Extents3d own;
        if (!placed) {
            if (e->getGeomExtents(own) == ErrorStatus::Ok) extents.addExtents(own);
            return;
        }
        std::unique_ptr<DbObject> copy = e->clone();
        auto* moved = static_cast<Entity*>(copy.get());
        if (moved->transformBy(shift) == ErrorStatus::Ok && moved->getGeomExtents(own) == ErrorStatus::Ok)
            extents.addExtents(own);
    });
    return extents.isValid() ? ErrorStatus::Ok : ErrorStatus::InvalidInput;
}

ErrorStatus Dimension::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    // A free copy cannot move the block it shares with its source, and without it its points would no longer
    // match its drawing.
    if (!database() && !block_.isNull()) return ErrorStatus::NotInDatabase;
    // A copy's block is placed by its insertion point alone: only a move keeps its drawing where its points
    // are.
    if (insertionPoint_ && !m.isTranslation()) return ErrorStatus::CannotTransform;
    // Otherwise the block is the drawing of this dimension and moves with it. Every entity of it must take
    // the transformation before any does, so that a refusal leaves everything as it was.
    std::vector<ObjectId> content;
    if (!insertionPoint_)
        if (auto* btr = objectCast<BlockTableRecord>(block_.peek())) {
            content = btr->entityIds();
            for (ObjectId id : content) {
                auto* e = objectCast<Entity>(id.peek());
                if (!e || e->isErased()) continue;
                std::unique_ptr<DbObject> copy = e->clone();
                if (ErrorStatus es = static_cast<Entity*>(copy.get())->transformBy(m); es != ErrorStatus::Ok)
                    return es;
            }
        }
    assertWriteEnabled();
    const AxesTransform plane(m, normal_);
    textPosition_ = plane.point(textPosition_);
    if (insertionPoint_) insertionPoint_ = plane.point(*insertionPoint_);
    if (textRotation_) textRotation_ = plane.angle(*textRotation_);
    if (horizontalDirection_) horizontalDirection_ = plane.angle(*horizontalDirection_);
    defPoint_ = m.apply(defPoint_);
    transformOwn(m, plane);
    normal_ = plane.newNormal();
    for (ObjectId id : content) {
        auto e = openObject<Entity>(id, OpenMode::ForWrite, {.openOnLockedLayer = true});
        if (e) e->transformBy(m);
    }
    return ErrorStatus::Ok;
}

ErrorStatus Dimension::copySharedParts() {
    Database* db = database();
    auto* source = objectCast<BlockTableRecord>(block_.peek());
    if (!db || !source) return ErrorStatus::Ok;
    SymbolTable* blocks = db->blockTable();
    std::string name;
    for (int n = 1;; ++n)
        if (name = "*D" + std::to_string(n); !blocks->has(name)) break;
    auto copy = std::make_unique<BlockTableRecord>(name);
    copy->setFlags(source->flags());
    copy->setOrigin(source->origin());
    ObjectId copyId;
    // Anonymous names are not names users may give: the record is added as a reader adds one.
    if (ErrorStatus es = db->addRecord(db->blockTableId(), std::move(copy), &copyId, Handle(), true);
        es != ErrorStatus::Ok)
        return es;
    IdMapping mapping;
    if (ErrorStatus es = db->deepCloneObjects(source->entityIds(), copyId, mapping); es != ErrorStatus::Ok)
        return es;
    setDimensionBlock(copyId);
    return ErrorStatus::Ok;
}

// ---- Subtypes: world points follow the transformation, plane points and angles the plane's
// ------------------

void AlignedDimension::transformOwn(const Matrix3d& m, const AxesTransform& plane) {
    xLine1_ = m.apply(xLine1_);
    xLine2_ = m.apply(xLine2_);
    if (rotation_) rotation_ = plane.angle(*rotation_);
}

Point3d TwoLineAngularDimension::arcPoint() const {
    return ocsToWcs(arcPoint_, normal());
}

void TwoLineAngularDimension::transformOwn(const Matrix3d& m, const AxesTransform& plane) {
    line1Start_ = m.apply(line1Start_);
    line1End_ = m.apply(line1End_);
    line2Start_ = m.apply(line2Start_);
    arcPoint_ = plane.point(arcPoint_);
}

void ThreePointAngularDimension::transformOwn(const Matrix3d& m, const AxesTransform&) {
    xLine1_ = m.apply(xLine1_);
    xLine2_ = m.apply(xLine2_);
    center_ = m.apply(center_);
}

void RadialDimension::transformOwn(const Matrix3d& m, const AxesTransform&) {
    chord_ = m.apply(chord_);
    if (leaderLength_) *leaderLength_ *= m.scaleFactor();
}

void DiametricDimension::transformOwn(const Matrix3d& m, const AxesTransform&) {
    chord_ = m.apply(chord_);
    if (leaderLength_) *leaderLength_ *= m.scaleFactor();
}

void OrdinateDimension::transformOwn(const Matrix3d& m, const AxesTransform&) {
    feature_ = m.apply(feature_);
    leaderEnd_ = m.apply(leaderEnd_);
}

void ArcDimension::transformOwn(const Matrix3d& m, const AxesTransform&) {
    xLine1_ = m.apply(xLine1_);
    xLine2_ = m.apply(xLine2_);
    center_ = m.apply(center_);
    leader1_ = m.apply(leader1_);
    leader2_ = m.apply(leader2_);
}

void RadialDimensionLarge::transformOwn(const Matrix3d& m, const AxesTransform&) {
    chord_ = m.apply(chord_);
    overrideCenter_ = m.apply(overrideCenter_);
    jog_ = m.apply(jog_);
}

}  // namespace vela::db

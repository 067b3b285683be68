#include "db/entities/block_reference.h"

#include <algorithm>
#include <cmath>

#include "db/entities/attribute.h"
#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/object_ref.h"
#include "db/records/block_table_record.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(BlockReference, "AcDbBlockReference", "INSERT", Entity)

template <class Io, class Self>
void BlockReference::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    const bool array = self.columns_ > 1 || self.rows_ > 1;
    if constexpr (Io::kReading) {
        io.subclass("AcDbBlockReference");
        if (!io.input().has(2)) io.subclass("AcDbMInsertBlock");
    } else {
        io.subclass(array ? "AcDbMInsertBlock" : "AcDbBlockReference");
    }
    if constexpr (Io::kReading) {
        bool follow = false;
        io.boolean(66, follow);
        self.hasAttributes_ = follow;
    } else if (!self.attributes_.empty()) {
        io.i16(66, 1);
    }
    io.symbol(2, self.block_, TableKind::Block);
    io.point(10, self.position_);
    io.real(41, self.scale_.x, 1.0);
    io.real(42, self.scale_.y, 1.0);
    io.real(43, self.scale_.z, 1.0);
    io.angle(50, self.rotation_, 0.0);
    io.i16(70, self.columns_, std::int16_t(1));
    io.i16(71, self.rows_, std::int16_t(1));
    io.real(44, self.columnSpacing_, 0.0);
    io.real(45, self.rowSpacing_, 0.0);
    io.direction(210, self.normal_, Vector3d::zAxis());
}

VELA_DB_DEFINE_DXF(BlockReference)

std::string BlockReference::blockName() const {
    if (auto* btr = objectCast<BlockTableRecord>(block_.peek())) return btr->name();
    return {};
}

Point3d BlockReference::position() const {
    return ocsToWcs(position_, normal_);
}

void BlockReference::setPosition(const Point3d& p) {
    assertWriteEnabled();
    position_ = wcsToOcs(p, normal_);
}

void BlockReference::setNormal(const Vector3d& n) {
    if (n.isZero()) return;
    assertWriteEnabled();
    position_ = reexpressInPlane(position_, normal_, n.normalized());
    normal_ = n.normalized();
}

ErrorStatus BlockReference::setScaleFactors(const Vector3d& s) {
    for (double f : {s.x, s.y, s.z})
        if (!std::isfinite(f) || f == 0.0) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    scale_ = s;
    return ErrorStatus::Ok;
}

void BlockReference::setArray(std::int16_t columns, std::int16_t rows, double columnSpacing,
                              double rowSpacing) {
    assertWriteEnabled();
    columns_ = columns < 1 ? 1 : columns;
    rows_ = rows < 1 ? 1 : rows;
    columnSpacing_ = columnSpacing;
    rowSpacing_ = rowSpacing;
}

Matrix3d BlockReference::blockTransform() const {
    Point3d origin;
    if (auto* btr = objectCast<BlockTableRecord>(block_.peek())) origin = btr->origin();
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_), n = normal_.normalized();
    // Plane frame: object coordinates to world, through the normal's arbitrary axes.
    Matrix3d frame({{{ax.x, ay.x, n.x, 0}, {ax.y, ay.y, n.y, 0}, {ax.z, ay.z, n.z, 0}, {0, 0, 0, 1}}});
    return Matrix3d::translation(position().asVector()) * frame * Matrix3d::rotation(rotation_) *
           Matrix3d::scaling(scale_) * Matrix3d::translation(-origin.asVector());
}

namespace {

// The box of an entity placed by `m`: its own exact box where its type can take the transformation, else
// its box's corners transformed.
void addPlacedExtents(Extents3d& box, const Entity& e, const Matrix3d& m) {
    std::unique_ptr<DbObject> copy = e.clone();
    auto* placed = static_cast<Entity*>(copy.get());
    Extents3d own;
    if (placed->transformBy(m) == ErrorStatus::Ok) {
        if (placed->getGeomExtents(own) == ErrorStatus::Ok) box.addExtents(own);
        return;
    }
    if (e.getGeomExtents(own) != ErrorStatus::Ok) return;
    const Point3d& lo = own.minPoint();
    const Point3d& hi = own.maxPoint();
    for (double x : {lo.x, hi.x})
        for (double y : {lo.y, hi.y})
            for (double z : {lo.z, hi.z}) box.addPoint(m.apply(Point3d(x, y, z)));
}

}  // namespace

ErrorStatus BlockReference::extentsAtDepth(Extents3d& extents, const Matrix3d& outer,
                                           ExtentsWalk& walk) const {
    auto* btr = objectCast<BlockTableRecord>(block_.peek());
    if (!btr) return ErrorStatus::InvalidInput;
    const Matrix3d m = outer * blockTransform();
    const bool expand = walk.budget > 0 && walk.chain.size() < static_cast<std::size_t>(kMaxNesting) &&
                        std::find(walk.chain.begin(), walk.chain.end(), btr) == walk.chain.end();
    if (!expand) {
        extents = Extents3d(outer.apply(position()), outer.apply(position()));
        return ErrorStatus::Ok;
    }
    walk.chain.push_back(btr);
    Extents3d box;
    btr->forEachEntity([&](const Entity* e) {
        if (walk.budget > 0) --walk.budget;
        // Definitions of attributes are not drawn by references: their attributes stand for them.
        if (objectCast<AttributeDefinition>(e)) return;
        if (auto* nested = objectCast<BlockReference>(e)) {
            Extents3d inner;
            if (nested->extentsAtDepth(inner, m, walk) == ErrorStatus::Ok) box.addExtents(inner);
            return;
        }
        addPlacedExtents(box, *e, m);
    });
    walk.chain.pop_back();
    if (!box.isValid()) return ErrorStatus::InvalidInput;
    // An array insertion repeats the box along the rotated rows and columns.
    if (columns_ > 1 || rows_ > 1) {
        const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
        const Vector3d col = outer.apply(ax * std::cos(rotation_) + ay * std::sin(rotation_)) *
                             columnSpacing_ * (columns_ - 1);
        const Vector3d row =
            outer.apply(ay * std::cos(rotation_) - ax * std::sin(rotation_)) * rowSpacing_ * (rows_ - 1);
        Extents3d all = box;
        for (const Vector3d& d : {col, row, col + row})
            all.addPoint(box.minPoint() + d).addPoint(box.maxPoint() + d);
        box = all;
    }
    // Attributes are where they are in the space of the reference, not in the block.
    for (ObjectId id : attributes_)
        if (auto* attribute = objectCast<Attribute>(id.peek()); attribute && !attribute->isErased())
            addPlacedExtents(box, *attribute, outer);
    extents = box;
    return ErrorStatus::Ok;
}

ErrorStatus BlockReference::getGeomExtents(Extents3d& extents) const {
    ExtentsWalk walk;
    walk.budget = kExtentsBudget;
    return extentsAtDepth(extents, Matrix3d::identity(), walk);
}
ErrorStatus BlockReference::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    const Vector3d dirX = ax * std::cos(rotation_) + ay * std::sin(rotation_);
    const Vector3d dirY = ay * std::cos(rotation_) - ax * std::sin(rotation_);
    // The new linear part is L = M * F * R * S (plane frame, rotation, scale); its columns are the images of
    // the scaled axes. It must factor again as F' * R' * S', so the columns must be perpendicular.
    const Vector3d c1 = m.apply(dirX * scale_.x), c2 = m.apply(dirY * scale_.y),
                   c3 = m.apply(normal_.normalized() * scale_.z);
    const double l1 = c1.length(), l2 = c2.length(), l3 = c3.length();
    if (!(l1 > 1e-300) || !(l2 > 1e-300) || !(l3 > 1e-300)) return ErrorStatus::CannotTransform;
    constexpr double kTol = 1e-9;
    if (std::abs(c1.dot(c2)) > kTol * l1 * l2 || std::abs(c1.dot(c3)) > kTol * l1 * l3 ||
        std::abs(c2.dot(c3)) > kTol * l2 * l3)
        return ErrorStatus::CannotTransform;
    // Keep the signs of the Y and Z factors; the X factor takes whatever sign makes F' * R' a proper
    // rotation, so a reflection shows up as a mirrored X axis, as drawing programs record mirrored blocks.
    const double sz = std::copysign(l3, scale_.z);
    const double sy = std::copysign(l2, scale_.y);
    const double det = c1.dot(c2.cross(c3));
    const double sx = std::copysign(l1, det / (sy * sz));
    const Vector3d n = c3 / sz;
    const Vector3d qx = wcsToOcs(c1 / sx, n);
    // The attributes of a reference in a database go with it; a free copy shares its source's and leaves them.
    std::vector<ObjectId> attributes;
    if (database()) {
        for (ObjectId id : attributes_) {
            // The end of the sequence is owned too but has nothing to transform.
            auto* attribute = objectCast<Attribute>(id.peek());
            if (!attribute || attribute->isErased()) continue;
            std::unique_ptr<DbObject> copy = attribute->clone();
            if (ErrorStatus es = static_cast<Entity*>(copy.get())->transformBy(m); es != ErrorStatus::Ok) return es;
            attributes.push_back(id);
        }
    }
    assertWriteEnabled();
    const Point3d moved = m.apply(position());
    normal_ = n.normalized();
    position_ = wcsToOcs(moved, normal_);
    rotation_ = normalizeAngle(std::atan2(qx.y, qx.x));
    scale_ = {sx, sy, sz};
    columnSpacing_ *= m.apply(dirX).length();
    rowSpacing_ *= m.apply(dirY).length();
    for (ObjectId id : attributes)
        if (auto attribute = openObject<Entity>(id, OpenMode::ForWrite, {.openOnLockedLayer = true}))
            attribute->transformBy(m);
    return ErrorStatus::Ok;
}

}  // namespace vela::db

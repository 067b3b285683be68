#pragma once

#include "db/entity.h"

namespace vela::db {

/// An insertion of a block definition: the block's entities drawn through a transformation made of the
/// position, rotation about the normal and per-axis scale factors.
class BlockReference : public Entity {
    VELA_DB_DECLARE_CLASS(BlockReference)
public:
    BlockReference() = default;
    BlockReference(const Point3d& position, ObjectId block) : position_(position), block_(block) {}

    ObjectId blockTableRecord() const { return block_; }
    void setBlockTableRecord(ObjectId block) { assertWriteEnabled(), block_ = block; }
    /// The block definition's name, or empty.
    std::string blockName() const;
    /// Insertion point in world coordinates.
    const Point3d& position() const { return position_; }
    void setPosition(const Point3d& p) { assertWriteEnabled(), position_ = p; }
    const Vector3d& scaleFactors() const { return scale_; }
    /// InvalidInput when a factor is zero or not finite.
    ErrorStatus setScaleFactors(const Vector3d& s);
    double rotation() const { return rotation_; }
    void setRotation(double r) { assertWriteEnabled(), rotation_ = r; }
    const Vector3d& normal() const { return normal_; }
    void setNormal(const Vector3d& n) { assertWriteEnabled(), normal_ = n.normalized(); }

    /// Rows and columns of an array insertion (MINSERT); 1 x 1 for an ordinary reference.
    std::int16_t columnCount() const { return columns_; }
    std::int16_t rowCount() const { return rows_; }
    double columnSpacing() const { return columnSpacing_; }
    double rowSpacing() const { return rowSpacing_; }
    void setArray(std::int16_t columns, std::int16_t rows, double columnSpacing, double rowSpacing);

    /// Maps block coordinates (relative to the block's origin) to world coordinates.
    Matrix3d blockTransform() const;

    /// The box of the block's entities as inserted, each entity's own exact box where its type can take the
    /// insertion's transformation, else its box's corners transformed. Nested references are followed to a
    /// fixed depth so that a block that (wrongly) contains itself cannot loop.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Takes any transformation that leaves the reference's axes perpendicular (a rotation, reflection, and
    /// uniform or axis-aligned scaling); a shear of the block is refused.
    ErrorStatus transformBy(const Matrix3d& transform) override;

    static constexpr int kMaxNesting = 32;

private:
    ErrorStatus extentsAtDepth(Extents3d& extents, const Matrix3d& outer, int depth) const;

    Point3d position_;
    ObjectId block_;
    Vector3d scale_{1.0, 1.0, 1.0};
    double rotation_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
    double columnSpacing_ = 0.0, rowSpacing_ = 0.0;
    std::int16_t columns_ = 1, rows_ = 1;
};

}  // namespace vela::db

#pragma once

#include <vector>

#include "db/entity.h"

namespace vela::db {

/// An insertion of a block definition: the block's entities drawn through a transformation made of the
/// position, rotation about the normal and per-axis scale factors.
class BlockReference : public Entity {
    VELA_DB_DECLARE_CLASS(BlockReference)
public:
    BlockReference() = default;
    BlockReference(const Point3d& position, ObjectId block) : position_(position), block_(block) {}  // OCS = WCS

    ObjectId blockTableRecord() const { return block_; }
    void setBlockTableRecord(ObjectId block) { assertWriteEnabled(), block_ = block; }
    /// The block definition's name, or empty.
    std::string blockName() const;
    /// Insertion point in world coordinates.
    Point3d position() const;
    void setPosition(const Point3d& p);
    const Vector3d& scaleFactors() const { return scale_; }
    /// InvalidInput when a factor is zero or not finite.
    ErrorStatus setScaleFactors(const Vector3d& s);
    double rotation() const { return rotation_; }
    void setRotation(double r) { assertWriteEnabled(), rotation_ = r; }
    const Vector3d& normal() const { return normal_; }
    /// Tilts the reference's plane about its insertion point.
    void setNormal(const Vector3d& n);

    /// Rows and columns of an array insertion (MINSERT); 1 x 1 for an ordinary reference.
    std::int16_t columnCount() const { return columns_; }
    std::int16_t rowCount() const { return rows_; }
    double columnSpacing() const { return columnSpacing_; }
    double rowSpacing() const { return rowSpacing_; }
    void setArray(std::int16_t columns, std::int16_t rows, double columnSpacing, double rowSpacing);

    /// Attribute entities that follow the reference in a file (ATTRIB ... SEQEND), owned by it and written after
    /// it. They are erased, cloned and transformed with the reference.
    const std::vector<ObjectId>& attributes() const { return attributes_; }
    void setAttributes(std::vector<ObjectId> ids) { assertWriteEnabled(), attributes_ = std::move(ids); }
    std::span<const ObjectId> followers() const override { return attributes_; }
    ErrorStatus setFollowers(std::vector<ObjectId> ids) override {
        setAttributes(std::move(ids));
        return ErrorStatus::Ok;
    }
    /// Whether the record said attributes follow (group 66); the reader uses it to collect them.
    bool attributesFollow() const { return hasAttributes_; }

    /// Maps block coordinates (relative to the block's origin) to world coordinates.
    Matrix3d blockTransform() const;

    /// The box of the block's entities as inserted, each entity's own exact box where its type can take the
    /// insertion's transformation, else its box's corners transformed. Nested references are followed except
    /// into a block already being expanded (a block that wrongly contains itself), beyond kMaxNesting levels,
    /// or after kExtentsBudget entities, where a nested reference counts by its insertion point alone; so no
    /// drawing can make this loop or take unbounded time. The attributes' boxes are included.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Takes any transformation that leaves the reference's axes perpendicular (a rotation, reflection, and
    /// uniform or axis-aligned scaling); a shear of the block is refused. The attributes of a reference in a
    /// database are transformed with it, and when one of them cannot take the transformation, nothing is.
    ErrorStatus transformBy(const Matrix3d& transform) override;

    static constexpr int kMaxNesting = 32;
    static constexpr std::size_t kExtentsBudget = 1'000'000;

private:
    friend class Table;  // a table is written as a reference with its own groups after it
    struct ExtentsWalk {
        std::vector<const DbObject*> chain;  // blocks being expanded, to stop at a block that contains itself
        std::size_t budget = 0;              // entities left to visit before nested references stop expanding
    };
    ErrorStatus extentsAtDepth(Extents3d& extents, const Matrix3d& outer, ExtentsWalk& walk) const;

    Point3d position_;  // in the object coordinate system, as files hold it
    ObjectId block_;
    Vector3d scale_{1.0, 1.0, 1.0};
    double rotation_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
    double columnSpacing_ = 0.0, rowSpacing_ = 0.0;
    std::int16_t columns_ = 1, rows_ = 1;
    bool hasAttributes_ = false;
    std::vector<ObjectId> attributes_;
};

}  // namespace vela::db

#pragma once

#include <string>
#include <vector>

#include "db/entity.h"

namespace vela::db {

/// An object of a type we do not model (a dictionary, a layout, an xrecord, ...), carried through a file as
/// its groups so that saving writes it back unchanged. It keeps its DXF record name.
class RawObject : public DbObject {
    VELA_DB_DECLARE_CLASS(RawObject)
public:
    RawObject() = default;
    explicit RawObject(std::string_view dxfName) : dxfName_(dxfName) {}

    const std::string& dxfName() const { return dxfName_; }
    /// All groups after the record's handle and owner, in file order (kept tags of ObjectExtras).
    const std::vector<DxfTag>& groups() const;
    void setGroups(std::vector<DxfTag> groups);

private:
    std::string dxfName_;
};

/// An entity of a type we do not model (a dimension, a leader, an image, an old-style polyline, ...). Its
/// common properties (layer, color, linetype, ...) are read like every entity's, so that selection by property
/// and property edits work on it; everything else is kept and written back. Entities that follow it in a file
/// and belong to it (VERTEX ... SEQEND) are owned by it.
class RawEntity : public Entity {
    VELA_DB_DECLARE_CLASS(RawEntity)
public:
    RawEntity() = default;
    explicit RawEntity(std::string_view dxfName) : dxfName_(dxfName) {}

    const std::string& dxfName() const { return dxfName_; }
    std::span<const ObjectId> followers() const override { return followers_; }
    ErrorStatus setFollowers(std::vector<ObjectId> ids) override {
        assertWriteEnabled();
        followers_ = std::move(ids);
        return ErrorStatus::Ok;
    }

    /// The box of the points the record holds (groups 10 to 18 with their Y and Z), since the geometry of an
    /// unknown type cannot be known exactly; InvalidInput when it holds none.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Refused: the kept groups cannot be transformed without knowing what they mean.
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    std::string dxfName_;
    std::vector<ObjectId> followers_;
};

}  // namespace vela::db

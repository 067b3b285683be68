#pragma once

#include <string>

#include "db/entity.h"

namespace vela::db {

/// An embedded OLE object shown in a frame. Only the frame is modelled: its upper left and lower right
/// corners, kept parallel to the X and Y axes. The object's data (its size and the binary chunks after it) is
/// kept byte for byte as the file gave it.
class Ole2Frame : public Entity {
    VELA_DB_DECLARE_CLASS(Ole2Frame)
  public:
    enum class ObjectType : std::int16_t { Link = 1, Embedded = 2, Static = 3 };

    Ole2Frame() = default;

    const Point3d& upperLeft() const { return upperLeft_; }
    const Point3d& lowerRight() const { return lowerRight_; }
    /// InvalidInput when the lower right corner is not to the right of and below the upper left one.
    ErrorStatus setFrame(const Point3d& upperLeft, const Point3d& lowerRight);
    double width() const { return lowerRight_.x - upperLeft_.x; }
    double height() const { return upperLeft_.y - lowerRight_.y; }
    ObjectType objectType() const { return type_; }
    bool inPaperSpaceOnly() const { return tileMode_ != 0; }
    const std::string& description() const { return description_; }

    /// The box of the frame's corners.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Moves and uniform scalings by a positive factor only: the frame stays parallel to the axes, with its
    /// upper left corner upper left. Rotations and mirrors are refused.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    std::int16_t version_ = 2;
    std::string description_;
    Point3d upperLeft_;
    Point3d lowerRight_;
    ObjectType type_ = ObjectType::Embedded;
    std::int16_t tileMode_ = 0;
};

}  // namespace vela::db

#pragma once

#include <string>

#include "db/entity.h"

namespace vela::db {

/// A feature control frame (TOLERANCE): geometric tolerance symbols and values in boxes, drawn from a text in
/// the frame's own codes, at an insertion point along a direction, sized by its dimension style.
class FeatureControlFrame : public Entity {
    VELA_DB_DECLARE_CLASS(FeatureControlFrame)
  public:
    FeatureControlFrame() = default;

    /// Insertion point in world coordinates.
    const Point3d& location() const { return location_; }
    void setLocation(const Point3d& p) { assertWriteEnabled(), location_ = p; }
    /// The direction the frame is laid out along, in world coordinates.
    const Vector3d& direction() const { return direction_; }
    const Vector3d& normal() const { return normal_; }
    /// The frame's contents in its codes ("{\Fgdt;j}%%v0.5%%v").
    const std::string& text() const { return text_; }
    void setText(std::string_view text) { assertWriteEnabled(), text_ = std::string(text); }
    ObjectId dimensionStyle() const { return style_; }
    std::string dimensionStyleName() const;

    /// InvalidInput: the frame's size comes from font metrics of its codes, which are not known here.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Moves, rotates and mirrors the frame. A scale other than 1 is refused (CannotTransform): the size of
    /// the frame is its dimension style's, which one entity cannot change.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    ObjectId style_;
    Point3d location_;
    std::string text_;
    Vector3d normal_ = Vector3d::zAxis();
    Vector3d direction_ = Vector3d::xAxis();
};

}  // namespace vela::db

#pragma once

#include <vector>

#include "db/entity.h"

namespace vela::db {

/// A window in a paper-space layout onto model space: its frame (center, width and height in paper space) and
/// the view it shows (the point of model space at its center, the direction looked along, the target, the
/// model-space height shown, the twist, clipping planes and lens). The view's remaining settings (snap, grid,
/// UCS, shading, lighting) are kept as the file gave them.
class Viewport : public Entity {
    VELA_DB_DECLARE_CLASS(Viewport)
  public:
    enum StatusFlags : std::int32_t { kNonRectangularClipping = 0x10000 };

    Viewport() = default;

    const Point3d& centerPoint() const { return center_; }
    void setCenterPoint(const Point3d& p) { assertWriteEnabled(), center_ = p; }
    double width() const { return width_; }
    double height() const { return height_; }
    /// InvalidInput for a size that is not positive.
    ErrorStatus setSize(double width, double height);
    /// 0 when the viewport is off, -1 when it is on but outside the screen, else its place in the stack of
    /// viewports (1 for the one that shows the layout itself).
    std::int16_t status() const { return status_; }
    bool isOn() const { return status_ > 0; }
    std::int16_t number() const { return id_; }

    const Point2d& viewCenter() const { return viewCenter_; }
    const Vector3d& viewDirection() const { return viewDirection_; }
    const Point3d& viewTarget() const { return viewTarget_; }
    double viewHeight() const { return viewHeight_; }
    /// Paper-space units per model-space unit: the frame's height over the model-space height it shows (0 for
    /// a view of no height).
    double customScale() const;
    double twistAngle() const { return twist_; }
    double lensLength() const { return lensLength_; }
    double frontClipDistance() const { return frontClip_; }
    double backClipDistance() const { return backClip_; }
    std::int32_t statusFlags() const { return flags_; }
    /// The entity whose outline clips the viewport when it is not rectangular.
    ObjectId nonRectClipEntityId() const { return clipEntity_; }
    const std::vector<ObjectId>& frozenLayers() const { return frozenLayers_; }

    /// The box of the frame in the layout's XY plane (or of the clipping entity's outline), as drawing
    /// programs draw it; InvalidInput for a viewport that is off, which shows nothing.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Refused: a viewport's frame lies in its layout's plane and the view it shows would have to follow in
    /// ways no single matrix says.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    Point3d center_;
    double width_ = 1.0;
    double height_ = 1.0;
    std::int16_t status_ = 0;
    std::int16_t id_ = 2;
    Point2d viewCenter_;
    Point2d snapBase_;
    Point2d snapSpacing_{10.0, 10.0};
    Point2d gridSpacing_{10.0, 10.0};
    Vector3d viewDirection_ = Vector3d::zAxis();
    Point3d viewTarget_;
    double lensLength_ = 50.0;
    double frontClip_ = 0.0;
    double backClip_ = 0.0;
    double viewHeight_ = 1.0;
    double snapAngle_ = 0.0;
    double twist_ = 0.0;
    std::int16_t circleZoom_ = 100;
    std::vector<ObjectId> frozenLayers_;
    std::int32_t flags_ = 0;
    ObjectId clipEntity_;
};

}  // namespace vela::db

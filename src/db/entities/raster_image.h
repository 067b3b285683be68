#pragma once

#include <vector>

#include "db/entity.h"

namespace vela::db {

/// A raster image placed in the drawing by its frame: the insertion point (the lower left corner of the
/// image's first pixel), the vectors of one pixel along the image's bottom (u) and left side (v), and the
/// size in pixels. A clip boundary in pixel coordinates (origin at the image's top left pixel center, y
/// growing downwards) cuts it; the pixels themselves come from an image definition object the image refers
/// to.
class RasterImage : public Entity {
    VELA_DB_DECLARE_CLASS(RasterImage)
  public:
    enum DisplayFlags : std::int16_t {
        kShow = 1,
        kShowUnaligned = 2,
        kUseClipBoundary = 4,
        kTransparent = 8
    };
    enum class ClipBoundaryType : std::int16_t { Rectangle = 1, Polygon = 2 };

    RasterImage() = default;

    const Point3d& position() const { return position_; }
    void setPosition(const Point3d& p) { assertWriteEnabled(), position_ = p; }
    const Vector3d& uPixel() const { return uPixel_; }
    const Vector3d& vPixel() const { return vPixel_; }
    /// InvalidInput for vectors that are zero or parallel.
    ErrorStatus setPixelVectors(const Vector3d& u, const Vector3d& v);
    const Point2d& imageSize() const { return size_; }
    /// InvalidInput for a size that is not positive.
    ErrorStatus setImageSize(const Point2d& pixels);
    /// The frame's width and height in drawing units.
    double width() const { return uPixel_.length() * size_.x; }
    double height() const { return vPixel_.length() * size_.y; }
    /// The angle of the image's bottom edge in its plane, measured from the X axis of the plane's object
    /// coordinate system.
    double rotation() const;

    std::int16_t displayFlags() const { return flags_; }
    void setDisplayFlags(std::int16_t f) { assertWriteEnabled(), flags_ = f; }
    bool isClipped() const { return clipping_ != 0; }
    void setClipped(bool on) { assertWriteEnabled(), clipping_ = on ? 1 : 0; }
    bool clipInverted() const { return clipInverted_; }
    std::int16_t brightness() const { return brightness_; }
    std::int16_t contrast() const { return contrast_; }
    std::int16_t fade() const { return fade_; }
    /// InvalidInput for values outside 0 to 100.
    ErrorStatus setDisplay(std::int16_t brightness, std::int16_t contrast, std::int16_t fade);

    ObjectId imageDefId() const { return imageDef_; }
    void setImageDefId(ObjectId id) { assertWriteEnabled(), imageDef_ = id; }
    ObjectId reactorId() const { return reactor_; }

    ClipBoundaryType clipBoundaryType() const { return boundaryType_; }
    /// The clip boundary in pixel coordinates: two points make a rectangle (two opposite corners), more a
    /// polygon.
    const std::vector<Point2d>& clipBoundary() const { return boundary_; }
    /// Sets the boundary and turns clipping on; an empty list resets it to the whole image and turns clipping
    /// off. InvalidInput for a single point.
    ErrorStatus setClipBoundary(std::vector<Point2d> pixels);
    /// The clip boundary's corners in world coordinates (a rectangle given by two corners as its four), the
    /// first repeated at the end to close it. The whole image when the boundary has fewer than two points.
    std::vector<Point3d> clipBoundaryWcs() const;

    /// The box of the clipped frame.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Any affine transformation: the frame's point and pixel vectors follow it (a non-uniform scaling makes
    /// the pixels rectangles or parallelograms, which the frame can hold). Degenerate ones are refused.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  protected:
    /// The groups of an image and of a wipeout, which differ only in the name of their section.
    template <class Io, class Self>
    static void frameFields(Io& io, Self& self, const char* subclassName);

  private:
    Point3d position_;
    Vector3d uPixel_ = Vector3d::xAxis();
    Vector3d vPixel_ = Vector3d::yAxis();
    Point2d size_{1.0, 1.0};
    std::vector<Point2d> boundary_ = {{-0.5, -0.5}, {0.5, 0.5}};
    ObjectId imageDef_;
    ObjectId reactor_;
    std::int32_t classVersion_ = 0;
    std::int16_t flags_ = kShow | kShowUnaligned;
    std::int16_t clipping_ = 0;
    std::int16_t brightness_ = 50;
    std::int16_t contrast_ = 50;
    std::int16_t fade_ = 0;
    ClipBoundaryType boundaryType_ = ClipBoundaryType::Rectangle;
    bool clipInverted_ = false;
};

/// An area that hides what lies behind it: an image frame without an image, whose clip boundary is the
/// masked outline. It has no image definition; the file's null references to one are kept as they came.
class Wipeout : public RasterImage {
    VELA_DB_DECLARE_CLASS(Wipeout)
  public:
    Wipeout();
    /// A wipeout masking the polygon `vertices` (at least three) in the XY plane at height `z`: the frame is
    /// the polygon's bounding rectangle, with one "pixel" the rectangle's size. InvalidInput for fewer than
    /// three vertices or a polygon without area.
    ErrorStatus setMaskingArea(const std::vector<Point2d>& vertices, double z = 0.0);
};

}  // namespace vela::db

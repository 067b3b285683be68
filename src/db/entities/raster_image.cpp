#include "db/entities/raster_image.h"

#include <cmath>

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(RasterImage, "AcDbRasterImage", "IMAGE", Entity)
VELA_DB_DEFINE_CLASS(Wipeout, "AcDbWipeout", "WIPEOUT", RasterImage)

template <class Io, class Self>
void RasterImage::frameFields(Io& io, Self& self, const char* subclassName) {
    entityFields(io, self);
    io.subclass(subclassName);
    io.i32(90, self.classVersion_);
    io.point(10, self.position_);
    io.vec(11, self.uPixel_);
    io.vec(12, self.vPixel_);
    io.point2(13, self.size_);
    // A wipeout refers to no image definition: the null references its file may hold are kept as they came.
    const bool withDefinition = !std::is_same_v<std::remove_const_t<Self>, Wipeout>;
    io.when(withDefinition, [&] { io.id(340, self.imageDef_); });
    io.i16(70, self.flags_);
    io.i16(280, self.clipping_);
    io.i16(281, self.brightness_);
    io.i16(282, self.contrast_);
    io.i16(283, self.fade_);
    io.when(withDefinition, [&] { io.id(360, self.reactor_); });
    io.enumeration(71, self.boundaryType_, ClipBoundaryType::Rectangle, ClipBoundaryType::Polygon,
                   ClipBoundaryType::Rectangle);
    io.list(91, 14, self.boundary_, [](auto& io, auto& p) { io.point2(14, p); });
    io.boolean(290, self.clipInverted_);
}

template <class Io, class Self>
void RasterImage::dxfFields(Io& io, Self& self) {
    frameFields(io, self, "AcDbRasterImage");
}

VELA_DB_DEFINE_DXF(RasterImage)

template <class Io, class Self>
void Wipeout::dxfFields(Io& io, Self& self) {
    frameFields(io, self, "AcDbWipeout");
}

VELA_DB_DEFINE_DXF(Wipeout)

ErrorStatus RasterImage::setPixelVectors(const Vector3d& u, const Vector3d& v) {
    if (u.isZero() || v.isZero() || u.cross(v).isZero(1e-12 * u.length() * v.length()))
        return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    uPixel_ = u;
    vPixel_ = v;
    return ErrorStatus::Ok;
}

ErrorStatus RasterImage::setImageSize(const Point2d& pixels) {
    if (!(pixels.x > 0.0) || !(pixels.y > 0.0) || !std::isfinite(pixels.x) || !std::isfinite(pixels.y))
        return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    size_ = pixels;
    return ErrorStatus::Ok;
}

double RasterImage::rotation() const {
    const Vector3d normal = uPixel_.cross(vPixel_);
    if (normal.isZero(0.0)) return 0.0;
    return normalizeAngle(wcsToOcs(uPixel_, normal.normalized()).angleXY());
}

ErrorStatus RasterImage::setDisplay(std::int16_t brightness, std::int16_t contrast, std::int16_t fade) {
    for (std::int16_t v : {brightness, contrast, fade})
        if (v < 0 || v > 100) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    brightness_ = brightness;
    contrast_ = contrast;
    fade_ = fade;
    return ErrorStatus::Ok;
}

ErrorStatus RasterImage::setClipBoundary(std::vector<Point2d> pixels) {
    if (pixels.size() == 1) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    if (pixels.empty()) {
        boundary_ = {{-0.5, -0.5}, {size_.x - 0.5, size_.y - 0.5}};
        boundaryType_ = ClipBoundaryType::Rectangle;
        clipping_ = 0;
        flags_ = static_cast<std::int16_t>(flags_ & ~kUseClipBoundary);
        return ErrorStatus::Ok;
    }
    // A polygon is closed explicitly: programs reading the file expect its first point repeated.
    if (pixels.size() > 2 && !(pixels.front() == pixels.back())) pixels.push_back(pixels.front());
    boundary_ = std::move(pixels);
    boundaryType_ = boundary_.size() > 2 ? ClipBoundaryType::Polygon : ClipBoundaryType::Rectangle;
    clipping_ = 1;
    flags_ = static_cast<std::int16_t>(flags_ | kUseClipBoundary);
    return ErrorStatus::Ok;
}

std::vector<Point3d> RasterImage::clipBoundaryWcs() const {
    std::vector<Point2d> path = boundary_;
    if (path.size() < 2) path = {{-0.5, -0.5}, {size_.x - 0.5, size_.y - 0.5}};
    if (path.size() == 2) {
        const Point2d p0 = path[0], p1 = path[1];
        path = {p0, {p1.x, p0.y}, p1, {p0.x, p1.y}};
    }
    // Pixel coordinates count from the center of the top left pixel, rows downwards.
    const Point3d origin = position_ + uPixel_ * 0.5 - vPixel_ * 0.5;
    std::vector<Point3d> wcs;
    wcs.reserve(path.size() + 1);
    for (const Point2d& p : path) wcs.push_back(origin + uPixel_ * p.x + vPixel_ * (size_.y - p.y));
    if (!wcs.front().isEqualTo(wcs.back(), 1e-12)) wcs.push_back(wcs.front());
    return wcs;
}

ErrorStatus RasterImage::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    for (const Point3d& p : clipBoundaryWcs()) extents.addPoint(p);
    return ErrorStatus::Ok;
}

ErrorStatus RasterImage::transformBy(const Matrix3d& m) {
    if (!m.isAffine() || !(std::abs(m.determinant()) > 1e-300)) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    position_ = m.apply(position_);
    uPixel_ = m.apply(uPixel_);
    vPixel_ = m.apply(vPixel_);
    return ErrorStatus::Ok;
}

Wipeout::Wipeout() {
    setDisplayFlags(kShow | kShowUnaligned | kUseClipBoundary);
    setClipped(true);
}

ErrorStatus Wipeout::setMaskingArea(const std::vector<Point2d>& vertices, double z) {
    if (vertices.size() < 3) return ErrorStatus::InvalidInput;
    Point2d lo = vertices.front(), hi = vertices.front();
    for (const Point2d& p : vertices) {
        lo = {std::min(lo.x, p.x), std::min(lo.y, p.y)};
        hi = {std::max(hi.x, p.x), std::max(hi.y, p.y)};
    }
    const double w = hi.x - lo.x, h = hi.y - lo.y;
    if (!(w > 0.0) || !(h > 0.0)) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    setPosition(Point3d(lo.x, lo.y, z));
    setPixelVectors(Vector3d(w, 0, 0), Vector3d(0, h, 0));
    setImageSize({1.0, 1.0});
    // The boundary in the frame's unit pixel: x to the right, y downwards from the center.
    std::vector<Point2d> pixels;
    for (const Point2d& p : vertices) pixels.push_back({(p.x - lo.x) / w - 0.5, 0.5 - (p.y - lo.y) / h});
    return setClipBoundary(std::move(pixels));
}

}  // namespace vela::db

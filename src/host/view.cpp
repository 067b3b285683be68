#include "host/view.h"

#include <algorithm>
#include <cmath>

namespace vela::host {

db::Extents3d View::visibleExtents() const {
    return db::Extents3d(db::Point3d(center_.x - width_ / 2, center_.y - height_ / 2, center_.z),
                         db::Point3d(center_.x + width_ / 2, center_.y + height_ / 2, center_.z));
}

void View::setAspectRatio(double aspect) {
    if (!(aspect > 0) || !std::isfinite(aspect)) return;
    aspect_ = aspect;
    width_ = height_ * aspect_;
}

void View::zoomToExtents(const db::Extents3d& box, double marginFactor) {
    if (!box.isValid()) return;
    center_ = box.center();
    double w = (box.maxPoint().x - box.minPoint().x) * marginFactor;
    double h = (box.maxPoint().y - box.minPoint().y) * marginFactor;
    // A point or a line along an axis still gets a visible area around it.
    const double floor = std::max({w, h, 1e-6}) * 0.01 + 1.0;
    w = std::max(w, floor), h = std::max(h, floor);
    if (w / h > aspect_)
        h = w / aspect_;
    else
        w = h * aspect_;
    width_ = w, height_ = h;
}

}  // namespace vela::host

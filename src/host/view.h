#pragma once

#include "db/geometry/extents.h"

namespace vela::host {

/// What part of the drawing a document shows: a center and the size of the visible area, in drawing units.
class View {
public:
    View() = default;
    const db::Point3d& center() const { return center_; }
    double width() const { return width_; }
    double height() const { return height_; }
    /// The visible area as a box (z of the center).
    db::Extents3d visibleExtents() const;
    /// Width over height of the window the view is shown in.
    double aspectRatio() const { return aspect_; }
    void setAspectRatio(double aspect);
    void setCenter(const db::Point3d& c) { center_ = c; }
    /// Shows the box with a margin around it, keeping the window's aspect ratio. A flat or empty box is shown
    /// at the size of the margin so that something is always in view.
    void zoomToExtents(const db::Extents3d& box, double marginFactor = 1.05);

private:
    db::Point3d center_;
    double width_ = 100.0, height_ = 100.0;
    double aspect_ = 1.0;
};

}  // namespace vela::host

#pragma once

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QSize>
#include <functional>
#include <memory>
#include <optional>

#include "db/database.h"
#include "db/geometry/extents.h"
#include "db/spatial_index.h"
#include "render/render.h"

namespace vela::render {

/// A drawing as a screen shows it: the picture of the current view kept in an image, brought up to date only
/// when asked for. The view is a centre and a scale (units per pixel), not a window, so that resizing the
/// screen keeps the scale and shows more or less around the same centre. Pixel y grows downward, drawing y
/// upward.
///
/// A pan keeps the pixels it has, shifted, and draws only the strips that came into view; zooming, resizing
/// and invalidate() draw the whole picture again, in two bands on two threads where the machine has two
/// cores. Pictures are drawn as screens show drawings: without lineweights and with the renderer's level of
/// detail.
///
/// The view is used from one thread; while image() draws, the drawing must not change.
///
/// Until a view is chosen (zoomExtents, zoomAt, pan or setWindow), the first resize fits the space's extents.
class ScreenView {
  public:
    /// Both must outlive the view; the index follows the database's changes by itself.
    ScreenView(const db::Database& db, const db::SpatialIndex& index);
    ~ScreenView();
    ScreenView(const ScreenView&) = delete;
    ScreenView& operator=(const ScreenView&) = delete;

    /// The space shown (a block record of model or paper space); null: model space. A new space is shown
    /// fitted to its extents.
    void setSpace(db::ObjectId space);
    void setDark(bool dark);
    /// The colour each top-level entity is drawn in instead of its own (a selection's colours); none: its
    /// own. It is called from the drawing threads, two at once: it must only read what it looks at.
    void setHighlight(std::function<std::optional<QColor>(db::ObjectId)> highlight);

    /// The picture's size in pixels; the centre and scale stay.
    void resize(QSize pixels);
    /// Fits the space's extents, with a small margin.
    void zoomExtents();
    /// Scales by `factor` (> 1 zooms in) about `pixel`: the point under it stays there. Factors that are not
    /// positive and finite are ignored.
    void zoomAt(QPointF pixel, double factor);
    /// The drawing moves by `delta` pixels, as it follows the cursor that drags it.
    void pan(QPoint delta);
    /// Shows at least `window` (x and y), centred. An invalid window is ignored.
    void setWindow(const db::Extents3d& window);

    db::Point3d toDrawing(QPointF pixel) const;
    QPointF toPixels(const db::Point3d& point) const;
    double unitsPerPixel() const;
    /// The part of the drawing the picture shows, corner to corner.
    db::Extents3d shownWindow() const;
    QSize size() const { return size_; }

    /// The drawing changed: the next image() draws it again.
    void invalidate();
    /// An object is about to change, or has changed, joined the drawing, left it or changed its look (a
    /// highlight); tell the view both before and after a change. For an entity of the space shown only its
    /// box is drawn again at the next image(), with whatever else lies there; anything else (a layer, a
    /// style, a block definition, an entity owned by another) may move anything, and the whole picture is
    /// drawn again.
    void objectChanged(const db::DbObject& object);
    /// Brings the picture up to date (shifting and drawing strips after pans, else drawing it whole) and
    /// gives it.
    const QImage& image();

    /// The frame the picture is drawn in (drawing to pixels), for a caller that draws over it.
    Frame frame() const;

  private:
    void fit(const db::Extents3d& window);
    RenderOptions options() const;
    void drawWhole();
    void drawBand(uchar* bits, int top, int bottom);
    void drawArea(const QRect& area);
    void drawChanged();
    void shift(int dx, int dy);

    const db::Database& db_;
    const db::SpatialIndex& index_;
    db::ObjectId space_;
    bool dark_ = false;
    std::function<std::optional<QColor>(db::ObjectId)> highlight_;
    QSize size_{1, 1};
    bool viewChosen_ = false;
    // Drawing to pixels: px = x * scale_ + tx_, py = -y * scale_ + ty_. Pans add whole pixels to the
    // translation, so that shifted pixels and the strips drawn beside them come from the same numbers.
    double scale_ = 1.0;
    double tx_ = 0.0, ty_ = 0.0;
    // What the image holds: its translation when drawn, and whether it is still the drawing as it stands.
    QImage image_;
    bool imageValid_ = false;
    double drawnTx_ = 0.0, drawnTy_ = 0.0;
    // Boxes (drawing units) of what changed since the picture was drawn, while it is otherwise valid.
    std::vector<db::Extents3d> changed_;
    // The thread that draws the lower band of whole pictures, started when first needed.
    class Helper;
    std::unique_ptr<Helper> helper_;
};

}  // namespace vela::render

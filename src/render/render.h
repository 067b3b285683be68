#pragma once

#include <QColor>
#include <QImage>
#include <QRect>
#include <QSize>
#include <QString>
#include <QTransform>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "db/database.h"
#include "db/geometry/extents.h"
#include "db/spatial_index.h"
#include "db/undo_manager.h"

class QIODevice;
class QPainter;

namespace vela::render {

/// What a picture came to, for a caller that wants to point at what it shows.
struct RenderReport {
    struct Label {
        db::ObjectId entity;
        QString text;  // the handle
        QPointF at;    // pixels, the centre of the label
    };
    std::vector<Label> labels;      // in drawing order
    std::size_t labelsLeftOut = 0;  // labels beyond RenderOptions::maxLabels
};

/// What to draw and how. The picture is a plan view: every entity is drawn in world coordinates, its points
/// projected onto the XY plane.
struct RenderOptions {
    db::ObjectId space;                   // block record of the space to draw; null: model space
    std::optional<db::Extents3d> window;  // drawing units (x/y used); none: see `around`, else extents
    std::vector<db::ObjectId> around;     // frame these entities' extents, widened by `margin`
    double margin = 0.05;                 // fraction of the framed size added on every side
    QSize size{1600, 1200};               // pixels; the window is fitted, aspect kept, centred
    bool dark = false;                    // dark background (index 7 draws white), else light (black)
    bool lineweights = true;              // draw lineweights (else every line 1 px)
    bool handleLabels = false;            // write each drawn entity's handle at its position
    std::vector<db::ObjectId> labelled;   // when non-empty and handleLabels: only these get labels
    /// At most this many labels (the first in drawing order whose entities lie in the picture); a picture
    /// buried under labels shows nothing.
    std::size_t maxLabels = static_cast<std::size_t>(-1);
    RenderReport* report = nullptr;  // filled when given
    /// Overlay colour for a top-level entity (created/changed since some step); none: its own colour.
    std::function<std::optional<QColor>(db::ObjectId)> highlight;
    /// Entities to draw although erased (an overlay of what was deleted), each in its colour.
    std::vector<std::pair<db::ObjectId, QColor>> ghosts;
    std::function<void(std::size_t done, std::size_t total)> progress;  // top-level entities drawn so far
    /// Where the entities lie, kept by the caller for its drawing: when given, only those whose boxes come
    /// near the window are visited, so that a window over a huge drawing costs what it shows.
    const db::SpatialIndex* index = nullptr;
    /// Level of detail as a screen shows a drawing, where a picture must come in a few milliseconds: what is
    /// smaller than a pixel is drawn as one pixel, text a few pixels high as the box it fills, a curve's
    /// points closer together than a pixel merged. Pictures written to files are drawn in full.
    bool levelOfDetail = false;
};

/// The drawing-to-pixel frame the options give (window fitted into size), and the window actually shown.
struct Frame {
    QTransform toPixels;
    db::Extents3d shown;
    QSize size;
};

/// Lineweights are drawn as a screen of 96 pixels per inch shows them: a width in millimetres times
/// 96 / 25.4 pixels, never thinner than one pixel. Widths "by default" are 0.25 mm.
double lineweightPixels(int hundredthsOfMillimetre);

/// The background the options ask for.
QColor backgroundColor(const RenderOptions& options);

/// The part of the drawing the options ask for, before it is fitted into the picture: the window, else the
/// framed entities' extents or the space's, widened by the margin.
db::Extents3d windowFor(const db::Database& db, const RenderOptions& options);
Frame frameFor(const db::Database& db, const RenderOptions& options);

/// Draws onto any paint device through the painter (which the caller began on the device). The background is
/// filled first. Text needs a QGuiApplication: without one, texts and labels are left out.
void render(const db::Database& db, QPainter& painter, const RenderOptions& options);

QImage renderImage(const db::Database& db, const RenderOptions& options);

/// Draws the pixels `area` of the picture `frame` gives (its window and size in the options are not asked)
/// as the whole picture would show them: the painter is clipped to the area and its background filled, and
/// only what comes near the area is visited. A view that pans draws the strips that came into view with it.
void renderArea(const db::Database& db, QPainter& painter, const RenderOptions& options, const Frame& frame,
                const QRect& area);

/// The pixels of the picture `frame` gives that `entity` drawn alone touches, pens, antialiasing and the
/// letters of text included (empty when it draws nothing there). A screen draws again only where a changed
/// entity was and is: its box in the drawing is an estimate for text, and knows nothing of pens.
QRect drawnBounds(const db::Database& db, const RenderOptions& options, const Frame& frame,
                  const db::Entity& entity);

/// Writes an SVG file (QSvgGenerator); false with `error` set when it cannot be written.
bool writeSvg(const db::Database& db, const RenderOptions& options, const QString& path, QString* error);
/// The same onto a device open for writing (a buffer, to save the file in one step).
bool writeSvg(const db::Database& db, const RenderOptions& options, QIODevice& device, QString* error);

/// The colours of a picture of what changed: entities created, changed, and erased (drawn as ghosts).
struct ChangeColors {
    QColor created{0, 160, 60};
    QColor changed{0, 110, 230};
    QColor erased{220, 30, 30};
};
/// Sets the options to draw what the undo steps since some point did (UndoManager::changesSince) over the
/// drawing as it stands: created and changed entities in their colours, erased ones as ghosts.
void showChanges(RenderOptions& options, const db::UndoManager::Changes& changes, const ChangeColors& colors = {});

/// The entities of a space that are drawn within `tolerance` (drawing units) of `point`, as a picture shows
/// them: a line where it is drawn, a text on its letters, a filled hatch anywhere inside. Topmost (last
/// drawn) first. Candidates come from the index; each is drawn alone into a few pixels around the point.
std::vector<db::ObjectId> entitiesAt(const db::Database& db, const db::SpatialIndex& index,
                                     const db::Point3d& point, double tolerance, db::ObjectId space = {});

/// Makes the DejaVu Sans font files known to Qt (once), so that text looks the same on every machine. False
/// when they cannot be found; text is then drawn in Qt's default sans-serif font.
bool loadBundledFonts();

}  // namespace vela::render

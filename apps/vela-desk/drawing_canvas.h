#pragma once

#include <QWidget>
#include <memory>
#include <optional>
#include <unordered_set>

#include "db/database_reactor.h"
#include "db/geometry/extents.h"
#include "db/geometry/vector.h"
#include "db/object_id.h"

namespace vela::host {
class Document;
}
namespace vela::render {
class ScreenView;
}

namespace vela::desk {

class DeskInput;

/// The drawing on screen as a CAD user works with it: the wheel zooms at the cursor, the middle button (or
/// the left with Space held) pans, a double click of the middle button shows everything. A click picks what
/// is drawn under the cursor; a drag from left to right selects what lies inside its window, from right to
/// left what it crosses. While a command asks for a point, a click answers it, with a rubber band from the
/// command's base point and its tracker following the cursor. The picture follows every change of the
/// drawing, whoever made it.
class DrawingCanvas : public QWidget, private db::DatabaseReactor {
    Q_OBJECT
  public:
    explicit DrawingCanvas(DeskInput& input, QWidget* parent = nullptr);
    ~DrawingCanvas() override;

    /// Shows a document (null: none), fitted to its extents.
    void setDocument(host::Document* document);
    host::Document* document() const { return document_; }
    render::ScreenView* view() const { return view_.get(); }

    void zoomExtents();
    /// Shows at least this window of the drawing, centred.
    void showWindow(const db::Extents3d& window);
    /// The drawing point under a pixel of the canvas, and back.
    db::Point3d toDrawing(QPointF pixel) const;
    QPointF toPixels(const db::Point3d& point) const;
    /// Picks like a click at `pixel` (with Shift: `removing`), when no command is asking.
    void pickAt(QPointF pixel, bool removing);
    /// Selects like a drag from `from` to `to`.
    void selectWindow(QPointF from, QPointF to, bool removing);
    /// Changes to the drawing seen since the last reset (a save).
    std::uint64_t edits() const { return edits_; }
    void resetEdits() { edits_ = 0; }
    /// The document's view (a ZOOM command) is shown.
    void followDocumentView();

    /// The document's selection, whoever changed it, is shown.
    void followSelection();

  signals:
    void cursorMoved(const db::Point3d& point);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    // What an object covered before a change and covers after it is drawn again when the canvas paints.
    void objectOpenedForModify(const db::Database*, const db::DbObject* object) override;
    void objectAppended(const db::Database*, const db::DbObject* object) override { edited(*object); }
    void objectModified(const db::Database*, const db::DbObject* object) override { edited(*object); }
    void objectErased(const db::Database*, const db::DbObject* object, bool) override { edited(*object); }
    void edited(const db::DbObject& object);
    void goodbye(const db::Database*) override;
    void storeView();
    void track(QPointF pixel);
    bool askingForPoint() const;

    DeskInput& input_;
    host::Document* document_ = nullptr;
    db::Database* watched_ = nullptr;
    std::unique_ptr<render::ScreenView> view_;
    std::optional<QPointF> cursor_;
    // A drag in progress: panning (middle button, Space) or a selection window (left).
    enum class Drag { None, Pan, Window } drag_ = Drag::None;
    QPoint dragLast_;
    QPointF dragStart_;
    bool spaceHeld_ = false;
    std::uint64_t edits_ = 0;
    // What is selected, as the picture's drawing threads read it: a copy made on this thread before each
    // picture, since the selection's own lookup builds itself on first use.
    std::unordered_set<db::ObjectId> selected_;
    std::uint64_t selectedVersion_ = ~std::uint64_t(0);
    // The document's view as the canvas last set it: a different one was set by someone else (ZOOM).
    db::Point3d storedCenter_;
    double storedWidth_ = 0, storedHeight_ = 0;
};

}  // namespace vela::desk

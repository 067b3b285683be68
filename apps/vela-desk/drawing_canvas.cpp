#include "drawing_canvas.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <cmath>

#include "db/database.h"
#include "db/handle.h"
#include "desk_input.h"
#include "host/commands/object_selection.h"
#include "host/document.h"
#include "render/render.h"
#include "render/screen_view.h"

namespace vela::desk {

namespace {
const QColor kSelected(255, 140, 0);
constexpr int kPickPixels = 5;  // how near a click must come to what it picks
constexpr int kDragPixels = 4;  // a press that moves less is a click
constexpr double kWheelStep = 1.2;
}  // namespace

DrawingCanvas::DrawingCanvas(DeskInput& input, QWidget* parent) : QWidget(parent), input_(input) {
    setObjectName(QStringLiteral("drawingCanvas"));
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::BlankCursor);  // the crosshair is drawn
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(200, 150);
    connect(&input_, &DeskInput::waitingChanged, this, qOverload<>(&DrawingCanvas::update));
}

DrawingCanvas::~DrawingCanvas() {
    if (watched_) watched_->removeReactor(this);
}

void DrawingCanvas::setDocument(host::Document* document) {
    if (watched_) watched_->removeReactor(this);
    watched_ = nullptr;
    view_.reset();
    document_ = document;
    if (document_) {
        watched_ = document_->database();
        watched_->addReactor(this);
        view_ = std::make_unique<render::ScreenView>(*watched_, document_->spatialIndex());
        view_->setDark(true);
        selectedVersion_ = ~std::uint64_t(0);
        selected_.clear();
        view_->setHighlight([this](db::ObjectId id) -> std::optional<QColor> {
            if (selected_.count(id)) return kSelected;
            return std::nullopt;
        });
        view_->resize(size());
        view_->zoomExtents();
        storeView();
    }
    update();
}

void DrawingCanvas::goodbye(const db::Database*) {
    watched_ = nullptr;
    view_.reset();
    document_ = nullptr;
    selected_.clear();
    update();
}

void DrawingCanvas::objectOpenedForModify(const db::Database*, const db::DbObject* object) {
    if (view_) view_->objectChanged(*object);
}

void DrawingCanvas::edited(const db::DbObject& object) {
    ++edits_;
    if (view_) view_->objectChanged(object);
    update();
}

void DrawingCanvas::zoomExtents() {
    if (!view_) return;
    view_->zoomExtents();
    storeView();
    update();
}

void DrawingCanvas::showWindow(const db::Extents3d& window) {
    if (!view_) return;
    view_->setWindow(window);
    storeView();
    update();
}

db::Point3d DrawingCanvas::toDrawing(QPointF pixel) const {
    return view_ ? view_->toDrawing(pixel) : db::Point3d();
}

QPointF DrawingCanvas::toPixels(const db::Point3d& point) const {
    return view_ ? view_->toPixels(point) : QPointF();
}

void DrawingCanvas::storeView() {
    // The document knows what is shown, so that ZOOM and programs asking for the view see the canvas.
    if (!view_ || !document_) return;
    const db::Extents3d shown = view_->shownWindow();
    host::View& v = document_->view();
    v.setAspectRatio(double(std::max(1, width())) / std::max(1, height()));
    v.setCenter(shown.center());
    v.zoomToExtents(shown, 1.0);
    storedCenter_ = v.center();
    storedWidth_ = v.width();
    storedHeight_ = v.height();
}

void DrawingCanvas::followDocumentView() {
    if (!view_ || !document_) return;
    const host::View& v = document_->view();
    if (v.center().isEqualTo(storedCenter_, 0) && v.width() == storedWidth_ && v.height() == storedHeight_)
        return;
    view_->setWindow(v.visibleExtents());
    storeView();
    update();
}

void DrawingCanvas::followSelection() {
    // The picture is drawn again with the new selection when it is painted.
    if (document_ && document_->selection().version() != selectedVersion_) update();
}

bool DrawingCanvas::askingForPoint() const {
    const host::InputRequest* request = input_.request();
    return request && request->wantsPoint;
}

void DrawingCanvas::paintEvent(QPaintEvent*) {
    QPainter p(this);
    if (!view_) {
        p.fillRect(rect(), QColor(33, 40, 48));
        p.setPen(QColor(180, 190, 200));
        p.drawText(rect(), Qt::AlignCenter, tr("No drawing is open. Open one with File > Open."));
        return;
    }
    if (document_->selection().version() != selectedVersion_) {
        selectedVersion_ = document_->selection().version();
        const std::vector<db::ObjectId>& ids = document_->selection().ids();
        std::unordered_set<db::ObjectId> now(ids.begin(), ids.end());
        // Only what was selected or unselected changes colour.
        auto restyle = [this](const db::ObjectId& id) {
            if (const db::DbObject* object = id.peek())
                view_->objectChanged(*object);
            else
                view_->invalidate();
        };
        for (const db::ObjectId& id : selected_)
            if (!now.count(id)) restyle(id);
        for (const db::ObjectId& id : now)
            if (!selected_.count(id)) restyle(id);
        selected_ = std::move(now);
    }
    p.drawImage(0, 0, view_->image());
    if (drag_ == Drag::Window && cursor_) {
        // Left to right: a window (what lies inside); right to left: crossing (what it touches).
        const bool crossing = cursor_->x() < dragStart_.x();
        const QRectF box = QRectF(dragStart_, *cursor_).normalized();
        p.fillRect(box, crossing ? QColor(60, 200, 90, 50) : QColor(70, 120, 255, 50));
        p.setPen(QPen(crossing ? QColor(60, 200, 90) : QColor(70, 120, 255), 1,
                      crossing ? Qt::DashLine : Qt::SolidLine));
        p.drawRect(box);
    }
    if (!cursor_) return;
    const host::InputRequest* request = input_.request();
    if (request && request->wantsPoint && request->basePoint) {
        p.setPen(QPen(QColor(255, 255, 255), 1, Qt::DashLine));
        p.drawLine(view_->toPixels(*request->basePoint), *cursor_);
    }
    // The crosshair across the canvas; a pick box at its centre when a click would pick.
    p.setPen(QPen(QColor(230, 230, 230), 1));
    const QPointF c = *cursor_;
    p.drawLine(QPointF(0, c.y()), QPointF(width(), c.y()));
    p.drawLine(QPointF(c.x(), 0), QPointF(c.x(), height()));
    if (!askingForPoint())
        p.drawRect(QRectF(c.x() - kPickPixels, c.y() - kPickPixels, 2 * kPickPixels, 2 * kPickPixels));
}

void DrawingCanvas::resizeEvent(QResizeEvent*) {
    if (!view_) return;
    view_->resize(size());
    storeView();
}

void DrawingCanvas::track(QPointF pixel) {
    cursor_ = pixel;
    if (!view_) return;
    const db::Point3d point = view_->toDrawing(pixel);
    emit cursorMoved(point);
    if (const host::InputRequest* request = input_.request(); request && request->tracker)
        request->tracker->track(point);
}

void DrawingCanvas::mousePressEvent(QMouseEvent* event) {
    setFocus();
    if (!view_) return;
    const QPointF at = event->position();
    if (event->button() == Qt::MiddleButton || (event->button() == Qt::LeftButton && spaceHeld_)) {
        drag_ = Drag::Pan;
        dragLast_ = at.toPoint();
        setCursor(Qt::ClosedHandCursor);
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    if (askingForPoint()) {
        input_.answerPoint(view_->toDrawing(at));
        return;
    }
    drag_ = Drag::Window;
    dragStart_ = at;
}

void DrawingCanvas::mouseMoveEvent(QMouseEvent* event) {
    const QPointF at = event->position();
    if (drag_ == Drag::Pan && view_) {
        const QPoint delta = at.toPoint() - dragLast_;
        dragLast_ = at.toPoint();
        view_->pan(delta);
        storeView();
    }
    track(at);
    update();
}

void DrawingCanvas::mouseReleaseEvent(QMouseEvent* event) {
    const Drag drag = std::exchange(drag_, Drag::None);
    setCursor(Qt::BlankCursor);
    if (drag != Drag::Window || !view_) return;
    const QPointF at = event->position();
    const bool removing = event->modifiers() & Qt::ShiftModifier;
    if ((at - dragStart_).manhattanLength() < kDragPixels)
        pickAt(at, removing);
    else
        selectWindow(dragStart_, at, removing);
    update();
}

void DrawingCanvas::pickAt(QPointF pixel, bool removing) {
    if (!view_ || !document_) return;
    const std::vector<db::ObjectId> found =
        render::entitiesAt(*document_->database(), document_->spatialIndex(), view_->toDrawing(pixel),
                           kPickPixels * view_->unitsPerPixel(), document_->activeSpaceId());
    if (input_.isWaiting()) {
        // A command asks for objects: the picked one's handle answers it, as typed.
        if (!found.empty()) input_.answerText(QString::fromStdString(found.front().handle().toText()));
        return;
    }
    host::SelectionSet& selection = document_->selection();
    if (found.empty()) return;
    if (removing) {
        std::vector<db::ObjectId> left = selection.ids();
        std::erase(left, found.front());
        selection.set(left);
    } else {
        selection.add(found.front());
    }
    update();
}

void DrawingCanvas::selectWindow(QPointF from, QPointF to, bool removing) {
    if (!view_ || !document_) return;
    const bool crossing = to.x() < from.x();
    const db::Point3d c1 = view_->toDrawing(from), c2 = view_->toDrawing(to);
    if (input_.isWaiting()) {
        // A command asks for objects: the window answers as typed W (or C) and both corners.
        host::InputAnswer kind{crossing ? QStringLiteral("C") : QStringLiteral("W"), std::nullopt};
        host::InputAnswer first, second;
        first.point = c1;
        second.point = c2;
        input_.answerAhead({kind, first, second});
        return;
    }
    const std::vector<db::ObjectId> found =
        host::commands::windowSelection(document_->activeSpaceId(), c1, c2, crossing);
    host::SelectionSet& selection = document_->selection();
    std::vector<db::ObjectId> ids = selection.ids();
    for (db::ObjectId id : found) {
        const bool member = std::find(ids.begin(), ids.end(), id) != ids.end();
        if (removing && member) std::erase(ids, id);
        if (!removing && !member) ids.push_back(id);
    }
    selection.set(ids);
    update();
}

void DrawingCanvas::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton) {
        zoomExtents();
        return;
    }
    mousePressEvent(event);
}

void DrawingCanvas::wheelEvent(QWheelEvent* event) {
    if (!view_) return;
    const double steps = event->angleDelta().y() / 120.0;
    if (steps == 0) return;
    view_->zoomAt(event->position(), std::pow(kWheelStep, steps));
    storeView();
    track(event->position());
    update();
}

void DrawingCanvas::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat() && !input_.isWaiting()) {
        spaceHeld_ = true;
        return;
    }
    if (event->key() == Qt::Key_Escape) {
        if (input_.isWaiting()) {
            input_.cancel();
        } else if (document_ && !document_->selection().isEmpty()) {
            document_->selection().clear();
            update();
        }
        return;
    }
    QWidget::keyPressEvent(event);
}

void DrawingCanvas::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat()) {
        spaceHeld_ = false;
        return;
    }
    QWidget::keyReleaseEvent(event);
}

void DrawingCanvas::leaveEvent(QEvent*) {
    cursor_.reset();
    update();
}

}  // namespace vela::desk

#include "render/screen_view.h"

#include <QGuiApplication>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

#include "db/entity.h"

namespace vela::render {

namespace {

// Scales beyond these lose the drawing in rounding: zooming stops there.
constexpr double kMostPixelsPerUnit = 1e12;
constexpr double kFewestPixelsPerUnit = 1e-12;
// Fraction of the extents' size added on every side when they are fitted.
constexpr double kExtentsMargin = 0.03;
// Pictures with fewer rows than this are drawn in one piece: a second thread would not pay for itself.
constexpr int kFewestRowsForBands = 64;
// Bands of a whole picture, shared between two threads.
constexpr int kMostBands = 8;
// Changes of more entities than this, or covering more of the picture than this share, draw it whole.
constexpr std::size_t kMostChangedParts = 256;
constexpr double kMostChangedShare = 0.4;

bool finite(const db::Extents3d& e) {
    return e.isValid() && std::isfinite(e.minPoint().x) && std::isfinite(e.minPoint().y) &&
           std::isfinite(e.maxPoint().x) && std::isfinite(e.maxPoint().y);
}

}  // namespace

/// One thread that runs one job at a time for the view, kept for the view's life so that its font caches
/// stay warm.
class ScreenView::Helper {
  public:
    Helper() : thread_([this] { run(); }) {}
    ~Helper() {
        {
            std::lock_guard lock(mutex_);
            quit_ = true;
        }
        wake_.notify_all();
        thread_.join();
    }
    void start(std::function<void()> job) {
        {
            std::lock_guard lock(mutex_);
            job_ = std::move(job);
            busy_ = true;
        }
        wake_.notify_all();
    }
    void wait() {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [&] { return !busy_; });
    }

  private:
    void run() {
        std::unique_lock lock(mutex_);
        for (;;) {
            wake_.wait(lock, [&] { return quit_ || job_; });
            if (quit_) return;
            std::function<void()> job = std::move(job_);
            job_ = nullptr;
            lock.unlock();
            job();
            lock.lock();
            busy_ = false;
            wake_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::function<void()> job_;
    bool busy_ = false, quit_ = false;
    std::thread thread_;  // last: it runs once the rest is ready
};

ScreenView::ScreenView(const db::Database& db, const db::SpatialIndex& index) : db_(db), index_(index) {
    // The bundled fonts are made known on this (the application's) thread, before a drawing thread asks.
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) loadBundledFonts();
}

ScreenView::~ScreenView() = default;

void ScreenView::setSpace(db::ObjectId space) {
    space_ = space;
    zoomExtents();
}

void ScreenView::setDark(bool dark) {
    if (dark == dark_) return;
    dark_ = dark;
    invalidate();
}

void ScreenView::setHighlight(std::function<std::optional<QColor>(db::ObjectId)> highlight) {
    highlight_ = std::move(highlight);
    invalidate();
}

void ScreenView::resize(QSize pixels) {
    pixels = QSize(std::max(1, pixels.width()), std::max(1, pixels.height()));
    if (pixels == size_ && viewChosen_) return;
    // The centre stays where it was on the screen's middle.
    tx_ += (pixels.width() - size_.width()) / 2.0;
    ty_ += (pixels.height() - size_.height()) / 2.0;
    size_ = pixels;
    if (!viewChosen_) zoomExtents();
    invalidate();
}

void ScreenView::zoomExtents() {
    const db::ObjectId space = space_.isNull() ? db_.modelSpaceId() : space_;
    db::Extents3d e = index_.extents(space);
    if (!finite(e)) e = db::Extents3d(db::Point3d(0, 0, 0), db::Point3d(1, 1, 0));
    const double w = e.maxPoint().x - e.minPoint().x, h = e.maxPoint().y - e.minPoint().y;
    const double mx = w > 0 || h > 0 ? w * kExtentsMargin : 0.5,
                 my = w > 0 || h > 0 ? h * kExtentsMargin : 0.5;
    fit(db::Extents3d(e.minPoint() - db::Vector3d(mx, my, 0), e.maxPoint() + db::Vector3d(mx, my, 0)));
}

void ScreenView::setWindow(const db::Extents3d& window) {
    if (!finite(window)) return;
    fit(window);
}

void ScreenView::fit(const db::Extents3d& window) {
    double w = window.maxPoint().x - window.minPoint().x, h = window.maxPoint().y - window.minPoint().y;
    if (!(w > 0) && !(h > 0)) w = h = 1.0;
    double scale = std::min(w > 0 ? size_.width() / w : INFINITY, h > 0 ? size_.height() / h : INFINITY);
    scale_ = std::clamp(scale, kFewestPixelsPerUnit, kMostPixelsPerUnit);
    const db::Point3d c = window.center();
    tx_ = size_.width() / 2.0 - c.x * scale_;
    ty_ = size_.height() / 2.0 + c.y * scale_;
    viewChosen_ = true;
    invalidate();
}

void ScreenView::zoomAt(QPointF pixel, double factor) {
    if (!(factor > 0) || !std::isfinite(factor)) return;
    const db::Point3d p = toDrawing(pixel);
    scale_ = std::clamp(scale_ * factor, kFewestPixelsPerUnit, kMostPixelsPerUnit);
    tx_ = pixel.x() - p.x * scale_;
    ty_ = pixel.y() + p.y * scale_;
    viewChosen_ = true;
    invalidate();
}

void ScreenView::pan(QPoint delta) {
    tx_ += delta.x();
    ty_ += delta.y();
    viewChosen_ = true;
}

db::Point3d ScreenView::toDrawing(QPointF pixel) const {
    return {(pixel.x() - tx_) / scale_, (ty_ - pixel.y()) / scale_, 0.0};
}

QPointF ScreenView::toPixels(const db::Point3d& point) const {
    return {point.x * scale_ + tx_, -point.y * scale_ + ty_};
}

double ScreenView::unitsPerPixel() const {
    return 1.0 / scale_;
}

db::Extents3d ScreenView::shownWindow() const {
    return db::Extents3d(toDrawing(QPointF(0, size_.height())), toDrawing(QPointF(size_.width(), 0)));
}

Frame ScreenView::frame() const {
    Frame f;
    f.toPixels = QTransform(scale_, 0, 0, -scale_, tx_, ty_);
    f.shown = shownWindow();
    f.size = size_;
    return f;
}

void ScreenView::invalidate() {
    imageValid_ = false;
    changed_.clear();
}

void ScreenView::objectChanged(const db::DbObject& object) {
    if (!imageValid_) return;
    const db::ObjectId shown = space_.isNull() ? db_.modelSpaceId() : space_;
    // The space's own record changes as entities join it; they tell their own changes.
    if (object.objectId() == shown) return;
    const auto* entity = db::objectCast<db::Entity>(&object);
    if (!entity || entity->ownerId() != shown || changed_.size() >= kMostChangedParts) {
        invalidate();
        return;
    }
    // Kept in drawing units, so that a pan before the next picture leaves it where it belongs.
    const QRect drawn = drawnBounds(db_, options(), frame(), *entity);
    if (drawn.isEmpty()) return;
    const db::Point3d a = toDrawing(drawn.topLeft()), b = toDrawing(drawn.bottomRight() + QPoint(1, 1));
    changed_.push_back(db::Extents3d(db::Point3d(std::min(a.x, b.x), std::min(a.y, b.y), 0),
                                     db::Point3d(std::max(a.x, b.x), std::max(a.y, b.y), 0)));
}

RenderOptions ScreenView::options() const {
    RenderOptions o;
    o.space = space_;
    o.size = size_;
    o.dark = dark_;
    o.lineweights = false;
    o.highlight = highlight_;
    o.index = &index_;
    o.levelOfDetail = true;
    return o;
}

void ScreenView::drawArea(const QRect& area) {
    QPainter painter(&image_);
    renderArea(db_, painter, options(), frame(), area);
}

// Rows top..bottom of the picture, drawn as a picture of their own over the same pixels.
void ScreenView::drawBand(uchar* bits, int top, int bottom) {
    QImage band(bits + static_cast<qsizetype>(top) * image_.bytesPerLine(), size_.width(), bottom - top,
                image_.bytesPerLine(), image_.format());
    Frame f;
    f.toPixels = QTransform(scale_, 0, 0, -scale_, tx_, ty_ - top);
    f.size = band.size();
    f.shown = db::Extents3d(toDrawing(QPointF(0, bottom)), toDrawing(QPointF(size_.width(), top)));
    QPainter painter(&band);
    renderArea(db_, painter, options(), f, band.rect());
}

void ScreenView::drawWhole() {
    if (image_.size() != size_) image_ = QImage(size_, QImage::Format_ARGB32_Premultiplied);
    const int h = size_.height();
    if (h >= kFewestRowsForBands && std::thread::hardware_concurrency() > 1) {
        // Two threads, each drawing every other band of rows: drawings are seldom spread evenly, and halves
        // would leave one thread waiting for the other. The index is brought up to date first, so that both
        // only read it.
        (void)index_.extents(space_.isNull() ? db_.modelSpaceId() : space_);
        if (!helper_) helper_ = std::make_unique<Helper>();
        uchar* bits = image_.bits();
        const int bands = std::clamp(h / kFewestRowsForBands * 2, 2, kMostBands);
        auto every = [this, bits, bands, h](int first) {
            for (int b = first; b < bands; b += 2) drawBand(bits, h * b / bands, h * (b + 1) / bands);
        };
        helper_->start([every] { every(1); });
        every(0);
        helper_->wait();
    } else {
        drawArea(image_.rect());
    }
    imageValid_ = true;
    changed_.clear();
    drawnTx_ = tx_, drawnTy_ = ty_;
}

// Draws again the parts of the picture where entities changed; overlapping parts are joined so that nothing
// is drawn twice, and a picture mostly changed is drawn whole.
void ScreenView::drawChanged() {
    const QRect picture(QPoint(0, 0), size_);
    std::vector<QRect> parts;
    for (const db::Extents3d& box : changed_) {
        const QRectF r = QRectF(toPixels(box.minPoint()), toPixels(box.maxPoint())).normalized();
        // Rounding to the pixels it was measured in, not one beyond.
        QRect part = r.adjusted(0.25, 0.25, -0.25, -0.25).toAlignedRect().intersected(picture);
        if (part.isEmpty()) continue;
        // Joined with every part it meets, until it meets none.
        for (auto it = parts.begin(); it != parts.end();) {
            if (it->intersects(part)) {
                part |= *it;
                parts.erase(it);
                it = parts.begin();
            } else {
                ++it;
            }
        }
        parts.push_back(part);
    }
    changed_.clear();
    double area = 0;
    for (const QRect& part : parts) area += double(part.width()) * part.height();
    if (area > kMostChangedShare * picture.width() * picture.height()) {
        drawWhole();
        return;
    }
    for (const QRect& part : parts) drawArea(part);
}

const QImage& ScreenView::image() {
    if (!imageValid_ || image_.size() != size_) {
        drawWhole();
        return image_;
    }
    if (tx_ == drawnTx_ && ty_ == drawnTy_) {
        if (!changed_.empty()) drawChanged();
        return image_;
    }
    // Only pans moved the view since the picture was drawn, by whole pixels.
    const long long dx = std::llround(tx_ - drawnTx_), dy = std::llround(ty_ - drawnTy_);
    const int w = size_.width(), h = size_.height();
    if (std::llabs(dx) >= w || std::llabs(dy) >= h) {
        drawWhole();
        return image_;
    }
    shift(static_cast<int>(dx), static_cast<int>(dy));
    drawnTx_ = tx_, drawnTy_ = ty_;
    // The columns that came in at the left or right, then the rows at the top or bottom beside them.
    const int sx = static_cast<int>(dx), sy = static_cast<int>(dy);
    if (sx > 0) drawArea(QRect(0, 0, sx, h));
    if (sx < 0) drawArea(QRect(w + sx, 0, -sx, h));
    const int left = std::max(0, sx), right = std::min(w, w + sx);
    if (sy > 0) drawArea(QRect(left, 0, right - left, sy));
    if (sy < 0) drawArea(QRect(left, h + sy, right - left, -sy));
    if (!changed_.empty()) drawChanged();
    return image_;
}

// Moves the picture's pixels by (dx, dy), each less than the picture's size; what comes in is left as it
// was, to be drawn.
void ScreenView::shift(int dx, int dy) {
    const int w = size_.width(), h = size_.height();
    const qsizetype stride = image_.bytesPerLine();
    uchar* bits = image_.bits();
    const int columns = w - std::abs(dx);
    const std::size_t bytes = static_cast<std::size_t>(columns) * 4;
    const int from = std::max(0, -dx), to = std::max(0, dx);
    auto move = [&](int y) {
        std::memmove(bits + (y + dy) * stride + to * 4, bits + y * stride + from * 4, bytes);
    };
    // Rows are moved in the order that never overwrites a row before it has been moved.
    if (dy > 0)
        for (int y = h - 1 - dy; y >= 0; --y) move(y);
    else
        for (int y = -dy; y < h; ++y) move(y);
}

}  // namespace vela::render

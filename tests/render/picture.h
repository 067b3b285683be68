#pragma once

// Helpers of the renderer's tests: small drawings built in code, and questions about the pixels of their
// pictures.

#include <QColor>
#include <QImage>
#include <QRect>
#include <memory>

#include "db/database.h"
#include "db/entities/line.h"
#include "db/entity.h"
#include "render/render.h"

namespace vela::render::test {

/// Appends an entity to model space and gives its id.
inline db::ObjectId add(db::Database& db, std::unique_ptr<db::Entity> e, db::ObjectId block = {}) {
    db::ObjectId id;
    EXPECT_EQ(db.appendEntity(block.isNull() ? db.modelSpaceId() : block, std::move(e), &id),
              db::ErrorStatus::Ok);
    return id;
}

/// A line in a palette colour (red unless told).
inline std::unique_ptr<db::Line> line(double x0, double y0, double x1, double y1, int colorIndex = 1) {
    auto l = std::make_unique<db::Line>(db::Point3d(x0, y0), db::Point3d(x1, y1));
    l->setColor(db::Color::fromIndex(static_cast<std::uint8_t>(colorIndex)));
    return l;
}

/// Options that map drawing units one to one onto pixels: the window (x0, y0)-(x0 + w, y0 + h) fills a
/// picture of w by h pixels, so that the point (x, y) lands at pixel column x - x0, row y0 + h - y.
inline RenderOptions unitOptions(double x0, double y0, int w, int h) {
    RenderOptions o;
    o.window = db::Extents3d({x0, y0, 0}, {x0 + w, y0 + h, 0});
    o.size = QSize(w, h);
    return o;
}

inline bool isBackground(QRgb p, bool dark = false) {
    const QColor bg = backgroundColor(RenderOptions{.dark = dark});
    return qRed(p) == bg.red() && qGreen(p) == bg.green() && qBlue(p) == bg.blue();
}
inline bool isInk(QRgb p, bool dark = false) {
    return !isBackground(p, dark);
}
/// Mostly red: antialiased edges blend toward the background, so only the hue is asked.
inline bool isReddish(QRgb p) {
    return qRed(p) > 180 && qRed(p) - qGreen(p) > 80 && qRed(p) - qBlue(p) > 80;
}

/// Pixels of `rect` for which `pred` holds.
template <class Pred>
int countPixels(const QImage& image, const QRect& rect, Pred pred) {
    int n = 0;
    const QRect r = rect.intersected(image.rect());
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            if (pred(image.pixel(x, y))) ++n;
    return n;
}

/// The bounding rectangle of the pixels that are not background (null when there are none).
inline QRect inkBounds(const QImage& image, bool dark = false) {
    QRect box;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (isInk(image.pixel(x, y), dark)) box = box.united(QRect(x, y, 1, 1));
    return box;
}

}  // namespace vela::render::test

#include "desk_icons.h"

#include <QApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPolygonF>
#include <algorithm>

#include "palette/velaassistant_palette.h"

namespace vela::desk {
namespace {

/// Pens for one icon on a grid of 24 units: `ink` for what is there, `accent` for what the command makes or
/// moves.
struct Pens {
    QPen ink;
    QPen accent;
    QPen thin;  // guides: axes, dashes
};

using Drawing = void (*)(QPainter&, const Pens&);

void grip(QPainter& p, const Pens& pens, QPointF at) {
    p.save();
    p.setPen(pens.accent);
    p.setBrush(pens.accent.color());
    p.drawRect(QRectF(at - QPointF(1.5, 1.5), QSizeF(3, 3)));
    p.restore();
}

// An arrow head at `tip`, pointing along `from` -> `tip`.
void arrowHead(QPainter& p, QPointF from, QPointF tip) {
    const QLineF back(tip, from);
    QLineF a = back, b = back;
    a.setLength(4), b.setLength(4);
    a.setAngle(back.angle() + 35), b.setAngle(back.angle() - 35);
    p.drawPolyline(QPolygonF{a.p2(), tip, b.p2()});
}

void curvedArrow(QPainter& p, bool clockwise) {
    QPainterPath path;
    if (clockwise) {
        path.moveTo(6, 14);
        path.cubicTo(6, 6, 17, 5, 19, 12);
        p.drawPath(path);
        arrowHead(p, {19.5, 8}, {19, 13});
    } else {
        path.moveTo(18, 14);
        path.cubicTo(18, 6, 7, 5, 5, 12);
        p.drawPath(path);
        arrowHead(p, {4.5, 8}, {5, 13});
    }
}

// The four corners of `box`, each with arms `arm` long.
void corners(QPainter& p, const QRectF& box, double arm) {
    const QPointF along(arm, 0), down(0, arm);
    p.drawPolyline(QPolygonF{box.topLeft() + down, box.topLeft(), box.topLeft() + along});
    p.drawPolyline(QPolygonF{box.topRight() - along, box.topRight(), box.topRight() + down});
    p.drawPolyline(QPolygonF{box.bottomRight() - down, box.bottomRight(), box.bottomRight() - along});
    p.drawPolyline(QPolygonF{box.bottomLeft() + along, box.bottomLeft(), box.bottomLeft() - down});
}

// A magnifying glass: its lens about `centre`, its handle in the accent.
void magnifier(QPainter& p, const Pens& s, QPointF centre, double radius) {
    p.setPen(s.ink);
    p.drawEllipse(centre, radius, radius);
    p.setPen(s.accent);
    const QPointF rim = centre + QPointF(radius, radius) * 0.75;
    p.drawLine(rim, rim + QPointF(radius, radius) * 0.9);
}

const QHash<QString, Drawing>& drawings() {
    static const QHash<QString, Drawing> table{
        {QStringLiteral("LINE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawLine(QPointF(5, 19), QPointF(19, 5));
             grip(p, s, {5, 19}), grip(p, s, {19, 5});
         }},
        {QStringLiteral("PLINE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawPolyline(QPolygonF{{3, 19}, {9, 7}, {15, 16}, {21, 5}});
             grip(p, s, {9, 7}), grip(p, s, {15, 16});
         }},
        {QStringLiteral("CIRCLE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawEllipse(QPointF(12, 12), 8, 8);
             p.setPen(s.accent);
             p.drawLine(QPointF(10, 12), QPointF(14, 12));
             p.drawLine(QPointF(12, 10), QPointF(12, 14));
         }},
        {QStringLiteral("ARC"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawArc(QRectF(4, 7, 16, 16), 0, 180 * 16);
             grip(p, s, {4, 15}), grip(p, s, {12, 7}), grip(p, s, {20, 15});
         }},
        {QStringLiteral("ELLIPSE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawEllipse(QRectF(3, 7, 18, 10));
             p.setPen(s.thin);
             p.drawLine(QPointF(3, 12), QPointF(21, 12));
         }},
        {QStringLiteral("RECTANG"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawRect(QRectF(4, 6, 16, 12));
             grip(p, s, {4, 18}), grip(p, s, {20, 6});
         }},
        {QStringLiteral("POINT"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawLine(QPointF(6, 12), QPointF(18, 12));
             p.drawLine(QPointF(12, 6), QPointF(12, 18));
             grip(p, s, {12, 12});
         }},
        {QStringLiteral("TEXT"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawPolyline(QPolygonF{{5, 20}, {12, 4}, {19, 20}});
             p.drawLine(QPointF(8, 14), QPointF(16, 14));
         }},
        {QStringLiteral("ERASE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.thin);
             p.drawLine(QPointF(3, 19), QPointF(21, 5));
             QPen cross = s.accent;
             cross.setColor(QColor(220, 60, 50));
             p.setPen(cross);
             p.drawLine(QPointF(7, 7), QPointF(17, 17));
             p.drawLine(QPointF(17, 7), QPointF(7, 17));
         }},
        {QStringLiteral("MOVE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.accent);
             p.drawLine(QPointF(3, 12), QPointF(21, 12));
             p.drawLine(QPointF(12, 3), QPointF(12, 21));
             arrowHead(p, {12, 12}, {3, 12}), arrowHead(p, {12, 12}, {21, 12});
             arrowHead(p, {12, 12}, {12, 3}), arrowHead(p, {12, 12}, {12, 21});
         }},
        {QStringLiteral("COPY"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawRect(QRectF(3, 3, 11, 11));
             p.setPen(s.accent);
             p.drawRect(QRectF(10, 10, 11, 11));
         }},
        {QStringLiteral("ROTATE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.accent);
             curvedArrow(p, false);
             p.setPen(s.ink);
             p.translate(13, 16);
             p.rotate(-25);
             p.drawRect(QRectF(-5, -3.5, 10, 7));
         }},
        {QStringLiteral("SCALE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawRect(QRectF(3, 13, 8, 8));
             p.setPen(s.accent);
             p.drawRect(QRectF(3, 3, 18, 18));
             p.drawLine(QPointF(9, 15), QPointF(18, 6));
             arrowHead(p, {9, 15}, {18, 6});
         }},
        {QStringLiteral("MIRROR"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawPolygon(QPolygonF{{10, 5}, {10, 19}, {3, 19}});
             p.setPen(s.accent);
             p.drawPolygon(QPolygonF{{14, 5}, {14, 19}, {21, 19}});
             p.setPen(s.thin);
             p.drawLine(QPointF(12, 2), QPointF(12, 22));
         }},
        {QStringLiteral("OFFSET"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawArc(QRectF(8, 8, 16, 16), 90 * 16, 90 * 16);
             p.setPen(s.accent);
             p.drawArc(QRectF(3, 3, 26, 26), 90 * 16, 90 * 16);
         }},
        {QStringLiteral("EXPLODE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             corners(p, QRectF(4, 4, 16, 16), 6);
             p.setPen(s.accent);
             for (const QPointF& d : {QPointF(-1, -1), QPointF(1, -1), QPointF(1, 1), QPointF(-1, 1)})
                 p.drawLine(QPointF(12, 12) + d * 2, QPointF(12, 12) + d * 5);
         }},
        {QStringLiteral("MATCHPROP"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawLine(QPointF(5, 21), QPointF(13, 13));
             p.setPen(s.accent);
             p.setBrush(s.accent.color());
             p.drawPolygon(QPolygonF{{12, 10}, {18, 4}, {21, 7}, {15, 13}});
         }},
        {QStringLiteral("U"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             curvedArrow(p, false);
         }},
        {QStringLiteral("REDO"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             curvedArrow(p, true);
         }},
        {QStringLiteral("NEW"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawPolygon(QPolygonF{{5, 3}, {14, 3}, {19, 8}, {19, 21}, {5, 21}});
             p.drawPolyline(QPolygonF{{14, 3}, {14, 8}, {19, 8}});
         }},
        {QStringLiteral("OPEN"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawPolygon(QPolygonF{{3, 6}, {9, 6}, {11, 8}, {19, 8}, {19, 19}, {3, 19}});
             p.setPen(s.accent);
             p.drawPolygon(QPolygonF{{6, 11}, {22, 11}, {19, 19}, {3, 19}});
         }},
        {QStringLiteral("QSAVE"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.ink);
             p.drawPolygon(QPolygonF{{4, 4}, {17, 4}, {20, 7}, {20, 20}, {4, 20}});
             p.drawRect(QRectF(8, 4, 8, 5));
             p.setPen(s.accent);
             p.drawRect(QRectF(7, 13, 10, 7));
         }},
        {QStringLiteral("ZOOM"), [](QPainter& p, const Pens& s) { magnifier(p, s, QPointF(10, 10), 6); }},
        {QStringLiteral("ZOOMEXTENTS"),
         [](QPainter& p, const Pens& s) {
             p.setPen(s.thin);
             corners(p, QRectF(2, 2, 20, 20), 5);
             magnifier(p, s, QPointF(11, 11), 5);
         }},
    };
    return table;
}

/// Draws one of the table's icons afresh at each size and mode, so it is sharp on any screen and greyed when
/// its action is disabled.
class StrokeIconEngine : public QIconEngine {
  public:
    explicit StrokeIconEngine(Drawing drawing) : drawing_(drawing) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const QPalette::ColorGroup group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const QPalette palette = QApplication::palette();
        const QColor ink = palette.color(group, QPalette::WindowText);
        const QColor accent = mode == QIcon::Disabled ? ink : QColor(0, 120, 215);
        const qreal side = std::min(rect.width(), rect.height());
        // Strokes of about 1.5 pixels on a 24-pixel icon, never thinner than one pixel.
        const qreal width = std::max(24.0 / side, 1.5);
        Pens pens{QPen(ink, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin),
                  QPen(accent, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin),
                  QPen(ink, width * 0.7, Qt::DashLine, Qt::FlatCap)};
        pens.thin.setColor(ink.lighter(mode == QIcon::Disabled ? 100 : 150));
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.x() + (rect.width() - side) / 2, rect.y() + (rect.height() - side) / 2);
        painter->scale(side / 24, side / 24);
        painter->setBrush(Qt::NoBrush);
        drawing_(*painter, pens);
        painter->restore();
    }

    // The engine's own pixmap leaves the background as it found it, which is anything.
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap out(size);
        out.fill(Qt::transparent);
        QPainter painter(&out);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return out;
    }

    QIconEngine* clone() const override { return new StrokeIconEngine(drawing_); }

  private:
    Drawing drawing_;
};

}  // namespace

QIcon commandIcon(const QString& name) {
    if (name == QLatin1String("VELAAIASSIST"))
        return QIcon(palette::assistantIcon(QStringLiteral("vela_assistant"), 48));
    const QString key = name == QLatin1String("SAVE") ? QStringLiteral("QSAVE") : name;
    const auto it = drawings().constFind(key);
    return it == drawings().cend() ? QIcon() : QIcon(new StrokeIconEngine(*it));
}

}  // namespace vela::desk

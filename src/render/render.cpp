#include "render/render.h"

#include <QFile>
#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPicture>
#include <QPolygonF>
#include <QRawFont>
#include <QSvgGenerator>
#include <QTextLayout>
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

#include "db/entities/arc.h"
#include "db/entities/attribute.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/construction_line.h"
#include "db/entities/dimension.h"
#include "db/entities/ellipse.h"
#include "db/entities/hatch.h"
#include "db/entities/leader.h"
#include "db/entities/line.h"
#include "db/entities/mline.h"
#include "db/entities/mtext.h"
#include "db/entities/multileader.h"
#include "db/entities/ole_frame.h"
#include "db/entities/point.h"
#include "db/entities/polyline.h"
#include "db/entities/quadrilateral.h"
#include "db/entities/raster_image.h"
#include "db/entities/spline.h"
#include "db/entities/sub_d_mesh.h"
#include "db/entities/text.h"
#include "db/entities/vertex_polyline.h"
#include "db/entities/viewport.h"
#include "db/geometry/plane.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"
#include "db/support/hatch_pattern_file.h"
#include "render/flatten.h"
#include "render/text_format.h"

namespace vela::render {

using db::Matrix3d;
using db::Point2d;
using db::Point3d;
using db::Vector3d;

namespace {

constexpr int kDefaultLineweight = 25;  // hundredths of a millimetre
constexpr int kMaxNesting = 16;
// A linetype whose pattern repeats within fewer pixels than this is drawn continuous: its dashes would blur.
constexpr double kFinestPatternPixels = 4.0;
// Pattern lines closer than this many pixels are shown as a translucent fill instead.
constexpr double kFinestHatchSpacingPixels = 1.5;
constexpr std::size_t kMostHatchLines = 4000;
// Level of detail on screens: text whose height comes to fewer pixels than this is drawn as the box it fills
// (its letters would be a blur), and a curve's points closer together than a pixel are merged.
constexpr double kGreekingPixels = 6.0;
constexpr double kMergePixels = 1.0;
// How dark a box of greeked text is: letters cover about half of their line's box.
constexpr double kGreekedInk = 0.5;
// Ink an entity may leave beyond its box when part of a picture is drawn: half the widest lineweight, a
// point's dot, antialiasing.
constexpr double kAreaMarginPixels = 8.0;
// Text is shaped at this size and scaled to the drawing's height.
constexpr double kShapingPixelSize = 64.0;

const QString& fontFamily() {
    static const QString family = [] {
        loadBundledFonts();
        return QStringLiteral("DejaVu Sans");
    }();
    return family;
}

// Fonts need a QGuiApplication; without one, text is left out rather than aborting the program.
bool canShapeText() {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
}

QFont shapingFont() {
    QFont font(fontFamily());
    font.setPixelSize(static_cast<int>(kShapingPixelSize));
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setKerning(true);
    return font;
}

/// What ByBlock properties and entities on layer "0" take inside a block reference: the reference's own.
struct Inherited {
    bool inBlock = false;
    const db::LayerTableRecord* layer = nullptr;
    db::Color color = db::Color::fromIndex(7);
    db::ObjectId linetype;
    int lineweight = kDefaultLineweight;
    std::uint8_t alpha = 255;
    std::optional<QColor> overrideColor;  // highlight or ghost colour for everything under a top-level entity
    bool ghost = false;                   // drawing an erased entity: its erased followers too
};

/// An entity's resolved display properties.
struct Pen {
    QColor color;
    double width = 1.0;  // pixels
    const db::LinetypeTableRecord* linetype = nullptr;
    double linetypeScale = 1.0;  // entity scale times the drawing's
};

bool screenBox(const db::Entity& e, db::Extents3d& box);

bool isNamed(const db::DbObject* record, std::string_view name) {
    auto* r = db::objectCast<db::SymbolTableRecord>(record);
    return r && db::namesEqual(r->name(), name);
}

// Maps a point of an entity's space (after the block transformation) onto the picture.
class Placement {
  public:
    Placement(const QTransform& frame, const Matrix3d& m) : frame_(frame), m_(m) {
        const Vector3d x = m.apply(Vector3d::xAxis()), y = m.apply(Vector3d::yAxis());
        const double det = std::abs(x.x * y.y - x.y * y.x);
        pixelsPerUnit_ = std::sqrt(std::abs(frame.determinant())) * std::sqrt(det > 0 ? det : 1.0);
    }
    QPointF operator()(const Point3d& p) const {
        const Point3d w = m_.apply(p);
        return frame_.map(QPointF(w.x, w.y));
    }
    QPointF ocs(const Point3d& p, const Vector3d& normal) const { return (*this)(db::ocsToWcs(p, normal)); }
    /// Chord tolerance in the entity's units: a quarter of a pixel.
    double tolerance() const { return 0.25 / std::max(pixelsPerUnit_, 1e-300); }
    double pixelsPerUnit() const { return pixelsPerUnit_; }
    const Matrix3d& matrix() const { return m_; }
    /// The picture transformation of a plane given by an origin and two axes in the entity's space: plane
    /// coordinates (x right, y up) to pixels.
    QTransform planeToPixels(const Point3d& origin, const Vector3d& xAxis, const Vector3d& yAxis) const {
        const QPointF o = (*this)(origin);
        const QPointF px = (*this)(origin + xAxis) - o, py = (*this)(origin + yAxis) - o;
        return QTransform(px.x(), px.y(), py.x(), py.y(), o.x(), o.y());
    }

  private:
    QTransform frame_;
    Matrix3d m_;
    double pixelsPerUnit_ = 1.0;
};

class Renderer {
  public:
    Renderer(const db::Database& db, QPainter& painter, const RenderOptions& options, const Frame& frame,
             const QRect* area = nullptr)
        : db_(db), painter_(painter), options_(options), frame_(frame) {
        shownTest_ = frame.shown;
        labelled_.insert(options.labelled.begin(), options.labelled.end());
        if (area) {
            const QRectF w = frame.toPixels.inverted().mapRect(QRectF(*area));
            area_ = db::Extents3d(db::Point3d(w.left(), w.top(), 0), db::Point3d(w.right(), w.bottom(), 0));
        }
        areaPixels_ = area ? *area : QRect(QPoint(0, 0), frame.size);
        if (options.levelOfDetail && painter.device() && painter.device()->devType() == QInternal::Image &&
            painter.transform().isIdentity()) {
            auto* image = static_cast<QImage*>(painter.device());
            if (image->format() == QImage::Format_ARGB32_Premultiplied) {
                image_ = image;
                areaPixels_ = areaPixels_.intersected(image->rect());
            }
        }
    }

    void drawSpace(const db::BlockTableRecord& space);
    void drawAlone(const db::Entity& e) { drawTopLevel(e, std::nullopt, false); }

  private:
    using Label = RenderReport::Label;

    void drawTopLevel(const db::Entity& e, std::optional<QColor> overrideColor, bool ghost);
    void drawEntity(const db::Entity& e, const Matrix3d& m, const Inherited& in, int depth);
    bool resolve(const db::Entity& e, const Inherited& in, Pen& pen,
                 const db::LayerTableRecord*& layer) const;
    QColor displayColor(db::Color c) const;
    double widthPixels(int lineweight) const;

    // Drawing primitives, in pixels.
    void stroke(const std::vector<QPointF>& points, bool closed, const Pen& pen, double patternPixels);
    void fill(const QPainterPath& path, const QColor& color);
    void strokeOcs(const std::vector<Point2d>& pts, double elevation, const Vector3d& normal, bool closed,
                   const Pen& pen, const Placement& at);

    void drawPolyline(const db::Polyline& pl, const Pen& pen, const Placement& at);
    void drawPolyline2d(const db::Polyline2d& pl, const Pen& pen, const Placement& at);
    void drawWideSegments(const std::vector<Point2d>& pts, const std::vector<double>& bulges,
                          const std::vector<std::pair<double, double>>& widths, bool closed, double elevation,
                          const Vector3d& normal, const QColor& color, const Placement& at);
    void drawHatch(const db::Hatch& h, const Pen& pen, const Placement& at);
    void drawText(const db::Text& t, const Pen& pen, const Placement& at);
    void drawMText(const std::string& contents, const Point3d& location, const Vector3d& xDir,
                   const Vector3d& normal, double height, double width, int attachment, double spacing,
                   const Pen& pen, const Placement& at);
    void drawReference(const db::BlockReference& ref, const Pen& pen, const db::LayerTableRecord* layer,
                       const Matrix3d& m, const Inherited& in, int depth);
    Inherited inheritFrom(const db::Entity& owner, const Pen& pen, const db::LayerTableRecord* layer,
                          const Inherited& in) const;
    void drawBlockContents(db::ObjectId block, const Matrix3d& m, const Inherited& inner, int depth);
    void drawLabels();
    bool nearArea(const db::Entity& e) const;
    bool drawnAsDot(const db::Entity& e, const db::Extents3d& box, const Inherited& top);
    void plot(const QPointF& at, const QColor& color);
    bool isLinetype(const db::DbObject* record, bool byLayer) const;
    double greekAdvance(const QString& text, double height, double widthFactor) const;
    void drawGreeked(const QTransform& toPx, const QRectF& box, const QColor& color);

    const db::Database& db_;
    QPainter& painter_;
    const RenderOptions& options_;
    Frame frame_;
    db::Extents3d shownTest_;
    std::vector<Label> labels_;
    std::size_t labelsLeftOut_ = 0;
    std::unordered_set<db::ObjectId> labelled_;
    std::unordered_set<const db::DbObject*>
        expanding_;  // blocks being drawn, against blocks that hold themselves
    std::optional<db::Extents3d> area_;  // drawing only part of the picture: the window of that part
    QRect areaPixels_;                   // and its pixels (the whole picture's when it is drawn whole)
    // Points of the chain being drawn, kept from one entity to the next to spare allocations: a chain's
    // plane points, its pixels, its pixels after merging.
    std::vector<Point2d> chain_;
    std::vector<QPointF> scratch_;
    std::vector<QPointF> merged_;
    QPen linePen_;                       // the pen of the last chain, kept while chains share it
    // Dots of what is smaller than a pixel are written straight into a picture in memory, when the painter
    // draws into one untransformed; else they are painted.
    QImage* image_ = nullptr;
    // Which linetype records are the ByLayer and ByBlock ones, as they are met: asked of every entity.
    mutable std::unordered_map<const db::DbObject*, int> linetypeKinds_;
};

QColor Renderer::displayColor(db::Color c) const {
    if (!c.isByAci() && !c.isByColor()) c = db::Color::fromIndex(7);
    const std::uint32_t rgb = c.rgb();
    // The foreground colour (index 7, and true white or black where it would vanish) follows the background.
    if (c.isByAci() && c.colorIndex() == 7) return options_.dark ? QColor(255, 255, 255) : QColor(0, 0, 0);
    if (!options_.dark && rgb == 0xFFFFFF) return QColor(0, 0, 0);
    if (options_.dark && rgb == 0x000000) return QColor(255, 255, 255);
    return QColor(static_cast<int>((rgb >> 16) & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
                  static_cast<int>(rgb & 0xFF));
}

double Renderer::widthPixels(int lineweight) const {
    if (!options_.lineweights) return 1.0;
    return lineweightPixels(lineweight);
}

// Resolves by-layer and by-block properties; false when the entity is not shown (its layer is off or frozen,
// or it is invisible).
bool Renderer::resolve(const db::Entity& e, const Inherited& in, Pen& pen,
                       const db::LayerTableRecord*& layer) const {
    if (!e.isVisible()) return false;
    layer = db::objectCast<db::LayerTableRecord>(e.layerId().peek());
    // Inside a block, what lies on layer "0" lives on the reference's layer.
    if (in.inBlock && (!layer || db::namesEqual(layer->name(), "0")) && in.layer) layer = in.layer;
    if (layer && (layer->isOff() || layer->isFrozen())) return false;

    db::Color color = e.color();
    if (color.isByLayer())
        color = layer ? layer->color() : db::Color::fromIndex(7);
    else if (color.isByBlock())
        color = in.inBlock ? in.color : db::Color::fromIndex(7);

    int weight = static_cast<int>(e.lineWeight());
    if (weight == static_cast<int>(db::LineWeight::ByLayer))
        weight = layer ? static_cast<int>(layer->lineWeight()) : kDefaultLineweight;
    if (weight == static_cast<int>(db::LineWeight::ByBlock))
        weight = in.inBlock ? in.lineweight : kDefaultLineweight;
    if (weight < 0) weight = kDefaultLineweight;

    const db::DbObject* linetype = e.linetypeId().peek();
    if (isLinetype(linetype, true)) linetype = layer ? layer->linetypeId().peek() : nullptr;
    if (isLinetype(linetype, false)) linetype = in.inBlock ? in.linetype.peek() : nullptr;

    db::Transparency t = e.transparency();
    if (t.isByLayer()) t = layer ? layer->transparency() : db::Transparency::fromAlpha(255);
    std::uint8_t alpha = t.isByAlpha() ? t.alpha() : (t.isByBlock() && in.inBlock ? in.alpha : 255);

    pen.color = in.overrideColor ? *in.overrideColor : displayColor(color);
    pen.color.setAlpha(pen.color.alpha() * alpha / 255);
    pen.width = widthPixels(weight);
    pen.linetype = db::objectCast<db::LinetypeTableRecord>(linetype);
    // Patterns inside a block scale with the reference: the block transformation is in the pixels per unit.
    pen.linetypeScale = e.linetypeScale() * db_.linetypeScale();
    return true;
}

bool Renderer::isLinetype(const db::DbObject* record, bool byLayer) const {
    if (!record) return false;
    auto it = linetypeKinds_.find(record);
    if (it == linetypeKinds_.end())
        it = linetypeKinds_
                 .emplace(record, isNamed(record, "ByLayer")   ? 1
                                  : isNamed(record, "ByBlock") ? 2
                                                               : 0)
                 .first;
    return it->second == (byLayer ? 1 : 2);
}

// The part of the segment p..q (as fractions 0..1 of it) inside `r`; false when none is.
bool clipSegment(const QPointF& p, const QPointF& q, const QRectF& r, double& t0, double& t1) {
    t0 = 0.0, t1 = 1.0;
    const double dx = q.x() - p.x(), dy = q.y() - p.y();
    const double pk[4] = {-dx, dx, -dy, dy};
    const double qk[4] = {p.x() - r.left(), r.right() - p.x(), p.y() - r.top(), r.bottom() - p.y()};
    for (int i = 0; i < 4; ++i) {
        if (pk[i] == 0.0) {
            if (qk[i] < 0) return false;
            continue;
        }
        const double t = qk[i] / pk[i];
        if (pk[i] < 0)
            t0 = std::max(t0, t);
        else
            t1 = std::min(t1, t);
    }
    return t0 <= t1;
}

void Renderer::stroke(const std::vector<QPointF>& given, bool closed, const Pen& pen, double patternPixels) {
    if (given.empty()) return;
    // On screens, points closer than a pixel to the last one kept are merged into it; the last point stays,
    // so that a chain still ends where it ends.
    std::vector<QPointF>& merged = merged_;
    merged.clear();
    if (options_.levelOfDetail && given.size() > 2) {
        merged.push_back(given.front());
        for (std::size_t i = 1; i + 1 < given.size(); ++i) {
            const QPointF d = given[i] - merged.back();
            if (std::abs(d.x()) >= kMergePixels || std::abs(d.y()) >= kMergePixels)
                merged.push_back(given[i]);
        }
        merged.push_back(given.back());
    }
    const std::vector<QPointF>& points = merged.empty() ? given : merged;
    if (linePen_.color() != pen.color || linePen_.widthF() != pen.width)
        linePen_ = QPen(pen.color, pen.width, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin);
    const QPen& qpen = linePen_;
    const double margin = pen.width + 4.0;
    const QRectF view = QRectF(QPointF(0, 0), QSizeF(frame_.size)).adjusted(-margin, -margin, margin, margin);
    painter_.setBrush(Qt::NoBrush);
    double period = 0.0;
    if (pen.linetype)
        for (const db::LinetypeDash& d : pen.linetype->dashes()) period += std::abs(d.length * patternPixels);
    if (points.size() > 1 && period < kFinestPatternPixels &&
        std::all_of(points.begin(), points.end(), [&](const QPointF& p) { return view.contains(p); })) {
        // All in the picture and continuous: the chain as it is, which is what the pieces below come to.
        painter_.setPen(qpen);
        if (closed)
            painter_.drawPolygon(points.data(), static_cast<int>(points.size()));
        else
            painter_.drawPolyline(points.data(), static_cast<int>(points.size()));
        return;
    }
    QPen dotPen = qpen;
    dotPen.setCapStyle(Qt::RoundCap);
    if (points.size() == 1) {
        if (!view.contains(points[0])) return;
        painter_.setPen(dotPen);
        painter_.drawPoint(points[0]);
        return;
    }
    // Only what lies in the picture is drawn (painting engines cannot take coordinates far beyond it), each
    // visible piece known by its distance along the whole chain so that dashes keep their phase.
    struct Piece {
        QPointF from, to;               // the whole segment
        double start, length;           // its distance along the chain, its length
        double visibleFrom, visibleTo;  // distances along the chain of its visible part
    };
    std::vector<Piece> pieces;
    const std::size_t n = points.size(), segments = closed ? n : n - 1;
    double along = 0.0, visible = 0.0;
    for (std::size_t i = 0; i < segments; ++i) {
        const QPointF& p = points[i];
        const QPointF& q = points[(i + 1) % n];
        const double length = QLineF(p, q).length();
        double t0, t1;
        if (length > 0 && std::isfinite(length) && clipSegment(p, q, view, t0, t1)) {
            pieces.push_back({p, q, along, length, along + t0 * length, along + t1 * length});
            visible += (t1 - t0) * length;
        }
        if (std::isfinite(length)) along += length;
    }
    if (pieces.empty()) return;
    auto at = [](const Piece& piece, double distance) {
        return piece.from + (piece.to - piece.from) * ((distance - piece.start) / piece.length);
    };
    std::vector<double> dashes;
    if (pen.linetype)
        for (const db::LinetypeDash& d : pen.linetype->dashes()) dashes.push_back(d.length * patternPixels);
    const bool dashed = !dashes.empty() && period >= kFinestPatternPixels && visible / period < 100000;
    painter_.setPen(qpen);
    QPolygonF run;  // the chain drawn so far, continued while pieces join up
    double runEnd = -1.0;
    auto flush = [&] {
        if (run.size() > 1) painter_.drawPolyline(run);
        run.clear();
    };
    auto extend = [&](const QPointF& from, double fromDistance, const QPointF& to, double toDistance) {
        if (run.isEmpty() || std::abs(fromDistance - runEnd) > 1e-9) {
            flush();
            run << from;
        }
        run << to;
        runEnd = toDistance;
    };
    if (!dashed) {
        const bool whole = closed && pieces.size() == segments &&
                           pieces.front().visibleFrom == pieces.front().start &&
                           std::all_of(pieces.begin(), pieces.end(), [](const Piece& p) {
                               return p.visibleFrom == p.start && p.visibleTo == p.start + p.length;
                           });
        if (whole) {
            painter_.drawPolygon(QPolygonF(points.begin(), points.end()));
            return;
        }
        for (const Piece& p : pieces)
            extend(at(p, p.visibleFrom), p.visibleFrom, at(p, p.visibleTo), p.visibleTo);
        flush();
        return;
    }
    // Our own dashing along the chain, so that the pattern runs on through vertices and keeps its length in
    // drawing units whatever the pen's width.
    for (const Piece& p : pieces) {
        double pos = std::floor(p.visibleFrom / period) * period;
        while (pos <= p.visibleTo) {
            for (const double d : dashes) {
                const double length = std::abs(d);
                if (d > 0) {
                    const double a = std::max(pos, p.visibleFrom), b = std::min(pos + length, p.visibleTo);
                    if (b > a) extend(at(p, a), a, at(p, b), b);
                } else if (d == 0 && pos >= p.visibleFrom && pos < p.visibleTo) {
                    flush();
                    painter_.setPen(dotPen), painter_.drawPoint(at(p, pos)), painter_.setPen(qpen);
                }
                pos += length;
                if (pos > p.visibleTo) break;
            }
        }
    }
    flush();
}

void Renderer::fill(const QPainterPath& path, const QColor& color) {
    painter_.setPen(Qt::NoPen);
    painter_.setBrush(color);
    painter_.drawPath(path);
    painter_.setBrush(Qt::NoBrush);
}

void Renderer::strokeOcs(const std::vector<Point2d>& pts, double elevation, const Vector3d& normal,
                         bool closed, const Pen& pen, const Placement& at) {
    std::vector<QPointF>& px = scratch_;
    px.clear();
    for (const Point2d& p : pts) px.push_back(at.ocs({p.x, p.y, elevation}, normal));
    stroke(px, closed, pen, pen.linetypeScale * at.pixelsPerUnit());
}

// Outlines of wide segments, each a filled band whose width runs from its start width to its end width.
void Renderer::drawWideSegments(const std::vector<Point2d>& pts, const std::vector<double>& bulges,
                                const std::vector<std::pair<double, double>>& widths, bool closed,
                                double elevation, const Vector3d& normal, const QColor& color,
                                const Placement& at) {
    const std::size_t n = pts.size();
    const std::size_t segments = closed ? n : n - 1;
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    for (std::size_t i = 0; i < segments; ++i) {
        const auto [w0, w1] = widths[i];
        if (w0 <= 0 && w1 <= 0) continue;
        std::vector<Point2d> centre{pts[i]};
        appendBulgeSegment(centre, pts[i], pts[(i + 1) % n], bulges[i], at.tolerance());
        // Offsets along the normals of the centre line, interpolated by length.
        std::vector<double> along{0.0};
        for (std::size_t k = 1; k < centre.size(); ++k)
            along.push_back(along.back() +
                            std::hypot(centre[k].x - centre[k - 1].x, centre[k].y - centre[k - 1].y));
        const double total = std::max(along.back(), 1e-300);
        QPolygonF left, right;
        for (std::size_t k = 0; k < centre.size(); ++k) {
            const Point2d& p = centre[k];
            const Point2d& q = centre[k == 0 ? 1 : k];
            const Point2d& o = centre[k == 0 ? 0 : k - 1];
            double tx = q.x - o.x, ty = q.y - o.y;
            const double tl = std::hypot(tx, ty);
            if (tl <= 0) continue;
            tx /= tl, ty /= tl;
            const double half = (w0 + (w1 - w0) * along[k] / total) / 2.0;
            left << at.ocs({p.x - ty * half, p.y + tx * half, elevation}, normal);
            right << at.ocs({p.x + ty * half, p.y - tx * half, elevation}, normal);
        }
        std::reverse(right.begin(), right.end());
        QPolygonF band = left + right;
        if (band.size() > 2) path.addPolygon(band), path.closeSubpath();
    }
    fill(path, color);
}

void Renderer::drawPolyline(const db::Polyline& pl, const Pen& pen, const Placement& at) {
    const auto& vs = pl.vertices();
    if (vs.empty()) return;
    const std::size_t n = vs.size();
    const bool closed = pl.isClosed() && n > 1;
    bool wide = pl.constantWidth() > 0;
    for (const auto& v : vs) wide = wide || v.startWidth > 0 || v.endWidth > 0;
    if (wide) {
        std::vector<Point2d> pts;
        std::vector<double> bulges;
        std::vector<std::pair<double, double>> widths;
        for (const auto& v : vs) {
            pts.push_back(v.point), bulges.push_back(v.bulge);
            widths.emplace_back(pl.constantWidth() > 0 ? pl.constantWidth() : v.startWidth,
                                pl.constantWidth() > 0 ? pl.constantWidth() : v.endWidth);
        }
        if (n > 1) drawWideSegments(pts, bulges, widths, closed, pl.elevation(), pl.normal(), pen.color, at);
        return;
    }
    std::vector<Point2d>& pts = chain_;
    pts.assign(1, vs[0].point);
    for (std::size_t i = 0; i + 1 < n; ++i)
        appendBulgeSegment(pts, vs[i].point, vs[i + 1].point, vs[i].bulge, at.tolerance());
    if (closed) {
        appendBulgeSegment(pts, vs[n - 1].point, vs[0].point, vs[n - 1].bulge, at.tolerance());
        pts.pop_back();
    }
    strokeOcs(pts, pl.elevation(), pl.normal(), closed, pen, at);
}

void Renderer::drawPolyline2d(const db::Polyline2d& pl, const Pen& pen, const Placement& at) {
    std::vector<Point2d> pts;
    std::vector<double> bulges;
    std::vector<std::pair<double, double>> widths;
    bool wide = false;
    for (const db::Vertex* v : pl.vertices()) {
        // The frame points of a fitted polyline only steer its curve; the curve's own points are drawn.
        if (v->flags() & 16) continue;
        pts.push_back({v->position().x, v->position().y});
        bulges.push_back(v->bulge());
        widths.emplace_back(v->startWidth(), v->endWidth());
        wide = wide || v->startWidth() > 0 || v->endWidth() > 0;
    }
    if (pts.empty()) return;
    const bool closed = pl.isClosed() && pts.size() > 1;
    if (wide && pts.size() > 1) {
        drawWideSegments(pts, bulges, widths, closed, pl.elevation(), pl.normal(), pen.color, at);
        return;
    }
    std::vector<Point2d> line{pts[0]};
    for (std::size_t i = 0; i + 1 < pts.size(); ++i)
        appendBulgeSegment(line, pts[i], pts[i + 1], bulges[i], at.tolerance());
    if (closed) {
        appendBulgeSegment(line, pts.back(), pts[0], bulges.back(), at.tolerance());
        line.pop_back();
    }
    strokeOcs(line, pl.elevation(), pl.normal(), closed, pen, at);
}

// The pattern lines of a hatch whose record gives none (some programs write only the pattern's name): a user
// pattern's one or two families from its angle and spacing, a predefined one's from the bundled pattern
// files, turned and scaled as the hatch says.
std::vector<db::HatchPatternLine> impliedPatternLines(const db::Hatch& h, const db::Database& db) {
    std::vector<db::HatchPatternLine> out;
    const double a = h.patternAngle(), s = h.patternScale() > 0 ? h.patternScale() : 1.0;
    if (h.patternType() == db::Hatch::PatternType::UserDefined) {
        const double space = h.patternSpace() > 0 ? h.patternSpace() : 1.0;
        for (int k = 0; k < (h.patternDouble() ? 2 : 1); ++k) {
            db::HatchPatternLine line;
            line.angle = a + k * db::kPi / 2;
            line.offset = {-std::sin(line.angle) * space, std::cos(line.angle) * space};
            out.push_back(line);
        }
        return out;
    }
    if (const db::HatchPatternDefinition* definition =
            db::findBundledHatchPattern(h.patternName(), db.measurement() == db::MeasurementSystem::Metric))
        out = db::hatchPatternLines(*definition, a, s);
    return out;
}

void Renderer::drawHatch(const db::Hatch& h, const Pen& pen, const Placement& at) {
    std::vector<std::vector<Point2d>> loops;
    QPainterPath area;
    area.setFillRule(Qt::OddEvenFill);
    for (const db::HatchLoop& loop : h.loops()) {
        std::vector<Point2d> pts = flattenLoop(loop, at.tolerance());
        if (pts.size() < 2) continue;
        QPolygonF poly;
        for (const Point2d& p : pts) poly << at.ocs({p.x, p.y, h.elevation()}, h.normal());
        area.addPolygon(poly);
        area.closeSubpath();
        loops.push_back(std::move(pts));
    }
    if (loops.empty()) return;
    if (h.isSolidFill()) {
        fill(area, pen.color);
        return;
    }
    Pen thin = pen;
    thin.linetype = nullptr;
    thin.width = std::min(pen.width, 1.0);
    QColor shade = pen.color;
    shade.setAlphaF(shade.alphaF() * 0.3);
    const std::vector<db::HatchPatternLine> implied =
        h.patternLines().empty() ? impliedPatternLines(h, db_) : std::vector<db::HatchPatternLine>{};
    for (const db::HatchPatternLine& line : h.patternLines().empty() ? implied : h.patternLines()) {
        const double spacing =
            std::abs(-std::sin(line.angle) * line.offset.x + std::cos(line.angle) * line.offset.y);
        bool tooMany = spacing * at.pixelsPerUnit() < kFinestHatchSpacingPixels;
        std::vector<std::pair<Point2d, Point2d>> segments;
        if (!tooMany) segments = patternSegments(line, loops, kMostHatchLines, &tooMany);
        if (tooMany) {
            // Too dense to show line by line: a light shade of the area says there is a pattern.
            fill(area, shade);
            return;
        }
        QPen qpen(thin.color, thin.width, Qt::SolidLine, Qt::FlatCap);
        painter_.setPen(qpen);
        for (const auto& [a, b] : segments) {
            const QPointF pa = at.ocs({a.x, a.y, h.elevation()}, h.normal());
            const QPointF pb = at.ocs({b.x, b.y, h.elevation()}, h.normal());
            if (a == b)
                painter_.drawPoint(pa);
            else
                painter_.drawLine(pa, pb);
        }
    }
}

// Adds a line of text to `path` in plane units: left end of its baseline at (x, y), y up.
/// The outline of a glyph, y down, baseline at 0. Outlines are read from the font file once: reading them is
/// most of the cost of drawing text (drawings repeat a few dozen glyphs many thousand times).
///
/// Fonts, their metrics and these caches are kept per thread: a picture may be drawn in bands on several
/// threads, and Qt's font objects may not be shared between threads.
const QPainterPath& glyphOutline(const QRawFont& font, quint32 glyph) {
    thread_local std::unordered_map<QString, std::unordered_map<quint32, QPainterPath>> outlines;
    auto& ofFont = outlines[font.familyName() + QLatin1Char('/') + font.styleName()];
    auto it = ofFont.find(glyph);
    if (it == ofFont.end()) it = ofFont.emplace(glyph, font.pathForGlyph(glyph)).first;
    return it->second;
}

/// A text shaped as one line in the shaping font (kerning, fallback fonts for missing characters): its glyph
/// runs, positioned y down with the baseline at 0.
QList<QGlyphRun> shapedRuns(const QString& text) {
    thread_local const QFont font = shapingFont();
    QTextLayout layout(text, font);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    if (!line.isValid()) return {};
    QList<QGlyphRun> runs = layout.glyphRuns();
    for (QGlyphRun& run : runs) {
        QList<QPointF> positions = run.positions();
        for (QPointF& p : positions) p.ry() -= line.ascent();
        run.setPositions(positions);
    }
    return runs;
}

/// From shaping-font pixels (y down, baseline at 0) to the text's plane: scaled to its height and width
/// factor, y up, slanted right by the oblique angle, its start at (x, y).
QTransform runPlacement(double x, double y, double height, double widthFactor, double oblique) {
    static const double capHeight = QFontMetricsF(shapingFont()).capHeight();
    const double k = height / capHeight;
    return QTransform(k * widthFactor, 0, -k * std::tan(oblique), -k, x, y);
}

/// The outlines of a text shaped as one line, in shaping-font pixels (y down, baseline at 0).
QPainterPath glyphOutlines(const QString& text) {
    QPainterPath glyphs;
    for (const QGlyphRun& run : shapedRuns(text)) {
        const QRawFont raw = run.rawFont();
        const QList<quint32> indexes = run.glyphIndexes();
        const QList<QPointF> positions = run.positions();
        for (qsizetype i = 0; i < indexes.size() && i < positions.size(); ++i)
            glyphs.addPath(glyphOutline(raw, indexes[i]).translated(positions[i]));
    }
    return glyphs;
}

void addTextRun(QPainterPath& path, const QString& text, double x, double y, double height,
                double widthFactor, double oblique = 0.0) {
    path.addPath(runPlacement(x, y, height, widthFactor, oblique).map(glyphOutlines(text)));
}

double textAdvance(const QString& text, double height, double widthFactor) {
    thread_local const QFont font = shapingFont();
    thread_local const QFontMetricsF metrics(font);
    return metrics.horizontalAdvance(text) * height / metrics.capHeight() * widthFactor;
}

double descentRatio() {
    thread_local const QFontMetricsF metrics(shapingFont());
    return metrics.descent() / metrics.capHeight();
}

double Renderer::greekAdvance(const QString& text, double height, double widthFactor) const {
    thread_local const QFontMetricsF metrics(shapingFont());
    static std::array<double, 256> latin = [] {
        std::array<double, 256> a{};
        for (int c = 0; c < 256; ++c) a[static_cast<std::size_t>(c)] = metrics.horizontalAdvance(QChar(c));
        return a;
    }();
    double sum = 0.0;
    for (const QChar c : text) sum += c.unicode() < 256 ? latin[c.unicode()] : metrics.horizontalAdvance(c);
    return sum * height / metrics.capHeight() * widthFactor;
}

// Text too small to read, as the box its letters fill (`box` in the text's plane, mapped by `toPx`) in a
// lighter shade of its colour; a box thinner than a pixel and a half as a line along its middle.
void Renderer::drawGreeked(const QTransform& toPx, const QRectF& box, const QColor& color) {
    QColor ink = color;
    ink.setAlphaF(ink.alphaF() * kGreekedInk);
    const QPointF corners[4] = {toPx.map(box.topLeft()), toPx.map(box.topRight()),
                                toPx.map(box.bottomRight()), toPx.map(box.bottomLeft())};
    if (QLineF(corners[0], corners[3]).length() < 1.5) {
        const QPointF from = (corners[0] + corners[3]) / 2, to = (corners[1] + corners[2]) / 2;
        if (linePen_.color() != ink || linePen_.widthF() != 1.0)
            linePen_ = QPen(ink, 1.0, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin);
        painter_.setPen(linePen_);
        painter_.drawLine(from, to);
        return;
    }
    painter_.setPen(Qt::NoPen);
    painter_.setBrush(ink);
    painter_.drawPolygon(corners, 4);
    painter_.setBrush(Qt::NoBrush);
}

void Renderer::drawText(const db::Text& t, const Pen& pen, const Placement& at) {
    const QString text = decodeTextCodes(t.textString());
    if (text.isEmpty() || !(t.height() > 0) || !canShapeText()) return;
    double height = t.height(), widthFactor = t.widthFactor() > 0 ? t.widthFactor() : 1.0;
    const Vector3d normal = t.normal();
    using H = db::Text::HorizontalMode;
    using V = db::Text::VerticalMode;
    const H hm = t.horizontalMode();
    const V vm = t.verticalMode();
    const bool leftBaseline = hm == H::Left && vm == V::Baseline;
    const Point3d first = db::wcsToOcs(t.position(), normal);
    const Point3d second = db::wcsToOcs(t.alignmentPoint(), normal);
    double rotation = t.rotation();
    // Text too small to read is drawn as its box on screens: its width is the sum of its characters'
    // advances, without shaping it.
    const bool greeked = options_.levelOfDetail && height * at.pixelsPerUnit() < kGreekingPixels;
    double advance =
        greeked ? greekAdvance(text, height, widthFactor) : textAdvance(text, height, widthFactor);
    Point3d anchor = leftBaseline ? first : second;
    double x = 0.0, y = 0.0;
    if (hm == H::Aligned || hm == H::Fit) {
        // The text runs from the first point to the second: aligned keeps its proportions, fit its height.
        const double dx = second.x - first.x, dy = second.y - first.y, span = std::hypot(dx, dy);
        if (span > 0 && advance > 0) {
            rotation = std::atan2(dy, dx);
            if (hm == H::Aligned)
                height *= span / advance;
            else
                widthFactor *= span / advance;
            advance = span;
        }
        anchor = first;
    } else if (hm == H::Center) {
        x = -advance / 2;
    } else if (hm == H::Right) {
        x = -advance;
    } else if (hm == H::Middle) {
        x = -advance / 2, y = -height / 2;
    }
    if (hm != H::Middle) {
        if (vm == V::Bottom)
            y = descentRatio() * height;
        else if (vm == V::Middle)
            y = -height / 2;
        else if (vm == V::Top)
            y = -height;
    }
    const std::int16_t gen = t.generationFlags();
    QTransform mirror;
    if (gen & 2) mirror.scale(-1, 1);  // backwards
    if (gen & 4) mirror.scale(1, -1);  // upside down
    const Vector3d xAxis = db::ocsToWcs(Vector3d(std::cos(rotation), std::sin(rotation), 0), normal);
    const Vector3d yAxis = db::ocsToWcs(Vector3d(-std::sin(rotation), std::cos(rotation), 0), normal);
    const QTransform toPx = mirror * at.planeToPixels(db::ocsToWcs(anchor, normal), xAxis, yAxis);
    if (greeked) {
        drawGreeked(toPx, QRectF(x, y, advance, height), pen.color);
        return;
    }
    const QTransform glyphsToPx = runPlacement(x, y, height, widthFactor, t.oblique()) * toPx;
    if (painter_.device() && painter_.device()->devType() == QInternal::Image) {
        // Into a picture, glyphs are drawn from Qt's cache of rendered glyphs, kept per size and slant: most
        // texts of a drawing share a few heights, and rendering each outline again was most of a picture's
        // time.
        painter_.save();
        painter_.setTransform(glyphsToPx);
        painter_.setPen(pen.color);
        for (const QGlyphRun& run : shapedRuns(text)) painter_.drawGlyphRun(QPointF(0, 0), run);
        painter_.restore();
        return;
    }
    fill(glyphsToPx.map(glyphOutlines(text)), pen.color);
}

// Lays out multi-line text: paragraphs of runs, wrapped at `width` when it is set, placed by the attachment
// point (1 top left ... 9 bottom right) at `location`, the lines `spacing` times 5/3 of their height apart.
void Renderer::drawMText(const std::string& contents, const Point3d& location, const Vector3d& xDir,
                         const Vector3d& normal, double height, double width, int attachment, double spacing,
                         const Pen& pen, const Placement& at) {
    if (!(height > 0) || !canShapeText()) return;
    const bool greeked = options_.levelOfDetail && height * at.pixelsPerUnit() < kGreekingPixels;
    auto advanceOf = [&](const QString& s, double h, double widthFactor) {
        return greeked ? greekAdvance(s, h, widthFactor) : textAdvance(s, h, widthFactor);
    };
    struct Piece {
        QString text;
        double height, widthFactor, advance;
        QColor color;
        bool underline, overline, strikeThrough;
    };
    struct Line {
        std::vector<Piece> pieces;
        double width = 0.0, height = 0.0;
        std::optional<TextParagraph::Align> align;
    };
    std::vector<Line> lines;
    for (const TextParagraph& para : parseMText(contents, height)) {
        lines.emplace_back();
        lines.back().align = para.align;
        // Words (with the spaces after them) are the units a line breaks between.
        for (const TextRun& run : para.runs) {
            QColor color = pen.color;
            if (run.trueColor)
                color = *run.trueColor;
            else if (run.colorIndex)
                color = displayColor(db::Color::fromIndex(static_cast<std::uint8_t>(*run.colorIndex)));
            color.setAlpha(pen.color.alpha());
            QStringList words;
            if (run.nonBreaking)
                words << run.text;
            else {
                QString word;
                for (const QChar c : run.text) {
                    word += c;
                    if (c == QChar(' ')) words << word, word.clear();
                }
                if (!word.isEmpty()) words << word;
            }
            for (const QString& w : words) {
                const double adv = advanceOf(w, run.height, run.widthFactor);
                Line& line = lines.back();
                const double trimmed = advanceOf(w.trimmed(), run.height, run.widthFactor);
                if (width > 0 && !line.pieces.empty() && line.width + trimmed > width * 1.0001 &&
                    !run.nonBreaking) {
                    lines.emplace_back();
                    lines.back().align = para.align;
                }
                Line& target = lines.back();
                target.pieces.push_back({w, run.height, run.widthFactor, adv, color, run.underline,
                                         run.overline, run.strikeThrough});
                target.width += adv;
                target.height = std::max(target.height, run.height);
            }
        }
    }
    if (lines.empty()) return;
    for (Line& l : lines)
        if (l.height <= 0) l.height = height;
    const int col = (attachment - 1) % 3,
              row = (attachment - 1) / 3;  // 0 left/top, 1 centre/middle, 2 right/bottom
    double boxWidth = width;
    if (!(boxWidth > 0))
        for (const Line& l : lines) boxWidth = std::max(boxWidth, l.width);
    // Baselines from the top of the box down.
    std::vector<double> baselines;
    double y = -lines[0].height;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) y -= lines[i].height * 5.0 / 3.0 * (spacing > 0 ? spacing : 1.0);
        baselines.push_back(y);
    }
    const double boxHeight = -baselines.back();
    const double dy = row == 0 ? 0.0 : row == 1 ? boxHeight / 2 : boxHeight;
    const double dx = col == 0 ? 0.0 : col == 1 ? -boxWidth / 2 : -boxWidth;
    const Vector3d yDir = normal.normalized().cross(xDir.normalized());
    const QTransform toPx = at.planeToPixels(location, xDir.normalized(), yDir);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Line& l = lines[i];
        // A paragraph's own alignment, else the attachment's, places the line in the box.
        int align = col;
        if (l.align)
            align = *l.align == TextParagraph::Align::Left     ? 0
                    : *l.align == TextParagraph::Align::Center ? 1
                                                               : 2;
        // The space after a line's last word takes no room at its end.
        double shown = l.width;
        if (!l.pieces.empty()) {
            const Piece& last = l.pieces.back();
            QString trimmed = last.text;
            while (trimmed.endsWith(QChar(' '))) trimmed.chop(1);
            shown -= last.advance - advanceOf(trimmed, last.height, last.widthFactor);
        }
        double x = dx + (align == 0 ? 0.0 : align == 1 ? (boxWidth - shown) / 2 : boxWidth - shown);
        for (const Piece& p : l.pieces) {
            QPainterPath path;
            const double base = baselines[i] + dy;
            if (greeked) {
                const QString word = p.text.trimmed();
                if (!word.isEmpty())
                    drawGreeked(toPx, QRectF(x, base, advanceOf(word, p.height, p.widthFactor), p.height),
                                p.color);
                x += p.advance;
                continue;
            }
            addTextRun(path, p.text, x, base, p.height, p.widthFactor);
            // Lines under, over and through the text, a fifteenth of its height thick.
            for (const auto& [on, at] :
                 {std::pair{p.underline, -0.2}, {p.overline, 1.2}, {p.strikeThrough, 0.5}})
                if (on)
                    path.addRect(QRectF(x, base + at * p.height - p.height / 30, p.advance, p.height / 15));
            fill(toPx.map(path), p.color);
            x += p.advance;
        }
    }
}

void Renderer::drawBlockContents(db::ObjectId block, const Matrix3d& m, const Inherited& inner, int depth) {
    auto* btr = db::objectCast<db::BlockTableRecord>(block.peek());
    if (!btr || depth >= kMaxNesting || expanding_.count(btr)) return;
    expanding_.insert(btr);
    btr->forEachEntity([&](db::Entity* e) {
        // Attribute definitions are the templates of references' attributes, not drawn inside them, except
        // constant ones: references carry no attribute for those, the block shows their value.
        if (auto* def = db::objectCast<db::AttributeDefinition>(e);
            def && (!def->isConstant() || def->isInvisible()))
            return;
        drawEntity(*e, m, inner, depth + 1);
    });
    expanding_.erase(btr);
}

// What the content of a block drawn for `owner` (a reference, a dimension) takes for its by-block properties
// and for layer "0": the owner's own, resolved.
Inherited Renderer::inheritFrom(const db::Entity& owner, const Pen& pen, const db::LayerTableRecord* layer,
                                const Inherited& in) const {
    Inherited inner = in;
    inner.inBlock = true;
    inner.layer = layer;
    db::Color color = owner.color();
    if (color.isByLayer())
        color = layer ? layer->color() : db::Color::fromIndex(7);
    else if (color.isByBlock())
        color = in.inBlock ? in.color : db::Color::fromIndex(7);
    inner.color = color;
    const db::DbObject* linetype = owner.linetypeId().peek();
    if (isNamed(linetype, "ByLayer")) linetype = layer ? layer->linetypeId().peek() : nullptr;
    if (isNamed(linetype, "ByBlock")) linetype = in.linetype.peek();
    inner.linetype = linetype ? linetype->objectId() : db::ObjectId();
    int weight = static_cast<int>(owner.lineWeight());
    if (weight == static_cast<int>(db::LineWeight::ByLayer))
        weight = layer ? static_cast<int>(layer->lineWeight()) : kDefaultLineweight;
    if (weight == static_cast<int>(db::LineWeight::ByBlock))
        weight = in.inBlock ? in.lineweight : kDefaultLineweight;
    inner.lineweight = weight < 0 ? kDefaultLineweight : weight;
    inner.alpha = static_cast<std::uint8_t>(pen.color.alpha());
    return inner;
}

void Renderer::drawReference(const db::BlockReference& ref, const Pen& pen, const db::LayerTableRecord* layer,
                             const Matrix3d& m, const Inherited& in, int depth) {
    Inherited inner = inheritFrom(ref, pen, layer, in);
    const Matrix3d place = ref.blockTransform();
    const int columns = std::max<int>(1, ref.columnCount()), rows = std::max<int>(1, ref.rowCount());
    const double rot = ref.rotation();
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) {
            // Array cells step along the reference's rotated axes in its plane, by unscaled spacings.
            const double ox = c * ref.columnSpacing(), oy = r * ref.rowSpacing();
            const Vector3d offset = db::ocsToWcs(
                Vector3d(ox * std::cos(rot) - oy * std::sin(rot), ox * std::sin(rot) + oy * std::cos(rot), 0),
                ref.normal());
            drawBlockContents(ref.blockTableRecord(), m * Matrix3d::translation(offset) * place, inner,
                              depth);
        }
    // Attributes are held in world coordinates already; they follow the reference's by-block properties.
    for (const db::ObjectId& id : ref.attributes()) {
        auto* attribute = db::objectCast<db::Attribute>(id.peek());
        if (!attribute || (attribute->isErased() && !in.ghost) || attribute->isInvisible()) continue;
        drawEntity(*attribute, m, inner, depth + 1);
    }
}

void Renderer::drawEntity(const db::Entity& e, const Matrix3d& m, const Inherited& in, int depth) {
    Pen pen;
    const db::LayerTableRecord* layer = nullptr;
    if (!resolve(e, in, pen, layer)) return;
    const Placement at(frame_.toPixels, m);
    const double patternPixels = pen.linetypeScale * at.pixelsPerUnit();

    if (auto* line = db::objectCast<db::Line>(&e)) {
        std::vector<QPointF>& ends = scratch_;
        ends.assign({at(line->startPoint()), at(line->endPoint())});
        stroke(ends, false, pen, patternPixels);
    } else if (auto* circle = db::objectCast<db::Circle>(&e)) {
        const Point3d c = db::wcsToOcs(circle->center(), circle->normal());
        const int n = std::max(8, arcSegments(circle->radius(), db::kTwoPi, at.tolerance()));
        std::vector<QPointF> pts;
        for (int i = 0; i < n; ++i) {
            const double a = db::kTwoPi * i / n;
            pts.push_back(
                at.ocs({c.x + circle->radius() * std::cos(a), c.y + circle->radius() * std::sin(a), c.z},
                       circle->normal()));
        }
        stroke(pts, true, pen, patternPixels);
    } else if (auto* arc = db::objectCast<db::Arc>(&e)) {
        const double sweep = arc->totalAngle();
        const int n = arcSegments(arc->radius(), sweep, at.tolerance());
        std::vector<QPointF> pts;
        for (int i = 0; i <= n; ++i) pts.push_back(at(arc->pointAtAngle(arc->startAngle() + sweep * i / n)));
        stroke(pts, false, pen, patternPixels);
    } else if (auto* ellipse = db::objectCast<db::Ellipse>(&e)) {
        double t0 = ellipse->startParam(), sweep = db::sweepAngle(t0, ellipse->endParam());
        if (ellipse->isClosed()) sweep = db::kTwoPi;
        const int n = std::max(8, arcSegments(ellipse->majorRadius(), sweep, at.tolerance()));
        std::vector<QPointF> pts;
        for (int i = 0; i <= n; ++i) pts.push_back(at(ellipse->pointAtParam(t0 + sweep * i / n)));
        if (ellipse->isClosed()) pts.pop_back();
        stroke(pts, ellipse->isClosed(), pen, patternPixels);
    } else if (auto* spline = db::objectCast<db::Spline>(&e)) {
        std::vector<QPointF> pts;
        for (const Point3d& p : flattenSpline(*spline, at.tolerance())) pts.push_back(at(p));
        stroke(pts, false, pen, patternPixels);
    } else if (auto* pl = db::objectCast<db::Polyline>(&e)) {
        drawPolyline(*pl, pen, at);
    } else if (auto* pl2 = db::objectCast<db::Polyline2d>(&e)) {
        drawPolyline2d(*pl2, pen, at);
    } else if (auto* pl3 = db::objectCast<db::Polyline3d>(&e)) {
        std::vector<QPointF> pts;
        for (const db::Vertex* v : pl3->vertices())
            if (!(v->flags() & 16)) pts.push_back(at(v->position()));
        stroke(pts, pl3->isClosed(), pen, patternPixels);
    } else if (auto* mesh = db::objectCast<db::PolyFaceMesh>(&e)) {
        std::vector<Point3d> points;
        for (const db::Vertex* v : mesh->vertices()) {
            if (db::objectCast<db::FaceRecord>(v)) {
                const auto& idx = v->faceIndices();
                const int corners = idx[3] == 0 ? 3 : 4;
                for (int k = 0; k < corners; ++k) {
                    const int a = idx[k], b = idx[(k + 1) % corners];
                    if (a <= 0 || b == 0) continue;  // a negative corner starts an invisible edge
                    const std::size_t ia = static_cast<std::size_t>(a) - 1,
                                      ib = static_cast<std::size_t>(std::abs(b)) - 1;
                    if (ia < points.size() && ib < points.size())
                        stroke({at(points[ia]), at(points[ib])}, false, pen, 0);
                }
            } else {
                points.push_back(v->position());
            }
        }
    } else if (auto* grid = db::objectCast<db::PolygonMesh>(&e)) {
        std::vector<Point3d> points;
        for (const db::Vertex* v : grid->vertices()) points.push_back(v->position());
        const std::size_t mCount = static_cast<std::size_t>(std::max<int>(grid->mSize(), 1));
        const std::size_t nCount = points.size() / mCount;
        for (std::size_t i = 0; i < mCount && nCount > 0; ++i)
            for (std::size_t j = 0; j < nCount; ++j) {
                const Point3d& p = points[i * nCount + j];
                if (j + 1 < nCount) stroke({at(p), at(points[i * nCount + j + 1])}, false, pen, 0);
                if (i + 1 < mCount) stroke({at(p), at(points[(i + 1) * nCount + j])}, false, pen, 0);
            }
    } else if (auto* point = db::objectCast<db::PointEntity>(&e)) {
        Pen dot = pen;
        dot.width = std::max(pen.width, 3.0);
        stroke({at(point->position())}, false, dot, 0);
    } else if (db::objectCast<db::Solid>(&e) || db::objectCast<db::Trace>(&e)) {
        // Their shared base has no class of its own to ask for.
        auto* quad = static_cast<const db::OcsQuadrilateral*>(&e);
        QPolygonF poly;
        for (const std::size_t i : {0, 1, 3, 2}) poly << at(quad->corner(i));
        QPainterPath path;
        path.setFillRule(Qt::WindingFill);
        path.addPolygon(poly);
        fill(path, pen.color);
    } else if (auto* face = db::objectCast<db::Face>(&e)) {
        for (std::size_t i = 0; i < 4; ++i)
            if (face->isEdgeVisible(i))
                stroke({at(face->corner(i)), at(face->corner((i + 1) % 4))}, false, pen, 0);
    } else if (auto* hatch = db::objectCast<db::Hatch>(&e)) {
        drawHatch(*hatch, pen, at);
    } else if (auto* text = db::objectCast<db::Text>(&e)) {
        // Attribute definitions show their tag where they stand outside blocks (inside, only constant ones
        // get here, showing their value).
        if (auto* def = db::objectCast<db::AttributeDefinition>(&e); def && !in.inBlock) {
            std::unique_ptr<db::DbObject> copy = def->clone();
            auto* shown = static_cast<db::AttributeDefinition*>(copy.get());
            shown->setTextString(def->tag());
            drawText(*shown, pen, at);
        } else {
            drawText(*text, pen, at);
        }
    } else if (auto* mtext = db::objectCast<db::MText>(&e)) {
        drawMText(mtext->contents(), mtext->location(), mtext->direction(), mtext->normal(),
                  mtext->textHeight(), mtext->width(), static_cast<int>(mtext->attachment()),
                  mtext->lineSpacingFactor(), pen, at);
    } else if (auto* ref = db::objectCast<db::BlockReference>(&e)) {
        drawReference(*ref, pen, layer, m, in, depth);
    } else if (auto* dim = db::objectCast<db::Dimension>(&e)) {
        // The block holds the dimension's drawing in world coordinates, or relative to its insertion point.
        Matrix3d place = m;
        if (dim->insertionPoint())
            place = m * Matrix3d::translation(db::ocsToWcs(*dim->insertionPoint(), dim->normal()).asVector());
        drawBlockContents(dim->dimensionBlock(), place, inheritFrom(*dim, pen, layer, in), depth);
    } else if (auto* leader = db::objectCast<db::Leader>(&e)) {
        std::vector<QPointF> pts;
        for (const Point3d& p : leader->vertices()) pts.push_back(at(p));
        stroke(pts, false, pen, patternPixels);
    } else if (auto* mleader = db::objectCast<db::MLeader>(&e)) {
        const db::MLeader::Geometry g = mleader->geometry();
        for (const auto& line : g.lines) {
            std::vector<QPointF> pts;
            for (const Point3d& p : line) pts.push_back(at(p));
            stroke(pts, false, pen, patternPixels);
        }
        for (const auto& [a, b] : g.landings) stroke({at(a), at(b)}, false, pen, patternPixels);
        if (g.hasText)
            drawMText(g.text, g.textLocation, g.textDirection, g.textNormal, g.textHeight, g.textWidth, 1,
                      1.0, pen, at);
    } else if (auto* image = db::objectCast<db::RasterImage>(&e)) {
        std::vector<QPointF> pts;
        for (const Point3d& p : image->clipBoundaryWcs()) pts.push_back(at(p));
        if (pts.size() > 1 && pts.front() == pts.back()) pts.pop_back();
        if (db::objectCast<db::Wipeout>(&e)) {
            // A wipeout hides what was drawn before it.
            QPainterPath mask;
            mask.addPolygon(QPolygonF(pts.begin(), pts.end()));
            mask.closeSubpath();
            fill(mask, backgroundColor(options_));
        }
        stroke(pts, true, pen, 0);
    } else if (auto* viewport = db::objectCast<db::Viewport>(&e)) {
        // The layout's own viewport (number 1) is the sheet, not a frame on it.
        if (viewport->isOn() && viewport->status() != 1) {
            const Point3d c = viewport->centerPoint();
            const double w = viewport->width() / 2, h = viewport->height() / 2;
            stroke({at({c.x - w, c.y - h, c.z}), at({c.x + w, c.y - h, c.z}), at({c.x + w, c.y + h, c.z}),
                    at({c.x - w, c.y + h, c.z})},
                   true, pen, 0);
        }
    } else if (db::objectCast<db::Xline>(&e) || db::objectCast<db::Ray>(&e)) {
        auto* xline = static_cast<const db::ConstructionLine*>(&e);
        // Infinite lines reach past the shown window; rays start at their base point.
        const Vector3d d = xline->unitDir().normalized();
        const double far = 2.0 * (frame_.shown.maxPoint() - frame_.shown.minPoint()).length() +
                           (xline->basePoint() - frame_.shown.center()).length();
        const bool ray = db::objectCast<db::Ray>(&e) != nullptr;
        stroke(
            {at(ray ? xline->basePoint() : xline->basePoint() - d * far), at(xline->basePoint() + d * far)},
            false, pen, patternPixels);
    } else if (auto* mline = db::objectCast<db::Mline>(&e)) {
        // Each of the style's lines through the vertices, at its offset along the miters the file worked out.
        const auto& vs = mline->vertices();
        const std::size_t lines = vs.empty() ? 0 : vs.front().elements.size();
        for (std::size_t k = 0; k < lines; ++k) {
            std::vector<QPointF> pts;
            for (const auto& v : vs) {
                const double offset =
                    k < v.elements.size() && !v.elements[k].params.empty() ? v.elements[k].params[0] : 0.0;
                pts.push_back(at(v.position + v.miter * offset));
            }
            stroke(pts, mline->isClosed(), pen, patternPixels);
        }
    } else if (auto* mesh = db::objectCast<db::SubDMesh>(&e)) {
        const auto& points = mesh->vertices();
        for (const auto& face : mesh->faces()) {
            std::vector<QPointF> pts;
            for (const std::int32_t i : face)
                if (i >= 0 && static_cast<std::size_t>(i) < points.size())
                    pts.push_back(at(points[static_cast<std::size_t>(i)]));
            stroke(pts, true, pen, 0);
        }
    } else if (auto* ole = db::objectCast<db::Ole2Frame>(&e)) {
        const Point3d a = ole->upperLeft(), b = ole->lowerRight();
        stroke({at(a), at({b.x, a.y, a.z}), at(b), at({a.x, b.y, b.z})}, true, pen, 0);
    }
    // Other kinds (unknown records kept as they came, solids of the modeler, shapes) have no plan outline we
    // could draw without guessing: they are left out.
}

void Renderer::drawTopLevel(const db::Entity& e, std::optional<QColor> overrideColor, bool ghost) {
    if (!ghost) {
        // Hidden entities are not drawn and get no label either; this is cheaper to ask than their extents.
        const db::LayerTableRecord* layer = db::objectCast<db::LayerTableRecord>(e.layerId().peek());
        if (!e.isVisible() || (layer && (layer->isOff() || layer->isFrozen()))) return;
    }
    // What the spatial index found is near the window already; its box is asked again only for a label.
    const bool found = options_.index && !ghost;
    db::Extents3d box;
    bool hasBox = false;
    if (!found || options_.handleLabels)
        hasBox = e.getGeomExtents(box) == db::ErrorStatus::Ok && box.isValid();
    else if (options_.levelOfDetail)
        hasBox = screenBox(e, box);
    if (hasBox && !found) {
        // Cheap rejection of what lies outside the window. Boxes of text are estimates that may fall short by
        // about a text height, hence the slack.
        const db::Point3d &lo = shownTest_.minPoint(), &hi = shownTest_.maxPoint();
        const double height = box.maxPoint().y - box.minPoint().y;
        const double slackX = (hi.x - lo.x) * 0.02 + height, slackY = (hi.y - lo.y) * 0.02 + height;
        if (box.maxPoint().x < lo.x - slackX || box.minPoint().x > hi.x + slackX ||
            box.maxPoint().y < lo.y - slackY || box.minPoint().y > hi.y + slackY)
            return;
    }
    Inherited top;
    top.overrideColor = overrideColor;
    top.ghost = ghost;
    if (!(options_.levelOfDetail && hasBox && drawnAsDot(e, box, top))) drawEntity(e, Matrix3d(), top, 0);
    if (options_.handleLabels && !ghost && hasBox && (labelled_.empty() || labelled_.count(e.objectId()))) {
        const Point3d c = box.center();
        const QPointF at = frame_.toPixels.map(QPointF(c.x, c.y));
        // A label off the picture would point at nothing the reader sees.
        if (QRectF(QPointF(0, 0), QSizeF(frame_.size)).contains(at)) {
            if (labels_.size() < options_.maxLabels)
                labels_.push_back({e.objectId(), QString::fromStdString(e.handle().toText()), at});
            else
                ++labelsLeftOut_;
        }
    }
}

// A box around an entity, enough to tell whether it is smaller than a pixel: the exact box where it is cheap,
// else a box that may be larger (the chords of a polyline's arcs widened by their bulge), which only makes
// fewer entities dots; what is not plain in plan asks the entity.
bool screenBox(const db::Entity& e, db::Extents3d& box) {
    if (auto* line = db::objectCast<db::Line>(&e)) {
        box = db::Extents3d(line->startPoint(), line->endPoint());
        return true;
    }
    if (auto* circle = db::objectCast<db::Circle>(&e);
        circle && circle->normal().x == 0.0 && circle->normal().y == 0.0 && circle->normal().z > 0.0) {
        const db::Point3d& c = circle->center();
        const double r = circle->radius();
        box = db::Extents3d(db::Point3d(c.x - r, c.y - r, c.z), db::Point3d(c.x + r, c.y + r, c.z));
        return true;
    }
    if (auto* pl = db::objectCast<db::Polyline>(&e);
        pl && pl->normal().x == 0.0 && pl->normal().y == 0.0 && pl->normal().z > 0.0) {
        const auto& vs = pl->vertices();
        if (vs.empty()) return false;
        double x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
        const std::size_t n = vs.size(), segments = pl->isClosed() ? n : n - 1;
        auto take = [&](const Point2d& p, double grow) {
            x0 = std::min(x0, p.x - grow), y0 = std::min(y0, p.y - grow);
            x1 = std::max(x1, p.x + grow), y1 = std::max(y1, p.y + grow);
        };
        for (std::size_t i = 0; i < n; ++i) {
            const Point2d& p = vs[i].point;
            take(p, 0.0);
            if (vs[i].bulge != 0.0 && i < segments) {
                // An arc of bulge b <= 1 strays at most b times half its chord from it; larger arcs are
                // asked.
                const double b = std::abs(vs[i].bulge);
                if (b > 1.0) return e.getGeomExtents(box) == db::ErrorStatus::Ok && box.isValid();
                const Point2d& q = vs[(i + 1) % n].point;
                const double grow = b * std::hypot(q.x - p.x, q.y - p.y) / 2;
                take(p, grow), take(q, grow);
            }
        }
        box = db::Extents3d(db::Point3d(x0, y0, pl->elevation()), db::Point3d(x1, y1, pl->elevation()));
        return box.isValid();
    }
    return e.getGeomExtents(box) == db::ErrorStatus::Ok && box.isValid();
}

// On screens, an entity of a kind that always leaves ink, whose box is smaller than a pixel, is drawn as the
// pixel its box's centre falls in, in its colour: the drawing keeps its density when zoomed out, and costs a
// fraction of drawing every entity in full.
bool Renderer::drawnAsDot(const db::Entity& e, const db::Extents3d& box, const Inherited& top) {
    const QPointF lo = frame_.toPixels.map(QPointF(box.minPoint().x, box.minPoint().y));
    const QPointF hi = frame_.toPixels.map(QPointF(box.maxPoint().x, box.maxPoint().y));
    if (!(std::abs(hi.x() - lo.x()) < 1.0 && std::abs(hi.y() - lo.y()) < 1.0)) return false;
    const bool inks =
        db::objectCast<db::Curve>(&e) || db::objectCast<db::BlockReference>(&e) ||
        db::objectCast<db::Hatch>(&e) || db::objectCast<db::PointEntity>(&e) ||
        db::objectCast<db::Solid>(&e) || db::objectCast<db::Trace>(&e) || db::objectCast<db::Dimension>(&e) ||
        (db::objectCast<db::Text>(&e) && !static_cast<const db::Text&>(e).textString().empty()) ||
        (db::objectCast<db::MText>(&e) && !static_cast<const db::MText&>(e).contents().empty());
    if (!inks) return false;
    Pen pen;
    const db::LayerTableRecord* layer = nullptr;
    if (resolve(e, top, pen, layer)) plot((lo + hi) / 2, pen.color);
    return true;
}

void Renderer::plot(const QPointF& at, const QColor& color) {
    if (!std::isfinite(at.x()) || !std::isfinite(at.y())) return;
    const QPoint px(static_cast<int>(std::floor(at.x())), static_cast<int>(std::floor(at.y())));
    if (!areaPixels_.contains(px)) return;
    if (!image_) {
        painter_.fillRect(QRect(px, QSize(1, 1)), color);
        return;
    }
    QRgb& dst = reinterpret_cast<QRgb*>(image_->scanLine(px.y()))[px.x()];
    const QRgb src = qPremultiply(color.rgba());
    const int keep = 255 - qAlpha(src);
    auto mix = [&](int s, int d) { return s + (d * keep + 127) / 255; };
    dst = qRgba(mix(qRed(src), qRed(dst)), mix(qGreen(src), qGreen(dst)), mix(qBlue(src), qBlue(dst)),
                mix(qAlpha(src), qAlpha(dst)));
}

void Renderer::drawLabels() {
    if (options_.report) {
        options_.report->labels = labels_;
        options_.report->labelsLeftOut = labelsLeftOut_;
    }
    if (labels_.empty() || !canShapeText()) return;
    QFont font(fontFamily());
    font.setPixelSize(11);
    painter_.setFont(font);
    const QFontMetricsF metrics(font);
    const QColor ink = options_.dark ? QColor(255, 210, 0) : QColor(0, 80, 200);
    QColor box = backgroundColor(options_);
    box.setAlpha(200);
    for (const Label& l : labels_) {
        QRectF r = metrics.boundingRect(l.text);
        r.moveCenter(l.at);
        r.adjust(-2, -1, 2, 1);
        painter_.setPen(Qt::NoPen);
        painter_.setBrush(box);
        painter_.drawRect(r);
        painter_.setPen(ink);
        painter_.drawText(r, Qt::AlignCenter, l.text);
    }
    painter_.setBrush(Qt::NoBrush);
}

// Whether an entity drawn into part of a picture may leave ink there. Boxes of curves hold their ink but for
// the pen's width and antialiasing; boxes of text and what holds text (references, dimensions) are estimates
// that may fall short by about a text height, hence their slack, as for the whole picture.
bool Renderer::nearArea(const db::Entity& e) const {
    db::Extents3d box;
    if (!screenBox(e, box)) return true;
    bool exact = db::objectCast<db::Curve>(&e) != nullptr && !db::objectCast<db::Polyline2d>(&e);
    if (auto* pl = db::objectCast<db::Polyline>(&e)) {
        // Widths are not in the box.
        exact = !(pl->constantWidth() > 0) &&
                std::none_of(pl->vertices().begin(), pl->vertices().end(),
                             [](const auto& v) { return v.startWidth > 0 || v.endWidth > 0; });
    }
    const double ppu = std::max(std::abs(frame_.toPixels.m11()), 1e-300);
    const double slack = kAreaMarginPixels / ppu + (exact ? 0.0 : box.maxPoint().y - box.minPoint().y);
    const db::Point3d &lo = area_->minPoint(), &hi = area_->maxPoint();
    return !(box.maxPoint().x < lo.x - slack || box.minPoint().x > hi.x + slack ||
             box.maxPoint().y < lo.y - slack || box.minPoint().y > hi.y + slack);
}

void Renderer::drawSpace(const db::BlockTableRecord& space) {
    // Counting a space's entities walks them all: only done for a caller that follows the progress.
    const std::size_t total = options_.progress ? space.entityCount() + options_.ghosts.size() : 0;
    std::size_t done = 0;
    // The one loop over a space's entities: each is tested against the window and drawn on its own.
    auto draw = [&](db::Entity* e) {
        if (area_ && !nearArea(*e)) return;
        std::optional<QColor> over;
        if (options_.highlight) over = options_.highlight(e->objectId());
        drawTopLevel(*e, over, false);
        if (options_.progress && (++done % 1024 == 0)) options_.progress(done, total);
    };
    if (options_.index) {
        // Only what lies near the window, in drawing order; the margin covers the estimated boxes of text.
        const db::Point3d &lo = shownTest_.minPoint(), &hi = shownTest_.maxPoint();
        const double mx = (hi.x - lo.x) * 0.05, my = (hi.y - lo.y) * 0.05;
        db::Point3d qlo(lo.x - mx, lo.y - my, 0), qhi(hi.x + mx, hi.y + my, 0);
        if (area_) {
            // Part of the picture: what the whole picture would visit, near the part.
            qlo = db::Point3d(std::max(qlo.x, area_->minPoint().x - mx),
                              std::max(qlo.y, area_->minPoint().y - my), 0);
            qhi = db::Point3d(std::min(qhi.x, area_->maxPoint().x + mx),
                              std::min(qhi.y, area_->maxPoint().y + my), 0);
        }
        if (qlo.x <= qhi.x && qlo.y <= qhi.y)
            for (const db::ObjectId& id : options_.index->query(space.objectId(), db::Extents3d(qlo, qhi)))
                if (auto* e = db::objectCast<db::Entity>(id.peek())) draw(e);
    } else {
        space.forEachEntity(draw);
    }
    done = options_.progress ? space.entityCount() : 0;
    for (const auto& [id, color] : options_.ghosts) {
        auto* e = db::objectCast<db::Entity>(id.peek());
        if (e) drawTopLevel(*e, color, true);
        ++done;
    }
    drawLabels();
    if (options_.progress) options_.progress(total, total);
}

const db::BlockTableRecord* spaceOf(const db::Database& db, const RenderOptions& options) {
    const db::ObjectId id = options.space.isNull() ? db.modelSpaceId() : options.space;
    return db::objectCast<db::BlockTableRecord>(id.peek());
}

bool layerShown(const db::Entity& e) {
    auto* layer = db::objectCast<db::LayerTableRecord>(e.layerId().peek());
    return e.isVisible() && !(layer && (layer->isOff() || layer->isFrozen()));
}

bool finiteBox(const db::Extents3d& box) {
    return box.isValid() && std::isfinite(box.minPoint().x) && std::isfinite(box.minPoint().y) &&
           std::isfinite(box.maxPoint().x) && std::isfinite(box.maxPoint().y);
}

}  // namespace

void showChanges(RenderOptions& options, const db::UndoManager::Changes& changes, const ChangeColors& colors) {
    auto created = std::make_shared<std::unordered_set<db::ObjectId>>(changes.created.begin(), changes.created.end());
    auto changed = std::make_shared<std::unordered_set<db::ObjectId>>(changes.changed.begin(), changes.changed.end());
    options.highlight = [created, changed, colors](db::ObjectId id) -> std::optional<QColor> {
        if (created->count(id)) return colors.created;
        if (changed->count(id)) return colors.changed;
        return std::nullopt;
    };
    for (const db::ObjectId& id : changes.erased) options.ghosts.emplace_back(id, colors.erased);
}

double lineweightPixels(int hundredthsOfMillimetre) {
    if (hundredthsOfMillimetre < 0) hundredthsOfMillimetre = kDefaultLineweight;
    return std::max(1.0, hundredthsOfMillimetre / 100.0 * 96.0 / 25.4);
}

QColor backgroundColor(const RenderOptions& options) {
    return options.dark ? QColor(33, 40, 48) : QColor(255, 255, 255);
}

db::Extents3d windowFor(const db::Database& db, const RenderOptions& options) {
    db::Extents3d window;
    if (options.window && finiteBox(*options.window)) {
        window = *options.window;
    } else {
        db::Extents3d content;
        for (const db::ObjectId& id : options.around) {
            auto* e = db::objectCast<db::Entity>(id.peek());
            db::Extents3d box;
            if (e && e->getGeomExtents(box) == db::ErrorStatus::Ok && finiteBox(box)) content.addExtents(box);
        }
        if (options.around.empty())
            if (const db::BlockTableRecord* space = spaceOf(db, options))
                space->forEachEntity([&](db::Entity* e) {
                    db::Extents3d box;
                    if (layerShown(*e) && e->getGeomExtents(box) == db::ErrorStatus::Ok && finiteBox(box))
                        content.addExtents(box);
                });
        if (!content.isValid()) content = db::Extents3d({0, 0, 0}, {1, 1, 0});
        const double w = content.maxPoint().x - content.minPoint().x,
                     h = content.maxPoint().y - content.minPoint().y;
        double mx = w * options.margin, my = h * options.margin;
        if (!(w > 0) && !(h > 0)) mx = my = 0.5;  // a lone point: a unit square around it
        window =
            db::Extents3d(content.minPoint() - Vector3d(mx, my, 0), content.maxPoint() + Vector3d(mx, my, 0));
    }
    return window;
}

Frame frameFor(const db::Database& db, const RenderOptions& options) {
    const db::Extents3d window = windowFor(db, options);
    const QSize size(std::max(1, options.size.width()), std::max(1, options.size.height()));
    double w = window.maxPoint().x - window.minPoint().x, h = window.maxPoint().y - window.minPoint().y;
    if (!(w > 0) && !(h > 0)) w = h = 1.0;
    const double scale = std::min(w > 0 ? size.width() / w : INFINITY, h > 0 ? size.height() / h : INFINITY);
    const Point3d c = window.center();
    Frame frame;
    frame.size = size;
    frame.toPixels =
        QTransform(scale, 0, 0, -scale, size.width() / 2.0 - c.x * scale, size.height() / 2.0 + c.y * scale);
    const double halfW = size.width() / 2.0 / scale, halfH = size.height() / 2.0 / scale;
    frame.shown = db::Extents3d({c.x - halfW, c.y - halfH, window.minPoint().z},
                                {c.x + halfW, c.y + halfH, window.maxPoint().z});
    return frame;
}

void render(const db::Database& db, QPainter& painter, const RenderOptions& options) {
    const Frame frame = frameFor(db, options);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.fillRect(QRectF(0, 0, frame.size.width(), frame.size.height()), backgroundColor(options));
    if (const db::BlockTableRecord* space = spaceOf(db, options))
        Renderer(db, painter, options, frame).drawSpace(*space);
    painter.restore();
}

void renderArea(const db::Database& db, QPainter& painter, const RenderOptions& options, const Frame& frame,
                const QRect& area) {
    const QRect part = area.intersected(QRect(QPoint(0, 0), frame.size));
    if (part.isEmpty()) return;
    painter.save();
    painter.setClipRect(part);
    painter.setRenderHint(QPainter::Antialiasing, true);
    // The background straight into a picture in memory: the painter would hand a large fill to its pool of
    // threads, which costs more than it saves on a screen's picture drawn in bands.
    auto* image = painter.device() && painter.device()->devType() == QInternal::Image
                      ? static_cast<QImage*>(painter.device())
                      : nullptr;
    if (image && image->format() == QImage::Format_ARGB32_Premultiplied && painter.transform().isIdentity() &&
        image->rect().contains(part)) {
        const QRgb background = qPremultiply(backgroundColor(options).rgba());
        for (int y = part.top(); y <= part.bottom(); ++y)
            std::fill_n(reinterpret_cast<QRgb*>(image->scanLine(y)) + part.left(), part.width(), background);
    } else {
        painter.fillRect(part, backgroundColor(options));
    }
    // The whole picture visits what the whole picture would.
    const bool whole = part == QRect(QPoint(0, 0), frame.size);
    if (const db::BlockTableRecord* space = spaceOf(db, options))
        Renderer(db, painter, options, frame, whole ? nullptr : &part).drawSpace(*space);
    painter.restore();
}

std::vector<db::ObjectId> entitiesAt(const db::Database& db, const db::SpatialIndex& index,
                                     const db::Point3d& point, double tolerance, db::ObjectId space) {
    if (!(tolerance > 0) || !std::isfinite(tolerance) || !std::isfinite(point.x) || !std::isfinite(point.y))
        return {};
    RenderOptions options;
    options.space = space;
    options.window = db::Extents3d(db::Point3d(point.x - tolerance, point.y - tolerance, 0),
                                   db::Point3d(point.x + tolerance, point.y + tolerance, 0));
    constexpr int kPixels = 9;  // the tolerance is about four pixels of the picture the user clicked on
    options.size = QSize(kPixels, kPixels);
    options.lineweights = false;
    const Frame frame = frameFor(db, options);
    const db::ObjectId spaceId = space.isNull() ? db.modelSpaceId() : space;
    std::vector<db::ObjectId> candidates = index.queryPoint(spaceId, point, tolerance);
    std::vector<db::ObjectId> found;
    QImage image(options.size, QImage::Format_ARGB32_Premultiplied);
    for (auto it = candidates.rbegin(); it != candidates.rend(); ++it) {
        auto* e = db::objectCast<db::Entity>(it->peek());
        if (!e) continue;
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, true);
        Renderer(db, painter, options, frame).drawAlone(*e);
        painter.end();
        bool drawn = false;
        for (int y = 0; y < image.height() && !drawn; ++y) {
            const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            for (int x = 0; x < image.width() && !drawn; ++x) drawn = qAlpha(row[x]) > 0;
        }
        if (drawn) found.push_back(*it);
    }
    return found;
}

QRect drawnBounds(const db::Database& db, const RenderOptions& options, const Frame& frame,
                  const db::Entity& entity) {
    // A picture records what is drawn and the bounds of each stroke, fill and glyph run, pens included.
    QPicture recorded;
    QPainter painter(&recorded);
    painter.setRenderHint(QPainter::Antialiasing, true);
    Renderer(db, painter, options, frame).drawAlone(entity);
    painter.end();
    const QRect bounds = recorded.boundingRect();
    if (!bounds.isValid()) return {};
    // Antialiasing spreads a pixel beyond the stroke; rounding of the recorded bounds another.
    return bounds.adjusted(-2, -2, 2, 2).intersected(QRect(QPoint(0, 0), frame.size));
}

QImage renderImage(const db::Database& db, const RenderOptions& options) {
    const QSize size(std::max(1, options.size.width()), std::max(1, options.size.height()));
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(backgroundColor(options));
    QPainter painter(&image);
    render(db, painter, options);
    painter.end();
    return image;
}

namespace {

bool paintSvg(QSvgGenerator& svg, const db::Database& db, const RenderOptions& options, const QString& what,
              QString* error) {
    svg.setSize(options.size);
    svg.setViewBox(QRect(QPoint(0, 0), options.size));
    svg.setTitle(QStringLiteral("Drawing"));
    QPainter painter;
    if (!painter.begin(&svg)) {
        if (error) *error = QStringLiteral("cannot write %1").arg(what);
        return false;
    }
    render(db, painter, options);
    if (!painter.end()) {
        if (error) *error = QStringLiteral("cannot write %1").arg(what);
        return false;
    }
    return true;
}

}  // namespace

bool writeSvg(const db::Database& db, const RenderOptions& options, const QString& path, QString* error) {
    // Opened here first, so that a path that cannot be written is told with the system's reason.
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        if (error) *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    QSvgGenerator svg;
    svg.setOutputDevice(&file);
    if (!paintSvg(svg, db, options, path, error)) return false;
    file.close();
    if (file.error() != QFileDevice::NoError) {
        if (error) *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

bool writeSvg(const db::Database& db, const RenderOptions& options, QIODevice& device, QString* error) {
    QSvgGenerator svg;
    svg.setOutputDevice(&device);
    return paintSvg(svg, db, options, QStringLiteral("the picture"), error);
}

bool loadBundledFonts() {
    static std::once_flag once;
    static bool loaded = false;
    std::call_once(once, [] {
        for (const char* file : {"DejaVuSans.ttf", "DejaVuSans-Bold.ttf"}) {
            const QString path =
                QStringLiteral("/usr/share/fonts/truetype/dejavu/") + QString::fromLatin1(file);
            if (QFile::exists(path) && QFontDatabase::addApplicationFont(path) >= 0) loaded = true;
        }
    });
    return loaded;
}

}  // namespace vela::render

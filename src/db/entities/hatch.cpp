#include "db/entities/hatch.h"

#include <cmath>

#include "db/entities/spline.h"
#include "db/geometry/plane.h"
#include "db/geometry/plane_map.h"
#include "db/symbol_table.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Hatch, "AcDbHatch", "HATCH", Entity)

namespace {

double cross(const Point2d& a, const Point2d& b) { return a.x * b.y - a.y * b.x; }

// A spline edge as a free curve, to evaluate it.
Spline splineOf(const HatchEdge& e) {
    Spline s;
    std::vector<Point3d> pts;
    for (const Point2d& p : e.controlPoints) pts.push_back(p.to3d());
    if (s.setNurbsData(e.degree, pts, e.knots, e.rational ? e.weights : std::vector<double>{}) != ErrorStatus::Ok) {
        std::vector<Point3d> fit;
        for (const Point2d& p : e.fitPoints) fit.push_back(p.to3d());
        s.setFitData(fit);
    }
    return s;
}

// The arc or elliptic arc of an edge as center + cos(t) u + sin(t) v, t counter-clockwise from t0 to t1.
void arcFrame(const HatchEdge& e, Point2d& u, Point2d& v, double& t0, double& t1) {
    if (e.type == HatchEdge::Type::CircularArc) {
        u = {e.radius, 0}, v = {0, e.radius};
    } else {
        u = e.majorAxis;
        v = {-e.majorAxis.y * e.ratio, e.majorAxis.x * e.ratio};
    }
    // A clockwise arc from start to end covers the counter-clockwise sweep from end to start.
    t0 = e.counterClockwise ? e.startAngle : e.endAngle;
    t1 = e.counterClockwise ? e.endAngle : e.startAngle;
}

// Twice the signed area swept by the loop (Green's theorem), exact for lines and arcs.
double loopDoubleArea(const HatchLoop& loop) {
    double twice = 0.0;
    if (loop.isPolyline()) {
        const std::size_t n = loop.vertices.size();
        for (std::size_t i = 0; i < n; ++i) {
            if (!loop.closed && i + 1 == n) break;
            const HatchLoop::Vertex& va = loop.vertices[i];
            const Point2d a = va.point, b = loop.vertices[(i + 1) % n].point;
            twice += cross(a, b);
            if (va.bulge != 0.0 && (a.x != b.x || a.y != b.y)) {
                const double sweep = 4.0 * std::atan(std::abs(va.bulge));
                const double chord = std::hypot(b.x - a.x, b.y - a.y);
                const double r = chord / (2.0 * std::sin(sweep / 2.0));
                const double segment = r * r * (sweep - std::sin(sweep));  // twice the circular segment
                twice += va.bulge > 0 ? segment : -segment;
            }
        }
        return twice;
    }
    for (const HatchEdge& e : loop.edges) {
        switch (e.type) {
            case HatchEdge::Type::Line: twice += cross(e.start, e.end); break;
            case HatchEdge::Type::CircularArc:
            case HatchEdge::Type::EllipticArc: {
                Point2d u, v;
                double t0, t1;
                arcFrame(e, u, v, t0, t1);
                const double sweep = sweepAngle(t0, t1);
                const Point2d p0{e.center.x + u.x * std::cos(t0) + v.x * std::sin(t0),
                                 e.center.y + u.y * std::cos(t0) + v.y * std::sin(t0)};
                const Point2d p1{e.center.x + u.x * std::cos(t0 + sweep) + v.x * std::sin(t0 + sweep),
                                 e.center.y + u.y * std::cos(t0 + sweep) + v.y * std::sin(t0 + sweep)};
                const double ccw = cross(e.center, Point2d(p1.x - p0.x, p1.y - p0.y)) + cross(u, v) * sweep;
                twice += e.counterClockwise ? ccw : -ccw;
                break;
            }
            case HatchEdge::Type::Spline: {
                const Spline s = splineOf(e);
                if (s.knots().empty()) break;
                const double a = s.knots()[static_cast<std::size_t>(s.degree())];
                const double b = s.knots()[s.controlPoints().size()];
                constexpr int kSteps = 256;
                Point3d prev = s.evaluate(a);
                for (int i = 1; i <= kSteps; ++i) {
                    const Point3d p = s.evaluate(a + (b - a) * i / kSteps);
                    twice += prev.x * p.y - p.x * prev.y;
                    prev = p;
                }
                break;
            }
        }
    }
    return twice;
}

}  // namespace

void Hatch::setPattern(PatternType type, std::string_view name) {
    assertWriteEnabled();
    patternType_ = type;
    patternName_ = std::string(name);
    solid_ = namesEqual(name, "SOLID");
    if (solid_) patternLines_.clear();
}

ErrorStatus Hatch::appendLoop(HatchLoop loop) {
    if (loop.isPolyline() ? loop.vertices.size() < 2 : loop.edges.empty()) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    loops_.push_back(std::move(loop));
    return ErrorStatus::Ok;
}

ErrorStatus Hatch::removeLoopAt(std::size_t index) {
    if (index >= loops_.size()) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    loops_.erase(loops_.begin() + static_cast<std::ptrdiff_t>(index));
    return ErrorStatus::Ok;
}

double Hatch::area() const {
    // External loops add their area, the islands inside them remove theirs.
    double total = 0.0;
    for (const HatchLoop& loop : loops_) {
        const double a = std::abs(loopDoubleArea(loop)) / 2.0;
        total += (loop.flags & (HatchLoop::kExternal | HatchLoop::kOutermost)) ? a : -a;
    }
    return std::abs(total);
}

ErrorStatus Hatch::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    auto add = [&](const Point2d& p) { extents.addPoint(ocsToWcs(Point3d(p.x, p.y, elevation_), normal_)); };
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    auto addArc = [&](const Point2d& c, const Point2d& u, const Point2d& v, double t0, double t1) {
        const Point3d cw = ocsToWcs(Point3d(c.x, c.y, elevation_), normal_);
        addEllipticArcExtents(extents, cw, ax * u.x + ay * u.y, ax * v.x + ay * v.y, t0, t1);
    };
    for (const HatchLoop& loop : loops_) {
        if (loop.isPolyline()) {
            const std::size_t n = loop.vertices.size();
            for (std::size_t i = 0; i < n; ++i) {
                add(loop.vertices[i].point);
                if (!loop.closed && i + 1 == n) break;
                const HatchLoop::Vertex& va = loop.vertices[i];
                const Point2d& b = loop.vertices[(i + 1) % n].point;
                if (va.bulge == 0.0 || (va.point.x == b.x && va.point.y == b.y)) continue;
                const BulgeArc arc = bulgeToArc(va.point, b, va.bulge);
                addArc(arc.center, {arc.radius, 0}, {0, arc.radius}, arc.startAngle, arc.endAngle);
            }
            continue;
        }
        for (const HatchEdge& e : loop.edges) {
            switch (e.type) {
                case HatchEdge::Type::Line: add(e.start), add(e.end); break;
                case HatchEdge::Type::CircularArc:
                case HatchEdge::Type::EllipticArc: {
                    Point2d u, v;
                    double t0, t1;
                    arcFrame(e, u, v, t0, t1);
                    addArc(e.center, u, v, t0, t1);
                    break;
                }
                case HatchEdge::Type::Spline: {
                    Extents3d own;
                    if (splineOf(e).getGeomExtents(own) == ErrorStatus::Ok) {
                        add({own.minPoint().x, own.minPoint().y});
                        add({own.maxPoint().x, own.maxPoint().y});
                        add({own.minPoint().x, own.maxPoint().y});
                        add({own.maxPoint().x, own.minPoint().y});
                    }
                    break;
                }
            }
        }
    }
    return extents.isValid() ? ErrorStatus::Ok : ErrorStatus::InvalidInput;
}

ErrorStatus Hatch::transformBy(const Matrix3d& m) {
    PlaneMap map;
    if (ErrorStatus es = PlaneMap::make(m, normal_, elevation_, map); es != ErrorStatus::Ok) return es;
    const bool r = map.reflects();
    const double s = map.scale();
    std::vector<HatchLoop> loops = loops_;
    for (HatchLoop& loop : loops) {
        for (HatchLoop::Vertex& v : loop.vertices) {
            v.point = map.point(v.point);
            if (r) v.bulge = -v.bulge;
        }
        for (HatchEdge& e : loop.edges) {
            switch (e.type) {
                case HatchEdge::Type::Line:
                    e.start = map.point(e.start), e.end = map.point(e.end);
                    break;
                case HatchEdge::Type::CircularArc:
                    e.center = map.point(e.center);
                    e.radius *= s;
                    e.startAngle = map.angle(e.startAngle), e.endAngle = map.angle(e.endAngle);
                    if (r) e.counterClockwise = !e.counterClockwise;
                    break;
                case HatchEdge::Type::EllipticArc:
                    // Parameters are measured from the major axis, which maps onto the new major axis; under a
                    // reflection the minor axis turns around, so they run the other way.
                    e.center = map.point(e.center);
                    e.majorAxis = map.vector(e.majorAxis);
                    if (r) {
                        e.startAngle = normalizeAngle(-e.startAngle), e.endAngle = normalizeAngle(-e.endAngle);
                        e.counterClockwise = !e.counterClockwise;
                    }
                    break;
                case HatchEdge::Type::Spline:
                    for (Point2d& p : e.controlPoints) p = map.point(p);
                    for (Point2d& p : e.fitPoints) p = map.point(p);
                    e.startTangent = map.vector(e.startTangent), e.endTangent = map.vector(e.endTangent);
                    break;
            }
        }
    }
    const double rotation = map.angle(0.0);
    std::vector<HatchPatternLine> lines = patternLines_;
    for (HatchPatternLine& line : lines) {
        line.angle = map.angle(line.angle);
        line.base = map.point(line.base);
        line.offset = map.vector(line.offset);
        for (double& d : line.dashes) d *= s;
    }
    std::vector<Point2d> seeds = seedPoints_;
    for (Point2d& p : seeds) p = map.point(p);

    assertWriteEnabled();
    loops_ = std::move(loops);
    patternLines_ = std::move(lines);
    seedPoints_ = std::move(seeds);
    patternAngle_ = normalizeAngle(r ? rotation - patternAngle_ : rotation + patternAngle_);
    patternScale_ *= s;
    patternSpace_ *= s;
    elevation_ = map.newElevation();
    normal_ = map.newNormal();
    return ErrorStatus::Ok;
}

}  // namespace vela::db

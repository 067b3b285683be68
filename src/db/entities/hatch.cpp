#include "db/entities/hatch.h"

#include <cmath>

#include "db/database.h"
#include "db/entities/spline.h"
#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/geometry/plane_map.h"
#include "db/symbol_table.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Hatch, "AcDbHatch", "HATCH", Entity)

namespace {

// Clockwise arc and ellipse edges store their angles negated (as 360 - angle); our edges hold the geometric
// angles of their start and end, turning either way.
// Angles are kept as the file gives them (not brought into [0, 2pi)) so that they are written back unchanged.
double edgeAngleFromFile(double degrees, bool ccw) {
    return (ccw ? degrees : -degrees) * (kPi / 180.0);
}
double edgeAngleToFile(double radians, bool ccw) {
    return DxfWriteIo::toDegrees(ccw ? radians : -radians);
}

/// The start and end of an arc edge as a file gives them: degrees, negated for clockwise arcs, and 360 apart
/// for a full circle.
struct FileArcAngles {
    double start = 0.0, end = 0.0;
};

FileArcAngles fileAngles(const HatchEdge& e) {
    const bool full = std::abs(e.endAngle - e.startAngle) >= kTwoPi - 1e-12;
    const double s = edgeAngleToFile(e.startAngle, e.counterClockwise);
    return {s, full ? s + 360.0 : edgeAngleToFile(e.endAngle, e.counterClockwise)};
}

void setAngles(HatchEdge& e, const FileArcAngles& a) {
    e.startAngle = edgeAngleFromFile(a.start, e.counterClockwise);
    e.endAngle = edgeAngleFromFile(a.end, e.counterClockwise);
    // A full circle keeps its full sweep.
    if (std::abs(a.end - a.start) >= 360.0 - 1e-9) e.endAngle = e.startAngle + kTwoPi;
}

/// A control point of a spline edge with its weight, which files give right after the point.
struct WeightedPoint {
    Point2d point;
    double weight = 1.0;
};

std::vector<WeightedPoint> weightedPoints(const HatchEdge& e) {
    std::vector<WeightedPoint> points;
    points.reserve(e.controlPoints.size());
    for (std::size_t i = 0; i < e.controlPoints.size(); ++i)
        points.push_back({e.controlPoints[i], i < e.weights.size() ? e.weights[i] : 1.0});
    return points;
}

void setWeightedPoints(HatchEdge& e, const std::vector<WeightedPoint>& points) {
    e.controlPoints.clear();
    e.weights.clear();
    for (const WeightedPoint& p : points) {
        e.controlPoints.push_back(p.point);
        if (e.rational) e.weights.push_back(p.weight);
    }
}

template <class Io, class Edge>
void edgeFields(Io& io, Edge& e) {
    using Type = HatchEdge::Type;
    io.enumeration(72, e.type, Type::Line, Type::Spline, Type::Line);
    io.when(e.type == Type::Line, [&] {
        io.point2(10, e.start);
        io.point2(11, e.end);
    });
    const bool circular = e.type == Type::CircularArc, elliptic = e.type == Type::EllipticArc;
    io.when(circular || elliptic, [&] {
        io.point2(10, e.center);
        io.when(elliptic, [&] { io.point2(11, e.majorAxis); });
        io.real(40, circular ? e.radius : e.ratio);
        // The direction comes after the angles and says how to read them.
        io.converted([&] { return fileAngles(e); },
                     [&](auto& angles) {
                         io.real(50, angles.start);
                         io.real(51, angles.end);
                         io.boolean(73, e.counterClockwise);
                     },
                     [&](const auto& angles) { setAngles(e, angles); });
    });
    io.when(e.type == Type::Spline, [&] {
        io.i32(94, e.degree);
        io.boolean(73, e.rational);
        io.boolean(74, e.periodic);
        const ListCount knots = io.count(95, e.knots);
        const ListCount points = io.count(96, e.controlPoints);
        io.items(
            40, e.knots, [](auto& io, auto& k) { io.real(40, k); }, knots);
        io.converted([&] { return weightedPoints(e); },
                     [&](auto& weighted) {
                         io.items(
                             10, weighted,
                             [&](auto& io, auto& p) {
                                 io.point2(10, p.point);
                                 io.when(e.rational, [&] { io.real(42, p.weight); });
                             },
                             points);
                     },
                     [&](const auto& weighted) { setWeightedPoints(e, weighted); });
        io.list(97, 11, e.fitPoints, [](auto& io, auto& p) { io.point2(11, p); });
        io.optional(!e.fitPoints.empty(), [&] {
            io.point2(12, e.startTangent);
            io.point2(13, e.endTangent);
        });
    });
}

template <class Io, class Loop>
void loopFields(Io& io, Loop& loop) {
    io.i32(92, loop.flags);
    io.when(loop.isPolyline(), [&] {
        // Bulges are written for every vertex when any has one, and the flag says so. A reader takes them
        // whatever the flag says: a bulge left unread would end the vertex list and strand the vertices after
        // it.
        bool bulges = false;
        for (const auto& v : loop.vertices) bulges = bulges || v.bulge != 0.0;
        io.boolean(72, bulges);
        io.boolean(73, loop.closed);
        io.list(93, 10, loop.vertices, [&](auto& io, auto& v) {
            io.point2(10, v.point);
            io.optional(bulges, [&] { io.real(42, v.bulge); });
        });
    });
    io.when(!loop.isPolyline(),
            [&] { io.list(93, 72, loop.edges, [](auto& io, auto& e) { edgeFields(io, e); }); });
    io.ids(97, 330, loop.sourceObjects);
}

}  // namespace

template <class Io, class Self>
void Hatch::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbHatch");
    io.converted([&] { return Point3d(0, 0, self.elevation_); }, [&](auto& p) { io.point(10, p); },
                 [&](const auto& p) { self.elevation_ = p.z; });
    io.direction(210, self.normal_);
    io.str(2, self.patternName_);
    io.boolean(70, self.solid_);
    io.boolean(71, self.associative_);
    io.list(91, 92, self.loops_, [](auto& io, auto& loop) { loopFields(io, loop); });
    io.enumeration(75, self.style_, Style::Normal, Style::Ignore, Style::Normal);
    io.enumeration(76, self.patternType_, PatternType::UserDefined, PatternType::Custom,
                   PatternType::Predefined);
    io.optional(!self.solid_, [&] {
        io.angle(52, self.patternAngle_);
        io.real(41, self.patternScale_);
        io.boolean(77, self.patternDouble_);
        io.list(78, 53, self.patternLines_, [](auto& io, auto& line) {
            io.angle(53, line.angle);
            io.real(43, line.base.x);
            io.real(44, line.base.y);
            io.real(45, line.offset.x);
            io.real(46, line.offset.y);
            io.list(79, 49, line.dashes, [](auto& io, auto& d) { io.real(49, d); });
        });
    });
    io.list(98, 10, self.seedPoints_, [](auto& io, auto& p) { io.point2(10, p); });
}

VELA_DB_DEFINE_DXF(Hatch)

namespace {

double cross(const Point2d& a, const Point2d& b) {
    return a.x * b.y - a.y * b.x;
}

// A spline edge as a free curve, to evaluate it.
Spline splineOf(const HatchEdge& e) {
    Spline s;
    std::vector<Point3d> pts;
    for (const Point2d& p : e.controlPoints) pts.push_back(p.to3d());
    if (s.setNurbsData(e.degree, pts, e.knots, e.rational ? e.weights : std::vector<double>{}) !=
        ErrorStatus::Ok) {
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
            case HatchEdge::Type::Line:
                twice += cross(e.start, e.end);
                break;
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
                case HatchEdge::Type::Line:
                    add(e.start), add(e.end);
                    break;
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
                    // Parameters are measured from the major axis, which maps onto the new major axis; under
                    // a reflection the minor axis turns around, so they run the other way.
                    e.center = map.point(e.center);
                    e.majorAxis = map.vector(e.majorAxis);
                    if (r) {
                        e.startAngle = normalizeAngle(-e.startAngle),
                        e.endAngle = normalizeAngle(-e.endAngle);
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

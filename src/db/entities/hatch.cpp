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
double edgeAngleFromFile(double degrees, bool ccw) { return (ccw ? degrees : -degrees) * (kPi / 180.0); }
double edgeAngleToFile(double radians, bool ccw) { return DxfWriteIo::toDegrees(ccw ? radians : -radians); }

void readEdge(DxfInput& in, HatchEdge& e) {
    std::int16_t type = 1;
    in.takeInt16(72, type);
    e.type = static_cast<HatchEdge::Type>(type);
    std::int16_t flag = 1;
    switch (e.type) {
        case HatchEdge::Type::Line:
            in.takePoint2d(10, e.start);
            in.takePoint2d(11, e.end);
            break;
        case HatchEdge::Type::CircularArc:
        case HatchEdge::Type::EllipticArc: {
            in.takePoint2d(10, e.center);
            if (e.type == HatchEdge::Type::EllipticArc) in.takePoint2d(11, e.majorAxis);
            in.takeDouble(40, e.type == HatchEdge::Type::CircularArc ? e.radius : e.ratio);
            double s = 0, t = 360;
            in.takeDouble(50, s);
            in.takeDouble(51, t);
            in.takeInt16(73, flag);
            e.counterClockwise = flag != 0;
            e.startAngle = edgeAngleFromFile(s, e.counterClockwise);
            e.endAngle = edgeAngleFromFile(t, e.counterClockwise);
            // A full circle keeps its full sweep.
            if (std::abs(t - s) >= 360.0 - 1e-9) e.endAngle = e.startAngle + kTwoPi;
            break;
        }
        case HatchEdge::Type::Spline: {
            std::int32_t degree = 3, knots = 0, points = 0, fits = 0;
            std::int16_t rational = 0, periodic = 0;
            in.takeInt32(94, degree);
            in.takeInt16(73, rational);
            in.takeInt16(74, periodic);
            in.takeInt32(95, knots);
            in.takeInt32(96, points);
            e.degree = degree, e.rational = rational != 0, e.periodic = periodic != 0;
            double v;
            while (in.takeDouble(40, v)) e.knots.push_back(v);
            Point2d p;
            while (in.takePoint2d(10, p)) {
                e.controlPoints.push_back(p);
                if (in.takeDouble(42, v)) e.weights.push_back(v);
            }
            if (in.takeInt32(97, fits))
                while (in.takePoint2d(11, p)) e.fitPoints.push_back(p);
            in.takePoint2d(12, e.startTangent);
            in.takePoint2d(13, e.endTangent);
            break;
        }
        default:
            e.type = HatchEdge::Type::Line;
            break;
    }
}

void writeEdge(DxfOutput& out, const HatchEdge& e) {
    out.writeInt16(72, static_cast<std::int16_t>(e.type));
    switch (e.type) {
        case HatchEdge::Type::Line:
            out.writePoint2d(10, e.start);
            out.writePoint2d(11, e.end);
            break;
        case HatchEdge::Type::CircularArc:
        case HatchEdge::Type::EllipticArc: {
            out.writePoint2d(10, e.center);
            if (e.type == HatchEdge::Type::EllipticArc) out.writePoint2d(11, e.majorAxis);
            out.writeDouble(40, e.type == HatchEdge::Type::CircularArc ? e.radius : e.ratio);
            const bool full = std::abs(e.endAngle - e.startAngle) >= kTwoPi - 1e-12;
            const double s = edgeAngleToFile(e.startAngle, e.counterClockwise);
            out.writeDouble(50, s);
            out.writeDouble(51, full ? s + 360.0 : edgeAngleToFile(e.endAngle, e.counterClockwise));
            out.writeInt16(73, e.counterClockwise ? 1 : 0);
            break;
        }
        case HatchEdge::Type::Spline:
            out.writeInt32(94, e.degree);
            out.writeInt16(73, e.rational ? 1 : 0);
            out.writeInt16(74, e.periodic ? 1 : 0);
            out.writeInt32(95, static_cast<std::int32_t>(e.knots.size()));
            out.writeInt32(96, static_cast<std::int32_t>(e.controlPoints.size()));
            for (double k : e.knots) out.writeDouble(40, k);
            for (std::size_t i = 0; i < e.controlPoints.size(); ++i) {
                out.writePoint2d(10, e.controlPoints[i]);
                if (e.rational && i < e.weights.size()) out.writeDouble(42, e.weights[i]);
            }
            out.writeInt32(97, static_cast<std::int32_t>(e.fitPoints.size()));
            for (const Point2d& p : e.fitPoints) out.writePoint2d(11, p);
            if (!e.fitPoints.empty()) {
                out.writePoint2d(12, e.startTangent);
                out.writePoint2d(13, e.endTangent);
            }
            break;
    }
}

}  // namespace

template <class Io, class Self>
void Hatch::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbHatch");
    if constexpr (Io::kReading) {
        DxfInput& in = io.input();
        Point3d elevation;
        in.readPoint3d(10, elevation);
        self.elevation_ = elevation.z;
        in.readVector3d(210, self.normal_);
        self.normal_ = self.normal_.normalized();
        in.readString(2, self.patternName_);
        in.readBool(70, self.solid_);
        in.readBool(71, self.associative_);
        std::int32_t loopCount = 0;
        in.readInt32(91, loopCount);
        in.seek(92);
        self.loops_.clear();
        for (std::int32_t i = 0; i < loopCount; ++i) {
            HatchLoop loop;
            if (!in.takeInt32(92, loop.flags)) break;
            if (loop.isPolyline()) {
                std::int16_t hasBulge = 0, closed = 1;
                std::int32_t count = 0;
                in.takeInt16(72, hasBulge);
                in.takeInt16(73, closed);
                in.takeInt32(93, count);
                loop.closed = closed != 0;
                Point2d p;
                while (in.takePoint2d(10, p)) {
                    HatchLoop::Vertex v{p, 0.0};
                    in.takeDouble(42, v.bulge);
                    loop.vertices.push_back(v);
                }
            } else {
                std::int32_t edges = 0;
                in.takeInt32(93, edges);
                for (std::int32_t k = 0; k < edges && in.peek() && in.peek()->code == 72; ++k) {
                    HatchEdge e;
                    readEdge(in, e);
                    loop.edges.push_back(std::move(e));
                }
            }
            std::int32_t sources = 0;
            if (in.takeInt32(97, sources)) {
                for (std::int32_t k = 0; k < sources; ++k) {
                    const DxfInput::Group* g = in.take(330);
                    if (!g) break;
                    if (auto h = Handle::fromText(g->value); h && in.database()) {
                        loop.sourceObjects.push_back(ObjectId());
                        const std::size_t index = loop.sourceObjects.size() - 1, loopIndex = self.loops_.size();
                        Database* db = in.database();
                        Self* target = &self;
                        in.afterLoading([db, target, loopIndex, index, h] {
                            if (loopIndex < target->loops_.size() &&
                                index < target->loops_[loopIndex].sourceObjects.size())
                                target->loops_[loopIndex].sourceObjects[index] = db->getObjectId(*h, true);
                        });
                    }
                }
            }
            self.loops_.push_back(std::move(loop));
        }
        std::int16_t style = 0, type = 1;
        in.readInt16(75, style);
        in.readInt16(76, type);
        self.style_ = static_cast<Style>(style >= 0 && style <= 2 ? style : 0);
        self.patternType_ = static_cast<PatternType>(type >= 0 && type <= 2 ? type : 1);
        double angle = 0;
        if (in.readDouble(52, angle)) self.patternAngle_ = angle * (kPi / 180.0);
        in.readDouble(41, self.patternScale_);
        in.readBool(77, self.patternDouble_);
        std::int16_t lineCount = 0;
        in.readInt16(78, lineCount);
        in.seek(53);
        self.patternLines_.clear();
        for (std::int16_t i = 0; i < lineCount; ++i) {
            HatchPatternLine line;
            double a = 0;
            if (!in.takeDouble(53, a)) break;
            line.angle = a * (kPi / 180.0);
            in.takeDouble(43, line.base.x);
            in.takeDouble(44, line.base.y);
            in.takeDouble(45, line.offset.x);
            in.takeDouble(46, line.offset.y);
            std::int16_t dashes = 0;
            in.takeInt16(79, dashes);
            double d;
            for (std::int16_t k = 0; k < dashes && in.takeDouble(49, d); ++k) line.dashes.push_back(d);
            self.patternLines_.push_back(std::move(line));
        }
        std::int32_t seeds = 0;
        in.readInt32(98, seeds);
        in.seek(10);
        self.seedPoints_.clear();
        Point2d p;
        for (std::int32_t i = 0; i < seeds && in.takePoint2d(10, p); ++i) self.seedPoints_.push_back(p);
    } else {
        DxfOutput& out = io.output();
        out.writePoint3d(10, Point3d(0, 0, self.elevation_));
        out.writeVector3d(210, self.normal_);
        out.writeString(2, self.patternName_);
        out.writeInt16(70, self.solid_ ? 1 : 0);
        out.writeInt16(71, self.associative_ ? 1 : 0);
        out.writeInt32(91, static_cast<std::int32_t>(self.loops_.size()));
        for (const HatchLoop& loop : self.loops_) {
            out.writeInt32(92, loop.flags);
            if (loop.isPolyline()) {
                bool bulges = false;
                for (const auto& v : loop.vertices) bulges = bulges || v.bulge != 0.0;
                out.writeInt16(72, bulges ? 1 : 0);
                out.writeInt16(73, loop.closed ? 1 : 0);
                out.writeInt32(93, static_cast<std::int32_t>(loop.vertices.size()));
                for (const auto& v : loop.vertices) {
                    out.writePoint2d(10, v.point);
                    if (bulges) out.writeDouble(42, v.bulge);
                }
            } else {
                out.writeInt32(93, static_cast<std::int32_t>(loop.edges.size()));
                for (const HatchEdge& e : loop.edges) writeEdge(out, e);
            }
            std::int32_t sources = 0;
            for (ObjectId id : loop.sourceObjects) sources += id.isNull() ? 0 : 1;
            out.writeInt32(97, sources);
            for (ObjectId id : loop.sourceObjects)
                if (!id.isNull()) out.writeObjectId(330, id);
        }
        out.writeInt16(75, static_cast<std::int16_t>(self.style_));
        out.writeInt16(76, static_cast<std::int16_t>(self.patternType_));
        if (!self.solid_) {
            out.writeDouble(52, DxfWriteIo::toDegrees(self.patternAngle_));
            out.writeDouble(41, self.patternScale_);
            out.writeInt16(77, self.patternDouble_ ? 1 : 0);
            out.writeInt16(78, static_cast<std::int16_t>(self.patternLines_.size()));
            for (const HatchPatternLine& line : self.patternLines_) {
                out.writeDouble(53, DxfWriteIo::toDegrees(line.angle));
                out.writeDouble(43, line.base.x);
                out.writeDouble(44, line.base.y);
                out.writeDouble(45, line.offset.x);
                out.writeDouble(46, line.offset.y);
                out.writeInt16(79, static_cast<std::int16_t>(line.dashes.size()));
                for (double d : line.dashes) out.writeDouble(49, d);
            }
        }
        out.writeInt32(98, static_cast<std::int32_t>(self.seedPoints_.size()));
        for (const Point2d& p : self.seedPoints_) out.writePoint2d(10, p);
    }
}

VELA_DB_DEFINE_DXF(Hatch)

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

#include "db/entities/vertex_polyline.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/geometry/plane_map.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Vertex, "AcDbVertex", "VERTEX", Entity)
VELA_DB_DEFINE_CLASS(Vertex2d, "AcDb2dVertex", "VERTEX", Vertex)
VELA_DB_DEFINE_CLASS(Polyline3dVertex, "AcDb3dPolylineVertex", "VERTEX", Vertex)
VELA_DB_DEFINE_CLASS(PolyFaceMeshVertex, "AcDbPolyFaceMeshVertex", "VERTEX", Vertex)
VELA_DB_DEFINE_CLASS(FaceRecord, "AcDbFaceRecord", "VERTEX", Vertex)
VELA_DB_DEFINE_CLASS(PolygonMeshVertex, "AcDbPolygonMeshVertex", "VERTEX", Vertex)
VELA_DB_DEFINE_CLASS(SequenceEnd, "AcDbSequenceEnd", "SEQEND", Entity)

namespace {

/// The first group `code` of a record as a number, 0 when it has none.
int recordInt(const DxfInput& record, int code) {
    for (const DxfInput::Group& g : record.groups()) {
        if (g.code != code) continue;
        std::string_view s = g.value;
        while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
        int v = 0;
        std::from_chars(s.data(), s.data() + s.size(), v);
        return v;
    }
    return 0;
}

/// The kind of old-style polyline a POLYLINE record's flags name. Every kind refines, so that whichever of
/// them the registry finds under the shared DXF name picks the right one.
const RxClass* polylineClassOf(const DxfInput& record) {
    const int flags = recordInt(record, 70);
    if (flags & 64) return PolyFaceMesh::desc();
    if (flags & 16) return PolygonMesh::desc();
    if (flags & 8) return Polyline3d::desc();
    return Polyline2d::desc();
}

}  // namespace

VELA_DB_DEFINE_REFINED_CLASS(Polyline2d, "AcDb2dPolyline", "POLYLINE", Curve, &polylineClassOf)
VELA_DB_DEFINE_REFINED_CLASS(Polyline3d, "AcDb3dPolyline", "POLYLINE", Curve, &polylineClassOf)
VELA_DB_DEFINE_REFINED_CLASS(PolyFaceMesh, "AcDbPolyFaceMesh", "POLYLINE", Entity, &polylineClassOf)
VELA_DB_DEFINE_REFINED_CLASS(PolygonMesh, "AcDbPolygonMesh", "POLYLINE", Entity, &polylineClassOf)

// ---- Vertices
// -------------------------------------------------------------------------------------------------

template <class Io, class Self>
void Vertex::vertexFields(Io& io, Self& self, const char* marker) {
    entityFields(io, self);
    // A face record has no point of its own: files give it only its own section.
    if (std::string_view(marker) != "AcDbFaceRecord") io.subclass("AcDbVertex");
    io.subclass(marker);
    io.point(10, self.location_);
    io.real(40, self.startWidth_, 0.0);
    io.real(41, self.endWidth_, 0.0);
    io.real(42, self.bulge_, 0.0);
    io.i16(70, self.flags_);
    if constexpr (Io::kReading) self.hasTangent_ = io.input().has(50);
    io.optional(self.hasTangent_, [&] { io.angle(50, self.tangent_); });
    io.i16(71, self.indices_[0], std::int16_t(0));
    io.i16(72, self.indices_[1], std::int16_t(0));
    io.i16(73, self.indices_[2], std::int16_t(0));
    io.i16(74, self.indices_[3], std::int16_t(0));
    io.i32(91, self.identifier_, 0);
}

#define VELA_VERTEX_FIELDS(ClassName, Marker)       \
    template <class Io, class Self>                 \
    void ClassName::dxfFields(Io& io, Self& self) { \
        vertexFields(io, self, Marker);             \
    }                                               \
    VELA_DB_DEFINE_DXF(ClassName)

VELA_VERTEX_FIELDS(Vertex2d, "AcDb2dVertex")
VELA_VERTEX_FIELDS(Polyline3dVertex, "AcDb3dPolylineVertex")
VELA_VERTEX_FIELDS(PolyFaceMeshVertex, "AcDbPolyFaceMeshVertex")
VELA_VERTEX_FIELDS(FaceRecord, "AcDbFaceRecord")
VELA_VERTEX_FIELDS(PolygonMeshVertex, "AcDbPolygonMeshVertex")
#undef VELA_VERTEX_FIELDS

ErrorStatus Vertex::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    if (!inWorldCoordinates()) return ErrorStatus::InvalidInput;
    extents.addPoint(location_);
    return ErrorStatus::Ok;
}

ErrorStatus Vertex::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    if (isKindOf(FaceRecord::desc())) return ErrorStatus::Ok;
    if (!inWorldCoordinates()) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    location_ = m.apply(location_);
    return ErrorStatus::Ok;
}

template <class Io, class Self>
void SequenceEnd::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
}

VELA_DB_DEFINE_DXF(SequenceEnd)

ErrorStatus SequenceEnd::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    return ErrorStatus::InvalidInput;
}

ErrorStatus SequenceEnd::transformBy(const Matrix3d& m) {
    return m.isAffine() ? ErrorStatus::Ok : ErrorStatus::CannotTransform;
}

// ---- What the polylines share
// ---------------------------------------------------------------------------------

template <class Base>
template <class Io, class Self>
void VertexSequence<Base>::sequenceFields(Io& io, Self& self, const char* marker) {
    Entity::entityFields(io, self);
    io.subclass(marker);
    if constexpr (Io::kReading) {
        bool follow = true;  // vertices follow: always so, the flag says nothing more
        io.boolean(66, follow);
    } else {
        io.i16(66, 1);
    }
    io.point(10, self.elevation_);
    io.i16(70, self.flags_);
    io.real(40, self.defaultStartWidth_, 0.0);
    io.real(41, self.defaultEndWidth_, 0.0);
    io.i16(71, self.mCount_, std::int16_t(0));
    io.i16(72, self.nCount_, std::int16_t(0));
    io.i16(73, self.mDensity_, std::int16_t(0));
    io.i16(74, self.nDensity_, std::int16_t(0));
    io.i16(75, self.smoothType_, std::int16_t(0));
    io.real(39, self.thickness_, 0.0);
    io.vec(210, self.normal_, Vector3d::zAxis());
}

template <class Base>
ErrorStatus VertexSequence<Base>::editVertices(std::vector<ObjectRef<Vertex>>& open,
                                               std::vector<Vertex*>& out) {
    out.clear();
    if (!this->database()) {
        if (free_.items.empty())
            for (const Vertex* v : vertices())
                free_.items.emplace_back(static_cast<Vertex*>(v->clone().release()));
        for (auto& v : free_.items) out.push_back(v.get());
        return ErrorStatus::Ok;
    }
    open.clear();
    for (const ObjectId& id : followers_) {
        if (!objectCast<Vertex>(id.peek()) || id.peek()->isErased()) continue;
        auto v = openObject<Vertex>(id, OpenMode::ForWrite, {.openOnLockedLayer = true});
        if (!v) return v.status();
        out.push_back(v.get());
        open.push_back(std::move(v));
    }
    return ErrorStatus::Ok;
}

template <class Base>
ErrorStatus VertexSequence<Base>::transformWorldVertices(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    std::vector<ObjectRef<Vertex>> open;
    std::vector<Vertex*> vs;
    if (ErrorStatus es = editVertices(open, vs); es != ErrorStatus::Ok) return es;
    this->assertWriteEnabled();
    for (Vertex* v : vs)
        if (!v->isKindOf(FaceRecord::desc())) v->setPosition(m.apply(v->position()));
    return ErrorStatus::Ok;
}

template class VertexSequence<Curve>;
template class VertexSequence<Entity>;

std::unique_ptr<Entity> makePolylineVertex(const Entity& owner, std::string_view type,
                                           const DxfInput& record) {
    if (type != "VERTEX") return nullptr;
    if (objectCast<Polyline2d>(&owner)) return std::make_unique<Vertex2d>();
    if (objectCast<Polyline3d>(&owner)) return std::make_unique<Polyline3dVertex>();
    if (objectCast<PolygonMesh>(&owner)) return std::make_unique<PolygonMeshVertex>();
    if (objectCast<PolyFaceMesh>(&owner)) {
        // Points carry flag 64 (with 128); face records carry 128 alone.
        if (recordInt(record, 70) & 64) return std::make_unique<PolyFaceMeshVertex>();
        return std::make_unique<FaceRecord>();
    }
    return nullptr;
}

// ---- 2D polylines
// ---------------------------------------------------------------------------------------------

template <class Io, class Self>
void Polyline2d::dxfFields(Io& io, Self& self) {
    sequenceFields(io, self, "AcDb2dPolyline");
}

VELA_DB_DEFINE_DXF(Polyline2d)

namespace {

/// A bulge too small to tell from a straight segment (such values upset arc construction).
bool isStraight(double bulge) {
    return std::abs(bulge) < 1e-6;
}

bool samePoint2d(const Point3d& a, const Point3d& b) {
    return std::abs(a.x - b.x) <= 1e-12 * std::max(1.0, std::abs(a.x)) &&
           std::abs(a.y - b.y) <= 1e-12 * std::max(1.0, std::abs(a.y));
}

/// Calls f(a, b, bulge) for each segment of a 2D polyline in its plane, the closing one included when the
/// polyline is closed and does not end where it starts.
template <class F>
void forEachSegment(const std::vector<const Vertex*>& vs, bool closed, F&& f) {
    for (std::size_t i = 0; i + 1 < vs.size(); ++i)
        f(vs[i]->position(), vs[i + 1]->position(), vs[i]->bulge());
    if (closed && vs.size() > 1 && !samePoint2d(vs.back()->position(), vs.front()->position()))
        f(vs.back()->position(), vs.front()->position(), vs.back()->bulge());
}

double segmentLength(const Point3d& a, const Point3d& b, double bulge) {
    const double chord = std::hypot(b.x - a.x, b.y - a.y);
    if (isStraight(bulge) || chord == 0.0) return chord;
    const double sweep = 4.0 * std::atan(std::abs(bulge));
    return chord / (2.0 * std::sin(sweep / 2.0)) * sweep;
}

bool isClose(double a, double b) {
    return std::abs(a - b) <= std::max(1e-9 * std::max(std::abs(a), std::abs(b)), 1e-12);
}
bool isClose(const Point2d& a, const Point2d& b) {
    return isClose(a.x, b.x) && isClose(a.y, b.y);
}

// The outline of a wide polyline, as drawing programs build it and as ezdxf measures it: straight runs are
// bands whose sides meet in miters (sides that turn by less than about 1.8 degrees are not joined but keep
// their own ends), arcs are bands sampled at 64 stations a full turn, the width changing evenly along each
// segment. Only the corners of the pieces matter for a box.
struct Station {
    Point2d point;
    double startWidth = 0.0, endWidth = 0.0;
};

struct Line2 {
    Point2d origin;
    Point2d direction;
};

/// Where two lines meet, or `fallback` when they are (nearly) parallel.
Point2d meet(const Line2& a, const Line2& b, const Point2d& fallback) {
    const double la = std::hypot(a.direction.x, a.direction.y), lb = std::hypot(b.direction.x, b.direction.y);
    if (la == 0.0 || lb == 0.0) return fallback;
    const double cos = (a.direction.x * b.direction.x + a.direction.y * b.direction.y) / (la * lb);
    if (std::acos(std::clamp(cos, -1.0, 1.0)) < 0.031415) return fallback;
    const double cross = a.direction.x * b.direction.y - a.direction.y * b.direction.x;
    if (std::abs(cross) <= 1e-12 * la * lb) return fallback;
    const double dx = b.origin.x - a.origin.x, dy = b.origin.y - a.origin.y;
    const double t = (dx * b.direction.y - dy * b.direction.x) / cross;
    return {a.origin.x + a.direction.x * t, a.origin.y + a.direction.y * t};
}

void addLinearTrace(const std::vector<Station>& st, std::vector<Point2d>& out) {
    const std::size_t n = st.size();
    if (n < 2) return;
    struct Side {
        Point2d up1, up2, down1, down2;
    };
    std::vector<Side> sides;
    for (std::size_t i = 0; i + 1 < n; ++i) {
        const Point2d a = st[i].point, b = st[i + 1].point;
        const double len = std::hypot(b.x - a.x, b.y - a.y);
        const Point2d ortho{-(b.y - a.y) / len, (b.x - a.x) / len};
        const double hs = st[i].startWidth / 2, he = st[i].endWidth / 2;
        sides.push_back({{a.x + ortho.x * hs, a.y + ortho.y * hs},
                         {b.x + ortho.x * he, b.y + ortho.y * he},
                         {a.x - ortho.x * hs, a.y - ortho.y * hs},
                         {b.x - ortho.x * he, b.y - ortho.y * he}});
    }
    auto line = [&](std::size_t i, bool up) {
        const Point2d p = up ? sides[i].up1 : sides[i].down1, q = up ? sides[i].up2 : sides[i].down2;
        if (isClose(p, q))
            return Line2{p, {st[i].point.x - st[i + 1].point.x, st[i].point.y - st[i + 1].point.y}};
        return Line2{p, {q.x - p.x, q.y - p.y}};
    };
    const std::size_t m = sides.size();
    // Where a segment meets the next, both sides' corners; each corner of a miter that does not close stays.
    for (std::size_t i = 0; i + 1 < m; ++i)
        for (bool up : {true, false}) {
            out.push_back(meet(line(i, up), line(i + 1, up), up ? sides[i].up2 : sides[i].down2));
            out.push_back(meet(line(i, up), line(i + 1, up), up ? sides[i + 1].up1 : sides[i + 1].down1));
        }
    if (isClose(st.front().point, st.back().point)) {
        out.push_back(meet(line(m - 1, true), line(0, true), sides[0].up1));
        out.push_back(meet(line(m - 1, false), line(0, false), sides[0].down1));
    } else {
        out.insert(out.end(), {sides[0].up1, sides[0].down1, sides[m - 1].up2, sides[m - 1].down2});
    }
}

void addStation(std::vector<Station>& st, const Station& s) {
    if (!st.empty() && std::abs(st.back().point.x - s.point.x) <= 1e-12 &&
        std::abs(st.back().point.y - s.point.y) <= 1e-12)
        st.pop_back();
    st.push_back(s);
}

void addCurvedTrace(const Point2d& a, const Point2d& b, double bulge, double startWidth, double endWidth,
                    std::vector<Point2d>& out) {
    // The arc's center and end angles in degrees, worked out step by step as the outline's stations are
    // counted from the span: the same arithmetic gives the same count at spans that are whole multiples.
    const double chord = std::hypot(b.x - a.x, b.y - a.y);
    const double r = chord * (1.0 + bulge * bulge) / 4.0 / bulge;
    const double dir = std::atan2(b.y - a.y, b.x - a.x) + (kPi / 2 - std::atan(bulge) * 2);
    const Point2d c{a.x + std::cos(dir) * r, a.y + std::sin(dir) * r};
    const double radius = std::abs(r);
    if (!(radius > 0.0)) return;
    const double toDegrees = 180.0 / kPi;
    double start = std::atan2(a.y - c.y, a.x - c.x) * toDegrees,
           end = std::atan2(b.y - c.y, b.x - c.x) * toDegrees;
    if (bulge < 0) std::swap(start, end);
    // Widths run from the arc's start, which is the segment's end when the arc runs against the segment.
    const Point2d first{c.x + radius * std::cos(start / toDegrees),
                        c.y + radius * std::sin(start / toDegrees)};
    if (isClose(first, b)) std::swap(startWidth, endWidth);
    const double span = (end < start ? end + 360.0 : end) - start;
    const int count = std::max(static_cast<int>(std::ceil(span / 360.0 * 64.0)), 3) + 1;
    double from = std::fmod(start, 360.0), to = std::fmod(end, 360.0);
    if (from < 0) from += 360.0;
    if (to < 0) to += 360.0;
    if (to <= from) to += 360.0;
    for (int k = 0; k < count; ++k) {
        const double f = static_cast<double>(k) / (count - 1);
        const double angle = (from + (to - from) * f) / toDegrees;
        const double half = (startWidth + (endWidth - startWidth) * f) / 2;
        const Point2d u{std::cos(angle), std::sin(angle)};
        const Point2d p{c.x + radius * u.x, c.y + radius * u.y};
        out.push_back({p.x + u.x * half, p.y + u.y * half});
        out.push_back({p.x - u.x * half, p.y - u.y * half});
    }
}

}  // namespace

bool Polyline2d::hasWidth() const {
    if (defaultStartWidth_ != 0.0 || defaultEndWidth_ != 0.0) return true;
    for (const Vertex* v : vertices())
        if (v->startWidth() != 0.0 || v->endWidth() != 0.0) return true;
    return false;
}

std::vector<Point2d> Polyline2d::outlineCorners() const {
    struct Item {
        Point2d point;
        double startWidth, endWidth, bulge;
    };
    std::vector<Item> items;
    for (const Vertex* v : vertices()) {
        // A vertex without widths of its own takes the polyline's.
        const bool own = v->startWidth() != 0.0 || v->endWidth() != 0.0;
        items.push_back({{v->position().x, v->position().y},
                         own ? v->startWidth() : defaultStartWidth_,
                         own ? v->endWidth() : defaultEndWidth_,
                         v->bulge()});
    }
    std::vector<Point2d> out;
    if (items.empty()) return out;
    if (isClosed() && !isClose(items.front().point, items.back().point)) items.push_back(items.front());

    // Runs of straight segments and single arcs, in order; a closed polyline's last straight run goes on into
    // its first, so that the corner where they meet is mitered.
    std::vector<std::vector<Station>> runs;
    std::vector<bool> straight;
    std::vector<Station> run;
    const Item* arcFrom = nullptr;
    for (const Item& it : items) {
        if (arcFrom) {
            std::vector<Point2d> corners;
            addCurvedTrace(arcFrom->point, it.point, arcFrom->bulge, arcFrom->startWidth, arcFrom->endWidth,
                           corners);
            out.insert(out.end(), corners.begin(), corners.end());
            runs.emplace_back(), straight.push_back(false);
            arcFrom = nullptr;
        }
        if (it.bulge != 0.0) {
            if (!run.empty()) {
                addStation(run, {it.point, it.startWidth, it.endWidth});
                runs.push_back(std::move(run)), straight.push_back(true);
                run.clear();
            }
            arcFrom = &it;
            continue;
        }
        addStation(run, {it.point, it.startWidth, it.endWidth});
    }
    if (!run.empty()) runs.push_back(std::move(run)), straight.push_back(true);
    if (isClosed() && runs.size() > 1 && straight.front() && straight.back()) {
        for (const Station& s : runs.front()) addStation(runs.back(), s);
        runs.front().clear();
    }
    for (std::size_t i = 0; i < runs.size(); ++i)
        if (straight[i]) addLinearTrace(runs[i], out);
    return out;
}

Point3d Polyline2d::worldPoint(const Vertex& v) const {
    return ocsToWcs(Point3d(v.position().x, v.position().y, elevation_.z), normal_);
}

double Polyline2d::length() const {
    double total = 0.0;
    forEachSegment(vertices(), isClosed(), [&](const Point3d& a, const Point3d& b, double bulge) {
        total += segmentLength(a, b, bulge);
    });
    return total;
}

ErrorStatus Polyline2d::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    const std::vector<const Vertex*> vs = vertices();
    if (vs.size() < 2) return ErrorStatus::InvalidInput;
    if (hasWidth()) {
        for (const Point2d& p : outlineCorners())
            extents.addPoint(ocsToWcs(Point3d(p.x, p.y, elevation_.z), normal_));
        return extents.isValid() ? ErrorStatus::Ok : ErrorStatus::InvalidInput;
    }
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    for (const Vertex* v : vs) extents.addPoint(worldPoint(*v));
    forEachSegment(vs, isClosed(), [&](const Point3d& a, const Point3d& b, double bulge) {
        if (isStraight(bulge) || samePoint2d(a, b)) return;
        const BulgeArc arc = bulgeToArc({a.x, a.y}, {b.x, b.y}, bulge);
        const Point3d c = ocsToWcs(Point3d(arc.center.x, arc.center.y, elevation_.z), normal_);
        addEllipticArcExtents(extents, c, ax * arc.radius, ay * arc.radius, arc.startAngle, arc.endAngle);
    });
    return ErrorStatus::Ok;
}

ErrorStatus Polyline2d::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    // The plane's axes map to u and v; the new plane's normal is u x v, so that travel within the plane keeps
    // its sense and bulges keep their signs (a reflection turns the normal over instead).
    const Vector3d u = m.apply(ocsXAxis(normal_)), v = m.apply(ocsYAxis(normal_));
    const Vector3d cross = u.cross(v);
    if (cross.isZero(1e-300)) return ErrorStatus::CannotTransform;
    const Vector3d n = cross.normalized();
    const bool uniform = std::abs(u.dot(u) - v.dot(v)) <= 1e-9;
    if (!uniform) {
        for (const Vertex* vx : vertices())
            if (!isStraight(vx->bulge())) return ErrorStatus::CannotScaleNonUniformly;
    }
    std::vector<ObjectRef<Vertex>> open;
    std::vector<Vertex*> vs;
    if (ErrorStatus es = editVertices(open, vs); es != ErrorStatus::Ok) return es;

    // A width is a length across the segment: the larger of its images along the plane's two axes.
    auto width = [&](double w) {
        if (std::abs(w) <= 1e-12) return 0.0;
        return std::max((u * std::abs(w)).length(), (v * std::abs(w)).length());
    };
    assertWriteEnabled();
    for (std::size_t i = 0; i < vs.size(); ++i) {
        Vertex& vx = *vs[i];
        const Point3d p = vx.position();
        const Point3d moved = wcsToOcs(m.apply(ocsToWcs(Point3d(p.x, p.y, elevation_.z), normal_)), n);
        vx.setPosition(moved);
        if (vx.startWidth() != 0.0 || vx.endWidth() != 0.0)
            vx.setWidths(width(vx.startWidth()), width(vx.endWidth()));
        if (i == 0) elevation_ = Point3d(0.0, 0.0, moved.z);
    }
    defaultStartWidth_ = width(defaultStartWidth_);
    defaultEndWidth_ = width(defaultEndWidth_);
    thickness_ = wcsToOcs(m.apply(normal_.normalized() * thickness_), n).z;
    normal_ = n;
    return ErrorStatus::Ok;
}

// ---- 3D polylines
// ---------------------------------------------------------------------------------------------

template <class Io, class Self>
void Polyline3d::dxfFields(Io& io, Self& self) {
    sequenceFields(io, self, "AcDb3dPolyline");
}

VELA_DB_DEFINE_DXF(Polyline3d)

double Polyline3d::length() const {
    const std::vector<const Vertex*> vs = vertices();
    double total = 0.0;
    for (std::size_t i = 0; i + 1 < vs.size(); ++i)
        total += vs[i]->position().distanceTo(vs[i + 1]->position());
    if (isClosed() && vs.size() > 2) total += vs.back()->position().distanceTo(vs.front()->position());
    return total;
}

ErrorStatus Polyline3d::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    const std::vector<const Vertex*> vs = vertices();
    if (vs.size() < 2) return ErrorStatus::InvalidInput;
    for (const Vertex* v : vs) extents.addPoint(v->position());
    return ErrorStatus::Ok;
}

ErrorStatus Polyline3d::transformBy(const Matrix3d& m) {
    return transformWorldVertices(m);
}

// ---- Meshes
// ---------------------------------------------------------------------------------------------------

template <class Io, class Self>
void PolyFaceMesh::dxfFields(Io& io, Self& self) {
    sequenceFields(io, self, "AcDbPolyFaceMesh");
}

VELA_DB_DEFINE_DXF(PolyFaceMesh)

std::size_t PolyFaceMesh::numPoints() const {
    std::size_t n = 0;
    for (const Vertex* v : vertices()) n += v->isKindOf(PolyFaceMeshVertex::desc()) ? 1 : 0;
    return n;
}

std::size_t PolyFaceMesh::numFaces() const {
    std::size_t n = 0;
    for (const Vertex* v : vertices()) n += v->isKindOf(FaceRecord::desc()) ? 1 : 0;
    return n;
}

ErrorStatus PolyFaceMesh::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    std::vector<const Vertex*> points;
    std::vector<const Vertex*> faces;
    for (const Vertex* v : vertices()) (v->isKindOf(FaceRecord::desc()) ? faces : points).push_back(v);
    for (const Vertex* face : faces)
        for (std::int16_t index : face->faceIndices()) {
            const std::size_t k = static_cast<std::size_t>(std::abs(index));
            if (k >= 1 && k <= points.size()) extents.addPoint(points[k - 1]->position());
        }
    return extents.isValid() ? ErrorStatus::Ok : ErrorStatus::InvalidInput;
}

ErrorStatus PolyFaceMesh::transformBy(const Matrix3d& m) {
    return transformWorldVertices(m);
}

template <class Io, class Self>
void PolygonMesh::dxfFields(Io& io, Self& self) {
    sequenceFields(io, self, "AcDbPolygonMesh");
}

VELA_DB_DEFINE_DXF(PolygonMesh)

ErrorStatus PolygonMesh::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    const std::vector<const Vertex*> vs = vertices();
    const std::size_t grid = mCount_ >= 2 && nCount_ >= 2 ? std::size_t(mCount_) * std::size_t(nCount_) : 0;
    if (grid == 0 || vs.size() < grid) return ErrorStatus::InvalidInput;
    for (std::size_t i = 0; i < grid; ++i) extents.addPoint(vs[i]->position());
    return ErrorStatus::Ok;
}

ErrorStatus PolygonMesh::transformBy(const Matrix3d& m) {
    return transformWorldVertices(m);
}

}  // namespace vela::db

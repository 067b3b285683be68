#include "db/entities/mline.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/raw_object.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Mline, "AcDbMline", "MLINE", Entity)

template <class Io, class Self>
void Mline::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbMline");
    io.str(2, self.styleName_);
    io.id(340, self.style_);
    io.real(40, self.scale_);
    io.enumeration(70, self.justification_, Justification::Top, Justification::Bottom, Justification::Top);
    io.i16(71, self.flags_);
    const ListCount count = io.count(72, self.vertices_);
    io.i16(73, self.elementCount_);
    io.point(10, self.start_);
    io.vec(210, self.normal_, Vector3d::zAxis());
    // Each vertex has one entry per element of the style, each with its counted lists.
    const ListCount elements{static_cast<std::size_t>(std::max<std::int16_t>(self.elementCount_, 0))};
    io.items(
        11, self.vertices_,
        [&](auto& io, auto& v) {
            io.point(11, v.position);
            io.vec(12, v.direction);
            io.vec(13, v.miter);
            io.items(
                74, v.elements,
                [](auto& io, auto& e) {
                    io.list(74, 41, e.params, [](auto& io, auto& p) { io.real(41, p); });
                    io.list(75, 42, e.fillParams, [](auto& io, auto& p) { io.real(42, p); });
                },
                elements);
        },
        count);
}

VELA_DB_DEFINE_DXF(Mline)

double Mline::length() const {
    double total = 0.0;
    for (std::size_t i = 0; i + 1 < vertices_.size(); ++i)
        total += vertices_[i].position.distanceTo(vertices_[i + 1].position);
    if (isClosed() && vertices_.size() > 2)
        total += vertices_.back().position.distanceTo(vertices_.front().position);
    return total;
}

namespace {

/// What the extents need of a multiline style kept as it came: its flags and its elements' offsets.
struct StyleFacts {
    std::int16_t flags = 0;
    std::vector<double> offsets;
};

bool readStyle(ObjectId id, StyleFacts& facts) {
    auto* raw = objectCast<RawObject>(id.peek());
    if (!raw || raw->isErased() || raw->dxfName() != "MLINESTYLE") return false;
    auto number = [](const std::string& s, auto& v) {
        const char* b = s.data();
        while (b != s.data() + s.size() && *b == ' ') ++b;
        return std::from_chars(b, s.data() + s.size(), v).ec == std::errc();
    };
    bool inStyle = false;
    for (const DxfTag& t : raw->groups()) {
        if (t.code == 100) inStyle = t.value == "AcDbMlineStyle";
        if (!inStyle) continue;
        if (t.code == 70) number(t.value, facts.flags);
        if (t.code == 49) {
            double offset = 0.0;
            number(t.value, offset);
            facts.offsets.push_back(offset);
        }
    }
    return true;
}

}  // namespace

ErrorStatus Mline::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    StyleFacts style;
    if (vertices_.size() < 2 || !readStyle(style_, style) || style.offsets.empty())
        return ErrorStatus::InvalidInput;
    // The line of each element passes through the vertex moved along the miter by the element's offset.
    std::vector<std::vector<Point3d>> miters;
    for (const Vertex& v : vertices_) {
        std::vector<Point3d>& at = miters.emplace_back();
        for (const Element& e : v.elements) {
            at.push_back(v.position + v.miter * (e.params.empty() ? 0.0 : e.params.front()));
            extents.addPoint(at.back());
        }
    }
    if (isClosed()) return ErrorStatus::Ok;

    // Round caps join two elements' ends with a half circle, counter-clockwise in the plane from the first.
    std::vector<std::size_t> order(style.offsets.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return style.offsets[a] < style.offsets[b]; });
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    auto cap = [&](const std::vector<Point3d>& at, std::size_t from, std::size_t to) {
        if (from >= at.size() || to >= at.size()) return;
        const Point3d a = wcsToOcs(at[from], normal_), b = wcsToOcs(at[to], normal_);
        const Point3d c{(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
        const double r = std::hypot(b.x - a.x, b.y - a.y) / 2;
        if (!(r > 0.0)) return;
        const double start = std::atan2(a.y - c.y, a.x - c.x);
        addEllipticArcExtents(extents, ocsToWcs(c, normal_), ax * r, ay * r, normalizeAngle(start),
                              normalizeAngle(start + kPi));
    };
    const std::size_t bottom = order.front(), top = order.back();
    constexpr std::int16_t kStartInner = 32, kStartRound = 64, kEndInner = 512, kEndRound = 1024;
    const bool inner = order.size() > 3;
    if (style.flags & kStartRound) cap(miters.front(), top, bottom);
    if ((style.flags & kStartInner) && inner) cap(miters.front(), order[order.size() - 2], order[1]);
    if (style.flags & kEndRound) cap(miters.back(), bottom, top);
    if ((style.flags & kEndInner) && inner) cap(miters.back(), order[1], order[order.size() - 2]);
    return ErrorStatus::Ok;
}

ErrorStatus Mline::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    const double s = m.scaleFactor();
    const Vector3d n = m.apply(normal_);
    if (n.isZero(1e-300)) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    // Directions become unit vectors; lengths along them take the scale. An element's offset is a multiple
    // of the miter vector as the file gave it, so it takes that vector's change of length.
    for (Vertex& v : vertices_) {
        v.position = m.apply(v.position);
        v.direction = m.apply(v.direction).normalized();
        const Vector3d miter = m.apply(v.miter);
        const double stretch = miter.length();
        v.miter = miter.normalized();
        for (Element& e : v.elements) {
            for (std::size_t i = 0; i < e.params.size(); ++i) e.params[i] *= i == 0 ? stretch : s;
            for (double& p : e.fillParams) p *= s;
        }
    }
    start_ = m.apply(start_);
    normal_ = n.normalized();
    scale_ *= s;
    return ErrorStatus::Ok;
}

}  // namespace vela::db

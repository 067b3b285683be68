#include "db/entities/multileader.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <functional>

#include "db/entities/mtext.h"
#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/geometry/plane_map.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(MLeader, "AcDbMLeader", "MULTILEADER", Entity)

// The common groups only: the multileader's own section is kept whole, in its order, and read as below.
template <class Io, class Self>
void MLeader::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
}

VELA_DB_DEFINE_DXF(MLeader)

namespace {

double number(const std::string& s) {
    const char* b = s.data();
    const char* e = b + s.size();
    while (b != e && *b == ' ') ++b;
    double v = 0.0;
    std::from_chars(b, e, v);
    return v;
}

// Numbers written back as the file writer writes reals: shortest form, always with a point or exponent.
std::string text(double v) {
    char buf[32];
    char* end = std::to_chars(buf, buf + sizeof buf, v).ptr;
    std::string s(buf, end);
    if (s.find_first_of(".e") == std::string::npos) s += ".0";
    return s;
}

// Where a group sits in the context: the parts nest, each closed by its own end group.
enum class Part { Entity, Context, Leader, Line };

// Walks the kept groups of the multileader's section, telling the part each group is in. The visitor gets the
// groups and the index of each group that is not a part's start or end.
void walk(std::vector<DxfTag>& tags, const std::function<void(Part, std::size_t)>& visit) {
    Part part = Part::Entity;
    bool inSection = false;
    for (std::size_t i = 0; i < tags.size(); ++i) {
        const DxfTag& t = tags[i];
        if (t.code == 100) {
            inSection = t.value == "AcDbMLeader";
            continue;
        }
        if (!inSection) continue;
        if (t.code == 300 && t.value == "CONTEXT_DATA{")
            part = Part::Context;
        else if (t.code == 301 && part == Part::Context)
            part = Part::Entity;
        else if (t.code == 302 && t.value == "LEADER{")
            part = Part::Leader;
        else if (t.code == 303 && part == Part::Leader)
            part = Part::Context;
        else if (t.code == 304 && t.value == "LEADER_LINE{")
            part = Part::Line;
        else if (t.code == 305 && part == Part::Line)
            part = Part::Leader;
        else
            visit(part, i);
    }
}

bool isPoint(const std::vector<DxfTag>& tags, std::size_t i) {
    return i + 1 < tags.size() && tags[i + 1].code == tags[i].code + 10;
}

Vector3d readVector(const std::vector<DxfTag>& tags, std::size_t i) {
    Vector3d v(number(tags[i].value), number(tags[i + 1].value), 0.0);
    if (i + 2 < tags.size() && tags[i + 2].code == tags[i].code + 20) v.z = number(tags[i + 2].value);
    return v;
}

Point3d readPoint(const std::vector<DxfTag>& tags, std::size_t i) {
    const Vector3d v = readVector(tags, i);
    return {v.x, v.y, v.z};
}

void writeVector(std::vector<DxfTag>& tags, std::size_t i, const Vector3d& v) {
    tags[i].value = text(v.x);
    tags[i + 1].value = text(v.y);
    if (i + 2 < tags.size() && tags[i + 2].code == tags[i].code + 20) tags[i + 2].value = text(v.z);
}

void writePoint(std::vector<DxfTag>& tags, std::size_t i, const Point3d& p) {
    writeVector(tags, i, p.asVector());
}

}  // namespace

MLeader::Geometry MLeader::geometry() const {
    Geometry g;
    if (!extras()) return g;
    std::vector<DxfTag> tags = extras()->keptTags;
    Point3d landing;
    Vector3d dogleg;
    bool inLine = false;
    walk(tags, [&](Part part, std::size_t i) {
        const int code = tags[i].code;
        if (part != Part::Line) inLine = false;
        switch (part) {
            case Part::Context:
                if (code == 290)
                    g.hasText = number(tags[i].value) != 0;
                else if (code == 296)
                    g.hasBlock = number(tags[i].value) != 0;
                else if (code == 304)
                    g.text = tags[i].value;
                else if (code == 11 && isPoint(tags, i))
                    g.textNormal = readVector(tags, i).normalized();
                else if (code == 12 && isPoint(tags, i))
                    g.textLocation = readPoint(tags, i);
                else if (code == 13 && isPoint(tags, i))
                    g.textDirection = readVector(tags, i).normalized();
                else if (code == 41)
                    g.textHeight = number(tags[i].value);
                else if (code == 43)
                    g.textWidth = number(tags[i].value);
                else if (code == 15 && isPoint(tags, i))
                    g.blockPosition = readPoint(tags, i);
                break;
            case Part::Leader:
                if (code == 10 && isPoint(tags, i))
                    landing = readPoint(tags, i);
                else if (code == 11 && isPoint(tags, i))
                    dogleg = readVector(tags, i);
                else if (code == 40)
                    g.landings.emplace_back(landing, landing + dogleg.normalized() * number(tags[i].value));
                break;
            case Part::Line:
                if (code == 10 && isPoint(tags, i)) {
                    if (!inLine) g.lines.emplace_back();
                    inLine = true;
                    g.lines.back().push_back(readPoint(tags, i));
                    // The line ends at its leader's landing, which the leader gives before its lines.
                } else if (code == 91 && !g.lines.empty()) {
                    g.lines.back().push_back(landing);
                }
                break;
            default:
                break;
        }
    });
    return g;
}

ErrorStatus MLeader::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    const Geometry g = geometry();
    for (const auto& line : g.lines)
        for (const Point3d& p : line) extents.addPoint(p);
    for (const auto& [a, b] : g.landings) extents.addPoint(a).addPoint(b);
    if (g.hasText && !g.text.empty()) {
        MText text;
        text.setContents(g.text);
        text.setNormal(g.textNormal);
        text.setDirection(g.textDirection);
        text.setLocation(g.textLocation);
        text.setWidth(g.textWidth);
        if (g.textHeight > 0.0) text.setTextHeight(g.textHeight);
        Extents3d box;
        if (text.getGeomExtents(box) == ErrorStatus::Ok) extents.addExtents(box);
    }
    if (g.hasBlock) extents.addPoint(g.blockPosition);
    return extents.isValid() ? ErrorStatus::Ok : ErrorStatus::InvalidInput;
}

ErrorStatus MLeader::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    if (!extras()) return ErrorStatus::Ok;
    std::vector<DxfTag> tags = extras()->keptTags;
    const double s = m.scaleFactor();
    Vector3d textNormal = Vector3d::zAxis(), blockNormal = Vector3d::zAxis();
    Vector3d planeX, planeY;
    double newBlockRotation = 0.0;
    Vector3d newBlockScale;
    bool hasBlock = false, blockSeen = false;
    std::vector<double> matrix;
    std::vector<std::size_t> matrixAt;
    Vector3d dogleg;
    walk(tags, [&](Part part, std::size_t i) {
        const int code = tags[i].code;
        auto scaled = [&] { tags[i].value = text(number(tags[i].value) * s); };
        auto point = [&] {
            if (isPoint(tags, i)) writePoint(tags, i, m.apply(readPoint(tags, i)));
        };
        switch (part) {
            case Part::Context:
                switch (code) {
                    case 40:
                    case 41:
                    case 140:
                    case 145:
                    case 43:
                    case 44:
                    case 142:
                    case 143:
                    case 144:
                        scaled();
                        break;
                    case 10:
                    case 12:
                    case 15:
                    case 110:
                        point();
                        break;
                    case 296:
                        hasBlock = number(tags[i].value) != 0;
                        break;
                    case 11:  // the text's plane, then its direction and rotation in it
                        if (!isPoint(tags, i)) break;
                        textNormal = readVector(tags, i);
                        writeVector(tags, i, AxesTransform(m, textNormal).newNormal());
                        break;
                    case 13:
                        if (isPoint(tags, i)) writeVector(tags, i, m.apply(readVector(tags, i)).normalized());
                        break;
                    case 42:
                        tags[i].value = text(AxesTransform(m, textNormal).angle(number(tags[i].value)));
                        break;
                    case 14:  // the block's plane, then its scale and rotation in it
                        if (!isPoint(tags, i)) break;
                        blockNormal = readVector(tags, i);
                        writeVector(tags, i, AxesTransform(m, blockNormal).newNormal());
                        break;
                    case 16: {
                        if (!isPoint(tags, i)) break;
                        const Vector3d old = readVector(tags, i);
                        const Vector3d ux = m.apply(ocsXAxis(blockNormal)),
                                       uy = m.apply(ocsYAxis(blockNormal)),
                                       uz = m.apply(blockNormal.normalized());
                        // A reflection shows as a mirrored Y axis, as the block's plane is rebuilt from X and
                        // Z.
                        const bool flipped = !uz.cross(ux).normalized().isEqualTo(uy.normalized(), 1e-12);
                        newBlockScale = {ux.length() * old.x, uy.length() * old.y * (flipped ? -1.0 : 1.0),
                                         uz.length() * old.z};
                        writeVector(tags, i, newBlockScale);
                        break;
                    }
                    case 46:
                        newBlockRotation = AxesTransform(m, blockNormal).angle(number(tags[i].value));
                        tags[i].value = text(newBlockRotation);
                        blockSeen = true;
                        break;
                    case 47:
                        matrix.push_back(number(tags[i].value));
                        matrixAt.push_back(i);
                        break;
                    case 111:
                    case 112:
                        if (!isPoint(tags, i)) break;
                        (code == 111 ? planeX : planeY) = m.apply(readVector(tags, i)).normalized();
                        writeVector(tags, i, code == 111 ? planeX : planeY);
                        break;
                    case 297: {
                        const Vector3d z = m.apply(Vector3d::zAxis()).normalized();
                        tags[i].value = z.isEqualTo(-planeX.cross(planeY).normalized(), 1e-9) ? "1" : "0";
                        break;
                    }
                    default:
                        break;
                }
                break;
            case Part::Leader:
                if (code == 10 || code == 12 || code == 13) {
                    point();
                } else if (code == 11 && isPoint(tags, i)) {
                    dogleg = readVector(tags, i);
                    writeVector(tags, i, m.apply(dogleg.isZero() ? Vector3d::xAxis() : dogleg).normalized());
                } else if (code == 40) {
                    scaled();
                }
                break;
            case Part::Line:
                if (code == 10 || code == 11 || code == 12) point();
                break;
            case Part::Entity:
                if (code == 41 || code == 42 || code == 45)
                    scaled();
                else if (code == 43 && blockSeen && hasBlock)
                    tags[i].value = text(newBlockRotation);
                else if (code == 10 && blockSeen && hasBlock && isPoint(tags, i))
                    writeVector(tags, i, newBlockScale);
                break;
        }
    });
    // The block's matrix follows the transformation: the new one applies the old one, then this one.
    if (matrix.size() == 16) {
        Matrix3d old;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) old(r, c) = matrix[static_cast<std::size_t>(4 * r + c)];
        const Matrix3d moved = m * old;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                tags[matrixAt[static_cast<std::size_t>(4 * r + c)]].value = text(moved(r, c));
    }
    assertWriteEnabled();
    editExtras().keptTags = std::move(tags);
    return ErrorStatus::Ok;
}

}  // namespace vela::db

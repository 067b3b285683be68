#include "db/entities/sub_d_mesh.h"

#include <cmath>

#include "db/entity_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(SubDMesh, "AcDbSubDMesh", "MESH", Entity)

namespace {

// Faces and edges are written as runs of plain integers (group 90): a face is its size then its vertex
// indexes, an edge its two vertex indexes.
std::vector<std::int32_t> flatFaces(const std::vector<std::vector<std::int32_t>>& faces) {
    std::vector<std::int32_t> flat;
    for (const auto& face : faces) {
        flat.push_back(static_cast<std::int32_t>(face.size()));
        flat.insert(flat.end(), face.begin(), face.end());
    }
    return flat;
}

std::vector<std::vector<std::int32_t>> facesOf(const std::vector<std::int32_t>& flat) {
    std::vector<std::vector<std::int32_t>> faces;
    for (std::size_t i = 0; i < flat.size();) {
        const std::size_t n = flat[i] > 0 ? static_cast<std::size_t>(flat[i]) : 0;
        const std::size_t end = std::min(flat.size(), i + 1 + n);
        faces.emplace_back(flat.begin() + static_cast<std::ptrdiff_t>(i + 1),
                           flat.begin() + static_cast<std::ptrdiff_t>(end));
        i = end;
    }
    return faces;
}

template <class Io, class Vec>
void integers(Io& io, Vec& values, ListCount count) {
    io.items(
        90, values, [](auto& io, auto& v) { io.i32(90, v); }, count);
}

}  // namespace

// The overrides of sub-entities' properties that follow the creases reuse groups 90 to 92: they are not
// declared, so they are kept after the declared groups, where they stand in the file.
template <class Io, class Self>
void SubDMesh::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbSubDMesh");
    io.i16(71, self.version_);
    io.boolean(72, self.blendCrease_);
    io.i32(91, self.subdivisionLevels_);
    io.list(92, 10, self.vertices_, [](auto& io, auto& p) { io.point(10, p); });
    // The face count is the count of integers; the edge count that of pairs of them.
    io.converted([&] { return flatFaces(self.faces_); },
                 [&](auto& flat) { integers(io, flat, io.count(93, flat)); },
                 [&](const auto& flat) {
                     if constexpr (Io::kReading) self.faces_ = facesOf(flat);
                 });
    io.converted(
        [&] {
            std::vector<std::int32_t> flat;
            for (const Edge& e : self.edges_) flat.insert(flat.end(), {e.from, e.to});
            return flat;
        },
        [&](auto& flat) {
            ListCount count;
            if constexpr (Io::kReading) {
                count = io.count(94, self.edges_);
                if (count.limit != kNoLimit) count.limit *= 2;
            } else {
                count = io.count(94, self.edges_);
            }
            integers(io, flat, count);
        },
        [&](const auto& flat) {
            if constexpr (Io::kReading) {
                self.edges_.clear();
                for (std::size_t i = 0; i + 1 < flat.size(); i += 2)
                    self.edges_.push_back({flat[i], flat[i + 1]});
            }
        });
    io.list(95, 140, self.creases_, [](auto& io, auto& v) { io.real(140, v); });
}

VELA_DB_DEFINE_DXF(SubDMesh)

ErrorStatus SubDMesh::setMesh(std::vector<Point3d> vertices, std::vector<std::vector<std::int32_t>> faces) {
    for (const auto& face : faces) {
        if (face.size() < 3) return ErrorStatus::InvalidInput;
        for (std::int32_t i : face)
            if (i < 0 || static_cast<std::size_t>(i) >= vertices.size()) return ErrorStatus::InvalidInput;
    }
    assertWriteEnabled();
    vertices_ = std::move(vertices);
    faces_ = std::move(faces);
    edges_.clear();
    creases_.clear();
    return ErrorStatus::Ok;
}

ErrorStatus SubDMesh::setEdges(std::vector<Edge> edges, std::vector<double> creases) {
    if (edges.size() != creases.size()) return ErrorStatus::InvalidInput;
    for (const Edge& e : edges)
        for (std::int32_t i : {e.from, e.to})
            if (i < 0 || static_cast<std::size_t>(i) >= vertices_.size()) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    edges_ = std::move(edges);
    creases_ = std::move(creases);
    return ErrorStatus::Ok;
}

ErrorStatus SubDMesh::setSmoothLevel(std::int32_t level) {
    if (level < 0) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    subdivisionLevels_ = level;
    return ErrorStatus::Ok;
}

ErrorStatus SubDMesh::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    for (const Point3d& p : vertices_) extents.addPoint(p);
    return extents.isValid() ? ErrorStatus::Ok : ErrorStatus::InvalidInput;
}

ErrorStatus SubDMesh::transformBy(const Matrix3d& m) {
    if (!m.isAffine() || !(std::abs(m.determinant()) > 1e-300)) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    for (Point3d& p : vertices_) p = m.apply(p);
    return ErrorStatus::Ok;
}

}  // namespace vela::db

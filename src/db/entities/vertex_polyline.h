#pragma once

#include <array>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "db/entities/curve.h"
#include "db/object_ref.h"

namespace vela::db {

class DxfInput;

/// One vertex record of an old-style polyline (DXF "VERTEX"). It is an entity of its own, with a handle and
/// common properties, owned by its polyline and written after it; its class says which kind of polyline it
/// belongs to. A vertex of a 2D polyline holds its point in the polyline's object coordinate system, the
/// others in world coordinates; a face record of a polyface mesh holds no point but the 1-based numbers of
/// its corners (negative where the edge from that corner is invisible).
class Vertex : public Entity {
    VELA_DB_DECLARE_ABSTRACT_CLASS(Vertex)
  public:
    const Point3d& position() const { return location_; }
    void setPosition(const Point3d& p) { assertWriteEnabled(), location_ = p; }
    std::int16_t flags() const { return flags_; }
    double startWidth() const { return startWidth_; }
    double endWidth() const { return endWidth_; }
    void setWidths(double start, double end) { assertWriteEnabled(), startWidth_ = start, endWidth_ = end; }
    double bulge() const { return bulge_; }
    void setBulge(double b) { assertWriteEnabled(), bulge_ = b; }
    /// Corner numbers of a face record (0 where there is none).
    const std::array<std::int16_t, 4>& faceIndices() const { return indices_; }

    /// The point, in world coordinates for vertices that hold one so; InvalidInput for 2D vertices (their
    /// polyline knows the plane) and face records.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Moves a vertex held in world coordinates; a face record has nothing to move. A 2D vertex moves only
    /// with its polyline: refused.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  protected:
    Vertex() = default;
    template <class Io, class Self>
    static void vertexFields(Io& io, Self& self, const char* marker);
    virtual bool inWorldCoordinates() const { return true; }

  private:
    Point3d location_;
    double startWidth_ = 0.0, endWidth_ = 0.0, bulge_ = 0.0;
    double tangent_ = 0.0;  // curve-fit tangent direction, radians, when hasTangent_
    std::array<std::int16_t, 4> indices_{};
    std::int32_t identifier_ = 0;
    std::int16_t flags_ = 0;
    bool hasTangent_ = false;
};

class Vertex2d : public Vertex {
    VELA_DB_DECLARE_CLASS(Vertex2d)
  public:
    Vertex2d() = default;
    explicit Vertex2d(const Point3d& ocsPoint, double bulge = 0.0) { setPosition(ocsPoint), setBulge(bulge); }

  protected:
    bool inWorldCoordinates() const override { return false; }
};

class Polyline3dVertex : public Vertex {
    VELA_DB_DECLARE_CLASS(Polyline3dVertex)
  public:
    Polyline3dVertex() = default;
    explicit Polyline3dVertex(const Point3d& p) { setPosition(p); }
};

class PolyFaceMeshVertex : public Vertex {
    VELA_DB_DECLARE_CLASS(PolyFaceMeshVertex)
  public:
    PolyFaceMeshVertex() = default;
};

class FaceRecord : public Vertex {
    VELA_DB_DECLARE_CLASS(FaceRecord)
  public:
    FaceRecord() = default;

  protected:
    bool inWorldCoordinates() const override { return false; }
};

class PolygonMeshVertex : public Vertex {
    VELA_DB_DECLARE_CLASS(PolygonMeshVertex)
  public:
    PolygonMeshVertex() = default;
};

/// The end marker of a list of followers (DXF "SEQEND").
class SequenceEnd : public Entity {
    VELA_DB_DECLARE_CLASS(SequenceEnd)
  public:
    SequenceEnd() = default;
    /// It has no geometry: InvalidInput.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Nothing to move: it goes with its owner.
    ErrorStatus transformBy(const Matrix3d& transform) override;
};

/// Vertices a polyline outside a database holds itself: the copies a free copy of a polyline makes of its
/// vertices when it is first transformed, so that changing the copy never reaches the drawing's vertices.
/// Copying copies them.
struct FreeVertices {
    std::vector<std::unique_ptr<Vertex>> items;
    FreeVertices() = default;
    FreeVertices(const FreeVertices& other) {
        for (const auto& v : other.items) items.emplace_back(static_cast<Vertex*>(v->clone().release()));
    }
    FreeVertices& operator=(const FreeVertices& other) {
        if (this != &other) items = FreeVertices(other).items;
        return *this;
    }
    FreeVertices(FreeVertices&&) noexcept = default;
    FreeVertices& operator=(FreeVertices&&) noexcept = default;
};

/// What the four kinds of old-style polyline (DXF "POLYLINE") share: the record's fields and the vertices
/// that follow it, which it owns (its followers, the last of them the end marker). Transforming the polyline
/// transforms its vertices (opened for write, so that undo restores them), erasing erases them, deep-cloning
/// copies them. A copy outside a database (a block's entity placed to measure it) works on copies of them.
template <class Base>
class VertexSequence : public Base {
  public:
    /// DXF flag bits of the record (group 70).
    enum Flag : std::int16_t {
        kClosed = 1,
        kCurveFit = 2,
        kSplineFit = 4,
        k3dPolyline = 8,
        kPolygonMesh = 16,
        kClosedN = 32,
        kPolyFaceMesh = 64,
        kPlinegen = 128,
    };
    std::int16_t polylineFlags() const { return flags_; }
    bool isClosed() const { return (flags_ & kClosed) != 0; }
    void setClosed(bool closed) {
        this->assertWriteEnabled();
        flags_ = static_cast<std::int16_t>(closed ? flags_ | kClosed : flags_ & ~kClosed);
    }
    double thickness() const { return thickness_; }
    const Vector3d& normal() const { return normal_; }

    /// The vertices in order (face records included), without the end marker.
    std::vector<const Vertex*> vertices() const {
        std::vector<const Vertex*> out;
        for (const auto& v : free_.items) out.push_back(v.get());
        if (!free_.items.empty()) return out;
        for (const ObjectId& id : followers_)
            if (auto* v = objectCast<Vertex>(id.peek()); v && !v->isErased()) out.push_back(v);
        return out;
    }
    std::size_t numVerts() const { return vertices().size(); }

    std::span<const ObjectId> followers() const override { return followers_; }
    ErrorStatus setFollowers(std::vector<ObjectId> ids) override {
        this->assertWriteEnabled();
        followers_ = std::move(ids);
        return ErrorStatus::Ok;
    }

  protected:
    template <class Io, class Self>
    static void sequenceFields(Io& io, Self& self, const char* marker);
    /// The vertices to change, opened for write (all or none) and held in `open`; a polyline outside a
    /// database changes copies of them instead.
    ErrorStatus editVertices(std::vector<ObjectRef<Vertex>>& open, std::vector<Vertex*>& out);
    /// Applies `m` to vertices held in world coordinates (3D polylines, meshes), as a whole or not at all.
    ErrorStatus transformWorldVertices(const Matrix3d& m);

    Point3d elevation_;  // the record's point (0, 0, elevation), as files hold it
    Vector3d normal_ = Vector3d::zAxis();
    double defaultStartWidth_ = 0.0, defaultEndWidth_ = 0.0;
    double thickness_ = 0.0;
    std::int16_t flags_ = 0;
    std::int16_t mCount_ = 0, nCount_ = 0, mDensity_ = 0, nDensity_ = 0, smoothType_ = 0;
    std::vector<ObjectId> followers_;
    FreeVertices free_;
};

/// A 2D polyline: vertices in its object coordinate system at one elevation, straight or arc segments
/// (bulges), widths per vertex with defaults from the record.
class Polyline2d : public VertexSequence<Curve> {
    VELA_DB_DECLARE_CLASS(Polyline2d)
  public:
    Polyline2d() = default;
    double elevation() const { return elevation_.z; }
    double defaultStartWidth() const { return defaultStartWidth_; }
    double defaultEndWidth() const { return defaultEndWidth_; }
    /// A vertex's point in world coordinates.
    Point3d worldPoint(const Vertex& v) const;
    double length() const;

    /// Whether any segment is wide (widths of its own or the polyline's defaults).
    bool hasWidth() const;

    /// The center line with its arcs; for a wide polyline, its outline, with arcs taken at 64 stations a full
    /// turn as drawing programs outline them. The thickness is not part of the box.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Any affine map for straight segments; arcs need one scale factor (CannotScaleNonUniformly).
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    /// Corners of the pieces of a wide polyline's outline, in its plane.
    std::vector<Point2d> outlineCorners() const;
};

/// A 3D polyline: straight segments between world points.
class Polyline3d : public VertexSequence<Curve> {
    VELA_DB_DECLARE_CLASS(Polyline3d)
  public:
    Polyline3d() = default;
    double length() const;
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;
};

/// A polyface mesh: world points, then face records naming three or four of them.
class PolyFaceMesh : public VertexSequence<Entity> {
    VELA_DB_DECLARE_CLASS(PolyFaceMesh)
  public:
    PolyFaceMesh() = default;
    std::size_t numPoints() const;
    std::size_t numFaces() const;
    /// The box of the points the faces use; InvalidInput when there are no faces.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;
};

/// A polygon mesh: an M by N grid of world points, open or closed in either direction.
class PolygonMesh : public VertexSequence<Entity> {
    VELA_DB_DECLARE_CLASS(PolygonMesh)
  public:
    PolygonMesh() = default;
    std::int16_t mSize() const { return mCount_; }
    std::int16_t nSize() const { return nCount_; }
    bool isClosedInN() const { return (flags_ & kClosedN) != 0; }
    /// The box of the grid's points; InvalidInput when the grid has no face (fewer than 2 x 2 points).
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;
};

/// An empty vertex of the kind `owner`, an old-style polyline, takes for a VERTEX record (a polyface mesh has
/// points and face records, told apart by the record's flags); null when `owner` is no such polyline or the
/// record is no vertex.
std::unique_ptr<Entity> makePolylineVertex(const Entity& owner, std::string_view type,
                                           const DxfInput& record);

}  // namespace vela::db

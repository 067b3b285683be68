#pragma once

#include <vector>

#include "db/entities/curve.h"

namespace vela::db {

/// A lightweight polyline: 2D vertices in its object coordinate system at one elevation. The segment from a
/// vertex to the next is straight when its bulge is 0, else an arc with bulge = tan(sweep / 4) (positive
/// counter-clockwise about the normal).
class Polyline : public Curve {
    VELA_DB_DECLARE_CLASS(Polyline)
public:
    struct Vertex {
        Point2d point;
        double bulge = 0.0;
        double startWidth = 0.0;
        double endWidth = 0.0;
        std::uint32_t id = 0;  // vertex identifier (DXF 91), 0 when absent
        bool operator==(const Vertex&) const = default;
    };

    Polyline() = default;

    std::size_t numVerts() const { return vertices_.size(); }
    const std::vector<Vertex>& vertices() const { return vertices_; }
    void setVertices(std::vector<Vertex> v) { assertWriteEnabled(), vertices_ = std::move(v); }
    /// Inserts a vertex before `index` (at the end when index >= numVerts).
    void addVertexAt(std::size_t index, const Point2d& point, double bulge = 0.0, double startWidth = 0.0,
                     double endWidth = 0.0);
    ErrorStatus removeVertexAt(std::size_t index);
    /// The vertex in world coordinates.
    Point3d pointAt(std::size_t index) const;
    ErrorStatus setBulgeAt(std::size_t index, double bulge);

    bool isClosed() const { return closed_; }
    void setClosed(bool c) { assertWriteEnabled(), closed_ = c; }
    /// Linetype pattern runs continuously through vertices (DXF flag 128).
    bool hasPlinegen() const { return plinegen_; }
    void setPlinegen(bool p) { assertWriteEnabled(), plinegen_ = p; }
    double constantWidth() const { return constantWidth_; }
    void setConstantWidth(double w) { assertWriteEnabled(), constantWidth_ = w; }
    double elevation() const { return elevation_; }
    void setElevation(double e) { assertWriteEnabled(), elevation_ = e; }
    double thickness() const { return thickness_; }
    void setThickness(double t) { assertWriteEnabled(), thickness_ = t; }
    const Vector3d& normal() const { return normal_; }
    void setNormal(const Vector3d& n) { assertWriteEnabled(), normal_ = n.normalized(); }

    /// Number of segments: vertices - 1, or vertices when closed.
    std::size_t numSegments() const;
    double length() const;
    /// Enclosed area (as if closed), always positive.
    double area() const;

    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Takes any transformation that keeps arcs circular: uniform scaling with rotation, reflection and
    /// translation. Non-uniform scaling is taken only by polylines with no arcs and no widths.
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    std::vector<Vertex> vertices_;
    double constantWidth_ = 0.0;
    double elevation_ = 0.0;
    double thickness_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
    bool closed_ = false;
    bool plinegen_ = false;
};

}  // namespace vela::db

#pragma once

#include <string>
#include <vector>

#include "db/entity.h"

namespace vela::db {

/// A multiline (DXF "MLINE"): parallel lines along a path, drawn after a multiline style that the drawing
/// keeps in its objects. The file holds the geometry already worked out: at each vertex, the direction of the
/// next segment, the miter direction, and for each of the style's elements its offset along the miter (with
/// the lengths of its dashes and of its fill breaks).
class Mline : public Entity {
    VELA_DB_DECLARE_CLASS(Mline)
  public:
    struct Element {
        std::vector<double> params;      // offset along the miter, then dash and gap lengths
        std::vector<double> fillParams;  // breaks of the fill
        bool operator==(const Element&) const = default;
    };
    struct Vertex {
        Point3d position;
        Vector3d direction;
        Vector3d miter;
        std::vector<Element> elements;
        bool operator==(const Vertex&) const = default;
    };
    /// Which line of the style follows the path.
    enum class Justification : std::int16_t { Top = 0, Zero = 1, Bottom = 2 };

    Mline() = default;

    const std::vector<Vertex>& vertices() const { return vertices_; }
    std::size_t numVertices() const { return vertices_.size(); }
    const std::string& styleName() const { return styleName_; }
    ObjectId styleId() const { return style_; }
    double scale() const { return scale_; }
    Justification justification() const { return justification_; }
    bool isClosed() const { return (flags_ & kClosed) != 0; }
    const Vector3d& normal() const { return normal_; }
    /// The length of the path through the vertices (closed back to the first when the multiline is closed).
    double length() const;

    /// The box of the style's lines at every vertex, with the round caps the style asks for; InvalidInput
    /// with fewer than two vertices or without its style.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// A uniform scale with rotation, reflection and translation; an uneven one would bend the miters:
    /// CannotScaleNonUniformly.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    static constexpr std::int16_t kClosed = 2;

    std::string styleName_ = "Standard";
    ObjectId style_;
    double scale_ = 1.0;
    Justification justification_ = Justification::Top;
    std::int16_t flags_ = 1;  // 1 has vertices, 2 closed, 4 start caps off, 8 end caps off
    std::int16_t elementCount_ = 2;
    Point3d start_;
    Vector3d normal_ = Vector3d::zAxis();
    std::vector<Vertex> vertices_;
};

}  // namespace vela::db

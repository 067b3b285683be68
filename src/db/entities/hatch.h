#pragma once

#include <string>
#include <vector>

#include "db/entity.h"

namespace vela::db {

/// One edge of a hatch boundary loop, in the hatch's object coordinate system.
struct HatchEdge {
    enum class Type : std::int16_t { Line = 1, CircularArc = 2, EllipticArc = 3, Spline = 4 };
    Type type = Type::Line;
    // Line.
    Point2d start, end;
    // Arcs: center; for circular arcs the radius, for elliptic arcs the major axis end (relative to the
    // center) and the minor-to-major ratio. Angles in radians; a clockwise arc runs from start to end clockwise.
    Point2d center;
    double radius = 0.0;
    Point2d majorAxis;
    double ratio = 1.0;
    double startAngle = 0.0, endAngle = 0.0;
    bool counterClockwise = true;
    // Spline.
    int degree = 3;
    bool rational = false, periodic = false;
    std::vector<double> knots;
    std::vector<Point2d> controlPoints;
    std::vector<double> weights;
    std::vector<Point2d> fitPoints;
    Point2d startTangent, endTangent;

    bool operator==(const HatchEdge&) const = default;
};

/// A closed boundary: either a polyline (vertices with bulges) or a chain of edges.
struct HatchLoop {
    enum Flags : std::int32_t {
        kExternal = 1, kPolyline = 2, kDerived = 4, kTextbox = 8, kOutermost = 16, kNotClosed = 32,
        kSelfIntersecting = 64, kTextIsland = 128, kDuplicate = 256
    };
    std::int32_t flags = kExternal;
    struct Vertex {
        Point2d point;
        double bulge = 0.0;
        bool operator==(const Vertex&) const = default;
    };
    std::vector<Vertex> vertices;  // polyline loops
    bool closed = true;            // polyline loops
    std::vector<HatchEdge> edges;  // edge loops
    /// Entities the loop was made from (for associative hatches).
    std::vector<ObjectId> sourceObjects;

    bool isPolyline() const { return (flags & kPolyline) != 0; }
    bool operator==(const HatchLoop&) const = default;
};

/// One family of parallel pattern lines.
struct HatchPatternLine {
    double angle = 0.0;  // radians
    Point2d base;
    Point2d offset;
    std::vector<double> dashes;
    bool operator==(const HatchPatternLine&) const = default;
};

/// An area filled solid or with a pattern, bounded by loops.
class Hatch : public Entity {
    VELA_DB_DECLARE_CLASS(Hatch)
public:
    enum class PatternType : std::int16_t { UserDefined = 0, Predefined = 1, Custom = 2 };
    enum class Style : std::int16_t { Normal = 0, Outer = 1, Ignore = 2 };

    Hatch() = default;

    const std::string& patternName() const { return patternName_; }
    PatternType patternType() const { return patternType_; }
    /// Sets the pattern by name; "SOLID" makes a solid fill. Pattern lines are given separately (from a .pat
    /// definition, scaled and rotated by the caller).
    void setPattern(PatternType type, std::string_view name);
    bool isSolidFill() const { return solid_; }
    double patternScale() const { return patternScale_; }
    void setPatternScale(double s) { assertWriteEnabled(), patternScale_ = s; }
    double patternAngle() const { return patternAngle_; }
    void setPatternAngle(double a) { assertWriteEnabled(), patternAngle_ = a; }
    double patternSpace() const { return patternSpace_; }
    void setPatternSpace(double s) { assertWriteEnabled(), patternSpace_ = s; }
    bool patternDouble() const { return patternDouble_; }
    void setPatternDouble(bool d) { assertWriteEnabled(), patternDouble_ = d; }
    const std::vector<HatchPatternLine>& patternLines() const { return patternLines_; }
    void setPatternLines(std::vector<HatchPatternLine> lines) { assertWriteEnabled(), patternLines_ = std::move(lines); }

    Style style() const { return style_; }
    void setStyle(Style s) { assertWriteEnabled(), style_ = s; }
    bool associative() const { return associative_; }
    void setAssociative(bool a) { assertWriteEnabled(), associative_ = a; }
    double elevation() const { return elevation_; }
    void setElevation(double e) { assertWriteEnabled(), elevation_ = e; }
    const Vector3d& normal() const { return normal_; }
    void setNormal(const Vector3d& n) { assertWriteEnabled(), normal_ = n.normalized(); }

    const std::vector<HatchLoop>& loops() const { return loops_; }
    std::size_t numLoops() const { return loops_.size(); }
    /// InvalidInput for a loop with nothing in it or a polyline loop of fewer than two vertices.
    ErrorStatus appendLoop(HatchLoop loop);
    ErrorStatus removeLoopAt(std::size_t index);
    const std::vector<Point2d>& seedPoints() const { return seedPoints_; }
    void setSeedPoints(std::vector<Point2d> p) { assertWriteEnabled(), seedPoints_ = std::move(p); }

    /// Area enclosed by the external loops less the area of the loops inside them (even-odd by nesting).
    double area() const;

    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Uniform transformations only (loops hold arcs).
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    std::string patternName_ = "SOLID";
    std::vector<HatchPatternLine> patternLines_;
    std::vector<HatchLoop> loops_;
    std::vector<Point2d> seedPoints_;
    Vector3d normal_ = Vector3d::zAxis();
    double patternScale_ = 1.0;
    double patternAngle_ = 0.0;
    double patternSpace_ = 1.0;
    double elevation_ = 0.0;
    PatternType patternType_ = PatternType::Predefined;
    Style style_ = Style::Normal;
    bool solid_ = true;
    bool associative_ = false;
    bool patternDouble_ = false;
};

}  // namespace vela::db

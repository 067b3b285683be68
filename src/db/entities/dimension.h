#pragma once

#include <optional>
#include <string>

#include "db/entity.h"
#include "db/geometry/plane_map.h"

namespace vela::db {

/// A dimension: definition points that say what is measured, the position of its text, and an anonymous block
/// ("*D...") that draws it. The drawing is the block's content, so the box of a dimension is the box of that
/// content, and transforming it moves the definition points and the content alike.
///
/// Files name every subtype "DIMENSION" and tell them apart by the low bits of group 70; the class of a
/// record is picked from that group before it is read (see RxClass::refine).
class Dimension : public Entity {
    VELA_DB_DECLARE_ABSTRACT_CLASS(Dimension)
  public:
    /// The subtype in the low four bits of group 70.
    enum Type : std::int16_t {
        kRotated = 0,
        kAligned = 1,
        kAngular2Line = 2,
        kDiametric = 3,
        kRadial = 4,
        kAngular3Point = 5,
        kOrdinate = 6,
        kArc = 8,
    };
    /// Bits of group 70 besides the subtype.
    static constexpr std::int16_t kBlockUnique = 32, kOrdinateX = 64, kUserTextPosition = 128;

    /// The anonymous block that draws the dimension.
    ObjectId dimensionBlock() const { return block_; }
    void setDimensionBlock(ObjectId block) { assertWriteEnabled(), block_ = block; }
    std::string dimensionBlockName() const;
    ObjectId dimensionStyle() const { return style_; }
    void setDimensionStyle(ObjectId style) { assertWriteEnabled(), style_ = style; }
    std::string dimensionStyleName() const;

    /// Group 70: the subtype and the flags above.
    std::int16_t typeFlags() const { return flags_; }
    /// The definition point of group 10 (the dimension line's end, an arc's center, ...), in world
    /// coordinates.
    const Point3d& definitionPoint() const { return defPoint_; }
    void setDefinitionPoint(const Point3d& p) { assertWriteEnabled(), defPoint_ = p; }
    /// The middle of the text, in world coordinates.
    Point3d textPosition() const;
    void setTextPosition(const Point3d& p);
    /// The text shown instead of the measurement: empty or "<>" shows the measurement, "<>" standing for it
    /// within a longer text.
    const std::string& textOverride() const { return text_; }
    void setTextOverride(std::string_view text) { assertWriteEnabled(), text_ = std::string(text); }
    /// The measurement the file recorded (group 42); none when it recorded none.
    std::optional<double> measurement() const { return measurement_; }
    /// The text's rotation in the dimension's plane, radians (0 when the file gave none).
    double textRotation() const { return textRotation_.value_or(0.0); }
    void setTextRotation(double r) { assertWriteEnabled(), textRotation_ = r; }
    const Vector3d& normal() const { return normal_; }
    /// Where the block is placed (group 12, object coordinates) when the file placed it; none when the block
    /// holds the drawing where it stands.
    const std::optional<Point3d>& insertionPoint() const { return insertionPoint_; }

    /// The box of the block content that draws the dimension; InvalidInput when the block is missing or
    /// empty.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Moves the definition points, the text position and the block content. Refused
    /// (CannotScaleNonUniformly, CannotTransform) when the transformation is not uniform or an entity of the
    /// content cannot take it; the dimension and its block are then left as they were. A free copy (outside a
    /// database) that shares its source's block is refused with NotInDatabase; a dimension whose block is
    /// placed at an insertion point (group 12) takes moves only.
    ErrorStatus transformBy(const Matrix3d& transform) override;
    /// Gives a deep clone a copy of the block that draws it, under a new anonymous name.
    ErrorStatus copySharedParts() override;

  protected:
    explicit Dimension(std::int16_t type) : flags_(static_cast<std::int16_t>(type | kBlockUnique)) {}

    /// The "AcDbDimension" section that every subtype shares.
    template <class Io, class Self>
    static void dimensionFields(Io& io, Self& self);
    /// Transforms the subtype's own points and angles (world points with `m`, plane points with `plane`).
    virtual void transformOwn(const Matrix3d& m, const AxesTransform& plane) = 0;

  private:
    ObjectId block_;
    ObjectId style_;
    Point3d defPoint_;                       // world coordinates
    Point3d textPosition_;                   // object coordinates
    std::optional<Point3d> insertionPoint_;  // object coordinates; where a copy's block is placed
    std::string text_;
    std::optional<double> measurement_;
    std::optional<double> textRotation_;
    std::optional<double> horizontalDirection_;
    Vector3d normal_ = Vector3d::zAxis();
    std::int16_t flags_ = kBlockUnique;
};

/// A dimension of the distance between two points along the line through them.
class AlignedDimension : public Dimension {
    VELA_DB_DECLARE_CLASS(AlignedDimension)
  public:
    AlignedDimension() : Dimension(kAligned) {}
    /// The origins of the two extension lines, in world coordinates.
    const Point3d& xLine1Point() const { return xLine1_; }
    const Point3d& xLine2Point() const { return xLine2_; }
    void setXLinePoints(const Point3d& p1, const Point3d& p2) {
        assertWriteEnabled(), xLine1_ = p1, xLine2_ = p2;
    }

  protected:
    explicit AlignedDimension(std::int16_t type) : Dimension(type) {}
    template <class Io, class Self>
    static void alignedFields(Io& io, Self& self);
    void transformOwn(const Matrix3d& m, const AxesTransform& plane) override;

  private:
    friend class RotatedDimension;
    Point3d xLine1_, xLine2_;
    std::optional<double> rotation_;  // the dimension line's direction; a rotated dimension's own
};

/// A dimension of the distance between two points along a given direction (horizontal, vertical, rotated).
class RotatedDimension : public AlignedDimension {
    VELA_DB_DECLARE_CLASS(RotatedDimension)
  public:
    RotatedDimension() : AlignedDimension(kRotated) {}
    /// The direction measured along, radians in the dimension's plane.
    double rotation() const { return rotation_.value_or(0.0); }
    void setRotation(double r) { assertWriteEnabled(), rotation_ = r; }
};

/// An angle between two lines, each given by two points; the arc passes through a point in the plane.
class TwoLineAngularDimension : public Dimension {
    VELA_DB_DECLARE_CLASS(TwoLineAngularDimension)
  public:
    TwoLineAngularDimension() : Dimension(kAngular2Line) {}
    const Point3d& xLine1Start() const { return line1Start_; }
    const Point3d& xLine1End() const { return line1End_; }
    const Point3d& xLine2Start() const { return line2Start_; }
    /// The second line's end is the definition point.
    Point3d arcPoint() const;

  protected:
    void transformOwn(const Matrix3d& m, const AxesTransform& plane) override;

  private:
    Point3d line1Start_, line1End_, line2Start_;  // world coordinates
    Point3d arcPoint_;                            // object coordinates
};

/// An angle at a vertex between two points; the dimension arc passes through the definition point.
class ThreePointAngularDimension : public Dimension {
    VELA_DB_DECLARE_CLASS(ThreePointAngularDimension)
  public:
    ThreePointAngularDimension() : Dimension(kAngular3Point) {}
    const Point3d& xLine1Point() const { return xLine1_; }
    const Point3d& xLine2Point() const { return xLine2_; }
    const Point3d& centerPoint() const { return center_; }

  protected:
    void transformOwn(const Matrix3d& m, const AxesTransform& plane) override;

  private:
    Point3d xLine1_, xLine2_, center_;
};

/// The radius of a circle or arc: the definition point is the center, the chord point lies on the curve.
class RadialDimension : public Dimension {
    VELA_DB_DECLARE_CLASS(RadialDimension)
  public:
    RadialDimension() : Dimension(kRadial) {}
    const Point3d& chordPoint() const { return chord_; }
    double leaderLength() const { return leaderLength_.value_or(0.0); }

  protected:
    void transformOwn(const Matrix3d& m, const AxesTransform& plane) override;

  private:
    Point3d chord_;
    std::optional<double> leaderLength_;
};

/// The diameter of a circle or arc between two opposite points on it (the definition point and the chord
/// point).
class DiametricDimension : public Dimension {
    VELA_DB_DECLARE_CLASS(DiametricDimension)
  public:
    DiametricDimension() : Dimension(kDiametric) {}
    const Point3d& chordPoint() const { return chord_; }
    double leaderLength() const { return leaderLength_.value_or(0.0); }

  protected:
    void transformOwn(const Matrix3d& m, const AxesTransform& plane) override;

  private:
    Point3d chord_;
    std::optional<double> leaderLength_;
};

/// The X or Y distance of a feature from an origin (the definition point), with a leader to its text.
class OrdinateDimension : public Dimension {
    VELA_DB_DECLARE_CLASS(OrdinateDimension)
  public:
    OrdinateDimension() : Dimension(kOrdinate) {}
    bool isUsingXAxis() const { return (typeFlags() & kOrdinateX) != 0; }
    const Point3d& definingPoint() const { return feature_; }
    const Point3d& leaderEndPoint() const { return leaderEnd_; }

  protected:
    void transformOwn(const Matrix3d& m, const AxesTransform& plane) override;

  private:
    Point3d feature_, leaderEnd_;
};

/// The length of an arc, between two extension lines from the arc's center.
class ArcDimension : public Dimension {
    VELA_DB_DECLARE_CLASS(ArcDimension)
  public:
    ArcDimension() : Dimension(kArc) {}
    const Point3d& xLine1Point() const { return xLine1_; }
    const Point3d& xLine2Point() const { return xLine2_; }
    const Point3d& centerPoint() const { return center_; }
    bool isPartial() const { return partial_; }
    bool hasLeader() const { return hasLeader_; }

  protected:
    void transformOwn(const Matrix3d& m, const AxesTransform& plane) override;

  private:
    Point3d xLine1_, xLine2_, center_;
    Point3d leader1_, leader2_;
    double arcStart_ = 0.0, arcEnd_ = 0.0;  // kept as the file gives them
    bool partial_ = false, hasLeader_ = false;
};

/// The radius of a large arc whose center lies off the drawing: a jogged line toward an override center.
class RadialDimensionLarge : public Dimension {
    VELA_DB_DECLARE_CLASS(RadialDimensionLarge)
  public:
    RadialDimensionLarge() : Dimension(kRadial) {}
    const Point3d& chordPoint() const { return chord_; }
    const Point3d& overrideCenter() const { return overrideCenter_; }
    const Point3d& jogPoint() const { return jog_; }

  protected:
    void transformOwn(const Matrix3d& m, const AxesTransform& plane) override;

  private:
    Point3d chord_, overrideCenter_, jog_;
};

}  // namespace vela::db

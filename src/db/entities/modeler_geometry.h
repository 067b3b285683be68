#pragma once

#include <optional>
#include <string>
#include <vector>

#include "db/entity.h"

namespace vela::db {

/// What regions, solids, bodies and surfaces share: their shape is the solid modeller's data, which we keep
/// exactly as it came (text lines in the entity, or a reference to binary data stored elsewhere in the file)
/// and do not evaluate. So they have no extents here, and a transformation is taken only when it can be
/// recorded in the data without a modeller: a rotation and translation with a positive uniform scale,
/// composed into the placement of each body of text data. Anything else is refused and changes nothing.
class ModelerGeometry : public Entity {
  public:
    /// True when the entity holds the modeller's data as text lines (older files); newer files keep it as
    /// binary data elsewhere, which this entity only refers to.
    bool hasTextData() const;
    /// The text lines, decoded; empty without text data.
    std::vector<std::string> textData() const;
    /// The placement recorded for the first body (identity when it has none); nullopt without text data or
    /// when it cannot be read.
    std::optional<Matrix3d> bodyTransform() const;
    std::int16_t modelerFormatVersion() const { return version_; }

    /// InvalidInput: the shape is not known without a modeller.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

  protected:
    ModelerGeometry() = default;
    /// The common groups and the modeller section (its data lines are kept, not declared).
    template <class Io, class Self>
    static void modelerFields(Io& io, Self& self);
    /// Kinds whose own section holds geometry of its own (paths, matrices) cannot take a transformation
    /// recorded in the modeller's data alone.
    virtual bool hasOwnGeometry() const { return false; }

  private:
    std::int16_t version_ = 1;
};

/// A planar area bounded by closed loops.
class Region : public ModelerGeometry {
    VELA_DB_DECLARE_CLASS(Region)
  public:
    Region() = default;
};

/// A closed solid. Its construction history, when recorded, is another object it refers to (kept).
class Solid3d : public ModelerGeometry {
    VELA_DB_DECLARE_CLASS(Solid3d)
  public:
    Solid3d() = default;
};

/// A body of the modeller that is neither a solid nor a region (non-manifold or mixed).
class Body : public ModelerGeometry {
    VELA_DB_DECLARE_CLASS(Body)
  public:
    Body() = default;
};

/// A surface of the modeller, with the number of isolines drawn along it.
class Surface : public ModelerGeometry {
    VELA_DB_DECLARE_CLASS(Surface)
  public:
    Surface() = default;
    std::int16_t uIsolines() const { return uIsolines_ < 0 ? 0 : uIsolines_; }
    std::int16_t vIsolines() const { return vIsolines_ < 0 ? 0 : vIsolines_; }

  protected:
    template <class Io, class Self>
    static void surfaceFields(Io& io, Self& self);

  private:
    // -1 while a file gives none: such a file gets none back.
    std::int16_t uIsolines_ = -1;
    std::int16_t vIsolines_ = -1;
};

// Surfaces made by a modelling operation: the operation's own data (profiles, paths, matrices) is kept as it
// came; since it holds geometry too, these take no transformation.
class ExtrudedSurface : public Surface {
    VELA_DB_DECLARE_CLASS(ExtrudedSurface)
  public:
    ExtrudedSurface() = default;

  protected:
    bool hasOwnGeometry() const override { return true; }
};

class LoftedSurface : public Surface {
    VELA_DB_DECLARE_CLASS(LoftedSurface)
  public:
    LoftedSurface() = default;

  protected:
    bool hasOwnGeometry() const override { return true; }
};

class RevolvedSurface : public Surface {
    VELA_DB_DECLARE_CLASS(RevolvedSurface)
  public:
    RevolvedSurface() = default;

  protected:
    bool hasOwnGeometry() const override { return true; }
};

class SweptSurface : public Surface {
    VELA_DB_DECLARE_CLASS(SweptSurface)
  public:
    SweptSurface() = default;

  protected:
    bool hasOwnGeometry() const override { return true; }
};

class PlaneSurface : public Surface {
    VELA_DB_DECLARE_CLASS(PlaneSurface)
  public:
    PlaneSurface() = default;

  protected:
    bool hasOwnGeometry() const override { return true; }
};

}  // namespace vela::db

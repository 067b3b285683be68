#pragma once

#include <span>
#include <string>
#include <vector>

#include "db/color.h"
#include "db/geometry/extents.h"
#include "db/geometry/matrix.h"
#include "db/lineweight.h"
#include "db/object.h"
#include "db/transparency.h"

namespace vela::db {

/// A graphical object with the properties every entity shares.
class Entity : public DbObject {
    VELA_DB_DECLARE_ABSTRACT_CLASS(Entity)
public:
    ObjectId layerId() const { return layer_; }
    void setLayerId(ObjectId layer) { assertWriteEnabled(), layer_ = layer; }
    /// The layer's name, or empty when the entity has no layer yet.
    std::string layer() const;
    /// Sets the layer by name; KeyNotFound when the entity's database has no such layer.
    ErrorStatus setLayer(std::string_view name);

    Color color() const { return color_; }
    void setColor(Color c) { assertWriteEnabled(), color_ = c, colorIndexHint_ = kNearestIndex; }
    ObjectId linetypeId() const { return linetype_; }
    void setLinetypeId(ObjectId linetype) { assertWriteEnabled(), linetype_ = linetype; }
    std::string linetype() const;
    ErrorStatus setLinetype(std::string_view name);
    LineWeight lineWeight() const { return lineWeight_; }
    void setLineWeight(LineWeight w) { assertWriteEnabled(), lineWeight_ = w; }
    double linetypeScale() const { return linetypeScale_; }
    void setLinetypeScale(double s) { assertWriteEnabled(), linetypeScale_ = s; }
    Transparency transparency() const { return transparency_; }
    void setTransparency(Transparency t) { assertWriteEnabled(), transparency_ = t; }
    bool isVisible() const { return visible_; }
    void setVisibility(bool v) { assertWriteEnabled(), visible_ = v; }

    /// The block (model space, a layout or a block definition) that owns the entity.
    ObjectId blockId() const { return ownerId(); }

    /// Applies the database's current layer, color, linetype, lineweight and linetype scale. With a null
    /// database, the entity's own database is used.
    void setDatabaseDefaults(const Database* database = nullptr);

    /// The exact axis-aligned box of the entity's geometry; InvalidInput when it has none (an empty polyline).
    virtual ErrorStatus getGeomExtents(Extents3d& extents) const = 0;
    /// Transforms the geometry. A transformation the type cannot take (non-uniform scaling of a circle, for
    /// example) is refused with an error and leaves the entity unchanged.
    virtual ErrorStatus transformBy(const Matrix3d& transform) = 0;

    /// Entities that belong to this one and follow it in a file, the list closed by its end marker (a block
    /// reference's attributes, an old-style polyline's vertices). They are erased and un-erased with it,
    /// copied when it is deep-cloned and written after it; they are in no block's list of entities.
    virtual std::span<const ObjectId> followers() const { return {}; }
    /// Replaces the list; InvalidInput for kinds that own no followers.
    virtual ErrorStatus setFollowers(std::vector<ObjectId> /*ids*/) { return ErrorStatus::InvalidInput; }
    /// Called on a deep clone, open for write in its database: replaces what it would otherwise share with its
    /// source by copies of its own (the block that draws a dimension), so that changing one leaves the other.
    virtual ErrorStatus copySharedParts() { return ErrorStatus::Ok; }

protected:
    Entity() = default;
    /// The groups every entity shares, declared once for reading and writing (entity_dxf.h).
    template <class Io, class Self>
    static void entityFields(Io& io, Self& self);

private:
    friend class Database;
    ObjectId layer_;
    ObjectId linetype_;
    double linetypeScale_ = 1.0;
    Color color_;
    Transparency transparency_;
    LineWeight lineWeight_ = LineWeight::ByLayer;
    bool visible_ = true;
    // For a true color, the palette index a file gave beside it (for programs that show no true colors), or
    // kNoIndex when the file gave none, or kNearestIndex to write the nearest palette color.
    static constexpr std::uint16_t kNearestIndex = 0, kNoIndex = 0xFFFF;
    std::uint16_t colorIndexHint_ = kNearestIndex;
};

}  // namespace vela::db

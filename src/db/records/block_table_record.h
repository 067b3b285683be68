#pragma once

#include <algorithm>
#include <vector>

#include "db/entity.h"
#include "db/geometry/vector.h"
#include "db/symbol_table.h"

namespace vela::db {

/// A block definition, or a layout's space (model space, paper space). It owns its entities, kept in the
/// order they were appended; erased entities stay in the list (for undo) and are skipped by iteration.
class BlockTableRecord : public SymbolTableRecord {
    VELA_DB_DECLARE_CLASS(BlockTableRecord)
  public:
    static constexpr std::string_view kModelSpace = "*Model_Space";
    static constexpr std::string_view kPaperSpace = "*Paper_Space";

    BlockTableRecord() = default;
    explicit BlockTableRecord(std::string_view name) { name_ = std::string(name); }

    const Point3d& origin() const { return origin_; }
    void setOrigin(const Point3d& p) { assertWriteEnabled(), origin_ = p; }
    const std::string& comments() const { return comments_; }
    void setComments(std::string_view c) { assertWriteEnabled(), comments_ = std::string(c); }
    /// Path of the external drawing this block comes from; empty for ordinary blocks.
    const std::string& pathName() const { return pathName_; }
    void setPathName(std::string_view p) { assertWriteEnabled(), pathName_ = std::string(p); }

    /// Whether references to the block may be exploded into its entities (DXF 280); true unless forbidden.
    bool isExplodable() const { return explodable_; }
    void setExplodable(bool explodable) { assertWriteEnabled(), explodable_ = explodable; }
    /// Whether references to the block must scale it the same in every direction (DXF 281); false by default.
    bool isScaledUniformly() const { return scaledUniformly_; }
    void setScaledUniformly(bool uniform) { assertWriteEnabled(), scaledUniformly_ = uniform; }
    /// The units the block is drawn in, to scale it when inserted into a drawing of other units (DXF 70 of
    /// the block record: 0 unitless, 1 inches, 4 millimetres, ...).
    std::int16_t insertUnits() const { return insertUnits_; }
    void setInsertUnits(std::int16_t units) { assertWriteEnabled(), insertUnits_ = units; }

    /// Model space and paper spaces ("*Model_Space", "*Paper_Space", "*Paper_Space0", ...).
    bool isLayout() const;
    bool isModelSpace() const { return namesEqual(name_, kModelSpace); }
    bool isAnonymous() const { return flags_ & 1; }
    bool isFromExternalReference() const { return (flags_ & 4) != 0 || !pathName_.empty(); }

    /// Ids of live entities in drawing order.
    std::vector<ObjectId> entityIds() const;
    /// Calls f(Entity*) for each live entity, in drawing order, without opening it: for read-only scans.
    template <class F>
    void forEachEntity(F&& f) const {
        for (DbObject* e : entities_)
            if (!e->isErased()) f(static_cast<Entity*>(e));
    }
    /// The same for the slots [from, to) of the entity list (erased ones skipped), so that a long scan can be
    /// split across threads. Reading entities this way from several threads is safe while nothing changes
    /// them.
    template <class F>
    void forEachEntityIn(std::size_t from, std::size_t to, F&& f) const {
        to = std::min(to, entities_.size());
        for (std::size_t i = from; i < to; ++i)
            if (!entities_[i]->isErased()) f(static_cast<Entity*>(entities_[i]));
    }
    std::size_t entityCount() const;
    /// Number of entries including erased ones; a cheap upper bound.
    std::size_t entitySlotCount() const { return entities_.size(); }

    /// Handles of the BLOCK and ENDBLK records a DXF file gives this definition; kept so a round trip keeps
    /// them.
    Handle blockBeginHandle() const { return blockBegin_; }
    Handle blockEndHandle() const { return blockEnd_; }
    void setBlockBeginEndHandles(Handle begin, Handle end) { blockBegin_ = begin, blockEnd_ = end; }
    /// The layout object a space belongs to (a kept object of the drawing), or null.
    ObjectId layoutId() const { return layout_; }
    void setLayoutId(ObjectId id) { assertWriteEnabled(), layout_ = id; }

    // The list of owned entities is not part of the undoable contents: appending is undone by erasing, so the
    // list only ever grows and a copy for undo never has to duplicate it.
    BlockTableRecord(const BlockTableRecord& other)
        : SymbolTableRecord(other),
          origin_(other.origin_),
          comments_(other.comments_),
          pathName_(other.pathName_),
          layout_(other.layout_),
          insertUnits_(other.insertUnits_),
          explodable_(other.explodable_),
          scaledUniformly_(other.scaledUniformly_) {}
    BlockTableRecord& operator=(const BlockTableRecord& other) {
        SymbolTableRecord::operator=(other);
        origin_ = other.origin_, comments_ = other.comments_, pathName_ = other.pathName_;
        layout_ = other.layout_;
        insertUnits_ = other.insertUnits_, explodable_ = other.explodable_,
        scaledUniformly_ = other.scaledUniformly_;
        return *this;
    }

  private:
    friend class Database;
    Point3d origin_;
    std::string comments_;
    std::string pathName_;
    ObjectId layout_;
    std::int16_t insertUnits_ = 0;
    bool explodable_ = true;
    bool scaledUniformly_ = false;
    Handle blockBegin_, blockEnd_;
    std::vector<DbObject*> entities_;
};

}  // namespace vela::db

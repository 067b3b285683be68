#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "db/color.h"
#include "db/database_reactor.h"
#include "db/drawing_defaults.h"
#include "db/entity.h"
#include "db/file_data.h"
#include "db/handle_map.h"
#include "db/lineweight.h"
#include "db/object_ref.h"
#include "db/symbol_table.h"
#include "db/transparency.h"
#include "db/undo_manager.h"

namespace vela::db {

class BlockTableRecord;
class LayerTableRecord;
struct LinetypeDefinition;

/// Source to clone mapping filled by Database::deepCloneObjects.
using IdMapping = std::unordered_map<ObjectId, ObjectId>;

/// A drawing: every object of it, keyed by handle, with the symbol tables, the current defaults, the
/// notification list and undo.
class Database {
public:
    /// A new drawing with layer "0", linetypes ByBlock, ByLayer and Continuous, text and dimension style
    /// "Standard", the application id "ACAD", the active viewport, model space and one paper space.
    Database();
    /// An empty database with no records at all, for readers that build a drawing from a file.
    struct Empty {};
    explicit Database(Empty);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // ---- Handles and ids ----------------------------------------------------------------------------------
    /// The live object with this handle; null for unknown handles and, unless asked, for erased objects.
    ObjectId getObjectId(Handle handle, bool includeErased = false) const;
    /// The handle the next new object will get.
    Handle handseed() const { return Handle(nextHandle_); }
    /// Raises the next handle to at least `seed` (never lowers it: handles are never reused).
    void raiseHandseed(Handle seed);
    std::size_t objectCount() const { return handles_.size(); }
    /// Takes the next handle for something that is not an object of ours but needs a handle in a file (the
    /// BLOCK and ENDBLK records of a block definition).
    Handle allocateHandle();

    /// Adds a free object to the database under `owner`. With a non-null `handle` (from a file) the object gets
    /// that handle when it is free; otherwise the next one. Fires "appended" and records the append for undo.
    ErrorStatus addObject(std::unique_ptr<DbObject> object, ObjectId owner, ObjectId* id = nullptr,
                          Handle handle = Handle());
    /// Appends a free entity to a block table record (model space, a layout, a block definition). An entity
    /// without a layer or linetype gets layer "0" and linetype ByLayer.
    ErrorStatus appendEntity(ObjectId block, std::unique_ptr<Entity> entity, ObjectId* id = nullptr,
                             Handle handle = Handle());
    /// Adds a record to a symbol table. The name must be valid for users' records (see isValidSymbolName) unless
    /// `fromFile`, and unused (DuplicateRecordName).
    ErrorStatus addRecord(ObjectId table, std::unique_ptr<SymbolTableRecord> record, ObjectId* id = nullptr,
                          Handle handle = Handle(), bool fromFile = false);

    /// Calls f(DbObject*) for every object, live or erased.
    template <class F>
    void forEachObject(F&& f) const {
        handles_.forEach(f);
    }

    // ---- Tables -------------------------------------------------------------------------------------------
    ObjectId layerTableId() const { return layerTable_; }
    ObjectId linetypeTableId() const { return linetypeTable_; }
    ObjectId textStyleTableId() const { return textStyleTable_; }
    ObjectId dimStyleTableId() const { return dimStyleTable_; }
    ObjectId blockTableId() const { return blockTable_; }
    ObjectId viewportTableId() const { return viewportTable_; }
    ObjectId viewTableId() const { return viewTable_; }
    ObjectId ucsTableId() const { return ucsTable_; }
    ObjectId regAppTableId() const { return regAppTable_; }
    SymbolTable* layerTable() const;
    SymbolTable* linetypeTable() const;
    SymbolTable* textStyleTable() const;
    SymbolTable* dimStyleTable() const;
    SymbolTable* blockTable() const;

    ObjectId modelSpaceId() const;
    ObjectId paperSpaceId() const;
    ObjectId layerZeroId() const;
    ObjectId linetypeByLayerId() const;
    ObjectId linetypeByBlockId() const;
    ObjectId linetypeContinuousId() const;

    /// Makes an added table one of the drawing's nine (the one of its class), for a database built from a file
    /// (Database(Empty)). NotInDatabase for an id of no object of this drawing, NotThatKindOfClass for another object.
    ErrorStatus setTableId(ObjectId table);

    // ---- Current defaults ---------------------------------------------------------------------------------
    // Every change is recorded for undo while a group is open: a command that sets the current layer is
    // undone with its other changes.
    ObjectId currentLayer() const;
    ErrorStatus setCurrentLayer(ObjectId layer);
    Color currentColor() const { return defaults_.color; }
    void setCurrentColor(Color c) {
        changeDefaults([&](DrawingDefaults& d) { d.color = c; });
    }
    ObjectId currentLinetype() const;
    ErrorStatus setCurrentLinetype(ObjectId linetype);
    LineWeight currentLineWeight() const { return defaults_.lineWeight; }
    void setCurrentLineWeight(LineWeight w) {
        changeDefaults([&](DrawingDefaults& d) { d.lineWeight = w; });
    }
    double currentLinetypeScale() const { return defaults_.linetypeScale; }
    void setCurrentLinetypeScale(double s) {
        changeDefaults([&](DrawingDefaults& d) { d.linetypeScale = s; });
    }
    Transparency currentTransparency() const { return defaults_.transparency; }
    void setCurrentTransparency(Transparency t) {
        changeDefaults([&](DrawingDefaults& d) { d.transparency = t; });
    }
    /// The global linetype scale ($LTSCALE).
    double linetypeScale() const { return defaults_.globalLinetypeScale; }
    void setLinetypeScale(double s) {
        changeDefaults([&](DrawingDefaults& d) { d.globalLinetypeScale = s; });
    }
    MeasurementSystem measurement() const { return defaults_.measurement; }
    void setMeasurement(MeasurementSystem m) {
        changeDefaults([&](DrawingDefaults& d) { d.measurement = m; });
    }
    /// The drawing's units ($INSUNITS, 0 to 24).
    int insertionUnits() const { return defaults_.insertionUnits; }
    void setInsertionUnits(int units) {
        changeDefaults([&](DrawingDefaults& d) { d.insertionUnits = units; });
    }
    /// The height new text gets ($TEXTSIZE).
    double textSize() const { return defaults_.textSize; }
    void setTextSize(double h) {
        changeDefaults([&](DrawingDefaults& d) { d.textSize = h; });
    }
    const DrawingDefaults& defaults() const { return defaults_; }

    // ---- Reactors -----------------------------------------------------------------------------------------
    void addReactor(DatabaseReactor* reactor);
    void removeReactor(DatabaseReactor* reactor);

    // ---- Undo ---------------------------------------------------------------------------------------------
    UndoManager& undoManager() { return undo_; }
    const UndoManager& undoManager() const { return undo_; }

    // ---- File data ----------------------------------------------------------------------------------------
    FileData& fileData() { return fileData_; }
    const FileData& fileData() const { return fileData_; }
    /// Adds whatever a drawing needs and lacks: the nine tables, layer "0", linetypes ByBlock, ByLayer and
    /// Continuous, text and dimension style "Standard", application id "ACAD", model space and a paper space.
    /// A new drawing is made this way; a reader calls it after a file that left something out.
    void addMissingFramework();

    // ---- Services -----------------------------------------------------------------------------------------
    /// Marks every layer in use or not: in use when a live entity in any block (layouts and definitions) lies on
    /// it. Layer "0" and the current layer count as in use, as drawing programs treat them.
    void generateLayerUsageData();
    /// Clones entities into the block table record `owner`, each with a new handle. References among the cloned
    /// objects are not re-pointed (entities reference tables, which are shared). Ids that are null, erased or not
    /// entities are skipped; an id listed twice is cloned once.
    ErrorStatus deepCloneObjects(const std::vector<ObjectId>& ids, ObjectId owner, IdMapping& mapping);
    /// Adds the linetype `name` from a definition (as read from a .lin file). DuplicateRecordName when the
    /// drawing has it already.
    ErrorStatus addLinetype(const LinetypeDefinition& definition, ObjectId* id = nullptr);
    /// Loads linetype `name` (case-insensitive) from the .lin file `path`. FileNotFound, KeyNotFound when the file
    /// has no such linetype, DuplicateRecordName when the drawing has it already.
    ErrorStatus loadLinetype(std::string_view name, const std::filesystem::path& path, ObjectId* id = nullptr);

private:
    friend class UndoManager;
    friend class DbObject;
    friend ErrorStatus detail::openImpl(DbObject*, const RxClass*, OpenMode, OpenOptions);
    friend void detail::closeImpl(DbObject*, OpenMode);

    ObjectId addTable(std::unique_ptr<SymbolTable> table);
    ObjectId addDefaultRecord(ObjectId table, std::unique_ptr<SymbolTableRecord> record);
    ErrorStatus registerObject(DbObject* object, DbObject* owner, Handle handle);

    // Change protocol, driven by DbObject and the undo manager.
    void objectWillChange(DbObject* object, bool contents, bool firstInOpen);
    void objectClosedAfterChange(DbObject* object);
    void setErasedFlag(DbObject* object, bool erased, bool record);
    void reactorLinked(DbObject* object, ObjectId reactor);
    void contentsRestored(DbObject* object);
    template <class F>
    void changeDefaults(F&& change) {
        DrawingDefaults next = defaults_;
        change(next);
        if (next == defaults_) return;
        undo_.recordDefaults(defaults_);
        defaults_ = next;
    }

    void fireAppended(const DbObject* o) const;
    void fireOpenedForModify(const DbObject* o) const;
    void fireModified(const DbObject* o) const;
    void fireErased(const DbObject* o, bool erased) const;

    HandleMap handles_;
    std::uint64_t nextHandle_ = 1;
    std::vector<DatabaseReactor*> reactors_;
    UndoManager undo_{*this};

    ObjectId layerTable_, linetypeTable_, textStyleTable_, dimStyleTable_, blockTable_, viewportTable_,
        viewTable_, ucsTable_, regAppTable_;
    DrawingDefaults defaults_;
    FileData fileData_;
};

}  // namespace vela::db

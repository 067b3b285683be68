#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "db/object.h"

namespace vela::db {

/// The most characters a record name may have in a drawing file.
inline constexpr std::size_t kMaxSymbolNameLength = 255;

/// True when `name` may name a layer, block or other symbol table record: not empty, not only blanks, at most
/// kMaxSymbolNameLength characters (UTF-8), none of the characters drawings forbid (< > / \ " : ; ? * | , = `)
/// and no control characters.
bool isValidSymbolName(std::string_view name);

/// Folds ASCII letters to lower case: record names compare without regard to case.
std::string foldName(std::string_view name);
bool namesEqual(std::string_view a, std::string_view b);

/// A named record in a symbol table (a layer, a linetype, a block, ...).
class SymbolTableRecord : public DbObject {
    VELA_DB_DECLARE_ABSTRACT_CLASS(SymbolTableRecord)
public:
    const std::string& name() const { return name_; }
    /// Renames the record. The name must be valid and unused in the table (compared without regard to case);
    /// renaming to the same name in another case is allowed.
    ErrorStatus setName(std::string_view name);
    /// True for records that come from an external reference ("XREF|LAYER").
    bool isDependent() const { return name_.find('|') != std::string::npos; }
    /// DXF group 70 flags other than those we model separately.
    std::int16_t flags() const { return flags_; }
    void setFlags(std::int16_t flags) { assertWriteEnabled(), flags_ = flags; }

protected:
    SymbolTableRecord() = default;
    /// The groups every record shares: its markers, name and (unless the type uses 70 otherwise) flags.
    template <class Io, class Self>
    static void recordFields(Io& io, Self& self, const char* subclassName, bool withFlags);

    std::string name_;
    std::int16_t flags_ = 0;
};

/// Hash and equality of record names without regard to ASCII case, usable with string views so that lookups
/// need no folded copy of the name.
struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept;
};
struct NameEqual {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept { return namesEqual(a, b); }
};

/// A table of records with unique names. Records are kept in the order they were added; erased records stay in
/// the list (for undo) but are invisible to lookups and iteration.
class SymbolTable : public DbObject {
    VELA_DB_DECLARE_ABSTRACT_CLASS(SymbolTable)
public:
    /// The class its records must be of.
    virtual const RxClass* recordClass() const = 0;

    /// The live record with this name (case-insensitive), or null.
    ObjectId getAt(std::string_view name) const;
    bool has(std::string_view name) const { return !getAt(name).isNull(); }
    /// Ids of the live records in table order.
    std::vector<ObjectId> recordIds() const;
    template <class F>
    void forEachRecord(F&& f) const {
        for (DbObject* r : records_)
            if (!r->isErased()) f(static_cast<SymbolTableRecord*>(r));
    }
    std::size_t size() const;

private:
    friend class Database;
    friend class SymbolTableRecord;
    void appendRecord(SymbolTableRecord* record);
    void invalidateIndex() const { indexValid_ = false; }
    void rebuildIndex() const;

    std::vector<DbObject*> records_;
    mutable std::unordered_map<std::string, DbObject*, NameHash, NameEqual> index_;
    mutable bool indexValid_ = false;
};

#define VELA_DB_DECLARE_TABLE(TableName, RecordName)                            \
    class RecordName;                                                           \
    class TableName : public SymbolTable {                                      \
        VELA_DB_DECLARE_CLASS(TableName)                                        \
    public:                                                                     \
        const RxClass* recordClass() const override;                           \
    };

VELA_DB_DECLARE_TABLE(LayerTable, LayerTableRecord)
VELA_DB_DECLARE_TABLE(LinetypeTable, LinetypeTableRecord)
VELA_DB_DECLARE_TABLE(TextStyleTable, TextStyleTableRecord)
VELA_DB_DECLARE_TABLE(DimStyleTable, DimStyleTableRecord)
VELA_DB_DECLARE_TABLE(BlockTable, BlockTableRecord)
VELA_DB_DECLARE_TABLE(ViewportTable, ViewportTableRecord)
VELA_DB_DECLARE_TABLE(ViewTable, ViewTableRecord)
VELA_DB_DECLARE_TABLE(UcsTable, UcsTableRecord)
VELA_DB_DECLARE_TABLE(RegAppTable, RegAppTableRecord)

#undef VELA_DB_DECLARE_TABLE

}  // namespace vela::db

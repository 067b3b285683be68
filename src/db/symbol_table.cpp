#include "db/symbol_table.h"

#include "db/database.h"
#include "db/dxf/fields/dxf_io.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"
#include "db/records/simple_records.h"
#include "db/records/text_style_table_record.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(SymbolTableRecord, "AcDbSymbolTableRecord", "", DbObject)
VELA_DB_DEFINE_CLASS(SymbolTable, "AcDbSymbolTable", "TABLE", DbObject)

// A table's own groups: its marker and the record count (written from the live records).
#define VELA_DB_DEFINE_TABLE(TableName, RecordName, ClassName)                 \
    VELA_DB_DEFINE_CLASS(TableName, ClassName, "TABLE", SymbolTable)           \
    const RxClass* TableName::recordClass() const { return RecordName::desc(); } \
    template <class Io, class Self>                                            \
    void TableName::dxfFields(Io& io, Self& self) {                            \
        io.subclass("AcDbSymbolTable");                                        \
        std::int16_t count = static_cast<std::int16_t>(self.size());           \
        io.i16(70, count);                                                     \
    }                                                                          \
    VELA_DB_DEFINE_DXF(TableName)

VELA_DB_DEFINE_TABLE(LayerTable, LayerTableRecord, "AcDbLayerTable")
VELA_DB_DEFINE_TABLE(LinetypeTable, LinetypeTableRecord, "AcDbLinetypeTable")
VELA_DB_DEFINE_TABLE(TextStyleTable, TextStyleTableRecord, "AcDbTextStyleTable")
VELA_DB_DEFINE_TABLE(DimStyleTable, DimStyleTableRecord, "AcDbDimStyleTable")
VELA_DB_DEFINE_TABLE(BlockTable, BlockTableRecord, "AcDbBlockTable")
VELA_DB_DEFINE_TABLE(ViewportTable, ViewportTableRecord, "AcDbViewportTable")
VELA_DB_DEFINE_TABLE(ViewTable, ViewTableRecord, "AcDbViewTable")
VELA_DB_DEFINE_TABLE(UcsTable, UcsTableRecord, "AcDbUCSTable")
VELA_DB_DEFINE_TABLE(RegAppTable, RegAppTableRecord, "AcDbRegAppTable")

bool isValidSymbolName(std::string_view name) {
    if (name.empty() || name.size() > 4 * kMaxSymbolNameLength) return false;
    bool onlyBlanks = true;
    std::size_t characters = 0;
    for (unsigned char c : name) {
        // UTF-8: every byte but a continuation byte starts a character.
        if ((c & 0xC0) != 0x80 && ++characters > kMaxSymbolNameLength) return false;
        if (c < 0x20) return false;
        switch (c) {
            case '<': case '>': case '/': case '\\': case '"': case ':': case ';': case '?': case '*': case '|':
            case ',': case '=': case '`':
                return false;
            default: break;
        }
        if (c != ' ') onlyBlanks = false;
    }
    return !onlyBlanks;
}

std::string foldName(std::string_view name) {
    std::string out(name);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool namesEqual(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

ErrorStatus SymbolTableRecord::setName(std::string_view name) {
    // Names read from files may hold '|' (external reference records), so only names given by users are checked
    // against the full rule; a dependent record keeps its bar.
    if (name.empty()) return ErrorStatus::InvalidSymbolTableName;
    if (name == name_) return ErrorStatus::Ok;
    if (auto* table = objectCast<SymbolTable>(ownerId().peek())) {
        const ObjectId other = table->getAt(name);
        if (!other.isNull() && other.peek() != this) return ErrorStatus::DuplicateRecordName;
    }
    assertWriteEnabled();
    name_ = std::string(name);
    if (auto* table = objectCast<SymbolTable>(ownerId().peek())) table->invalidateIndex();
    return ErrorStatus::Ok;
}

std::size_t NameHash::operator()(std::string_view name) const noexcept {
    // FNV-1a over the folded bytes.
    std::uint64_t h = 1469598103934665603ull;
    for (char c : name) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ull;
    }
    return static_cast<std::size_t>(h);
}

void SymbolTable::appendRecord(SymbolTableRecord* record) {
    records_.push_back(record);
    invalidateIndex();
}

void SymbolTable::rebuildIndex() const {
    index_.clear();
    for (DbObject* r : records_)
        if (!r->isErased()) index_.emplace(static_cast<SymbolTableRecord*>(r)->name(), r);
    indexValid_ = true;
}

ObjectId SymbolTable::getAt(std::string_view name) const {
    if (!indexValid_) rebuildIndex();
    auto it = index_.find(name);
    if (it == index_.end() || it->second->isErased()) return ObjectId();
    return it->second->objectId();
}

std::vector<ObjectId> SymbolTable::recordIds() const {
    std::vector<ObjectId> ids;
    ids.reserve(records_.size());
    for (DbObject* r : records_)
        if (!r->isErased()) ids.push_back(r->objectId());
    return ids;
}

std::size_t SymbolTable::size() const {
    std::size_t n = 0;
    for (DbObject* r : records_) n += r->isErased() ? 0 : 1;
    return n;
}

}  // namespace vela::db

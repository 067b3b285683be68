#include "db/dxf/fields/dxf_io.h"

#include "db/database.h"
#include "db/records/layer_table_record.h"

namespace vela::db {

void DxfWriteIo::flushKept(const std::string& section) {
    if (!extras_) return;
    const auto& kept = extras_->keptTags;
    bool inSection = section.empty();
    for (const DxfTag& t : kept) {
        if (t.code == 100) {
            inSection = t.value == section;
            continue;
        }
        if (inSection) out_.writeRaw(t.code, t.value);
    }
}

void DxfWriteIo::end() {
    flushKept(section_);
    if (!extras_) return;
    // Sections of classes we do not model come last, with their markers.
    const auto& kept = extras_->keptTags;
    bool foreign = false;
    for (const DxfTag& t : kept) {
        if (t.code == 100) {
            foreign = !t.value.empty() && written_.find('\n' + t.value + '\n') == std::string::npos;
            if (foreign) out_.writeString(100, t.value);
            continue;
        }
        if (foreign) out_.writeRaw(t.code, t.value);
    }
}

void DxfReadIo::id(int code, ObjectId& v) {
    Handle h;
    if (!in_.readHandle(code, h) || !in_.database()) return;
    Database* db = in_.database();
    in_.afterLoading([db, h, &v] { v = db->getObjectId(h, true); });
}

}  // namespace vela::db

namespace vela::db {

namespace {
SymbolTable* tableOf(const Database* db, TableKind kind) {
    if (!db) return nullptr;
    switch (kind) {
        case TableKind::Layer: return db->layerTable();
        case TableKind::Linetype: return db->linetypeTable();
        case TableKind::TextStyle: return db->textStyleTable();
        case TableKind::DimStyle: return db->dimStyleTable();
        case TableKind::Block: return db->blockTable();
    }
    return nullptr;
}
}  // namespace

void DxfWriteIo::symbol(int code, const ObjectId& v, TableKind, const char* skipName) {
    auto* record = objectCast<SymbolTableRecord>(v.peek());
    if (!record) return;
    if (skipName && namesEqual(record->name(), skipName)) return;
    out_.writeString(code, record->name());
}

void DxfReadIo::symbol(int code, ObjectId& v, TableKind kind, const char*) {
    std::string name;
    if (!in_.readString(code, name) || name.empty()) return;
    Database* db = in_.database();
    DxfInput::NameCache* cache = in_.nameCache();
    const int k = static_cast<int>(kind);
    if (cache) {
        auto it = cache->byName[k].find(name);
        if (it != cache->byName[k].end() && it->second.isValid()) {
            v = it->second;
            return;
        }
    }
    if (SymbolTable* table = tableOf(db, kind)) {
        const ObjectId found = table->getAt(name);
        if (!found.isNull()) {
            v = found;
            if (cache) cache->byName[k][name] = found;
            return;
        }
    }
    if (!db) return;
    in_.afterLoading([db, name, kind, &v] {
        SymbolTable* table = tableOf(db, kind);
        if (!table) return;
        ObjectId found = table->getAt(name);
        if (found.isNull() && kind == TableKind::Layer)
            db->addRecord(db->layerTableId(), std::make_unique<LayerTableRecord>(name), &found, Handle(), true);
        if (!found.isNull()) v = found;
    });
}

}  // namespace vela::db

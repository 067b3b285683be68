#include "db/dxf/fields/dxf_io.h"

#include "db/database.h"
#include "db/dxf/tags/group_code.h"
#include "db/records/layer_table_record.h"

namespace vela::db {

void DxfWriteIo::flushKept() {
    if (!extras_) return;
    const std::string& section = section_;
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
    flushKept();
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

void DxfWriteIo::boolean(int code, bool v) {
    if (dxf::valueTypeOf(code) == dxf::ValueType::Bool)
        out_.writeBool(code, v);
    else
        out_.writeInt16(code, v ? 1 : 0);
}

void DxfWriteIo::writeCount(int code, std::size_t n) {
    if (dxf::valueTypeOf(code) == dxf::ValueType::Int16)
        out_.writeInt16(code, static_cast<std::int16_t>(n));
    else
        out_.writeInt32(code, static_cast<std::int32_t>(n));
}

void DxfWriteIo::ids(int countCode, int code, const std::vector<ObjectId>& ids) {
    std::size_t n = 0;
    for (ObjectId id : ids) n += id.isValid() ? 1 : 0;  // erased objects are not written, nor counted
    writeCount(countCode, n);
    for (ObjectId id : ids)
        if (id.isValid()) out_.writeObjectId(code, id);
}

void DxfWriteIo::chunkedText(int lastCode, int chunkCode, const std::string& v) {
    std::string_view rest = v;
    while (rest.size() > 250) {
        std::size_t cut = 250;
        while (cut > 0 && (static_cast<unsigned char>(rest[cut]) & 0xC0) == 0x80) --cut;
        if (cut == 0) cut = 250;  // no character start in reach: not UTF-8, cut anywhere
        out_.writeString(chunkCode, rest.substr(0, cut));
        rest.remove_prefix(cut);
    }
    out_.writeString(lastCode, rest);
}

ListCount DxfReadIo::readCount(int code) {
    ListCount count;
    const bool present = in_.has(code);
    std::int64_t n = -1;
    if (in_.readInt64(code, n) && n >= 0) count.limit = static_cast<std::size_t>(n);
    if (present) count.from = in_.lastUsed() + 1;
    return count;
}

void DxfReadIo::chunkedText(int lastCode, int chunkCode, std::string& v) {
    std::string text, part;
    bool any = false;
    DxfInput::List chunks = in_.beginList(chunkCode);
    while (in_.nextItem(chunks)) {
        if (in_.readString(chunkCode, part)) text += part, any = true;
        in_.endItem(chunks);
    }
    if (in_.readString(lastCode, part)) text += part, any = true;
    if (any) v = std::move(text);
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
        case TableKind::Layer:
            return db->layerTable();
        case TableKind::Linetype:
            return db->linetypeTable();
        case TableKind::TextStyle:
            return db->textStyleTable();
        case TableKind::DimStyle:
            return db->dimStyleTable();
        case TableKind::Block:
            return db->blockTable();
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

void DxfReadIo::symbolOr(int code, ObjectId& v, TableKind kind, const char* defaultName) {
    symbol(code, v, kind);
    if (v.isNull())
        if (SymbolTable* table = tableOf(in_.database(), kind)) v = table->getAt(defaultName);
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
            db->addRecord(db->layerTableId(), std::make_unique<LayerTableRecord>(name), &found, Handle(),
                          true);
        if (!found.isNull()) v = found;
    });
}

}  // namespace vela::db

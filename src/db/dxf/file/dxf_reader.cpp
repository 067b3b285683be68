#include "db/dxf/file/dxf_reader.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "db/dxf/fields/dxf_input.h"
#include "db/dxf/fields/dxf_record.h"
#include "db/dxf/file/header_scan.h"
#include "db/dxf/file/unmarked_sections.h"
#include "db/dxf/file/value_repair.h"
#include "db/dxf/tags/group_code.h"
#include "db/dxf/tags/tag_reader.h"
#include "db/dxf/tags/text_codec.h"
#include "db/entities/block_reference.h"
#include "db/entities/vertex_polyline.h"
#include "db/raw_object.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"

namespace vela::db {

namespace {

using dxf::DxfError;
using dxf::Tag;

// Record types name the classes of their objects through the class registry, refined by the record's groups
// where classes share a type (see RxClass::refine); a type no class has is kept as it came, as a stand-in.

std::unique_ptr<Entity> makeEntity(std::string_view type, const DxfInput& groups) {
    if (const RxClass* cls = RxRegistry::findByDxfName(type))
        if (auto entity = createObject<Entity>(cls->refine(groups))) return entity;
    return std::make_unique<RawEntity>(type);
}

/// An object of the OBJECTS section. Entities, tables and table records have places of their own in a file:
/// their types here are kept as they came.
std::unique_ptr<DbObject> makeObject(std::string_view type) {
    const RxClass* cls = RxRegistry::findByDxfName(type);
    const bool placedElsewhere = cls && (cls->isDerivedFrom(Entity::desc()) || cls->isDerivedFrom(SymbolTable::desc()) ||
                                         cls->isDerivedFrom(SymbolTableRecord::desc()));
    if (!placedElsewhere)
        if (auto object = createObject<DbObject>(cls)) return object;
    return std::make_unique<RawObject>(type);
}

/// The table whose records have the type a table's name gives ("LAYER"), or null.
std::unique_ptr<SymbolTable> makeTable(std::string_view recordType) {
    const RxClass* record = RxRegistry::findByDxfName(recordType);
    if (!record || !record->canCreate() || !record->isDerivedFrom(SymbolTableRecord::desc())) return nullptr;
    for (const RxClass* cls : RxRegistry::classes(SymbolTable::desc()))
        if (auto table = createObject<SymbolTable>(cls); table && table->recordClass() == record) return table;
    return nullptr;
}

/// The record-level structure of one object: handle, owner, reactor and extension-dictionary groups, and
/// extended data, split off from the groups its declaration reads.
struct Record {
    std::string type;
    std::size_t line = 0;
    Handle handle;
    Handle owner;
    bool hasOwner = false;
    std::vector<Handle> reactors;
    Handle extensionDictionary;
    std::vector<DxfTag> otherAppGroups;  // 102 {NAME ... } groups of other applications
    std::vector<DxfTag> xdata;
    std::unique_ptr<DxfInput> input;

    /// Ready for the next record of the same loop, keeping the memory of the groups.
    void clear() {
        type.clear();
        line = 0;
        handle = owner = Handle();
        hasOwner = false;
        reactors.clear();
        extensionDictionary = Handle();
        otherAppGroups.clear();
        xdata.clear();
    }
};

class Loader {
public:
    Loader(std::string_view data, const LoadProgress& progress, std::function<void(std::size_t)> release,
           const DxfReadOptions& options)
        : data_(data),
          reader_(data),
          progress_(progress),
          release_(std::move(release)),
          db_(std::make_unique<Database>(Database::Empty{})) {
        codePage_ = dxf::detectCodePage(data);
        strict_ = options.strict;
    }

    DxfReadResult run();

private:
    bool fail(std::size_t line, std::string message) {
        if (!error_) error_ = DxfError{line, std::move(message), reader_.isBinary()};
        return false;
    }
    bool failFromReader() {
        if (reader_.error()) {
            if (!error_) error_ = *reader_.error();
        } else if (!error_) {
            error_ = DxfError{lastLine_, "unexpected end of file", reader_.isBinary()};
        }
        return false;
    }
    bool next(Tag& tag) {
        if (!reader_.next(tag)) return false;
        lastLine_ = tag.line;
        if (progress_ && reader_.position() >= nextProgress_) {
            progress_(reader_.position(), data_.size());
            nextProgress_ = reader_.position() + (1u << 20);
        }
        return true;
    }
    void warn(std::size_t line, const std::string& message) {
        if (warnings_.size() < 1000)
            warnings_.push_back((reader_.isBinary() ? "offset " : "line ") + std::to_string(line) + ": " + message);
    }
    /// A damaged structure: refused when reading strictly, else repaired as the message says. False to stop.
    bool repair(std::size_t line, const std::string& refusal, const std::string& repaired) {
        if (strict_) return fail(line, refusal);
        warn(line, repaired);
        return true;
    }
    /// Values kept as text that their group codes do not allow are repaired or dropped, with a warning that
    /// names what they are of ("LINE", "LINE extended data").
    void repairKept(std::vector<DxfTag>& groups, std::size_t line, std::string_view what,
                    std::string_view part = {}) {
        if (groups.empty()) return;
        dxf::repairGroups(groups, what, [&](int code, const std::string& description) {
            warn(line, std::string(what) + std::string(part) + ", group " + std::to_string(code) + ": " +
                           description);
        });
    }

    /// The value of a tag as text, decoded to UTF-8 where it is text in another code page.
    std::string_view text(const Tag& tag, std::string& scratch);
    /// Reads the groups up to the next 0 group into a record (the 0 group itself is the record's type, read by
    /// the caller). False on a reader error.
    bool readRecord(Record& record);

    /// Header variables up to the next 0 group; `inSection` when that group should be the section's ENDSEC.
    bool readHeader(bool inSection = true);
    /// Groups between sections (after an ENDSEC, before the next SECTION).
    bool readOutsideSections(const Tag& first);
    bool readTables();
    bool readTable();
    /// The records of a table up to its ENDTAB.
    bool readTableRecords(ObjectId tableId, const RxClass* recordClass);
    /// A record after its table's end (or with no table at all): read into the table of its type.
    bool readStrayRecords(const Tag& first);
    bool readBlocks();
    bool readEntities(ObjectId block, bool entitiesSection, const Tag* first = nullptr);
    bool readObjects();
    bool keepSection(const std::string& name);

    /// Applies the record structure to an object and its groups through its declaration.
    void decode(DbObject& object, Record& record);
    void afterAdding(DbObject& object, Record& record, ErrorStatus status);
    ObjectId addEntity(std::unique_ptr<Entity> entity, Record& record, ObjectId block);
    /// A handle the drawing already has is replaced by a new one (files with duplicates exist).
    void checkHandle(Record& record);
    /// Before the first object without a handle in the file gets one of ours, every handle the file uses is
    /// found (older files give some objects none), so that ours never take one a later object brings.
    void ensureHandleFloor();
    void readLayerTransparency(LayerTableRecord& layer);
    /// A block record of model space that comes under another name (an anonymous "*U..." whose extended data
    /// gives the true name) is made model space again.
    void recogniseModelSpace(BlockTableRecord& record, std::size_t line);
    /// Repairs of references once every object is in: a layout and the block record it shows point at each
    /// other (one of them may have come without a handle), objects of the OBJECTS section get the dictionary
    /// that lists them as owner, and the BLOCK/ENDBLK handles that an object also has are given up.
    void repairReferences();
    void applyHeader();
    /// Adds the tables and records the file has not given (yet). Their handles are taken above every handle in
    /// the file, so that objects read later keep theirs.
    void completeFramework();

    std::string_view data_;
    dxf::TagReader reader_;
    const LoadProgress& progress_;
    std::size_t nextProgress_ = 0;
    // Hands back the bytes before an offset (the file's pages) once nothing refers to them any more.
    std::function<void(std::size_t)> release_;
    std::size_t nextRelease_ = 8u << 20;
    std::size_t lastLine_ = 0;
    dxf::CodePage codePage_;
    std::unique_ptr<Database> db_;
    std::optional<DxfError> error_;
    std::vector<std::string> warnings_;
    std::vector<std::function<void()>> steps_;
    std::vector<std::function<void()>> pending_;  // the steps of the object being read
    DxfInput::NameCache names_;
    bool handleFloorSet_ = false;
    std::set<std::string> tablesSeen_;
    bool strict_ = false;
    // Files from R13 on give every object a handle: one without is worth a warning there (R12 files have
    // none).
    bool handlesExpected_ = false;
    // Block names read as others (a model space under an anonymous name), by folded name.
    std::unordered_map<std::string, std::string> blockAliases_;
    // Where the records of tables and the OBJECTS section start, for the warnings of the repairs made later.
    std::unordered_map<const DbObject*, std::size_t> recordLines_;
};

std::string_view Loader::text(const Tag& tag, std::string& scratch) {
    if (tag.storage != dxf::Storage::Text) {
        // Binary numbers become text so that every value reads the same way.
        char buf[64];
        std::to_chars_result r{};
        switch (tag.storage) {
            case dxf::Storage::Double: {
                double v = 0;
                std::memcpy(&v, tag.value.data(), sizeof v);
                r = std::to_chars(buf, buf + sizeof buf, v);
                break;
            }
            case dxf::Storage::Int16: {
                std::int16_t v = 0;
                std::memcpy(&v, tag.value.data(), sizeof v);
                r = std::to_chars(buf, buf + sizeof buf, v);
                break;
            }
            case dxf::Storage::Int32: {
                std::int32_t v = 0;
                std::memcpy(&v, tag.value.data(), sizeof v);
                r = std::to_chars(buf, buf + sizeof buf, v);
                break;
            }
            case dxf::Storage::Int64: {
                std::int64_t v = 0;
                std::memcpy(&v, tag.value.data(), sizeof v);
                r = std::to_chars(buf, buf + sizeof buf, v);
                break;
            }
            case dxf::Storage::Byte: {
                const int v = static_cast<unsigned char>(tag.value.empty() ? 0 : tag.value[0]);
                r = std::to_chars(buf, buf + sizeof buf, v);
                break;
            }
            case dxf::Storage::Bytes: {
                static const char* hex = "0123456789ABCDEF";
                scratch.clear();
                for (unsigned char c : tag.value) scratch += hex[c >> 4], scratch += hex[c & 15];
                return scratch;
            }
            default: return tag.value;
        }
        scratch.assign(buf, r.ptr);
        return scratch;
    }
    const dxf::ValueType type = dxf::valueTypeOf(tag.code);
    if (type != dxf::ValueType::String && type != dxf::ValueType::Comment) return tag.value;
    // Plain ASCII without escapes reads the same in every code page.
    bool plain = true, control = false;
    for (char c : tag.value) {
        const auto u = static_cast<unsigned char>(c);
        if (u >= 0x80 || c == '\\')
            plain = false;
        else if (u < 0x20 && (c == '\0' || c == '\r' || c == '\n'))
            plain = false, control = true;
    }
    if (plain) return tag.value;
    scratch = dxf::decodeText(tag.value, codePage_);
    if (control) {
        // Line breaks (binary files have them in text) would end the line they are written on: they take the
        // caret form ASCII files give them ("^J"). A NUL byte ends a string for most readers: it goes.
        if (dxf::caretEncodeLineBreaks(scratch))
            warn(tag.line, "NUL bytes are removed from the text of group " + std::to_string(tag.code));
    }
    return scratch;
}

bool Loader::readRecord(Record& record) {
    // A record's type names its class; one that could not be written back as read is no type at all.
    bool printable = !record.type.empty() && record.type.size() <= 64;
    for (unsigned char c : record.type) printable = printable && c > 0x20 && c < 0x7F;
    if (!printable) return fail(record.line, "expected a record type, found '" + record.type.substr(0, 40) + "'");
    if (record.input)
        record.input->reset();
    else
        record.input = std::make_unique<DxfInput>(db_.get());
    DxfInput& in = *record.input;
    Tag tag;
    std::string scratch;
    bool sawMarker = false;
    bool inXData = false;
    while (next(tag)) {
        if (tag.code == 0) {
            reader_.pushBack();
            return true;
        }
        std::string_view value = text(tag, scratch);
        const bool owned = value.data() == scratch.data() && !scratch.empty();
        if (tag.code >= 1000 || inXData) {
            inXData = true;
            record.xdata.push_back({tag.code, std::string(value)});
            continue;
        }
        if ((tag.code == 5 || (tag.code == 105 && record.type == "DIMSTYLE")) && record.handle.isNull()) {
            if (auto h = tag.toHandle()) {
                record.handle = Handle(*h);
                continue;
            }
            warn(tag.line, "bad handle '" + tag.displayValue() + "'");
            continue;
        }
        if (tag.code == 102 && !sawMarker && !value.empty() && value.front() == '{') {
            // Application groups: reactors, the extension dictionary, or another application's data to keep.
            const std::string name(value);
            std::vector<DxfTag> inner;
            bool closed = false;
            while (next(tag)) {
                if (tag.code == 0) {
                    reader_.pushBack();
                    break;
                }
                std::string s2;
                std::string_view v2 = text(tag, s2);
                if (tag.code == 102) {
                    closed = true;
                    break;
                }
                inner.push_back({tag.code, std::string(v2)});
            }
            if (reader_.failed()) return false;
            if (!closed) warn(tag.line, "application group " + name + " is not closed");
            if (name == "{ACAD_REACTORS") {
                for (const DxfTag& t : inner)
                    if (auto h = Handle::fromText(t.value); h && t.code == 330) record.reactors.push_back(*h);
            } else if (name == "{ACAD_XDICTIONARY") {
                for (const DxfTag& t : inner)
                    if (auto h = Handle::fromText(t.value); h && t.code == 360) record.extensionDictionary = *h;
            } else {
                record.otherAppGroups.push_back({102, name});
                for (DxfTag& t : inner) record.otherAppGroups.push_back(std::move(t));
                record.otherAppGroups.push_back({102, "}"});
            }
            continue;
        }
        if (tag.code == 330 && !sawMarker && !record.hasOwner) {
            if (auto h = tag.toHandle()) {
                record.owner = Handle(*h);
                record.hasOwner = true;
                continue;
            }
        }
        if (tag.code == 100) sawMarker = true;
        if (owned)
            in.addOwnedGroup(tag.code, std::string(value), tag.line);
        else
            in.addGroup(tag.code, value, tag.line);
    }
    if (reader_.failed()) return false;
    // The end of the data inside a record: the file was cut short.
    return fail(lastLine_, "unexpected end of file inside " + record.type);
}

void Loader::decode(DbObject& object, Record& record) {
    DxfInput& in = *record.input;
    // Steps that resolve references later point into the object: they are kept only once it is in the drawing.
    pending_.clear();
    in.setLoaderSteps(&pending_);
    in.setNameCache(&names_);
    // Records of older files without subclass markers: their kept groups are filed under the markers a current
    // file has, so that they are written back where readers look for them.
    if (objectCast<Entity>(&object)) assignUnmarkedSections(in, record.type);
    if (objectCast<RawEntity>(&object)) in.keepLaterGroupsInPlace();
    object.dxfInFields(in);
    for (const std::string& e : in.errors()) warnings_.push_back(e);
    std::vector<DxfTag> kept = std::move(record.otherAppGroups);
    std::vector<DxfTag> unused = in.unusedGroups();
    kept.insert(kept.end(), std::make_move_iterator(unused.begin()), std::make_move_iterator(unused.end()));
    // What is kept is written back as it came: it must be what its group codes allow.
    repairKept(kept, record.line, record.type);
    repairKept(record.xdata, record.line, record.type, " extended data");
    if (!kept.empty() || !record.xdata.empty() || !record.reactors.empty() || !record.extensionDictionary.isNull()) {
        ObjectExtras& extras = object.editExtras();
        extras.keptTags = std::move(kept);
        extras.xdata = std::move(record.xdata);
    }
}

void Loader::afterAdding(DbObject& object, Record& record, ErrorStatus status) {
    if (status != ErrorStatus::Ok) {
        pending_.clear();
        return;
    }
    for (auto& step : pending_) steps_.push_back(std::move(step));
    pending_.clear();
    Database* db = db_.get();
    DbObject* target = &object;
    if (!record.reactors.empty() || !record.extensionDictionary.isNull()) {
        std::vector<Handle> reactors = record.reactors;
        const Handle xdict = record.extensionDictionary;
        steps_.push_back([db, target, reactors, xdict] {
            auto ref = openObject(target->objectId(), OpenMode::ForWrite, {.openErased = true, .openOnLockedLayer = true});
            if (!ref) return;
            ObjectExtras& extras = ref->editExtras();
            for (Handle h : reactors)
                if (ObjectId id = db->getObjectId(h, true); !id.isNull()) extras.persistentReactors.push_back(id);
            extras.extensionDictionary = db->getObjectId(xdict, true);
        });
    }
    // Owners named by handle are resolved at the end (they may come later in the file); an owner the file does
    // not have is kept as its group so that it is written back.
    if (record.hasOwner && object.ownerId().isNull()) {
        const Handle owner = record.owner;
        steps_.push_back([db, target, owner] {
            const ObjectId id = db->getObjectId(owner, true);
            auto ref = openObject(target->objectId(), OpenMode::ForWrite, {.openErased = true, .openOnLockedLayer = true});
            if (!ref) return;
            if (!id.isNull() || owner.isNull()) {
                ref->setOwnerId(id);
            } else {
                auto& kept = ref->editExtras().keptTags;
                kept.insert(kept.begin(), DxfTag{330, owner.toText()});
            }
        });
    }
}

void Loader::ensureHandleFloor() {
    if (handleFloorSet_) return;
    handleFloorSet_ = true;
    std::uint64_t highest = 0;
    dxf::TagReader scan(data_);
    Tag tag;
    while (scan.next(tag))
        if (tag.code == 5 || tag.code == 105)
            if (auto h = tag.toHandle()) highest = std::max(highest, *h);
    db_->raiseHandseed(Handle(highest + 1));
}

void Loader::checkHandle(Record& record) {
    if (record.handle.isNull()) {
        if (handlesExpected_) warn(record.line, record.type + " has no handle; it gets a new one");
        ensureHandleFloor();
        return;
    }
    if (db_->getObjectId(record.handle, true).isNull()) return;
    warn(record.line, "handle " + record.handle.toText() + " is used twice; the second " + record.type +
                          " gets a new handle");
    record.handle = Handle();
}

ObjectId Loader::addEntity(std::unique_ptr<Entity> entity, Record& record, ObjectId block) {
    Entity& e = *entity;
    decode(e, record);
    checkHandle(record);
    ObjectId id;
    const ErrorStatus es = db_->appendEntity(block, std::move(entity), &id, record.handle);
    if (es != ErrorStatus::Ok) warn(record.line, record.type + " dropped: " + errorText(es));
    afterAdding(e, record, es);
    return id;
}

// ---- Sections -------------------------------------------------------------------------------------------------

bool Loader::readHeader(bool inSection) {
    Tag tag;
    FileData& file = db_->fileData();
    std::string scratch;
    std::size_t variableLine = 0;  // of the variable being read, 0 before the first
    // A variable is written back as it came: its values must be what their group codes allow, and a variable
    // without any would be written as a name other readers take the next variable's name for the value of.
    auto finishVariable = [&] {
        if (variableLine == 0) return;
        FileData::HeaderVariable& v = file.header.back();
        repairKept(v.groups, variableLine, "header variable " + v.name);
        if (v.groups.empty()) {
            warn(variableLine, "header variable " + v.name + " has no value and is dropped");
            file.header.pop_back();
        } else if (v.name == "$ACADVER" && v.groups.front().value >= "AC1012") {
            handlesExpected_ = true;
        }
        variableLine = 0;
    };
    while (next(tag)) {
        if (tag.code == 0) {
            finishVariable();
            if (tag.is(0, "ENDSEC")) return true;
            reader_.pushBack();
            if (!inSection) return true;
            return repair(tag.line, "expected a header variable (9) or ENDSEC, found 0 " + tag.displayValue(),
                          "the HEADER section ends without ENDSEC");
        }
        if (tag.code == 9) {
            finishVariable();
            const std::string name(tag.value);
            if (!inSection)
                // Read after the section: the later value counts.
                std::erase_if(file.header, [&](const FileData::HeaderVariable& v) { return v.name == name; });
            file.header.push_back({name, {}});
            variableLine = tag.line;
            continue;
        }
        if (variableLine == 0) {
            warn(tag.line, "a header value before any variable name is ignored");
            continue;
        }
        file.header.back().groups.push_back({tag.code, std::string(text(tag, scratch))});
    }
    return failFromReader();
}

bool Loader::readOutsideSections(const Tag& first) {
    const std::string refusal =
        "expected SECTION or EOF, found " + std::to_string(first.code) + " " + first.displayValue();
    if (first.code == 9) {
        // Some writers put header variables after the last section, closed by an ENDSEC of their own.
        if (!repair(first.line, refusal,
                    "header variables outside the HEADER section are read as header variables"))
            return false;
        reader_.pushBack();
        return readHeader(false);
    }
    if (first.is(0, "ENDSEC")) return repair(first.line, refusal, "ENDSEC outside a section is ignored");
    if (!repair(first.line, refusal, "groups outside any section are skipped up to the next section"))
        return false;
    Tag tag;
    while (next(tag))
        if (tag.is(0, "SECTION") || tag.is(0, "EOF")) {
            reader_.pushBack();
            return true;
        }
    return !reader_.failed() || failFromReader();
}

bool Loader::keepSection(const std::string& name) {
    Tag tag;
    std::string scratch;
    FileData::Section section{name, {}};
    while (next(tag)) {
        if (tag.is(0, "ENDSEC")) {
            repairKept(section.groups, tag.line, "section " + name);
            if (name == "CLASSES")
                db_->fileData().classes = std::move(section.groups);
            else
                db_->fileData().otherSections.push_back(std::move(section));
            return true;
        }
        if (tag.is(0, "EOF")) return fail(tag.line, "section " + name + " has no ENDSEC");
        section.groups.push_back({tag.code, std::string(text(tag, scratch))});
    }
    return failFromReader();
}

bool Loader::readTables() {
    Tag tag;
    while (next(tag)) {
        if (tag.is(0, "ENDSEC")) return true;
        if (tag.is(0, "TABLE")) {
            if (!readTable()) return false;
            continue;
        }
        if (tag.code == 0 && !tag.is(0, "EOF") && !tag.is(0, "SECTION")) {
            if (!readStrayRecords(tag)) return false;
            continue;
        }
        return fail(tag.line, "expected TABLE or ENDSEC, found " + std::to_string(tag.code) + " " + tag.displayValue());
    }
    return failFromReader();
}

bool Loader::readTable() {
    Record head;
    head.type = "TABLE";
    head.line = lastLine_;
    if (!readRecord(head)) return false;
    std::string name;
    head.input->readString(2, name);
    std::unique_ptr<SymbolTable> table = tablesSeen_.count(name) ? nullptr : makeTable(name);
    Tag tag;
    if (!table) {
        // A table we do not know (or a second copy of one): skip its records, keeping nothing of it.
        warn(head.line, "table '" + name + "' is not read");
        while (next(tag))
            if (tag.is(0, "ENDTAB")) return true;
        return failFromReader();
    }
    tablesSeen_.insert(name);
    const RxClass* recordClass = table->recordClass();
    SymbolTable& t = *table;
    decode(t, head);
    checkHandle(head);
    ObjectId tableId;
    const ErrorStatus added = db_->addObject(std::move(table), ObjectId(), &tableId, head.handle);
    if (added != ErrorStatus::Ok) return fail(head.line, "table " + name + " cannot be added: " + errorText(added));
    head.hasOwner = false;  // tables belong to the drawing itself
    afterAdding(*tableId.peek(), head, added);
    db_->setTableId(tableId);
    return readTableRecords(tableId, recordClass);
}

bool Loader::readTableRecords(ObjectId tableId, const RxClass* recordClass) {
    Tag tag;
    while (next(tag)) {
        if (tag.is(0, "ENDTAB")) return true;
        if (tag.code != 0) return fail(tag.line, "expected a table record, found group " + std::to_string(tag.code));
        if (!strict_ && (tag.is(0, "TABLE") || tag.is(0, "ENDSEC") || tag.is(0, "EOF"))) {
            warn(tag.line, "a table ends without ENDTAB");
            reader_.pushBack();
            return true;
        }
        Record record;
        record.type = std::string(tag.value);
        record.line = tag.line;
        if (!readRecord(record)) return false;
        std::unique_ptr<SymbolTableRecord> rec = createObject<SymbolTableRecord>(recordClass);
        SymbolTableRecord& r = *rec;
        decode(r, record);
        if (auto* layer = objectCast<LayerTableRecord>(&r)) readLayerTransparency(*layer);
        if (r.name().empty()) {
            warn(record.line, record.type + " record without a name is dropped");
            continue;
        }
        if (auto* block = objectCast<BlockTableRecord>(&r)) recogniseModelSpace(*block, record.line);
        checkHandle(record);
        ObjectId id;
        const std::string name = r.name();
        const ErrorStatus es = db_->addRecord(tableId, std::move(rec), &id, record.handle, true);
        if (es != ErrorStatus::Ok) {
            warn(record.line, record.type + " '" + name + "' is dropped: " +
                                  (es == ErrorStatus::DuplicateRecordName ? "the name is defined twice" : errorText(es)));
            continue;
        }
        recordLines_[id.peek()] = record.line;
        afterAdding(*id.peek(), record, es);
    }
    return failFromReader();
}

bool Loader::readStrayRecords(const Tag& first) {
    const std::string refusal = "expected TABLE or ENDSEC, found 0 " + first.displayValue();
    if (first.is(0, "ENDTAB")) return repair(first.line, refusal, "ENDTAB outside a table is ignored");
    // The table whose records have this type: the one read already, or a new one when the file lost its head.
    const std::string type(first.value);
    const RxClass* recordClass = RxRegistry::findByDxfName(type);
    ObjectId tableId;
    for (ObjectId id : {db_->viewportTableId(), db_->linetypeTableId(), db_->layerTableId(),
                        db_->textStyleTableId(), db_->viewTableId(), db_->ucsTableId(), db_->regAppTableId(),
                        db_->dimStyleTableId(), db_->blockTableId()})
        if (auto* table = objectCast<SymbolTable>(id.peek());
            table && recordClass && table->recordClass() == recordClass)
            tableId = id;
    if (tableId.isNull()) {
        std::unique_ptr<SymbolTable> table = makeTable(type);
        if (!table) {
            if (!repair(first.line, refusal, "a " + type + " record outside any table is skipped"))
                return false;
            Tag tag;
            while (next(tag))
                if (tag.code == 0 && !tag.is(0, type)) {
                    if (!tag.is(0, "ENDTAB")) reader_.pushBack();
                    return true;
                }
            return failFromReader();
        }
        ensureHandleFloor();
        if (db_->addObject(std::move(table), ObjectId(), &tableId) != ErrorStatus::Ok)
            return fail(first.line, "table " + type + " cannot be added");
        db_->setTableId(tableId);
        tablesSeen_.insert(type);
    }
    if (!repair(first.line, refusal, type + " records outside their table are read into it")) return false;
    reader_.pushBack();
    return readTableRecords(tableId, recordClass);
}

void Loader::recogniseModelSpace(BlockTableRecord& record, std::size_t line) {
    const std::string& name = record.name();
    if (name.size() < 2 || name[0] != '*' || (name[1] != 'U' && name[1] != 'u') || !record.extras()) return;
    if (db_->blockTable() && !db_->blockTable()->getAt(BlockTableRecord::kModelSpace).isNull()) return;
    for (const DxfTag& t : record.extras()->xdata)
        if (t.code == 1000 &&
            (namesEqual(t.value, BlockTableRecord::kModelSpace) || namesEqual(t.value, "$MODEL_SPACE"))) {
            warn(line, "block record " + name + " is model space, as its extended data says");
            blockAliases_[foldName(name)] = std::string(BlockTableRecord::kModelSpace);
            record.setName(BlockTableRecord::kModelSpace);
            return;
        }
}

void Loader::readLayerTransparency(LayerTableRecord& layer) {
    if (!layer.extras()) return;
    auto& xdata = const_cast<ObjectExtras*>(layer.extras())->xdata;
    for (std::size_t i = 0; i < xdata.size(); ++i) {
        if (xdata[i].code != 1001 || xdata[i].value != "AcCmTransparency") continue;
        std::size_t end = i + 1;
        while (end < xdata.size() && xdata[end].code != 1001) ++end;
        for (std::size_t k = i + 1; k < end; ++k)
            if (xdata[k].code == 1071) {
                long long raw = 0;
                std::from_chars(xdata[k].value.data(), xdata[k].value.data() + xdata[k].value.size(), raw);
                layer.setTransparency(Transparency::fromRaw(static_cast<std::uint32_t>(raw)));
            }
        // The writer adds it back from the layer's value, so it is not kept twice.
        xdata.erase(xdata.begin() + static_cast<std::ptrdiff_t>(i), xdata.begin() + static_cast<std::ptrdiff_t>(end));
        return;
    }
}

bool Loader::readBlocks() {
    Tag tag;
    while (next(tag)) {
        if (tag.is(0, "ENDSEC")) return true;
        if (!tag.is(0, "BLOCK")) {
            const std::string refusal = "expected BLOCK or ENDSEC, found " + tag.displayValue();
            if (tag.is(0, "EOF") && !strict_) {
                warn(tag.line, "the BLOCKS section ends without ENDSEC");
                reader_.pushBack();
                return true;
            }
            if (tag.code != 0 || tag.is(0, "EOF") || tag.is(0, "SECTION")) return fail(tag.line, refusal);
            // A record between blocks belongs to none of them.
            Record stray;
            stray.type = std::string(tag.value);
            stray.line = tag.line;
            if (!repair(tag.line, refusal, "a " + stray.type + " outside any block is dropped") ||
                !readRecord(stray))
                return false;
            continue;
        }
        Record begin;
        begin.type = "BLOCK";
        begin.line = tag.line;
        if (!readRecord(begin)) return false;
        DxfInput& in = *begin.input;
        std::string name;
        in.subclass("AcDbBlockBegin");
        in.readString(2, name);
        if (name.empty()) in.readString(3, name);
        if (name.empty()) {
            // Nothing can refer to a block without a name: it is dropped with its entities.
            if (!repair(begin.line, "BLOCK without a name",
                        "a BLOCK without a name is dropped with its entities"))
                return false;
            while (next(tag))
                if (tag.is(0, "ENDBLK") || tag.is(0, "ENDSEC")) break;
            if (reader_.failed() || !tag.is(0, "ENDBLK")) return failFromReader();
            Record end;
            end.type = "ENDBLK";
            end.line = tag.line;
            if (!readRecord(end)) return false;
            continue;
        }
        // Older files name the spaces differently.
        if (namesEqual(name, "$MODEL_SPACE")) name = BlockTableRecord::kModelSpace;
        if (namesEqual(name, "$PAPER_SPACE")) name = BlockTableRecord::kPaperSpace;
        if (!blockAliases_.empty())
            if (auto alias = blockAliases_.find(foldName(name)); alias != blockAliases_.end())
                name = alias->second;
        ObjectId btrId = db_->blockTable() ? db_->blockTable()->getAt(name) : ObjectId();
        if (btrId.isNull()) {
            if (!db_->blockTable()) completeFramework();
            ensureHandleFloor();
            auto btr = std::make_unique<BlockTableRecord>(name);
            if (db_->addRecord(db_->blockTableId(), std::move(btr), &btrId, Handle(), true) != ErrorStatus::Ok)
                return fail(begin.line, "block '" + name + "' cannot be added");
        }
        auto* btr = objectCast<BlockTableRecord>(btrId.peek());
        std::int16_t flags = 0;
        Point3d origin;
        std::string path, description;
        in.readInt16(70, flags);
        in.readPoint3d(10, origin);
        in.readString(1, path);
        in.readString(4, description);
        {
            auto ref = openObject<BlockTableRecord>(btrId, OpenMode::ForWrite);
            ref->setFlags(flags);
            ref->setOrigin(origin);
            ref->setPathName(path);
            if (!description.empty()) ref->setComments(description);
        }
        Handle endHandle;
        const Handle beginHandle = begin.handle;
        // Entities of the block up to ENDBLK. Model space and the active paper space keep theirs in ENTITIES.
        if (!readEntities(btrId, false)) return false;
        if (!next(tag)) return failFromReader();
        if (tag.is(0, "ENDBLK")) {
            Record end;
            end.type = "ENDBLK";
            end.line = tag.line;
            if (!readRecord(end)) return false;
            endHandle = end.handle;
        } else {
            reader_.pushBack();  // the end of the section: the block ended without ENDBLK (warned about)
        }
        // Handles of BLOCK/ENDBLK are names of things that are not objects of ours: reserve them.
        if (!beginHandle.isNull()) db_->raiseHandseed(Handle(beginHandle.value() + 1));
        if (!endHandle.isNull()) db_->raiseHandseed(Handle(endHandle.value() + 1));
        btr->setBlockBeginEndHandles(beginHandle, endHandle);
    }
    return failFromReader();
}

bool Loader::readEntities(ObjectId block, bool entitiesSection, const Tag*) {
    Tag tag;
    Record record;
    const ObjectId modelSpace = db_->modelSpaceId();
    const ObjectId paperSpace = db_->paperSpaceId();
    while (next(tag)) {
        if (tag.code != 0) {
            if (!repair(tag.line, "expected an entity (group 0), found group " + std::to_string(tag.code),
                        "groups where an entity should start are skipped"))
                return false;
            bool more = false;
            while ((more = next(tag)) && tag.code != 0) {
            }
            if (!more) return failFromReader();
            reader_.pushBack();
            continue;
        }
        if (tag.is(0, "ENDSEC") || tag.is(0, "ENDBLK")) {
            const bool endsHere = entitiesSection ? tag.is(0, "ENDSEC") : tag.is(0, "ENDBLK");
            if (!endsHere) {
                const std::string refusal = "unexpected " + std::string(tag.value);
                if (entitiesSection) {
                    if (!repair(tag.line, refusal, "ENDBLK outside a block is ignored")) return false;
                    continue;
                }
                if (!repair(tag.line, refusal, "a block ends without ENDBLK")) return false;
            }
            if (!entitiesSection) reader_.pushBack();
            return true;
        }
        if (tag.is(0, "EOF")) {
            if (!repair(tag.line, "unexpected EOF inside a section", "a section ends without ENDSEC"))
                return false;
            reader_.pushBack();
            return true;
        }
        if (release_ && reader_.position() >= nextRelease_) {
            // Everything before this record has been copied into objects: its pages can go.
            release_(static_cast<std::size_t>(tag.value.data() - data_.data()));
            nextRelease_ = reader_.position() + (8u << 20);
        }
        record.clear();
        record.type = std::string(tag.value);
        record.line = tag.line;
        if (!readRecord(record)) return false;

        // The paper-space flag is written from the owner block; it is read here and not kept.
        const DxfInput::Group* paperFlag = record.input->takeAnywhere(67);
        const bool paper = paperFlag && paperFlag->value.find_first_of("123456789") != std::string_view::npos;
        ObjectId owner = block;
        if (entitiesSection) {
            // The owner handle says which space; older files say paper space with group 67.
            owner = paper ? paperSpace : modelSpace;
            if (record.hasOwner) {
                const ObjectId named = db_->getObjectId(record.owner);
                if (objectCast<BlockTableRecord>(named.peek())) owner = named;
            }
        }
        record.hasOwner = false;  // the block list is the owner; a second 330 is not needed
        const bool isOldPolyline = record.type == "POLYLINE";
        std::unique_ptr<Entity> entity = makeEntity(record.type, *record.input);
        const bool isInsert = objectCast<BlockReference>(entity.get()) != nullptr;
        ObjectId id = addEntity(std::move(entity), record, owner);
        if (id.isNull()) continue;

        // Followers: ATTRIBs after an INSERT that says so, VERTEXes after a POLYLINE, up to SEQEND.
        const bool follows = isOldPolyline ||
                             (isInsert && static_cast<BlockReference*>(id.peek())->attributesFollow());
        if (!follows) continue;
        std::vector<ObjectId> followers;
        while (next(tag)) {
            if (tag.code != 0) return fail(tag.line, "expected an entity (group 0)");
            const bool seqend = tag.is(0, "SEQEND");
            if (!seqend && !tag.is(0, "ATTRIB") && !tag.is(0, "VERTEX")) {
                warn(tag.line, record.type + " without SEQEND");
                reader_.pushBack();
                break;
            }
            Record sub;
            sub.type = std::string(tag.value);
            sub.line = tag.line;
            if (!readRecord(sub)) return false;
            sub.hasOwner = false;
            std::unique_ptr<Entity> follower =
                makePolylineVertex(*static_cast<Entity*>(id.peek()), sub.type, *sub.input);
            if (!follower) follower = makeEntity(sub.type, *sub.input);
            Entity& f = *follower;
            decode(f, sub);
            checkHandle(sub);
            ObjectId subId;
            const ErrorStatus es = db_->addObject(std::move(follower), id, &subId, sub.handle);
            afterAdding(f, sub, es);
            if (es == ErrorStatus::Ok)
                followers.push_back(subId);
            else
                warn(sub.line, sub.type + " dropped: " + errorText(es));
            if (seqend) break;
        }
        auto ref = openObject<Entity>(id, OpenMode::ForWrite, {.openOnLockedLayer = true});
        if (ref) ref->setFollowers(std::move(followers));
    }
    return failFromReader();
}

bool Loader::readObjects() {
    Tag tag;
    FileData& file = db_->fileData();
    while (next(tag)) {
        if (tag.is(0, "ENDSEC")) return true;
        if (tag.code != 0) return fail(tag.line, "expected an object (group 0), found group " + std::to_string(tag.code));
        Record record;
        record.type = std::string(tag.value);
        record.line = tag.line;
        if (!readRecord(record)) return false;
        std::unique_ptr<DbObject> object = makeObject(record.type);
        DbObject& o = *object;
        decode(o, record);
        checkHandle(record);
        ObjectId id;
        ErrorStatus es = db_->addObject(std::move(object), ObjectId(), &id, record.handle);
        if (es != ErrorStatus::Ok) {
            warn(record.line, "the " + record.type + " is dropped: " + errorText(es));
            afterAdding(o, record, es);
            continue;
        }
        recordLines_[id.peek()] = record.line;
        afterAdding(o, record, es);
        if (file.rootDictionary.isNull()) file.rootDictionary = id;
        file.objects.push_back(id);
    }
    return failFromReader();
}

void Loader::applyHeader() {
    FileData& file = db_->fileData();
    auto value = [&](const char* name, int code) -> const std::string* {
        if (const FileData::HeaderVariable* v = file.find(name))
            for (const DxfTag& t : v->groups)
                if (t.code == code) return &t.value;
        return nullptr;
    };
    auto number = [](const std::string* s, double& out) {
        if (!s) return false;
        std::string_view t = *s;
        while (!t.empty() && t.front() == ' ') t.remove_prefix(1);
        return std::from_chars(t.data(), t.data() + t.size(), out).ec == std::errc();
    };
    if (const std::string* v = value("$ACADVER", 1)) file.version = *v;
    double d = 0;
    if (number(value("$MEASUREMENT", 70), d)) db_->setMeasurement(d == 0 ? MeasurementSystem::Imperial : MeasurementSystem::Metric);
    else if (file.version.empty() || file.version < "AC1015") db_->setMeasurement(MeasurementSystem::Imperial);
    if (const std::string* v = value("$CLAYER", 8)) {
        const ObjectId layer = db_->layerTable()->getAt(*v);
        if (!layer.isNull()) db_->setCurrentLayer(layer);
    }
    if (const std::string* v = value("$CELTYPE", 6)) {
        const ObjectId lt = db_->linetypeTable()->getAt(*v);
        if (!lt.isNull()) db_->setCurrentLinetype(lt);
    }
    if (number(value("$CECOLOR", 62), d)) db_->setCurrentColor(Color::fromDxfIndex(static_cast<int>(d)));
    if (number(value("$CELWEIGHT", 370), d) && isValidLineWeight(static_cast<int>(d)))
        db_->setCurrentLineWeight(static_cast<LineWeight>(static_cast<int>(d)));
    if (number(value("$CELTSCALE", 40), d) && d > 0) db_->setCurrentLinetypeScale(d);
    if (number(value("$LTSCALE", 40), d) && d > 0) db_->setLinetypeScale(d);
    if (number(value("$TEXTSIZE", 40), d) && d > 0 && std::isfinite(d))
        db_->setTextSize(d);
    else if (db_->measurement() == MeasurementSystem::Imperial)
        db_->setTextSize(0.2);
    if (number(value("$INSUNITS", 70), d) && d >= 0 && d <= 24) db_->setInsertionUnits(static_cast<int>(d));
    // Handles once given and since freed (an object created and taken back) are not handed out again. A seed
    // near the end of the handle range would leave no room for new objects: such a seed is not taken.
    if (const std::string* v = value("$HANDSEED", 5))
        if (auto seed = Handle::fromText(*v); seed && seed->value() < (std::uint64_t(1) << 60))
            db_->raiseHandseed(*seed);
}

namespace {

/// The block record a layout shows: the 330 group of its AcDbLayout section.
DxfTag* layoutBlockPointer(std::vector<DxfTag>& groups) {
    bool inLayout = false;
    for (DxfTag& t : groups) {
        if (t.code == 100) inLayout = t.value == "AcDbLayout";
        if (inLayout && t.code == 330) return &t;
    }
    return nullptr;
}

}  // namespace

void Loader::repairReferences() {
    auto lineOf = [&](const DbObject* o) {
        const auto at = recordLines_.find(o);
        return at != recordLines_.end() ? at->second : 0;
    };
    auto blockAt = [&](const std::string& handleText) -> BlockTableRecord* {
        const auto h = Handle::fromText(handleText);
        return h ? objectCast<BlockTableRecord>(db_->getObjectId(*h).peek()) : nullptr;
    };
    // A layout and the block record it shows point at each other. A block record the file gave no handle has
    // a new one, which the layout's pointer cannot know: the block record's pointer tells which layout it is.
    std::vector<ObjectId> blocks;
    db_->blockTable()->forEachRecord([&](SymbolTableRecord* r) { blocks.push_back(r->objectId()); });
    for (ObjectId blockId : blocks) {
        auto* btr = objectCast<BlockTableRecord>(blockId.peek());
        auto* layout = objectCast<RawObject>(btr->layoutId().peek());
        if (!layout || layout->dxfName() != "LAYOUT") continue;
        std::vector<DxfTag> groups = layout->groups();
        DxfTag* pointer = layoutBlockPointer(groups);
        if (!pointer || blockAt(pointer->value)) continue;
        warn(lineOf(layout), "the LAYOUT points at block record " + pointer->value +
                                 ", which the file does not have; it points at " + btr->name() +
                                 ", whose layout it is");
        pointer->value = btr->handle().toText();
        openObject<RawObject>(layout->objectId(), OpenMode::ForWrite)->setGroups(std::move(groups));
    }
    // The other way: a block record without a layout pointer, of a layout that names it.
    for (ObjectId id : db_->fileData().objects) {
        auto* layout = objectCast<RawObject>(id.peek());
        if (!layout || layout->dxfName() != "LAYOUT") continue;
        std::vector<DxfTag> groups = layout->groups();
        const DxfTag* pointer = layoutBlockPointer(groups);
        BlockTableRecord* btr = pointer ? blockAt(pointer->value) : nullptr;
        if (!btr || !btr->layoutId().isNull()) continue;
        warn(lineOf(btr),
             "block record " + btr->name() + " has no layout pointer; it gets the LAYOUT that names it");
        openObject<BlockTableRecord>(btr->objectId(), OpenMode::ForWrite)->setLayoutId(id);
    }

    // Every object of the OBJECTS section but the first (the root dictionary) has an owner. One the file does
    // not give, or gives as a handle it does not have, is the dictionary that lists the object.
    const FileData& file = db_->fileData();
    std::vector<ObjectId> orphans;
    for (ObjectId id : file.objects)
        if (DbObject* o = id.peek(); o && id != file.rootDictionary && o->ownerId().isNull())
            orphans.push_back(id);
    if (!orphans.empty()) {
        std::unordered_map<std::uint64_t, ObjectId> listedBy;
        for (ObjectId id : file.objects) {
            auto* dict = objectCast<RawObject>(id.peek());
            if (!dict || dict->dxfName().find("DICTIONARY") == std::string::npos) continue;
            for (const DxfTag& t : dict->groups())
                if (t.code == 350 || t.code == 360)
                    if (auto h = Handle::fromText(t.value)) listedBy.emplace(h->value(), id);
        }
        for (ObjectId id : orphans) {
            DbObject* o = id.peek();
            // An owner the file names but does not have is kept as the record's first group.
            const ObjectExtras* x = o->extras();
            const bool dangling = x && !x->keptTags.empty() && x->keptTags.front().code == 330;
            const std::string what =
                std::string(dxfRecordType(*o)) + " " + o->handle().toText() +
                (dangling ? " has an owner the file does not have (" + x->keptTags.front().value + ")"
                          : " has no owner");
            // An object nothing lists (some writers leave a reactor's owner out) stays as it came.
            const auto at = listedBy.find(o->handle().value());
            if (at == listedBy.end() || at->second == id) continue;
            warn(lineOf(o),
                 what + "; the dictionary that lists it, " + at->second.handle().toText() + ", is taken");
            auto ref = openObject(id, OpenMode::ForWrite);
            ref->setOwnerId(at->second);
            if (dangling) {
                auto& kept = ref->editExtras().keptTags;
                kept.erase(kept.begin());
            }
        }
    }

    // The handles of BLOCK and ENDBLK name nothing of ours; one an object also has is given up (saving gives
    // the block a new one), so that no handle is written twice.
    std::unordered_set<std::uint64_t> markers;
    for (ObjectId blockId : blocks) {
        auto* btr = objectCast<BlockTableRecord>(blockId.peek());
        Handle begin = btr->blockBeginHandle(), end = btr->blockEndHandle();
        for (Handle* h : {&begin, &end}) {
            if (h->isNull()) continue;
            if (!db_->getObjectId(*h, true).isNull() || !markers.insert(h->value()).second) {
                warn(lineOf(btr), "block " + btr->name() + ": handle " + h->toText() +
                                      " of its BLOCK or ENDBLK is used twice; the block gets a new one");
                *h = Handle();
            }
        }
        btr->setBlockBeginEndHandles(begin, end);
    }
}

void Loader::completeFramework() {
    const std::size_t before = db_->objectCount();
    bool complete = db_->layerTable() && db_->linetypeTable() && db_->textStyleTable() && db_->dimStyleTable() &&
                    db_->blockTable() && !db_->modelSpaceId().isNull() && !db_->paperSpaceId().isNull() &&
                    !db_->layerZeroId().isNull() && !db_->linetypeContinuousId().isNull() &&
                    !db_->linetypeByLayerId().isNull() && !db_->linetypeByBlockId().isNull();
    if (complete) {
        db_->addMissingFramework();  // the remaining small tables
        if (db_->objectCount() == before) return;
    }
    ensureHandleFloor();
    db_->addMissingFramework();
}

DxfReadResult Loader::run() {
    DxfReadResult result;
    Tag tag;
    bool sawEof = false;
    bool sawSection = false;
    while (!error_ && next(tag)) {
        if (tag.code == 999) continue;
        if (tag.is(0, "EOF")) {
            sawEof = true;
            break;
        }
        if (!tag.is(0, "SECTION")) {
            if (!readOutsideSections(tag)) break;
            continue;
        }
        sawSection = true;
        if (!next(tag)) {
            failFromReader();
            break;
        }
        if (tag.code != 2) {
            fail(tag.line, "expected the section name (group 2), found group " + std::to_string(tag.code));
            break;
        }
        const std::string name(tag.value);
        bool printable = !name.empty() && name.size() <= 64;
        for (unsigned char c : name) printable = printable && c > 0x20 && c < 0x7F;
        if (!printable) {
            fail(tag.line, "expected a section name, found '" + tag.displayValue() + "'");
            break;
        }
        if (name == "HEADER") {
            readHeader();
        } else if (name == "TABLES") {
            readTables();
        } else if (name == "BLOCKS") {
            completeFramework();
            readBlocks();
        } else if (name == "ENTITIES") {
            completeFramework();
            readEntities(db_->modelSpaceId(), true);
        } else if (name == "OBJECTS") {
            completeFramework();
            readObjects();
        } else {
            keepSection(name);
        }
    }
    if (!error_ && reader_.failed()) failFromReader();
    if (!error_ && !sawSection) fail(lastLine_, "no DXF sections found: this is not a DXF file");
    if (!error_ && !sawEof) warn(lastLine_, "the file has no EOF marker");
    if (error_) {
        result.error = error_;
        result.warnings = std::move(warnings_);
        return result;
    }
    db_->addMissingFramework();
    for (auto& step : steps_) step();
    steps_.clear();
    repairReferences();
    applyHeader();
    if (progress_) progress_(data_.size(), data_.size());
    result.database = std::move(db_);
    result.warnings = std::move(warnings_);
    return result;
}

}  // namespace

DxfReadResult readDxf(std::string_view data, const LoadProgress& progress, const DxfReadOptions& options) {
    Loader loader(data, progress, {}, options);
    return loader.run();
}

DxfReadResult readDxfFile(const std::filesystem::path& path, const LoadProgress& progress,
                          const DxfReadOptions& options) {
    DxfReadResult result;
    // Without O_NONBLOCK, opening a named pipe waits for a writer that may never come; what is not a regular
    // file is refused below before anything is read, and a regular file reads the same either way.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        result.error = dxf::DxfError{0, "cannot open " + path.string() + ": " + std::strerror(errno), false};
        return result;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        result.error = dxf::DxfError{0, "cannot read " + path.string() + ": not a regular file", false};
        return result;
    }
    const std::size_t size = static_cast<std::size_t>(st.st_size);
    if (size == 0) {
        ::close(fd);
        return readDxf(std::string_view(), progress, options);
    }
    // The file is mapped rather than copied, and the part already read is handed back to the system as loading
    // goes on, so a load needs little more memory than the drawing it makes.
    void* map = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    ::close(fd);
    if (map == MAP_FAILED) {
        result.error = dxf::DxfError{0, "cannot read " + path.string() + ": " + std::strerror(errno), false};
        return result;
    }
    ::madvise(map, size, MADV_SEQUENTIAL);
    const char* base = static_cast<const char*>(map);
    std::size_t released = 0;
    const long page = ::sysconf(_SC_PAGESIZE);
    auto release = [&](std::size_t upTo) {
        const std::size_t end = upTo / static_cast<std::size_t>(page) * static_cast<std::size_t>(page);
        if (end <= released) return;
        ::madvise(const_cast<char*>(base) + released, end - released, MADV_DONTNEED);
        released = end;
    };
    Loader loader(std::string_view(base, size), progress, release, options);
    result = loader.run();
    ::munmap(map, size);
    return result;
}

}  // namespace vela::db

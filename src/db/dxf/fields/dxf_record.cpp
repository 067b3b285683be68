#include "db/dxf/fields/dxf_record.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "db/database.h"
#include "db/dxf/fields/dxf_input.h"
#include "db/dxf/fields/tag_output.h"
#include "db/dxf/tags/group_code.h"
#include "db/dxf/tags/tag_reader.h"
#include "db/entity.h"
#include "db/raw_object.h"
#include "db/records/layer_table_record.h"
#include "db/rx_class.h"

namespace vela::db {

const char* dxfRecordType(const DbObject& o) {
    if (auto* raw = objectCast<RawEntity>(&o)) return raw->dxfName().c_str();
    if (auto* raw = objectCast<RawObject>(&o)) return raw->dxfName().c_str();
    return o.isA()->dxfName();
}

void writeDxfRecord(const DbObject& o, DxfOutput& out, bool withType) {
    const std::string_view type = dxfRecordType(o);
    if (withType) out.writeString(0, type);
    out.writeHandle(type == "DIMSTYLE" ? 105 : 5, o.handle());
    if (const ObjectExtras* x = o.extras()) {
        if (std::any_of(x->persistentReactors.begin(), x->persistentReactors.end(),
                        [](ObjectId r) { return r.isValid(); })) {
            out.writeString(102, "{ACAD_REACTORS");
            for (ObjectId r : x->persistentReactors) out.writeObjectId(330, r);
            out.writeString(102, "}");
        }
        if (!x->extensionDictionary.isNull()) {
            out.writeString(102, "{ACAD_XDICTIONARY");
            out.writeObjectId(360, x->extensionDictionary);
            out.writeString(102, "}");
        }
    }
    const ObjectId owner = o.ownerId();
    if (!owner.isNull())
        out.writeObjectId(330, owner);
    else if (type == "DICTIONARY" || type == "TABLE")
        out.writeHandle(330, Handle());
    o.dxfOutFields(out);
    // A layer's transparency travels as extended data of the application "AcCmTransparency".
    if (const auto* layer = objectCast<LayerTableRecord>(&o); layer && layer->transparency() != Transparency::fromAlpha(255)) {
        out.writeString(1001, "AcCmTransparency");
        out.writeInt32(1071, static_cast<std::int32_t>(layer->transparency().raw()));
    }
    if (const ObjectExtras* x = o.extras())
        for (const DxfTag& t : x->xdata) out.writeRaw(t.code, t.value);
}

namespace {

bool groupValueFits(const DxfTag& t) {
    if (t.code == 100) return true;
    const dxf::ValueType type = dxf::valueTypeOf(t.code);
    if (type == dxf::ValueType::Unknown || type == dxf::ValueType::Comment) return false;
    const char* begin = t.value.data();
    const char* end = begin + t.value.size();
    while (begin < end && *begin == ' ') ++begin;
    if (dxf::isInteger(type)) {
        std::int64_t v = 0;
        return std::from_chars(begin, end, v).ptr == end && begin != end;
    }
    if (dxf::isFloating(type)) {
        double v = 0;
        return std::from_chars(begin, end, v).ptr == end && begin != end;
    }
    if (type == dxf::ValueType::Handle) return Handle::fromText(t.value).has_value();
    return t.value.find_first_of("\r\n") == std::string::npos;
}

}  // namespace

namespace {

// An object's own groups as a file holds them (its declaration's, kept ones in their places).
std::vector<DxfTag> ownGroups(const DbObject& object) {
    std::string text;
    dxf::TagWriter writer(text);
    TagOutput out(writer);
    object.dxfOutFields(out);
    std::vector<DxfTag> groups;
    dxf::TagReader reader(text);
    dxf::Tag tag;
    while (reader.next(tag)) groups.push_back({tag.code, std::string(tag.value)});
    return groups;
}

std::unique_ptr<DbObject> readRecord(Database* database, std::string_view type,
                                     const std::vector<DxfTag>& groups, std::vector<std::string>& errors) {
    const RxClass* cls = RxRegistry::findByDxfName(type);
    if (!cls) return nullptr;
    DxfInput in(database);
    std::size_t xdataFrom = groups.size();
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groups[i].code >= 1000) {
            xdataFrom = i;
            break;
        }
        in.addGroup(groups[i].code, groups[i].value, i + 1);
    }
    std::unique_ptr<DbObject> object = createObject<DbObject>(cls->refine(in));
    if (!object) return nullptr;
    object->dxfInFields(in);
    in.finish();
    // A group list leaves out what has its default, as files do: no linetype is ByLayer.
    if (auto* entity = objectCast<Entity>(object.get()); entity && database && entity->linetypeId().isNull())
        entity->setLinetypeId(database->linetypeByLayerId());
    errors.insert(errors.end(), in.errors().begin(), in.errors().end());
    // Groups the class does not model are kept and written back, as from a file, when their values are what
    // their codes carry; others would make the file unreadable and are left out.
    std::vector<DxfTag> kept;
    for (DxfTag& t : in.unusedGroups()) {
        if (groupValueFits(t)) {
            kept.push_back(std::move(t));
        } else {
            errors.push_back("group " + std::to_string(t.code) + " ('" + t.value.substr(0, 40) +
                             "') is not a value of its code and is left out");
        }
    }
    std::vector<DxfTag> xdata(groups.begin() + static_cast<std::ptrdiff_t>(xdataFrom), groups.end());
    if (!kept.empty() || !xdata.empty()) {
        ObjectExtras& extras = object->editExtras();
        extras.keptTags = std::move(kept);
        extras.xdata = std::move(xdata);
    }
    return object;
}

}  // namespace

std::unique_ptr<DbObject> makeDxfRecord(Database* database, std::string_view type,
                                        const std::vector<DxfTag>& groups, std::vector<std::string>& errors) {
    std::unique_ptr<DbObject> object = readRecord(database, type, groups, errors);
    if (!object || !object->extras() || object->extras()->keptTags.empty()) return object;
    // Groups the class does not model are written back where their section ends. Given out of place (a bulge
    // before the first vertex), that is where a reader takes them for something else: such groups are left
    // out, so that the object saves as it reads back.
    const std::vector<DxfTag> written = ownGroups(*object);
    std::vector<std::string> ignored;
    const std::unique_ptr<DbObject> again = readRecord(database, type, written, ignored);
    if (!again || ownGroups(*again) != written) object->editExtras().keptTags.clear();
    return object;
}

}  // namespace vela::db

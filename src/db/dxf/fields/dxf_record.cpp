#include "db/dxf/fields/dxf_record.h"

#include <string_view>

#include "db/raw_object.h"
#include "db/records/layer_table_record.h"

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
        if (!x->persistentReactors.empty()) {
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

}  // namespace vela::db

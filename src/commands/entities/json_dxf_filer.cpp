#include "commands/entities/json_dxf_filer.h"

#include <charconv>

#include "db/dxf/tags/group_code.h"

namespace vela::commands {

properties::JsonTextWriter& CJxJsonDxfFiler::begin(int code) {
    return out_.beginObject().key("code").integer(code).key("value");
}

void CJxJsonDxfFiler::writeString(int code, std::string_view v) {
    begin(code).string(v).endObject();
}
void CJxJsonDxfFiler::writeBool(int code, bool v) {
    begin(code).boolean(v).endObject();
}
void CJxJsonDxfFiler::writeInt8(int code, std::int8_t v) {
    begin(code).integer(v).endObject();
}
void CJxJsonDxfFiler::writeInt16(int code, std::int16_t v) {
    begin(code).integer(v).endObject();
}
void CJxJsonDxfFiler::writeInt32(int code, std::int32_t v) {
    begin(code).integer(v).endObject();
}
void CJxJsonDxfFiler::writeInt64(int code, std::int64_t v) {
    begin(code).integer(v).endObject();
}
void CJxJsonDxfFiler::writeUInt8(int code, std::uint8_t v) {
    begin(code).integer(v).endObject();
}
void CJxJsonDxfFiler::writeUInt16(int code, std::uint16_t v) {
    begin(code).integer(v).endObject();
}
void CJxJsonDxfFiler::writeUInt32(int code, std::uint32_t v) {
    begin(code).integer(v).endObject();
}
void CJxJsonDxfFiler::writeDouble(int code, double v) {
    begin(code).number(v).endObject();
}
void CJxJsonDxfFiler::writePoint2d(int code, const db::Point2d& p) {
    begin(code).beginArray().number(p.x).number(p.y).endArray().endObject();
}
void CJxJsonDxfFiler::writePoint3d(int code, const db::Point3d& p) {
    begin(code).beginArray().number(p.x).number(p.y).number(p.z).endArray().endObject();
}
void CJxJsonDxfFiler::writeVector3d(int code, const db::Vector3d& v) {
    begin(code).beginArray().number(v.x).number(v.y).number(v.z).endArray().endObject();
}
void CJxJsonDxfFiler::writeHandle(int code, db::Handle h) {
    begin(code).string(h.toText()).endObject();
}

void CJxJsonDxfFiler::writeObjectId(int code, db::ObjectId id) {
    // A reference is written only when it leads to an object of this drawing.
    if (id.isNull() || (database_ && id.database() != database_)) return;
    writeHandle(code, id.handle());
}

void CJxJsonDxfFiler::writeBinary(int code, std::span<const std::uint8_t> bytes) {
    static const char* hex = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (std::uint8_t b : bytes) text += hex[b >> 4], text += hex[b & 15];
    writeString(code, text);
}

void CJxJsonDxfFiler::writeRaw(int code, std::string_view text) {
    // Kept groups come as text: numbers of numeric codes are given their JSON type.
    using db::dxf::ValueType;
    const ValueType type = db::dxf::valueTypeOf(code);
    std::string_view t = text;
    while (!t.empty() && t.front() == ' ') t.remove_prefix(1);
    while (!t.empty() && t.back() == ' ') t.remove_suffix(1);
    if (db::dxf::isInteger(type)) {
        long long v = 0;
        const auto r = std::from_chars(t.data(), t.data() + t.size(), v);
        if (r.ec == std::errc() && r.ptr == t.data() + t.size()) {
            begin(code).integer(v).endObject();
            return;
        }
    } else if (db::dxf::isFloating(type)) {
        double v = 0;
        const auto r = std::from_chars(t.data(), t.data() + t.size(), v);
        if (r.ec == std::errc() && r.ptr == t.data() + t.size()) {
            begin(code).number(v).endObject();
            return;
        }
    }
    writeString(code, text);
}

}  // namespace vela::commands

#include "commands/entities/json_dxf_filer.h"

#include <QJsonObject>
#include <charconv>

#include "db/dxf/tags/group_code.h"

namespace vela::commands {

void CJxJsonDxfFiler::add(int code, const QJsonValue& value) {
    groups_.append(QJsonObject{{QStringLiteral("code"), code}, {QStringLiteral("value"), value}});
}

void CJxJsonDxfFiler::writeString(int code, std::string_view v) {
    add(code, QString::fromUtf8(v.data(), static_cast<qsizetype>(v.size())));
}
void CJxJsonDxfFiler::writeBool(int code, bool v) {
    add(code, v);
}
void CJxJsonDxfFiler::writeInt8(int code, std::int8_t v) {
    add(code, static_cast<int>(v));
}
void CJxJsonDxfFiler::writeInt16(int code, std::int16_t v) {
    add(code, static_cast<int>(v));
}
void CJxJsonDxfFiler::writeInt32(int code, std::int32_t v) {
    add(code, static_cast<qint64>(v));
}
void CJxJsonDxfFiler::writeInt64(int code, std::int64_t v) {
    add(code, static_cast<qint64>(v));
}
void CJxJsonDxfFiler::writeUInt8(int code, std::uint8_t v) {
    add(code, static_cast<int>(v));
}
void CJxJsonDxfFiler::writeUInt16(int code, std::uint16_t v) {
    add(code, static_cast<int>(v));
}
void CJxJsonDxfFiler::writeUInt32(int code, std::uint32_t v) {
    add(code, static_cast<qint64>(v));
}
void CJxJsonDxfFiler::writeDouble(int code, double v) {
    add(code, v);
}
void CJxJsonDxfFiler::writePoint2d(int code, const db::Point2d& p) {
    add(code, QJsonArray{p.x, p.y});
}
void CJxJsonDxfFiler::writePoint3d(int code, const db::Point3d& p) {
    add(code, QJsonArray{p.x, p.y, p.z});
}
void CJxJsonDxfFiler::writeVector3d(int code, const db::Vector3d& v) {
    add(code, QJsonArray{v.x, v.y, v.z});
}
void CJxJsonDxfFiler::writeHandle(int code, db::Handle h) {
    add(code, QString::fromStdString(h.toText()));
}

void CJxJsonDxfFiler::writeObjectId(int code, db::ObjectId id) {
    // A reference is written only when it leads to an object of this drawing.
    if (id.isNull() || (database_ && id.database() != database_)) return;
    writeHandle(code, id.handle());
}

void CJxJsonDxfFiler::writeBinary(int code, std::span<const std::uint8_t> bytes) {
    static const char* hex = "0123456789ABCDEF";
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size() * 2));
    for (std::uint8_t b : bytes) text += QLatin1Char(hex[b >> 4]), text += QLatin1Char(hex[b & 15]);
    add(code, text);
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
            add(code, static_cast<qint64>(v));
            return;
        }
    } else if (db::dxf::isFloating(type)) {
        double v = 0;
        const auto r = std::from_chars(t.data(), t.data() + t.size(), v);
        if (r.ec == std::errc() && r.ptr == t.data() + t.size()) {
            add(code, v);
            return;
        }
    }
    writeString(code, text);
}

}  // namespace vela::commands

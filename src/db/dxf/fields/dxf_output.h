#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "db/geometry/vector.h"
#include "db/handle.h"
#include "db/object_id.h"

namespace vela::db {

/// Where an object writes its DXF groups. The file writer turns each call into tags; other outputs (a JSON
/// dump of an entity's groups, for example) keep the typed values. Points are one call so that an output can
/// keep them together; the file writer spreads them over code, code + 10 and code + 20.
class DxfOutput {
public:
    virtual ~DxfOutput() = default;
    virtual void writeString(int code, std::string_view value) = 0;
    virtual void writeBool(int code, bool value) = 0;
    virtual void writeInt8(int code, std::int8_t value) = 0;
    virtual void writeInt16(int code, std::int16_t value) = 0;
    virtual void writeInt32(int code, std::int32_t value) = 0;
    virtual void writeInt64(int code, std::int64_t value) = 0;
    virtual void writeUInt8(int code, std::uint8_t value) = 0;
    virtual void writeUInt16(int code, std::uint16_t value) = 0;
    virtual void writeUInt32(int code, std::uint32_t value) = 0;
    virtual void writeDouble(int code, double value) = 0;
    virtual void writePoint2d(int code, const Point2d& value) = 0;
    virtual void writePoint3d(int code, const Point3d& value) = 0;
    virtual void writeVector3d(int code, const Vector3d& value) = 0;
    virtual void writeHandle(int code, Handle value) = 0;
    /// A reference to another object, written as its handle; nothing is written for a null id.
    virtual void writeObjectId(int code, ObjectId value) = 0;
    virtual void writeBinary(int code, std::span<const std::uint8_t> value) = 0;
    /// A group kept as text from a file, written back as it came (the value type follows from the code).
    virtual void writeRaw(int code, std::string_view text) = 0;
};

}  // namespace vela::db

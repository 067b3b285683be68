#pragma once

#include "db/dxf/fields/dxf_output.h"
#include "properties/json_text.h"

namespace vela::db {
class Database;
}

namespace vela::commands {

/// A DXF output that keeps each group as a JSON object {"code": ..., "value": ...} in writing order: texts
/// as strings, integers as integers, points as [x, y] or [x, y, z], references as the referenced object's
/// handle text (nothing for a reference that leads nowhere). An entity writes itself into it with the same
/// declaration that writes it to a file. The groups go as JSON text into a writer that the whole answer
/// shares, so that dumping many entities costs no allocation per group.
class CJxJsonDxfFiler : public db::DxfOutput {
  public:
    CJxJsonDxfFiler(const db::Database* database, properties::JsonTextWriter& out)
        : database_(database), out_(out) {}

    void writeString(int code, std::string_view value) override;
    void writeBool(int code, bool value) override;
    void writeInt8(int code, std::int8_t value) override;
    void writeInt16(int code, std::int16_t value) override;
    void writeInt32(int code, std::int32_t value) override;
    void writeInt64(int code, std::int64_t value) override;
    void writeUInt8(int code, std::uint8_t value) override;
    void writeUInt16(int code, std::uint16_t value) override;
    void writeUInt32(int code, std::uint32_t value) override;
    void writeDouble(int code, double value) override;
    void writePoint2d(int code, const db::Point2d& value) override;
    void writePoint3d(int code, const db::Point3d& value) override;
    void writeVector3d(int code, const db::Vector3d& value) override;
    void writeHandle(int code, db::Handle value) override;
    void writeObjectId(int code, db::ObjectId value) override;
    void writeBinary(int code, std::span<const std::uint8_t> value) override;
    void writeRaw(int code, std::string_view text) override;

  private:
    /// Starts a group: `{"code": code, "value": ` — the caller writes the value, then closes it.
    properties::JsonTextWriter& begin(int code);

    const db::Database* database_;
    properties::JsonTextWriter& out_;
};

}  // namespace vela::commands

#pragma once

#include "db/dxf/fields/dxf_output.h"
#include "db/dxf/tags/tag_writer.h"

namespace vela::db {

/// DxfOutput over a tag writer: typed values become ASCII tags, points spread over three codes, references
/// become handles. This is how objects write themselves into files.
class TagOutput : public DxfOutput {
  public:
    explicit TagOutput(dxf::TagWriter& w) : w_(w) {}
    void writeString(int code, std::string_view v) override { w_.writeString(code, v); }
    void writeBool(int code, bool v) override { w_.writeInt(code, v ? 1 : 0); }
    void writeInt8(int code, std::int8_t v) override { w_.writeInt(code, v); }
    void writeInt16(int code, std::int16_t v) override { w_.writeInt(code, v); }
    void writeInt32(int code, std::int32_t v) override { w_.writeInt(code, v); }
    void writeInt64(int code, std::int64_t v) override { w_.writeInt(code, v); }
    void writeUInt8(int code, std::uint8_t v) override { w_.writeInt(code, v); }
    void writeUInt16(int code, std::uint16_t v) override { w_.writeInt(code, v); }
    void writeUInt32(int code, std::uint32_t v) override { w_.writeInt(code, v); }
    void writeDouble(int code, double v) override { w_.writeDouble(code, v); }
    void writePoint2d(int code, const Point2d& p) override { w_.writePoint(code, p); }
    void writePoint3d(int code, const Point3d& p) override { w_.writePoint(code, p); }
    void writeVector3d(int code, const Vector3d& v) override { w_.writePoint(code, Point3d(v.x, v.y, v.z)); }
    void writeHandle(int code, Handle h) override { w_.writeHandle(code, h.value()); }
    void writeObjectId(int code, ObjectId id) override {
        // An erased object is not in the file: a reference to it would name nothing there.
        if (id.isValid()) w_.writeHandle(code, id.handle().value());
    }
    void writeBinary(int code, std::span<const std::uint8_t> v) override { w_.writeBinary(code, v); }
    void writeRaw(int code, std::string_view text) override { w_.writeString(code, text); }

  private:
    dxf::TagWriter& w_;
};

}  // namespace vela::db

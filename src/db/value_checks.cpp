#include "db/value_checks.h"

#include <cmath>
#include <cstring>

#include "db/dxf/fields/dxf_output.h"
#include "db/dxf/fields/dxf_record.h"

namespace vela::db {

namespace {

// Listens to an object writing its groups and keeps the first thing wrong with them.
class BadValueFinder : public DxfOutput {
  public:
    explicit BadValueFinder(const char* recordType) : type_(recordType) {}
    std::string problem;

    void writeString(int, std::string_view) override {}
    void writeBool(int, bool) override {}
    void writeInt8(int, std::int8_t) override {}
    void writeInt16(int, std::int16_t) override {}
    void writeInt32(int, std::int32_t) override {}
    void writeInt64(int, std::int64_t) override {}
    void writeUInt8(int, std::uint8_t) override {}
    void writeUInt16(int, std::uint16_t) override {}
    void writeUInt32(int, std::uint32_t) override {}
    void writeHandle(int, Handle) override {}
    void writeObjectId(int, ObjectId) override {}
    void writeBinary(int, std::span<const std::uint8_t>) override {}
    void writeRaw(int, std::string_view) override {}  // kept as it came; the reader answers for those

    void writeDouble(int code, double v) override {
        if (!std::isfinite(v))
            return found("a number that is not finite (group " + std::to_string(code) + ")");
        if (v == 0.0 && mustNotBeZero(code)) found(zeroSizeName(code));
    }
    void writePoint2d(int code, const Point2d& p) override {
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) found(notFinitePoint(code));
    }
    void writePoint3d(int code, const Point3d& p) override {
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) found(notFinitePoint(code));
    }
    void writeVector3d(int code, const Vector3d& v) override {
        if (!std::isfinite(v.x) || !std::isfinite(v.y) || !std::isfinite(v.z))
            return found(notFinitePoint(code));
        // 210 is the normal of every planar kind.
        const bool zero = v.x == 0.0 && v.y == 0.0 && v.z == 0.0;
        if (code == 210 && zero) found("a normal of zero length");
        if (code == 11 && zero && isEllipse()) found("a major axis of zero length");
    }

  private:
    void found(std::string what) {
        if (problem.empty()) problem = std::move(what);
    }
    static std::string notFinitePoint(int code) {
        return "a point or direction that is not finite (group " + std::to_string(code) + ")";
    }
    bool isEllipse() const { return std::strcmp(type_, "ELLIPSE") == 0; }
    bool mustNotBeZero(int code) const {
        if (code == 40)
            return isEllipse() || std::strcmp(type_, "CIRCLE") == 0 || std::strcmp(type_, "ARC") == 0;
        return (code == 41 || code == 42 || code == 43) && std::strcmp(type_, "INSERT") == 0;
    }
    std::string zeroSizeName(int code) const {
        if (code == 40) return isEllipse() ? "a minor axis of zero length" : "a radius of zero";
        return "a scale factor of zero";
    }

    const char* type_;
};

}  // namespace

std::string describeBadValue(const DbObject& object) {
    BadValueFinder finder(dxfRecordType(object));
    writeDxfRecord(object, finder, false);
    return finder.problem;
}

}  // namespace vela::db

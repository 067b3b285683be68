#pragma once

#include <cmath>
#include <string>

#include "db/dxf/fields/dxf_input.h"
#include "db/dxf/fields/dxf_output.h"
#include "db/geometry/plane.h"
#include "db/object_extras.h"

namespace vela::db {

class SymbolTable;

/// The table a record name in a group refers to.
enum class TableKind { Layer, Linetype, TextStyle, DimStyle, Block };

// Each object type declares its DXF groups once, as a function template over an "Io" that is either a
// DxfWriteIo (groups out, from a const object) or a DxfReadIo (groups in, into the object):
//
//     template <class Io, class Self> void Line::dxfFields(Io& io, Self& self) {
//         io.subclass("AcDbLine");
//         io.real(39, self.thickness_, 0.0);   // optional: not written when it has its default
//         io.point(10, self.start_);
//         ...
//     }
//
// The same declaration then writes files, reads them and feeds the JSON dump of an entity's groups.

/// Writes declared groups to a DxfOutput, putting kept groups of a file back in their subclass section.
class DxfWriteIo {
public:
    static constexpr bool kReading = false;

    // Kept groups of the part before any marker go out when the first section starts (or at the end).
    DxfWriteIo(DxfOutput& out, const ObjectExtras* extras) : out_(out), extras_(extras) {}

    DxfOutput& output() { return out_; }
    void subclass(const char* name, int /*occurrence*/ = 0) {
        flushKept(section_);
        out_.writeString(100, name);
        section_ = name;
        written_ += std::string(name) + '\n';
    }
    /// Writes the kept groups of the last section and of sections no declaration named.
    void end();

    void str(int code, const std::string& v) { out_.writeString(code, v); }
    void str(int code, const std::string& v, const char* def) {
        if (v != def) out_.writeString(code, v);
    }
    void real(int code, double v) { out_.writeDouble(code, v); }
    void real(int code, double v, double def) {
        if (v != def) out_.writeDouble(code, v);
    }
    /// Angles are radians in memory and degrees in files.
    void angle(int code, double radians) { out_.writeDouble(code, toDegrees(radians)); }
    void angle(int code, double radians, double def) {
        if (radians != def) angle(code, radians);
    }
    void i16(int code, std::int16_t v) { out_.writeInt16(code, v); }
    void i16(int code, std::int16_t v, std::int16_t def) {
        if (v != def) out_.writeInt16(code, v);
    }
    void i32(int code, std::int32_t v) { out_.writeInt32(code, v); }
    void boolean(int code, bool v) { out_.writeBool(code, v); }
    void point(int code, const Point3d& p) { out_.writePoint3d(code, p); }
    void point2(int code, const Point2d& p) { out_.writePoint2d(code, p); }
    void vec(int code, const Vector3d& v) { out_.writeVector3d(code, v); }
    void vec(int code, const Vector3d& v, const Vector3d& def) {
        if (!(v == def)) out_.writeVector3d(code, v);
    }
    void id(int code, const ObjectId& v) { out_.writeObjectId(code, v); }
    /// A reference to a table record, written as the record's name; nothing when the id is null or the name is
    /// `skipName` (compared without regard to case).
    void symbol(int code, const ObjectId& v, TableKind kind, const char* skipName = nullptr);

    static double toDegrees(double radians) {
        // Angles that are whole degrees in memory print as whole degrees.
        const double d = radians * (180.0 / kPi);
        const double r = std::round(d);
        return std::abs(d - r) < 1e-9 ? r : d;
    }

private:
    void flushKept(const std::string& section);

    DxfOutput& out_;
    const ObjectExtras* extras_;
    std::string section_;
    std::string written_ = "\n";  // sections already written, each name followed by a line end
};

/// Reads declared groups from a DxfInput into an object.
class DxfReadIo {
public:
    static constexpr bool kReading = true;

    explicit DxfReadIo(DxfInput& in) : in_(in) {}
    DxfInput& input() { return in_; }
    void subclass(const char* name, int occurrence = 0) { in_.subclass(name, occurrence); }
    void end() {}

    void str(int code, std::string& v) { in_.readString(code, v); }
    void str(int code, std::string& v, const char*) { in_.readString(code, v); }
    void real(int code, double& v) { in_.readDouble(code, v); }
    void real(int code, double& v, double) { in_.readDouble(code, v); }
    void angle(int code, double& radians) {
        double d = 0;
        if (in_.readDouble(code, d)) radians = d * (kPi / 180.0);
    }
    void angle(int code, double& radians, double) { angle(code, radians); }
    void i16(int code, std::int16_t& v) { in_.readInt16(code, v); }
    void i16(int code, std::int16_t& v, std::int16_t) { in_.readInt16(code, v); }
    void i32(int code, std::int32_t& v) { in_.readInt32(code, v); }
    void boolean(int code, bool& v) { in_.readBool(code, v); }
    void point(int code, Point3d& p) { in_.readPoint3d(code, p); }
    void point2(int code, Point2d& p) { in_.readPoint2d(code, p); }
    void vec(int code, Vector3d& v) { in_.readVector3d(code, v); }
    void vec(int code, Vector3d& v, const Vector3d&) { in_.readVector3d(code, v); }
    /// References may point forward in the file: they are resolved when the whole file is read.
    void id(int code, ObjectId& v);
    /// A record name. Names of records that come later in the file are resolved when it is all read; a layer
    /// that the file never defines is created, as drawing programs do.
    void symbol(int code, ObjectId& v, TableKind kind, const char* skipName = nullptr);

private:
    DxfInput& in_;
};

}  // namespace vela::db

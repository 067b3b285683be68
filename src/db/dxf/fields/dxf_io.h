#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

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
//     template <class Io, class Self> void Polyline::dxfFields(Io& io, Self& self) {
//         io.subclass("AcDbPolyline");
//         const ListCount count = io.count(90, self.vertices_);
//         io.real(38, self.elevation_, 0.0);   // not written when it has its default
//         io.items(10, self.vertices_, [](auto& io, auto& v) {
//             io.point2(10, v.point);
//             io.optional(v.startWidth != 0.0 || v.endWidth != 0.0, [&] {
//                 io.real(40, v.startWidth);
//                 io.real(41, v.endWidth);
//             });
//         }, count);
//     }
//
// The same declaration then writes files, reads them and feeds the JSON dump of an entity's groups. Besides
// single fields there are counted lists (a count, then that many items, each starting with a group of one
// code; a count is a claim that bounds the items read, never an amount to allocate), conditions (groups there
// only when a flag read before says so: when; groups written only when they say something, read whenever
// there: optional), values kept in another form than the file's (converted), and two forms of one value
// (either).

/// No limit on the items of a list: its count is missing or not to be believed.
inline constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

/// What the count group of a list says: at most how many items to read, and from where (items follow their
/// count; a list without one may start anywhere in its part).
struct ListCount {
    std::size_t limit = kNoLimit;
    std::size_t from = 0;  // index of the first group an item may start at
};

/// Writes declared groups to a DxfOutput, putting kept groups of a file back in their subclass section.
class DxfWriteIo {
  public:
    static constexpr bool kReading = false;

    // Kept groups of the part before any marker go out when the first section starts (or at the end).
    DxfWriteIo(DxfOutput& out, const ObjectExtras* extras) : out_(out), extras_(extras) {}

    DxfOutput& output() { return out_; }
    void subclass(const char* name, int /*occurrence*/ = 0) {
        flushKept();
        out_.writeString(100, name);
        section_ = name;
        written_ += std::string(name) + '\n';
    }
    /// Writes the kept groups of the last section and of sections no declaration named.
    void end();

    // ---- Fields ----
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
        // Compared as written: an angle within rounding of its default is the default, in this file and the
        // next one made from it.
        if (toDegrees(radians) != toDegrees(def)) angle(code, radians);
    }
    /// A 16-bit integer group from a member of any integer or enumeration type.
    template <class T>
    void i16(int code, T v) {
        out_.writeInt16(code, static_cast<std::int16_t>(v));
    }
    template <class T>
    void i16(int code, T v, std::type_identity_t<T> def) {
        if (v != def) i16(code, v);
    }
    template <class T>
    void i32(int code, T v) {
        out_.writeInt32(code, static_cast<std::int32_t>(v));
    }
    template <class T>
    void i32(int code, T v, std::type_identity_t<T> def) {
        if (v != def) i32(code, v);
    }
    /// A yes or no: a boolean group in the 290 range, else a 16-bit 0 or 1.
    void boolean(int code, bool v);
    /// Yes-or-no values packed as bits of one 16-bit group (1 closed, 128 linetype generation, ...).
    void bits(int code, std::initializer_list<std::pair<int, const bool&>> bits) {
        int v = 0;
        for (const auto& [mask, set] : bits) v |= set ? mask : 0;
        out_.writeInt16(code, static_cast<std::int16_t>(v));
    }
    /// An enumeration stored as a 16-bit integer; values outside [first, last] read as `fallback`.
    template <class E>
    void enumeration(int code, E v, E /*first*/, E /*last*/, E /*fallback*/) {
        i16(code, v);
    }
    void point(int code, const Point3d& p) { out_.writePoint3d(code, p); }
    void point2(int code, const Point2d& p) { out_.writePoint2d(code, p); }
    void vec(int code, const Vector3d& v) { out_.writeVector3d(code, v); }
    void vec(int code, const Vector3d& v, const Vector3d& def) {
        if (!(v == def)) out_.writeVector3d(code, v);
    }
    /// A direction (a normal, an extrusion): a file may give it at any length; it is kept at length 1.
    void direction(int code, const Vector3d& v) { vec(code, v); }
    void direction(int code, const Vector3d& v, const Vector3d& def) { vec(code, v, def); }
    void id(int code, const ObjectId& v) { out_.writeObjectId(code, v); }
    /// A reference to a table record, written as the record's name; nothing when the id is null or the name
    /// is `skipName` (compared without regard to case).
    void symbol(int code, const ObjectId& v, TableKind kind, const char* skipName = nullptr);
    /// A reference to a table record that is left out when it is the record `defaultName`; a file that leaves
    /// it out (or names a record the drawing lacks) means that record.
    void symbolOr(int code, const ObjectId& v, TableKind kind, const char* defaultName) {
        symbol(code, v, kind, defaultName);
    }
    /// Text of any length: chunks of 250 bytes in groups `chunkCode`, the rest in group `lastCode`. Chunks
    /// never end inside a UTF-8 character.
    void chunkedText(int lastCode, int chunkCode, const std::string& v);

    // ---- Lists ----
    /// The count group of a list (16 or 32 bits as the code's type says).
    template <class Vec>
    ListCount count(int code, const Vec& items) {
        writeCount(code, items.size());
        return {items.size()};
    }
    /// The items of a list, each declared by `item(io, element)`; the first group an item writes is
    /// `itemCode`. On reading, `count` bounds the items and says where they start.
    template <class Vec, class Fn>
    void items(int /*itemCode*/, const Vec& items, Fn&& item, ListCount /*count*/ = {}) {
        for (const auto& element : items) item(*this, element);
    }
    /// A counted list: the count group, then the items.
    template <class Vec, class Fn>
    void list(int countCode, int itemCode, const Vec& items, Fn&& item) {
        this->items(itemCode, items, item, count(countCode, items));
    }
    /// A counted list of references; those that lead nowhere are neither written nor counted.
    void ids(int countCode, int code, const std::vector<ObjectId>& ids);

    // ---- Conditions and forms ----
    /// Groups that are there only when `condition` holds, in files and here alike: a flag or a type declared
    /// before them decides.
    template <class Fn>
    void when(bool condition, Fn&& fields) {
        if (condition) fields();
    }
    /// Groups written only when `worth` holds (they say more than their defaults); read whenever the file has
    /// them.
    template <class Fn>
    void optional(bool worth, Fn&& fields) {
        if (worth) fields();
    }
    /// A value kept in memory in another form than the file's: `toFile()` gives the file's form,
    /// `fields(form)` declares its groups, and on reading `fromFile(form)` puts it back.
    template <class ToFile, class Fields, class FromFile>
    void converted(ToFile&& toFile, Fields&& fields, FromFile&& /*fromFile*/) {
        auto form = toFile();
        fields(form);
    }
    /// A value a file gives in one of two forms, the first starting with group `firstCode`, the other with
    /// `secondCode`. `second` says which form is written, and on reading which one the file had (the first
    /// when it has both).
    template <class First, class Second>
    void either(bool second, int /*firstCode*/, First&& first, int /*secondCode*/, Second&& other) {
        if (second)
            other();
        else
            first();
    }

    static double toDegrees(double radians) {
        // Angles that are whole degrees in memory print as whole degrees.
        const double d = radians * (180.0 / kPi);
        const double r = std::round(d);
        return std::abs(d - r) < 1e-9 ? r + 0.0 : d;  // + 0.0: no "-0.0" for a hair below zero
    }

  private:
    /// Writes the kept groups of the current section, at its end.
    void flushKept();
    void writeCount(int code, std::size_t n);

    DxfOutput& out_;
    const ObjectExtras* extras_;
    std::string section_;
    std::string written_ = "\n";  // sections already written, each name followed by a line end
};

/// Reads declared groups from a DxfInput into an object. A group that is missing leaves its member as it was,
/// so members keep their defaults.
class DxfReadIo {
  public:
    static constexpr bool kReading = true;

    explicit DxfReadIo(DxfInput& in) : in_(in) {}
    DxfInput& input() { return in_; }
    void subclass(const char* name, int occurrence = 0) { in_.subclass(name, occurrence); }
    void end() {}

    // ---- Fields ----
    void str(int code, std::string& v) { in_.readString(code, v); }
    void str(int code, std::string& v, const char*) { in_.readString(code, v); }
    void real(int code, double& v) { in_.readDouble(code, v); }
    void real(int code, double& v, double) { in_.readDouble(code, v); }
    void angle(int code, double& radians) {
        double d = 0;
        if (in_.readDouble(code, d)) radians = d * (kPi / 180.0);
    }
    void angle(int code, double& radians, double) { angle(code, radians); }
    template <class T>
    void i16(int code, T& v) {
        auto read = static_cast<std::int16_t>(v);
        if (in_.readInt16(code, read)) v = static_cast<T>(read);
    }
    template <class T>
    void i16(int code, T& v, std::type_identity_t<T>) {
        i16(code, v);
    }
    template <class T>
    void i32(int code, T& v) {
        auto read = static_cast<std::int32_t>(v);
        if (in_.readInt32(code, read)) v = static_cast<T>(read);
    }
    template <class T>
    void i32(int code, T& v, std::type_identity_t<T>) {
        i32(code, v);
    }
    void boolean(int code, bool& v) { in_.readBool(code, v); }
    void bits(int code, std::initializer_list<std::pair<int, bool&>> bits) {
        std::int16_t v = 0;
        if (!in_.readInt16(code, v)) return;
        for (const auto& [mask, set] : bits) set = (v & mask) != 0;
    }
    template <class E>
    void enumeration(int code, E& v, E first, E last, E fallback) {
        using U = std::underlying_type_t<E>;
        std::int16_t read = static_cast<std::int16_t>(v);
        if (!in_.readInt16(code, read)) return;
        v = read >= static_cast<U>(first) && read <= static_cast<U>(last) ? static_cast<E>(read) : fallback;
    }
    void point(int code, Point3d& p) { in_.readPoint3d(code, p); }
    void point2(int code, Point2d& p) { in_.readPoint2d(code, p); }
    void vec(int code, Vector3d& v) { in_.readVector3d(code, v); }
    void vec(int code, Vector3d& v, const Vector3d&) { in_.readVector3d(code, v); }
    void direction(int code, Vector3d& v) {
        if (in_.readVector3d(code, v)) v = v.normalized();
    }
    void direction(int code, Vector3d& v, const Vector3d&) { direction(code, v); }
    /// References may point forward in the file: they are resolved when the whole file is read.
    void id(int code, ObjectId& v);
    /// A record name. Names of records that come later in the file are resolved when it is all read; a layer
    /// that the file never defines is created, as drawing programs do.
    void symbol(int code, ObjectId& v, TableKind kind, const char* skipName = nullptr);
    void symbolOr(int code, ObjectId& v, TableKind kind, const char* defaultName);
    void chunkedText(int lastCode, int chunkCode, std::string& v);

    // ---- Lists ----
    /// The count a file gives for a list, and where it is; no limit when the file gives none or a negative
    /// one.
    template <class Vec>
    ListCount count(int code, const Vec&) {
        return readCount(code);
    }
    template <class Vec, class Fn>
    void items(int itemCode, Vec& items, Fn&& item, ListCount count = {}) {
        items.clear();
        DxfInput::List list = in_.beginList(itemCode, count.from);
        // Room for the items the groups can hold and no more, made once: items never move while they are
        // read, so references resolved after loading can point into them.
        items.reserve(std::min(count.limit, in_.itemsAvailable(list)));
        while (items.size() < count.limit && in_.nextItem(list)) {
            item(*this, items.emplace_back());
            in_.endItem(list);
        }
    }
    template <class Vec, class Fn>
    void list(int countCode, int itemCode, Vec& items, Fn&& item) {
        this->items(itemCode, items, item, count(countCode, items));
    }
    void ids(int countCode, int code, std::vector<ObjectId>& ids) {
        list(countCode, code, ids, [code](DxfReadIo& io, ObjectId& v) { io.id(code, v); });
    }

    // ---- Conditions and forms ----
    template <class Fn>
    void when(bool condition, Fn&& fields) {
        if (condition) fields();
    }
    template <class Fn>
    void optional(bool, Fn&& fields) {
        fields();
    }
    template <class ToFile, class Fields, class FromFile>
    void converted(ToFile&& toFile, Fields&& fields, FromFile&& fromFile) {
        auto form = toFile();
        fields(form);
        fromFile(form);
    }
    template <class First, class Second>
    void either(bool& second, int firstCode, First&& first, int secondCode, Second&& other) {
        if (in_.has(firstCode)) {
            second = false;
            first();
        } else if (in_.has(secondCode)) {
            second = true;
            other();
        }
    }

  private:
    ListCount readCount(int code);

    DxfInput& in_;
};

}  // namespace vela::db

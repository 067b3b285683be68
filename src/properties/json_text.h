#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QStringView>
#include <string_view>
#include <utility>
#include <vector>

#include "db/geometry/vector.h"

namespace vela::properties {

/// Writes JSON text for answers that list many entities, where building Qt's JSON objects member by member
/// (several allocations per member) would dominate: the text is read back once as Qt's JSON, or sent as it
/// is. It is the text Qt's compact form would give for the same values (numbers, escapes), so either way the
/// answer reads the same, provided the caller writes each object's keys in Qt's order (sorted by their
/// bytes). Commas are placed by the writer; keys are names given by the program (ASCII, not escaped);
/// string values are escaped.
class JsonTextWriter {
  public:
    JsonTextWriter& beginArray() { return open('['); }
    JsonTextWriter& endArray() { return close(']'); }
    JsonTextWriter& beginObject() { return open('{'); }
    JsonTextWriter& endObject() { return close('}'); }
    /// The name of the next member of the object being written.
    JsonTextWriter& key(const char* name);

    JsonTextWriter& string(QStringView text);
    /// Bytes that are not UTF-8 become U+FFFD, so the text always reads back.
    JsonTextWriter& string(std::string_view utf8);
    /// A number as Qt writes it (a whole number as an integer, any other in the shortest general form that
    /// reads back exactly); null for infinities and NaN, which JSON lacks.
    JsonTextWriter& number(double value);
    JsonTextWriter& integer(qint64 value);
    JsonTextWriter& boolean(bool value);
    /// A value that is JSON text already (one complete value, in the same compact form), put in as it is.
    JsonTextWriter& raw(QByteArrayView json);
    /// A string holding the number in general form with six significant digits ("2.5", "1.23457e+06").
    JsonTextWriter& sixDigitString(double value);
    /// A string "x,y,z", each coordinate in the shortest form that reads back exactly.
    JsonTextWriter& pointString(const db::Point3d& point);

    /// Where the writer stands, to come back to when a value is given up half way.
    struct Mark {
        qsizetype size;
        std::size_t depth;  // open brackets; a value given up leaves those below unchanged
        bool first;         // whether the innermost one was still empty
    };
    Mark mark() const { return {out_.size(), first_.size(), !first_.empty() && first_.back()}; }
    void rewind(const Mark& mark);
    /// True before anything was written.
    bool empty() const { return out_.isEmpty(); }

    void reserve(qsizetype bytes) { out_.reserve(bytes); }
    /// The text written, when it is one complete array, as Qt's JSON.
    QJsonArray toArray() const;
    /// The text written, handed over; the writer is left empty.
    QByteArray takeText() {
        first_.clear();
        afterKey_ = false;
        return std::exchange(out_, QByteArray());
    }

  private:
    JsonTextWriter& open(char bracket);
    JsonTextWriter& close(char bracket);
    void beforeValue();

    QByteArray out_;
    std::vector<bool> first_;  // per open bracket: nothing written in it yet
    bool afterKey_ = false;
};

}  // namespace vela::properties

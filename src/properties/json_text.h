#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QStringView>
#include <string_view>
#include <vector>

#include "db/geometry/vector.h"

namespace vela::properties {

/// Writes JSON text and reads it back once as Qt's JSON, for answers that list many entities: building Qt's
/// JSON objects member by member costs several allocations per member, which dominated large answers, while
/// Qt reads a whole text into one container at once. Commas are placed by the writer; keys are names given by
/// the program (ASCII, not escaped); string values are escaped.
class JsonTextWriter {
  public:
    JsonTextWriter& beginArray() { return open('['); }
    JsonTextWriter& endArray() { return close(']'); }
    JsonTextWriter& beginObject() { return open('{'); }
    JsonTextWriter& endObject() { return close('}'); }
    /// The name of the next member of the object being written.
    JsonTextWriter& key(const char* name);

    JsonTextWriter& string(QStringView text);
    JsonTextWriter& string(std::string_view utf8);
    /// A number in the shortest form that reads back exactly.
    JsonTextWriter& number(double value);
    /// A string holding the number in general form with six significant digits ("2.5", "1.23457e+06").
    JsonTextWriter& sixDigitString(double value);
    /// A string "x,y,z", each coordinate in the shortest form that reads back exactly.
    JsonTextWriter& pointString(const db::Point3d& point);

    /// Marks where the next value starts and forgets what was written since (a value given up half way).
    std::size_t mark() const { return static_cast<std::size_t>(out_.size()); }
    void rewind(std::size_t mark, std::size_t depth, bool first);
    std::size_t depth() const { return first_.size(); }
    bool atFirst() const { return !first_.empty() && first_.back(); }

    void reserve(qsizetype bytes) { out_.reserve(bytes); }
    /// The text written, when it is one complete array, as Qt's JSON.
    QJsonArray toArray() const;

  private:
    JsonTextWriter& open(char bracket);
    JsonTextWriter& close(char bracket);
    void beforeValue();

    QByteArray out_;
    std::vector<bool> first_;  // per open bracket: nothing written in it yet
    bool afterKey_ = false;
};

}  // namespace vela::properties

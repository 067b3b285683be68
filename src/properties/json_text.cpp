#include "properties/json_text.h"

#include <QJsonDocument>
#include <cstdio>

#include "properties/number_text.h"

namespace vela::properties {

void JsonTextWriter::beforeValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (first_.empty()) return;
    if (!first_.back()) out_ += ',';
    first_.back() = false;
}

JsonTextWriter& JsonTextWriter::open(char bracket) {
    beforeValue();
    out_ += bracket;
    first_.push_back(true);
    return *this;
}

JsonTextWriter& JsonTextWriter::close(char bracket) {
    out_ += bracket;
    first_.pop_back();
    return *this;
}

JsonTextWriter& JsonTextWriter::key(const char* name) {
    beforeValue();
    out_ += '"';
    out_ += name;
    out_ += "\":";
    afterKey_ = true;
    return *this;
}

JsonTextWriter& JsonTextWriter::string(std::string_view utf8) {
    beforeValue();
    out_ += '"';
    for (char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out_ += '\\';
            out_ += c;
        } else if (byte < 0x20) {
            char escape[7];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
            out_ += escape;
        } else {
            out_ += c;  // UTF-8 passes through as it is
        }
    }
    out_ += '"';
    return *this;
}

JsonTextWriter& JsonTextWriter::string(QStringView text) {
    const QByteArray utf8 = text.toUtf8();
    return string(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

JsonTextWriter& JsonTextWriter::number(double value) {
    beforeValue();
    AppendShortestNumber(out_, value);
    return *this;
}

JsonTextWriter& JsonTextWriter::sixDigitString(double value) {
    beforeValue();
    out_ += '"';
    AppendSixDigitNumber(out_, value);
    out_ += '"';
    return *this;
}

JsonTextWriter& JsonTextWriter::pointString(const db::Point3d& point) {
    beforeValue();
    out_ += '"';
    AppendPointText(out_, point);
    out_ += '"';
    return *this;
}

void JsonTextWriter::rewind(const Mark& mark) {
    out_.truncate(mark.size);
    first_.resize(mark.depth);
    if (!first_.empty()) first_.back() = mark.first;
    afterKey_ = false;
}

QJsonArray JsonTextWriter::toArray() const {
    return QJsonDocument::fromJson(out_).array();
}

}  // namespace vela::properties

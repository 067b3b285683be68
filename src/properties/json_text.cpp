#include "properties/json_text.h"

#include <QJsonDocument>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "host/text/number_text.h"

namespace vela::properties {

namespace {

// Control characters that JSON (and Qt, whose text ours must equal) writes with a letter.
constexpr const char* kShortEscapes[0x20] = {
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "\\b",   "\\t",   "\\n",
    nullptr, "\\f",   "\\r",   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

}  // namespace

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
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const char c = utf8[i];
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out_ += '\\';
            out_ += c;
        } else if (const char* shortEscape = byte < 0x20 ? kShortEscapes[byte] : nullptr) {
            out_ += shortEscape;
        } else if (byte < 0x20) {
            char escape[7];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
            out_ += escape;
        } else if (byte < 0x80) {
            out_ += c;
        } else {
            // A whole UTF-8 sequence passes through as it is; anything else is replaced.
            const std::size_t length = byte >= 0xF0 && byte < 0xF5 ? 4
                                       : byte >= 0xE0              ? 3
                                       : byte >= 0xC2              ? 2
                                                                   : 0;
            bool whole = length > 0 && byte < 0xF5 && i + length <= utf8.size();
            for (std::size_t k = 1; whole && k < length; ++k)
                whole = (static_cast<unsigned char>(utf8[i + k]) & 0xC0) == 0x80;
            if (whole) {
                out_.append(utf8.data() + i, static_cast<qsizetype>(length));
                i += length - 1;
            } else {
                out_ += "\xEF\xBF\xBD";
            }
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
    if (!std::isfinite(value)) {
        out_ += "null";
        return *this;
    }
    // As Qt writes numbers: a whole number within the 64-bit range as an integer (Qt keeps it as one), any
    // other in the shortest general form that reads back exactly ("0.1", "2.5e-07", "1e+20").
    constexpr double kIntegerRange = 9223372036854775808.0;  // 2^63
    if (value == std::trunc(value) && std::abs(value) < kIntegerRange) {
        out_ += QByteArray::number(static_cast<qint64>(value));
        return *this;
    }
    char buffer[32];
    const std::to_chars_result r = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general);
    out_.append(buffer, r.ptr - buffer);
    return *this;
}

JsonTextWriter& JsonTextWriter::integer(qint64 value) {
    beforeValue();
    out_ += QByteArray::number(value);
    return *this;
}

JsonTextWriter& JsonTextWriter::boolean(bool value) {
    beforeValue();
    out_ += value ? "true" : "false";
    return *this;
}

JsonTextWriter& JsonTextWriter::raw(QByteArrayView json) {
    beforeValue();
    out_ += json;
    return *this;
}

JsonTextWriter& JsonTextWriter::sixDigitString(double value) {
    beforeValue();
    out_ += '"';
    host::AppendSixDigitNumber(out_, value);
    out_ += '"';
    return *this;
}

JsonTextWriter& JsonTextWriter::pointString(const db::Point3d& point) {
    beforeValue();
    out_ += '"';
    host::AppendPointText(out_, point);
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

#include "host/text/number_text.h"

#include <fast_float/fast_float.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vela::host {
namespace {

// Long enough for any shortest double ("-2.2250738585072014e-308") and for a plain notation of up to 16
// integer digits, so that to_chars cannot run out of room.
constexpr int kNumberBuffer = 40;

char* writeShortest(char* out, double value) {
    if (value == 0.0) value = 0.0;  // drops the sign of -0, which reads back as the same value
    // The shortest form picks scientific notation whenever it is shorter ("1e+05"); everyday coordinates
    // (250000, 0.0125) read better in plain notation, which is kept for exponents from -5 to 15.
    char* end = std::to_chars(out, out + kNumberBuffer, value).ptr;
    const char* e = std::find(out, end, 'e');
    if (e == end) return end;
    const char* digits = e + 1;
    if (*digits == '+' || *digits == '-') ++digits;
    int exponent = 0;
    std::from_chars(digits, end, exponent);
    if (e[1] == '-') exponent = -exponent;
    if (exponent < -5 || exponent > 15) return end;
    return std::to_chars(out, out + kNumberBuffer, value, std::chars_format::fixed).ptr;
}

}  // namespace

std::optional<double> NumberFromText(QStringView text) {
    text = text.trimmed();
    if (text.isEmpty() || text.size() > 400) return std::nullopt;
    // fast_float reads narrow characters only; a decimal number is ASCII through and through.
    char buffer[401];
    qsizetype n = 0;
    for (QChar c : text) {
        if (c.unicode() > 0x7F) return std::nullopt;
        buffer[n++] = static_cast<char>(c.unicode());
    }
    const char* first = buffer;
    const char* last = buffer + n;
    // A leading '+' is a sign the C conversion accepts; fast_float does not, so it is taken here.
    if (*first == '+') {
        ++first;
        if (first == last || *first == '-' || *first == '+') return std::nullopt;
    }
    double value = 0.0;
    const fast_float::from_chars_result r = fast_float::from_chars(first, last, value);
    if (r.ec != std::errc() || r.ptr != last || !std::isfinite(value)) return std::nullopt;
    return value;
}

void AppendShortestNumber(QByteArray& out, double value) {
    char buffer[kNumberBuffer];
    out.append(buffer, writeShortest(buffer, value) - buffer);
}

void AppendSixDigitNumber(QByteArray& out, double value) {
    // to_chars rather than printf: a Qt program runs in the user's locale, which may use a decimal comma.
    char buffer[kNumberBuffer];
    const std::to_chars_result r =
        std::to_chars(buffer, buffer + kNumberBuffer, value, std::chars_format::general, 6);
    out.append(buffer, r.ptr - buffer);
}

void AppendPointText(QByteArray& out, const db::Point3d& point) {
    char buffer[3 * kNumberBuffer];
    char* p = writeShortest(buffer, point.x);
    *p++ = ',';
    p = writeShortest(p, point.y);
    *p++ = ',';
    p = writeShortest(p, point.z);
    out.append(buffer, p - buffer);
}

QString ShortestNumberText(double value) {
    char buffer[kNumberBuffer];
    return QString::fromLatin1(buffer, writeShortest(buffer, value) - buffer);
}

QString SixDigitNumberText(double value) {
    QByteArray text;
    AppendSixDigitNumber(text, value);
    return QString::fromLatin1(text);
}

QString PointToText(const db::Point3d& point) {
    QByteArray text;
    AppendPointText(text, point);
    return QString::fromLatin1(text);
}

}  // namespace vela::host

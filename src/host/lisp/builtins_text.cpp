// Strings, numbers as text, reading, printing and the geometry of points.

#include <QRegularExpression>
#include <cmath>
#include <numbers>

#include "host/lisp/interpreter.h"
#include "host/lisp/printer.h"
#include "host/lisp/reader.h"
#include "host/text/number_text.h"
#include "host/text/wildcard.h"

namespace vela::host::lisp {

namespace {

constexpr double kPi = std::numbers::pi;

Value strcat(Interpreter&, Args& a) {
    QString s;
    for (const Value& v : a) s += text(v);
    return string(std::move(s));
}

Value strlen(Interpreter&, Args& a) {
    qsizetype n = 0;
    for (const Value& v : a) n += text(v).size();
    return Value(static_cast<std::int32_t>(n));
}

Value substr(Interpreter&, Args& a) {
    const QString& s = text(a[0]);
    const std::int32_t start = integer(a[1]);
    if (start < 1) badArgument("positive integer:", a[1]);
    std::int32_t count = -1;
    if (a.size() > 2) {
        count = integer(a[2]);
        if (count < 0) badArgument("positive integer:", a[2]);
    }
    if (start > s.size()) return string({});
    return string(s.mid(start - 1, count));
}

Value strcase(Interpreter&, Args& a) {
    const QString& s = text(a[0]);
    return string(a.size() > 1 && a[1] ? s.toLower() : s.toUpper());
}

Value itoa(Interpreter&, Args& a) {
    return string(QString::number(integer(a[0])));
}

// The number at the start of a text, as C's atoi and atof read it: blanks, then as much as forms a number.
QString leadingNumber(const QString& s, bool real) {
    static const QRegularExpression kInteger(QStringLiteral("^\\s*([+-]?\\d+)"));
    static const QRegularExpression kReal(
        QStringLiteral("^\\s*([+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?)"));
    const QRegularExpressionMatch m = (real ? kReal : kInteger).match(s);
    return m.hasMatch() ? m.captured(1) : QString();
}

Value atoi(Interpreter&, Args& a) {
    const QString n = leadingNumber(text(a[0]), false);
    if (n.isEmpty()) return Value(0);
    const double v = NumberFromText(n).value_or(0);
    return Value(static_cast<std::int32_t>(std::clamp(v, -2147483648.0, 2147483647.0)));
}

Value atof(Interpreter&, Args& a) {
    const QString n = leadingNumber(text(a[0]), true);
    return Value(n.isEmpty() ? 0.0 : NumberFromText(n).value_or(0.0));
}

QString fixed(double v, int precision) {
    return QString::number(v, 'f', std::clamp(precision, 0, 16));
}

// A length in inches as feet and inches, the inches in decimals (engineering) or fractions (architectural).
QString fraction(double v, int precision) {
    const int denominator = 1 << std::clamp(precision, 0, 8);
    const double whole = std::floor(v);
    int numerator = static_cast<int>(std::lround((v - whole) * denominator));
    double w = whole;
    if (numerator == denominator) numerator = 0, w += 1;
    QString s = QString::number(static_cast<qint64>(w));
    if (numerator == 0) return s;
    int d = denominator;
    while (numerator % 2 == 0) numerator /= 2, d /= 2;
    if (w == 0) return QStringLiteral("%1/%2").arg(numerator).arg(d);
    return s + QStringLiteral(" %1/%2").arg(numerator).arg(d);
}

QString unitsText(double v, int mode, int precision) {
    const bool negative = v < 0;
    const double x = std::fabs(v);
    // Engineering and architectural units: feet, then the inches in decimals or in fractions.
    auto feetAndInches = [&](QString (*inchText)(double, int)) {
        const double feet = std::floor(x / 12);
        const QString inches = inchText(x - feet * 12, precision) + u'"';
        return feet > 0 ? QStringLiteral("%1'-%2").arg(feet).arg(inches) : inches;
    };
    QString s;
    switch (mode) {
        case 1:
            s = QString::number(x, 'E', std::clamp(precision, 0, 16));
            break;
        case 3:
            s = feetAndInches(fixed);
            break;
        case 4:
            s = feetAndInches(fraction);
            break;
        case 5:
            s = fraction(x, precision);
            break;
        default:
            s = fixed(x, precision);
            break;
    }
    return negative ? u'-' + s : s;
}

Value rtos(Interpreter&, Args& a) {
    const double v = number(a[0]);
    const int mode = a.size() > 1 ? integer(a[1]) : 2;
    const int precision = a.size() > 2 ? integer(a[2]) : 4;
    if (mode < 1 || mode > 5) badArgument("units mode:", a[1]);
    if (!std::isfinite(v) || std::fabs(v) > 1e15)
        return string(printReal(v));  // no feet and fractions of those
    return string(unitsText(v, mode, precision));
}

QString degreesMinutesSeconds(double degrees, int precision) {
    const double d = std::floor(degrees);
    const double m = std::floor((degrees - d) * 60);
    const double sec = ((degrees - d) * 60 - m) * 60;
    return QStringLiteral("%1d%2'%3\"").arg(d).arg(m).arg(fixed(sec, std::max(0, precision - 4)));
}

Value angtos(Interpreter&, Args& a) {
    double r = std::fmod(number(a[0]), 2 * kPi);
    if (r < 0) r += 2 * kPi;
    const int mode = a.size() > 1 ? integer(a[1]) : 0;
    const int precision = a.size() > 2 ? integer(a[2]) : 0;
    const double degrees = r * 180 / kPi;
    switch (mode) {
        case 0:
            return string(fixed(degrees, precision));
        case 1:
            return string(degreesMinutesSeconds(degrees, precision));
        case 2:
            return string(fixed(r * 200 / kPi, precision) + u'g');
        case 3:
            return string(fixed(r, precision) + u'r');
        case 4: {
            // Bearings: from north or south, towards east or west.
            const bool north = degrees <= 180;
            const double fromNorth = north ? 90 - degrees : degrees - 270;
            const bool east = fromNorth >= 0;
            const double bearing = std::fabs(fromNorth);
            if (bearing == 90) return string(east ? QStringLiteral("E") : QStringLiteral("W"));
            if (bearing == 0) return string(north ? QStringLiteral("N") : QStringLiteral("S"));
            return string(QStringLiteral("%1 %2 %3")
                              .arg(QChar(north ? u'N' : u'S'))
                              .arg(degreesMinutesSeconds(90 - bearing, precision))
                              .arg(QChar(east ? u'E' : u'W')));
        }
        default:
            badArgument("angle mode:", a[1]);
    }
}

// distof: decimal, scientific, feet and inches ("3'-4.5\"", "3'4\""), fractions ("4 1/2").
Value distof(Interpreter&, Args& a) {
    QString s = text(a[0]).trimmed();
    if (auto v = NumberFromText(s)) return Value(*v);
    static const QRegularExpression kFeet(QStringLiteral(
        "^([+-]?\\d+(?:\\.\\d+)?)'\\s*-?\\s*(?:(\\d+(?:\\.\\d+)?)?(?:\\s*(\\d+)/(\\d+))?\")?$"));
    static const QRegularExpression kFraction(QStringLiteral("^([+-]?\\d+)?\\s*(\\d+)/(\\d+)\"?$"));
    if (const auto m = kFeet.match(s); m.hasMatch()) {
        double inches = m.captured(2).isEmpty() ? 0 : m.captured(2).toDouble();
        if (!m.captured(4).isEmpty() && m.captured(4).toDouble() != 0)
            inches += m.captured(3).toDouble() / m.captured(4).toDouble();
        const double feet = m.captured(1).toDouble();
        return Value(feet * 12 + (feet < 0 ? -inches : inches));
    }
    if (const auto m = kFraction.match(s); m.hasMatch() && m.captured(3).toDouble() != 0) {
        const double whole = m.captured(1).isEmpty() ? 0 : m.captured(1).toDouble();
        const double part = m.captured(2).toDouble() / m.captured(3).toDouble();
        return Value(whole < 0 || m.captured(1).startsWith(u'-') ? whole - part : whole + part);
    }
    return {};
}

Value readFn(Interpreter& l, Args& a) {
    const QString& s = text(a[0]);
    Reader reader(l, s);
    Value form;
    if (!reader.next(form)) return {};
    return form;
}

Value princToString(Interpreter&, Args& a) {
    return string(print(a[0], false));
}
Value prin1ToString(Interpreter&, Args& a) {
    return string(print(a[0], true));
}

Value stringSearch(Interpreter&, Args& a) {
    const QString& pattern = text(a[0]);
    const QString& s = text(a[1]);
    const qsizetype from = a.size() > 2 ? std::max<qsizetype>(0, integer(a[2])) : 0;
    const qsizetype at = s.indexOf(pattern, from);
    return at < 0 ? Value() : Value(static_cast<std::int32_t>(at));
}

Value stringSubst(Interpreter&, Args& a) {
    const QString& replacement = text(a[0]);
    const QString& pattern = text(a[1]);
    QString s = text(a[2]);
    const qsizetype from = a.size() > 3 ? std::max<qsizetype>(0, integer(a[3])) : 0;
    const qsizetype at = s.indexOf(pattern, from);
    if (at >= 0) s.replace(at, pattern.size(), replacement);
    return string(std::move(s));
}

template <bool Left, bool Right>
Value stringTrim(Interpreter&, Args& a) {
    const QString& chars = text(a[0]);
    const QString& s = text(a[1]);
    qsizetype from = 0, to = s.size();
    if (Left)
        while (from < to && chars.contains(s[from])) ++from;
    if (Right)
        while (to > from && chars.contains(s[to - 1])) --to;
    return string(s.mid(from, to - from));
}

Value stringToList(Interpreter&, Args& a) {
    ListBuilder out;
    for (QChar c : text(a[0])) out.add(Value(static_cast<std::int32_t>(c.unicode())));
    return out.take();
}

QChar character(const Value& v) {
    const std::int32_t code = integer(v);
    if (code < 0 || code > 0xFFFF) badArgument("character code:", v);
    return QChar(static_cast<char16_t>(code));
}

Value listToString(Interpreter&, Args& a) {
    QString s;
    for (const Value* c = &listArg(a[0]); c->isCons(); c = &c->as<Cons>()->cdr)
        s += character(c->as<Cons>()->car);
    return string(std::move(s));
}

Value chr(Interpreter&, Args& a) {
    return string(QString(character(a[0])));
}
Value ascii(Interpreter&, Args& a) {
    const QString& s = text(a[0]);
    return Value(s.isEmpty() ? 0 : static_cast<std::int32_t>(s[0].unicode()));
}

Value stringPosition(Interpreter&, Args& a) {
    const QChar c = character(a[0]);
    const QString& s = text(a[1]);
    const qsizetype from = a.size() > 2 && a[2] ? integer(a[2]) : 0;
    const bool fromEnd = a.size() > 3 && a[3];
    const qsizetype at = fromEnd ? s.lastIndexOf(c) : s.indexOf(c, from);
    return at < 0 ? Value() : Value(static_cast<std::int32_t>(at));
}

Value stringTranslate(Interpreter&, Args& a) {
    const QString& from = text(a[0]);
    const QString& to = text(a[1]);
    QString s = text(a[2]);
    for (QChar& c : s)
        if (const qsizetype i = from.indexOf(c); i >= 0 && i < to.size()) c = to[i];
    return string(std::move(s));
}

Value wcmatch(Interpreter& l, Args& a) {
    return l.boolean(WildcardMatch(text(a[0]), text(a[1])));
}

// ---- Output: to the command line ----

// (princ) with nothing to print answers the symbol with no name, which prints as nothing: programs end with
// it so that the command line shows no value.
Value princ(Interpreter& l, Args& a) {
    if (a.empty()) return l.symbol(QString());
    l.write(print(a[0], false));
    return a[0];
}

Value prin1(Interpreter& l, Args& a) {
    if (a.empty()) return l.symbol(QString());
    l.write(print(a[0], true));
    return a[0];
}

Value printFn(Interpreter& l, Args& a) {
    l.write(u'\n' + print(a[0], true) + u' ');
    return a[0];
}

Value terpri(Interpreter& l, Args&) {
    l.write(QStringLiteral("\n"));
    return {};
}

Value prompt(Interpreter& l, Args& a) {
    l.write(text(a[0]));
    return {};
}

Value alert(Interpreter& l, Args& a) {
    l.write(text(a[0]) + u'\n');
    return {};
}

// ---- Points ----

Value distance(Interpreter&, Args& a) {
    const db::Point3d p = point(a[0]), q = point(a[1]);
    // Two 2D points, or either one 2D: the distance in the plane, as the dialect measures it.
    const bool flat = elements(a[0]).size() == 2 || elements(a[1]).size() == 2;
    return Value(std::hypot(q.x - p.x, q.y - p.y, flat ? 0.0 : q.z - p.z));
}

Value angle(Interpreter&, Args& a) {
    const db::Point3d p = point(a[0]), q = point(a[1]);
    double r = std::atan2(q.y - p.y, q.x - p.x);
    if (r < 0) r += 2 * kPi;
    return Value(r);
}

Value polar(Interpreter&, Args& a) {
    const db::Point3d p = point(a[0]);
    const double r = number(a[1]), d = number(a[2]);
    return pointValue({p.x + d * std::cos(r), p.y + d * std::sin(r), p.z}, elements(a[0]).size() == 3);
}

// The crossing of two lines through p1-p2 and p3-p4 (in the plane); within both segments unless the fifth
// argument is given and nil.
Value inters(Interpreter&, Args& a) {
    const db::Point3d p1 = point(a[0]), p2 = point(a[1]), p3 = point(a[2]), p4 = point(a[3]);
    const bool onSegments = a.size() < 5 || a[4];
    const double dx1 = p2.x - p1.x, dy1 = p2.y - p1.y, dx2 = p4.x - p3.x, dy2 = p4.y - p3.y;
    const double denominator = dx1 * dy2 - dy1 * dx2;
    if (std::fabs(denominator) < 1e-12 * (std::fabs(dx1 * dy2) + std::fabs(dy1 * dx2) + 1e-300)) return {};
    const double t = ((p3.x - p1.x) * dy2 - (p3.y - p1.y) * dx2) / denominator;
    const double u = ((p3.x - p1.x) * dy1 - (p3.y - p1.y) * dx1) / denominator;
    constexpr double kSlack = 1e-10;
    if (onSegments && (t < -kSlack || t > 1 + kSlack || u < -kSlack || u > 1 + kSlack)) return {};
    return pointValue({p1.x + t * dx1, p1.y + t * dy1, p1.z + t * (p2.z - p1.z)}, true);
}

// The user coordinate system is the world's here: trans gives its point back.
Value trans(Interpreter&, Args& a) {
    point(a[0]);
    return a[0];
}

constexpr Builtin kBuiltins[] = {
    {"STRCAT", strcat, 0, -1},
    {"STRLEN", strlen, 0, -1},
    {"SUBSTR", substr, 2, 3},
    {"STRCASE", strcase, 1, 2},
    {"ITOA", itoa, 1, 1},
    {"ATOI", atoi, 1, 1},
    {"ATOF", atof, 1, 1},
    {"RTOS", rtos, 1, 3},
    {"ANGTOS", angtos, 1, 3},
    {"DISTOF", distof, 1, 2},
    {"READ", readFn, 1, 1},
    {"VL-PRINC-TO-STRING", princToString, 1, 1},
    {"VL-PRIN1-TO-STRING", prin1ToString, 1, 1},
    {"VL-STRING-SEARCH", stringSearch, 2, 3},
    {"VL-STRING-SUBST", stringSubst, 3, 4},
    {"VL-STRING-TRIM", stringTrim<true, true>, 2, 2},
    {"VL-STRING-LEFT-TRIM", stringTrim<true, false>, 2, 2},
    {"VL-STRING-RIGHT-TRIM", stringTrim<false, true>, 2, 2},
    {"VL-STRING->LIST", stringToList, 1, 1},
    {"VL-LIST->STRING", listToString, 1, 1},
    {"VL-STRING-POSITION", stringPosition, 2, 4},
    {"VL-STRING-TRANSLATE", stringTranslate, 3, 3},
    {"CHR", chr, 1, 1},
    {"ASCII", ascii, 1, 1},
    {"WCMATCH", wcmatch, 2, 2},
    {"PRINC", princ, 0, 2},
    {"PRIN1", prin1, 0, 2},
    {"PRINT", printFn, 1, 2},
    {"TERPRI", terpri, 0, 0},
    {"PROMPT", prompt, 1, 1},
    {"ALERT", alert, 1, 1},
    {"DISTANCE", distance, 2, 2},
    {"ANGLE", angle, 2, 2},
    {"POLAR", polar, 3, 3},
    {"INTERS", inters, 4, 5},
    {"TRANS", trans, 3, 4},
};

}  // namespace

void addTextBuiltins(Interpreter& l) {
    l.define(kBuiltins);
}

}  // namespace vela::host::lisp

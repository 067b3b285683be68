#include "properties/lineweight_text.h"

#include <QRegularExpression>
#include <cstdlib>

namespace vela::properties {

namespace {

// Integer and fraction digits are kept apart and compared as digits, so that no floating-point rounding can
// turn a non-standard width into a standard one. ASCII digits only; "mm" in any case.
const QRegularExpression& millimetrePattern() {
    static const QRegularExpression re = [] {
        QRegularExpression p(QStringLiteral("^(?:([0-9]+)(?:\\.([0-9]*))?|\\.([0-9]+))(?:[ \\t]*mm)?\\z"),
                             QRegularExpression::CaseInsensitiveOption);
        p.optimize();
        return p;
    }();
    return re;
}

// Hundredths of a millimetre for the digits, or -1 when they are not a whole number of hundredths below 10 mm
// (every standard width is, and longer texts could not be stored in the enum anyway).
int hundredthsOf(QStringView integerDigits, QStringView fractionDigits) {
    while (integerDigits.size() > 1 && integerDigits.front() == u'0') integerDigits = integerDigits.mid(1);
    if (integerDigits.size() > 1) return -1;
    for (qsizetype i = 2; i < fractionDigits.size(); ++i) {
        if (fractionDigits[i] != u'0') return -1;
    }
    const auto digit = [](QStringView digits, qsizetype i) {
        return i < digits.size() ? digits[i].unicode() - u'0' : 0;
    };
    return digit(integerDigits, 0) * 100 + digit(fractionDigits, 0) * 10 + digit(fractionDigits, 1);
}

}  // namespace

bool LineWeightFromText(const QString& text, db::LineWeight& out) {
    const QString t = text.trimmed();
    if (t.compare(QLatin1String("ByLayer"), Qt::CaseInsensitive) == 0) {
        out = db::LineWeight::ByLayer;
        return true;
    }
    if (t.compare(QLatin1String("ByBlock"), Qt::CaseInsensitive) == 0) {
        out = db::LineWeight::ByBlock;
        return true;
    }
    if (t.compare(QLatin1String("Default"), Qt::CaseInsensitive) == 0) {
        out = db::LineWeight::ByLineWeightDefault;
        return true;
    }
    const QRegularExpressionMatch m = millimetrePattern().match(t);
    if (!m.hasMatch()) return false;
    const bool leadingPoint = m.capturedLength(3) > 0;
    const int hundredths = leadingPoint ? hundredthsOf(QStringView(), m.capturedView(3))
                                        : hundredthsOf(m.capturedView(1), m.capturedView(2));
    // The special values are negative, so only a standard width can get through here.
    if (hundredths < 0 || !db::isValidLineWeight(hundredths)) return false;
    out = static_cast<db::LineWeight>(hundredths);
    return true;
}

std::optional<QString> SpecialLineWeightName(db::LineWeight weight) {
    switch (weight) {
        case db::LineWeight::ByLayer:
            return QStringLiteral("ByLayer");
        case db::LineWeight::ByBlock:
            return QStringLiteral("ByBlock");
        case db::LineWeight::ByLineWeightDefault:
            return QStringLiteral("Default");
        default:
            return std::nullopt;
    }
}

QString LineWeightToDisplayText(db::LineWeight weight) {
    if (const std::optional<QString> name = SpecialLineWeightName(weight)) return *name;
    // Integer arithmetic, so 0.05 mm never shows as 0.04 and odd stored values still show what they are.
    const int value = static_cast<int>(weight);
    const int magnitude = std::abs(value);
    return QStringLiteral("%1%2.%3 mm")
        .arg(value < 0 ? QStringLiteral("-") : QString())
        .arg(magnitude / 100)
        .arg(magnitude % 100, 2, 10, QLatin1Char('0'));
}

QString LineWeightToText(db::LineWeight weight) {
    return SpecialLineWeightName(weight).value_or(QString::number(static_cast<int>(weight)));
}

}  // namespace vela::properties

#include "properties/value_text.h"

#include <cmath>

#include "host/text/number_text.h"

namespace vela::properties {

QString PlainText(const QJsonValue& value) {
    switch (value.type()) {
        case QJsonValue::String:
            return value.toString();
        case QJsonValue::Bool:
            return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
        case QJsonValue::Double: {
            const double d = value.toDouble();
            // Below 2^63 every integral double converts to a 64-bit integer exactly, so colors, indexes and
            // large whole numbers come out as digits and not as "1e+16".
            if (std::isfinite(d) && std::trunc(d) == d && std::fabs(d) < 9.2e18)
                return QString::number(static_cast<qint64>(d));
            return host::ShortestNumberText(d);
        }
        default:
            return QString();
    }
}

std::optional<QString> SixDigitText(const QJsonValue& value) {
    switch (value.type()) {
        case QJsonValue::String:
            return value.toString();
        case QJsonValue::Bool:
            return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
        case QJsonValue::Double:
            return QString::number(value.toDouble(), 'g', 6);
        default:
            return std::nullopt;
    }
}

bool Truth(const QJsonValue& value) {
    switch (value.type()) {
        case QJsonValue::Bool:
            return value.toBool();
        case QJsonValue::Double:
            return value.toDouble() != 0.0;
        case QJsonValue::String: {
            const QString text = value.toString();
            return !text.isEmpty() && text != QLatin1String("0") &&
                   text.compare(QLatin1String("false"), Qt::CaseInsensitive) != 0;
        }
        default:
            return false;
    }
}

}  // namespace vela::properties

#include "host/system_variables.h"

#include <algorithm>
#include <cmath>

#include "db/database.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"
#include "host/document.h"
#include "host/text/color_text.h"
#include "host/text/number_text.h"
#include "host/text/point_text.h"

namespace vela::host {

namespace {

using T = SystemVariables::Type;

QString recordName(db::ObjectId id) {
    auto* r = db::objectCast<db::SymbolTableRecord>(id.peek());
    return r ? QString::fromStdString(r->name()) : QString();
}

std::optional<double> asReal(const VariableValue& v) {
    if (const int* i = std::get_if<int>(&v)) return *i;
    if (const double* d = std::get_if<double>(&v))
        return std::isfinite(*d) ? std::optional(*d) : std::nullopt;
    return std::nullopt;
}

}  // namespace

const std::vector<SystemVariables::Info>& SystemVariables::all() {
    static const std::vector<Info> list = {
        {"CECOLOR", T::Text, false, "color of new entities: BYLAYER, BYBLOCK, an index 1-255 or r,g,b"},
        {"CELTSCALE", T::Real, false, "linetype scale of new entities"},
        {"CELTYPE", T::Text, false, "linetype of new entities: ByLayer, ByBlock or a loaded linetype"},
        {"CELWEIGHT", T::Integer, false,
         "lineweight of new entities in 1/100 mm; -1 ByLayer, -2 ByBlock, -3 default"},
        {"CIRCLERAD", T::Real, false, "default radius of CIRCLE (0: none)"},
        {"CLAYER", T::Text, false, "the current layer"},
        {"CMDECHO", T::Integer, false,
         "1: answers given to commands ahead of their prompts are echoed; 0: not"},
        {"DWGNAME", T::Text, true, "the drawing's file name"},
        {"DWGPREFIX", T::Text, true, "the folder of the drawing's file, with a trailing slash"},
        {"HPGAPTOL", T::Real, false, "largest gap between boundary objects that hatch boundaries bridge"},
        {"INSUNITS", T::Integer, false,
         "drawing units: 0 unitless, 1 inches, 2 feet, 4 millimetres, 5 cm, 6 metres"},
        {"LASTPOINT", T::Point, false, "the last point given"},
        {"LTSCALE", T::Real, false, "the drawing's global linetype scale"},
        {"MEASUREMENT", T::Integer, false, "0 imperial, 1 metric (hatch patterns and linetypes)"},
        {"OFFSETDIST", T::Real, false, "default distance of OFFSET (negative: through a point)"},
        {"OSMODE", T::Integer, false, "object snap modes, a sum of bits"},
        {"TEXTSIZE", T::Real, false, "height of new text"},
    };
    return list;
}

const SystemVariables::Info* SystemVariables::find(const QString& name) {
    for (const Info& info : all())
        if (name.compare(QLatin1String(info.name), Qt::CaseInsensitive) == 0) return &info;
    return nullptr;
}

std::optional<VariableValue> SystemVariables::get(const QString& name, Document* document) const {
    const Info* info = find(name);
    if (!info) return std::nullopt;
    const QString n = QString::fromLatin1(info->name);
    if (n == QLatin1String("OSMODE")) return osmode_;
    if (n == QLatin1String("HPGAPTOL")) return hpgaptol_;
    if (n == QLatin1String("CMDECHO")) return cmdecho_;
    if (n == QLatin1String("CIRCLERAD")) return circlerad_;
    if (n == QLatin1String("OFFSETDIST")) return offsetdist_;
    if (!document) return std::nullopt;
    const db::Database& db = *document->database();
    if (n == QLatin1String("CLAYER")) return recordName(db.currentLayer());
    if (n == QLatin1String("CELTYPE")) return recordName(db.currentLinetype());
    if (n == QLatin1String("CECOLOR")) return CommandLineColorText(db.currentColor());
    if (n == QLatin1String("CELWEIGHT")) return static_cast<int>(db.currentLineWeight());
    if (n == QLatin1String("CELTSCALE")) return db.currentLinetypeScale();
    if (n == QLatin1String("LTSCALE")) return db.linetypeScale();
    if (n == QLatin1String("INSUNITS")) return db.insertionUnits();
    if (n == QLatin1String("MEASUREMENT")) return static_cast<int>(db.measurement());
    if (n == QLatin1String("TEXTSIZE")) return db.textSize();
    if (n == QLatin1String("LASTPOINT")) return document->lastPoint();
    const QString path = document->path();
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    if (n == QLatin1String("DWGNAME")) return path.isEmpty() ? document->title() : path.sliced(slash + 1);
    if (n == QLatin1String("DWGPREFIX")) return slash < 0 ? QString() : path.first(slash + 1);
    return std::nullopt;
}

QString SystemVariables::set(const QString& name, const VariableValue& value, Document* document) {
    const Info* info = find(name);
    if (!info) return QStringLiteral("Unknown variable name.");
    const QString n = QString::fromLatin1(info->name);
    if (info->readOnly) return QStringLiteral("%1 is read-only.").arg(n);
    const std::optional<double> real = asReal(value);
    const int* integer = std::get_if<int>(&value);
    const QString* text = std::get_if<QString>(&value);
    const db::Point3d* point = std::get_if<db::Point3d>(&value);
    const bool wrongType = (info->type == T::Integer && !integer) || (info->type == T::Real && !real) ||
                           (info->type == T::Text && !text) || (info->type == T::Point && !point);
    if (wrongType)
        return QStringLiteral("%1 takes %2.")
            .arg(n, info->type == T::Integer ? QStringLiteral("an integer")
                    : info->type == T::Real  ? QStringLiteral("a number")
                    : info->type == T::Text  ? QStringLiteral("a text")
                                             : QStringLiteral("a point"));
    auto range = [&](double low, double high) {
        return QStringLiteral("Value must be between %1 and %2.").arg(low).arg(high);
    };
    // The session's settings.
    if (n == QLatin1String("OSMODE"))
        return *integer < 0 || *integer > 16383 ? range(0, 16383) : (osmode_ = *integer, QString());
    if (n == QLatin1String("HPGAPTOL"))
        return *real < 0 || *real > 5000 ? range(0, 5000) : (hpgaptol_ = *real, QString());
    if (n == QLatin1String("CMDECHO"))
        return *integer != 0 && *integer != 1 ? range(0, 1) : (cmdecho_ = *integer, QString());
    if (n == QLatin1String("CIRCLERAD"))
        return *real < 0 ? QStringLiteral("Value must be positive or zero.")
                         : (circlerad_ = *real, QString());
    if (n == QLatin1String("OFFSETDIST")) return offsetdist_ = *real, QString();
    if (!document) return QStringLiteral("No drawing is open.");
    db::Database& db = *document->database();
    if (n == QLatin1String("LASTPOINT")) return document->lastPoint() = *point, QString();
    if (n == QLatin1String("CLAYER")) {
        const db::ObjectId id = db.layerTable()->getAt(text->toStdString());
        auto* layer = db::objectCast<db::LayerTableRecord>(id.peek());
        if (!layer) return QStringLiteral("Cannot find layer \"%1\".").arg(*text);
        if (layer->isFrozen()) return QStringLiteral("Cannot make a frozen layer current.");
        db.setCurrentLayer(id);
        return {};
    }
    if (n == QLatin1String("CELTYPE")) {
        const db::ObjectId id = db.linetypeTable()->getAt(text->toStdString());
        if (id.isNull()) return QStringLiteral("Linetype \"%1\" is not loaded.").arg(*text);
        db.setCurrentLinetype(id);
        return {};
    }
    if (n == QLatin1String("CECOLOR")) {
        const std::optional<db::Color> color = ReadCommandLineColor(*text);
        if (!color) return QStringLiteral("Invalid color \"%1\".").arg(*text);
        db.setCurrentColor(*color);
        return {};
    }
    if (n == QLatin1String("CELWEIGHT")) {
        if (!db::isValidLineWeight(*integer)) return QStringLiteral("Invalid lineweight %1.").arg(*integer);
        db.setCurrentLineWeight(static_cast<db::LineWeight>(*integer));
        return {};
    }
    if (n == QLatin1String("CELTSCALE") || n == QLatin1String("LTSCALE") || n == QLatin1String("TEXTSIZE")) {
        if (*real <= 0) return QStringLiteral("Value must be positive and nonzero.");
        if (n == QLatin1String("CELTSCALE"))
            db.setCurrentLinetypeScale(*real);
        else if (n == QLatin1String("LTSCALE"))
            db.setLinetypeScale(*real);
        else
            db.setTextSize(*real);
        return {};
    }
    if (n == QLatin1String("INSUNITS"))
        return *integer < 0 || *integer > 24 ? range(0, 24) : (db.setInsertionUnits(*integer), QString());
    if (n == QLatin1String("MEASUREMENT")) {
        if (*integer != 0 && *integer != 1) return range(0, 1);
        db.setMeasurement(*integer ? db::MeasurementSystem::Metric : db::MeasurementSystem::Imperial);
        return {};
    }
    return QStringLiteral("%1 cannot be set.").arg(n);
}

QString SystemVariables::setFromText(const QString& name, const QString& typed, Document* document) {
    const Info* info = find(name);
    if (!info) return QStringLiteral("Unknown variable name.");
    const QString text = typed.trimmed();
    switch (info->type) {
        case T::Integer: {
            bool ok = false;
            const int v = text.toInt(&ok);
            return ok ? set(name, v, document) : QStringLiteral("Requires an integer value.");
        }
        case T::Real: {
            const std::optional<double> v = NumberFromText(text);
            return v ? set(name, *v, document) : QStringLiteral("Requires numeric value.");
        }
        case T::Point: {
            const std::optional<db::Point3d> p =
                ReadCommandLinePoint(text, document ? document->lastPoint() : db::Point3d());
            return p ? set(name, *p, document) : QStringLiteral("Invalid point.");
        }
        case T::Text:
            break;
    }
    return set(name, text, document);
}

QString SystemVariables::displayText(const VariableValue& value) {
    if (const int* i = std::get_if<int>(&value)) return QString::number(*i);
    if (const double* d = std::get_if<double>(&value)) return ShortestNumberText(*d);
    if (const QString* t = std::get_if<QString>(&value)) return QLatin1Char('"') + *t + QLatin1Char('"');
    return CommandLinePointText(std::get<db::Point3d>(value));
}

}  // namespace vela::host

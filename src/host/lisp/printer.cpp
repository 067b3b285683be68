#include "host/lisp/printer.h"

#include <cmath>
#include <cstdio>

#include "db/object.h"

namespace vela::host::lisp {

namespace {

// Lists nested deeper than this (built by a program; the reader stops far earlier) print as "(...)".
constexpr int kMaxPrintDepth = 2000;

void printString(const QString& s, QString& out) {
    out += u'"';
    for (QChar c : s) {
        switch (c.unicode()) {
            case '"':
                out += QLatin1String("\\\"");
                break;
            case '\\':
                out += QLatin1String("\\\\");
                break;
            case '\n':
                out += QLatin1String("\\n");
                break;
            case '\t':
                out += QLatin1String("\\t");
                break;
            case '\r':
                out += QLatin1String("\\r");
                break;
            case 27:
                out += QLatin1String("\\e");
                break;
            default:
                out += c;
        }
    }
    out += u'"';
}

void printValue(const Value& v, bool quoted, QString& out, int depth) {
    switch (v.kind()) {
        case Kind::Nil:
            out += QLatin1String("nil");
            return;
        case Kind::Int:
            out += QString::number(v.integer());
            return;
        case Kind::Real:
            out += printReal(v.real());
            return;
        case Kind::Str:
            if (quoted)
                printString(v.as<String>()->text, out);
            else
                out += v.as<String>()->text;
            return;
        case Kind::Sym:
            out += v.as<Symbol>()->name;
            return;
        case Kind::List: {
            if (depth > kMaxPrintDepth) {
                out += QLatin1String("(...)");
                return;
            }
            out += u'(';
            const Value* cell = &v;
            bool first = true;
            while (cell->isCons()) {
                if (!first) out += u' ';
                first = false;
                printValue(cell->as<Cons>()->car, quoted, out, depth + 1);
                cell = &cell->as<Cons>()->cdr;
            }
            if (!cell->isNil()) {
                out += QLatin1String(" . ");
                printValue(*cell, quoted, out, depth + 1);
            }
            out += u')';
            return;
        }
        case Kind::Ename: {
            const db::ObjectId id = v.as<Ename>()->id;
            out += QLatin1String("<Entity name: ") + QString::fromStdString(id.handle().toText()) + u'>';
            return;
        }
        case Kind::Pickset:
            out += QLatin1String("<Selection set: ") + QString::number(v.as<Pickset>()->number) + u'>';
            return;
        case Kind::Subr:
            out += QLatin1String("#<SUBR @") + v.as<Subr>()->name + u'>';
            return;
        case Kind::Usubr: {
            const QString& name = v.as<Usubr>()->name;
            out += QLatin1String("#<USUBR @") + (name.isEmpty() ? QStringLiteral("-lambda-") : name) + u'>';
            return;
        }
        case Kind::VlaObject: {
            const auto* o = v.as<VlaObject>();
            static const char* const kNames[] = {"IAcadApplication", "IAcadDocument", "IAcadModelSpace",
                                                 "IAcadEntity"};
            out += QLatin1String("#<VLA-OBJECT ") + QLatin1String(kNames[int(o->role)]);
            if (o->id) out += u' ' + QString::fromStdString(o->id.handle().toText());
            out += u'>';
            return;
        }
        case Kind::CatchError:
            out += QLatin1String("#<%catch-all-apply-error%>");
            return;
    }
}

}  // namespace

QString printReal(double value) {
    if (std::isnan(value)) return QStringLiteral("-1.#IND");
    if (std::isinf(value)) return value > 0 ? QStringLiteral("1.#INF") : QStringLiteral("-1.#INF");
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.6g", value);
    QString s = QString::fromLatin1(buffer);
    // A real always shows that it is one: "2.0", "1.0e+20".
    const qsizetype e = s.indexOf(u'e');
    const QString mantissa = e < 0 ? s : s.left(e);
    if (!mantissa.contains(u'.')) s.insert(e < 0 ? s.size() : e, QLatin1String(".0"));
    return s;
}

QString print(const Value& value, bool quoted) {
    QString out;
    printValue(value, quoted, out, 0);
    return out;
}

}  // namespace vela::host::lisp

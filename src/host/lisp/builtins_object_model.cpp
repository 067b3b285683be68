// A small object model over the drawing, for the vla- and vlax- functions that scripts use most: the
// application, the active document and its model space, and entities with the common and main geometric
// properties, read and written through the entity's group list. Points come back as lists (as vlax-get
// gives them). Methods and properties outside this set give an error that names them.

#include <array>
#include <cmath>
#include <numbers>

#include "db/database.h"
#include "db/entity.h"
#include "host/document.h"
#include "host/lisp/group_list.h"
#include "host/lisp/interpreter.h"
#include "host/lisp/printer.h"
#include "host/text/wildcard.h"

namespace vela::host::lisp {

namespace {

enum class Shape { Text, Integer, Real, Point };

// A property: the group that holds it, its value when the entity leaves the group out, and the record types
// that have it (null: every entity).
struct Property {
    const char* name;
    int code;
    Shape shape;
    double absent;  // for numbers
    const char* absentText;
    const char* types = nullptr;
};

constexpr std::array<Property, 15> kProperties = {{
    {"Layer", 8, Shape::Text, 0, "0"},
    {"Linetype", 6, Shape::Text, 0, "ByLayer"},
    {"Color", 62, Shape::Integer, 256, nullptr},
    {"Lineweight", 370, Shape::Integer, -1, nullptr},
    {"LinetypeScale", 48, Shape::Real, 1, nullptr},
    {"StartPoint", 10, Shape::Point, 0, nullptr, "LINE"},
    {"EndPoint", 11, Shape::Point, 0, nullptr, "LINE"},
    {"Center", 10, Shape::Point, 0, nullptr, "CIRCLE,ARC,ELLIPSE"},
    {"InsertionPoint", 10, Shape::Point, 0, nullptr, "TEXT,MTEXT,INSERT,ATTRIB,ATTDEF"},
    {"Radius", 40, Shape::Real, 0, nullptr, "CIRCLE,ARC"},
    {"Height", 40, Shape::Real, 0, nullptr, "TEXT,MTEXT,ATTRIB,ATTDEF"},
    {"TextString", 1, Shape::Text, 0, "", "TEXT,MTEXT,ATTRIB,ATTDEF"},
    {"Rotation", 50, Shape::Real, 0, nullptr, "TEXT,MTEXT,INSERT,ATTRIB,ATTDEF"},
    {"StartAngle", 50, Shape::Real, 0, nullptr, "ARC"},
    {"EndAngle", 51, Shape::Real, 0, nullptr, "ARC"},
}};

[[noreturn]] void unknownName(const QString& name) {
    throw LispError(QStringLiteral("ActiveX Server returned the error: unknown name: %1").arg(name));
}

VlaObject* vlaObject(const Value& v) {
    if (v.kind() != Kind::VlaObject) badArgument("VLA-OBJECT", v);
    return v.as<VlaObject>();
}

db::ObjectId entityOf(const Value& v) {
    VlaObject* o = vlaObject(v);
    if (o->role != VlaObject::Role::Entity || !o->id.isValid())
        throw LispError(QStringLiteral("Automation Error. Object was erased"));
    return o->id;
}

Value groupValue(const Value& groups, int code) {
    for (const Value* g = &groups; g->isCons(); g = &g->as<Cons>()->cdr) {
        const Cons* pair = g->as<Cons>()->car.as<Cons>();
        if (pair->car.integer() == code) return pair->cdr;
    }
    return {};
}

bool hasProperty(const Property& p, const Value& groups) {
    return !p.types || WildcardMatch(text(groupValue(groups, 0)), QString::fromLatin1(p.types));
}

QString propertyName(const Value& v) {
    if (v.isSymbol()) return v.as<Symbol>()->name;
    return text(v);
}

const Property* findProperty(const QString& name) {
    for (const Property& p : kProperties)
        if (name.compare(QLatin1String(p.name), Qt::CaseInsensitive) == 0) return &p;
    return nullptr;
}

// Properties computed from others, read only.
Value derived(const db::DbObject& e, const QString& name) {
    const Value groups = groupList(e);
    const QString type = text(groupValue(groups, 0));
    if (name.compare(QLatin1String("ObjectName"), Qt::CaseInsensitive) == 0)
        return string(QString::fromLatin1(e.isA()->name()));
    if (name.compare(QLatin1String("Handle"), Qt::CaseInsensitive) == 0) return groupValue(groups, 5);
    if (name.compare(QLatin1String("Name"), Qt::CaseInsensitive) == 0 && type == QLatin1String("INSERT"))
        return groupValue(groups, 2);
    if (name.compare(QLatin1String("Length"), Qt::CaseInsensitive) == 0 && type == QLatin1String("LINE")) {
        const db::Point3d a = point(groupValue(groups, 10)), b = point(groupValue(groups, 11));
        return Value(std::hypot(b.x - a.x, b.y - a.y, b.z - a.z));
    }
    if (type == QLatin1String("CIRCLE")) {
        const double r = number(groupValue(groups, 40));
        if (name.compare(QLatin1String("Area"), Qt::CaseInsensitive) == 0)
            return Value(std::numbers::pi * r * r);
        if (name.compare(QLatin1String("Circumference"), Qt::CaseInsensitive) == 0)
            return Value(2 * std::numbers::pi * r);
        if (name.compare(QLatin1String("Diameter"), Qt::CaseInsensitive) == 0) return Value(2 * r);
    }
    if (type == QLatin1String("ARC") && name.compare(QLatin1String("ArcLength"), Qt::CaseInsensitive) == 0) {
        double sweep = number(groupValue(groups, 51)) - number(groupValue(groups, 50));
        if (sweep < 0) sweep += 2 * std::numbers::pi;
        return Value(number(groupValue(groups, 40)) * sweep);
    }
    unknownName(name);
}

Value getProperty(Interpreter& l, const Value& object, const QString& name) {
    VlaObject* o = vlaObject(object);
    if (o->role == VlaObject::Role::Application &&
        name.compare(QLatin1String("ActiveDocument"), Qt::CaseInsensitive) == 0)
        return Value(new VlaObject(VlaObject::Role::Document, {}));
    if (o->role == VlaObject::Role::Document &&
        name.compare(QLatin1String("ModelSpace"), Qt::CaseInsensitive) == 0)
        return Value(new VlaObject(VlaObject::Role::ModelSpace, {}));
    if (o->role == VlaObject::Role::Document && name.compare(QLatin1String("Name"), Qt::CaseInsensitive) == 0)
        return string(l.document() ? l.document()->title() : QString());
    if (o->role != VlaObject::Role::Entity) unknownName(name);
    const db::ObjectId id = entityOf(object);
    const Property* p = findProperty(name);
    if (!p) return derived(*id.peek(), name);
    const Value groups = groupList(*id.peek());
    if (!hasProperty(*p, groups)) unknownName(name);
    Value v = groupValue(groups, p->code);
    if (v.isNil())
        return p->shape == Shape::Text      ? string(QLatin1String(p->absentText))
               : p->shape == Shape::Integer ? Value(static_cast<std::int32_t>(p->absent))
                                            : Value(p->absent);
    return v;
}

Value putProperty(Interpreter& l, const Value& object, const QString& name, const Value& value) {
    const db::ObjectId id = entityOf(object);
    const Property* p = findProperty(name);
    if (!p) unknownName(name);
    Value v = value;
    switch (p->shape) {
        case Shape::Text:
            text(value);
            break;
        case Shape::Integer:
            v = Value(static_cast<std::int32_t>(number(value)));
            break;
        case Shape::Real:
            v = Value(number(value));
            break;
        case Shape::Point:
            point(value);
            break;
    }
    if (!hasProperty(*p, groupList(*id.peek()))) unknownName(name);
    const Value change = list({cons(Value(-1), Value(new Ename(id))), cons(Value(p->code), v)});
    if (!modifyEntity(l, change))
        throw LispError(QStringLiteral("Automation Error. %1 cannot be set to %2").arg(name, print(value)));
    return {};
}

Value getAcadObject(Interpreter&, Args&) {
    return Value(new VlaObject(VlaObject::Role::Application, {}));
}
Value activeDocument(Interpreter& l, Args& a) {
    return getProperty(l, a[0], QStringLiteral("ActiveDocument"));
}
Value modelSpace(Interpreter& l, Args& a) {
    return getProperty(l, a[0], QStringLiteral("ModelSpace"));
}

Value undoMark(Interpreter&, Args& a) {
    // An evaluation is one undo step already: the marks bracket nothing more.
    if (vlaObject(a[0])->role != VlaObject::Role::Document) badArgument("VLA-OBJECT", a[0]);
    return {};
}

Value enameToObject(Interpreter&, Args& a) {
    if (a[0].kind() != Kind::Ename) badArgument("lentityp", a[0]);
    return Value(new VlaObject(VlaObject::Role::Entity, a[0].as<Ename>()->id));
}

Value objectToEname(Interpreter&, Args& a) {
    VlaObject* o = vlaObject(a[0]);
    if (o->role != VlaObject::Role::Entity) badArgument("entity VLA-OBJECT", a[0]);
    return Value(new Ename(o->id));
}

Value vlaxGet(Interpreter& l, Args& a) {
    return getProperty(l, a[0], propertyName(a[1]));
}
Value vlaxPut(Interpreter& l, Args& a) {
    return putProperty(l, a[0], propertyName(a[1]), a[2]);
}

Value propertyAvailable(Interpreter& l, Args& a) {
    try {
        getProperty(l, a[0], propertyName(a[1]));
        return l.t();
    } catch (const LispError& e) {
        if (e.isLimit()) throw;
        return {};
    }
}

Value erased(Interpreter& l, Args& a) {
    VlaObject* o = vlaObject(a[0]);
    return l.boolean(o->role == VlaObject::Role::Entity && !o->id.isValid());
}

Value deleteObject(Interpreter&, Args& a) {
    const db::ObjectId id = entityOf(a[0]);
    auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForWrite);
    if (!entity) throw LispError(QStringLiteral("Automation Error. The object is on a locked layer"));
    entity->erase();
    return {};
}

// vla-get-<Property> and vla-put-<Property>, one function each, for the properties above.
template <std::size_t I>
Value getNamed(Interpreter& l, Args& a) {
    return getProperty(l, a[0], QLatin1String(kProperties[I].name));
}
template <std::size_t I>
Value putNamed(Interpreter& l, Args& a) {
    return putProperty(l, a[0], QLatin1String(kProperties[I].name), a[1]);
}
template <std::size_t... I>
void defineNamed(Interpreter& l, std::index_sequence<I...>) {
    (l.define(("VLA-GET-" + QByteArray(kProperties[I].name).toUpper()).constData(), getNamed<I>, 1, 1), ...);
    (l.define(("VLA-PUT-" + QByteArray(kProperties[I].name).toUpper()).constData(), putNamed<I>, 2, 2), ...);
}

template <const char* Name>
Value getDerived(Interpreter& l, Args& a) {
    return getProperty(l, a[0], QLatin1String(Name));
}
constexpr char kObjectName[] = "ObjectName";
constexpr char kHandle[] = "Handle";
constexpr char kLength[] = "Length";
constexpr char kArea[] = "Area";
constexpr char kName[] = "Name";

constexpr Builtin kBuiltins[] = {
    {"VLAX-GET-ACAD-OBJECT", getAcadObject, 0, 0},
    {"VLA-GET-ACTIVEDOCUMENT", activeDocument, 1, 1},
    {"VLA-GET-MODELSPACE", modelSpace, 1, 1},
    {"VLA-STARTUNDOMARK", undoMark, 1, 1},
    {"VLA-ENDUNDOMARK", undoMark, 1, 1},
    {"VLAX-ENAME->VLA-OBJECT", enameToObject, 1, 1},
    {"VLAX-VLA-OBJECT->ENAME", objectToEname, 1, 1},
    {"VLAX-GET-PROPERTY", vlaxGet, 2, 2},
    {"VLAX-GET", vlaxGet, 2, 2},
    {"VLAX-PUT-PROPERTY", vlaxPut, 3, 3},
    {"VLAX-PUT", vlaxPut, 3, 3},
    {"VLAX-PROPERTY-AVAILABLE-P", propertyAvailable, 2, 3},
    {"VLAX-ERASED-P", erased, 1, 1},
    {"VLA-DELETE", deleteObject, 1, 1},
    {"VLA-GET-OBJECTNAME", getDerived<kObjectName>, 1, 1},
    {"VLA-GET-HANDLE", getDerived<kHandle>, 1, 1},
    {"VLA-GET-LENGTH", getDerived<kLength>, 1, 1},
    {"VLA-GET-AREA", getDerived<kArea>, 1, 1},
    {"VLA-GET-NAME", getDerived<kName>, 1, 1},
};

}  // namespace

void addObjectModelBuiltins(Interpreter& l) {
    l.define(kBuiltins);
    defineNamed(l, std::make_index_sequence<kProperties.size()>());
}

}  // namespace vela::host::lisp

// The drawing seen as the dialect sees it: entity names and their group lists, table records, system
// variables and the command line.

#include <array>

#include "db/database.h"
#include "db/dxf/fields/dxf_record.h"
#include "db/entities/block_reference.h"
#include "db/entity.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/simple_records.h"
#include "db/symbol_table.h"
#include "host/command.h"
#include "host/command_stack.h"
#include "host/document.h"
#include "host/host.h"
#include "host/lisp/group_list.h"
#include "host/lisp/interpreter.h"
#include "host/lisp/printer.h"
#include "host/result_codes.h"
#include "host/system_variables.h"
#include "host/text/number_text.h"
#include "host/text/point_text.h"

namespace vela::host::lisp {

namespace {

db::Database* database(Interpreter& l) {
    return l.document() ? l.document()->database() : nullptr;
}

db::ObjectId ename(const Value& v) {
    if (v.kind() != Kind::Ename) badArgument("lentityp", v);
    return v.as<Ename>()->id;
}

Value enameValue(db::ObjectId id) {
    return id.isNull() ? Value() : Value(new Ename(id));
}

// ---- Entities ----

Value entget(Interpreter&, Args& a) {
    const db::ObjectId id = ename(a[0]);
    if (!id.isValid()) return {};
    QStringList applications;
    if (a.size() > 1)
        for (const Value& app : elements(listArg(a[1]))) applications << text(app);
    return groupList(*id.peek(), applications);
}

// Groups a new entity must have: without them a program's entmake makes nothing, as in CAD programs.
bool hasRequiredGroups(const QString& type, const std::vector<db::DxfTag>& groups) {
    static const std::array<std::pair<const char*, std::vector<int>>, 9> kRequired = {{
        {"LINE", {10, 11}},
        {"CIRCLE", {10, 40}},
        {"ARC", {10, 40, 50, 51}},
        {"TEXT", {10, 40, 1}},
        {"MTEXT", {10}},
        {"POINT", {10}},
        {"INSERT", {2, 10}},
        {"LWPOLYLINE", {10}},
        {"ELLIPSE", {10, 11, 40}},
    }};
    for (const auto& [name, codes] : kRequired) {
        if (type != QLatin1String(name)) continue;
        for (int code : codes)
            if (std::none_of(groups.begin(), groups.end(),
                             [&](const db::DxfTag& t) { return t.code == code; }))
                return false;
    }
    return true;
}

// Tells the program's user why a group list made nothing; the function itself answers nil, as programs
// expect.
Value refuse(Interpreter& l, const char* function, const QString& why) {
    l.write(QStringLiteral("; %1: %2\n").arg(QLatin1String(function), why));
    return {};
}

// The layer a new entity names: made when it is missing (with a valid name), as CAD programs do.
bool ensureLayer(db::Database& db, std::vector<db::DxfTag>& groups) {
    auto named = std::find_if(groups.begin(), groups.end(), [](const db::DxfTag& t) { return t.code == 8; });
    if (named == groups.end()) {
        auto layer = db::openObject<db::LayerTableRecord>(db.currentLayer(), db::OpenMode::ForRead);
        // In a list with subclass markers the layer belongs after AcDbEntity's, as a file has it; before the
        // marker it would be a stray group the entity keeps besides its layer.
        auto at = std::find_if(groups.begin(), groups.end(),
                               [](const db::DxfTag& t) { return t.code == 100 && t.value == "AcDbEntity"; });
        groups.insert(at == groups.end() ? groups.begin() : at + 1,
                      db::DxfTag{8, layer ? layer->name() : std::string("0")});
        return true;
    }
    if (db.layerTable()->has(named->value)) return true;
    if (!db::isValidSymbolName(named->value)) return false;
    return db.addRecord(db.layerTableId(), std::make_unique<db::LayerTableRecord>(named->value)) ==
           db::ErrorStatus::Ok;
}

db::ObjectId tableOf(db::Database& db, const QString& type) {
    if (type == QLatin1String("LAYER")) return db.layerTableId();
    if (type == QLatin1String("LTYPE")) return db.linetypeTableId();
    if (type == QLatin1String("STYLE")) return db.textStyleTableId();
    return {};
}

// Makes an entity or table record from a group list; its id, or null (with the reason told).
db::ObjectId make(Interpreter& l, const Value& groupList, const char* function) {
    auto fail = [&](const QString& why) {
        refuse(l, function, why);
        return db::ObjectId();
    };
    db::Database* db = database(l);
    if (!db) return fail(QStringLiteral("no drawing is open"));
    GroupsFromList g = readGroupList(groupList);
    if (g.type.isEmpty()) return fail(QStringLiteral("the list has no (0 . type) group"));
    const db::ObjectId table = tableOf(*db, g.type);
    std::vector<std::string> errors;
    if (!table.isNull()) {
        std::unique_ptr<db::DbObject> record = db::makeDxfRecord(db, g.type.toStdString(), g.groups, errors);
        auto* r = db::objectCast<db::SymbolTableRecord>(record.get());
        if (!r || !errors.empty() || !db::isValidSymbolName(r->name()))
            return fail(QStringLiteral("not a valid %1 record").arg(g.type));
        std::unique_ptr<db::SymbolTableRecord> owned(static_cast<db::SymbolTableRecord*>(record.release()));
        db::ObjectId id;
        if (db->addRecord(table, std::move(owned), &id) != db::ErrorStatus::Ok)
            return fail(QStringLiteral("the %1 exists already").arg(g.type));
        return id;
    }
    if (g.type == QLatin1String("VERTEX") || g.type == QLatin1String("SEQEND") ||
        g.type == QLatin1String("ATTRIB"))
        return fail(
            QStringLiteral("%1 records belong to the entity they follow and are not made alone").arg(g.type));
    if (g.type == QLatin1String("POLYLINE"))
        return fail(QStringLiteral("old-style polylines are not made from lists here; make an LWPOLYLINE"));
    if (!hasRequiredGroups(g.type, g.groups))
        return fail(QStringLiteral("a %1 needs more groups than the list has").arg(g.type));
    if (!ensureLayer(*db, g.groups)) return fail(QStringLiteral("invalid layer name"));
    g.groups.insert(g.groups.end(), g.xdata.begin(), g.xdata.end());
    std::unique_ptr<db::DbObject> object = db::makeDxfRecord(db, g.type.toStdString(), g.groups, errors);
    auto* entity = db::objectCast<db::Entity>(object.get());
    if (!entity) return fail(QStringLiteral("%1 is not an entity type").arg(g.type));
    if (!errors.empty()) return fail(QString::fromStdString(errors.front()));
    if (auto* ref = db::objectCast<db::BlockReference>(entity)) {
        if (ref->blockTableRecord().isNull()) return fail(QStringLiteral("the block is not defined"));
        if (ref->attributesFollow())
            return fail(
                QStringLiteral("attributes (66 . 1) follow a reference as ATTRIB records, which are not made "
                               "from lists here"));
    }
    std::unique_ptr<db::Entity> owned(static_cast<db::Entity*>(object.release()));
    const db::ObjectId space = g.paperSpace ? db->paperSpaceId() : l.document()->activeSpaceId();
    db::ObjectId id;
    if (db->appendEntity(space, std::move(owned), &id) != db::ErrorStatus::Ok)
        return fail(QStringLiteral("the entity could not be added"));
    return id;
}

Value entmake(Interpreter& l, Args& a) {
    if (a.empty() || a[0].isNil()) return {};
    return make(l, a[0], "entmake").isNull() ? Value() : a[0];
}

Value entmakex(Interpreter& l, Args& a) {
    return enameValue(make(l, a[0], "entmakex"));
}

// Extended data: the applications a list gives replace theirs; the others are kept.
std::vector<db::DxfTag> mergedXdata(const std::vector<db::DxfTag>& old,
                                    const std::vector<db::DxfTag>& given) {
    auto apps = [](const std::vector<db::DxfTag>& x) {
        std::vector<std::pair<std::string, std::vector<db::DxfTag>>> out;
        for (const db::DxfTag& t : x) {
            if (t.code == 1001) out.push_back({t.value, {}});
            if (!out.empty()) out.back().second.push_back(t);
        }
        return out;
    };
    auto merged = apps(old);
    // No structured binding here: clang before 16 cannot capture one in a lambda.
    for (auto& app : apps(given)) {
        const std::string& name = app.first;
        auto it = std::find_if(merged.begin(), merged.end(),
                               [&](const auto& m) { return db::namesEqual(m.first, name); });
        if (it != merged.end())
            it->second = std::move(app.second);
        else
            merged.push_back(std::move(app));
    }
    std::vector<db::DxfTag> out;
    for (auto& m : merged)
        if (m.second.size() > 1) out.insert(out.end(), m.second.begin(), m.second.end());
    return out;
}

// Why a table record may not take `name`: the records every drawing needs keep theirs, and names are unique.
QString renameRefusal(db::Database& db, const db::SymbolTableRecord& record, const std::string& name,
                      const QString& type) {
    if (db::namesEqual(record.name(), name)) return {};
    static const char* const kFixed[] = {"0", "ByLayer", "ByBlock", "Continuous", "Standard"};
    for (const char* fixed : kFixed)
        if (db::namesEqual(record.name(), fixed))
            return QStringLiteral("the %1 \"%2\" keeps its name")
                .arg(type, QString::fromStdString(record.name()));
    if (!db::isValidSymbolName(name))
        return QStringLiteral("\"%1\" is no valid name").arg(QString::fromStdString(name));
    auto* table = db::objectCast<db::SymbolTable>(tableOf(db, type).peek());
    if (table && table->has(name))
        return QStringLiteral("a %1 named \"%2\" exists already").arg(type, QString::fromStdString(name));
    return {};
}

}  // namespace

Value modifyEntity(Interpreter& l, const Value& list) {
    GroupsFromList g = readGroupList(list);
    if (!g.object.isValid())
        return refuse(l, "entmod", QStringLiteral("the list names no entity of the drawing"));
    db::Database* db = g.object.database();
    auto object = db::openObject<db::DbObject>(g.object, db::OpenMode::ForWrite);
    if (!object)
        return refuse(l, "entmod", QStringLiteral("the entity cannot be changed (on a locked layer?)"));
    // A list of only the groups to change is applied to the entity's own.
    if (!g.hasMarkers) {
        const bool hadXdata = g.hasXdata;
        std::vector<db::DxfTag> xdata = std::move(g.xdata);
        g = readGroupList(mergeGroupLists(groupList(*object, {}), list));
        g.hasXdata = hadXdata, g.xdata = std::move(xdata);
    }
    const QString type = QString::fromLatin1(db::dxfRecordType(*object));
    if (!g.type.isEmpty() && g.type != type)
        return refuse(l, "entmod", QStringLiteral("the type of an entity cannot change"));
    auto* record = db::objectCast<db::SymbolTableRecord>(object.get());
    if (!db::objectCast<db::Entity>(object.get()) && (!record || tableOf(*db, type).isNull()))
        return refuse(l, "entmod",
                      QStringLiteral("entmod changes entities and layer, linetype and style records"));
    if (db::objectCast<db::Entity>(object.get()) && !ensureLayer(*db, g.groups))
        return refuse(l, "entmod", QStringLiteral("invalid layer name"));
    std::vector<std::string> errors;
    std::unique_ptr<db::DbObject> fresh = db::makeDxfRecord(db, type.toStdString(), g.groups, errors);
    if (!fresh || fresh->isA() != object->isA())
        return refuse(l, "entmod", QStringLiteral("the list does not describe a %1").arg(type));
    if (!errors.empty()) return refuse(l, "entmod", QString::fromStdString(errors.front()));
    if (record) {
        const QString why =
            renameRefusal(*db, *record, static_cast<db::SymbolTableRecord&>(*fresh).name(), type);
        if (!why.isEmpty()) return refuse(l, "entmod", why);
    }
    if (auto* ref = db::objectCast<db::BlockReference>(fresh.get());
        ref && ref->attributesFollow() != !static_cast<db::Entity&>(*object).followers().empty())
        return refuse(l, "entmod", QStringLiteral("whether attributes follow (66) cannot change"));
    // What a list does not carry stays: owner, reactors, extension dictionary, followers, and the extended
    // data of applications it does not name.
    fresh->setOwnerId(object->ownerId());
    const db::ObjectExtras* old = object->extras();
    db::ObjectExtras& extras = fresh->editExtras();
    if (old) {
        extras.persistentReactors = old->persistentReactors;
        extras.extensionDictionary = old->extensionDictionary;
    }
    extras.xdata = mergedXdata(old ? old->xdata : std::vector<db::DxfTag>{}, g.xdata);
    if (auto* e = db::objectCast<db::Entity>(object.get())) {
        auto* f = static_cast<db::Entity*>(fresh.get());
        const auto followers = e->followers();
        if (!followers.empty()) f->setFollowers({followers.begin(), followers.end()});
    }
    object->restoreContents(*fresh);
    return list;
}

namespace {

Value entmod(Interpreter& l, Args& a) {
    return modifyEntity(l, a[0]);
}

Value entdel(Interpreter&, Args& a) {
    const db::ObjectId id = ename(a[0]);
    auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForWrite, {.openErased = true});
    if (!entity) return {};
    entity->erase(!entity->isErased());
    return a[0];
}

Value entlast(Interpreter& l, Args&) {
    db::Database* db = database(l);
    if (!db) return {};
    db::ObjectId last;
    auto* space = db::objectCast<db::BlockTableRecord>(l.document()->activeSpaceId().peek());
    if (space) space->forEachEntity([&](db::Entity* e) { last = e->objectId(); });
    return enameValue(last);
}

Value entnext(Interpreter& l, Args& a) {
    db::Database* db = database(l);
    if (!db) return {};
    db::ObjectId after = a.empty() ? db::ObjectId() : ename(a[0]);
    // From a reference's attribute or a polyline's vertex: the next follower, or the entity after the owner.
    if (!after.isNull()) {
        if (auto* e = db::objectCast<db::Entity>(after.peek()); e && !e->followers().empty())
            for (db::ObjectId f : e->followers())
                if (f.isValid()) return enameValue(f);
        if (auto* owner =
                db::objectCast<db::Entity>(after.peek() ? after.peek()->ownerId().peek() : nullptr)) {
            bool passed = false;
            for (db::ObjectId f : owner->followers()) {
                if (passed && f.isValid()) return enameValue(f);
                passed = passed || f == after;
            }
            after = owner->objectId();
        }
    }
    bool passed = after.isNull();
    for (db::ObjectId spaceId : drawingSpaces(*db)) {
        auto* space = db::objectCast<db::BlockTableRecord>(spaceId.peek());
        if (!space) continue;
        db::ObjectId found;
        space->forEachEntity([&](db::Entity* e) {
            if (!found.isNull()) return;
            if (passed)
                found = e->objectId();
            else if (e->objectId() == after)
                passed = true;
        });
        if (!found.isNull()) return enameValue(found);
    }
    return {};
}

Value handent(Interpreter& l, Args& a) {
    db::Database* db = database(l);
    const auto h = db::Handle::fromText(text(a[0]).toStdString());
    if (!db || !h) return {};
    const db::ObjectId id = db->getObjectId(*h);
    return id.isValid() ? enameValue(id) : Value();
}

Value entupd(Interpreter&, Args& a) {
    ename(a[0]);
    return a[0];  // every change is drawn as it is made
}

// ---- Tables ----

struct TableName {
    const char* name;
    db::ObjectId (db::Database::*id)() const;
};
const TableName kTables[] = {
    {"LAYER", &db::Database::layerTableId},     {"LTYPE", &db::Database::linetypeTableId},
    {"STYLE", &db::Database::textStyleTableId}, {"DIMSTYLE", &db::Database::dimStyleTableId},
    {"BLOCK", &db::Database::blockTableId},     {"VPORT", &db::Database::viewportTableId},
    {"VIEW", &db::Database::viewTableId},       {"UCS", &db::Database::ucsTableId},
    {"APPID", &db::Database::regAppTableId},
};

db::SymbolTable* table(Interpreter& l, const Value& name) {
    db::Database* db = database(l);
    const QString wanted = text(name).toUpper();
    if (!db) return nullptr;
    for (const TableName& t : kTables)
        if (wanted == QLatin1String(t.name)) return db::objectCast<db::SymbolTable>((db->*t.id)().peek());
    return nullptr;
}

// A record as tblsearch gives it: its type and its own groups, without handle, owner or markers. A block
// gives its name, flags, base point and first entity (-2).
Value recordList(const db::SymbolTableRecord& record, const QString& tableName) {
    if (auto* block = db::objectCast<db::BlockTableRecord>(&record)) {
        std::vector<db::ObjectId> ids;
        block->forEachEntity([&](db::Entity* e) { ids.push_back(e->objectId()); });
        ListBuilder out;
        out.add(cons(Value(0), string(QStringLiteral("BLOCK"))));
        out.add(cons(Value(2), string(QString::fromStdString(block->name()))));
        out.add(cons(Value(70), Value(std::int32_t(block->flags()))));
        out.add(cons(Value(10), pointValue(block->origin())));
        if (!ids.empty()) out.add(cons(Value(-2), enameValue(ids.front())));
        return out.take();
    }
    ListBuilder out;
    out.add(cons(Value(0), string(tableName)));
    for (const Value& g : elements(groupList(record))) {
        const int code = g.as<Cons>()->car.integer();
        if (code == -1 || code == 0 || code == 5 || code == 105 || code == 100 || code == 102 ||
            code == 330 || code == 360)
            continue;
        out.add(g);
    }
    return out.take();
}

Value tblsearch(Interpreter& l, Args& a) {
    db::SymbolTable* t = table(l, a[0]);
    if (!t) return {};
    const db::ObjectId id = t->getAt(text(a[1]).toStdString());
    if (id.isNull()) return {};
    return recordList(*static_cast<db::SymbolTableRecord*>(id.peek()), text(a[0]).toUpper());
}

Value tblobjname(Interpreter& l, Args& a) {
    db::SymbolTable* t = table(l, a[0]);
    if (!t) return {};
    return enameValue(t->getAt(text(a[1]).toStdString()));
}

Value tblnext(Interpreter& l, Args& a) {
    db::SymbolTable* t = table(l, a[0]);
    if (!t) return {};
    const QString name = text(a[0]).toUpper();
    int& position = l.tableCursor(name);
    if (a.size() > 1 && a[1]) position = 0;
    const std::vector<db::ObjectId> ids = t->recordIds();
    if (position >= int(ids.size())) return {};
    return recordList(*static_cast<db::SymbolTableRecord*>(ids[std::size_t(position++)].peek()), name);
}

// Registers an application name for extended data: the name, or nil when it is registered already or is
// no valid name.
Value regapp(Interpreter& l, Args& a) {
    db::Database* db = database(l);
    const std::string name = text(a[0]).toStdString();
    if (!db || !db::isValidSymbolName(name) || name.find('|') != std::string::npos) return {};
    if (db->addRecord(db->regAppTableId(), std::make_unique<db::RegAppTableRecord>(name)) !=
        db::ErrorStatus::Ok)
        return {};
    return a[0];
}

// ---- System variables ----

Value variableValue(const VariableValue& v) {
    if (const int* i = std::get_if<int>(&v)) return Value(std::int32_t(*i));
    if (const double* r = std::get_if<double>(&v)) return Value(*r);
    if (const QString* s = std::get_if<QString>(&v)) return string(*s);
    return pointValue(std::get<db::Point3d>(v));
}

Value getvar(Interpreter& l, Args& a) {
    Host* host = Host::instance();
    if (!host) return {};
    const auto v = host->variables().get(text(a[0]), l.document());
    return v ? variableValue(*v) : Value();
}

Value setvar(Interpreter& l, Args& a) {
    Host* host = Host::instance();
    const QString& name = text(a[0]);
    if (!host || !SystemVariables::find(name))
        throw LispError(QStringLiteral("AutoCAD variable setting rejected: ") + print(a[0]) + u' ' +
                        print(a[1]));
    VariableValue value;
    switch (a[1].kind()) {
        case Kind::Int:
            value = int(a[1].integer());
            break;
        case Kind::Real:
            value = a[1].real();
            break;
        case Kind::Str:
            value = a[1].as<String>()->text;
            break;
        default:
            if (!isPoint(a[1]))
                throw LispError(QStringLiteral("AutoCAD variable setting rejected: ") + print(a[0]) + u' ' +
                                print(a[1]));
            value = point(a[1]);
    }
    const QString why = host->variables().set(name, value, l.document());
    if (!why.isEmpty())
        throw LispError(QStringLiteral("AutoCAD variable setting rejected: ") + print(a[0]) + u' ' +
                        print(a[1]));
    return a[1];
}

// ---- The command line ----

// A value as an answer typed at the command line.
void commandTokens(const Value& v, QStringList& out) {
    switch (v.kind()) {
        case Kind::Nil:
            out << QString();
            return;
        case Kind::Str:
            out << v.as<String>()->text;
            return;
        case Kind::Int:
            out << QString::number(v.integer());
            return;
        case Kind::Real:
            out << ShortestNumberText(v.real());
            return;
        case Kind::Ename:
            out << QString::fromStdString(v.as<Ename>()->id.handle().toText());
            return;
        case Kind::Pickset:
            for (db::ObjectId id : v.as<Pickset>()->ids)
                if (id.isValid()) out << QString::fromStdString(id.handle().toText());
            return;
        default:
            if (isPoint(v)) {
                out << CommandLinePointText(point(v));
                return;
            }
            badArgument("command argument:", v);
    }
}

// (command "LINE" p1 p2 "" "CIRCLE" c 5): each command takes the answers it asks for; what it leaves starts
// the next. A command whose answers run out asks the user, or is cancelled when there is none; a cancelled
// command is taken back alone.
Value command(Interpreter& l, Args& a) {
    Host* host = Host::instance();
    if (!host) throw LispError(QStringLiteral("no host to run commands"));
    QStringList tokens;
    for (const Value& v : a) commandTokens(v, tokens);
    CommandStack& stack = host->commands();
    while (!tokens.isEmpty()) {
        const QString name = tokens.takeFirst().trimmed();
        if (name.isEmpty()) continue;
        Command* c = stack.lookup(name);
        if (!c) {
            l.write(QStringLiteral("Unknown command \"%1\".\n").arg(name.toUpper()));
            return {};
        }
        if (c->touchesFiles() && !l.settings().allowFileCommands)
            throw LispError(
                QStringLiteral("command %1 is not available to LISP here: it reads or writes files")
                    .arg(c->globalName()));
        db::Database* db = database(l);
        if (db && db->undoManager().isGroupOpen() && !c->runsInUndoGroup())
            throw LispError(
                QStringLiteral(
                    "command %1 cannot run inside a LISP evaluation, which is one undo step itself")
                    .arg(c->globalName()));
        QStringList unused;
        const int status = stack.run(name, tokens, l.inputSource(), &unused);
        if (status == RTCAN) {
            l.write(QStringLiteral("*Cancel*\n"));
            return {};
        }
        tokens = unused;
    }
    return {};
}

constexpr Builtin kBuiltins[] = {
    {"ENTGET", entget, 1, 2},       {"ENTMAKE", entmake, 0, 1},  {"ENTMAKEX", entmakex, 1, 1},
    {"ENTMOD", entmod, 1, 1},       {"ENTDEL", entdel, 1, 1},    {"ENTLAST", entlast, 0, 0},
    {"ENTNEXT", entnext, 0, 1},     {"HANDENT", handent, 1, 1},  {"ENTUPD", entupd, 1, 1},
    {"TBLSEARCH", tblsearch, 2, 3}, {"TBLNEXT", tblnext, 1, 2},  {"TBLOBJNAME", tblobjname, 2, 2},
    {"REGAPP", regapp, 1, 1},       {"GETVAR", getvar, 1, 1},    {"SETVAR", setvar, 2, 2},
    {"COMMAND", command, 0, -1},    {"VL-CMDF", command, 0, -1},
};

}  // namespace

std::vector<db::ObjectId> drawingSpaces(const db::Database& db) {
    std::vector<db::ObjectId> out{db.modelSpaceId()};
    if (auto* blocks = db.blockTable())
        blocks->forEachRecord([&](db::SymbolTableRecord* r) {
            auto* block = static_cast<db::BlockTableRecord*>(r);
            if (block->isLayout() && !block->isModelSpace()) out.push_back(block->objectId());
        });
    return out;
}

void addDrawingBuiltins(Interpreter& l) {
    l.define(kBuiltins);
}

}  // namespace vela::host::lisp

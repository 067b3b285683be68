// Selection sets: ssget with its modes and filter lists, and the functions that read and change sets.

#include "db/database.h"
#include "db/entity.h"
#include "db/records/block_table_record.h"
#include "db/symbol_table.h"
#include "host/command_context.h"
#include "host/commands/command_support.h"
#include "host/document.h"
#include "host/lisp/interpreter.h"
#include "host/lisp/selection_filter.h"
#include "host/text/point_text.h"
#include "host/user_input.h"

namespace vela::host::lisp {

namespace {

Pickset* pickset(const Value& v) {
    if (v.kind() != Kind::Pickset) badArgument("lselsetp", v);
    return v.as<Pickset>();
}

db::ObjectId entityArg(const Value& v) {
    if (v.kind() != Kind::Ename) badArgument("lentityp", v);
    return v.as<Ename>()->id;
}

Value makeSet(Interpreter& l, std::vector<db::ObjectId> ids) {
    if (ids.empty()) return {};  // ssget finds nothing: nil, not an empty set
    return Value(new Pickset(l.nextSelectionSetNumber(), std::move(ids)));
}

// The host's object selection with answers given: "W" and two points, "L", or the user's own choice.
std::vector<db::ObjectId> selectWith(Interpreter& l, const QStringList& answers, bool askUser) {
    NoUserInput none;
    UserIO io(answers, askUser ? l.inputSource() : static_cast<UserInputSource&>(none));
    CommandContext context(l.document(), io);
    std::vector<db::ObjectId> ids;
    if (commands::selectObjects(context, ids) != RTNORM) return {};
    return ids;
}

Value ssget(Interpreter& l, Args& a) {
    if (!l.document()) return {};
    db::Database& db = *l.document()->database();
    std::size_t next = 0;
    QString mode;
    if (!a.empty() && a[0].isString()) {
        mode = a[0].as<String>()->text.toUpper();
        while (mode.startsWith(u'_') || mode.startsWith(u'.')) mode.remove(0, 1);
        next = 1;
    }
    // Points follow W, C, F modes; the filter list comes last.
    std::vector<Value> points;
    while (next < a.size() && isPoint(a[next])) points.push_back(a[next++]);
    Value filterList;
    if (next < a.size()) filterList = a[next++];
    if (next < a.size()) throw LispError(QStringLiteral("too many arguments"));
    std::optional<SelectionFilter> filter;
    if (filterList) filter.emplace(db, filterList);
    auto keep = [&](const db::Entity& e) { return !filter || filter->matches(e); };

    std::vector<db::ObjectId> ids;
    if (mode == u'X' || mode == u'A') {
        for (db::ObjectId space : drawingSpaces(db))
            if (auto* block = db::objectCast<db::BlockTableRecord>(space.peek()))
                block->forEachEntity([&](db::Entity* e) {
                    if (keep(*e)) ids.push_back(e->objectId());
                });
        return makeSet(l, std::move(ids));
    }
    std::vector<db::ObjectId> candidates;
    if (mode.isEmpty() || mode == u':') {
        candidates = selectWith(l, {}, true);
    } else if (mode == u'L' || mode == u'P' || mode == u'W' || mode == u'C' || mode == QLatin1String("WP") ||
               mode == QLatin1String("CP")) {
        QStringList answers{mode};
        for (const Value& p : points) answers << CommandLinePointText(point(p));
        answers << QString();
        candidates = selectWith(l, answers, false);
    } else if (mode == u'I') {
        candidates = l.document()->selection().ids();
    } else {
        throw LispError(QStringLiteral("ssget: the selection mode \"%1\" is not available").arg(mode));
    }
    for (db::ObjectId id : candidates)
        if (auto* e = db::objectCast<db::Entity>(id.peek()); e && id.isValid() && keep(*e)) ids.push_back(id);
    return makeSet(l, std::move(ids));
}

Value sslength(Interpreter&, Args& a) {
    return Value(static_cast<std::int32_t>(pickset(a[0])->ids.size()));
}

Value ssname(Interpreter&, Args& a) {
    const Pickset* s = pickset(a[0]);
    const double index = number(a[1]);
    if (!(index >= 0 && index < double(s->ids.size()))) return {};
    return Value(new Ename(s->ids[std::size_t(index)]));
}

Value ssadd(Interpreter& l, Args& a) {
    if (a.empty()) return Value(new Pickset(l.nextSelectionSetNumber(), {}));
    const db::ObjectId id = entityArg(a[0]);
    if (!id.isValid()) return {};
    if (a.size() < 2) return Value(new Pickset(l.nextSelectionSetNumber(), {id}));
    Pickset* s = pickset(a[1]);
    if (std::find(s->ids.begin(), s->ids.end(), id) == s->ids.end()) s->ids.push_back(id);
    return a[1];
}

Value ssdel(Interpreter&, Args& a) {
    const db::ObjectId id = entityArg(a[0]);
    Pickset* s = pickset(a[1]);
    auto it = std::find(s->ids.begin(), s->ids.end(), id);
    if (it == s->ids.end()) return {};
    s->ids.erase(it);
    return a[1];
}

Value ssmemb(Interpreter&, Args& a) {
    const db::ObjectId id = entityArg(a[0]);
    const Pickset* s = pickset(a[1]);
    return std::find(s->ids.begin(), s->ids.end(), id) != s->ids.end() ? a[0] : Value();
}

// The selection the user made before a command (noun-verb): (nil <set>), or nil.
Value ssgetfirst(Interpreter& l, Args&) {
    if (!l.document() || l.document()->selection().isEmpty()) return list({Value(), Value()});
    return list({Value(), Value(new Pickset(l.nextSelectionSetNumber(), l.document()->selection().ids()))});
}

Value sssetfirst(Interpreter& l, Args& a) {
    if (!l.document()) return {};
    if (a.size() > 1 && a[1])
        l.document()->selection().set(pickset(a[1])->ids);
    else
        l.document()->selection().clear();
    return list({Value(), a.size() > 1 ? a[1] : Value()});
}

constexpr Builtin kBuiltins[] = {
    {"SSGET", ssget, 0, 6},           {"SSLENGTH", sslength, 1, 1},     {"SSNAME", ssname, 2, 2},
    {"SSADD", ssadd, 0, 2},           {"SSDEL", ssdel, 2, 2},           {"SSMEMB", ssmemb, 2, 2},
    {"SSGETFIRST", ssgetfirst, 0, 0}, {"SSSETFIRST", sssetfirst, 1, 2},
};

}  // namespace

void addSelectionBuiltins(Interpreter& l) {
    l.define(kBuiltins);
}

}  // namespace vela::host::lisp

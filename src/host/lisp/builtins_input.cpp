// Asking the user: initget and the get... functions, entsel. Each asks through the host's command-line
// input (answers queued by a program come first), and answers nil when cancelled or when there is no user.

#include <cmath>

#include "db/entity.h"
#include "host/command_context.h"
#include "host/commands/command_support.h"
#include "host/lisp/interpreter.h"
#include "host/result_codes.h"

namespace vela::host::lisp {

namespace {

// initget's bits that the host's questions know.
constexpr int kNoNull = 1, kNoZero = 2, kNoNegative = 4;

// A program's prompt ("\nSpecify point: ") as the host's question ("Specify point"), with initget's
// keywords and rules.
Prompt makePrompt(Interpreter& l, const Args& a, std::size_t at, bool numeric) {
    QString message = at < a.size() && a[at] ? text(a[at]) : QString();
    message = message.trimmed();
    while (message.endsWith(u':')) message.chop(1);
    Prompt prompt(message.trimmed());
    const Interpreter::InitGet init = l.takeInitGet();
    prompt.keywords = init.keywords;
    if (!(init.bits & kNoNull)) prompt.orNone();
    if (numeric && (init.bits & kNoNegative)) prompt.above(!(init.bits & kNoZero));
    return prompt;
}

// (getpoint [base] [prompt]) and its kind: the prompt, measured from the base point when there is one.
Prompt promptFrom(Interpreter& l, const Args& a, bool numeric) {
    const bool based = !a.empty() && isPoint(a[0]);
    Prompt prompt = makePrompt(l, a, based ? 1 : 0, numeric);
    if (based) prompt.from(point(a[0]));
    return prompt;
}

Value initget(Interpreter& l, Args& a) {
    Interpreter::InitGet init;
    std::size_t at = 0;
    if (at < a.size() && a[at].isInt()) init.bits = a[at++].integer();
    if (at < a.size() && a[at]) {
        for (const QString& word : text(a[at]).split(u' ', Qt::SkipEmptyParts)) {
            // "Yes No _Y N": the words after "_" are the language-independent forms; the local ones are used.
            if (word.startsWith(u'_')) break;
            init.keywords << word;
        }
        ++at;
    }
    if (at < a.size()) throw LispError(QStringLiteral("too many arguments"));
    l.setInitGet(std::move(init));
    return {};
}

// The answer of a get... function: the value, the keyword (a string), or nil.
Value answer(Interpreter& l, int status, Value value) {
    if (status == RTNORM) return value;
    if (status == RTKWORD) return string(l.userIO().keyword());
    return {};
}

Value getpoint(Interpreter& l, Args& a) {
    const Prompt prompt = promptFrom(l, a, false);
    db::Point3d p;
    const int status = l.userIO().getPoint(prompt, p);
    return answer(l, status, pointValue(p));
}

Value getcorner(Interpreter& l, Args& a) {
    return getpoint(l, a);
}

Value getdist(Interpreter& l, Args& a) {
    const Prompt prompt = promptFrom(l, a, true);
    double d = 0;
    const int status = l.userIO().getDistance(prompt, d);
    return answer(l, status, Value(d));
}

Value getangle(Interpreter& l, Args& a) {
    const Prompt prompt = promptFrom(l, a, false);
    double r = 0;
    const int status = l.userIO().getAngle(prompt, r);
    return answer(l, status, Value(r));
}

Value getreal(Interpreter& l, Args& a) {
    double v = 0;
    const int status = l.userIO().getReal(makePrompt(l, a, 0, true), v);
    return answer(l, status, Value(v));
}

Value getint(Interpreter& l, Args& a) {
    int v = 0;
    const int status = l.userIO().getInteger(makePrompt(l, a, 0, true), v);
    return answer(l, status, Value(std::int32_t(v)));
}

Value getkword(Interpreter& l, Args& a) {
    Prompt prompt = makePrompt(l, a, 0, false);
    if (prompt.keywords.isEmpty()) return {};
    const int status = l.userIO().getKeyword(prompt);
    return answer(l, status, Value());
}

Value getstring(Interpreter& l, Args& a) {
    // (getstring [allowSpaces] [prompt])
    std::size_t at = 0;
    bool spaces = false;
    if (a.size() == 2 || (!a.empty() && !a[0].isString())) spaces = bool(a[at++]);
    l.takeInitGet();
    QString message = at < a.size() && a[at] ? text(a[at]) : QString();
    QString result;
    const int status = l.userIO().getString(message.trimmed(), spaces, result);
    return status == RTNORM ? string(result) : Value();
}

Value entsel(Interpreter& l, Args& a) {
    if (!l.document()) return {};
    Prompt prompt = makePrompt(l, a, 0, false);
    if (prompt.message.isEmpty()) prompt.message = QStringLiteral("Select object");
    CommandContext context(l.document(), l.userIO());
    db::ObjectId id;
    if (commands::pickObject(context, prompt, id) != RTNORM) return {};
    // The point picked: the entity's box centre, as no cursor was used.
    db::Point3d at;
    if (auto* e = db::objectCast<db::Entity>(id.peek())) {
        db::Extents3d box;
        if (e->getGeomExtents(box) == db::ErrorStatus::Ok)
            at = {(box.minPoint().x + box.maxPoint().x) / 2, (box.minPoint().y + box.maxPoint().y) / 2, 0};
    }
    return list({Value(new Ename(id)), pointValue(at)});
}

constexpr Builtin kBuiltins[] = {
    {"INITGET", initget, 0, 2},     {"GETPOINT", getpoint, 0, 2}, {"GETCORNER", getcorner, 1, 2},
    {"GETDIST", getdist, 0, 2},     {"GETANGLE", getangle, 0, 2}, {"GETORIENT", getangle, 0, 2},
    {"GETREAL", getreal, 0, 1},     {"GETINT", getint, 0, 1},     {"GETKWORD", getkword, 0, 1},
    {"GETSTRING", getstring, 0, 2}, {"ENTSEL", entsel, 0, 1},
};

}  // namespace

void addInputBuiltins(Interpreter& l) {
    l.define(kBuiltins);
}

}  // namespace vela::host::lisp

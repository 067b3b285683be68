#include "host/lisp/value.h"

#include "host/lisp/lisp_error.h"

namespace vela::host::lisp {

namespace {

// Takes a value's object out of it without releasing it: the caller now holds that reference.
void takeInto(Value& v, std::vector<Object*>& out) {
    if (Object* o = v.object()) {
        ++o->refs;  // the reference the list now holds
        out.push_back(o);
    }
    v = Value();  // drops the value's own reference, never the last one
}

}  // namespace

HeapUse& HeapUse::current() {
    thread_local HeapUse use;
    return use;
}

void HeapUse::addCons() {
    if (conses >= consLimit)
        throw LispError(QStringLiteral("memory limit reached (too many list cells)"), true);
    ++conses;
}

void HeapUse::addString(std::int64_t bytes) {
    if (stringBytes + bytes > stringByteLimit)
        throw LispError(QStringLiteral("memory limit reached (strings)"), true);
    stringBytes += bytes;
}

void Value::release(Object* o) {
    if (--o->refs > 0) return;
    // Objects whose last reference goes free the objects only they held in turn: kept on a work list rather
    // than released from their destructors, whose recursion would be as deep as the longest list.
    std::vector<Object*> work;
    o->takeChildren(work);
    delete o;
    while (!work.empty()) {
        Object* next = work.back();
        work.pop_back();
        if (--next->refs > 0) continue;
        next->takeChildren(work);
        delete next;
    }
}

void Cons::takeChildren(std::vector<Object*>& out) {
    takeInto(car, out);
    takeInto(cdr, out);
}

void Symbol::takeChildren(std::vector<Object*>& out) {
    takeInto(value, out);
}

void Usubr::takeChildren(std::vector<Object*>& out) {
    for (Value& v : parameters) takeInto(v, out);
    for (Value& v : locals) takeInto(v, out);
    takeInto(body, out);
}

Value list(std::vector<Value> items) {
    Value result;
    for (auto it = items.rbegin(); it != items.rend(); ++it) result = cons(std::move(*it), std::move(result));
    return result;
}

std::vector<Value> elements(const Value& list) {
    std::vector<Value> out;
    for (const Value* v = &list; v->isCons(); v = &v->as<Cons>()->cdr) out.push_back(v->as<Cons>()->car);
    return out;
}

void ListBuilder::add(Value v) {
    Value cell = cons(std::move(v), Value());
    Cons* c = cell.as<Cons>();
    if (last_)
        last_->cdr = std::move(cell);
    else
        head_ = std::move(cell);
    last_ = c;
}

void ListBuilder::setTail(Value tail) {
    if (last_)
        last_->cdr = std::move(tail);
    else
        head_ = std::move(tail);
}

}  // namespace vela::host::lisp

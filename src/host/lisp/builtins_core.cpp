// Arithmetic, comparison, lists, functions as values, errors: the built-ins that need nothing of the host.

#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "host/lisp/interpreter.h"
#include "host/lisp/printer.h"

namespace vela::host::lisp {

namespace {

// ---- Numbers ----

bool allIntegers(const Args& a) {
    for (const Value& v : a)
        if (!v.isInt()) return false;
    return true;
}

// Integers wrap at 32 bits, as the dialect's do.
std::int32_t wrap(std::int64_t v) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
}

LispError divideByZero() {
    return LispError(QStringLiteral("divide by zero"));
}

Value add(Interpreter&, Args& a) {
    for (const Value& v : a) number(v);
    if (allIntegers(a)) {
        std::int64_t sum = 0;
        for (const Value& v : a) sum = wrap(sum + v.integer());
        return Value(wrap(sum));
    }
    double sum = 0;
    for (const Value& v : a) sum += v.number();
    return Value(sum);
}

Value subtract(Interpreter&, Args& a) {
    for (const Value& v : a) number(v);
    if (a.empty()) return Value(0);
    if (allIntegers(a)) {
        if (a.size() == 1) return Value(wrap(-std::int64_t(a[0].integer())));
        std::int64_t r = a[0].integer();
        for (std::size_t i = 1; i < a.size(); ++i) r = wrap(r - a[i].integer());
        return Value(wrap(r));
    }
    if (a.size() == 1) return Value(-a[0].number());
    double r = a[0].number();
    for (std::size_t i = 1; i < a.size(); ++i) r -= a[i].number();
    return Value(r);
}

Value multiply(Interpreter&, Args& a) {
    for (const Value& v : a) number(v);
    if (allIntegers(a)) {
        std::int64_t r = 1;
        for (const Value& v : a) r = wrap(r * v.integer());
        return Value(wrap(r));
    }
    double r = 1;
    for (const Value& v : a) r *= v.number();
    return Value(r);
}

Value divide(Interpreter&, Args& a) {
    for (const Value& v : a) number(v);
    if (a.empty()) return Value(0);
    if (a.size() == 1) return a[0];
    if (allIntegers(a)) {
        std::int64_t r = a[0].integer();
        for (std::size_t i = 1; i < a.size(); ++i) {
            if (a[i].integer() == 0) throw divideByZero();
            r = wrap(r / a[i].integer());
        }
        return Value(wrap(r));
    }
    double r = a[0].number();
    for (std::size_t i = 1; i < a.size(); ++i) {
        if (a[i].number() == 0) throw divideByZero();
        r /= a[i].number();
    }
    return Value(r);
}

Value remainder(Interpreter&, Args& a) {
    for (const Value& v : a) number(v);
    if (a.empty()) return Value(0);
    Value r = a[0];
    for (std::size_t i = 1; i < a.size(); ++i) {
        if (a[i].number() == 0) throw divideByZero();
        if (r.isInt() && a[i].isInt())
            r = Value(a[i].integer() == -1 ? 0 : r.integer() % a[i].integer());
        else
            r = Value(std::fmod(r.number(), a[i].number()));
    }
    return r;
}

Value onePlus(Interpreter&, Args& a) {
    if (a[0].isInt()) return Value(wrap(std::int64_t(a[0].integer()) + 1));
    return Value(number(a[0]) + 1);
}

Value oneMinus(Interpreter&, Args& a) {
    if (a[0].isInt()) return Value(wrap(std::int64_t(a[0].integer()) - 1));
    return Value(number(a[0]) - 1);
}

Value absolute(Interpreter&, Args& a) {
    if (a[0].isInt()) return Value(wrap(std::llabs(a[0].integer())));
    return Value(std::fabs(number(a[0])));
}

template <bool Max>
Value extreme(Interpreter&, Args& a) {
    for (const Value& v : a) number(v);
    if (a.empty()) return Value(0);
    const bool ints = allIntegers(a);
    double best = a[0].number();
    for (const Value& v : a) best = Max ? std::max(best, v.number()) : std::min(best, v.number());
    return ints ? Value(static_cast<std::int32_t>(best)) : Value(best);
}

double finite(double r) {
    if (!std::isfinite(r)) throw LispError(QStringLiteral("floating-point overflow"));
    return r;
}

Value squareRoot(Interpreter&, Args& a) {
    const double x = number(a[0]);
    if (x < 0) throw LispError(QStringLiteral("function undefined for argument: ") + print(a[0]));
    return Value(std::sqrt(x));
}

Value power(Interpreter&, Args& a) {
    const double base = number(a[0]), exponent = number(a[1]);
    if (a[0].isInt() && a[1].isInt() && a[1].integer() >= 0) {
        std::int64_t r = 1;
        for (std::int32_t i = 0; i < a[1].integer() && i < 64; ++i) r = wrap(r * a[0].integer());
        return Value(wrap(r));
    }
    return Value(finite(std::pow(base, exponent)));
}

Value exponential(Interpreter&, Args& a) {
    return Value(finite(std::exp(number(a[0]))));
}

Value logarithm(Interpreter&, Args& a) {
    const double x = number(a[0]);
    if (x <= 0) throw LispError(QStringLiteral("function undefined for argument: ") + print(a[0]));
    return Value(std::log(x));
}

Value sine(Interpreter&, Args& a) {
    return Value(std::sin(number(a[0])));
}
Value cosine(Interpreter&, Args& a) {
    return Value(std::cos(number(a[0])));
}
Value arcTangent(Interpreter&, Args& a) {
    if (a.size() == 2) return Value(std::atan2(number(a[0]), number(a[1])));
    return Value(std::atan(number(a[0])));
}

Value fix(Interpreter&, Args& a) {
    if (a[0].isInt()) return a[0];
    const double t = std::trunc(number(a[0]));
    if (t >= -2147483648.0 && t <= 2147483647.0) return Value(static_cast<std::int32_t>(t));
    return Value(t);  // too large for an integer: stays a real
}

Value toFloat(Interpreter&, Args& a) {
    return Value(number(a[0]));
}

Value gcdOf(Interpreter&, Args& a) {
    const std::int32_t x = integer(a[0]), y = integer(a[1]);
    if (x <= 0) badArgument("positive integer:", a[0]);
    if (y <= 0) badArgument("positive integer:", a[1]);
    return Value(std::gcd(x, y));
}

// ---- Comparison ----

// -1, 0 or 1; numbers with numbers, strings with strings.
int compare(const Value& x, const Value& y) {
    if (x.isNumber() && y.isNumber()) {
        if (x.isInt() && y.isInt()) return (x.integer() > y.integer()) - (x.integer() < y.integer());
        return (x.number() > y.number()) - (x.number() < y.number());
    }
    if (x.isString() && y.isString()) {
        const int c = x.as<String>()->text.compare(y.as<String>()->text);
        return (c > 0) - (c < 0);
    }
    badArgument(x.isNumber() || x.isString() ? "numberp:" : "numberp:", x.isNumber() || x.isString() ? y : x);
}

template <class Holds>
Value chain(Interpreter& lisp, Args& a, Holds holds) {
    if (a.size() == 1) compare(a[0], a[0]);
    for (std::size_t i = 0; i + 1 < a.size(); ++i)
        if (!holds(compare(a[i], a[i + 1]))) {
            // Every argument is still checked.
            for (std::size_t k = i + 1; k + 1 < a.size(); ++k) compare(a[k], a[k + 1]);
            return {};
        }
    return lisp.t();
}

Value equalNumbers(Interpreter& l, Args& a) {
    // = compares numbers and strings; other values only with themselves.
    for (std::size_t i = 0; i + 1 < a.size(); ++i)
        if (!(a[i].isNumber() || a[i].isString()) || !(a[i + 1].isNumber() || a[i + 1].isString())) {
            bool same = a[i].kind() == a[i + 1].kind() && a[i].object() == a[i + 1].object();
            if (!same) return {};
        } else if ((a[i].isNumber() != a[i + 1].isNumber()) || compare(a[i], a[i + 1]) != 0) {
            return {};
        }
    return l.t();
}
Value notEqual(Interpreter& l, Args& a) {
    Args pair(2);
    for (std::size_t i = 0; i + 1 < a.size(); ++i) {
        pair[0] = a[i], pair[1] = a[i + 1];
        if (equalNumbers(l, pair)) return {};
    }
    return l.t();
}
Value less(Interpreter& l, Args& a) {
    return chain(l, a, [](int c) { return c < 0; });
}
Value greater(Interpreter& l, Args& a) {
    return chain(l, a, [](int c) { return c > 0; });
}
Value lessEqual(Interpreter& l, Args& a) {
    return chain(l, a, [](int c) { return c <= 0; });
}
Value greaterEqual(Interpreter& l, Args& a) {
    return chain(l, a, [](int c) { return c >= 0; });
}

bool same(const Value& x, const Value& y) {
    if (x.kind() != y.kind()) return false;
    switch (x.kind()) {
        case Kind::Nil:
            return true;
        case Kind::Int:
            return x.integer() == y.integer();
        case Kind::Real:
            return x.real() == y.real();
        case Kind::Ename:
            return x.as<Ename>()->id == y.as<Ename>()->id;
        default:
            return x.object() == y.object();
    }
}

bool equalValues(const Value& x, const Value& y, double fuzz, int depth = 0) {
    if (depth > 10000)
        throw LispError(QStringLiteral("recursion limit reached (lists nested too deeply)"), true);
    if (x.isNumber() && y.isNumber()) return std::fabs(x.number() - y.number()) <= fuzz;
    if (x.isString() && y.isString()) return x.as<String>()->text == y.as<String>()->text;
    if (x.isCons() && y.isCons()) {
        const Value *a = &x, *b = &y;
        while (a->isCons() && b->isCons()) {
            if (!equalValues(a->as<Cons>()->car, b->as<Cons>()->car, fuzz, depth + 1)) return false;
            a = &a->as<Cons>()->cdr, b = &b->as<Cons>()->cdr;
        }
        return equalValues(*a, *b, fuzz, depth + 1);
    }
    return same(x, y);
}

Value eqFn(Interpreter& l, Args& a) {
    return l.boolean(same(a[0], a[1]));
}
Value equalFn(Interpreter& l, Args& a) {
    return l.boolean(equalValues(a[0], a[1], a.size() > 2 ? std::fabs(number(a[2])) : 0.0));
}

// ---- Predicates ----

Value notFn(Interpreter& l, Args& a) {
    return l.boolean(a[0].isNil());
}
Value zerop(Interpreter& l, Args& a) {
    return l.boolean(number(a[0]) == 0);
}
Value minusp(Interpreter& l, Args& a) {
    return l.boolean(number(a[0]) < 0);
}
Value numberp(Interpreter& l, Args& a) {
    return l.boolean(a[0].isNumber());
}
Value listp(Interpreter& l, Args& a) {
    return l.boolean(a[0].isList());
}
Value atom(Interpreter& l, Args& a) {
    return l.boolean(!a[0].isCons());
}
Value boundp(Interpreter& l, Args& a) {
    if (a[0].isNil()) return l.t();
    return l.boolean(!symbolArg(a[0])->value.isNil());
}
Value vlConsp(Interpreter& l, Args& a) {
    return l.boolean(a[0].isCons());
}
Value vlSymbolp(Interpreter& l, Args& a) {
    return l.boolean(a[0].isSymbol());
}

// The names `type` gives, by kind (nil has none).
const char* const kTypeNames[] = {nullptr, "INT",   "REAL",       "STR",
                                  "SYM",   "LIST",  "ENAME",      "PICKSET",
                                  "SUBR",  "USUBR", "VLA-OBJECT", "VL-CATCH-ALL-APPLY-ERROR"};
static_assert(std::size(kTypeNames) == std::size_t(Kind::CatchError) + 1);

Value typeOf(Interpreter& l, Args& a) {
    const char* name = kTypeNames[std::size_t(a[0].kind())];
    return name ? l.symbol(QLatin1String(name)) : Value();
}

// ---- Lists ----

const Cons* consArg(const Value& v) {
    if (!v.isCons()) badArgument("consp", v);
    return v.as<Cons>();
}

Value listFn(Interpreter&, Args& a) {
    return list(std::move(a));
}
Value consFn(Interpreter&, Args& a) {
    return cons(a[0], a[1]);
}

// car, cdr and their compositions up to four deep: `Path` holds the operations (bit set: cdr), the last
// letter's in bit 0, and their number in bits 4 and up.
template <unsigned Path>
Value cxr(Interpreter&, Args& a) {
    constexpr unsigned n = Path >> 4;
    Value v = a[0];
    for (unsigned i = 0; i < n; ++i) {
        if (v.isNil()) return {};
        const Cons* c = consArg(v);
        v = (Path >> i) & 1 ? c->cdr : c->car;
    }
    return v;
}

template <std::size_t... I>
constexpr std::array<BuiltinFn, sizeof...(I)> cxrTable(std::index_sequence<I...>) {
    return {&cxr<I>...};
}

Value append(Interpreter&, Args& a) {
    ListBuilder out;
    for (std::size_t i = 0; i < a.size(); ++i) {
        listArg(a[i]);
        if (i + 1 == a.size()) {
            out.setTail(a[i]);
            break;
        }
        for (const Value* c = &a[i]; c->isCons(); c = &c->as<Cons>()->cdr) out.add(c->as<Cons>()->car);
    }
    return out.take();
}

Value reverse(Interpreter&, Args& a) {
    Value r;
    for (const Value* c = &listArg(a[0]); c->isCons(); c = &c->as<Cons>()->cdr)
        r = cons(c->as<Cons>()->car, r);
    return r;
}

Value length(Interpreter&, Args& a) {
    std::int32_t n = 0;
    const Value* c = &listArg(a[0]);
    for (; c->isCons(); c = &c->as<Cons>()->cdr) ++n;
    if (!c->isNil()) badArgument("listp", a[0]);
    return Value(n);
}

Value nth(Interpreter&, Args& a) {
    const std::int32_t n = integer(a[0]);
    if (n < 0) return {};
    const Value* c = &listArg(a[1]);
    for (std::int32_t i = 0; i < n && c->isCons(); ++i) c = &c->as<Cons>()->cdr;
    return c->isCons() ? c->as<Cons>()->car : Value();
}

Value last(Interpreter&, Args& a) {
    const Value* c = &listArg(a[0]);
    if (c->isNil()) return {};
    while (c->as<Cons>()->cdr.isCons()) c = &c->as<Cons>()->cdr;
    return c->as<Cons>()->car;
}

Value member(Interpreter&, Args& a) {
    for (const Value* c = &listArg(a[1]); c->isCons(); c = &c->as<Cons>()->cdr)
        if (equalValues(a[0], c->as<Cons>()->car, 0)) return *c;
    return {};
}

Value assoc(Interpreter&, Args& a) {
    for (const Value* c = &listArg(a[1]); c->isCons(); c = &c->as<Cons>()->cdr) {
        const Value& item = c->as<Cons>()->car;
        if (item.isCons() && equalValues(a[0], item.as<Cons>()->car, 0)) return item;
    }
    return {};
}

Value subst(Interpreter&, Args& a) {
    ListBuilder out;
    const Value* c = &listArg(a[2]);
    for (; c->isCons(); c = &c->as<Cons>()->cdr)
        out.add(equalValues(a[1], c->as<Cons>()->car, 0) ? a[0] : c->as<Cons>()->car);
    out.setTail(*c);
    return out.take();
}

Value mapcar(Interpreter& l, Args& a) {
    std::vector<const Value*> lists;
    for (std::size_t i = 1; i < a.size(); ++i) lists.push_back(&listArg(a[i]));
    ListBuilder out;
    for (;;) {
        Args call;
        for (const Value*& c : lists) {
            if (!c->isCons()) return out.take();
            call.push_back(c->as<Cons>()->car);
            c = &c->as<Cons>()->cdr;
        }
        out.add(l.apply(a[0], call));
    }
}

Value applyFn(Interpreter& l, Args& a) {
    Args call = elements(listArg(a[1]));
    return l.apply(a[0], call);
}

Value call1(Interpreter& l, const Value& f, const Value& x) {
    Args call{x};
    return l.apply(f, call);
}

Value removeIf(Interpreter& l, Args& a, bool keepMatching) {
    ListBuilder out;
    for (const Value* c = &listArg(a[1]); c->isCons(); c = &c->as<Cons>()->cdr)
        if (bool(call1(l, a[0], c->as<Cons>()->car)) == keepMatching) out.add(c->as<Cons>()->car);
    return out.take();
}
Value vlRemoveIf(Interpreter& l, Args& a) {
    return removeIf(l, a, false);
}
Value vlRemoveIfNot(Interpreter& l, Args& a) {
    return removeIf(l, a, true);
}

Value vlRemove(Interpreter&, Args& a) {
    ListBuilder out;
    for (const Value* c = &listArg(a[1]); c->isCons(); c = &c->as<Cons>()->cdr)
        if (!equalValues(a[0], c->as<Cons>()->car, 0)) out.add(c->as<Cons>()->car);
    return out.take();
}

Value vlPosition(Interpreter&, Args& a) {
    std::int32_t i = 0;
    for (const Value* c = &listArg(a[1]); c->isCons(); c = &c->as<Cons>()->cdr, ++i)
        if (same(a[0], c->as<Cons>()->car) || equalValues(a[0], c->as<Cons>()->car, 0)) return Value(i);
    return {};
}

// vl-some / vl-every: the predicate over the lists' elements taken side by side.
Value someOrEvery(Interpreter& l, Args& a, bool every) {
    std::vector<const Value*> lists;
    for (std::size_t i = 1; i < a.size(); ++i) lists.push_back(&listArg(a[i]));
    for (;;) {
        Args call;
        for (const Value*& c : lists) {
            if (!c->isCons()) return every ? l.t() : Value();
            call.push_back(c->as<Cons>()->car);
            c = &c->as<Cons>()->cdr;
        }
        Value r = l.apply(a[0], call);
        if (every && !r) return {};
        if (!every && r) return r;
    }
}
Value vlSome(Interpreter& l, Args& a) {
    return someOrEvery(l, a, false);
}
Value vlEvery(Interpreter& l, Args& a) {
    return someOrEvery(l, a, true);
}

Value vlMemberIf(Interpreter& l, Args& a) {
    for (const Value* c = &listArg(a[1]); c->isCons(); c = &c->as<Cons>()->cdr)
        if (call1(l, a[0], c->as<Cons>()->car)) return *c;
    return {};
}

// A merge sort of our own: the order comes from a program's function, which need not be consistent, and a
// library sort given an inconsistent order may read outside its range. Stable.
template <class T, class Before>
void mergeSort(std::vector<T>& items, std::vector<T>& scratch, std::size_t from, std::size_t to,
               Before& before) {
    if (to - from < 2) return;
    const std::size_t mid = from + (to - from) / 2;
    mergeSort(items, scratch, from, mid, before);
    mergeSort(items, scratch, mid, to, before);
    std::size_t i = from, j = mid, k = from;
    while (i < mid && j < to) scratch[k++] = before(items[j], items[i]) ? items[j++] : items[i++];
    while (i < mid) scratch[k++] = items[i++];
    while (j < to) scratch[k++] = items[j++];
    for (std::size_t m = from; m < to; ++m) items[m] = std::move(scratch[m]);
}

Value vlSort(Interpreter& l, Args& a) {
    std::vector<Value> items = elements(listArg(a[0]));
    std::vector<Value> scratch(items.size());
    auto before = [&](const Value& x, const Value& y) {
        Args call{x, y};
        return bool(l.apply(a[1], call));
    };
    mergeSort(items, scratch, 0, items.size(), before);
    return list(std::move(items));
}

Value vlSortIndexes(Interpreter& l, Args& a) {
    const std::vector<Value> items = elements(listArg(a[0]));
    std::vector<std::size_t> order(items.size()), scratch(items.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    auto before = [&](std::size_t x, std::size_t y) {
        Args call{items[x], items[y]};
        return bool(l.apply(a[1], call));
    };
    mergeSort(order, scratch, 0, order.size(), before);
    ListBuilder out;
    for (std::size_t i : order) out.add(Value(static_cast<std::int32_t>(i)));
    return out.take();
}

Value vlListStar(Interpreter&, Args& a) {
    ListBuilder out;
    for (std::size_t i = 0; i + 1 < a.size(); ++i) out.add(a[i]);
    out.setTail(a.back());
    return out.take();
}

Value vlListLength(Interpreter&, Args& a) {
    std::int32_t n = 0;
    const Value* c = &listArg(a[0]);
    for (; c->isCons(); c = &c->as<Cons>()->cdr) ++n;
    return c->isNil() ? Value(n) : Value();
}

// ---- Evaluation and symbols ----

Value evalFn(Interpreter& l, Args& a) {
    return l.eval(a[0]);
}

Value setFn(Interpreter&, Args& a) {
    Symbol* s = symbolArg(a[0]);
    if (s->constant) badArgument("symbolp", a[0]);
    s->value = a[1];
    return a[1];
}

Value vlSymbolName(Interpreter&, Args& a) {
    return string(symbolArg(a[0])->name);
}
Value vlSymbolValue(Interpreter&, Args& a) {
    return symbolArg(a[0])->value;
}

Value catchAllApply(Interpreter& l, Args& a) {
    Args call = elements(listArg(a[1]));
    try {
        return l.apply(a[0], call);
    } catch (const LispError& e) {
        if (e.isLimit()) throw;  // the sandbox's limits cannot be caught
        return Value(new CatchError(e.message()));
    }
}
Value catchAllErrorP(Interpreter& l, Args& a) {
    return l.boolean(a[0].kind() == Kind::CatchError);
}
Value catchAllErrorMessage(Interpreter&, Args& a) {
    if (a[0].kind() != Kind::CatchError) badArgument("vl-catch-all-apply-error", a[0]);
    return string(a[0].as<CatchError>()->message);
}

Value exitFn(Interpreter&, Args&) {
    throw LispError(QStringLiteral("quit / exit abort"));
}
Value nothing(Interpreter&, Args&) {
    return {};
}
Value version(Interpreter&, Args&) {
    return string(QStringLiteral("Visual LISP 2.0 (en)"));
}

constexpr Builtin kBuiltins[] = {
    {"+", add, 0, -1},
    {"-", subtract, 0, -1},
    {"*", multiply, 0, -1},
    {"/", divide, 0, -1},
    {"REM", remainder, 0, -1},
    {"1+", onePlus, 1, 1},
    {"1-", oneMinus, 1, 1},
    {"ABS", absolute, 1, 1},
    {"MIN", extreme<false>, 0, -1},
    {"MAX", extreme<true>, 0, -1},
    {"SQRT", squareRoot, 1, 1},
    {"EXPT", power, 2, 2},
    {"EXP", exponential, 1, 1},
    {"LOG", logarithm, 1, 1},
    {"SIN", sine, 1, 1},
    {"COS", cosine, 1, 1},
    {"ATAN", arcTangent, 1, 2},
    {"FIX", fix, 1, 1},
    {"FLOAT", toFloat, 1, 1},
    {"GCD", gcdOf, 2, 2},
    {"=", equalNumbers, 1, -1},
    {"/=", notEqual, 1, -1},
    {"<", less, 1, -1},
    {">", greater, 1, -1},
    {"<=", lessEqual, 1, -1},
    {">=", greaterEqual, 1, -1},
    {"EQ", eqFn, 2, 2},
    {"EQUAL", equalFn, 2, 3},
    {"NOT", notFn, 1, 1},
    {"NULL", notFn, 1, 1},
    {"ZEROP", zerop, 1, 1},
    {"MINUSP", minusp, 1, 1},
    {"NUMBERP", numberp, 1, 1},
    {"LISTP", listp, 1, 1},
    {"ATOM", atom, 1, 1},
    {"BOUNDP", boundp, 1, 1},
    {"VL-CONSP", vlConsp, 1, 1},
    {"VL-SYMBOLP", vlSymbolp, 1, 1},
    {"TYPE", typeOf, 1, 1},
    {"LIST", listFn, 0, -1},
    {"CONS", consFn, 2, 2},
    {"APPEND", append, 0, -1},
    {"REVERSE", reverse, 1, 1},
    {"LENGTH", length, 1, 1},
    {"NTH", nth, 2, 2},
    {"LAST", last, 1, 1},
    {"MEMBER", member, 2, 2},
    {"ASSOC", assoc, 2, 2},
    {"SUBST", subst, 3, 3},
    {"MAPCAR", mapcar, 2, -1},
    {"APPLY", applyFn, 2, 2},
    {"VL-REMOVE-IF", vlRemoveIf, 2, 2},
    {"VL-REMOVE-IF-NOT", vlRemoveIfNot, 2, 2},
    {"VL-REMOVE", vlRemove, 2, 2},
    {"VL-POSITION", vlPosition, 2, 2},
    {"VL-SOME", vlSome, 2, -1},
    {"VL-EVERY", vlEvery, 2, -1},
    {"VL-MEMBER-IF", vlMemberIf, 2, 2},
    {"VL-SORT", vlSort, 2, 2},
    {"VL-SORT-I", vlSortIndexes, 2, 2},
    {"VL-LIST*", vlListStar, 1, -1},
    {"VL-LIST-LENGTH", vlListLength, 1, 1},
    {"EVAL", evalFn, 1, 1},
    {"SET", setFn, 2, 2},
    {"VL-SYMBOL-NAME", vlSymbolName, 1, 1},
    {"VL-SYMBOL-VALUE", vlSymbolValue, 1, 1},
    {"VL-CATCH-ALL-APPLY", catchAllApply, 2, 2},
    {"VL-CATCH-ALL-ERROR-P", catchAllErrorP, 1, 1},
    {"VL-CATCH-ALL-ERROR-MESSAGE", catchAllErrorMessage, 1, 1},
    {"EXIT", exitFn, 0, 0},
    {"QUIT", exitFn, 0, 0},
    {"VL-LOAD-COM", nothing, 0, 0},
    {"VER", version, 0, 0},
};

}  // namespace

void addCoreBuiltins(Interpreter& l) {
    l.define(kBuiltins);
    // car, cdr and their compositions, named by their letters.
    static constexpr auto kCxr = cxrTable(std::make_index_sequence<80>());
    for (unsigned n = 1; n <= 4; ++n)
        for (unsigned bits = 0; bits < (1u << n); ++bits) {
            std::string name = "C";
            for (int i = int(n) - 1; i >= 0; --i) name += (bits >> i) & 1 ? 'D' : 'A';
            name += 'R';
            l.define(name.c_str(), kCxr[(n << 4) | bits], 1, 1);
        }
}

}  // namespace vela::host::lisp

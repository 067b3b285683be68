#pragma once

#include <QString>
#include <cstdint>
#include <utility>
#include <vector>

#include "db/object_id.h"

namespace vela::host::lisp {

class Interpreter;
class Value;

/// The kinds of LISP values, as `type` names them (nil has no type).
enum class Kind : std::uint8_t {
    Nil,
    Int,
    Real,
    Str,
    Sym,
    List,
    Ename,
    Pickset,
    Subr,
    Usubr,
    VlaObject,
    CatchError,
};

/// Every value that lives on the heap: strings, symbols, conses, functions, entity names, selection sets.
/// Counted references (values never form cycles except through symbols, which live as long as their
/// interpreter), freed without recursion so that a list of a million elements goes without a deep stack.
struct Object {
    explicit Object(Kind k) : kind(k) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    /// Moves the references this object holds into `out` (to be released by the caller), so that it can be
    /// deleted without releasing them itself.
    virtual void takeChildren(std::vector<Object*>& /*out*/) {}

    std::uint32_t refs = 0;
    Kind kind;
};

/// A LISP value: nil, an integer or real held inline, or a counted reference to a heap object.
class Value {
  public:
    Value() : kind_(Kind::Nil), o_(nullptr) {}
    Value(std::int32_t i) : kind_(Kind::Int), i_(i) {}
    Value(double r) : kind_(Kind::Real), r_(r) {}
    explicit Value(Object* o) : kind_(o ? o->kind : Kind::Nil), o_(o) {
        if (o_) ++o_->refs;
    }
    Value(const Value& v) : kind_(v.kind_), bits_(v.bits_) {
        if (isObject()) ++o_->refs;
    }
    Value(Value&& v) noexcept : kind_(v.kind_), bits_(v.bits_) { v.kind_ = Kind::Nil, v.o_ = nullptr; }
    Value& operator=(const Value& v) {
        Value copy(v);
        swap(copy);
        return *this;
    }
    Value& operator=(Value&& v) noexcept {
        Value moved(std::move(v));
        swap(moved);
        return *this;
    }
    ~Value() {
        if (isObject()) release(o_);
    }
    void swap(Value& v) noexcept {
        std::swap(kind_, v.kind_);
        std::swap(bits_, v.bits_);
    }

    Kind kind() const { return kind_; }
    bool isNil() const { return kind_ == Kind::Nil; }
    explicit operator bool() const { return kind_ != Kind::Nil; }
    bool isInt() const { return kind_ == Kind::Int; }
    bool isReal() const { return kind_ == Kind::Real; }
    bool isNumber() const { return kind_ == Kind::Int || kind_ == Kind::Real; }
    bool isString() const { return kind_ == Kind::Str; }
    bool isSymbol() const { return kind_ == Kind::Sym; }
    bool isCons() const { return kind_ == Kind::List; }
    /// nil or a cons.
    bool isList() const { return kind_ == Kind::Nil || kind_ == Kind::List; }

    std::int32_t integer() const { return i_; }
    double real() const { return r_; }
    /// An integer or real as a real.
    double number() const { return kind_ == Kind::Int ? double(i_) : r_; }
    Object* object() const { return isObject() ? o_ : nullptr; }
    template <class T>
    T* as() const {
        return static_cast<T*>(o_);
    }

    /// Releases a reference; frees the object (and whatever only it held) when it was the last.
    static void release(Object* o);

  private:
    bool isObject() const { return kind_ != Kind::Nil && kind_ != Kind::Int && kind_ != Kind::Real; }

    Kind kind_;
    union {
        std::int32_t i_;
        double r_;
        Object* o_;
        std::uint64_t bits_;
    };
};

/// How much the values alive on this thread hold: evaluations are limited by what they add to it.
struct HeapUse {
    std::int64_t conses = 0;
    std::int64_t stringBytes = 0;
    /// Set by an evaluation: going past these throws (the evaluation's memory limit).
    std::int64_t consLimit = INT64_MAX;
    std::int64_t stringByteLimit = INT64_MAX;
    static HeapUse& current();
    void addCons();
    void addString(std::int64_t bytes);
};

struct String final : Object {
    explicit String(QString s) : Object(Kind::Str), text(std::move(s)) {
        HeapUse::current().addString(text.size() * 2);
    }
    ~String() override { HeapUse::current().stringBytes -= text.size() * 2; }
    QString text;
};

struct Cons final : Object {
    Cons(Value a, Value d) : Object(Kind::List), car(std::move(a)), cdr(std::move(d)) {
        HeapUse::current().addCons();
    }
    ~Cons() override { --HeapUse::current().conses; }
    void takeChildren(std::vector<Object*>& out) override;
    Value car, cdr;
};

/// The special forms: evaluated by the interpreter itself, their arguments as it sees fit.
enum class SpecialForm : std::uint8_t {
    None,
    Quote,
    Function,
    Setq,
    Defun,
    Lambda,
    If,
    Cond,
    Progn,
    While,
    Repeat,
    Foreach,
    And,
    Or,
};

/// A symbol, interned in its interpreter: the name (upper case) and the value bound to it (functions are
/// values too: `defun` binds a symbol as `setq` does).
struct Symbol final : Object {
    explicit Symbol(QString n) : Object(Kind::Sym), name(std::move(n)) {}
    void takeChildren(std::vector<Object*>& out) override;
    QString name;
    Value value;
    SpecialForm form = SpecialForm::None;
    /// Set for nil and T: setq refuses them.
    bool constant = false;
};

/// The arguments of a call, evaluated.
using Args = std::vector<Value>;
using BuiltinFn = Value (*)(Interpreter&, Args&);

/// A built-in function as its family lists it: name, body and how many arguments it takes (max < 0: any).
struct Builtin {
    const char* name;
    BuiltinFn fn;
    int minArgs, maxArgs;
};

/// A built-in function.
struct Subr final : Object {
    Subr(QString n, BuiltinFn f, int minArgs, int maxArgs)
        : Object(Kind::Subr), name(std::move(n)), fn(f), min(minArgs), max(maxArgs) {}
    QString name;
    BuiltinFn fn;
    int min, max;  // max < 0: any number
};

/// A function defined in LISP (`defun`, `lambda`): parameters, locals after "/", and the body's forms.
struct Usubr final : Object {
    Usubr() : Object(Kind::Usubr) {}
    void takeChildren(std::vector<Object*>& out) override;
    QString name;                   // empty for a lambda
    std::vector<Value> parameters;  // symbols
    std::vector<Value> locals;      // symbols
    Value body;                     // list of forms
};

/// An entity (or any object) of the drawing, named by its id; printed with its handle.
struct Ename final : Object {
    explicit Ename(db::ObjectId i) : Object(Kind::Ename), id(i) {}
    db::ObjectId id;
};

/// A selection set made by ssget or ssadd; sets are values, changed in place by ssadd and ssdel.
struct Pickset final : Object {
    Pickset(int n, std::vector<db::ObjectId> i) : Object(Kind::Pickset), number(n), ids(std::move(i)) {}
    int number;
    std::vector<db::ObjectId> ids;
};

/// An object of the object model's shim: the application, the active document or a drawing object.
struct VlaObject final : Object {
    enum class Role { Application, Document, ModelSpace, Entity };
    VlaObject(Role r, db::ObjectId i) : Object(Kind::VlaObject), role(r), id(i) {}
    Role role;
    db::ObjectId id;
};

/// What vl-catch-all-apply returns for an error.
struct CatchError final : Object {
    explicit CatchError(QString m) : Object(Kind::CatchError), message(std::move(m)) {}
    QString message;
};

// ---- Building values ----
inline Value cons(Value a, Value d) {
    return Value(new Cons(std::move(a), std::move(d)));
}
inline Value string(QString s) {
    return Value(new String(std::move(s)));
}
/// A proper list of the values, in order.
Value list(std::vector<Value> items);
/// The elements of a proper list (the elements up to the first non-cons for a dotted one).
std::vector<Value> elements(const Value& list);

/// Appends to a list being built, keeping its last cons, so that building a list of n is O(n).
class ListBuilder {
  public:
    void add(Value v);
    /// Ends the list with `tail` instead of nil (a dotted list).
    void setTail(Value tail);
    Value take() { return std::move(head_); }

  private:
    Value head_;
    Cons* last_ = nullptr;
};

}  // namespace vela::host::lisp

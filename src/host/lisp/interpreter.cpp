#include "host/lisp/interpreter.h"

#include <QStringList>

#include "host/command_context.h"
#include "host/lisp/printer.h"
#include "host/lisp/reader.h"

namespace vela::host::lisp {

namespace {

// Restores the bindings a call (or foreach) made, however it ends.
class Bindings {
  public:
    void bind(Symbol* s, Value v) {
        saved_.push_back({s, std::move(s->value)});
        s->value = std::move(v);
    }
    ~Bindings() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) it->first->value = std::move(it->second);
    }

  private:
    std::vector<std::pair<Symbol*, Value>> saved_;
};

struct DepthGuard {
    explicit DepthGuard(int& d) : depth(d) { ++depth; }
    ~DepthGuard() { --depth; }
    int& depth;
};

// The heap limits of one evaluation, measured from what was alive when it began, and put back after.
class HeapLimits {
  public:
    explicit HeapLimits(const Limits& limits)
        : use_(HeapUse::current()), conses_(use_.consLimit), bytes_(use_.stringByteLimit) {
        use_.consLimit = use_.conses + limits.conses;
        use_.stringByteLimit = use_.stringBytes + limits.stringBytes;
    }
    ~HeapLimits() { use_.consLimit = conses_, use_.stringByteLimit = bytes_; }

  private:
    HeapUse& use_;
    std::int64_t conses_, bytes_;
};

const struct {
    const char* name;
    SpecialForm form;
} kSpecialForms[] = {
    {"QUOTE", SpecialForm::Quote},   {"FUNCTION", SpecialForm::Function}, {"SETQ", SpecialForm::Setq},
    {"DEFUN", SpecialForm::Defun},   {"LAMBDA", SpecialForm::Lambda},     {"IF", SpecialForm::If},
    {"COND", SpecialForm::Cond},     {"PROGN", SpecialForm::Progn},       {"WHILE", SpecialForm::While},
    {"REPEAT", SpecialForm::Repeat}, {"FOREACH", SpecialForm::Foreach},   {"AND", SpecialForm::And},
    {"OR", SpecialForm::Or},
};

LispError tooFew() {
    return LispError(QStringLiteral("too few arguments"));
}
LispError tooMany() {
    return LispError(QStringLiteral("too many arguments"));
}

}  // namespace

Interpreter::Interpreter(Document* document) : document_(document) {
    Symbol* t = intern(QStringLiteral("T"));
    t->value = Value(t);
    t->constant = true;
    t_ = Value(t);
    for (const auto& s : kSpecialForms) intern(QLatin1String(s.name))->form = s.form;
    errorHandler_ = intern(QStringLiteral("*ERROR*"));
    intern(QStringLiteral("PI"))->value = Value(3.14159265358979323846);
    intern(QStringLiteral("PAUSE"))->value = string(QStringLiteral("\\"));
    addCoreBuiltins(*this);
    addTextBuiltins(*this);
    addDrawingBuiltins(*this);
    addSelectionBuiltins(*this);
    addInputBuiltins(*this);
    addObjectModelBuiltins(*this);
}

Interpreter::~Interpreter() {
    // Symbols hold values that may hold symbols: their values go first, so nothing is left in a cycle.
    for (Symbol* s : std::as_const(symbols_)) s->value = Value();
}

Symbol* Interpreter::intern(const QString& name) {
    const QString key = name.toUpper();
    if (Symbol* s = symbols_.value(key)) return s;
    auto* s = new Symbol(key);
    interned_.push_back(Value(s));
    symbols_.insert(key, s);
    return s;
}

void Interpreter::define(const char* name, BuiltinFn fn, int minArgs, int maxArgs) {
    Symbol* s = intern(QLatin1String(name));
    s->value = Value(new Subr(s->name, fn, minArgs, maxArgs));
}

UserIO& Interpreter::userIO() {
    if (!io_) throw LispError(QStringLiteral("no user input outside an evaluation"));
    return *io_;
}

UserInputSource& Interpreter::inputSource() {
    if (!input_) throw LispError(QStringLiteral("no user input outside an evaluation"));
    return *input_;
}

void Interpreter::write(const QString& text) {
    output_ += text;
    qsizetype newline;
    while ((newline = output_.indexOf(u'\n')) >= 0) {
        if (log_ && *log_) (*log_)(output_.left(newline));
        output_.remove(0, newline + 1);
    }
    // A program printing without line breaks cannot fill memory through the log.
    if (output_.size() > 1 << 20) flushOutput();
}

void Interpreter::flushOutput() {
    if (!output_.isEmpty() && log_ && *log_) (*log_)(output_);
    output_.clear();
}

EvaluationResult Interpreter::evaluate(const QString& text, UserInputSource& input,
                                       const std::function<void(const QString&)>& log,
                                       const EvaluationSettings& settings) {
    // A program that runs the evaluation command from inside an evaluation would start over the one running.
    if (running_) return {QStringLiteral("; error: a LISP evaluation is running already"), true, false};
    running_ = true;
    settings_ = settings;
    input_ = &input;
    steps_ = 0;
    depth_ = 0;
    clock_.start();
    log_ = &log;
    io_ = std::make_unique<UserIO>(QStringList(), input);
    io_->setLog(log, false);
    initGet_ = {};
    EvaluationResult result;
    {
        HeapLimits heapLimits(settings.limits);
        try {
            Reader reader(*this, text);
            Value form, last;
            while (reader.next(form)) last = eval(form);
            result.text = print(last);
        } catch (const LispError& error) {
            result.failed = true;
            result.limitReached = error.isLimit();
            result.text = QLatin1String("; error: ") + error.message();
            // A program's *error* handler is told, unless the sandbox ended it (which the program may not
            // outlast).
            if (!error.isLimit() &&
                (errorHandler_->value.kind() == Kind::Usubr || errorHandler_->value.kind() == Kind::Subr)) {
                try {
                    depth_ = 0;
                    steps_ = 0;
                    clock_.start();
                    Args args{string(error.message())};
                    apply(errorHandler_->value, args);
                } catch (const LispError& inner) {
                    result.limitReached = inner.isLimit();
                    write(QLatin1String("; error: ") + inner.message() + u'\n');
                }
            }
        }
    }
    flushOutput();
    io_.reset();
    input_ = nullptr;
    log_ = nullptr;
    running_ = false;
    return result;
}

void Interpreter::step() {
    if (++steps_ > settings_.limits.steps)
        throw LispError(QStringLiteral("evaluation limit reached (%1 steps)").arg(settings_.limits.steps),
                        true);
    if ((steps_ & 0xFFF) == 0 && clock_.elapsed() > settings_.limits.milliseconds)
        throw LispError(QStringLiteral("time limit reached (%1 ms)").arg(settings_.limits.milliseconds),
                        true);
}

Value Interpreter::eval(const Value& form) {
    switch (form.kind()) {
        case Kind::Sym:
            return form.as<Symbol>()->value;
        case Kind::List: {
            step();
            if (depth_ >= settings_.limits.depth)
                throw LispError(QStringLiteral("recursion limit reached (%1 nested evaluations)")
                                    .arg(settings_.limits.depth),
                                true);
            DepthGuard guard(depth_);
            return evalList(form.as<Cons>());
        }
        default:
            return form;
    }
}

Value Interpreter::evalList(const Cons* form) {
    const Value& head = form->car;
    Value function;
    if (head.isSymbol()) {
        const Symbol* s = head.as<Symbol>();
        if (s->form != SpecialForm::None) return evalSpecial(s->form, form->cdr);
        function = s->value;
        if (function.kind() != Kind::Subr && function.kind() != Kind::Usubr)
            throw LispError(QLatin1String("no function definition: ") + s->name);
    } else {
        function = eval(head);
        if (function.kind() != Kind::Subr && function.kind() != Kind::Usubr)
            throw LispError(QLatin1String("bad function: ") + print(function));
    }
    Args args;
    for (const Value* a = &form->cdr; a->isCons(); a = &a->as<Cons>()->cdr)
        args.push_back(eval(a->as<Cons>()->car));
    return apply(function, args);
}

Value Interpreter::apply(const Value& function, Args& args) {
    switch (function.kind()) {
        case Kind::Subr: {
            const Subr& f = *function.as<Subr>();
            if (int(args.size()) < f.min) throw tooFew();
            if (f.max >= 0 && int(args.size()) > f.max) throw tooMany();
            return f.fn(*this, args);
        }
        case Kind::Usubr:
            return callUser(*function.as<Usubr>(), args);
        case Kind::Sym: {
            const Symbol* s = function.as<Symbol>();
            if (s->value.kind() == Kind::Subr || s->value.kind() == Kind::Usubr) return apply(s->value, args);
            // Special forms have no value to call: a call is built and evaluated.
            if (s->form != SpecialForm::None) {
                ListBuilder call;
                call.add(function);
                for (Value& a : args) call.add(list({symbol(QStringLiteral("QUOTE")), a}));
                return eval(call.take());
            }
            throw LispError(QLatin1String("no function definition: ") + s->name);
        }
        case Kind::List: {
            // A lambda expression given as a list: '(lambda (x) ...).
            const Cons* c = function.as<Cons>();
            if (c->car.isSymbol() && c->car.as<Symbol>()->form == SpecialForm::Lambda && c->cdr.isCons()) {
                const Value f = makeLambda(c->cdr.as<Cons>()->car, c->cdr.as<Cons>()->cdr, {});
                return callUser(*f.as<Usubr>(), args);
            }
            [[fallthrough]];
        }
        default:
            throw LispError(QLatin1String("bad function: ") + print(function));
    }
}

Value Interpreter::callUser(const Usubr& f, Args& args) {
    if (args.size() < f.parameters.size()) throw tooFew();
    if (args.size() > f.parameters.size()) throw tooMany();
    if (depth_ >= settings_.limits.depth)
        throw LispError(
            QStringLiteral("recursion limit reached (%1 nested evaluations)").arg(settings_.limits.depth),
            true);
    DepthGuard guard(depth_);
    Bindings bindings;
    for (std::size_t i = 0; i < args.size(); ++i)
        bindings.bind(f.parameters[i].as<Symbol>(), std::move(args[i]));
    for (const Value& local : f.locals) bindings.bind(local.as<Symbol>(), Value());
    // The body is held while it runs: a function that redefines itself keeps running the old body.
    const Value body = f.body;
    return progn(body);
}

Value Interpreter::progn(const Value& forms) {
    Value last;
    for (const Value* f = &forms; f->isCons(); f = &f->as<Cons>()->cdr) last = eval(f->as<Cons>()->car);
    return last;
}

Value Interpreter::makeLambda(const Value& params, const Value& body, QString name) {
    if (!params.isList()) badArgument("listp", params);
    auto* f = new Usubr();
    Value result(f);
    f->name = std::move(name);
    bool locals = false;
    for (const Value* p = &params; p->isCons(); p = &p->as<Cons>()->cdr) {
        const Value& s = p->as<Cons>()->car;
        if (!s.isSymbol() || s.as<Symbol>()->constant) badArgument("symbolp", s);
        if (s.as<Symbol>()->name == u'/') {
            locals = true;
            continue;
        }
        (locals ? f->locals : f->parameters).push_back(s);
    }
    f->body = body;
    return result;
}

Value Interpreter::evalSpecial(SpecialForm form, const Value& args) {
    auto arg = [&](std::size_t i) -> const Value& {
        const Value* a = &args;
        for (std::size_t k = 0; k < i && a->isCons(); ++k) a = &a->as<Cons>()->cdr;
        if (!a->isCons()) throw tooFew();
        return a->as<Cons>()->car;
    };
    auto rest = [&](std::size_t i) -> const Value& {
        const Value* a = &args;
        for (std::size_t k = 0; k < i && a->isCons(); ++k) a = &a->as<Cons>()->cdr;
        return *a;
    };
    auto count = [&] {
        std::size_t n = 0;
        for (const Value* a = &args; a->isCons(); a = &a->as<Cons>()->cdr) ++n;
        return n;
    };
    switch (form) {
        case SpecialForm::None:
            break;
        case SpecialForm::Quote:
            if (count() > 1) throw tooMany();
            return arg(0);
        case SpecialForm::Function: {
            if (count() > 1) throw tooMany();
            const Value& f = arg(0);
            if (f.isCons() && f.as<Cons>()->car.isSymbol() &&
                f.as<Cons>()->car.as<Symbol>()->form == SpecialForm::Lambda)
                return eval(f);
            return f;
        }
        case SpecialForm::Setq: {
            Value last;
            if (args.isNil()) throw tooFew();
            for (const Value* a = &args; a->isCons();) {
                const Value& target = a->as<Cons>()->car;
                if (!target.isSymbol() || target.as<Symbol>()->constant) badArgument("symbolp", target);
                const Value* v = &a->as<Cons>()->cdr;
                if (!v->isCons()) throw tooFew();
                last = eval(v->as<Cons>()->car);
                target.as<Symbol>()->value = last;
                a = &v->as<Cons>()->cdr;
            }
            return last;
        }
        case SpecialForm::Defun: {
            const Value& name = arg(0);
            if (!name.isSymbol() || name.as<Symbol>()->constant ||
                name.as<Symbol>()->form != SpecialForm::None)
                badArgument("symbolp", name);
            Symbol* s = name.as<Symbol>();
            s->value = makeLambda(arg(1), rest(2), s->name);
            return name;
        }
        case SpecialForm::Lambda:
            return makeLambda(arg(0), rest(1), {});
        case SpecialForm::If: {
            const std::size_t n = count();
            if (n < 2) throw tooFew();
            if (n > 3) throw tooMany();
            if (eval(arg(0))) return eval(arg(1));
            return n == 3 ? eval(arg(2)) : Value();
        }
        case SpecialForm::Cond:
            for (const Value* c = &args; c->isCons(); c = &c->as<Cons>()->cdr) {
                const Value& clause = c->as<Cons>()->car;
                if (!clause.isCons()) badArgument("listp", clause);
                Value test = eval(clause.as<Cons>()->car);
                if (!test) continue;
                if (clause.as<Cons>()->cdr.isNil()) return test;
                return progn(clause.as<Cons>()->cdr);
            }
            return {};
        case SpecialForm::Progn:
            return progn(args);
        case SpecialForm::While: {
            const Value& test = arg(0);
            const Value& body = rest(1);
            Value last;
            while (eval(test)) {
                step();  // an empty loop still counts, so that (while T) ends on a limit
                last = progn(body);
            }
            return last;
        }
        case SpecialForm::Repeat: {
            const Value n = eval(arg(0));
            if (!n.isInt()) badArgument("fixnump", n);
            const Value& body = rest(1);
            Value last;
            for (std::int32_t i = 0; i < n.integer(); ++i) {
                step();
                last = progn(body);
            }
            return last;
        }
        case SpecialForm::Foreach: {
            const Value& var = arg(0);
            if (!var.isSymbol() || var.as<Symbol>()->constant) badArgument("symbolp", var);
            const Value items = eval(arg(1));
            if (!items.isList()) badArgument("listp", items);
            const Value& body = rest(2);
            Bindings bindings;
            bindings.bind(var.as<Symbol>(), Value());
            Value last;
            for (const Value* i = &items; i->isCons(); i = &i->as<Cons>()->cdr) {
                step();
                var.as<Symbol>()->value = i->as<Cons>()->car;
                last = progn(body);
            }
            return last;
        }
        case SpecialForm::And:
            for (const Value* a = &args; a->isCons(); a = &a->as<Cons>()->cdr)
                if (!eval(a->as<Cons>()->car)) return {};
            return t_;
        case SpecialForm::Or:
            for (const Value* a = &args; a->isCons(); a = &a->as<Cons>()->cdr)
                if (eval(a->as<Cons>()->car)) return t_;
            return {};
    }
    return {};
}

// ---- Argument checks ----

void badArgument(const char* predicate, const Value& v) {
    throw LispError(QLatin1String("bad argument type: ") + QLatin1String(predicate) + QLatin1String(" ") +
                    print(v));
}

double number(const Value& v) {
    if (v.isInt()) return v.integer();
    if (v.isReal()) return v.real();
    badArgument("numberp:", v);
}

std::int32_t integer(const Value& v) {
    if (!v.isInt()) badArgument("fixnump:", v);
    return v.integer();
}

const QString& text(const Value& v) {
    if (!v.isString()) badArgument("stringp", v);
    return v.as<String>()->text;
}

Symbol* symbolArg(const Value& v) {
    if (!v.isSymbol()) badArgument("symbolp", v);
    return v.as<Symbol>();
}

const Value& listArg(const Value& v) {
    if (!v.isList()) badArgument("listp", v);
    return v;
}

bool isPoint(const Value& v) {
    int n = 0;
    const Value* c = &v;
    for (; c->isCons(); c = &c->as<Cons>()->cdr, ++n)
        if (!c->as<Cons>()->car.isNumber()) return false;
    return c->isNil() && (n == 2 || n == 3);
}

db::Point3d point(const Value& v) {
    if (!isPoint(v)) badArgument("2D/3D point:", v);
    const std::vector<Value> xyz = elements(v);
    return {xyz[0].number(), xyz[1].number(), xyz.size() > 2 ? xyz[2].number() : 0.0};
}

Value pointValue(const db::Point3d& p, bool withZ) {
    return withZ ? list({Value(p.x), Value(p.y), Value(p.z)}) : list({Value(p.x), Value(p.y)});
}

}  // namespace vela::host::lisp

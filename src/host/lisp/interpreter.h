#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QString>
#include <functional>
#include <memory>
#include <span>

#include "db/geometry/vector.h"
#include "host/lisp/limits.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/value.h"

namespace vela::db {
class Database;
}

namespace vela::host {
class Document;
class UserInputSource;
class UserIO;
}  // namespace vela::host

namespace vela::host::lisp {

/// The outcome of evaluating a text.
struct EvaluationResult {
    /// The printed value of the last top-level form, or "; error: <message>".
    QString text;
    bool failed = false;
    /// The evaluation ended on a limit of the sandbox.
    bool limitReached = false;
};

/// An interpreter of the CAD LISP dialect, one per document: the globals a program sets stay for the next
/// evaluation in that document. It is a sandbox by what it lacks: it has no function that reads or writes
/// files, starts programs or reaches a network, and its `command` runs only the host's drawing commands and
/// the assistant's.
///
/// Scoping is dynamic, as in the dialect: a function's parameters and "/" locals are bound for the time of
/// the call and unbound afterwards, whatever happens.
class Interpreter {
  public:
    /// `document` may be null (no drawing open): drawing functions then find nothing.
    explicit Interpreter(Document* document);
    ~Interpreter();
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;

    /// Reads and evaluates every form of `text` in turn; output of princ and the like goes to `log`, line by
    /// line. Input functions ask `input`.
    EvaluationResult evaluate(const QString& text, UserInputSource& input,
                              const std::function<void(const QString&)>& log,
                              const EvaluationSettings& settings = {});

    // ---- For built-in functions ----
    Document* document() const { return document_; }
    /// The symbol named `name` (any case), made on first use.
    Symbol* intern(const QString& name);
    Value symbol(const QString& name) { return Value(intern(name)); }
    const Value& t() const { return t_; }
    Value boolean(bool b) const { return b ? t_ : Value(); }
    /// Binds a built-in function to its name.
    void define(const char* name, BuiltinFn fn, int minArgs, int maxArgs);
    /// Binds a family's table of built-ins.
    void define(std::span<const Builtin> builtins) {
        for (const Builtin& b : builtins) define(b.name, b.fn, b.minArgs, b.maxArgs);
    }

    Value eval(const Value& form);
    /// Calls a function value (a built-in, a user function, a lambda, or a symbol naming one).
    Value apply(const Value& function, Args& args);
    /// Evaluates the forms of a list in turn; the value of the last.
    Value progn(const Value& forms);

    /// Writes printed output (princ, prompt): whole lines go to the log as they are completed.
    void write(const QString& text);
    /// The user input of the running evaluation, and where it asks when no answer is queued.
    UserIO& userIO();
    UserInputSource& inputSource();
    /// Where tblnext is in each table (by table name).
    int& tableCursor(const QString& table) { return tableCursors_[table]; }
    const EvaluationSettings& settings() const { return settings_; }
    /// The number for the next selection set ("<Selection set: 3>").
    int nextSelectionSetNumber() { return ++selectionSets_; }
    /// Keywords that the next get... function accepts, set by initget (and its bits); used once.
    struct InitGet {
        int bits = 0;
        QStringList keywords;
    };
    InitGet takeInitGet() { return std::exchange(initGet_, {}); }
    void setInitGet(InitGet value) { initGet_ = std::move(value); }

  private:
    Value evalList(const Cons* form);
    Value evalSpecial(SpecialForm form, const Value& args);
    Value callUser(const Usubr& f, Args& args);
    Value makeLambda(const Value& params, const Value& body, QString name);
    void step();
    void flushOutput();

    Document* document_;
    QHash<QString, Symbol*> symbols_;
    std::vector<Value> interned_;  // keeps the symbols alive
    Value t_;
    Symbol* errorHandler_ = nullptr;

    // The running evaluation.
    EvaluationSettings settings_;
    std::int64_t steps_ = 0;
    int depth_ = 0;
    QElapsedTimer clock_;
    const std::function<void(const QString&)>* log_ = nullptr;
    QString output_;
    std::unique_ptr<UserIO> io_;
    UserInputSource* input_ = nullptr;
    QHash<QString, int> tableCursors_;
    bool running_ = false;
    int selectionSets_ = 0;
    InitGet initGet_;
};

// ---- Argument checks shared by the built-ins: each throws the dialect's "bad argument type" ----
[[noreturn]] void badArgument(const char* predicate, const Value& v);
double number(const Value& v);
std::int32_t integer(const Value& v);
const QString& text(const Value& v);
Symbol* symbolArg(const Value& v);
/// A proper list (nil allowed), else "bad argument type: listp".
const Value& listArg(const Value& v);
/// A point: a list of two or three numbers.
db::Point3d point(const Value& v);
bool isPoint(const Value& v);
Value pointValue(const db::Point3d& p, bool withZ = true);

/// The spaces whose entities a program walks (entnext, ssget "X"): model space, then each paper space.
std::vector<db::ObjectId> drawingSpaces(const db::Database& database);

/// entmod: changes the entity a group list names; the list, or nil when it could not be applied.
Value modifyEntity(Interpreter& lisp, const Value& groupList);

// The families of built-in functions, each in its own source.
void addCoreBuiltins(Interpreter& lisp);
void addTextBuiltins(Interpreter& lisp);
void addDrawingBuiltins(Interpreter& lisp);
void addSelectionBuiltins(Interpreter& lisp);
void addInputBuiltins(Interpreter& lisp);
void addObjectModelBuiltins(Interpreter& lisp);

}  // namespace vela::host::lisp

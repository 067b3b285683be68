#include "host/lisp/evaluation.h"

#include "db/database.h"
#include "host/document.h"
#include "host/host.h"

namespace vela::host::lisp {

EvaluationResult evaluateLisp(const QString& expression) {
    Host* host = Host::instance();
    if (!host) return {QStringLiteral("; error: no host"), true, false};
    Document* document = host->documents().activeDocument();
    // Without a drawing, LISP still computes; its globals then live as long as the process.
    static Interpreter* detached = nullptr;
    if (!document && !detached) detached = new Interpreter(nullptr);
    Interpreter& lisp = document ? document->lisp() : *detached;
    db::Database* database = document ? document->database() : nullptr;
    const auto log = [host](const QString& line) { host->services().writeMessage(line); };
    if (database) database->undoManager().beginGroup("LISP");
    const db::UndoManager::Mark start = database ? database->undoManager().mark() : db::UndoManager::Mark{};
    EvaluationResult result =
        lisp.evaluate(expression, host->services().userInput(), log, host->lispSettings());
    if (database && host->documents().documentOf(database)) {
        if (result.limitReached) database->undoManager().rollbackTo(start);
        database->undoManager().endGroup();
    }
    return result;
}

}  // namespace vela::host::lisp

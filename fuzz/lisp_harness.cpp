#include "lisp_harness.h"

#include <fstream>
#include <sstream>

#include "db/database.h"
#include "db/undo_manager.h"
#include "host/document.h"
#include "host/host.h"
#include "host/lisp/evaluation.h"
#include "host/message_sink.h"
#include "saved_drawing.h"

namespace vela::fuzz {

namespace {

// What programs print goes nowhere: a fuzzer printing every princ would spend its time writing.
class DiscardMessages : public host::MessageSink {
  public:
    void writeMessage(const QString&) override {}
};

DiscardMessages g_discard;

// Evaluated after each program: QUOTE is a special form, which no program can redefine, so its answer in a
// working interpreter is known whatever the program did to its globals.
const QString kProbe = QStringLiteral("(quote (probe 1 \"two\" 3.5))");

}  // namespace

LispHarness::LispHarness(const std::string& drawing, const host::lisp::Limits& limits)
    : host_(std::make_unique<host::Host>()) {
    host_->services().setMessageSink(&g_discard);
    host_->lispSettings().limits = limits;
    std::ifstream in(drawing, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    drawing_ = text.str();
    db::DxfReadResult read = db::readDxf(drawing_);
    if (!read.database) {
        error_ = "cannot read " + drawing + ": " + (read.error ? read.error->text() : std::string("no file"));
        return;
    }
    original_ = withoutHandseed(db::writeDxf(*read.database));
    host::Document* document =
        host_->documents().adopt(std::move(read.database), QString::fromStdString(drawing));
    probeAnswer_ = host::lisp::evaluateLisp(kProbe).text;
    host_->documents().close(document);
}

LispHarness::~LispHarness() = default;

LispHarness::Outcome LispHarness::run(std::string_view program) {
    Outcome outcome;
    if (!ready()) {
        outcome.problem = error_;
        return outcome;
    }
    db::DxfReadResult read = db::readDxf(drawing_);
    if (!read.database) {
        outcome.problem = "the drawing no longer reads";
        return outcome;
    }
    db::Database* db = read.database.get();
    host::Document* document = host_->documents().adopt(std::move(read.database), QStringLiteral("fuzz.dxf"));
    db::UndoManager& undo = db->undoManager();
    const std::size_t stepsBefore = undo.undoCount();

    outcome.result =
        host::lisp::evaluateLisp(QString::fromUtf8(program.data(), static_cast<qsizetype>(program.size())));
    std::string& problem = outcome.problem;
    auto check = [&]() -> std::string {
        if (host_->documents().documentOf(db) != document) return "the program's drawing is gone";
        if (host_->documents().activeDocument() != document)
            return "the program's drawing is no longer active";
        if (undo.isGroupOpen()) return "the evaluation leaves an undo group open";
        const std::string after = db::writeDxf(*db);
        if (std::string why = checkSavedDrawing(after); !why.empty()) return why;
        const std::size_t steps = undo.undoCount() - std::min(undo.undoCount(), stepsBefore);
        const std::string changed = withoutHandseed(after);
        if (outcome.result.limitReached && changed != original_)
            return "a program stopped by a limit keeps a change, at " + firstDifference(original_, changed);
        if (steps == 0) {
            if (changed != original_)
                return "the evaluation changes the drawing without an undo step, at " +
                       firstDifference(original_, changed);
        } else {
            if (steps > 1) return "the evaluation takes " + std::to_string(steps) + " undo steps";
            if (undo.undo(1) != 1) return "the undo of the evaluation is refused";
            if (const std::string undone = withoutHandseed(db::writeDxf(*db)); undone != original_)
                return "the undo of the evaluation does not give back the drawing as it was, at " +
                       firstDifference(original_, undone);
            if (undo.redo(1) != 1) return "the redo of the evaluation is refused";
            if (const std::string redone = db::writeDxf(*db); redone != after)
                return "the redo of the evaluation does not give back the drawing as it was after, at " +
                       firstDifference(after, redone);
        }
        const host::lisp::EvaluationResult probe = host::lisp::evaluateLisp(kProbe);
        if (probe.text != probeAnswer_)
            return "after the program the interpreter answers " + probe.text.toStdString() + " to " +
                   kProbe.toStdString() + " instead of " + probeAnswer_.toStdString();
        return {};
    };
    problem = check();
    // Whatever the program opened or closed, the next one starts with no drawing but its own.
    host_->documents().closeAll();
    return outcome;
}

}  // namespace vela::fuzz

// vela-assist shell [DRAWING]: an interactive command line, as in a CAD program. Type a command's name
// (global or local) and answer its prompts; words after the name are taken as its first answers.
#include <editline/readline.h>

#include <QDir>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "bridge/command_catalogue.h"
#include "cli.h"
#include "drawing_loader.h"
#include "host/document.h"
#include "host/lisp/evaluation.h"
#include "host/result_codes.h"
#include "script_runner.h"
#include "session.h"

namespace vela::cli {

namespace {

/// Asks the person at the terminal, with line editing and history. As on a CAD command line a blank ends an
/// answer, so one line may answer several prompts ("LINE 0,0 10,0 10,10"); words not used yet answer the next
/// prompts, shown with them. Ctrl-D (end of input) cancels, as Escape does in a drawing window. The host
/// reads and checks what was typed.
class TerminalInput : public host::UserInputSource {
public:
  int getInput(const host::InputRequest& request, host::InputAnswer& answer) override {
      if (!pending_.isEmpty()) {
          answer.text =
              request.allowSpaces ? std::exchange(pending_, {}).join(QLatin1Char(' ')) : pending_.takeFirst();
          std::printf("%s%s\n", request.prompt.toUtf8().constData(), answer.text.toUtf8().constData());
          return host::RTNORM;
      }
      const QString prompt = request.prompt.isEmpty() ? QStringLiteral("> ") : request.prompt;
      char* line = readline(prompt.toUtf8().constData());
      if (!line) {
          std::puts("");
          return host::RTCAN;
      }
      answer.text = QString::fromUtf8(line).trimmed();
      std::free(line);
      if (!answer.text.isEmpty()) add_history(answer.text.toUtf8().constData());
      if (!request.allowSpaces) {
          pending_ = answer.text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
          answer.text = pending_.isEmpty() ? QString() : pending_.takeFirst();
      }
      return host::RTNORM;
  }
  /// Words typed ahead that no prompt took; they start the next command.
  QStringList takePending() { return std::exchange(pending_, {}); }
  void setPending(QStringList words) { pending_ = std::move(words); }

private:
  QStringList pending_;
};

class TerminalLog : public host::MessageSink {
public:
    void writeMessage(const QString& text) override { std::printf("%s\n", text.toUtf8().constData()); }
};

// How many parentheses of a LISP text are still open (strings and comments left out).
int openParentheses(const QString& text) {
    int depth = 0;
    bool inString = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (inString) {
            if (c == QLatin1Char('\\'))
                ++i;
            else if (c == QLatin1Char('"'))
                inString = false;
        } else if (c == QLatin1Char('"')) {
            inString = true;
        } else if (c == QLatin1Char(';')) {
            while (i < text.size() && text[i] != QLatin1Char('\n')) ++i;
        } else if (c == QLatin1Char('(')) {
            ++depth;
        } else if (c == QLatin1Char(')')) {
            --depth;
        }
    }
    return inString ? 1 : depth;
}

void help(Session& session) {
    std::puts("Drawings:  OPEN path | NEW | CLOSE | SELECT handle...");
    std::puts(
        "Commands (type the name, then answer the prompts; a blank or Enter ends an answer, Ctrl-D "
        "cancels):");
    for (const QString& name : session.host().commands().globalNames()) std::printf("  %s\n", name.toUtf8().constData());
    std::puts(
        "A line that starts with ( is LISP: (entget (entlast)), (command \"LINE\" '(0 0) '(5 5) \"\").");
    std::puts("CALL slot {json} calls one of the assistant's slots as its page would, for example");
    std::puts("  CALL CreateHatch {\"entities\":[{\"pattern\":\"ANSI31\"}]}  (then pick a point)");
    std::printf("  Slots:");
    for (const catalogue::CommandRow* row : bridge::Catalogue()) std::printf(" %s", row->slot);
    std::puts("");
    std::puts("QUIT leaves.");
}

}  // namespace

int shellCommand(const std::vector<std::string>& args) {
    if (args.size() > 1) {
        std::fputs("usage: vela-assist shell [DRAWING]\n", stderr);
        return 2;
    }
    TerminalLog log;
    TerminalInput input;
    Session session(&log);
    session.host().services().setUserInput(&input);
    QString error;
    if (!args.empty() && !session.open(QString::fromStdString(args[0]), &error)) return 1;
    if (!session.loadModule(&error)) {
        std::fprintf(stderr, "vela-assist: %s\n", error.toUtf8().constData());
        return 1;
    }
    const QString historyFile = QDir::home().filePath(QStringLiteral(".vela_assist_history"));
    read_history(historyFile.toUtf8().constData());
    std::puts("VELA AI Assist shell. Type HELP for the commands, QUIT to leave.");
    for (;;) {
        host::Document* doc = session.activeDocument();
        QStringList words = input.takePending();
        if (words.isEmpty()) {
            const QString prompt =
                QStringLiteral("%1 Command: ").arg(doc ? doc->title() : QStringLiteral("(no drawing)"));
            char* raw = readline(prompt.toUtf8().constData());
            if (!raw) break;
            const QString line = QString::fromUtf8(raw).trimmed();
            std::free(raw);
            if (line.isEmpty()) continue;
            // A LISP expression, as at a CAD program's command line; one that is not closed yet goes on over
            // the next lines.
            if (line.startsWith(QLatin1Char('('))) {
                QString expression = line;
                while (openParentheses(expression) > 0) {
                    char* more = readline("(_> ");
                    if (!more) break;
                    expression += QLatin1Char('\n') + QString::fromUtf8(more);
                    std::free(more);
                }
                add_history(expression.toUtf8().constData());
                std::printf("%s\n", host::lisp::evaluateLisp(expression).text.toUtf8().constData());
                continue;
            }
            add_history(line.toUtf8().constData());
            words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        }
        const QString word = words.takeFirst().toUpper();
        const QString rest = words.join(QLatin1Char(' '));
        if (word == QLatin1String("QUIT") || word == QLatin1String("EXIT")) break;
        if (word == QLatin1String("CALL")) {
            // The slot answers once its command has asked whatever it asks (a point to hatch around).
            const QString slot = words.isEmpty() ? QString() : words.takeFirst();
            const std::optional<QString> answer =
                callBridgeSlot(session.bridge(), slot, words.join(QLatin1Char(' ')));
            if (answer)
                std::printf("%s\n", answer->toUtf8().constData());
            else
                std::printf("No slot \"%s\". Type HELP for a list.\n", slot.toUtf8().constData());
            input.takePending();
            continue;
        }
        if (word == QLatin1String("HELP") || word == QLatin1String("?")) {
            help(session);
        } else if (word == QLatin1String("OPEN")) {
            if (!session.open(rest, &error)) std::printf("%s\n", error.toUtf8().constData());
        } else if (word == QLatin1String("NEW")) {
            session.createNew();
        } else if (word == QLatin1String("CLOSE")) {
            if (!session.closeActive()) std::puts("No drawing is open.");
        } else if (word == QLatin1String("SELECT")) {
            if (!doc) {
                std::puts("No drawing is open.");
                continue;
            }
            std::vector<db::ObjectId> ids;
            for (const QString& h : words) {
                const auto handle = db::Handle::fromText(h.toStdString());
                const db::ObjectId id = handle ? doc->database()->getObjectId(*handle) : db::ObjectId();
                if (id.isNull())
                    std::printf("No object with handle %s.\n", h.toUtf8().constData());
                else
                    ids.push_back(id);
            }
            doc->selection().set(ids);
            std::printf("%zu selected.\n", ids.size());
        } else if (!session.host().commands().lookup(word)) {
            std::printf("Unknown command \"%s\". Type HELP for a list.\n", word.toUtf8().constData());
        } else {
            // The words after the name answer the command's first prompts, as typed ahead.
            input.setPending(words);
            const int result = session.host().services().runCommand(word, {});
            if (result == host::RTCAN) {
                std::puts("*Cancel*");
                input.takePending();
            }
            if (result == host::RTERROR) std::puts("Command failed.");
        }
    }
    write_history(historyFile.toUtf8().constData());
    return 0;
}

}  // namespace vela::cli

// vela-assist shell [DRAWING]: an interactive command line, as in a CAD program. Type a command's name
// (global or local) and answer its prompts; words after the name are taken as its first answers.
#include <editline/readline.h>

#include <QDir>
#include <cstdio>
#include <cstdlib>

#include "cli.h"
#include "drawing_loader.h"
#include "host/document.h"
#include "host/result_codes.h"
#include "session.h"

namespace vela::cli {

namespace {

/// Asks the person at the terminal, with line editing and history.
class TerminalInput : public host::UserInputSource {
public:
    int getString(const QString& prompt, bool allowSpaces, QString& answer) override {
        char* line = readline((prompt.isEmpty() ? QStringLiteral("> ") : prompt + QLatin1Char(' ')).toUtf8().constData());
        if (!line) return host::RTCAN;  // end of input or Ctrl-D
        answer = QString::fromUtf8(line).trimmed();
        std::free(line);
        if (!allowSpaces) answer = answer.section(QLatin1Char(' '), 0, 0);
        return host::RTNORM;
    }
    int getPoint(const QString& prompt, host::InputTracker* tracker, db::Point3d& answer) override {
        for (;;) {
            QString text;
            if (getString(prompt + QStringLiteral(" (x,y[,z])"), true, text) != host::RTNORM || text.isEmpty())
                return host::RTCAN;
            const QStringList parts = text.split(QLatin1Char(','));
            bool good = parts.size() == 2 || parts.size() == 3;
            double v[3] = {0, 0, 0};
            for (qsizetype i = 0; good && i < parts.size(); ++i) v[i] = parts[i].trimmed().toDouble(&good);
            if (good) {
                answer = db::Point3d(v[0], v[1], v[2]);
                if (tracker) tracker->track(answer);
                return host::RTNORM;
            }
            std::puts("Point expected: two or three numbers separated by commas.");
        }
    }
};

class TerminalLog : public host::MessageSink {
public:
    void writeMessage(const QString& text) override { std::printf("%s\n", text.toUtf8().constData()); }
};

void help(Session& session) {
    std::puts("Drawing:  OPEN path | NEW | SAVE path | CLOSE | UNDO [n] | REDO [n] | SELECT handle...");
    std::puts("Commands of the host (type the name, then answer the prompts):");
    for (const QString& name : session.host().commands().globalNames()) std::printf("  %s\n", name.toUtf8().constData());
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
        const QString prompt = QStringLiteral("%1 Command: ").arg(doc ? doc->title() : QStringLiteral("(no drawing)"));
        char* raw = readline(prompt.toUtf8().constData());
        if (!raw) break;
        const QString line = QString::fromUtf8(raw).trimmed();
        std::free(raw);
        if (line.isEmpty()) continue;
        add_history(line.toUtf8().constData());
        QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const QString word = words.takeFirst().toUpper();
        const QString rest = words.join(QLatin1Char(' '));
        if (word == QLatin1String("QUIT") || word == QLatin1String("EXIT")) break;
        if (word == QLatin1String("HELP") || word == QLatin1String("?")) {
            help(session);
        } else if (word == QLatin1String("OPEN")) {
            if (!session.open(rest, &error)) std::printf("%s\n", error.toUtf8().constData());
        } else if (word == QLatin1String("NEW")) {
            session.createNew();
        } else if (word == QLatin1String("SAVE")) {
            const QString path = rest.isEmpty() && doc ? doc->path() : rest;
            if (path.isEmpty())
                std::puts("SAVE needs a file path.");
            else if (!session.save(path, &error))
                std::printf("%s\n", error.toUtf8().constData());
            else
                std::printf("Saved %s\n", path.toUtf8().constData());
        } else if (word == QLatin1String("CLOSE")) {
            if (!session.closeActive()) std::puts("No drawing is open.");
        } else if (word == QLatin1String("UNDO") || word == QLatin1String("REDO")) {
            if (!doc) {
                std::puts("No drawing is open.");
                continue;
            }
            const int steps = rest.isEmpty() ? 1 : rest.toInt();
            db::UndoManager& undo = doc->database()->undoManager();
            const std::size_t done = word == QLatin1String("UNDO") ? undo.undo(steps > 0 ? steps : 1)
                                                                    : undo.redo(steps > 0 ? steps : 1);
            std::printf("%zu step(s) %s.\n", done, word == QLatin1String("UNDO") ? "undone" : "redone");
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
            const int result = session.host().services().runCommand(word, words);
            if (result == host::RTCAN) std::puts("*Cancel*");
            if (result == host::RTERROR) std::puts("Command failed.");
        }
    }
    write_history(historyFile.toUtf8().constData());
    return 0;
}

}  // namespace vela::cli

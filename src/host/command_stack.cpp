#include "host/command_stack.h"

#include <algorithm>

#include "host/command.h"
#include "host/command_context.h"
#include "host/document.h"
#include "host/document_manager.h"
#include "host/result_codes.h"

namespace vela::host {

bool CommandStack::addCommand(Command* command) {
    if (!command || lookup(command->globalName())) return false;
    commands_.push_back(command);
    return true;
}

bool CommandStack::removeCommand(Command* command) {
    auto it = std::find(commands_.begin(), commands_.end(), command);
    if (it == commands_.end()) return false;
    commands_.erase(it);
    return true;
}

Command* CommandStack::lookup(const QString& typed) const {
    QStringView name = QStringView(typed).trimmed();
    bool global = false;
    for (int i = 0; i < 2 && !name.isEmpty(); ++i) {
        if (name.front() == u'.')
            name = name.sliced(1);
        else if (name.front() == u'_' && !global)
            name = name.sliced(1), global = true;
    }
    if (name.isEmpty()) return nullptr;
    auto globalIs = [&](const QString& g) {
        return g.compare(name, Qt::CaseInsensitive) == 0 ||
               (g.startsWith(QLatin1Char('_')) &&
                QStringView(g).sliced(1).compare(name, Qt::CaseInsensitive) == 0);
    };
    if (!global)
        for (Command* c : commands_)
            if (c->localName().compare(name, Qt::CaseInsensitive) == 0) return c;
    for (Command* c : commands_)
        if (globalIs(c->globalName())) return c;
    return nullptr;
}

QStringList CommandStack::globalNames() const {
    QStringList names;
    for (Command* c : commands_) names << c->globalName();
    return names;
}

int CommandStack::run(const QString& name, const QStringList& args, UserInputSource& input,
                      QStringList* unused) {
    Command* command = lookup(name);
    if (!command) return RTERROR;
    Document* document = documents_.activeDocument();
    db::Database* database = document ? document->database() : nullptr;
    UserIO io(args, input);
    io.setLog(log_, echo_ && echo_());
    if (document) io.setLastPoint(&document->lastPoint());
    CommandContext context(document, io);
    const bool grouped = database && command->runsInUndoGroup();
    ++depth_;
    if (grouped) database->undoManager().beginGroup(command->globalName().toStdString());
    const db::UndoManager::Mark start = grouped ? database->undoManager().mark() : db::UndoManager::Mark{};
    // Takes back what this run did and closes its group: a group begun outside (UNDO BEgin, a trial run)
    // keeps what came before.
    auto rollBack = [&] {
        database->undoManager().rollbackTo(start);
        database->undoManager().endGroup();
    };
    int result = RTERROR;
    try {
        result = command->execute(context);
    } catch (...) {
        --depth_;
        // A command run by another is part of that one's step: the outermost run decides.
        if (depth_ > 0) throw;
        // A command that throws has failed: what it changed is rolled back so the drawing stays consistent.
        if (grouped && documents_.documentOf(database)) rollBack();
        return RTERROR;
    }
    --depth_;
    if (unused) *unused = io.remaining();
    // The command may have closed its own document.
    if (grouped && documents_.documentOf(database)) {
        // Cancelled: what the run did is taken back (a command or program that ran it keeps its own work and
        // goes on), and no step is kept.
        if (result == RTCAN)
            rollBack();
        else
            database->undoManager().endGroup();
    }
    return result;
}

}  // namespace vela::host

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

Command* CommandStack::lookup(const QString& name) const {
    for (Command* c : commands_)
        if (c->globalName().compare(name, Qt::CaseInsensitive) == 0) return c;
    for (Command* c : commands_)
        if (c->localName().compare(name, Qt::CaseInsensitive) == 0) return c;
    return nullptr;
}

QStringList CommandStack::globalNames() const {
    QStringList names;
    for (Command* c : commands_) names << c->globalName();
    return names;
}

int CommandStack::run(const QString& name, const QStringList& args, UserInputSource& input) {
    Command* command = lookup(name);
    if (!command) return RTERROR;
    Document* document = documents_.activeDocument();
    db::Database* database = document ? document->database() : nullptr;
    UserIO io(args, input);
    CommandContext context(document, io);
    ++depth_;
    if (database) database->undoManager().beginGroup(command->globalName().toStdString());
    int result = RTERROR;
    try {
        result = command->execute(context);
    } catch (...) {
        --depth_;
        // A command run by another is part of that one's step: the outermost run decides.
        if (depth_ > 0) throw;
        // A command that throws has failed: what it changed is rolled back so the drawing stays consistent.
        if (database && documents_.documentOf(database)) database->undoManager().abortGroup();
        return RTERROR;
    }
    --depth_;
    // The command may have closed its own document.
    if (database && documents_.documentOf(database)) database->undoManager().endGroup();
    return result;
}

}  // namespace vela::host

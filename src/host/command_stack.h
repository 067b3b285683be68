#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <vector>

namespace vela::host {

class Command;
class DocumentManager;
class UserInputSource;

/// The commands the host knows, by global and by local name, and the way to run one.
class CommandStack {
public:
    explicit CommandStack(DocumentManager& documents) : documents_(documents) {}

    /// Adds a command; false when a command with the same global name is there already.
    bool addCommand(Command* command);
    /// Removes a command (by identity); false when it was not there.
    bool removeCommand(Command* command);
    /// The command with this global name ("_LINE") or local name ("LINE"), compared without regard to case.
    Command* lookup(const QString& name) const;
    /// Global names in the order the commands were added.
    QStringList globalNames() const;

    /// Runs a command synchronously in the active document, with `args` queued as its first input, as one undo
    /// step of that document: a command that changed nothing leaves no step, one that fails or throws rolls its
    /// changes back. Returns the command's result code, RTERROR for an unknown command.
    int run(const QString& name, const QStringList& args, UserInputSource& input);
    /// Nesting depth of runs in progress (a command may run another).
    int depth() const { return depth_; }

private:
    DocumentManager& documents_;
    std::vector<Command*> commands_;
    int depth_ = 0;
};

}  // namespace vela::host

#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>
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
    /// The command a user means by `name`, compared without regard to case: a local name ("LINE"), or a
    /// global one; a leading "_" asks for the global name only ("_LINE", or "_V3_SELECTENTITIES" for a
    /// command whose global name has the underscore), and a leading "." (before or after it) is the CAD
    /// users' way of saying "the built-in command", which is the only kind there is here ("_.LINE", "._LINE",
    /// ".LINE").
    Command* lookup(const QString& name) const;
    /// Global names in the order the commands were added.
    QStringList globalNames() const;

    /// Runs a command synchronously in the active document, with `args` queued as its first input, as one
    /// undo step of that document: a command that changed nothing leaves no step; one that is cancelled
    /// (RTCAN) rolls its changes back, even when another command or a program runs it; one that throws too,
    /// unless another command runs it (that one decides). Returns the command's result code, RTERROR for an
    /// unknown command. The answers the command did not ask for go
    /// to `unused` (a program's next command, as on a command line).
    int run(const QString& name, const QStringList& args, UserInputSource& input,
            QStringList* unused = nullptr);
    /// Nesting depth of runs in progress (a command may run another).
    int depth() const { return depth_; }
    /// Where the command-line log goes (refused input, queued answers echoed when `echo` says so).
    void setLog(std::function<void(const QString&)> log, std::function<bool()> echo) {
        log_ = std::move(log), echo_ = std::move(echo);
    }

private:
    DocumentManager& documents_;
    std::vector<Command*> commands_;
    int depth_ = 0;
    std::function<void(const QString&)> log_;
    std::function<bool()> echo_;
};

}  // namespace vela::host

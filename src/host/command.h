#pragma once

#include <QString>

namespace vela::host {

class CommandContext;

/// A command the user (or a program) can run by name. The global name is the same in every language; the
/// local name is what the user types and sees, translated.
class Command {
public:
    virtual ~Command() = default;
    virtual QString globalName() const = 0;
    virtual QString localName() const = 0;
    /// Commands of one module share a group, so that they can be listed and removed together.
    virtual QString groupName() const { return QStringLiteral("VELA"); }
    /// Runs the command; returns RTNORM, RTERROR or RTCAN.
    virtual int execute(CommandContext& context) = 0;
    /// False for commands that work on undo itself (UNDO, REDO, U): they run outside any undo group.
    virtual bool runsInUndoGroup() const { return true; }
    /// True for commands that read or write files (SAVE): a sandboxed program may not run them.
    virtual bool touchesFiles() const { return false; }
};

}  // namespace vela::host

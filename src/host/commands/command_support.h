#pragma once

#include <QString>
#include <memory>
#include <vector>

#include "db/entity.h"
#include "db/geometry/matrix.h"
#include "host/command.h"
#include "host/command_context.h"
#include "host/result_codes.h"

namespace vela::host {
class CommandStack;
}

namespace vela::host::commands {

/// One of the host's own drawing commands: a global name ("LINE"), its local name from the translation
/// catalogue (context "host_commands"), and its body.
class HostCommand : public Command {
  public:
    using Body = int (*)(CommandContext&);
    HostCommand(const char* name, Body body, bool inUndoGroup = true, bool touchesFiles = false)
        : name_(name), body_(body), inUndoGroup_(inUndoGroup), touchesFiles_(touchesFiles) {}
    QString globalName() const override { return QString::fromLatin1(name_); }
    QString localName() const override;
    QString groupName() const override { return QStringLiteral("ACAD"); }
    int execute(CommandContext& context) override;
    bool runsInUndoGroup() const override { return inUndoGroup_; }
    bool touchesFiles() const override { return touchesFiles_; }

  private:
    const char* name_;
    Body body_;
    bool inUndoGroup_;
    bool touchesFiles_;
};

/// Makes the host's drawing commands and adds them to `stack`; the caller keeps them alive.
std::vector<std::unique_ptr<Command>> addDrawingCommands(CommandStack& stack);

// ---- What the commands share
// -------------------------------------------------------------------------------

/// The space new entities go to and selections look in.
db::ObjectId activeSpace(CommandContext& context);
/// Appends an entity to the active space with the drawing's current layer, color, linetype, lineweight and
/// linetype scale. Null when the drawing refused it.
db::ObjectId addEntity(CommandContext& context, std::unique_ptr<db::Entity> entity);
/// Erases an entity made earlier in the same command (an option "Undo" inside LINE or PLINE).
void eraseEntity(db::ObjectId id);

/// Asks for objects the way CAD programs do, until the user answers with Enter: handles typed as text, "L"
/// (the last entity drawn), "ALL", "W" and "C" (a window, or a crossing window, by two corners), "P" (the
/// previous selection), "R"/"A" to remove or add from then on. When the command started with a selection
/// (noun-verb), that selection is taken without asking. Entities on locked layers are left out with a note.
/// RTNORM with at least one object, RTNONE when nothing was chosen, RTCAN.
int selectObjects(CommandContext& context, std::vector<db::ObjectId>& ids,
                  const QString& prompt = QStringLiteral("Select objects"));
/// Asks for one object: a handle typed as text or "L". `prompt` may carry keywords (RTKWORD, RTNONE).
int pickObject(CommandContext& context, const Prompt& prompt, db::ObjectId& id);

/// Copies entities into the active space (new handles, same properties); the copies in the same order.
std::vector<db::ObjectId> copyEntities(CommandContext& context, const std::vector<db::ObjectId>& ids);
/// Applies `matrix` to each entity; tells the user how many could not take it. Returns how many moved.
std::size_t transformEntities(CommandContext& context, const std::vector<db::ObjectId>& ids,
                              const db::Matrix3d& matrix);

/// "No drawing is open." when there is none; then the command returns RTERROR.
bool haveDrawing(CommandContext& context);
/// A number as the command line shows it: up to four decimals, trailing zeros dropped.
QString numberText(double value);
QString pointText(const db::Point3d& p);

// The bodies, one per command, in the files of their families.
int lineCommand(CommandContext&);
int circleCommand(CommandContext&);
int arcCommand(CommandContext&);
int ellipseCommand(CommandContext&);
int pointCommand(CommandContext&);
int textCommand(CommandContext&);
int rectangCommand(CommandContext&);
int plineCommand(CommandContext&);
int eraseCommand(CommandContext&);
int moveCommand(CommandContext&);
int copyCommand(CommandContext&);
int rotateCommand(CommandContext&);
int scaleCommand(CommandContext&);
int mirrorCommand(CommandContext&);
int offsetCommand(CommandContext&);
int explodeCommand(CommandContext&);
int matchpropCommand(CommandContext&);
int layerCommand(CommandContext&);
int zoomCommand(CommandContext&);
int undoCommand(CommandContext&);
int uCommand(CommandContext&);
int redoCommand(CommandContext&);
int saveCommand(CommandContext&);
int qsaveCommand(CommandContext&);
int setvarCommand(CommandContext&);
int getvarCommand(CommandContext&);

}  // namespace vela::host::commands

#include "host/commands/command_support.h"

#include <QCoreApplication>
#include <cmath>

#include "db/database.h"
#include "host/command_stack.h"
#include "host/commands/object_selection.h"
#include "host/document.h"
#include "host/entity_transform.h"
#include "host/text/number_text.h"

namespace vela::host::commands {

namespace {

struct Row {
    const char* name;
    HostCommand::Body body;
    bool inUndoGroup = true;
    bool touchesFiles = false;
};

// The host's own commands, in the order HELP lists them. UNDO, U and REDO work on undo itself and so run
// outside any undo group; SAVE and QSAVE write files, which sandboxed programs may not.
const Row kRows[] = {
    {"LINE", lineCommand},
    {"CIRCLE", circleCommand},
    {"ARC", arcCommand},
    {"PLINE", plineCommand},
    {"ELLIPSE", ellipseCommand},
    {"POINT", pointCommand},
    {"TEXT", textCommand},
    {"RECTANG", rectangCommand},
    {"ERASE", eraseCommand},
    {"MOVE", moveCommand},
    {"COPY", copyCommand},
    {"ROTATE", rotateCommand},
    {"SCALE", scaleCommand},
    {"MIRROR", mirrorCommand},
    {"OFFSET", offsetCommand},
    {"EXPLODE", explodeCommand},
    {"MATCHPROP", matchpropCommand},
    {"-LAYER", layerCommand},
    {"ZOOM", zoomCommand},
    {"UNDO", undoCommand, false},
    {"U", uCommand, false},
    {"REDO", redoCommand, false},
    {"SAVE", saveCommand, true, true},
    {"QSAVE", qsaveCommand, true, true},
    {"SETVAR", setvarCommand},
    {"GETVAR", getvarCommand},
};

}  // namespace

QString HostCommand::localName() const {
    return QCoreApplication::translate("host_commands", name_,
                                       "Command Name: Needs to be unique and all uppercase.");
}

int HostCommand::execute(CommandContext& context) {
    // What was selected when the command started is its object selection (noun-verb), once.
    PickFirst pickFirst(context);
    return body_(context);
}

std::vector<std::unique_ptr<Command>> addDrawingCommands(CommandStack& stack) {
    std::vector<std::unique_ptr<Command>> made;
    for (const Row& row : kRows) {
        made.push_back(std::make_unique<HostCommand>(row.name, row.body, row.inUndoGroup, row.touchesFiles));
        stack.addCommand(made.back().get());
    }
    return made;
}

bool haveDrawing(CommandContext& context) {
    if (context.document()) return true;
    context.userIO().message(QStringLiteral("No drawing is open."));
    return false;
}

db::ObjectId activeSpace(CommandContext& context) {
    return context.document() ? context.document()->activeSpaceId() : db::ObjectId();
}

db::ObjectId addEntity(CommandContext& context, std::unique_ptr<db::Entity> entity) {
    db::Database* database = context.database();
    if (!database) return {};
    entity->setDatabaseDefaults(database);
    db::ObjectId id;
    if (database->appendEntity(activeSpace(context), std::move(entity), &id) != db::ErrorStatus::Ok)
        return {};
    return id;
}

void eraseEntity(db::ObjectId id) {
    if (auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForWrite)) entity->erase();
}

std::vector<db::ObjectId> copyEntities(CommandContext& context, const std::vector<db::ObjectId>& ids) {
    db::Database* database = context.database();
    std::vector<db::ObjectId> copies;
    if (!database) return copies;
    db::IdMapping mapping;
    if (database->deepCloneObjects(ids, activeSpace(context), mapping) != db::ErrorStatus::Ok) return copies;
    for (db::ObjectId id : ids)
        if (auto it = mapping.find(id); it != mapping.end()) copies.push_back(it->second);
    return copies;
}

std::size_t transformEntities(CommandContext& context, const std::vector<db::ObjectId>& ids,
                              const db::Matrix3d& matrix) {
    std::size_t moved = 0, refused = 0;
    for (db::ObjectId id : ids) {
        const EntityTransform done = transformEntity(id, {&matrix, 1});
        if (done.ok())
            ++moved;
        else if (done.opened)
            ++refused;
    }
    if (refused)
        context.userIO().message(
            QStringLiteral("%1 object(s) could not take the change and were left as they were.")
                .arg(refused));
    return moved;
}

QString numberText(double value) {
    if (std::abs(value) < 5e-5) value = 0;
    QString t = QString::number(value, 'f', 4);
    if (t.contains(QLatin1Char('.'))) {
        while (t.endsWith(QLatin1Char('0'))) t.chop(1);
        if (t.endsWith(QLatin1Char('.'))) t.chop(1);
    }
    return t;
}

QString pointText(const db::Point3d& p) {
    return numberText(p.x) + QLatin1Char(',') + numberText(p.y) + QLatin1Char(',') + numberText(p.z);
}

}  // namespace vela::host::commands

// The commands on the drawing's state rather than its entities: ZOOM, UNDO, U, REDO, SAVE, QSAVE, SETVAR,
// GETVAR.
#include <QFileInfo>

#include "db/database.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "host/commands/command_support.h"
#include "host/document.h"
#include "host/host.h"
#include "host/system_variables.h"

namespace vela::host::commands {

namespace {

/// The box of the active space's entities on layers that are shown.
db::Extents3d visibleExtents(CommandContext& context) {
    db::Extents3d box;
    auto* space = db::objectCast<db::BlockTableRecord>(activeSpace(context).peek());
    if (!space) return box;
    space->forEachEntity([&](db::Entity* e) {
        const auto* layer = db::objectCast<db::LayerTableRecord>(e->layerId().peek());
        if (layer && (layer->isOff() || layer->isFrozen())) return;
        db::Extents3d extents;
        if (e->getGeomExtents(extents) == db::ErrorStatus::Ok && extents.isValid()) box.addExtents(extents);
    });
    return box;
}

void reportView(CommandContext& context) {
    const View& view = context.document()->view();
    context.userIO().message(
        QStringLiteral("View: center %1, %2 wide, %3 high.")
            .arg(pointText(view.center()), numberText(view.width()), numberText(view.height())));
}

/// Undoes up to `steps` commands, naming each as CAD programs do.
void undoSteps(CommandContext& context, std::size_t steps) {
    db::UndoManager& undo = context.database()->undoManager();
    if (undo.isGroupOpen()) {
        context.userIO().message(
            QStringLiteral("Undo is not possible while a group (UNDO Begin) is open; end it first."));
        return;
    }
    QStringList names;
    for (std::size_t i = 0; i < steps && undo.canUndo(); ++i) {
        names << QString::fromStdString(undo.undoName());
        undo.undo(1);
    }
    if (!names.isEmpty()) context.userIO().message(names.join(QLatin1Char(' ')));
    if (names.size() < static_cast<qsizetype>(steps))
        context.userIO().message(QStringLiteral("Everything has been undone"));
}

int saveTo(CommandContext& context, const QString& path) {
    if (Host* host = Host::instance(); host && !host->mayWriteFile(path)) {
        context.userIO().message(
            QStringLiteral(
                "The drawing could not be saved: %1 is outside the folder files may be written to (%2)")
                .arg(path, host->fileRoot()));
        return RTERROR;
    }
    const db::SaveResult saved = db::saveDxfFile(*context.database(), path.toStdString());
    if (!saved.ok) {
        context.userIO().message(
            QStringLiteral("The drawing could not be saved: %1").arg(QString::fromStdString(saved.error)));
        return RTERROR;
    }
    context.document()->setPath(QFileInfo(path).absoluteFilePath());
    context.userIO().message(QStringLiteral("Saved %1").arg(path));
    return RTNORM;
}

}  // namespace

int zoomCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    View& view = context.document()->view();
    db::Point3d corner;
    const int r = io.getPoint(
        Prompt(QStringLiteral("Specify corner of window, enter a scale factor (nX), or"))
            .withKeywords({QStringLiteral("All"), QStringLiteral("Extents"), QStringLiteral("Window")})
            .withDefault(QStringLiteral("Extents")),
        corner);
    if (r == RTCAN) return RTCAN;
    if (r == RTKWORD && io.keyword() != QLatin1String("Window")) {
        // All shows at least the drawing's origin region as well as every entity; Extents just the entities.
        db::Extents3d box = visibleExtents(context);
        if (io.keyword() == QLatin1String("All")) box.addPoint(db::Point3d());
        if (!box.isValid()) box.addPoint(db::Point3d());
        view.zoomToExtents(box);
    } else {
        if (r == RTKWORD && io.getPoint(Prompt(QStringLiteral("Specify first corner")), corner) != RTNORM)
            return RTCAN;
        db::Point3d other;
        for (;;) {
            if (io.getPoint(Prompt(QStringLiteral("Specify opposite corner")).from(corner), other) != RTNORM)
                return RTCAN;
            if (std::abs(other.x - corner.x) > 0 && std::abs(other.y - corner.y) > 0) break;
            io.message(QStringLiteral("The window must have an area."));
        }
        db::Extents3d box;
        box.addPoint(corner);
        box.addPoint(other);
        view.zoomToExtents(box, 1.0);
    }
    reportView(context);
    return RTNORM;
}

int undoCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::UndoManager& undo = context.database()->undoManager();
    int steps = 1;
    const int r = io.getInteger(Prompt(QStringLiteral("Enter the number of operations to undo or"))
                                    .withKeywords({QStringLiteral("BEgin"), QStringLiteral("End"),
                                                   QStringLiteral("Mark"), QStringLiteral("Back")})
                                    .withDefault(QStringLiteral("1"))
                                    .above(),
                                steps);
    if (r == RTCAN) return RTCAN;
    if (r == RTNORM) {
        undoSteps(context, static_cast<std::size_t>(steps));
        return RTNORM;
    }
    std::vector<std::size_t>& marks = context.document()->undoMarks();
    const QString option = io.keyword();
    if (option == QLatin1String("BEgin")) {
        // Commands until UNDO End become one step.
        if (undo.isGroupOpen()) undo.endGroup();
        undo.beginGroup("GROUP");
    } else if (option == QLatin1String("End")) {
        if (undo.isGroupOpen()) undo.endGroup();
    } else if (option == QLatin1String("Mark")) {
        if (undo.isGroupOpen()) undo.endGroup();
        marks.push_back(undo.undoCount());
    } else {  // Back: to the last mark, or everything
        if (undo.isGroupOpen()) undo.endGroup();
        while (!marks.empty() && marks.back() > undo.undoCount()) marks.pop_back();
        if (marks.empty()) {
            const int yes = io.getKeyword(Prompt(QStringLiteral("This will undo everything. OK?"))
                                              .withKeywords({QStringLiteral("Yes"), QStringLiteral("No")})
                                              .withDefault(QStringLiteral("Yes")));
            if (yes == RTCAN) return RTCAN;
            if (io.keyword() == QLatin1String("Yes")) undoSteps(context, undo.undoCount());
            return RTNORM;
        }
        undoSteps(context, undo.undoCount() - marks.back());
        marks.pop_back();
        io.message(QStringLiteral("Mark encountered"));
    }
    return RTNORM;
}

int uCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    undoSteps(context, 1);
    return RTNORM;
}

int redoCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    db::UndoManager& undo = context.database()->undoManager();
    if (undo.isGroupOpen() || !undo.canRedo()) {
        context.userIO().message(QStringLiteral("Nothing to redo."));
        return RTNORM;
    }
    undo.redo(1);
    context.userIO().message(QString::fromStdString(undo.undoName()));
    return RTNORM;
}

int saveCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    const QString current = context.document()->path();
    QString path;
    Prompt prompt(QStringLiteral("Save drawing as"));
    if (!current.isEmpty()) prompt.withDefault(current);
    for (;;) {
        if (context.userIO().getText(prompt, true, path) != RTNORM) return RTCAN;
        path = path.trimmed();
        if (!path.isEmpty()) break;
    }
    if (!path.endsWith(QLatin1String(".dxf"), Qt::CaseInsensitive)) path += QLatin1String(".dxf");
    return saveTo(context, path);
}

int qsaveCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    // A drawing never saved is asked a name for, as SAVE does.
    if (context.document()->path().isEmpty()) return saveCommand(context);
    return saveTo(context, context.document()->path());
}

int setvarCommand(CommandContext& context) {
    UserIO& io = context.userIO();
    SystemVariables& variables = systemVariables();
    QString name;
    for (;;) {
        const int r =
            io.getText(Prompt(QStringLiteral("Enter variable name or")).withKeywords({QStringLiteral("?")}),
                       false, name);
        if (r == RTCAN) return RTCAN;
        if (r == RTKWORD) {
            for (const SystemVariables::Info& info : SystemVariables::all()) {
                const std::optional<VariableValue> v =
                    variables.get(QString::fromLatin1(info.name), context.document());
                io.message(
                    QStringLiteral("%1 %2%3").arg(QString::fromLatin1(info.name).leftJustified(12),
                                                  v ? SystemVariables::displayText(*v).leftJustified(20)
                                                    : QStringLiteral("(no drawing)").leftJustified(20),
                                                  info.readOnly ? QStringLiteral("(read only)") : QString()));
            }
            continue;
        }
        if (SystemVariables::find(name)) break;
        io.message(QStringLiteral("Unknown variable name.  Type SETVAR ? for a list of variables."));
    }
    const SystemVariables::Info* info = SystemVariables::find(name);
    const QString key = QString::fromLatin1(info->name);
    const std::optional<VariableValue> now = variables.get(key, context.document());
    if (info->readOnly) {
        io.message(QStringLiteral("%1 = %2 (read only)")
                       .arg(key, now ? SystemVariables::displayText(*now) : QString()));
        return RTNORM;
    }
    if (!now) {
        io.message(QStringLiteral("No drawing is open."));
        return RTERROR;
    }
    Prompt prompt(QStringLiteral("Enter new value for %1").arg(key));
    // The default is shown as the value reads back (texts without their quotes).
    const QString* text = std::get_if<QString>(&*now);
    prompt.withDefault(text ? *text : SystemVariables::displayText(*now));
    for (;;) {
        QString value;
        if (io.getText(prompt, info->type == SystemVariables::Type::Text, value) != RTNORM) return RTCAN;
        const QString error = variables.setFromText(key, value, context.document());
        if (error.isEmpty()) return RTNORM;
        io.message(error);
    }
}

int getvarCommand(CommandContext& context) {
    UserIO& io = context.userIO();
    QString name;
    for (;;) {
        if (io.getText(Prompt(QStringLiteral("Enter variable name")), false, name) != RTNORM) return RTCAN;
        if (SystemVariables::find(name)) break;
        io.message(QStringLiteral("Unknown variable name."));
    }
    const QString key = QString::fromLatin1(SystemVariables::find(name)->name);
    const std::optional<VariableValue> value = systemVariables().get(key, context.document());
    io.message(QStringLiteral("%1 = %2").arg(
        key, value ? SystemVariables::displayText(*value) : QStringLiteral("(no drawing)")));
    return RTNORM;
}

}  // namespace vela::host::commands

#include "script_runner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaMethod>
#include <cmath>
#include <vector>

#include "bridge/command_call.h"
#include "db/database.h"
#include "db/undo_manager.h"
#include "host/document.h"
#include "picture_file.h"
#include "properties/handle_text.h"
#include "render/render.h"
#include "session.h"

namespace vela::cli {

namespace {

QString text(const QJsonObject& o) { return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact)); }

QJsonObject ok() { return QJsonObject{{QStringLiteral("ok"), true}}; }

QJsonObject failure(const QString& why) {
    return QJsonObject{{QStringLiteral("ok"), false}, {QStringLiteral("error"), why}};
}

// The bridge's slot of that name, or an invalid method.
QMetaMethod slotNamed(const QObject& object, const QString& name) {
    const QMetaObject* meta = object.metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod m = meta->method(i);
        if (m.methodType() == QMetaMethod::Slot && m.access() == QMetaMethod::Public &&
            QString::fromLatin1(m.name()) == name)
            return m;
    }
    return {};
}

}  // namespace

QString ScriptRunner::answer(const QByteArray& line) {
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(line, &error);
    if (error.error != QJsonParseError::NoError)
        return text(failure(QStringLiteral("not JSON: %1 at offset %2").arg(error.errorString()).arg(error.offset)));
    if (!doc.isObject()) return text(failure(QStringLiteral("a line must be one JSON object")));
    const QJsonObject request = doc.object();

    if (request.contains(QStringLiteral("call"))) return call(request);
    if (request.contains(QStringLiteral("command"))) {
        const QString name = request.value(QStringLiteral("command")).toString();
        if (name.isEmpty()) return text(failure(QStringLiteral("\"command\" must name a command")));
        QStringList input;
        for (const QJsonValue& v : request.value(QStringLiteral("input")).toArray()) {
            if (!v.isString()) return text(failure(QStringLiteral("\"input\" must be a list of texts")));
            input << v.toString();
        }
        const int result = session_.host().services().runCommand(name, input);
        return text(QJsonObject{{QStringLiteral("result"), result}});
    }
    if (request.contains(QStringLiteral("select"))) return text(select(request));
    if (request.contains(QStringLiteral("setting"))) return text(setting(request));
    if (request.contains(QStringLiteral("capability"))) return text(capability(request));
    if (request.contains(QStringLiteral("open"))) {
        QString why;
        const QString path = request.value(QStringLiteral("open")).toString();
        if (path.isEmpty()) return text(failure(QStringLiteral("\"open\" needs a file path")));
        return text(session_.open(path, &why) ? ok() : failure(why));
    }
    if (request.contains(QStringLiteral("close"))) {
        if (!session_.activeDocument()) return text(failure(QStringLiteral("no drawing is open")));
        session_.host().documents().closeAll();
        return text(ok());
    }
    if (request.contains(QStringLiteral("save"))) {
        QString why;
        const QString path = request.value(QStringLiteral("save")).toString();
        if (path.isEmpty()) return text(failure(QStringLiteral("\"save\" needs a file path")));
        return text(session_.save(path, &why) ? ok() : failure(why));
    }
    if (request.contains(QStringLiteral("undo"))) return text(undoRedo(request, true));
    if (request.contains(QStringLiteral("redo"))) return text(undoRedo(request, false));
    if (request.contains(QStringLiteral("render"))) return text(render(request));
    return text(failure(QStringLiteral("unknown request: expected one of call, command, select, setting, "
                                       "capability, open, close, save, undo, redo, render")));
}

std::optional<QString> callBridgeSlot(QObject& bridge, const QString& name, const QString& argument) {
    const QMetaMethod method = slotNamed(bridge, name);
    if (!method.isValid()) return std::nullopt;
    if (method.returnType() == QMetaType::QString) {
        QString result;
        if (method.parameterCount() == 1)
            method.invoke(&bridge, Qt::DirectConnection, Q_RETURN_ARG(QString, result),
                          Q_ARG(QString, argument));
        else
            method.invoke(&bridge, Qt::DirectConnection, Q_RETURN_ARG(QString, result));
        return result;
    }
    if (method.returnType() == QMetaType::Bool) {
        bool result = false;
        method.invoke(&bridge, Qt::DirectConnection, Q_RETURN_ARG(bool, result), Q_ARG(QString, argument));
        return result ? QStringLiteral("true") : QStringLiteral("false");
    }
    if (method.parameterCount() == 1)
        method.invoke(&bridge, Qt::DirectConnection, Q_ARG(QString, argument));
    else
        method.invoke(&bridge, Qt::DirectConnection);
    return QString();
}

QString ScriptRunner::call(const QJsonObject& request) {
    const QString name = request.value(QStringLiteral("call")).toString();
    const std::optional<QString> answer =
        callBridgeSlot(session_.bridge(), name, request.value(QStringLiteral("text")).toString());
    if (!answer) return text(failure(QStringLiteral("no slot named '%1'").arg(name)));
    return *answer;
}

QJsonObject ScriptRunner::select(const QJsonObject& request) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return failure(QStringLiteral("no drawing is open"));
    const QJsonValue value = request.value(QStringLiteral("select"));
    if (!value.isArray()) return failure(QStringLiteral("\"select\" must be a list of handles"));
    std::vector<db::ObjectId> ids;
    for (const QJsonValue& v : value.toArray()) {
        const std::optional<db::Handle> h = db::Handle::fromText(v.toString().toStdString());
        const db::ObjectId id = h ? doc->database()->getObjectId(*h) : db::ObjectId();
        if (id.isNull()) return failure(QStringLiteral("no object with handle '%1'").arg(v.toString()));
        ids.push_back(id);
    }
    doc->selection().set(ids);
    return ok();
}

QJsonObject ScriptRunner::setting(const QJsonObject& request) {
    const QJsonObject settings = request.value(QStringLiteral("setting")).toObject();
    if (settings.isEmpty()) return failure(QStringLiteral("\"setting\" must be an object of texts"));
    for (auto it = settings.begin(); it != settings.end(); ++it) {
        if (!it.value().isString()) return failure(QStringLiteral("setting '%1' must be a text").arg(it.key()));
        session_.host().debugSettings().setValue(it.key(), it.value().toString());
    }
    return ok();
}

QJsonObject ScriptRunner::capability(const QJsonObject& request) {
    const QJsonObject caps = request.value(QStringLiteral("capability")).toObject();
    if (caps.isEmpty()) return failure(QStringLiteral("\"capability\" must be an object of booleans"));
    for (auto it = caps.begin(); it != caps.end(); ++it) {
        if (!it.value().isBool()) return failure(QStringLiteral("capability '%1' must be true or false").arg(it.key()));
        session_.host().capabilities().setGranted(it.key(), it.value().toBool());
    }
    return ok();
}

std::optional<std::size_t> readUndoSteps(const QJsonValue& value, QString* why) {
    constexpr int kMaxUndoSteps = 1'000'000;
    if (!value.isDouble() || value.toDouble() < 1 || value.toDouble() != std::floor(value.toDouble())) {
        *why = QStringLiteral("the number of steps must be a whole number from 1");
        return std::nullopt;
    }
    if (value.toDouble() > kMaxUndoSteps) {
        *why = QStringLiteral("at most %1 steps can be undone or redone at once").arg(kMaxUndoSteps);
        return std::nullopt;
    }
    return static_cast<std::size_t>(value.toDouble());
}

QJsonObject ScriptRunner::undoRedo(const QJsonObject& request, bool undo) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return failure(QStringLiteral("no drawing is open"));
    QString why;
    const std::optional<std::size_t> steps =
        readUndoSteps(request.value(undo ? QStringLiteral("undo") : QStringLiteral("redo")), &why);
    if (!steps) return failure(why);
    db::UndoManager& manager = doc->database()->undoManager();
    const std::size_t wanted = *steps;
    const std::size_t done = undo ? manager.undo(wanted) : manager.redo(wanted);
    if (done < wanted)
        return failure(QStringLiteral("only %1 of %2 steps could be %3").arg(done).arg(wanted).arg(undo ? "undone" : "redone"));
    return ok();
}

QJsonObject ScriptRunner::render(const QJsonObject& request) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return failure(QStringLiteral("no drawing is open"));
    const db::Database& db = *doc->database();
    const QString path = request.value(QStringLiteral("render")).toString();
    if (path.isEmpty()) return failure(QStringLiteral("\"render\" needs a file path"));
    QString why;
    const std::optional<PictureRequest> picture = readPictureRequest(db, request, &why);
    if (!picture) return failure(why);
    QJsonObject answer = ok();
    if (picture->changes) {
        answer.insert(QStringLiteral("created"), static_cast<qint64>(picture->changes->created.size()));
        answer.insert(QStringLiteral("changed"), static_cast<qint64>(picture->changes->changed.size()));
        answer.insert(QStringLiteral("erased"), static_cast<qint64>(picture->changes->erased.size()));
    }
    const std::string failed = writePicture(db, picture->options, path.toStdString());
    if (!failed.empty()) return failure(QString::fromStdString(failed));
    return answer;
}

}  // namespace vela::cli

#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <optional>

class QObject;

namespace vela::cli {

class Session;

/// Calls the bridge's public slot of that name with one text (slots that take none are called without it) and
/// answers what it returned as text: its own text, "true"/"false", or "" for a slot that returns nothing.
/// Nothing when no public slot has that name.
std::optional<QString> callBridgeSlot(QObject& bridge, const QString& name, const QString& argument);

/// Answers the lines of a conversation script, one JSON object a line, each with exactly one line:
///   {"call": SLOT, "text": TEXT}         the bridge slot's answer text ("true"/"false", or "" for slots
///                                         that return nothing)
///   {"command": NAME, "input": [...]}    {"result": CODE}
///   {"select": [HANDLE, ...]}, {"setting": {KEY: VALUE}}, {"capability": {NAME: BOOL}},
///   {"open": PATH}, {"close": true}, {"save": PATH}, {"undo": N}, {"redo": N}
///                                        {"ok": true} or {"ok": false, "error": WHY}
///   {"render": PATH.png|PATH.svg, "size": "WxH", "window": "X1,Y1,X2,Y2", "around": [HANDLE, ...],
///    "handles": [HANDLE, ...] | "all", "dark": BOOL, "since": STEP}
///                                        a picture of the drawing; with "since", what the undo steps after
///                                        the first STEP created, changed and erased is drawn in green, blue
///                                        and red: {"ok": true, "created": N, "changed": N, "erased": N}
/// The number of undo or redo steps asked for: a whole number from 1 to a million (a count beyond any
/// drawing's history is a mistake, and beyond the size type it could not even be counted). Nothing, with why,
/// when the value is not one.
std::optional<std::size_t> readUndoSteps(const QJsonValue& value, QString* why);

class ScriptRunner {
public:
    explicit ScriptRunner(Session& session) : session_(session) {}
    QString answer(const QByteArray& line);

private:
    QString call(const QJsonObject& request);
    QJsonObject select(const QJsonObject& request);
    QJsonObject setting(const QJsonObject& request);
    QJsonObject capability(const QJsonObject& request);
    QJsonObject undoRedo(const QJsonObject& request, bool undo);
    QJsonObject render(const QJsonObject& request);

    Session& session_;
};

}  // namespace vela::cli

#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

#include "host/user_input.h"

namespace vela::db {
class Database;
}

namespace vela::host {

class Document;

/// One question of a command: what it asks for, its options and its default, shown the way CAD programs
/// show them: "Specify radius of circle or [Diameter] <5>: ".
struct Prompt {
    /// The question, without options or default ("Specify radius of circle or").
    QString message;
    /// Options the user may type instead of a value. The capitals of each are the shortest form accepted
    /// ("LOck" takes "LO", "LOC", "LOCK"); a leading underscore (the language-independent form) is allowed.
    QStringList keywords;
    /// Shown in angle brackets and taken, as if typed, when the user answers with Enter.
    QString defaultText;
    /// Enter alone (with no default) answers RTNONE; otherwise the question is asked again.
    bool allowNone = false;
    /// For distances and angles: a point typed in answer is measured from here. For points: where the rubber
    /// band starts.
    std::optional<db::Point3d> basePoint;
    /// For numbers and distances: only values above zero (or, with `allowZero`, zero too).
    bool positive = false;
    bool allowZero = false;
    InputTracker* tracker = nullptr;

    Prompt(QString text = {}) : message(std::move(text)) {}
    Prompt& withKeywords(QStringList k) { return keywords = std::move(k), *this; }
    Prompt& withDefault(QString d) { return defaultText = std::move(d), *this; }
    Prompt& orNone() { return allowNone = true, *this; }
    Prompt& from(const db::Point3d& p) { return basePoint = p, *this; }
    Prompt& above(bool zeroToo = false) { return positive = true, allowZero = zeroToo, *this; }
    /// The text shown: message, " [K1/K2]", " <default>", ": ".
    QString text() const;
};

/// The user input of one command run: answers queued with the command come first (as if typed ahead), then
/// the front end asks its user. Every answer is read by the one reader of its kind; an answer that does not
/// fit is refused with a message and the question is asked again (of the next queued answer, then of the
/// user), so bad input never ends a command. Each ask returns RTNORM (a value), RTKWORD (one of the
/// keywords: keyword()), RTNONE (Enter where allowed) or RTCAN (cancelled, or no user to ask).
class UserIO {
public:
    UserIO(QStringList queued, UserInputSource& source) : queued_(std::move(queued)), source_(source) {}

    /// Where the command-line log goes: refusals, and queued answers echoed after their prompts.
    void setLog(std::function<void(const QString&)> log, bool echoQueued) {
        log_ = std::move(log), echo_ = echoQueued;
    }
    /// The point "@" means: the last point given (the document's, kept across commands).
    void setLastPoint(db::Point3d* last) { lastPoint_ = last; }
    db::Point3d lastPoint() const { return lastPoint_ ? *lastPoint_ : db::Point3d(); }

    /// A point: "x,y[,z]", "@dx,dy", "@dist<angle", "dist<angle", or a point picked by the front end.
    int getPoint(const Prompt& prompt, db::Point3d& point);
    /// A distance: a number, or a point (measured from the prompt's base point, or else from a first point
    /// asked for next).
    int getDistance(const Prompt& prompt, double& distance);
    /// An angle, typed in degrees counter-clockwise from the X axis, or given by a point seen from the base
    /// point; answered in radians.
    int getAngle(const Prompt& prompt, double& radians);
    int getReal(const Prompt& prompt, double& value);
    int getInteger(const Prompt& prompt, int& value);
    /// One of the keywords (RTKWORD), or RTNONE / the default on Enter.
    int getKeyword(const Prompt& prompt);
    /// A text; with `allowSpaces` the whole line (a label), otherwise up to the first blank.
    int getText(const Prompt& prompt, bool allowSpaces, QString& text);
    /// The keyword of the last RTKWORD answer, spelled as in the prompt's list.
    const QString& keyword() const { return keyword_; }

    /// Reads a text with a bare prompt, as it comes: no default, no keywords, no refusals.
    int getString(const QString& prompt, bool allowSpaces, QString& answer);
    /// Writes a line to the command-line log.
    void message(const QString& text) const {
        if (log_) log_(text);
    }
    /// Answers still queued (a command that asked less than it was given leaves some).
    const QStringList& remaining() const { return queued_; }

private:
  /// The next answer, queued or from the user. RTNORM or RTCAN.
  int next(const Prompt& prompt, bool wantsPoint, bool allowSpaces, InputAnswer& answer);
  /// The next answer with Enter settled: RTNORM (an answer to read, the default if Enter), RTNONE, RTCAN, or
  /// kAskAgain.
  int take(const Prompt& prompt, bool wantsPoint, bool allowSpaces, InputAnswer& answer);
  static constexpr int kAskAgain = 0;
  bool matchKeyword(const Prompt& prompt, const QString& text);
  bool numberInRange(const Prompt& prompt, double value) const;
  void refuse(const QString& why) const { message(why); }
  void remember(const db::Point3d& point) {
      if (lastPoint_) *lastPoint_ = point;
  }

    QStringList queued_;
    UserInputSource& source_;
    std::function<void(const QString&)> log_;
    bool echo_ = false;
    db::Point3d* lastPoint_ = nullptr;
    QString keyword_;
    int refusals_ = 0;
};

/// What a running command works on: the document (null when none is open), its database and the user input.
class CommandContext {
public:
    CommandContext(Document* document, UserIO& io) : document_(document), io_(io) {}

    Document* document() const { return document_; }
    db::Database* database() const;
    UserIO& userIO() { return io_; }

private:
    Document* document_;
    UserIO& io_;
};

}  // namespace vela::host

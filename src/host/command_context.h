#pragma once

#include <QString>
#include <QStringList>

#include "host/user_input.h"

namespace vela::db {
class Database;
}

namespace vela::host {

class Document;

/// The user input of one command run: answers queued with the command come first (as if typed ahead), then
/// the front end asks its user.
class UserIO {
public:
    UserIO(QStringList queued, UserInputSource& source) : queued_(std::move(queued)), source_(source) {}

    /// Reads a text. Without `allowSpaces` a queued answer is taken only up to its first blank, as a command
    /// line ends an input at a space.
    int getString(const QString& prompt, bool allowSpaces, QString& answer);
    /// Reads a point: a queued answer is "x,y" or "x,y,z".
    int getPoint(const QString& prompt, InputTracker* tracker, db::Point3d& answer);
    /// Answers still queued (a command that asked less than it was given leaves some).
    const QStringList& remaining() const { return queued_; }

private:
    QStringList queued_;
    UserInputSource& source_;
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

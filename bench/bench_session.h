#pragma once

#include <QJsonArray>
#include <memory>

#include "db/entities/line.h"
#include "host/command_context.h"
#include "host/host.h"

namespace vela::bench {

// A host with one new drawing and a command context on it, as the host gives a command.
struct Session {
    host::Host host;
    host::Document* doc = host.documents().createNew();
    db::Database& db = *doc->database();
    host::UserIO io{{}, host.services().userInput()};
    host::CommandContext context{doc, io};
};

/// Appends `count` unit lines in rows of a thousand to model space and answers their handles.
inline QJsonArray appendLines(db::Database& db, int count) {
    QJsonArray handles;
    for (int i = 0; i < count; ++i) {
        db::ObjectId id;
        const db::Point3d start(i % 1000, i / 1000);
        db.appendEntity(db.modelSpaceId(), std::make_unique<db::Line>(start, start + db::Vector3d(1, 0)),
                        &id);
        handles.append(QString::fromStdString(id.handle().toText()));
    }
    return handles;
}

}  // namespace vela::bench

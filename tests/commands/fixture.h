#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "db/dxf/file/dxf_writer.h"
#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/line.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "host/command_context.h"
#include "host/host.h"

namespace vela::commands::testing {

/// A host with one drawing, and helpers to fill it and to call command bodies as the host would.
class DrawingTest : public ::testing::Test {
  protected:
    host::Host host;
    host::Document* doc = host.documents().createNew();
    db::Database& db = *doc->database();

    db::ObjectId addLayer(const std::string& name, db::Color color = db::Color::fromIndex(7)) {
        auto layer = std::make_unique<db::LayerTableRecord>(name);
        layer->setColor(color);
        db::ObjectId id;
        EXPECT_EQ(db.addRecord(db.layerTableId(), std::move(layer), &id), db::ErrorStatus::Ok);
        return id;
    }
    db::ObjectId add(std::unique_ptr<db::Entity> e, db::ObjectId layer = {}, db::ObjectId space = {}) {
        if (!layer.isNull()) e->setLayerId(layer);
        db::ObjectId id;
        EXPECT_EQ(db.appendEntity(space.isNull() ? db.modelSpaceId() : space, std::move(e), &id),
                  db::ErrorStatus::Ok);
        return id;
    }
    db::ObjectId line(db::ObjectId layer = {}, db::Color color = db::Color::byLayer(), double length = 1) {
        auto l = std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(length, 0));
        l->setColor(color);
        return add(std::move(l), layer);
    }
    db::ObjectId circle(db::ObjectId layer = {}, double radius = 1) {
        return add(std::make_unique<db::Circle>(db::Point3d(0, 0), radius), layer);
    }
    template <class Body>
    QJsonObject run(Body body, const QByteArray& json) {
        host::UserIO io({}, host.services().userInput());
        host::CommandContext context(doc, io);
        return body(QJsonDocument::fromJson(json), context);
    }
    /// A body called with a context that has no drawing.
    template <class Body>
    static QJsonObject runWithoutDrawing(Body body, const char* json) {
        host::NoUserInput noUser;
        host::UserIO io({}, noUser);
        host::CommandContext context(nullptr, io);
        return body(QJsonDocument::fromJson(json), context);
    }
    static QString hex(db::ObjectId id) { return QString::fromStdString(id.handle().toText()); }
    /// Saves the drawing and has ezdxf (Debian's python3-ezdxf) load it: its audit must be clean and the
    /// Python `checks` must hold (they see `doc` and `msp`; they may hold no double quotes). True when both
    /// pass.
    bool ezdxfAccepts(const std::string& name, const std::string& checks) {
        const std::filesystem::path file =
            std::filesystem::temp_directory_path() / (name + "_" + std::to_string(::getpid()) + ".dxf");
        if (!db::saveDxfFile(db, file).ok) return false;
        const std::string probe =
            "/usr/bin/python3 -c \"\nimport ezdxf, sys\ndoc = ezdxf.readfile(sys.argv[1])\n"
            "auditor = doc.audit()\nauditor.print_error_report()\nassert not auditor.has_errors\n"
            "msp = doc.modelspace()\n" +
            checks + "\" '" + file.string() + "'";
        const bool ok = std::system(probe.c_str()) == 0;
        std::filesystem::remove(file);
        return ok;
    }
    static QStringList strings(const QJsonValue& array) {
        QStringList out;
        for (const QJsonValue& v : array.toArray()) out << v.toString();
        return out;
    }
};

}  // namespace vela::commands::testing

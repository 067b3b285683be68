#pragma once

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

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
        EXPECT_EQ(db.appendEntity(space.isNull() ? db.modelSpaceId() : space, std::move(e), &id), db::ErrorStatus::Ok);
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
    QJsonObject run(Body body, const char* json) {
        host::UserIO io({}, host.services().userInput());
        host::CommandContext context(doc, io);
        return body(QJsonDocument::fromJson(json), context);
    }
    static QString hex(db::ObjectId id) { return QString::fromStdString(id.handle().toText()); }
    static QStringList strings(const QJsonValue& array) {
        QStringList out;
        for (const QJsonValue& v : array.toArray()) out << v.toString();
        return out;
    }
};

}  // namespace vela::commands::testing

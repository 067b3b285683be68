#include <QJsonArray>
#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <vector>

#include "commands/commands.h"
#include "db/database.h"
#include "db/entities/block_reference.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "host/command_context.h"
#include "host/text/number_text.h"
#include "host/text/point_text.h"
#include "properties/handle_text.h"
#include "properties/value_text.h"

namespace vela::commands {

namespace {

const QString kSuccess = QStringLiteral("success");
const QString kError = QStringLiteral("error");

// The entities named by the comma-separated handle text, in the order given and with repetitions kept (the
// count reported back counts every mention). Handles that name nothing live are skipped without a word, and
// so are entities on locked layers: the block would take them out of the drawing, which a lock forbids. So
// are parts of another entity (an attribute of a reference, a vertex of a polyline): they go with their owner,
// never alone.
std::vector<db::ObjectId> collectEntities(const db::Database& database, const QString& handles) {
    std::vector<db::ObjectId> ids;
    for (const QString& piece : handles.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const db::ObjectId id = properties::ObjectIdFromHandleText(database, piece.trimmed());
        if (id.isNull()) continue;
        // Objects that are no entity are kept: the block then fails with a message.
        if (auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForRead)) {
            if (!db::objectCast<db::BlockTableRecord>(entity->ownerId().peek())) continue;
            auto layer = db::openObject<db::LayerTableRecord>(entity->layerId(), db::OpenMode::ForRead);
            if (layer && layer->isLocked()) continue;
        }
        ids.push_back(id);
    }
    return ids;
}

struct BasePoint {
    db::Point3d point;
    QString message;  // empty when the requested point was used
};

// The lower left corner of the entities' extents at Z 0, so that a reference at that point covers the
// entities where they stood and the block's contents start at its origin.
void calculatedBasePoint(const std::vector<db::ObjectId>& ids, BasePoint& base) {
    db::Extents3d extents;
    bool found = false;
    for (const db::ObjectId& id : ids) {
        auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForRead);
        if (!entity) throw db::DbError(entity.status());
        db::Extents3d box;
        if (entity->getGeomExtents(box) == db::ErrorStatus::Ok && box.isValid()) {
            extents.addExtents(box);
            found = true;
        }
    }
    if (found)
        base.point = db::Point3d(extents.minPoint().x, extents.minPoint().y, 0.0);
    else
        base.message +=
            QStringLiteral("Unable to calculate base point from entity extents. Using default (0,0,0). ");
}

BasePoint basePoint(const QJsonObject& attributes, const std::vector<db::ObjectId>& ids) {
    BasePoint base;
    const QString key = QStringLiteral("basePoint");
    if (!attributes.contains(key)) {
        base.message = QStringLiteral("Base point is not provided. Using calculated extents base point. ");
    } else {
        const QJsonValue value = attributes.value(key);
        const QString text = properties::PlainText(value);
        if (value.isNull() || text.isEmpty()) {
            base.message = QStringLiteral("Invalid base point. Using calculated extents base point. ");
        } else {
            const host::PointText given = host::ReadPointText(text);
            if (given.parts < 2) {
                base.message = QStringLiteral(
                    "Base point requires at least X and Y coordinates. Using calculated extents base "
                    "point. ");
            } else if (const std::optional<db::Point3d> point = given.point()) {
                base.point = *point;
                return base;
            } else {
                base.message =
                    QStringLiteral("Invalid base point format. Using calculated extents base point. ");
            }
        }
    }
    calculatedBasePoint(ids, base);
    return base;
}

struct BlockName {
    QString name;
    QString message;  // empty when the requested name was free
};

BlockName uniqueBlockName(const db::SymbolTable& blocks, const QString& wanted) {
    if (!blocks.has(wanted.toStdString())) return {wanted, QString()};
    for (int counter = 1;; ++counter) {
        const QString candidate = QStringLiteral("%1_%2").arg(wanted, QString::number(counter));
        if (!blocks.has(candidate.toStdString()))
            return {candidate,
                    QStringLiteral("Block '%1' already exists. Renamed to '%2'. ").arg(wanted, candidate)};
    }
}

// Fills the new definition with copies of the entities, moved so that the base point lands on its origin,
// erases the originals and puts a reference to the block at the base point in model space.
db::ObjectId populateBlock(db::Database& database, const std::vector<db::ObjectId>& ids, db::ObjectId blockId,
                           const db::Point3d& base) {
    db::IdMapping mapping;
    if (const db::ErrorStatus es = database.deepCloneObjects(ids, blockId, mapping);
        es != db::ErrorStatus::Ok)
        throw db::DbError(es);

    if (!base.isEqualTo(db::Point3d(0, 0, 0))) {
        const db::Matrix3d toOrigin = db::Matrix3d::translation(-base.asVector());
        std::vector<db::ObjectId> copies;
        if (auto block = db::openObject<db::BlockTableRecord>(blockId, db::OpenMode::ForRead))
            copies = block->entityIds();
        for (const db::ObjectId& id : copies) {
            // The copies belong to the new definition; a lock on their layer guards the drawing, not them.
            auto copy = db::openObject<db::Entity>(id, db::OpenMode::ForWrite, {.openOnLockedLayer = true});
            if (!copy) throw db::DbError(copy.status());
            if (const db::ErrorStatus es = copy->transformBy(toOrigin); es != db::ErrorStatus::Ok)
                throw db::DbError(es);
        }
    }

    // A handle listed twice was copied once and is erased once.
    std::unordered_set<db::ObjectId> erased;
    for (const db::ObjectId& id : ids) {
        if (!erased.insert(id).second) continue;
        auto source = db::openObject<db::Entity>(id, db::OpenMode::ForWrite);
        if (!source) throw db::DbError(source.status());
        if (const db::ErrorStatus es = source->erase(true); es != db::ErrorStatus::Ok) throw db::DbError(es);
    }

    auto reference = std::make_unique<db::BlockReference>();
    reference->setDatabaseDefaults(&database);
    reference->setBlockTableRecord(blockId);
    reference->setPosition(base);
    db::ObjectId referenceId;
    if (const db::ErrorStatus es =
            database.appendEntity(database.modelSpaceId(), std::move(reference), &referenceId);
        es != db::ErrorStatus::Ok)
        throw db::DbError(es);
    return referenceId;
}

QJsonObject createBlock(host::CommandContext& context, const QJsonObject& attributes) {
    QJsonObject result{{kSuccess, false}};
    auto fail = [&result](const QString& message) {
        result.insert(kError, message);
        return result;
    };
    try {
        db::Database* database = context.database();
        if (!database) return fail(QStringLiteral("Invalid database"));
        const QString name = properties::PlainText(attributes.value(QStringLiteral("name")));
        if (name.isEmpty()) return fail(QStringLiteral("Block name is required"));
        if (!db::isValidSymbolName(name.toStdString()))
            return fail(QStringLiteral("Invalid block name: '%1'").arg(name));
        const std::vector<db::ObjectId> ids = collectEntities(
            *database, properties::PlainText(attributes.value(QStringLiteral("entityHandles"))));
        if (ids.empty())
            return fail(QStringLiteral(
                "No valid entities found. Please provide entity handles in 'entityHandles' field"));
        if (database->blockTableId().isNull())
            return fail(QStringLiteral("Block table ID is null - database may not be properly initialized"));
        auto blocks = db::openObject<db::BlockTable>(database->blockTableId(), db::OpenMode::ForWrite);
        if (!blocks) return fail(QStringLiteral("Failed to open block table - openObject returned null"));

        const BasePoint base = basePoint(attributes, ids);
        const BlockName blockName = uniqueBlockName(*blocks, name);
        const QString warning = base.message + blockName.message;

        auto record = std::make_unique<db::BlockTableRecord>(blockName.name.toStdString());
        record->setOrigin(db::Point3d(0, 0, 0));
        if (attributes.contains(QStringLiteral("description")))
            record->setComments(
                properties::PlainText(attributes.value(QStringLiteral("description"))).toStdString());
        if (attributes.contains(QStringLiteral("explodable")))
            record->setExplodable(properties::Truth(attributes.value(QStringLiteral("explodable"))));
        if (attributes.contains(QStringLiteral("uniformScaling")))
            record->setScaledUniformly(properties::Truth(attributes.value(QStringLiteral("uniformScaling"))));
        db::ObjectId blockId;
        if (const db::ErrorStatus es =
                database->addRecord(database->blockTableId(), std::move(record), &blockId);
            es != db::ErrorStatus::Ok)
            throw db::DbError(es);

        const db::ObjectId referenceId = populateBlock(*database, ids, blockId, base.point);

        if (!warning.isEmpty()) result.insert(QStringLiteral("warning"), warning);
        result.insert(kSuccess, true);
        result.insert(QStringLiteral("name"), blockName.name);
        result.insert(QStringLiteral("handle"), properties::HandleText(referenceId));
        result.insert(QStringLiteral("blockDefinitionHandle"), properties::HandleText(blockId));
        result.insert(QStringLiteral("entityCount"), static_cast<int>(ids.size()));
        result.insert(QStringLiteral("basePoint"), host::PointToText(base.point));
    } catch (const db::DbError& e) {
        // What was done before the failure (a definition added, entities copied) stays: the command is one
        // undo step, which takes it back as a whole.
        result = QJsonObject{
            {kSuccess, false},
            {kError, QStringLiteral("Error creating block: %1").arg(QString::fromUtf8(e.what()))}};
    } catch (...) {
        result = QJsonObject{{kSuccess, false},
                             {kError, QStringLiteral("Unknown error occurred while creating block")}};
    }
    return result;
}

// Turns groups of entities into blocks. For each element of the request's "blocks" array: a new block
// definition named "name" (or "name_1", "name_2", ... when taken) holding copies of the entities listed in
// "entityHandles" (one comma-separated text), moved so that "basePoint" (else the lower left corner of their
// extents) becomes the block's origin; the entities themselves are erased and one reference to the block
// takes their place in model space. Optional "description", "explodable" and "uniformScaling" set the
// definition's comments and behaviour.
QJsonObject createBlocks(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{kSuccess, false}};
    if (!context.database()) {
        response.insert(kError, QStringLiteral("Invalid database"));
        return response;
    }
    const QJsonValue blocks = request.object().value(QStringLiteral("blocks"));
    if (!blocks.isArray()) {
        response.insert(kError, QStringLiteral("Missing or invalid 'blocks' array in input"));
        return response;
    }
    bool allSucceeded = true;
    QJsonArray results;
    for (const QJsonValue& element : blocks.toArray()) {
        if (!element.isObject()) continue;
        const QJsonObject result = createBlock(context, element.toObject());
        if (!result.value(kSuccess).toBool()) allSucceeded = false;
        results.append(result);
    }
    response.insert(kSuccess, allSucceeded);
    response.insert(QStringLiteral("blocks"), results);
    return response;
}

}  // namespace

extern const catalogue::CommandRow kCreateBlocks = {
    .slot = "CreateBlocks",
    .parameter = "blockQuery",
    .refusalPayloadKey = "blocks",
    .receivedLog = "Received block creation query from assistant:\n%1",
    .responseLog = "Block creation response:\n%1",
    .globalName = "_V3_CREATEBLOCKS",
    .className = "CJxCommandCreateBlocks",
    .body = createBlocks,
    .effect = catalogue::Effect::Changes,
    .description =
        "Turns groups of entities into blocks: each block gets copies of the entities listed in "
        "\"entityHandles\" (comma-separated), moved so that \"basePoint\" (else the lower left corner of "
        "their extents) is its origin; the entities are replaced by one reference to the block. A taken "
        "name gets _1, _2, ... appended.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "blocks": {
      "type": "array",
      "items": {
        "type": "object",
        "properties": {
          "name": {"type": ["string", "number"]},
          "entityHandles": {"type": "string", "description": "handles joined by commas"},
          "basePoint": {"type": "string", "description": "x,y[,z]"},
          "description": {"type": "string"},
          "explodable": {"type": ["boolean", "number", "string"]},
          "uniformScaling": {"type": ["boolean", "number", "string"]}
        },
        "required": ["name", "entityHandles"]
      }
    }
  },
  "required": ["blocks"]
})json",
    .exampleRequest = R"json({"blocks": [{"name": "DESK_SET", "entityHandles": "111,112", "basePoint": "0,0",
        "description": "desk with chair", "explodable": true}]})json",
};

}  // namespace vela::commands

#include "commands/entities/transform_entities.h"

#include <QJsonArray>
#include <exception>
#include <optional>

#include "commands/entities/requested_entities.h"
#include "db/database.h"
#include "host/command_context.h"

namespace vela::commands {
namespace {

// The row and column a matrix key names: the first "a" followed by two digits 0 to 3 anywhere in the key.
bool matrixElementOf(QStringView key, int& row, int& column) {
    auto digit = [](QChar c) { return c >= u'0' && c <= u'3'; };
    for (qsizetype i = 0; i + 2 < key.size(); ++i) {
        if (key[i] == u'a' && digit(key[i + 1]) && digit(key[i + 2])) {
            row = key[i + 1].unicode() - u'0';
            column = key[i + 2].unicode() - u'0';
            return true;
        }
    }
    return false;
}

// The center of the common box of the entities' extents; nothing when none of them has extents. Entities on
// locked layers count: the box describes where the named entities are, whether or not each may move.
std::optional<db::Point3d> commonBoxCenter(const std::vector<db::ObjectId>& ids) {
    db::Extents3d box;
    for (db::ObjectId id : ids) {
        auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForRead);
        if (!entity) continue;
        db::Extents3d extents;
        if (entity->getGeomExtents(extents) == db::ErrorStatus::Ok) box.addExtents(extents);
    }
    if (!box.isValid()) return std::nullopt;
    const db::Point3d& lo = box.minPoint();
    const db::Vector3d size = box.maxPoint() - lo;
    return lo + size * 0.5;
}

}  // namespace

std::vector<db::Matrix3d> ReadTransformMatrices(const QJsonObject& request) {
    std::vector<db::Matrix3d> matrices;
    const QJsonArray list = request.value(QStringLiteral("transformationMatrices")).toArray();
    matrices.reserve(static_cast<std::size_t>(list.size()));
    for (const QJsonValue& value : list) {
        db::Matrix3d m;
        const QJsonObject elements = value.toObject();
        // QJsonObject iterates in sorted key order, so a later duplicate overwrites an earlier one.
        for (auto it = elements.begin(); it != elements.end(); ++it) {
            int row = 0, column = 0;
            if (!matrixElementOf(it.key(), row, column)) continue;
            const QJsonValue v = it.value();
            m(row, column) = v.isDouble() ? v.toDouble() : 0.0;
        }
        matrices.push_back(m);
    }
    return matrices;
}

bool TransformEntities(const QJsonDocument& request, host::CommandContext& context) {
    const QJsonObject object = request.object();
    db::Database* database = context.database();
    const std::vector<db::ObjectId> ids = RequestedOrSelectedIds(object, context.document(), database);
    if (ids.empty()) return false;
    std::vector<db::Matrix3d> matrices = ReadTransformMatrices(object);
    const bool centred = object.value(QStringLiteral("scaleAroundBoundingBoxCenter")).toBool(false) ||
                         object.value(QStringLiteral("rotateAroundBoundingBoxCenter")).toBool(false);
    if (!database) return false;

    if (centred && !matrices.empty()) {
        if (const std::optional<db::Point3d> c = commonBoxCenter(ids)) {
            const db::Matrix3d toOrigin = db::Matrix3d::translation(-c->asVector());
            const db::Matrix3d back = db::Matrix3d::translation(c->asVector());
            for (db::Matrix3d& m : matrices) m = back * m * toOrigin;
        }
    }

    bool result = true;
    for (db::ObjectId id : ids) {
        if (id.isNull()) continue;
        // Failing to open covers every silent skip: erased objects, other objects than entities and entities
        // on locked layers (which refuse to open for write).
        auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForWrite);
        if (!entity) continue;
        for (const db::Matrix3d& m : matrices) {
            try {
                if (entity->transformBy(m) != db::ErrorStatus::Ok) result = false;
            } catch (const std::exception&) {
                result = false;
            }
        }
    }
    return result;
}

}  // namespace vela::commands

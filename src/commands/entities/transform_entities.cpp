#include <QJsonArray>
#include <cmath>
#include <optional>

#include "commands/commands.h"
#include "db/database.h"
#include "host/command_context.h"
#include "host/entity_transform.h"
#include "properties/requested_entities.h"

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

namespace {

// Why a matrix cannot be applied: an element that is not a finite number, or a linear part that flattens
// space (determinant 0) or whose size overflows. Empty when it can be.
QString matrixProblem(const db::Matrix3d& m, int index) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (!std::isfinite(m(r, c)))
                return QStringLiteral(
                           "Transformation matrix %1 holds a value that is not a finite number (a%2%3)")
                    .arg(index)
                    .arg(r)
                    .arg(c);
    const double det = m.determinant();
    if (!std::isfinite(det) || det == 0.0)
        return QStringLiteral(
                   "Transformation matrix %1 would flatten entities or make them infinitely large "
                   "(its determinant is %2)")
            .arg(index)
            .arg(det);
    return {};
}

struct TransformOutcome {
    bool success = false;
    QString error;
};

// Applies the matrices, in order, to the entities named by "handles" or, without any, to the current
// selection. With "scaleAroundBoundingBoxCenter" or "rotateAroundBoundingBoxCenter" (JSON true) each matrix
// acts about the center of the entities' common box. Handles that name nothing, objects that are not entities
// and entities on locked layers are skipped. Fails when there is nothing to transform, no drawing, a matrix
// that cannot be applied (then nothing moves), or an entity refused a transformation or would have been left
// with values that are not finite or degenerate (that entity stays as it was, the rest is transformed).
TransformOutcome transformEntities(const QJsonDocument& request, host::CommandContext& context) {
    const QJsonObject object = request.object();
    db::Database* database = context.database();
    const std::vector<db::ObjectId> ids = properties::RequestedOrSelectedIds(object, context);
    if (ids.empty()) return {};
    std::vector<db::Matrix3d> matrices = ReadTransformMatrices(object);
    for (std::size_t i = 0; i < matrices.size(); ++i)
        if (QString problem = matrixProblem(matrices[i], static_cast<int>(i)); !problem.isEmpty())
            return {false, problem};
    const bool centred = object.value(QStringLiteral("scaleAroundBoundingBoxCenter")).toBool(false) ||
                         object.value(QStringLiteral("rotateAroundBoundingBoxCenter")).toBool(false);
    if (!database) return {};

    if (centred && !matrices.empty()) {
        if (const std::optional<db::Point3d> c = commonBoxCenter(ids)) {
            const db::Matrix3d toOrigin = db::Matrix3d::translation(-c->asVector());
            const db::Matrix3d back = db::Matrix3d::translation(c->asVector());
            for (db::Matrix3d& m : matrices) m = back * m * toOrigin;
        }
    }

    TransformOutcome outcome{true, {}};
    for (db::ObjectId id : ids) {
        // Entities that cannot be opened are skipped silently: erased objects, other objects than entities
        // and entities on locked layers.
        const host::EntityTransform done = host::transformEntity(id, matrices);
        if (!done.opened) continue;
        if (done.refused) outcome.success = false;
        if (done.badValue.empty()) continue;
        outcome.success = false;
        if (outcome.error.isEmpty())
            outcome.error = QStringLiteral("Entity %1 would have been left with %2; it was not transformed")
                                .arg(QString::fromStdString(id.peek()->handle().toText()),
                                     QString::fromStdString(done.badValue));
    }
    return outcome;
}

}  // namespace

extern const catalogue::CommandRow kTransformEntities = {
    .slot = "TransformEntities",
    .parameter = "sTransformationQuery",
    .receivedLog = "Received transformation query from assistant:\n%1",
    .responseLog = "Entity transformation response:\n%1",
    .globalName = "_V3_TRANSFORMENTITIES",
    .className = "CJxCommandTransformEntities",
    // The work answers whether it succeeded, and why not when a value would have been lost.
    .body =
        [](const QJsonDocument& request, host::CommandContext& context) {
            const TransformOutcome outcome = transformEntities(request, context);
            QJsonObject answer{{QStringLiteral("success"), outcome.success}};
            if (!outcome.error.isEmpty()) answer.insert(QStringLiteral("error"), outcome.error);
            return answer;
        },
    .effect = catalogue::Effect::Changes,
    .description =
        "Moves, rotates, scales or mirrors entities by 4x4 matrices applied in order (keys a00 to a33, row "
        "then column; missing elements keep the identity's). Works on \"handles\" or, without them, on the "
        "selection; with rotateAroundBoundingBoxCenter or scaleAroundBoundingBoxCenter the matrices act "
        "about the center of the entities' common bounding box.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "handles": {"type": "array", "items": {"type": "string"}},
    "transformationMatrices": {
      "type": "array",
      "items": {
        "type": "object",
        "patternProperties": {"^a[0-3][0-3]$": {"type": "number"}},
        "additionalProperties": false
      }
    },
    "rotateAroundBoundingBoxCenter": {"type": "boolean"},
    "scaleAroundBoundingBoxCenter": {"type": "boolean"}
  },
  "required": ["transformationMatrices"]
})json",
    .exampleRequest = R"json({"handles": ["11A"], "transformationMatrices": [
        {"a00": 0, "a01": -1, "a10": 1, "a11": 0}], "rotateAroundBoundingBoxCenter": true})json",
};

}  // namespace vela::commands

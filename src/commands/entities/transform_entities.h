#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <vector>

#include "db/geometry/matrix.h"

namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// Reads "transformationMatrices": one matrix per element, in request order. A key holding "a<row><column>"
/// (row and column 0 to 3, the first such match in the key deciding) sets that element from a JSON number
/// (any other value counts as 0); elements not given keep the identity's value, so an empty object is the
/// identity. When two keys name one element, the later key in sorted order wins. An element that is not an
/// object counts as an empty one.
std::vector<db::Matrix3d> ReadTransformMatrices(const QJsonObject& request);

/// The body of _V3_TRANSFORMENTITIES: applies the matrices, in order, to the entities named by "handles" or,
/// without any, to the current selection. With "scaleAroundBoundingBoxCenter" or
/// "rotateAroundBoundingBoxCenter" (JSON true) each matrix acts about the center of the entities' common box.
/// Handles that name nothing, objects that are not entities and entities on locked layers are skipped.
/// False when there is nothing to transform, no drawing, or an entity refused a transformation (the rest is
/// still transformed); the response is {"success": <result>}.
bool TransformEntities(const QJsonDocument& request, host::CommandContext& context);

}  // namespace vela::commands

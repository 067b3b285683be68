#pragma once

#include <QJsonObject>
#include <vector>

#include "catalogue/command_row.h"
#include "db/geometry/matrix.h"

namespace vela::commands {

// The assistant's commands that work on entities, layers and blocks, each defined beside its body.

extern const catalogue::CommandRow kSelectEntities;          // entities/select_entities.cpp
extern const catalogue::CommandRow kSelectEntityByHandle;    // entities/select_by_handle.cpp
extern const catalogue::CommandRow kSelectedHandles;         // entities/selected_handles.cpp
extern const catalogue::CommandRow kSummarizeEntities;       // entities/summarize_entities.cpp
extern const catalogue::CommandRow kModifyEntityProperties;  // entities/modify_entity_properties.cpp
extern const catalogue::CommandRow kTransformEntities;       // entities/transform_entities.cpp
extern const catalogue::CommandRow kCreateEntities;          // entities/create_entities.cpp
extern const catalogue::CommandRow kDeleteEntities;          // entities/delete_entities.cpp
extern const catalogue::CommandRow kCreateLayers;            // layers/create_layers.cpp
extern const catalogue::CommandRow kModifyLayers;            // layers/modify_layers.cpp
extern const catalogue::CommandRow kDeleteLayers;            // layers/delete_layers.cpp
extern const catalogue::CommandRow kSummarizeLayers;         // layers/summarize_layers.cpp
extern const catalogue::CommandRow kCreateBlocks;            // blocks/create_blocks.cpp
extern const catalogue::CommandRow kCreateHatch;             // hatch/create_hatch.cpp

/// Reads "transformationMatrices": one matrix per element, in request order. A key holding "a<row><column>"
/// (row and column 0 to 3, the first such match in the key deciding) sets that element from a JSON number
/// (any other value counts as 0); elements not given keep the identity's value, so an empty object is the
/// identity. When two keys name one element, the later key in sorted order wins. An element that is not an
/// object counts as an empty one.
std::vector<db::Matrix3d> ReadTransformMatrices(const QJsonObject& request);

}  // namespace vela::commands

#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "db/database.h"
#include "db/geometry/extents.h"

namespace vela::cli {

/// What a drawing holds, at a glance: what `info` prints and what the MCP server offers a model to read.
struct DrawingSummary {
    std::map<std::string, std::size_t> perType;        // entities of every block, by DXF type name
    std::map<std::string, std::size_t> modelPerLayer;  // model space entities by layer
    std::size_t model = 0, paper = 0, inBlocks = 0, blocks = 0;
    db::Extents3d extents;  // of model space; invalid when it is empty
};

DrawingSummary summarizeDrawing(db::Database& db);

/// The DXF type name of an entity, also for kinds kept as raw groups.
std::string entityTypeName(const db::Entity& e);

}  // namespace vela::cli

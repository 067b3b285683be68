#pragma once

#include <QJsonDocument>
#include <QJsonObject>

namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// Turns groups of entities into blocks. For each element of the request's "blocks" array: a new block
/// definition named "name" (or "name_1", "name_2", ... when taken) holding copies of the entities listed in
/// "entityHandles" (one comma-separated text), moved so that "basePoint" (else the lower left corner of their
/// extents) becomes the block's origin; the entities themselves are erased and one reference to the block
/// takes their place in model space. Optional "description", "explodable" and "uniformScaling" set the
/// definition's comments and behaviour. A null context answers "Invalid command context"; the exported API
/// calls this directly.
QJsonObject CreateBlocks(const QJsonDocument& request, host::CommandContext* context);

/// The body of _V3_CREATEBLOCKS.
QJsonObject CreateBlocksResponse(const QJsonDocument& request, host::CommandContext& context);

}  // namespace vela::commands

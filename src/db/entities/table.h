#pragma once

#include "db/entities/block_reference.h"

namespace vela::db {

/// A table (ACAD_TABLE): in files, a block reference to an anonymous block ("*T...") that draws the table,
/// followed by the table's cells and their formats, which are kept as they came.
class Table : public BlockReference {
    VELA_DB_DECLARE_CLASS(Table)
  public:
    Table() = default;

    /// Moves the table; anything else is refused (CannotTransform): the cells are laid out by the table's style
    /// along its direction, and the block that draws them is made from them, so turning or scaling the
    /// reference alone would leave the two apart.
    ErrorStatus transformBy(const Matrix3d& transform) override;
};

}  // namespace vela::db

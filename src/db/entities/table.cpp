#include "db/entities/table.h"

#include "db/entity_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Table, "AcDbTable", "ACAD_TABLE", BlockReference)

// The reference part names the block and where it is; everything of the table itself is kept.
template <class Io, class Self>
void Table::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbBlockReference");
    io.symbol(2, self.block_, TableKind::Block);
    io.point(10, self.position_);
}

VELA_DB_DEFINE_DXF(Table)

ErrorStatus Table::transformBy(const Matrix3d& m) {
    if (!m.isTranslation()) return ErrorStatus::CannotTransform;
    // The block is drawn at the insertion point: moving that point moves the whole table.
    assertWriteEnabled();
    position_ = m.apply(position_);
    return ErrorStatus::Ok;
}

}  // namespace vela::db

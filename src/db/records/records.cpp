#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"
#include "db/records/simple_records.h"
#include "db/records/text_style_table_record.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(LayerTableRecord, "AcDbLayerTableRecord", "LAYER", SymbolTableRecord)
VELA_DB_DEFINE_CLASS(LinetypeTableRecord, "AcDbLinetypeTableRecord", "LTYPE", SymbolTableRecord)
VELA_DB_DEFINE_CLASS(TextStyleTableRecord, "AcDbTextStyleTableRecord", "STYLE", SymbolTableRecord)
VELA_DB_DEFINE_CLASS(DimStyleTableRecord, "AcDbDimStyleTableRecord", "DIMSTYLE", SymbolTableRecord)
VELA_DB_DEFINE_CLASS(ViewportTableRecord, "AcDbViewportTableRecord", "VPORT", SymbolTableRecord)
VELA_DB_DEFINE_CLASS(ViewTableRecord, "AcDbViewTableRecord", "VIEW", SymbolTableRecord)
VELA_DB_DEFINE_CLASS(UcsTableRecord, "AcDbUCSTableRecord", "UCS", SymbolTableRecord)
VELA_DB_DEFINE_CLASS(RegAppTableRecord, "AcDbRegAppTableRecord", "APPID", SymbolTableRecord)
VELA_DB_DEFINE_CLASS(BlockTableRecord, "AcDbBlockTableRecord", "BLOCK_RECORD", SymbolTableRecord)

bool BlockTableRecord::isLayout() const {
    return namesEqual(name_, kModelSpace) ||
           (name_.size() >= kPaperSpace.size() && namesEqual(std::string_view(name_).substr(0, kPaperSpace.size()),
                                                             kPaperSpace));
}

std::vector<ObjectId> BlockTableRecord::entityIds() const {
    std::vector<ObjectId> ids;
    ids.reserve(entities_.size());
    for (DbObject* e : entities_)
        if (!e->isErased()) ids.push_back(e->objectId());
    return ids;
}

std::size_t BlockTableRecord::entityCount() const {
    std::size_t n = 0;
    for (DbObject* e : entities_) n += e->isErased() ? 0 : 1;
    return n;
}

}  // namespace vela::db

#include "drawing_summary.h"

#include "db/raw_object.h"
#include "db/records/block_table_record.h"

namespace vela::cli {

std::string entityTypeName(const db::Entity& e) {
    if (auto* raw = db::objectCast<db::RawEntity>(&e)) return raw->dxfName();
    return e.isA()->dxfName();
}

DrawingSummary summarizeDrawing(db::Database& db) {
    DrawingSummary s;
    db.blockTable()->forEachRecord([&](db::SymbolTableRecord* r) {
        auto* btr = static_cast<db::BlockTableRecord*>(r);
        const bool isModel = btr->isModelSpace(), isLayout = btr->isLayout();
        if (!isLayout) ++s.blocks;
        btr->forEachEntity([&](db::Entity* e) {
            ++s.perType[entityTypeName(*e)];
            (isModel ? s.model : isLayout ? s.paper : s.inBlocks) += 1;
            if (!isModel) return;
            ++s.modelPerLayer[e->layer()];
            db::Extents3d box;
            if (e->getGeomExtents(box) == db::ErrorStatus::Ok) s.extents.addExtents(box);
        });
    });
    return s;
}

}  // namespace vela::cli

#include "db/entity.h"

#include "db/database.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Entity, "AcDbEntity", "", DbObject)

std::string Entity::layer() const {
    if (auto* rec = objectCast<SymbolTableRecord>(layer_.peek())) return rec->name();
    return {};
}

std::string Entity::linetype() const {
    if (auto* rec = objectCast<SymbolTableRecord>(linetype_.peek())) return rec->name();
    return {};
}

ErrorStatus Entity::setLayer(std::string_view name) {
    if (!database()) return ErrorStatus::NotInDatabase;
    const ObjectId id = database()->layerTable()->getAt(name);
    if (id.isNull()) return ErrorStatus::KeyNotFound;
    setLayerId(id);
    return ErrorStatus::Ok;
}

ErrorStatus Entity::setLinetype(std::string_view name) {
    if (!database()) return ErrorStatus::NotInDatabase;
    const ObjectId id = database()->linetypeTable()->getAt(name);
    if (id.isNull()) return ErrorStatus::KeyNotFound;
    setLinetypeId(id);
    return ErrorStatus::Ok;
}

void Entity::setDatabaseDefaults(const Database* db) {
    if (!db) db = database();
    if (!db) return;
    assertWriteEnabled();
    layer_ = db->currentLayer();
    linetype_ = db->currentLinetype();
    color_ = db->currentColor();
    lineWeight_ = db->currentLineWeight();
    linetypeScale_ = db->currentLinetypeScale();
    transparency_ = db->currentTransparency();
}

}  // namespace vela::db

#include <algorithm>

#include "db/database.h"
#include "db/records/linetype_table_record.h"
#include "db/records/text_style_table_record.h"
#include "db/support/linetype_file.h"

namespace vela::db {

namespace {

// The text style an element of a linetype draws with: a text element names a style, a shape element a shape
// file, which drawings hold as a style record marked as shape file.
ObjectId styleForElement(Database& db, const LinetypeElement& element) {
    SymbolTable* styles = db.textStyleTable();
    if (!styles) return {};
    if (element.kind == LinetypeElement::Kind::Text) {
        const ObjectId named = styles->getAt(element.styleOrFile);
        return named.isNull() ? styles->getAt("Standard") : named;
    }
    ObjectId found;
    styles->forEachRecord([&](SymbolTableRecord* r) {
        auto* style = static_cast<TextStyleTableRecord*>(r);
        if (found.isNull() && style->isShapeFile() && namesEqual(style->fileName(), element.styleOrFile))
            found = style->objectId();
    });
    if (!found.isNull()) return found;
    auto style = std::make_unique<TextStyleTableRecord>(element.styleOrFile);
    style->setFileName(element.styleOrFile);
    style->setFlags(1);
    if (!isValidSymbolName(element.styleOrFile) ||
        db.addRecord(db.textStyleTableId(), std::move(style), &found) != ErrorStatus::Ok)
        return styles->getAt("Standard");
    return found;
}

}  // namespace

ErrorStatus Database::addLinetype(const LinetypeDefinition& definition, ObjectId* id) {
    SymbolTable* table = linetypeTable();
    if (!table) return ErrorStatus::NotInDatabase;
    if (!isValidSymbolName(definition.name)) return ErrorStatus::InvalidSymbolTableName;
    if (table->has(definition.name)) return ErrorStatus::DuplicateRecordName;
    auto record = std::make_unique<LinetypeTableRecord>(definition.name);
    record->setComments(definition.description);
    record->setPatternLength(definition.patternLength());
    std::vector<LinetypeDash> dashes;
    dashes.reserve(definition.elements.size());
    for (const LinetypeElement& e : definition.elements) {
        LinetypeDash d;
        d.length = e.length;
        if (e.kind != LinetypeElement::Kind::Plain) {
            d.textStyle = styleForElement(*this, e);
            d.scale = e.scale;
            d.rotation = e.rotation;
            d.absoluteRotation = e.absoluteRotation;
            d.uprightRotation = e.uprightRotation;
            d.offset = Vector3d(e.xOffset, e.yOffset, 0.0);
            if (e.kind == LinetypeElement::Kind::Text)
                d.text = e.text;
            else
                d.shapeName = e.text;
        }
        dashes.push_back(std::move(d));
    }
    record->setDashes(std::move(dashes));
    return addRecord(linetypeTableId(), std::move(record), id);
}

ErrorStatus Database::loadLinetype(std::string_view name, const std::filesystem::path& path, ObjectId* id) {
    std::string error;
    const std::optional<LinetypeFile> file = readLinetypeFile(path, &error);
    if (!file) return ErrorStatus::FileNotFound;
    const LinetypeDefinition* definition = file->find(name);
    if (!definition) return ErrorStatus::KeyNotFound;
    return addLinetype(*definition, id);
}

}  // namespace vela::db

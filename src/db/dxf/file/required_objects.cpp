#include "db/dxf/file/required_objects.h"

#include "db/raw_object.h"
#include "db/records/block_table_record.h"

namespace vela::db {

namespace {

ObjectId addRaw(Database& db, const char* type, ObjectId owner) {
    ObjectId id;
    db.addObject(std::make_unique<RawObject>(type), owner, &id);
    db.fileData().objects.push_back(id);
    return id;
}

void setGroups(ObjectId id, std::vector<DxfTag> groups) {
    if (auto ref = openObject<RawObject>(id, OpenMode::ForWrite)) ref->setGroups(std::move(groups));
}

std::vector<DxfTag> layoutGroups(const std::string& name, int order, ObjectId block, bool model) {
    const std::string b = block.handle().toText();
    // Plot settings, then the layout: limits, extents, insertion base, UCS and the block record it shows.
    return {
        {100, "AcDbPlotSettings"}, {1, ""}, {4, "A3"}, {6, ""}, {40, "7.5"}, {41, "20.0"}, {42, "7.5"},
        {43, "20.0"}, {44, "420.0"}, {45, "297.0"}, {46, "0.0"}, {47, "0.0"}, {48, "0.0"}, {49, "0.0"},
        {140, "0.0"}, {141, "0.0"}, {142, "1.0"}, {143, "1.0"}, {70, model ? "1712" : "688"}, {72, "1"},
        {73, "0"}, {74, "5"}, {7, ""}, {75, "16"}, {76, "0"}, {77, "2"}, {78, "300"}, {147, "1.0"},
        {148, "0.0"}, {149, "0.0"},
        {100, "AcDbLayout"}, {1, name}, {70, "1"}, {71, std::to_string(order)}, {10, "0.0"}, {20, "0.0"},
        {11, "420.0"}, {21, "297.0"}, {12, "0.0"}, {22, "0.0"}, {32, "0.0"}, {14, "1e+20"}, {24, "1e+20"},
        {34, "1e+20"}, {15, "-1e+20"}, {25, "-1e+20"}, {35, "-1e+20"}, {146, "0.0"}, {13, "0.0"}, {23, "0.0"},
        {33, "0.0"}, {16, "1.0"}, {26, "0.0"}, {36, "0.0"}, {17, "0.0"}, {27, "1.0"}, {37, "0.0"}, {76, "0"},
        {330, b},
    };
}

}  // namespace

void addRequiredObjects(Database& db) {
    FileData& file = db.fileData();
    if (!file.rootDictionary.isNull() && file.rootDictionary.isValid()) return;
    const ObjectId root = addRaw(db, "DICTIONARY", ObjectId());
    file.rootDictionary = root;
    const ObjectId groups = addRaw(db, "DICTIONARY", root);
    const ObjectId layouts = addRaw(db, "DICTIONARY", root);

    std::vector<DxfTag> layoutEntries = {{100, "AcDbDictionary"}, {281, "1"}};
    int order = 0;
    std::vector<ObjectId> blocks;
    db.blockTable()->forEachRecord([&](SymbolTableRecord* r) {
        auto* btr = static_cast<BlockTableRecord*>(r);
        if (btr->isLayout()) blocks.push_back(btr->objectId());
    });
    for (ObjectId blockId : blocks) {
        auto btr = openObject<BlockTableRecord>(blockId, OpenMode::ForWrite);
        const bool model = btr->isModelSpace();
        const std::string name = model ? "Model" : "Layout" + std::to_string(order);
        const ObjectId layout = addRaw(db, "LAYOUT", layouts);
        setGroups(layout, layoutGroups(name, model ? 0 : order, blockId, model));
        btr->setLayoutId(layout);
        layoutEntries.push_back({3, name});
        layoutEntries.push_back({350, layout.handle().toText()});
        ++order;
    }
    setGroups(root, {{100, "AcDbDictionary"}, {281, "1"}, {3, "ACAD_GROUP"}, {350, groups.handle().toText()},
                     {3, "ACAD_LAYOUT"}, {350, layouts.handle().toText()}});
    setGroups(groups, {{100, "AcDbDictionary"}, {281, "1"}});
    setGroups(layouts, std::move(layoutEntries));
}

}  // namespace vela::db

// vela-assist info DRAWING: what a drawing holds, at a glance.
#include <cstdio>
#include <map>

#include "cli.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "drawing_loader.h"
#include "drawing_summary.h"

namespace vela::cli {

namespace {

std::string colorText(db::Color c) {
    if (c.isByColor())
        return "rgb(" + std::to_string(c.red()) + "," + std::to_string(c.green()) + "," + std::to_string(c.blue()) + ")";
    return std::to_string(c.colorIndex());
}

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (const unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + '"';
}

// One line of JSON per entity of every block, for programs that check a drawing entity by entity: handle,
// type, the block that holds it, layer, and its extents (null when it has none).
void printEntities(db::Database& db) {
    db.blockTable()->forEachRecord([&](db::SymbolTableRecord* r) {
        auto* btr = static_cast<db::BlockTableRecord*>(r);
        btr->forEachEntity([&](db::Entity* e) {
            std::string line = "{\"handle\":\"" + e->handle().toText() +
                               "\",\"type\":" + jsonString(entityTypeName(*e)) +
                               ",\"block\":" + jsonString(btr->name()) +
                               ",\"layer\":" + jsonString(e->layer()) + ",\"extents\":";
            db::Extents3d box;
            if (e->getGeomExtents(box) == db::ErrorStatus::Ok && box.isValid()) {
                char numbers[256];
                const db::Point3d &lo = box.minPoint(), &hi = box.maxPoint();
                std::snprintf(numbers, sizeof numbers, "[[%.17g,%.17g,%.17g],[%.17g,%.17g,%.17g]]", lo.x, lo.y, lo.z,
                              hi.x, hi.y, hi.z);
                line += numbers;
            } else {
                line += "null";
            }
            std::printf("%s}\n", line.c_str());
        });
    });
}

}  // namespace

int infoCommand(const std::vector<std::string>& args) {
    bool entities = false, strict = false, unknownOption = false;
    std::vector<std::string> drawings;
    for (const std::string& arg : args) {
        if (arg == "--entities")
            entities = true;
        else if (arg == "--strict")
            strict = true;
        else if (arg.starts_with("--"))
            unknownOption = true;
        else
            drawings.push_back(arg);
    }
    if (drawings.size() != 1 || unknownOption) {
        std::fputs("usage: vela-assist info DRAWING [--entities] [--strict]\n", stderr);
        return 2;
    }
    std::unique_ptr<db::Database> loaded = loadDrawing(drawings[0], nullptr, strict);
    if (!loaded) return 1;
    db::Database& db = *loaded;
    if (entities) {
        printEntities(db);
        return 0;
    }

    const DrawingSummary summary = summarizeDrawing(db);
    const auto& [perType, modelPerLayer, model, paper, inBlocks, blocks, extents] = summary;
    const std::string version = db.fileData().version.empty() ? "unknown" : db.fileData().version;
    std::printf("Drawing:  %s\n", drawings[0].c_str());
    std::printf("Format:   DXF %s, %s units\n", version.c_str(),
                db.measurement() == db::MeasurementSystem::Metric ? "metric" : "imperial");
    std::printf("Objects:  %zu (next handle %s)\n", db.objectCount(), db.handseed().toText().c_str());
    std::printf("Entities: %zu in model space, %zu in paper space, %zu in %zu block definitions\n", model, paper,
                inBlocks, blocks);
    for (const auto& [type, count] : perType) std::printf("  %-14s %zu\n", type.c_str(), count);

    std::printf("Layers:   %zu\n", db.layerTable()->size());
    db.generateLayerUsageData();
    db.layerTable()->forEachRecord([&](db::SymbolTableRecord* r) {
        auto* layer = static_cast<db::LayerTableRecord*>(r);
        auto* lt = db::objectCast<db::SymbolTableRecord>(layer->linetypeId().peek());
        std::printf("  %-20s color %-14s %-12s%s%s%s%s\n", layer->name().c_str(), colorText(layer->color()).c_str(),
                    lt ? lt->name().c_str() : "?", layer->isOff() ? " off" : "", layer->isFrozen() ? " frozen" : "",
                    layer->isLocked() ? " locked" : "", layer->isInUse() ? "" : " (unused)");
    });
    if (extents.isValid())
        std::printf("Extents:  (%g, %g, %g) - (%g, %g, %g)\n", extents.minPoint().x, extents.minPoint().y,
                    extents.minPoint().z, extents.maxPoint().x, extents.maxPoint().y, extents.maxPoint().z);
    else
        std::printf("Extents:  none (model space is empty)\n");
    return 0;
}

}  // namespace vela::cli

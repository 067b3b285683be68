#include "db/dxf/file/dxf_writer.h"

#include <charconv>
#include <cstdio>

#include "db/dxf/fields/dxf_record.h"
#include "db/dxf/fields/tag_output.h"
#include "db/dxf/file/atomic_save.h"
#include "db/dxf/file/required_objects.h"
#include "db/dxf/tags/group_code.h"
#include "db/dxf/tags/tag_writer.h"
#include "db/entities/block_reference.h"
#include "db/raw_object.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/simple_records.h"

namespace vela::db {

namespace {

class Writer {
public:
    explicit Writer(Database& db, std::string& out) : db_(db), tags_(out), out_(tags_) {}

    void run() {
        addRequiredObjects(db_);
        // The BLOCK and ENDBLK records need handles of their own; give them once and keep them.
        db_.blockTable()->forEachRecord([&](SymbolTableRecord* r) {
            auto* btr = static_cast<BlockTableRecord*>(r);
            if (btr->blockBeginHandle().isNull() || btr->blockEndHandle().isNull())
                btr->setBlockBeginEndHandles(db_.allocateHandle(), db_.allocateHandle());
        });
        ensureAppId("AcCmTransparency");
        writeHeader();
        section("CLASSES");
        for (const DxfTag& t : db_.fileData().classes) out_.writeRaw(t.code, t.value);
        endSection();
        writeTables();
        writeBlocks();
        writeEntities();
        writeObjects();
        for (const FileData::Section& s : db_.fileData().otherSections) {
            section(s.name.c_str());
            for (const DxfTag& t : s.groups) out_.writeRaw(t.code, t.value);
            endSection();
        }
        tags_.writeString(0, "EOF");
    }

private:
    void section(const char* name) {
        tags_.writeString(0, "SECTION");
        tags_.writeString(2, name);
    }
    void endSection() { tags_.writeString(0, "ENDSEC"); }

    void ensureAppId(const char* name) {
        bool needed = false;
        db_.layerTable()->forEachRecord([&](SymbolTableRecord* r) {
            needed = needed || static_cast<LayerTableRecord*>(r)->transparency() != Transparency::fromAlpha(255);
        });
        SymbolTable* apps = objectCast<SymbolTable>(db_.regAppTableId().peek());
        if (needed && apps && !apps->has(name))
            db_.addRecord(db_.regAppTableId(), std::make_unique<RegAppTableRecord>(name), nullptr, Handle(), true);
    }

    void writeHeader() {
        section("HEADER");
        const FileData& file = db_.fileData();
        auto name = [](ObjectId id) {
            auto* r = objectCast<SymbolTableRecord>(id.peek());
            return r ? r->name() : std::string();
        };
        // Variables we own are written from the drawing; the rest as read.
        const std::vector<std::pair<std::string, std::vector<DxfTag>>> ours = {
            {"$ACADVER", {{1, "AC1032"}}},
            {"$DWGCODEPAGE", {{3, "ANSI_1252"}}},
            {"$HANDSEED", {{5, db_.handseed().toText()}}},
            {"$MEASUREMENT", {{70, db_.measurement() == MeasurementSystem::Metric ? "1" : "0"}}},
            {"$CLAYER", {{8, name(db_.currentLayer())}}},
            {"$CELTYPE", {{6, name(db_.currentLinetype())}}},
            {"$CECOLOR", {{62, std::to_string(db_.currentColor().nearestColorIndex())}}},
            {"$CELWEIGHT", {{370, std::to_string(static_cast<int>(db_.currentLineWeight()))}}},
            {"$CELTSCALE", {{40, number(db_.currentLinetypeScale())}}},
            {"$LTSCALE", {{40, number(db_.linetypeScale())}}},
            {"$TEXTSIZE", {{40, number(db_.textSize())}}},
            {"$INSUNITS", {{70, std::to_string(db_.insertionUnits())}}},
        };
        auto write = [&](const std::string& var, const std::vector<DxfTag>& groups) {
            tags_.writeString(9, var);
            for (const DxfTag& t : groups) out_.writeRaw(t.code, t.value);
        };
        write(ours[0].first, ours[0].second);
        std::vector<bool> done(ours.size(), false);
        done[0] = true;
        for (const FileData::HeaderVariable& v : file.header) {
            bool replaced = false;
            for (std::size_t i = 0; i < ours.size(); ++i)
                if (v.name == ours[i].first) {
                    if (!done[i]) write(ours[i].first, ours[i].second);
                    done[i] = replaced = true;
                }
            if (!replaced) write(v.name, v.groups);
        }
        for (std::size_t i = 0; i < ours.size(); ++i)
            if (!done[i]) write(ours[i].first, ours[i].second);
        endSection();
    }

    static std::string number(double v) {
        char buf[32];
        auto r = std::to_chars(buf, buf + sizeof buf, v);
        std::string s(buf, r.ptr);
        if (s.find_first_of(".e") == std::string::npos) s += ".0";
        return s;
    }

    void writeTables() {
        section("TABLES");
        // In the order files have them; each table is named by the type of its records.
        const ObjectId tables[] = {
            db_.viewportTableId(), db_.linetypeTableId(), db_.layerTableId(),    db_.textStyleTableId(),
            db_.viewTableId(),     db_.ucsTableId(),      db_.regAppTableId(), db_.dimStyleTableId(),
            db_.blockTableId(),
        };
        for (const ObjectId id : tables) {
            auto* table = objectCast<SymbolTable>(id.peek());
            if (!table) continue;
            tags_.writeString(0, "TABLE");
            tags_.writeString(2, table->recordClass()->dxfName());
            tags_.writeHandle(5, table->handle().value());
            tags_.writeHandle(330, 0);
            table->dxfOutFields(out_);
            if (const ObjectExtras* x = table->extras())
                for (const DxfTag& t : x->xdata) out_.writeRaw(t.code, t.value);
            table->forEachRecord([&](SymbolTableRecord* r) { writeDxfRecord(*r, out_); });
            tags_.writeString(0, "ENDTAB");
        }
        endSection();
    }

    void writeEntity(const Entity& e) {
        writeDxfRecord(e, out_);
        for (const ObjectId& f : e.followers())
            if (auto* sub = objectCast<Entity>(f.peek()); sub && !sub->isErased()) writeDxfRecord(*sub, out_);
    }

    void writeBlocks() {
        section("BLOCKS");
        db_.blockTable()->forEachRecord([&](SymbolTableRecord* r) {
            auto* btr = static_cast<BlockTableRecord*>(r);
            const bool paper = btr->isLayout() && !btr->isModelSpace();
            tags_.writeString(0, "BLOCK");
            tags_.writeHandle(5, btr->blockBeginHandle().value());
            tags_.writeHandle(330, btr->handle().value());
            tags_.writeString(100, "AcDbEntity");
            if (paper) tags_.writeInt(67, 1);
            tags_.writeString(8, "0");
            tags_.writeString(100, "AcDbBlockBegin");
            tags_.writeString(2, btr->name());
            tags_.writeInt(70, btr->flags());
            tags_.writePoint(10, btr->origin());
            tags_.writeString(3, btr->name());
            tags_.writeString(1, btr->pathName());
            if (!btr->comments().empty()) tags_.writeString(4, btr->comments());
            // Model space and the active paper space keep their entities in the ENTITIES section.
            const bool inEntitiesSection = btr->isModelSpace() || namesEqual(btr->name(), BlockTableRecord::kPaperSpace);
            if (!inEntitiesSection) btr->forEachEntity([&](Entity* e) { writeEntity(*e); });
            tags_.writeString(0, "ENDBLK");
            tags_.writeHandle(5, btr->blockEndHandle().value());
            tags_.writeHandle(330, btr->handle().value());
            tags_.writeString(100, "AcDbEntity");
            if (paper) tags_.writeInt(67, 1);
            tags_.writeString(8, "0");
            tags_.writeString(100, "AcDbBlockEnd");
        });
        endSection();
    }

    void writeEntities() {
        section("ENTITIES");
        for (ObjectId space : {db_.modelSpaceId(), db_.paperSpaceId()})
            if (auto* btr = objectCast<BlockTableRecord>(space.peek()))
                btr->forEachEntity([&](Entity* e) { writeEntity(*e); });
        endSection();
    }

    void writeObjects() {
        section("OBJECTS");
        for (ObjectId id : db_.fileData().objects) {
            DbObject* o = id.peek();
            if (!o || o->isErased()) continue;
            writeDxfRecord(*o, out_);
        }
        endSection();
    }

    Database& db_;
    dxf::TagWriter tags_;
    TagOutput out_;
};

}  // namespace

std::string writeDxf(Database& db) {
    std::string out;
    out.reserve(db.objectCount() * 200);
    Writer(db, out).run();
    return out;
}

SaveResult saveDxfFile(Database& db, const std::filesystem::path& path) {
    SaveResult result;
    result.error = saveFileAtomically(path, writeDxf(db));
    result.ok = result.error.empty();
    return result;
}

}  // namespace vela::db

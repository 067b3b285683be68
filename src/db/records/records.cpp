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
           (name_.size() >= kPaperSpace.size() &&
            namesEqual(std::string_view(name_).substr(0, kPaperSpace.size()), kPaperSpace));
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

// ---- DXF declarations
// -----------------------------------------------------------------------------------------

#include "db/database.h"
#include "db/dxf/fields/dxf_io.h"

namespace vela::db {

template <class Io, class Self>
void SymbolTableRecord::recordFields(Io& io, Self& self, const char* subclassName, bool withFlags) {
    io.subclass("AcDbSymbolTableRecord");
    io.subclass(subclassName);
    io.str(2, self.name_);
    if (withFlags) io.i16(70, self.flags_);
}

template <class Io, class Self>
void LayerTableRecord::dxfFields(Io& io, Self& self) {
    recordFields(io, self, "AcDbLayerTableRecord", true);
    if constexpr (Io::kReading) {
        std::int16_t index = 7;
        io.i16(62, index);
        self.off_ = index < 0;
        self.color_ = Color::fromDxfIndex(index);
        if (self.color_.isByLayer() || self.color_.isByBlock()) self.color_ = Color::fromIndex(7);
        std::int32_t rgb = -1;
        io.i32(420, rgb);
        if (rgb >= 0) {
            self.color_ = Color::fromRgb(std::uint8_t(rgb >> 16), std::uint8_t(rgb >> 8), std::uint8_t(rgb));
            const int abs = index < 0 ? -index : index;
            if (abs > 0 && abs < 256) self.colorIndexHint_ = static_cast<std::uint8_t>(abs);
        }
        std::int16_t lw = -3;
        io.i16(370, lw);
        self.lineWeight_ = static_cast<LineWeight>(lw);
    } else {
        const int index = self.color_.isByColor() && self.colorIndexHint_ ? self.colorIndexHint_
                                                                          : self.color_.nearestColorIndex();
        io.i16(62, static_cast<std::int16_t>(self.off_ ? -index : index));
        if (self.color_.isByColor()) io.i32(420, static_cast<std::int32_t>(self.color_.rgb()));
    }
    io.symbol(6, self.linetype_, TableKind::Linetype);
    if constexpr (Io::kReading) {
        if (self.linetype_.isNull() && io.input().database())
            self.linetype_ = io.input().database()->linetypeContinuousId();
    } else {
        if (self.linetype_.isNull()) io.str(6, std::string("Continuous"));
    }
    io.boolean(290, self.plottable_);
    if constexpr (!Io::kReading) io.i16(370, static_cast<std::int16_t>(self.lineWeight_));
}

namespace {

/// The kind of a linetype element as files give it: 1 absolute rotation, 2 text, 4 shape; 0 a plain dash.
std::int16_t dashType(const LinetypeDash& d) {
    const bool text = !d.text.empty();
    const bool shape = !text && !d.textStyle.isNull();
    return static_cast<std::int16_t>((d.absoluteRotation ? 1 : 0) | (text ? 2 : 0) | (shape ? 4 : 0));
}

}  // namespace

template <class Io, class Self>
void LinetypeTableRecord::dxfFields(Io& io, Self& self) {
    recordFields(io, self, "AcDbLinetypeTableRecord", true);
    io.str(3, self.comments_);
    std::int16_t alignment = 65;  // 'A'
    io.i16(72, alignment);
    const ListCount count = io.count(73, self.dashes_);
    io.real(40, self.patternLength_);
    io.items(
        49, self.dashes_,
        [](auto& io, auto& d) {
            io.real(49, d.length);
            io.converted([&] { return dashType(d); },
                         [&](auto& type) {
                             io.i16(74, type);
                             io.when(type != 0, [&] {
                                 io.i16(75, d.shapeNumber);
                                 io.id(340, d.textStyle);
                                 io.real(46, d.scale);
                                 io.angle(50, d.rotation);
                                 io.real(44, d.offset.x);
                                 io.real(45, d.offset.y);
                                 io.when((type & 2) != 0, [&] { io.str(9, d.text); });
                             });
                         },
                         [&](auto type) { d.absoluteRotation = (type & 1) != 0; });
        },
        count);
}

template <class Io, class Self>
void TextStyleTableRecord::dxfFields(Io& io, Self& self) {
    recordFields(io, self, "AcDbTextStyleTableRecord", true);
    io.real(40, self.textSize_);
    io.real(41, self.xScale_);
    io.angle(50, self.obliquingAngle_);
    io.i16(71, self.generationFlags_);
    io.real(42, self.priorSize_);
    io.str(3, self.fileName_);
    io.str(4, self.bigFontFileName_);
}

template <class Io, class Self>
void BlockTableRecord::dxfFields(Io& io, Self& self) {
    // The table entry's 70 is the insertion units, not the block's flags (those are on the BLOCK record).
    recordFields(io, self, "AcDbBlockTableRecord", false);
    io.id(340, self.layout_);
    io.i16(70, self.insertUnits_);
    io.boolean(280, self.explodable_);
    io.boolean(281, self.scaledUniformly_);
}

#define VELA_DB_SIMPLE_RECORD_DXF(ClassName, Subclass) \
    template <class Io, class Self>                    \
    void ClassName::dxfFields(Io& io, Self& self) {    \
        recordFields(io, self, Subclass, true);        \
    }                                                  \
    VELA_DB_DEFINE_DXF(ClassName)

VELA_DB_SIMPLE_RECORD_DXF(DimStyleTableRecord, "AcDbDimStyleTableRecord")
VELA_DB_SIMPLE_RECORD_DXF(ViewportTableRecord, "AcDbViewportTableRecord")
VELA_DB_SIMPLE_RECORD_DXF(ViewTableRecord, "AcDbViewTableRecord")
VELA_DB_SIMPLE_RECORD_DXF(UcsTableRecord, "AcDbUCSTableRecord")
VELA_DB_SIMPLE_RECORD_DXF(RegAppTableRecord, "AcDbRegAppTableRecord")

VELA_DB_DEFINE_DXF(LayerTableRecord)
VELA_DB_DEFINE_DXF(LinetypeTableRecord)
VELA_DB_DEFINE_DXF(TextStyleTableRecord)
VELA_DB_DEFINE_DXF(BlockTableRecord)

}  // namespace vela::db

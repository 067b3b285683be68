#pragma once

// The DXF groups every entity shares (the "AcDbEntity" section). Included by the entity types' sources.

#include "db/dxf/fields/dxf_io.h"
#include "db/entity.h"
#include "db/records/block_table_record.h"

namespace vela::db {

template <class Io, class Self>
void Entity::entityFields(Io& io, Self& self) {
    io.subclass("AcDbEntity");
    if constexpr (!Io::kReading) {
        // Entities of paper-space layouts carry the paper-space flag; the reader takes the owner instead.
        if (auto* btr = objectCast<BlockTableRecord>(self.ownerId().peek()); btr && btr->isLayout() && !btr->isModelSpace())
            io.i16(67, 1);
    }
    io.symbol(8, self.layer_, TableKind::Layer);
    io.symbol(6, self.linetype_, TableKind::Linetype, "ByLayer");
    if constexpr (Io::kReading) {
        std::int16_t index = 256;
        const bool hasIndex = io.input().has(62);
        io.i16(62, index);
        self.color_ = Color::fromDxfIndex(index);
        std::int32_t rgb = -1;
        io.i32(420, rgb);
        if (rgb >= 0) {
            self.color_ = Color::fromRgb(std::uint8_t(rgb >> 16), std::uint8_t(rgb >> 8), std::uint8_t(rgb));
            self.colorIndexHint_ = !hasIndex ? kNoIndex : static_cast<std::uint16_t>(index > 0 && index < 256 ? index : 0);
        }
        std::int16_t lw = -1;
        io.i16(370, lw);
        self.lineWeight_ = static_cast<LineWeight>(lw);
        std::int16_t invisible = 0;
        io.i16(60, invisible);
        self.visible_ = invisible == 0;
        std::int32_t transparency = 0;
        io.i32(440, transparency);
        self.transparency_ = Transparency::fromRaw(static_cast<std::uint32_t>(transparency));
    } else {
        const Color c = self.color_;
        if (!c.isByColor())
            io.i16(62, static_cast<std::int16_t>(c.nearestColorIndex()), std::int16_t(256));
        else if (self.colorIndexHint_ != kNoIndex)
            io.i16(62, static_cast<std::int16_t>(self.colorIndexHint_ != kNearestIndex ? self.colorIndexHint_
                                                                                      : c.nearestColorIndex()));
        if (c.isByColor()) io.i32(420, static_cast<std::int32_t>(c.rgb()));
        if (self.lineWeight_ != LineWeight::ByLayer) io.i16(370, static_cast<std::int16_t>(self.lineWeight_));
        if (!self.visible_) io.i16(60, 1);
        if (!self.transparency_.isByLayer()) io.i32(440, static_cast<std::int32_t>(self.transparency_.raw()));
    }
    io.real(48, self.linetypeScale_, 1.0);
}

}  // namespace vela::db

#pragma once

// The groups texts and attributes share, declared once. Included by their sources.

#include "db/entities/text.h"
#include "db/entity_dxf.h"

namespace vela::db {

template <class Io, class Self>
void Text::textFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbText");
    io.real(39, self.thickness_, 0.0);
    io.point(10, self.position_);
    io.real(40, self.height_);
    io.str(1, self.text_);
    io.angle(50, self.rotation_, 0.0);
    io.real(41, self.widthFactor_, 1.0);
    io.angle(51, self.oblique_, 0.0);
    io.symbolOr(7, self.style_, TableKind::TextStyle, "Standard");
    io.i16(71, self.generation_, std::int16_t(0));
    std::int16_t h = static_cast<std::int16_t>(self.hmode_);
    io.i16(72, h, std::int16_t(0));
    // The second alignment point is meaningful (and written) only for texts that are not left/baseline.
    if constexpr (Io::kReading) {
        io.point(11, self.alignmentPoint_);
        self.hmode_ = static_cast<HorizontalMode>(h >= 0 && h <= 5 ? h : 0);
    } else if (h != 0 || self.vmode_ != VerticalMode::Baseline) {
        io.point(11, self.alignmentPoint_);
    }
    io.vec(210, self.normal_, Vector3d::zAxis());
}

template <class Io, class Self>
void Text::verticalModeField(Io& io, Self& self, int code) {
    std::int16_t v = static_cast<std::int16_t>(self.vmode_);
    io.i16(code, v, std::int16_t(0));
    if constexpr (Io::kReading) self.vmode_ = static_cast<VerticalMode>(v >= 0 && v <= 3 ? v : 0);
}

}  // namespace vela::db

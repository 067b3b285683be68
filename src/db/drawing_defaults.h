#pragma once

#include "db/color.h"
#include "db/lineweight.h"
#include "db/object_id.h"
#include "db/transparency.h"

namespace vela::db {

enum class MeasurementSystem { Imperial = 0, Metric = 1 };

/// The drawing's current settings, saved in its header: what new entities get, and the units. One value so
/// that undo can keep and restore them together, as a command that changes any of them is undone.
struct DrawingDefaults {
    ObjectId layer, linetype;  // null: layer "0", linetype ByLayer
    Color color = Color::byLayer();
    LineWeight lineWeight = LineWeight::ByLayer;
    double linetypeScale = 1.0;        // of new entities ($CELTSCALE)
    double globalLinetypeScale = 1.0;  // $LTSCALE
    Transparency transparency = Transparency::byLayer();
    MeasurementSystem measurement = MeasurementSystem::Metric;
    int insertionUnits = 0;  // $INSUNITS: 0 unitless, 1 inches, 4 millimetres, 6 metres, ...
    double textSize = 2.5;   // $TEXTSIZE: the height new text gets
    bool operator==(const DrawingDefaults&) const = default;
};

}  // namespace vela::db

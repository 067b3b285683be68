#pragma once

#include <QStringView>
#include <optional>

#include "db/geometry/vector.h"

namespace vela::properties {

/// A point as requests write it: numbers joined by commas, "x,y" or "x,y,z" (parts after the third are
/// ignored). Each command decides what a short or unreadable text means for it, so the reader keeps the
/// facts apart: how many parts there were and which of the first three read as numbers.
struct PointText {
    qsizetype parts = 0;            // comma-separated parts, empty ones included ("1,2," has three)
    std::optional<double> x, y, z;  // each read by NumberFromText; nothing when absent or unreadable

    /// x, y and z (0 without a third part) when at least two parts were given and every one of the first
    /// three that was given reads; nothing otherwise.
    std::optional<db::Point3d> point() const;
};

PointText ReadPointText(QStringView text);

}  // namespace vela::properties

#pragma once

#include <QStringView>
#include <optional>

#include "db/geometry/vector.h"

namespace vela::host {

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

/// A point as a CAD user types it on the command line: "x,y" or "x,y,z" absolute, "@dx,dy[,dz]" relative to
/// `last`, "@" alone for `last` itself, "dist<angle" and "@dist<angle" in polar form (angle in degrees,
/// counter- clockwise from the X axis). Nothing for any other text.
std::optional<db::Point3d> ReadCommandLinePoint(QStringView text, const db::Point3d& last);

/// A point as the command line writes it and reads it back exactly: "x,y,z", each the shortest text of its
/// number.
QString CommandLinePointText(const db::Point3d& point);

}  // namespace vela::host

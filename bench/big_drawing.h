#pragma once

#include <memory>
#include <string>

#include "bench_files.h"
#include "db/database.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/spatial_index.h"

namespace vela::bench {

/// The large generated drawing read once per program, with the spatial index pictures of it use and its
/// model space's extents. `db` is null when the drawing cannot be made or read.
struct BigDrawing {
    std::unique_ptr<db::Database> db;
    std::unique_ptr<db::SpatialIndex> index;
    db::Extents3d extents;
    std::string path;

    BigDrawing() {
        path = bigDrawingPath();
        if (path.empty()) return;
        db::DxfReadResult read = db::readDxfFile(path);
        if (!read.database) return;
        db = std::move(read.database);
        index = std::make_unique<db::SpatialIndex>(*db);
        extents = index->extents(db->modelSpaceId());
    }

    /// A tenth of each side of the extents about their centre: 1% of their area, as a user zoomed in sees.
    db::Extents3d onePercent() const {
        const db::Point3d c = extents.center(), lo = extents.minPoint(), hi = extents.maxPoint();
        const double w = (hi.x - lo.x) / 20, h = (hi.y - lo.y) / 20;
        return db::Extents3d(db::Point3d(c.x - w, c.y - h), db::Point3d(c.x + w, c.y + h));
    }
};

inline BigDrawing& bigDrawing() {
    static BigDrawing d;
    return d;
}

}  // namespace vela::bench

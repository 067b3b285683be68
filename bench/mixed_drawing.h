#pragma once

#include <memory>
#include <string>
#include <vector>

#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/circle.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/entities/text.h"
#include "db/records/layer_table_record.h"

namespace vela::bench {

/// Fills model space with `count` entities of mixed types, made in code: lines, circles, arcs, polylines and
/// texts in turn (entity i is of type i % 5) on 200 layers "L0".."L199" (entity i on layer i % 200), every
/// tenth one red. The selection benchmarks query it by layer, color and type.
inline void buildMixedDrawing(db::Database& db, int count) {
    std::vector<db::ObjectId> layers;
    for (int i = 0; i < 200; ++i) {
        db::ObjectId id;
        db.addRecord(db.layerTableId(),
                     std::make_unique<db::LayerTableRecord>(std::string("L").append(std::to_string(i))), &id);
        layers.push_back(id);
    }
    const db::ObjectId ms = db.modelSpaceId();
    for (int i = 0; i < count; ++i) {
        std::unique_ptr<db::Entity> e;
        const double x = i % 1000, y = i / 1000;
        switch (i % 5) {
            case 0:
                e = std::make_unique<db::Line>(db::Point3d(x, y), db::Point3d(x + 1, y + 1));
                break;
            case 1:
                e = std::make_unique<db::Circle>(db::Point3d(x, y), 0.5);
                break;
            case 2:
                e = std::make_unique<db::Arc>(db::Point3d(x, y), 0.5, 0, 3);
                break;
            case 3: {
                auto p = std::make_unique<db::Polyline>();
                p->addVertexAt(0, {x, y});
                p->addVertexAt(1, {x + 1, y});
                e = std::move(p);
                break;
            }
            default:
                e = std::make_unique<db::Text>(db::Point3d(x, y), "T", 0.2);
                break;
        }
        e->setLayerId(layers[static_cast<std::size_t>(i % 200)]);
        if (i % 10 == 0) e->setColor(db::Color::fromIndex(1));
        db.appendEntity(ms, std::move(e));
    }
}

}  // namespace vela::bench

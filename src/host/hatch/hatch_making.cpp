#include "host/hatch/hatch_making.h"

#include <cmath>

#include "db/database.h"
#include "db/support/hatch_pattern_file.h"
#include "host/document.h"
#include "host/hatch/boundary_curves.h"
#include "host/host.h"
#include "host/system_variables.h"

namespace vela::host::hatch {

HatchSettings HatchSettings::current() {
    return {.gapTolerance = systemVariables().hatchGapTolerance()};
}

std::vector<db::HatchLoop> BoundaryLoopsAround(Document& document, const db::Point3d& point,
                                               const HatchSettings& settings) {
    if (!std::isfinite(point.x) || !std::isfinite(point.y)) return {};
    std::vector<db::ObjectId> sources;
    const std::optional<Region> region = FindRegionAround(document.spatialIndex(), document.activeSpaceId(),
                                                          point, settings.gapTolerance, &sources);
    if (!region) return {};
    return HatchLoops(*region, sources);
}

std::unique_ptr<db::Hatch> NewPatternHatch(const db::Database& database, std::string_view pattern,
                                           double scale, double angle, db::ErrorStatus* status) {
    auto refuse = [&]() -> std::unique_ptr<db::Hatch> {
        if (status) *status = db::ErrorStatus::InvalidInput;
        return nullptr;
    };
    if (!std::isfinite(scale) || scale <= 0 || !std::isfinite(angle)) return refuse();
    const db::HatchPatternDefinition* definition =
        db::findBundledHatchPattern(pattern, database.measurement() == db::MeasurementSystem::Metric);
    if (!definition) return refuse();
    auto hatch = std::make_unique<db::Hatch>();
    hatch->setDatabaseDefaults(&database);
    hatch->setStyle(db::Hatch::Style::Normal);
    hatch->setAssociative(true);
    // The name as the pattern file spells it, whatever case it was asked for in.
    hatch->setPattern(db::Hatch::PatternType::Predefined, definition->name);
    hatch->setPatternScale(scale);
    hatch->setPatternAngle(angle);
    hatch->setPatternLines(db::hatchPatternLines(*definition, angle, scale));
    if (status) *status = db::ErrorStatus::Ok;
    return hatch;
}

db::ErrorStatus AppendLoops(db::Hatch& hatch, std::vector<db::HatchLoop> loops, const db::Point3d& seed) {
    for (db::HatchLoop& loop : loops)
        if (const db::ErrorStatus es = hatch.appendLoop(std::move(loop)); es != db::ErrorStatus::Ok)
            return es;
    std::vector<db::Point2d> seeds = hatch.seedPoints();
    seeds.push_back({seed.x, seed.y});
    hatch.setSeedPoints(std::move(seeds));
    return db::ErrorStatus::Ok;
}

db::ObjectId AddHatch(db::Database& database, db::ObjectId space, std::unique_ptr<db::Hatch> hatch,
                      bool linkBoundary) {
    std::vector<db::ObjectId> boundary;  // an entity bounding several loops is linked once all the same
    if (linkBoundary && hatch->associative())
        for (const db::HatchLoop& loop : hatch->loops())
            boundary.insert(boundary.end(), loop.sourceObjects.begin(), loop.sourceObjects.end());
    db::ObjectId id;
    if (database.appendEntity(space, std::move(hatch), &id) != db::ErrorStatus::Ok) return {};
    for (db::ObjectId source : boundary) {
        // An entity on a locked layer cannot be opened for write; the hatch still names it.
        if (auto entity = db::openObject<db::Entity>(source, db::OpenMode::ForWrite))
            entity->addPersistentReactor(id);
    }
    return id;
}

}  // namespace vela::host::hatch

#include "host/entity_transform.h"

#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "db/entity.h"
#include "db/object_ref.h"
#include "db/value_checks.h"

namespace vela::host {

EntityTransform transformEntity(db::ObjectId id, std::span<const db::Matrix3d> matrices) {
    EntityTransform result;
    if (id.isNull()) return result;
    auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForWrite);
    if (!entity) return result;
    result.opened = true;
    const std::unique_ptr<db::DbObject> before = entity->clone();
    // What the entity owns moves with it and goes back with it.
    std::vector<std::pair<db::ObjectId, std::unique_ptr<db::DbObject>>> followersBefore;
    for (const db::ObjectId& f : entity->followers())
        if (const db::DbObject* follower = f.peek()) followersBefore.emplace_back(f, follower->clone());
    for (const db::Matrix3d& m : matrices) {
        try {
            if (entity->transformBy(m) != db::ErrorStatus::Ok) result.refused = true;
        } catch (const std::exception&) {
            result.refused = true;
        }
    }
    std::string problem = db::describeBadValue(*entity);
    for (const auto& [f, saved] : followersBefore)
        if (problem.empty() && f.peek()) problem = db::describeBadValue(*f.peek());
    if (problem.empty()) return result;
    entity->restoreContents(*before);
    for (const auto& [f, saved] : followersBefore) {
        auto follower = db::openObject<db::DbObject>(f, db::OpenMode::ForWrite,
                                                     {.openErased = true, .openOnLockedLayer = true});
        if (follower) follower->restoreContents(*saved);
    }
    result.badValue = std::move(problem);
    return result;
}

}  // namespace vela::host

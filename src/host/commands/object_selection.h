#pragma once

#include <optional>
#include <vector>

#include "db/geometry/vector.h"
#include "db/object_id.h"

namespace vela::host {
class CommandContext;
class Document;
}  // namespace vela::host

namespace vela::host::commands {

/// The selection a command found when it started (noun-verb): the first object selection of the command takes
/// it instead of asking, and the document's selection is cleared once the command is done with it. One per
/// running host command; a command run by another gets its own.
class PickFirst {
  public:
    explicit PickFirst(CommandContext& context);
    ~PickFirst();
    PickFirst(const PickFirst&) = delete;
    PickFirst& operator=(const PickFirst&) = delete;
    /// The running command's starting selection, the first time it is asked for (and only if not empty).
    static std::optional<std::vector<db::ObjectId>> take();

  private:
    Document* document_;
    std::vector<db::ObjectId> ids_;
    bool taken_ = false;
    PickFirst* outer_;
};

/// The entities of a space (a block record) inside the window the two corners span, or with `crossing` inside
/// or touching it, in drawing order; entities on frozen layers are left out.
std::vector<db::ObjectId> windowSelection(db::ObjectId space, const db::Point3d& c1, const db::Point3d& c2,
                                          bool crossing);

}  // namespace vela::host::commands

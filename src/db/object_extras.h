#pragma once

#include <string>
#include <vector>

#include "db/object_id.h"

namespace vela::db {

/// One DXF group kept as text, for data we carry through a file without modelling it.
struct DxfTag {
    int code = 0;
    std::string value;
    bool operator==(const DxfTag&) const = default;
};

/// Data that few objects have: kept in a separate allocation so that the common object stays small.
struct ObjectExtras {
    ObjectId extensionDictionary;
    std::vector<ObjectId> persistentReactors;
    /// Extended data as read or set: groups from the first 1001 (application name) on.
    std::vector<DxfTag> xdata;
    /// Groups of the object's own record that we do not model, written back in their place.
    std::vector<DxfTag> keptTags;

    bool empty() const {
        return extensionDictionary.isNull() && persistentReactors.empty() && xdata.empty() && keptTags.empty();
    }
    bool operator==(const ObjectExtras&) const = default;
};

}  // namespace vela::db

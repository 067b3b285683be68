#pragma once

#include <string>
#include <vector>

#include "db/object_extras.h"
#include "db/object_id.h"

namespace vela::db {

/// What a drawing file holds beyond objects, kept so that saving writes it back: the header variables as read,
/// the class list, sections we do not interpret, and the order of the non-graphical objects.
struct FileData {
    struct HeaderVariable {
        std::string name;  // "$ACADVER"
        std::vector<DxfTag> groups;
    };
    struct Section {
        std::string name;
        std::vector<DxfTag> groups;
    };

    std::vector<HeaderVariable> header;
    std::vector<DxfTag> classes;
    std::vector<Section> otherSections;
    /// Objects of the OBJECTS section in file order (the root dictionary first).
    std::vector<ObjectId> objects;
    ObjectId rootDictionary;
    /// $ACADVER of the file read ("AC1032"); empty for a drawing made here.
    std::string version;

    const HeaderVariable* find(std::string_view name) const {
        for (const HeaderVariable& v : header)
            if (v.name == name) return &v;
        return nullptr;
    }
};

}  // namespace vela::db

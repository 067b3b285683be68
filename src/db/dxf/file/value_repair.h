#pragma once

#include <string>
#include <vector>

#include "db/object_extras.h"

namespace vela::db::dxf {

/// What became of a value that its group code's type does not allow.
struct ValueRepair {
    enum Kind { None, Changed, Dropped } kind = None;
    std::string description;  ///< "'1.2.3' is read as 1.2", for the warning; empty when nothing was lost
};

/// Makes a value one its group code's type allows, for groups kept as text and written back as they came
/// (groups of kinds we do not model, header variables, other sections), so that a saved file reads again,
/// here and elsewhere. A number with a decimal comma takes a point; a number that does not parse becomes the
/// number it starts with, or 0; an integer written as a whole number with a fraction part loses it; a handle
/// or binary chunk that is not hexadecimal is dropped; text loses NUL bytes and line breaks. A value already
/// valid is left exactly as it is. `recordType` names the record the group is of, for the few record types
/// that give a group code a type of their own.
ValueRepair repairValue(int code, std::string& value, std::string_view recordType = {});

/// Writes line breaks in text as ASCII DXF does ("^J", "^M") and removes NUL bytes; true when there were any.
bool caretEncodeLineBreaks(std::string& text);

/// Repairs every group of a list, dropping those that cannot be repaired; calls report(code, description) for
/// each repair that changed what the value says (a decimal comma does not).
template <class Report>
void repairGroups(std::vector<DxfTag>& groups, std::string_view recordType, Report&& report) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const ValueRepair r = repairValue(groups[i].code, groups[i].value, recordType);
        if (!r.description.empty()) report(groups[i].code, r.description);
        if (r.kind == ValueRepair::Dropped) continue;
        if (kept != i) groups[kept] = std::move(groups[i]);
        ++kept;
    }
    groups.resize(kept);
}

}  // namespace vela::db::dxf

#pragma once

#include <string_view>

namespace vela::db {

class DxfInput;

/// Older files (R12) write records without subclass markers. For the entity types whose groups are kept in
/// whole or in part, this tells the input which section each leftover group belongs to, so that saving in the
/// current version puts every group under the marker a reader expects. Does nothing for a record that has
/// markers.
void assignUnmarkedSections(DxfInput& in, std::string_view dxfName);

}  // namespace vela::db

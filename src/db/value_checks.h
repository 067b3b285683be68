#pragma once

#include <string>

namespace vela::db {

class DbObject;

/// What makes an object unfit to keep, in a few words ("a coordinate that is not a finite number", "a normal
/// of zero length"), or an empty text when nothing does. Read through the object's own DXF declaration, so
/// that every kind is covered by the values it holds: numbers that are not finite anywhere; directions of
/// zero length; and the sizes that must not be zero for the kinds that have them (radii, an ellipse's axes,
/// the scale factors of a block reference). Commands check what they changed with it and undo a change that
/// fails.
std::string describeBadValue(const DbObject& object);

}  // namespace vela::db

#pragma once

// The solid modeller's data as drawing files carry it in text form (SAT): lines of the modeller's own format,
// each in a group 1 (continued in groups 3 past 255 characters), every character scrambled by a fixed
// substitution. Nothing here understands the geometry; it only finds the bodies and their placement (the
// "transform" record a body refers to), so that a rigid motion or a uniform scaling can be recorded in the
// data without a modeller, and everything else stays as it came.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/error_status.h"
#include "db/geometry/matrix.h"
#include "db/object_extras.h"

namespace vela::db::sat {

/// The text of a line as stored in a file, and back. encode(decode(s)) == s for what drawing programs
/// write; decode(encode(s)) == s always.
std::string decode(std::string_view stored);
std::string encode(std::string_view text);

/// The lines of modeller text held in `groups` (1 starts a line, 3 continues it); groups of other codes are
/// skipped.
std::vector<std::string> lines(const std::vector<DxfTag>& groups);

/// The placement of a body: p' = scale * (p * rows) + translation (row vectors), as the record holds it.
struct Placement {
    double rows[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    double translation[3] = {0, 0, 0};
    double scale = 1.0;
    /// The same as a matrix acting on column vectors.
    Matrix3d matrix() const;
};

/// The placement of the first body, identity when it refers to no transform record; nullopt when the text
/// cannot be understood that far.
std::optional<Placement> bodyPlacement(const std::vector<DxfTag>& groups);

/// Composes `m` (a rotation and translation with a positive uniform scale; no reflection) into the placement
/// of every body of the modeller text in `groups`: a body's transform record is rewritten, or one is added
/// for a body without. Only the lines that change are written anew; all other groups stay byte for byte.
/// CannotTransform (and `groups` unchanged) for another kind of matrix or text this cannot follow safely
/// (no bodies, numbered records, history data, records split across lines, lines that do not encode back
/// as they came).
ErrorStatus composeTransform(std::vector<DxfTag>& groups, const Matrix3d& m);

}  // namespace vela::db::sat

#pragma once

#include <vector>

#include "db/geometry/vector.h"
#include "db/symbol_table.h"

namespace vela::db {

/// One element of a linetype pattern: a dash (positive length), a gap (negative) or a dot (zero), optionally
/// carrying a shape or a text drawn along the line.
struct LinetypeDash {
    double length = 0.0;
    std::int16_t shapeNumber = 0;  // shape number, or 0; for texts the index into the style's shapes is 0
    ObjectId textStyle;            // style of the text or shape file of the shape
    double scale = 1.0;
    double rotation = 0.0;  // radians
    Vector3d offset;
    bool absoluteRotation = false;
    bool uprightRotation = false;
    std::string text;       // empty for plain dashes and shapes
    std::string shapeName;  // shape named by a .lin file, until a shape file resolves its number
    bool operator==(const LinetypeDash&) const = default;
};

class LinetypeTableRecord : public SymbolTableRecord {
    VELA_DB_DECLARE_CLASS(LinetypeTableRecord)
public:
    LinetypeTableRecord() = default;
    explicit LinetypeTableRecord(std::string_view name) { name_ = std::string(name); }

    const std::string& comments() const { return comments_; }
    void setComments(std::string_view c) { assertWriteEnabled(), comments_ = std::string(c); }
    double patternLength() const { return patternLength_; }
    void setPatternLength(double l) { assertWriteEnabled(), patternLength_ = l; }
    const std::vector<LinetypeDash>& dashes() const { return dashes_; }
    void setDashes(std::vector<LinetypeDash> d) { assertWriteEnabled(), dashes_ = std::move(d); }
    bool isScaledToFit() const { return scaledToFit_; }
    void setIsScaledToFit(bool v) { assertWriteEnabled(), scaledToFit_ = v; }

private:
    std::string comments_;
    double patternLength_ = 0.0;
    std::vector<LinetypeDash> dashes_;
    bool scaledToFit_ = false;
};

}  // namespace vela::db

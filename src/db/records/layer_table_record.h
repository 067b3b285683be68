#pragma once

#include "db/color.h"
#include "db/lineweight.h"
#include "db/symbol_table.h"
#include "db/transparency.h"

namespace vela::db {

class LayerTableRecord : public SymbolTableRecord {
    VELA_DB_DECLARE_CLASS(LayerTableRecord)
public:
    LayerTableRecord() = default;
    explicit LayerTableRecord(std::string_view name) { name_ = std::string(name); }

    Color color() const { return color_; }
    void setColor(Color c) { assertWriteEnabled(), color_ = c, colorIndexHint_ = 0; }
    ObjectId linetypeId() const { return linetype_; }
    void setLinetypeId(ObjectId id) { assertWriteEnabled(), linetype_ = id; }
    LineWeight lineWeight() const { return lineWeight_; }
    void setLineWeight(LineWeight w) { assertWriteEnabled(), lineWeight_ = w; }
    Transparency transparency() const { return transparency_; }
    void setTransparency(Transparency t) { assertWriteEnabled(), transparency_ = t; }

    bool isOff() const { return off_; }
    void setIsOff(bool v) { assertWriteEnabled(), off_ = v; }
    bool isFrozen() const { return flags_ & kFrozen; }
    void setIsFrozen(bool v) { setFlag(kFrozen, v); }
    bool isLocked() const { return flags_ & kLocked; }
    void setIsLocked(bool v) { setFlag(kLocked, v); }
    bool isPlottable() const { return plottable_; }
    void setIsPlottable(bool v) { assertWriteEnabled(), plottable_ = v; }
    const std::string& description() const { return description_; }
    void setDescription(std::string_view d) { assertWriteEnabled(), description_ = std::string(d); }

    /// Whether any entity of the drawing lies on this layer, as of the last Database::generateLayerUsageData.
    bool isInUse() const { return inUse_; }

    static constexpr std::int16_t kFrozen = 1;
    static constexpr std::int16_t kLocked = 4;

private:
    friend class Database;
    void setFlag(std::int16_t bit, bool on) {
        assertWriteEnabled();
        flags_ = static_cast<std::int16_t>(on ? (flags_ | bit) : (flags_ & ~bit));
    }

    Color color_ = Color::fromIndex(7);
    ObjectId linetype_;
    LineWeight lineWeight_ = LineWeight::ByLineWeightDefault;
    Transparency transparency_ = Transparency::fromAlpha(255);
    bool off_ = false;
    bool plottable_ = true;
    bool inUse_ = true;  // usage data is a cached answer, not drawing content
    std::uint8_t colorIndexHint_ = 0;  // the palette index a file gave beside a true color
    std::string description_;
};

}  // namespace vela::db

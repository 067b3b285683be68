#pragma once

#include "db/symbol_table.h"

namespace vela::db {

class TextStyleTableRecord : public SymbolTableRecord {
    VELA_DB_DECLARE_CLASS(TextStyleTableRecord)
public:
    TextStyleTableRecord() = default;
    explicit TextStyleTableRecord(std::string_view name) { name_ = std::string(name); }

    const std::string& fileName() const { return fileName_; }
    void setFileName(std::string_view f) { assertWriteEnabled(), fileName_ = std::string(f); }
    const std::string& bigFontFileName() const { return bigFontFileName_; }
    void setBigFontFileName(std::string_view f) { assertWriteEnabled(), bigFontFileName_ = std::string(f); }
    /// Fixed text height, 0 when texts give their own.
    double textSize() const { return textSize_; }
    void setTextSize(double h) { assertWriteEnabled(), textSize_ = h; }
    double xScale() const { return xScale_; }
    void setXScale(double s) { assertWriteEnabled(), xScale_ = s; }
    double obliquingAngle() const { return obliquingAngle_; }
    void setObliquingAngle(double a) { assertWriteEnabled(), obliquingAngle_ = a; }
    double priorSize() const { return priorSize_; }
    void setPriorSize(double s) { assertWriteEnabled(), priorSize_ = s; }
    /// DXF group 71: 2 backwards, 4 upside down.
    std::int16_t generationFlags() const { return generationFlags_; }
    void setGenerationFlags(std::int16_t f) { assertWriteEnabled(), generationFlags_ = f; }
    /// A shape file rather than a text font (group 70 bit 1).
    bool isShapeFile() const { return flags_ & 1; }
    bool isVertical() const { return flags_ & 4; }

private:
    std::string fileName_ = "txt";
    std::string bigFontFileName_;
    double textSize_ = 0.0;
    double xScale_ = 1.0;
    double obliquingAngle_ = 0.0;
    double priorSize_ = 2.5;
    std::int16_t generationFlags_ = 0;
};

}  // namespace vela::db

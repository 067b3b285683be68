#pragma once

#include <string>

#include "db/entity.h"

namespace vela::db {

/// A single line of text.
class Text : public Entity {
    VELA_DB_DECLARE_CLASS(Text)
public:
    enum class HorizontalMode : std::int16_t { Left = 0, Center = 1, Right = 2, Aligned = 3, Middle = 4, Fit = 5 };
    enum class VerticalMode : std::int16_t { Baseline = 0, Bottom = 1, Middle = 2, Top = 3 };

    Text() = default;
    Text(const Point3d& position, std::string_view text, double height)
        : position_(position), text_(text), height_(height) {}

    /// Insertion point in world coordinates.
    Point3d position() const;
    void setPosition(const Point3d& p);
    /// Second alignment point in world coordinates, used unless the text is left/baseline aligned.
    Point3d alignmentPoint() const;
    void setAlignmentPoint(const Point3d& p);
    const std::string& textString() const { return text_; }
    void setTextString(std::string_view s) { assertWriteEnabled(), text_ = std::string(s); }
    double height() const { return height_; }
    ErrorStatus setHeight(double h);
    double rotation() const { return rotation_; }
    void setRotation(double r) { assertWriteEnabled(), rotation_ = r; }
    double widthFactor() const { return widthFactor_; }
    void setWidthFactor(double w) { assertWriteEnabled(), widthFactor_ = w; }
    double oblique() const { return oblique_; }
    void setOblique(double o) { assertWriteEnabled(), oblique_ = o; }
    ObjectId textStyle() const { return style_; }
    void setTextStyle(ObjectId s) { assertWriteEnabled(), style_ = s; }
    HorizontalMode horizontalMode() const { return hmode_; }
    void setHorizontalMode(HorizontalMode m) { assertWriteEnabled(), hmode_ = m; }
    VerticalMode verticalMode() const { return vmode_; }
    void setVerticalMode(VerticalMode m) { assertWriteEnabled(), vmode_ = m; }
    /// 2 = backwards (mirrored in X), 4 = upside down.
    std::int16_t generationFlags() const { return generation_; }
    void setGenerationFlags(std::int16_t f) { assertWriteEnabled(), generation_ = f; }
    double thickness() const { return thickness_; }
    void setThickness(double t) { assertWriteEnabled(), thickness_ = t; }
    const Vector3d& normal() const { return normal_; }
    /// Tilts the text's plane; its points stay where they are.
    void setNormal(const Vector3d& n);

    /// Estimated box: without font metrics each character is taken as `kCharacterWidth` times the height wide.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

    static constexpr double kCharacterWidth = 0.6;

protected:
    /// The groups of the first "AcDbText" section, which attributes share; the vertical alignment comes in a
    /// later section whose group code differs between texts (73) and attributes (74).
    template <class Io, class Self>
    static void textFields(Io& io, Self& self);
    template <class Io, class Self>
    static void verticalModeField(Io& io, Self& self, int code);

private:
    // Points are kept in the object coordinate system, as files hold them, so reading and writing are exact.
    Point3d position_;
    Point3d alignmentPoint_;
    std::string text_;
    double height_ = 1.0;
    double rotation_ = 0.0;
    double widthFactor_ = 1.0;
    double oblique_ = 0.0;
    double thickness_ = 0.0;
    ObjectId style_;
    Vector3d normal_ = Vector3d::zAxis();
    HorizontalMode hmode_ = HorizontalMode::Left;
    VerticalMode vmode_ = VerticalMode::Baseline;
    std::int16_t generation_ = 0;
};

}  // namespace vela::db

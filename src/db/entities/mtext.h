#pragma once

#include <string>

#include "db/entity.h"

namespace vela::db {

/// Multi-line text with inline formatting codes.
class MText : public Entity {
    VELA_DB_DECLARE_CLASS(MText)
public:
    /// Where the location point sits on the text's box: 1 top left ... 9 bottom right.
    enum class Attachment : std::int16_t {
        TopLeft = 1, TopCenter, TopRight, MiddleLeft, MiddleCenter, MiddleRight, BottomLeft, BottomCenter,
        BottomRight
    };

    MText() = default;

    const Point3d& location() const { return location_; }
    void setLocation(const Point3d& p) { assertWriteEnabled(), location_ = p; }
    const std::string& contents() const { return contents_; }
    void setContents(std::string_view c) { assertWriteEnabled(), contents_ = std::string(c); }
    double textHeight() const { return height_; }
    ErrorStatus setTextHeight(double h);
    /// Reference column width; 0 lets lines run as long as they are.
    double width() const { return width_; }
    void setWidth(double w) { assertWriteEnabled(), width_ = w; }
    /// Direction of the text's X axis in world coordinates.
    const Vector3d& direction() const { return direction_; }
    void setDirection(const Vector3d& d) { assertWriteEnabled(), direction_ = d.normalized(), directionAsRotation_ = false; }
    /// Rotation of the direction about the normal, relative to the plane's X axis.
    double rotation() const;
    void setRotation(double angle);
    Attachment attachment() const { return attachment_; }
    void setAttachment(Attachment a) { assertWriteEnabled(), attachment_ = a; }
    /// 1 left to right, 3 top to bottom, 5 by style.
    std::int16_t flowDirection() const { return flow_; }
    void setFlowDirection(std::int16_t f) { assertWriteEnabled(), flow_ = f; }
    double lineSpacingFactor() const { return lineSpacing_; }
    void setLineSpacingFactor(double f) { assertWriteEnabled(), lineSpacing_ = f; }
    std::int16_t lineSpacingStyle() const { return lineSpacingStyle_; }
    void setLineSpacingStyle(std::int16_t s) { assertWriteEnabled(), lineSpacingStyle_ = s; }
    ObjectId textStyle() const { return style_; }
    void setTextStyle(ObjectId s) { assertWriteEnabled(), style_ = s; }
    const Vector3d& normal() const { return normal_; }
    void setNormal(const Vector3d& n) { assertWriteEnabled(), normal_ = n.normalized(); }

    /// Estimated box from the contents' lines and characters (no font metrics: see Text::kCharacterWidth); a
    /// set column width is used as the box width.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    Point3d location_;
    std::string contents_;
    double height_ = 1.0;
    double width_ = 0.0;
    double lineSpacing_ = 1.0;
    Vector3d direction_ = Vector3d::xAxis();
    Vector3d normal_ = Vector3d::zAxis();
    ObjectId style_;
    Attachment attachment_ = Attachment::TopLeft;
    std::int16_t flow_ = 1;
    std::int16_t lineSpacingStyle_ = 1;
    bool directionAsRotation_ = false;  // the file gave a rotation angle (50) instead of a direction (11)
};

}  // namespace vela::db

#include <cmath>

#include "db/entities/modeler_geometry.h"
#include "db/entities/ole_frame.h"
#include "db/entities/raster_image.h"
#include "db/entities/sub_d_mesh.h"
#include "db/entities/viewport.h"
#include "host/property_protocol/kind_properties.h"

namespace vela::host::kinds {

namespace {

using db::Entity;

PropertyValue integer(std::int64_t v) {
    return PropertyValue(static_cast<qint64>(v));
}

// An image and a wipeout share their frame; a wipeout adds nothing of its own.
const std::vector<PropertyDescriptor> kRasterImage = {
    VELA_XYZ("Position", db::RasterImage, position),
    {"Width", PropertyType::Real, [](const Entity& e) { return real(as<db::RasterImage>(e).width()); }},
    {"Height", PropertyType::Real, [](const Entity& e) { return real(as<db::RasterImage>(e).height()); }},
    {"Rotation", PropertyType::Real,
     [](const Entity& e) { return real(as<db::RasterImage>(e).rotation() * kToDegrees); }},
    {"Image size X", PropertyType::Integer,
     [](const Entity& e) { return integer(std::llround(as<db::RasterImage>(e).imageSize().x)); }},
    {"Image size Y", PropertyType::Integer,
     [](const Entity& e) { return integer(std::llround(as<db::RasterImage>(e).imageSize().y)); }},
    {"Brightness", PropertyType::Integer,
     [](const Entity& e) { return integer(as<db::RasterImage>(e).brightness()); }},
    {"Contrast", PropertyType::Integer,
     [](const Entity& e) { return integer(as<db::RasterImage>(e).contrast()); }},
    {"Fade", PropertyType::Integer, [](const Entity& e) { return integer(as<db::RasterImage>(e).fade()); }},
    {"Show image", PropertyType::Bool,
     [](const Entity& e) {
         return PropertyValue((as<db::RasterImage>(e).displayFlags() & db::RasterImage::kShow) != 0);
     }},
    {"Clipped", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::RasterImage>(e).isClipped()); }},
    {"Clip boundary vertices", PropertyType::Integer,
     [](const Entity& e) {
         return integer(static_cast<std::int64_t>(as<db::RasterImage>(e).clipBoundary().size()));
     }},
    {"Transparency on", PropertyType::Bool,
     [](const Entity& e) {
         return PropertyValue((as<db::RasterImage>(e).displayFlags() & db::RasterImage::kTransparent) != 0);
     }},
};

const std::vector<PropertyDescriptor> kViewport = {
    VELA_XYZ("Center", db::Viewport, centerPoint),
    {"Width", PropertyType::Real, [](const Entity& e) { return real(as<db::Viewport>(e).width()); }},
    {"Height", PropertyType::Real, [](const Entity& e) { return real(as<db::Viewport>(e).height()); }},
    {"On", PropertyType::Bool, [](const Entity& e) { return PropertyValue(as<db::Viewport>(e).isOn()); }},
    {"Clipped", PropertyType::Bool,
     [](const Entity& e) {
         return PropertyValue((as<db::Viewport>(e).statusFlags() & db::Viewport::kNonRectangularClipping) !=
                              0);
     }},
    {"Custom scale", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Viewport>(e).customScale()); }},
    {"View center X", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Viewport>(e).viewCenter().x); }},
    {"View center Y", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Viewport>(e).viewCenter().y); }},
    {"View height", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Viewport>(e).viewHeight()); }},
    {"Twist angle", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Viewport>(e).twistAngle() * kToDegrees); }},
    {"Frozen layers", PropertyType::Integer,
     [](const Entity& e) {
         return integer(static_cast<std::int64_t>(as<db::Viewport>(e).frozenLayers().size()));
     }},
};

const std::vector<PropertyDescriptor> kOle2Frame = {
    {"Position X", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Ole2Frame>(e).upperLeft().x); }},
    {"Position Y", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Ole2Frame>(e).upperLeft().y); }},
    {"Width", PropertyType::Real, [](const Entity& e) { return real(as<db::Ole2Frame>(e).width()); }},
    {"Height", PropertyType::Real, [](const Entity& e) { return real(as<db::Ole2Frame>(e).height()); }},
    {"Type", PropertyType::Text,
     [](const Entity& e) {
         switch (as<db::Ole2Frame>(e).objectType()) {
             case db::Ole2Frame::ObjectType::Link:
                 return PropertyValue(QStringLiteral("Link"));
             case db::Ole2Frame::ObjectType::Static:
                 return PropertyValue(QStringLiteral("Static"));
             default:
                 return PropertyValue(QStringLiteral("Embedded"));
         }
     }},
    {"Source", PropertyType::Text,
     [](const Entity& e) {
         return PropertyValue(QString::fromStdString(as<db::Ole2Frame>(e).description()));
     }},
};

const std::vector<PropertyDescriptor> kSubDMesh = {
    {"Vertices", PropertyType::Integer,
     [](const Entity& e) {
         return integer(static_cast<std::int64_t>(as<db::SubDMesh>(e).vertices().size()));
     }},
    {"Faces", PropertyType::Integer,
     [](const Entity& e) { return integer(static_cast<std::int64_t>(as<db::SubDMesh>(e).faces().size())); }},
    {"Smoothness", PropertyType::Integer,
     [](const Entity& e) { return integer(as<db::SubDMesh>(e).smoothLevel()); }},
};

// What a drawing program shows of the modeller's kinds without evaluating them: where the data is.
PropertyValue textData(const Entity& e) {
    return PropertyValue(dynamic_cast<const db::ModelerGeometry&>(e).hasTextData());
}

const std::vector<PropertyDescriptor> kModeler = {
    {"Modeler data in entity", PropertyType::Bool, textData},
};

const std::vector<PropertyDescriptor> kSurface = {
    {"Modeler data in entity", PropertyType::Bool, textData},
    {"U isolines", PropertyType::Integer,
     [](const Entity& e) { return integer(as<db::Surface>(e).uIsolines()); }},
    {"V isolines", PropertyType::Integer,
     [](const Entity& e) { return integer(as<db::Surface>(e).vIsolines()); }},
};

}  // namespace

std::vector<ClassProperties> frameKindProperties() {
    return {
        {db::RasterImage::desc(), &kRasterImage},
        {db::Viewport::desc(), &kViewport},
        {db::Ole2Frame::desc(), &kOle2Frame},
        {db::SubDMesh::desc(), &kSubDMesh},
        {db::Region::desc(), &kModeler},
        {db::Solid3d::desc(), &kModeler},
        {db::Body::desc(), &kModeler},
        {db::Surface::desc(), &kSurface},
    };
}

}  // namespace vela::host::kinds

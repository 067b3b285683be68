#include <cmath>

#include "db/entities/raster_image.h"
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

}  // namespace

std::vector<ClassProperties> frameKindProperties() {
    return {
        {db::RasterImage::desc(), &kRasterImage},
    };
}

}  // namespace vela::host::kinds

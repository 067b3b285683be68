#pragma once

// The properties of the entity kinds, by family, each family in its own file beside the others. The property
// protocol joins them; a class shows the general properties, then those of its ancestors, then its own.

#include <vector>

#include "db/entity.h"
#include "db/geometry/plane.h"
#include "host/property_protocol/property_protocol.h"

namespace vela::host::kinds {

/// A class and the properties it adds to those of its ancestors.
struct ClassProperties {
    const db::RxClass* cls;
    const std::vector<PropertyDescriptor>* own;
};

/// Lines, circles, arcs, lightweight polylines, ellipses, points, texts, splines, block references, hatches.
std::vector<ClassProperties> basicKindProperties();
/// Old-style polylines and meshes, solids, traces, 3D faces, construction lines and rays, helices, shapes,
/// multilines.
std::vector<ClassProperties> curveKindProperties();
/// Dimensions, leaders, multileaders, tolerances, tables, attributes and attribute definitions.
std::vector<ClassProperties> annotationKindProperties();
/// Wipeouts, images, viewports, OLE frames, and the modeller's kinds (regions, solids, bodies, surfaces).
std::vector<ClassProperties> frameKindProperties();

inline constexpr double kToDegrees = 180.0 / db::kPi;

template <class T>
const T& as(const db::Entity& e) {
    return static_cast<const T&>(e);
}

inline PropertyValue real(double v) {
    return PropertyValue(v);
}

}  // namespace vela::host::kinds

/// The three coordinates of a point property ("Center X", "Center Y", "Center Z").
#define VELA_XYZ(Prefix, Type, Getter)                                                      \
    {Prefix " X", ::vela::host::PropertyType::Real,                                         \
     [](const ::vela::db::Entity& e) {                                                      \
         return ::vela::host::kinds::real(::vela::host::kinds::as<Type>(e).Getter().x);     \
     }},                                                                                    \
        {Prefix " Y", ::vela::host::PropertyType::Real,                                     \
         [](const ::vela::db::Entity& e) {                                                  \
             return ::vela::host::kinds::real(::vela::host::kinds::as<Type>(e).Getter().y); \
         }},                                                                                \
    {                                                                                       \
        Prefix " Z", ::vela::host::PropertyType::Real, [](const ::vela::db::Entity& e) {    \
            return ::vela::host::kinds::real(::vela::host::kinds::as<Type>(e).Getter().z);  \
        }                                                                                   \
    }

#include "db/entities/vertex_polyline.h"
#include "host/property_protocol/kind_properties.h"

namespace vela::host::kinds {

namespace {

using db::Entity;

PropertyValue count(std::size_t n) {
    return PropertyValue(static_cast<qint64>(n));
}

const std::vector<PropertyDescriptor> kVertex = {
    VELA_XYZ("Position", db::Vertex, position),
};

const std::vector<PropertyDescriptor> kPolyline2d = {
    {"Closed", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Polyline2d>(e).isClosed()); }},
    {"Length", PropertyType::Real, [](const Entity& e) { return real(as<db::Polyline2d>(e).length()); }},
    {"Vertices", PropertyType::Integer,
     [](const Entity& e) { return count(as<db::Polyline2d>(e).numVerts()); }},
    {"Elevation", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Polyline2d>(e).elevation()); }},
    {"Thickness", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Polyline2d>(e).thickness()); }},
    {"Start segment width", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Polyline2d>(e).defaultStartWidth()); }},
    {"End segment width", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Polyline2d>(e).defaultEndWidth()); }},
};

const std::vector<PropertyDescriptor> kPolyline3d = {
    {"Closed", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Polyline3d>(e).isClosed()); }},
    {"Length", PropertyType::Real, [](const Entity& e) { return real(as<db::Polyline3d>(e).length()); }},
    {"Vertices", PropertyType::Integer,
     [](const Entity& e) { return count(as<db::Polyline3d>(e).numVerts()); }},
};

const std::vector<PropertyDescriptor> kPolyFaceMesh = {
    {"Vertices", PropertyType::Integer,
     [](const Entity& e) { return count(as<db::PolyFaceMesh>(e).numPoints()); }},
    {"Faces", PropertyType::Integer,
     [](const Entity& e) { return count(as<db::PolyFaceMesh>(e).numFaces()); }},
};

const std::vector<PropertyDescriptor> kPolygonMesh = {
    {"M vertex count", PropertyType::Integer,
     [](const Entity& e) { return count(as<db::PolygonMesh>(e).mSize()); }},
    {"N vertex count", PropertyType::Integer,
     [](const Entity& e) { return count(as<db::PolygonMesh>(e).nSize()); }},
    {"M closed", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::PolygonMesh>(e).isClosed()); }},
    {"N closed", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::PolygonMesh>(e).isClosedInN()); }},
};

}  // namespace

std::vector<ClassProperties> curveKindProperties() {
    return {
        {db::Vertex::desc(), &kVertex},           {db::Polyline2d::desc(), &kPolyline2d},
        {db::Polyline3d::desc(), &kPolyline3d},   {db::PolyFaceMesh::desc(), &kPolyFaceMesh},
        {db::PolygonMesh::desc(), &kPolygonMesh},
    };
}

}  // namespace vela::host::kinds

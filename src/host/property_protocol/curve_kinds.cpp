#include "db/entities/construction_line.h"
#include "db/entities/helix.h"
#include "db/entities/mline.h"
#include "db/entities/quadrilateral.h"
#include "db/entities/shape.h"
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

// The corners of a solid or trace, in world coordinates.
#define VELA_CORNER(Label, Type, Index)                                                                      \
    {Label " X", PropertyType::Real, [](const Entity& e) { return real(as<Type>(e).corner(Index).x); }},     \
        {Label " Y", PropertyType::Real, [](const Entity& e) { return real(as<Type>(e).corner(Index).y); }}, \
    {                                                                                                        \
        Label " Z", PropertyType::Real, [](const Entity& e) { return real(as<Type>(e).corner(Index).z); }    \
    }

const std::vector<PropertyDescriptor> kSolid = {
    VELA_CORNER("Vertex 1", db::Solid, 0),
    VELA_CORNER("Vertex 2", db::Solid, 1),
    VELA_CORNER("Vertex 3", db::Solid, 2),
    VELA_CORNER("Vertex 4", db::Solid, 3),
    {"Thickness", PropertyType::Real, [](const Entity& e) { return real(as<db::Solid>(e).thickness()); }},
};

const std::vector<PropertyDescriptor> kTrace = {
    VELA_CORNER("Vertex 1", db::Trace, 0),
    VELA_CORNER("Vertex 2", db::Trace, 1),
    VELA_CORNER("Vertex 3", db::Trace, 2),
    VELA_CORNER("Vertex 4", db::Trace, 3),
    {"Thickness", PropertyType::Real, [](const Entity& e) { return real(as<db::Trace>(e).thickness()); }},
};

const std::vector<PropertyDescriptor> kFace = {
    VELA_CORNER("Vertex 1", db::Face, 0),
    VELA_CORNER("Vertex 2", db::Face, 1),
    VELA_CORNER("Vertex 3", db::Face, 2),
    VELA_CORNER("Vertex 4", db::Face, 3),
    {"Edge 1 visible", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Face>(e).isEdgeVisible(0)); }},
    {"Edge 2 visible", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Face>(e).isEdgeVisible(1)); }},
    {"Edge 3 visible", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Face>(e).isEdgeVisible(2)); }},
    {"Edge 4 visible", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Face>(e).isEdgeVisible(3)); }},
};
#undef VELA_CORNER

const std::vector<PropertyDescriptor> kConstructionLine = {
    VELA_XYZ("Base point", db::ConstructionLine, basePoint),
    VELA_XYZ("Direction vector", db::ConstructionLine, unitDir),
};

const std::vector<PropertyDescriptor> kHelix = {
    VELA_XYZ("Position", db::Helix, axisBasePoint),
    {"Base radius", PropertyType::Real, [](const Entity& e) { return real(as<db::Helix>(e).baseRadius()); }},
    {"Top radius", PropertyType::Real, [](const Entity& e) { return real(as<db::Helix>(e).topRadius()); }},
    {"Height", PropertyType::Real, [](const Entity& e) { return real(as<db::Helix>(e).height()); }},
    {"Turns", PropertyType::Real, [](const Entity& e) { return real(as<db::Helix>(e).turns()); }},
    {"Turn height", PropertyType::Real, [](const Entity& e) { return real(as<db::Helix>(e).turnHeight()); }},
    {"Twist", PropertyType::Text,
     [](const Entity& e) {
         return PropertyValue(QString::fromLatin1(as<db::Helix>(e).isRightHanded() ? "CCW" : "CW"));
     }},
};

const std::vector<PropertyDescriptor> kShape = {
    {"Name", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(QString::fromStdString(as<db::Shape>(e).name())); }},
    VELA_XYZ("Position", db::Shape, position),
    {"Size", PropertyType::Real, [](const Entity& e) { return real(as<db::Shape>(e).size()); }},
    {"Rotation", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Shape>(e).rotation() * kToDegrees); }},
    {"Width factor", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Shape>(e).widthFactor()); }},
    {"Obliquing", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Shape>(e).oblique() * kToDegrees); }},
    {"Thickness", PropertyType::Real, [](const Entity& e) { return real(as<db::Shape>(e).thickness()); }},
};

const std::vector<PropertyDescriptor> kMline = {
    {"Style name", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(QString::fromStdString(as<db::Mline>(e).styleName())); }},
    {"Scale", PropertyType::Real, [](const Entity& e) { return real(as<db::Mline>(e).scale()); }},
    {"Justification", PropertyType::Text,
     [](const Entity& e) {
         static const char* const kNames[] = {"Top", "Zero", "Bottom"};
         return PropertyValue(
             QString::fromLatin1(kNames[static_cast<int>(as<db::Mline>(e).justification())]));
     }},
    {"Closed", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Mline>(e).isClosed()); }},
    {"Vertices", PropertyType::Integer,
     [](const Entity& e) { return count(as<db::Mline>(e).numVertices()); }},
    {"Length", PropertyType::Real, [](const Entity& e) { return real(as<db::Mline>(e).length()); }},
};

}  // namespace

std::vector<ClassProperties> curveKindProperties() {
    return {
        {db::Vertex::desc(), &kVertex},
        {db::Polyline2d::desc(), &kPolyline2d},
        {db::Polyline3d::desc(), &kPolyline3d},
        {db::PolyFaceMesh::desc(), &kPolyFaceMesh},
        {db::PolygonMesh::desc(), &kPolygonMesh},
        {db::Solid::desc(), &kSolid},
        {db::Trace::desc(), &kTrace},
        {db::Face::desc(), &kFace},
        {db::Xline::desc(), &kConstructionLine},
        {db::Ray::desc(), &kConstructionLine},
        {db::Helix::desc(), &kHelix},
        {db::Shape::desc(), &kShape},
        {db::Mline::desc(), &kMline},
    };
}

}  // namespace vela::host::kinds

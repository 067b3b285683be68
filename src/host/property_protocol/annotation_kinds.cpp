#include "db/entities/attribute.h"
#include "db/entities/dimension.h"
#include "db/entities/leader.h"
#include "db/entities/multileader.h"
#include "db/entities/tolerance.h"
#include "host/property_protocol/kind_properties.h"

namespace vela::host::kinds {

namespace {

using db::Entity;

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

// A value the entity may not have: no value then, rather than a made-up one.
PropertyValue realOrNone(std::optional<double> v) {
    return v ? PropertyValue(*v) : PropertyValue();
}

const std::vector<PropertyDescriptor> kDimension = {
    {"Dimension style", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(text(as<db::Dimension>(e).dimensionStyleName())); }},
    {"Measurement", PropertyType::Real,
     [](const Entity& e) { return realOrNone(as<db::Dimension>(e).measurement()); }},
    {"Text override", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(text(as<db::Dimension>(e).textOverride())); }},
    {"Text rotation", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Dimension>(e).textRotation() * kToDegrees); }},
    VELA_XYZ("Text position", db::Dimension, textPosition),
    {"Block", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(text(as<db::Dimension>(e).dimensionBlockName())); }},
};

const std::vector<PropertyDescriptor> kAlignedDimension = {
    VELA_XYZ("Ext line 1 origin", db::AlignedDimension, xLine1Point),
    VELA_XYZ("Ext line 2 origin", db::AlignedDimension, xLine2Point),
    VELA_XYZ("Dim line point", db::AlignedDimension, definitionPoint),
};

const std::vector<PropertyDescriptor> kRotatedDimension = {
    {"Rotation", PropertyType::Real,
     [](const Entity& e) { return real(as<db::RotatedDimension>(e).rotation() * kToDegrees); }},
};

const std::vector<PropertyDescriptor> kTwoLineAngular = {
    VELA_XYZ("Ext line 1 start", db::TwoLineAngularDimension, xLine1Start),
    VELA_XYZ("Ext line 1 end", db::TwoLineAngularDimension, xLine1End),
    VELA_XYZ("Ext line 2 start", db::TwoLineAngularDimension, xLine2Start),
    VELA_XYZ("Ext line 2 end", db::TwoLineAngularDimension, definitionPoint),
    VELA_XYZ("Arc point", db::TwoLineAngularDimension, arcPoint),
};

const std::vector<PropertyDescriptor> kThreePointAngular = {
    VELA_XYZ("Center", db::ThreePointAngularDimension, centerPoint),
    VELA_XYZ("Ext line 1 origin", db::ThreePointAngularDimension, xLine1Point),
    VELA_XYZ("Ext line 2 origin", db::ThreePointAngularDimension, xLine2Point),
    VELA_XYZ("Arc point", db::ThreePointAngularDimension, definitionPoint),
};

const std::vector<PropertyDescriptor> kRadial = {
    VELA_XYZ("Center", db::RadialDimension, definitionPoint),
    VELA_XYZ("Chord point", db::RadialDimension, chordPoint),
    {"Leader length", PropertyType::Real,
     [](const Entity& e) { return real(as<db::RadialDimension>(e).leaderLength()); }},
};

const std::vector<PropertyDescriptor> kDiametric = {
    VELA_XYZ("Far chord point", db::DiametricDimension, definitionPoint),
    VELA_XYZ("Chord point", db::DiametricDimension, chordPoint),
    {"Leader length", PropertyType::Real,
     [](const Entity& e) { return real(as<db::DiametricDimension>(e).leaderLength()); }},
};

const std::vector<PropertyDescriptor> kOrdinate = {
    {"X datum", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::OrdinateDimension>(e).isUsingXAxis()); }},
    VELA_XYZ("Origin", db::OrdinateDimension, definitionPoint),
    VELA_XYZ("Feature location", db::OrdinateDimension, definingPoint),
    VELA_XYZ("Leader end", db::OrdinateDimension, leaderEndPoint),
};

const std::vector<PropertyDescriptor> kArcDimension = {
    VELA_XYZ("Center", db::ArcDimension, centerPoint),
    VELA_XYZ("Ext line 1 origin", db::ArcDimension, xLine1Point),
    VELA_XYZ("Ext line 2 origin", db::ArcDimension, xLine2Point),
    {"Partial", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::ArcDimension>(e).isPartial()); }},
    {"Leader", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::ArcDimension>(e).hasLeader()); }},
};

const std::vector<PropertyDescriptor> kRadialLarge = {
    VELA_XYZ("Center", db::RadialDimensionLarge, definitionPoint),
    VELA_XYZ("Chord point", db::RadialDimensionLarge, chordPoint),
    VELA_XYZ("Center override", db::RadialDimensionLarge, overrideCenter),
    VELA_XYZ("Jog point", db::RadialDimensionLarge, jogPoint),
};

// Attributes show the text's properties (their class derives from it) and their own.
const std::vector<PropertyDescriptor> kAttribute = {
    {"Tag", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(text(as<db::Attribute>(e).tag())); }},
    {"Invisible", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Attribute>(e).isInvisible()); }},
    {"Constant", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Attribute>(e).isConstant()); }},
};

const std::vector<PropertyDescriptor> kAttributeDefinition = {
    {"Tag", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(text(as<db::AttributeDefinition>(e).tag())); }},
    {"Prompt", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(text(as<db::AttributeDefinition>(e).prompt())); }},
    {"Invisible", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::AttributeDefinition>(e).isInvisible()); }},
    {"Constant", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::AttributeDefinition>(e).isConstant()); }},
};

const std::vector<PropertyDescriptor> kTolerance = {
    {"Dimension style", PropertyType::Text,
     [](const Entity& e) {
         return PropertyValue(text(as<db::FeatureControlFrame>(e).dimensionStyleName()));
     }},
    {"Contents", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(text(as<db::FeatureControlFrame>(e).text())); }},
    VELA_XYZ("Position", db::FeatureControlFrame, location),
};

const std::vector<PropertyDescriptor> kLeader = {
    {"Dimension style", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(text(as<db::Leader>(e).dimensionStyleName())); }},
    {"Arrowhead", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Leader>(e).hasArrowHead()); }},
    {"Splined", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Leader>(e).isSplined()); }},
    {"Vertices", PropertyType::Integer,
     [](const Entity& e) { return PropertyValue(static_cast<qint64>(as<db::Leader>(e).vertices().size())); }},
};

const std::vector<PropertyDescriptor> kMLeader = {
    {"Contents", PropertyType::Text,
     [](const Entity& e) {
         const db::MLeader::Geometry g = as<db::MLeader>(e).geometry();
         return g.hasText ? PropertyValue(text(g.text)) : PropertyValue();
     }},
    {"Leader lines", PropertyType::Integer,
     [](const Entity& e) {
         return PropertyValue(static_cast<qint64>(as<db::MLeader>(e).geometry().lines.size()));
     }},
};

}  // namespace

std::vector<ClassProperties> annotationKindProperties() {
    return {
        {db::Dimension::desc(), &kDimension},
        {db::AlignedDimension::desc(), &kAlignedDimension},
        {db::RotatedDimension::desc(), &kRotatedDimension},
        {db::TwoLineAngularDimension::desc(), &kTwoLineAngular},
        {db::ThreePointAngularDimension::desc(), &kThreePointAngular},
        {db::RadialDimension::desc(), &kRadial},
        {db::DiametricDimension::desc(), &kDiametric},
        {db::OrdinateDimension::desc(), &kOrdinate},
        {db::ArcDimension::desc(), &kArcDimension},
        {db::RadialDimensionLarge::desc(), &kRadialLarge},
        {db::Attribute::desc(), &kAttribute},
        {db::AttributeDefinition::desc(), &kAttributeDefinition},
        {db::FeatureControlFrame::desc(), &kTolerance},
        {db::Leader::desc(), &kLeader},
        {db::MLeader::desc(), &kMLeader},
    };
}

}  // namespace vela::host::kinds

#include "host/property_protocol/property_protocol.h"

#include <QCoreApplication>
#include <algorithm>

#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/hatch.h"
#include "db/entities/line.h"
#include "db/entities/mtext.h"
#include "db/entities/point.h"
#include "db/entities/polyline.h"
#include "db/entities/spline.h"
#include "db/entities/text.h"
#include "db/geometry/plane.h"
#include "db/raw_object.h"
#include "db/records/block_table_record.h"
#include "host/property_protocol/kind_properties.h"

namespace vela::host {

QString PropertyDescriptor::displayName() const {
    return QCoreApplication::translate("property_types", sourceName);
}

namespace {

using db::Entity;
using namespace kinds;

// The properties every entity has.
const std::vector<PropertyDescriptor> kGeneral = {
    {"Color", PropertyType::Color, [](const Entity& e) { return PropertyValue(e.color()); }},
    {"Layer", PropertyType::Layer, [](const Entity& e) { return PropertyValue(e.layerId()); }},
    {"Linetype", PropertyType::Linetype, [](const Entity& e) { return PropertyValue(e.linetypeId()); }},
    {"Linetype scale", PropertyType::Real, [](const Entity& e) { return real(e.linetypeScale()); }},
    {"Lineweight", PropertyType::LineWeight, [](const Entity& e) { return PropertyValue(e.lineWeight()); }},
    {"Transparency", PropertyType::Transparency,
     [](const Entity& e) { return PropertyValue(e.transparency()); }},
    {"Visible", PropertyType::Bool, [](const Entity& e) { return PropertyValue(e.isVisible()); }},
};

const std::vector<PropertyDescriptor> kLine = {
    VELA_XYZ("Start", db::Line, startPoint),
    VELA_XYZ("End", db::Line, endPoint),
    {"Length", PropertyType::Real, [](const Entity& e) { return real(as<db::Line>(e).length()); }},
    {"Angle", PropertyType::Real,
     [](const Entity& e) {
         const auto& l = as<db::Line>(e);
         return real(db::normalizeAngle((l.endPoint() - l.startPoint()).angleXY()) * kToDegrees);
     }},
    {"Thickness", PropertyType::Real, [](const Entity& e) { return real(as<db::Line>(e).thickness()); }},
};

const std::vector<PropertyDescriptor> kCircle = {
    VELA_XYZ("Center", db::Circle, center),
    {"Radius", PropertyType::Real, [](const Entity& e) { return real(as<db::Circle>(e).radius()); }},
    {"Diameter", PropertyType::Real, [](const Entity& e) { return real(as<db::Circle>(e).diameter()); }},
    {"Circumference", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Circle>(e).circumference()); }},
    {"Area", PropertyType::Real, [](const Entity& e) { return real(as<db::Circle>(e).area()); }},
    {"Thickness", PropertyType::Real, [](const Entity& e) { return real(as<db::Circle>(e).thickness()); }},
};

const std::vector<PropertyDescriptor> kArc = {
    VELA_XYZ("Center", db::Arc, center),
    {"Radius", PropertyType::Real, [](const Entity& e) { return real(as<db::Arc>(e).radius()); }},
    {"Start angle", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Arc>(e).startAngle() * kToDegrees); }},
    {"End angle", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Arc>(e).endAngle() * kToDegrees); }},
    {"Total angle", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Arc>(e).totalAngle() * kToDegrees); }},
    {"Length", PropertyType::Real, [](const Entity& e) { return real(as<db::Arc>(e).length()); }},
    {"Thickness", PropertyType::Real, [](const Entity& e) { return real(as<db::Arc>(e).thickness()); }},
};

const std::vector<PropertyDescriptor> kPolyline = {
    {"Closed", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Polyline>(e).isClosed()); }},
    {"Length", PropertyType::Real, [](const Entity& e) { return real(as<db::Polyline>(e).length()); }},
    {"Area", PropertyType::Real, [](const Entity& e) { return real(as<db::Polyline>(e).area()); }},
    {"Vertices", PropertyType::Integer,
     [](const Entity& e) { return PropertyValue(static_cast<qint64>(as<db::Polyline>(e).numVerts())); }},
    {"Global width", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Polyline>(e).constantWidth()); }},
    {"Elevation", PropertyType::Real, [](const Entity& e) { return real(as<db::Polyline>(e).elevation()); }},
    {"Thickness", PropertyType::Real, [](const Entity& e) { return real(as<db::Polyline>(e).thickness()); }},
};

const std::vector<PropertyDescriptor> kEllipse = {
    VELA_XYZ("Center", db::Ellipse, center),
    {"Major radius", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Ellipse>(e).majorRadius()); }},
    {"Minor radius", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Ellipse>(e).minorRadius()); }},
    {"Radius ratio", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Ellipse>(e).radiusRatio()); }},
    {"Start angle", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Ellipse>(e).startParam() * kToDegrees); }},
    {"End angle", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Ellipse>(e).endParam() * kToDegrees); }},
    {"Closed", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Ellipse>(e).isClosed()); }},
};

const std::vector<PropertyDescriptor> kPoint = {
    VELA_XYZ("Position", db::PointEntity, position),
    {"Thickness", PropertyType::Real,
     [](const Entity& e) { return real(as<db::PointEntity>(e).thickness()); }},
};

const std::vector<PropertyDescriptor> kText = {
    {"Contents", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(QString::fromStdString(as<db::Text>(e).textString())); }},
    {"Style", PropertyType::TextStyle,
     [](const Entity& e) { return PropertyValue(as<db::Text>(e).textStyle()); }},
    {"Height", PropertyType::Real, [](const Entity& e) { return real(as<db::Text>(e).height()); }},
    {"Rotation", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Text>(e).rotation() * kToDegrees); }},
    {"Width factor", PropertyType::Real, [](const Entity& e) { return real(as<db::Text>(e).widthFactor()); }},
    {"Obliquing", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Text>(e).oblique() * kToDegrees); }},
    VELA_XYZ("Position", db::Text, position),
};

const std::vector<PropertyDescriptor> kMText = {
    {"Contents", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(QString::fromStdString(as<db::MText>(e).contents())); }},
    {"Style", PropertyType::TextStyle,
     [](const Entity& e) { return PropertyValue(as<db::MText>(e).textStyle()); }},
    {"Height", PropertyType::Real, [](const Entity& e) { return real(as<db::MText>(e).textHeight()); }},
    {"Rotation", PropertyType::Real,
     [](const Entity& e) { return real(as<db::MText>(e).rotation() * kToDegrees); }},
    {"Width", PropertyType::Real, [](const Entity& e) { return real(as<db::MText>(e).width()); }},
    VELA_XYZ("Position", db::MText, location),
};

const std::vector<PropertyDescriptor> kSpline = {
    {"Degree", PropertyType::Integer,
     [](const Entity& e) { return PropertyValue(static_cast<qint64>(as<db::Spline>(e).degree())); }},
    {"Closed", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Spline>(e).isClosed()); }},
    {"Control points", PropertyType::Integer,
     [](const Entity& e) {
         return PropertyValue(static_cast<qint64>(as<db::Spline>(e).controlPoints().size()));
     }},
    {"Fit points", PropertyType::Integer,
     [](const Entity& e) {
         return PropertyValue(static_cast<qint64>(as<db::Spline>(e).fitPoints().size()));
     }},
};

const std::vector<PropertyDescriptor> kBlockReference = {
    {"Name", PropertyType::Text,
     [](const Entity& e) {
         return PropertyValue(QString::fromStdString(as<db::BlockReference>(e).blockName()));
     }},
    VELA_XYZ("Position", db::BlockReference, position),
    {"Scale X", PropertyType::Real,
     [](const Entity& e) { return real(as<db::BlockReference>(e).scaleFactors().x); }},
    {"Scale Y", PropertyType::Real,
     [](const Entity& e) { return real(as<db::BlockReference>(e).scaleFactors().y); }},
    {"Scale Z", PropertyType::Real,
     [](const Entity& e) { return real(as<db::BlockReference>(e).scaleFactors().z); }},
    {"Rotation", PropertyType::Real,
     [](const Entity& e) { return real(as<db::BlockReference>(e).rotation() * kToDegrees); }},
    {"External Reference", PropertyType::Bool,
     [](const Entity& e) {
         auto* btr =
             db::objectCast<db::BlockTableRecord>(as<db::BlockReference>(e).blockTableRecord().peek());
         return PropertyValue(btr && btr->isFromExternalReference());
     }},
};

const std::vector<PropertyDescriptor> kHatch = {
    {"Pattern name", PropertyType::Text,
     [](const Entity& e) { return PropertyValue(QString::fromStdString(as<db::Hatch>(e).patternName())); }},
    {"Solid fill", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Hatch>(e).isSolidFill()); }},
    {"Pattern scale", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Hatch>(e).patternScale()); }},
    {"Pattern angle", PropertyType::Real,
     [](const Entity& e) { return real(as<db::Hatch>(e).patternAngle() * kToDegrees); }},
    {"Associative", PropertyType::Bool,
     [](const Entity& e) { return PropertyValue(as<db::Hatch>(e).associative()); }},
    {"Area", PropertyType::Real, [](const Entity& e) { return real(as<db::Hatch>(e).area()); }},
    {"Elevation", PropertyType::Real, [](const Entity& e) { return real(as<db::Hatch>(e).elevation()); }},
};

}  // namespace

namespace kinds {

std::vector<ClassProperties> basicKindProperties() {
    return {
        {db::Line::desc(), &kLine},       {db::Circle::desc(), &kCircle},
        {db::Arc::desc(), &kArc},         {db::Polyline::desc(), &kPolyline},
        {db::Ellipse::desc(), &kEllipse}, {db::PointEntity::desc(), &kPoint},
        {db::Text::desc(), &kText},       {db::MText::desc(), &kMText},
        {db::Spline::desc(), &kSpline},   {db::BlockReference::desc(), &kBlockReference},
        {db::Hatch::desc(), &kHatch},
    };
}

}  // namespace kinds

namespace {

// The classes with properties of their own, in the order searches list them.
const std::vector<kinds::ClassProperties>& classProperties() {
    static const std::vector<kinds::ClassProperties> table = [] {
        std::vector<kinds::ClassProperties> all;
        for (auto family : {kinds::basicKindProperties, kinds::curveKindProperties,
                            kinds::annotationKindProperties, kinds::frameKindProperties})
            for (const kinds::ClassProperties& entry : family()) all.push_back(entry);
        return all;
    }();
    return table;
}

const std::vector<PropertyDescriptor>* ownProperties(const db::RxClass* cls) {
    for (const kinds::ClassProperties& entry : classProperties())
        if (entry.cls == cls) return entry.own;
    return nullptr;
}

// Where a class stands in the order searches list classes: the place of its nearest ancestor with
// properties of its own; classes with none (kinds kept as they came) come last.
std::size_t listPlace(const db::RxClass* cls) {
    const auto& table = classProperties();
    for (const db::RxClass* c = cls; c; c = c->parent())
        for (std::size_t i = 0; i < table.size(); ++i)
            if (table[i].cls == c) return i;
    return table.size();
}

}  // namespace

const PropertyProtocol& PropertyProtocol::instance() {
    static const PropertyProtocol protocol;
    return protocol;
}

PropertyProtocol::PropertyProtocol() {
    // Every kind of entity a drawing can hold: the modelled ones and the stand-in for kinds kept as they came.
    classes_ = db::RxRegistry::classes(Entity::desc());
    classes_.push_back(db::RawEntity::desc());
    std::stable_sort(classes_.begin(), classes_.end(), [](const db::RxClass* a, const db::RxClass* b) {
        return listPlace(a) < listPlace(b);
    });
}

const db::RxClass* PropertyProtocol::findClass(const QString& name) const {
    // Abstract classes name every kind derived from them ("AcDbCurve", "AcDbDimension").
    const db::RxClass* cls = db::RxRegistry::findByName(name.toStdString());
    return cls && cls->isDerivedFrom(Entity::desc()) ? cls : nullptr;
}

std::vector<const PropertyDescriptor*> PropertyProtocol::properties(const db::RxClass* cls) const {
    std::vector<const PropertyDescriptor*> list;
    if (std::find(classes_.begin(), classes_.end(), cls) == classes_.end() &&
        !std::any_of(classes_.begin(), classes_.end(), [&](const db::RxClass* c) { return c->isDerivedFrom(cls); }))
        return list;
    for (const PropertyDescriptor& p : kGeneral) list.push_back(&p);
    // A class shows what its ancestors show, then its own.
    std::vector<const std::vector<PropertyDescriptor>*> chain;
    for (const db::RxClass* c = cls; c; c = c->parent())
        if (const auto* own = ownProperties(c)) chain.push_back(own);
    for (auto it = chain.rbegin(); it != chain.rend(); ++it)
        for (const PropertyDescriptor& p : **it) list.push_back(&p);
    return list;
}

bool PropertyProtocol::isGeneral(const PropertyDescriptor* property) const {
    return property >= kGeneral.data() && property < kGeneral.data() + kGeneral.size();
}

const PropertyDescriptor* PropertyProtocol::find(const db::RxClass* cls, const QString& displayName) const {
    for (const PropertyDescriptor* p : properties(cls))
        if (p->displayName() == displayName) return p;
    return nullptr;
}

}  // namespace vela::host

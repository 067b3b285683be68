#include "host/property_protocol/geometry_edits.h"

#include <QString>
#include <vector>

#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/line.h"

namespace vela::host {

namespace {

using db::Entity;
using db::Point3d;

template <class T>
T& as(Entity& e) {
    return static_cast<T&>(e);
}
template <class T>
const T& as(const Entity& e) {
    return static_cast<const T&>(e);
}

// An elliptic arc keeps its parameters, so changing the axes does not turn it into a full ellipse.
void reshape(db::Ellipse& ellipse, const db::Vector3d& majorAxis, double ratio) {
    ellipse.set(ellipse.center(), ellipse.normal(), majorAxis, ratio, ellipse.startParam(),
                ellipse.endParam());
}

template <double Point3d::*Coordinate>
void setPositionCoordinate(Entity& e, double v) {
    auto& ref = as<db::BlockReference>(e);
    Point3d p = ref.position();
    p.*Coordinate = v;
    ref.setPosition(p);
}

template <double db::Vector3d::*Factor>
void setScaleFactor(Entity& e, double v) {
    if (v == 0) return;
    auto& ref = as<db::BlockReference>(e);
    db::Vector3d s = ref.scaleFactors();
    s.*Factor = v;
    ref.setScaleFactors(s);
}

template <class T>
GeometryEdit centerOf() {
    return {"Center", GeometryValue::Point, [](const Entity& e) { return as<T>(e).center(); },
            [](Entity& e, const Point3d& p) { as<T>(e).setCenter(p); }, nullptr};
}

template <class T>
GeometryEdit radiusOf() {
    return {"Radius", GeometryValue::Number, nullptr, nullptr, [](Entity& e, double r) {
                if (r > 0) as<T>(e).setRadius(r);
            }};
}

struct ClassEdits {
    const db::RxClass* cls;
    std::vector<GeometryEdit> edits;
};

const std::vector<ClassEdits>& classEdits() {
    static const std::vector<ClassEdits> table = {
        {db::Line::desc(),
         {{"StartPoint", GeometryValue::Point, [](const Entity& e) { return as<db::Line>(e).startPoint(); },
           [](Entity& e, const Point3d& p) { as<db::Line>(e).setStartPoint(p); }, nullptr},
          {"EndPoint", GeometryValue::Point, [](const Entity& e) { return as<db::Line>(e).endPoint(); },
           [](Entity& e, const Point3d& p) { as<db::Line>(e).setEndPoint(p); }, nullptr}}},
        {db::Circle::desc(), {centerOf<db::Circle>(), radiusOf<db::Circle>()}},
        {db::Arc::desc(),
         {centerOf<db::Arc>(),
          radiusOf<db::Arc>(),
          {"StartAngle", GeometryValue::Number, nullptr, nullptr,
           [](Entity& e, double a) { as<db::Arc>(e).setStartAngle(a); }},
          {"EndAngle", GeometryValue::Number, nullptr, nullptr,
           [](Entity& e, double a) { as<db::Arc>(e).setEndAngle(a); }}}},
        {db::Ellipse::desc(),
         {centerOf<db::Ellipse>(),
          {"MajorAxis", GeometryValue::Point,
           [](const Entity& e) {
               const db::Vector3d& v = as<db::Ellipse>(e).majorAxis();
               return Point3d(v.x, v.y, v.z);
           },
           [](Entity& e, const Point3d& p) {
               auto& ellipse = as<db::Ellipse>(e);
               reshape(ellipse, p.asVector(), ellipse.radiusRatio());
           },
           nullptr},
          {"MinorAxisRatio", GeometryValue::Number, nullptr, nullptr,
           [](Entity& e, double r) {
               auto& ellipse = as<db::Ellipse>(e);
               if (r > 0 && r <= 1) reshape(ellipse, ellipse.majorAxis(), r);
           }}}},
        {db::BlockReference::desc(),
         {{"Position", GeometryValue::Point,
           [](const Entity& e) { return as<db::BlockReference>(e).position(); },
           [](Entity& e, const Point3d& p) { as<db::BlockReference>(e).setPosition(p); }, nullptr},
          {"Position X", GeometryValue::Number, nullptr, nullptr, setPositionCoordinate<&Point3d::x>},
          {"Position Y", GeometryValue::Number, nullptr, nullptr, setPositionCoordinate<&Point3d::y>},
          {"Position Z", GeometryValue::Number, nullptr, nullptr, setPositionCoordinate<&Point3d::z>},
          // No range check: the database refuses a zero factor.
          {"ScaleFactors", GeometryValue::ScaleFactors, nullptr,
           [](Entity& e, const Point3d& s) { as<db::BlockReference>(e).setScaleFactors(s.asVector()); },
           nullptr},
          {"Scale X", GeometryValue::Number, nullptr, nullptr, setScaleFactor<&db::Vector3d::x>},
          {"Scale Y", GeometryValue::Number, nullptr, nullptr, setScaleFactor<&db::Vector3d::y>},
          {"Scale Z", GeometryValue::Number, nullptr, nullptr, setScaleFactor<&db::Vector3d::z>}}},
    };
    return table;
}

}  // namespace

const GeometryEdit* findGeometryEdit(const db::RxClass* cls, QStringView name) {
    for (; cls; cls = cls->parent()) {
        for (const ClassEdits& entry : classEdits()) {
            if (entry.cls != cls) continue;
            for (const GeometryEdit& edit : entry.edits)
                if (name == QLatin1StringView(edit.name)) return &edit;
            return nullptr;  // the nearest class with edits decides
        }
    }
    return nullptr;
}

}  // namespace vela::host

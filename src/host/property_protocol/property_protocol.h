#pragma once

#include <QString>
#include <vector>

#include "host/property_protocol/property_value.h"

namespace vela::db {
class Entity;
class RxClass;
}  // namespace vela::db

namespace vela::host {

/// One property of an entity class: its name in the base language (display names are its translation in the
/// context "property_types"), its type, and how to read it from an entity of the class without opening it.
struct PropertyDescriptor {
    const char* sourceName;
    PropertyType type;
    PropertyValue (*get)(const db::Entity& entity);

    QString displayName() const;
};

/// The properties each entity class shows: the general ones every entity has (color, layer, linetype,
/// linetype scale, lineweight, transparency) and the geometric ones of its type (start and end points of a
/// line, radius of a circle, ...). Only the classes listed here carry the protocol.
class PropertyProtocol {
  public:
    static const PropertyProtocol& instance();

    /// The classes with properties, in a fixed order.
    const std::vector<const db::RxClass*>& classes() const { return classes_; }
    /// The class with exactly this run-time name ("AcDbLine"), or null.
    const db::RxClass* findClass(const QString& name) const;
    /// The properties of a class, general ones first; empty for a class without the protocol.
    std::vector<const PropertyDescriptor*> properties(const db::RxClass* cls) const;
    /// True for the properties every entity has (they read any entity, whatever its class).
    bool isGeneral(const PropertyDescriptor* property) const;
    /// The property of the class whose display name is `displayName` (exactly), or null.
    const PropertyDescriptor* find(const db::RxClass* cls, const QString& displayName) const;

  private:
    PropertyProtocol();
    std::vector<const db::RxClass*> classes_;
};

}  // namespace vela::host

#pragma once

#include <QSet>
#include <QString>

namespace vela::host {

/// Features of this installation, by name. A module registers the capabilities it brings; a front end (or an
/// administrator) may withdraw one, and code asks before it offers the feature.
class Capabilities {
public:
    /// Makes the capability known and available.
    void registerCapability(const QString& name);
    bool isRegistered(const QString& name) const { return registered_.contains(name); }
    /// True when the capability is registered and not withdrawn.
    bool hasCapability(const QString& name) const { return registered_.contains(name) && !withdrawn_.contains(name); }
    /// Grants (true) or withdraws (false) a capability; granting also registers it.
    void setGranted(const QString& name, bool granted);

private:
    QSet<QString> registered_;
    QSet<QString> withdrawn_;
};

}  // namespace vela::host

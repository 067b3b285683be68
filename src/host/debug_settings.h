#pragma once

#include <QHash>
#include <QString>

namespace vela::host {

/// Named text settings for diagnostics ("V3Debugging" = "enabled"). Values are looked up at every use, so a
/// change takes effect at once.
class DebugSettings {
public:
    void setDescription(const QString& key, const QString& description) { descriptions_[key] = description; }
    QString description(const QString& key) const { return descriptions_.value(key); }
    /// The value, or the empty text when the setting was never set.
    QString value(const QString& key) const { return values_.value(key); }
    void setValue(const QString& key, const QString& value) { values_[key] = value; }
    QList<QString> describedKeys() const { return descriptions_.keys(); }

private:
    QHash<QString, QString> descriptions_;
    QHash<QString, QString> values_;
};

}  // namespace vela::host

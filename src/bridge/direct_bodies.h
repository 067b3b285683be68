#pragma once

#include <QJsonObject>
#include <QString>
#include <functional>

namespace vela::host {
class Document;
}

namespace vela::bridge {

/// The work behind the slots that answer without running a host command. The module installs what it has at
/// start and removes it at removal; a slot whose work is not installed answers {"success": false}, as it does
/// for a command that leaves no response.
struct DirectBodies {
    /// The changes report of a document (null when none is open).
    std::function<QJsonObject(host::Document*)> changesReport;
    /// The handles of the entities selected in a document.
    std::function<QJsonObject(host::Document*)> selectedHandles;
    /// Selects entities by handle: the parsed query in, the selector's answer out.
    std::function<QJsonObject(host::Document*, const QString& query)> selectByHandle;
    /// Moves the view to what the query names, through the electrical add-on; true on success.
    std::function<bool(const QString& query)> electricalGoTo;

    static DirectBodies& instance();
    void clear() { *this = DirectBodies(); }
};


}  // namespace vela::bridge

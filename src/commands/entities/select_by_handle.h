#pragma once

#include <QJsonObject>
#include <QString>

namespace vela::host {
class Document;
}

namespace vela::commands {

/// Selects entities of the active space by handle ("handles", and "clearSelection", true by default). Every
/// handle ends in exactly one of "selectedHandles", "notFoundHandles" (unreadable, unknown, erased or not an
/// entity) and "foundHandlesNotInActiveSpace", or is skipped when blank. A query that is not a JSON object
/// counts as an empty one.
QJsonObject SelectEntitiesByHandle(host::Document* document, const QString& query);

}  // namespace vela::commands

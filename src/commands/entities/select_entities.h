#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <vector>

namespace vela::host {
class CommandContext;
class Document;
}  // namespace vela::host

namespace vela::commands {

/// One property condition of a selection query.
struct SelectionCondition {
    QString property;   // display name (the request's text translated in the context "property_types")
    int operatorCode = 0;  // 1 ==, 2 !=, 3 <, 4 >, 6 SelectAll; 0 for an operator text that was not understood
    QString value;
};

/// One element of the query's "entities": a class name ("AcDbLine", "All") and its conditions.
struct SelectionEntry {
    QString className;
    std::vector<SelectionCondition> conditions;
};

/// Reads the entries of a query, ordered by class name (entries of one class in request order).
std::vector<SelectionEntry> ReadSelectionQuery(const QJsonObject& request);

/// The body of _V3_SELECTENTITIES: finds the entities of the active space that the query describes, selects
/// them and answers with their handles. Conditions on one class are joined by AND, classes by OR.
QJsonObject SelectObjectsResponse(const QJsonDocument& request, host::CommandContext& context);
/// The same for a document (the body of the exported API).
QJsonObject SelectObjects(const QJsonObject& request, host::Document* document);

}  // namespace vela::commands

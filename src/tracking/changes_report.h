#pragma once

#include <QJsonObject>
#include <QString>

#include "tracking/change_tracker.h"

namespace vela::tracking {

/// "Entity", "Layer", "Linetype", "TextStyle", "DimStyle" or "Other".
QString CategoryName(ChangeCategory category);

/// The "changes" object of a report: "created" and "erased" grouped by category name and class name (entities
/// as bare handle texts, named records as {"handle", "name"}), "modified" as one object per record in handle
/// order, and "summary" with the three counts.
QJsonObject BuildChangesReport(const DatabaseChanges& changes);

}  // namespace vela::tracking

#pragma once

#include <QJsonObject>

namespace vela::host {
class Document;
}

namespace vela::commands {

/// The body of _V3_GETHANDLESOFSELECTEDENTITIES and of the bridge's direct slot: the handles of the selected
/// entities of a document, in selection order; erased and non-entity objects are left out.
QJsonObject SelectedHandlesResponse(host::Document* document);

}  // namespace vela::commands

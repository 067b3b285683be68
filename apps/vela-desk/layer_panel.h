#pragma once

#include <QTreeWidget>
#include <functional>

namespace vela::host {
class Document;
}

namespace vela::desk {

/// The drawing's layers: name, on, frozen, locked and colour, the current one in bold. Ticking a box or
/// double-clicking a name runs the host's -LAYER command, so each change is one undo step like any other.
class LayerPanel : public QTreeWidget {
    Q_OBJECT
  public:
    using CommandRunner = std::function<void(const QString& command, const QStringList& answers)>;
    explicit LayerPanel(CommandRunner run, QWidget* parent = nullptr);

    /// Shows the layers of a document as they are now (null: none).
    void showLayers(host::Document* document);

  private:
    CommandRunner run_;
    bool filling_ = false;
};

}  // namespace vela::desk

#include "desk_ui.h"

#include <QAction>
#include <QDockWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include "palette/velaassistant_palette.h"

namespace vela::desk {

namespace {

/// A dock widget of the main window as the host's modules see it.
class DeskDockPanel : public host::DockPanel {
  public:
    explicit DeskDockPanel(QDockWidget* dock) : dock_(dock) {}
    void setVisible(bool visible) override { dock_->setVisible(visible); }
    bool isVisible() const override { return dock_->isVisible(); }
    void raise() override { dock_->raise(); }
    QDockWidget* dock() const { return dock_; }

  private:
    QDockWidget* dock_;
};

QString withoutMnemonic(QString text) {
    return text.remove(QLatin1Char('&'));
}

}  // namespace

host::DockPanel* DeskUiManager::createDockPanel(void* content, const QString& name, const QString& title,
                                                const host::DockPlacement& placement, const QString&,
                                                const QString& iconName) {
    auto* widget = static_cast<QWidget*>(content);
    auto* dock = new QDockWidget(title, &window_);
    dock->setObjectName(name);
    dock->setWidget(widget);
    // The host's placement codes are Qt's dock areas: 1 left, 2 right, 4 top, 8 bottom.
    dock->setAllowedAreas(Qt::DockWidgetAreas(placement.allowedAreas));
    const auto area = Qt::DockWidgetArea(placement.area);
    window_.addDockWidget(area, dock);
    if (placement.size > 0)
        window_.resizeDocks({dock}, {placement.size},
                            area == Qt::LeftDockWidgetArea || area == Qt::RightDockWidgetArea ? Qt::Horizontal
                                                                                              : Qt::Vertical);
    const QPixmap icon = palette::assistantIcon(iconName, 32);
    if (!icon.isNull()) dock->setWindowIcon(QIcon(icon));
    if (panelsMenu_) panelsMenu_->addAction(dock->toggleViewAction());
    return new DeskDockPanel(dock);
}

void DeskUiManager::removeDockPanel(host::DockPanel* panel) {
    auto* desk = static_cast<DeskDockPanel*>(panel);
    if (!desk) return;
    QDockWidget* dock = desk->dock();
    // The content belongs to whoever made it: it leaves the dock before the dock goes.
    if (QWidget* content = dock->widget()) {
        dock->setWidget(nullptr);
        content->setParent(nullptr);
    }
    window_.removeDockWidget(dock);
    delete dock;
    delete desk;
}

QList<palette::CommandControl> DeskUiManager::commandControls(const QString& commandName) const {
    QList<palette::CommandControl> controls;
    for (QAction* action : window_.findChildren<QAction*>()) {
        const QString command = action->property(kCommandProperty).toString();
        if (command.isEmpty() || command.compare(commandName, Qt::CaseInsensitive) != 0) continue;
        for (QObject* shown : action->associatedObjects()) {
            auto* widget = qobject_cast<QWidget*>(shown);
            if (qobject_cast<QMenu*>(widget) || qobject_cast<QMenuBar*>(widget) ||
                qobject_cast<QToolBar*>(widget))
                controls.append({action, widget});
        }
    }
    return controls;
}

QString DeskUiManager::workspaceOfCommand(const QString& commandName) const {
    const QString name = palette::CJxWidgetHighlighter::normalizedName(commandName);
    if (name.isEmpty()) return {};
    for (const palette::CommandControl& control : commandControls(name)) {
        if (auto* menu = qobject_cast<QMenu*>(control.target)) return withoutMnemonic(menu->title());
        if (auto* tools = qobject_cast<QToolBar*>(control.target)) return tools->windowTitle();
        if (qobject_cast<QMenuBar*>(control.target)) return QStringLiteral("Menu bar");
    }
    return {};
}

void DeskUiManager::highlightCommandControls(const QString& commandName) {
    palette::CJxWidgetHighlighter::instance().Highlight(commandName);
}

}  // namespace vela::desk

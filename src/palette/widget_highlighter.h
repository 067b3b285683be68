#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <chrono>

class QAction;
class QWidget;

namespace vela::palette {

/// One control of the user interface that starts a command: its action and the widget showing it (a menu,
/// the menu bar or a tool bar).
struct CommandControl {
    QAction* action = nullptr;
    QWidget* target = nullptr;
};

/// The host's lookup of the controls that start a command; a desktop front end installs one.
class CJxApiHelper {
  public:
    virtual ~CJxApiHelper() = default;
    /// Every menu entry, menu-bar entry and tool-bar button that starts `commandName` (a name without "_").
    virtual QList<CommandControl> commandControls(const QString& commandName) const = 0;
    /// The workspace (menu or tool bar title) of the first control that starts `commandName`, or empty.
    virtual QString workspaceOfCommand(const QString& commandName) const = 0;
};

CJxApiHelper* GetJxAPIHelper();
void SetJxAPIHelper(CJxApiHelper* helper);

/// One highlighted control: a translucent overlay over the action's place in its target, following the target
/// as it moves, resizes and shows, and gone when the target hides.
class CJxWidgetHighlightHelper : public QObject {
    Q_OBJECT
  public:
    CJxWidgetHighlightHelper(QAction* action, QWidget* target, QObject* parent = nullptr);
    ~CJxWidgetHighlightHelper() override;

    QAction* action() const { return action_; }
    QWidget* target() const { return target_; }
    QWidget* overlay() const { return overlay_; }
    /// Puts the overlay over the action's rectangle in the target.
    void place();

  signals:
    /// The target was hidden: this highlight is over.
    void targetHidden(CJxWidgetHighlightHelper* helper);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QPointer<QAction> action_;
    QPointer<QWidget> target_;
    QPointer<QWidget> overlay_;
};

/// Shows the user where a command can be started: overlays over every control of the command, for 12 seconds
/// or until the user moves to one of them. One per process.
class CJxWidgetHighlighter : public QObject {
    Q_OBJECT
  public:
    static CJxWidgetHighlighter& instance();

    /// Replaces all highlights by those of `commandName` ("_LINE", "-LINE" and "LINE" alike).
    void Highlight(const QString& commandName);
    /// Removes every highlight, stops the timer and lets go of every signal Highlight connected.
    void Clear();

    const QList<CJxWidgetHighlightHelper*>& helpers() const { return helpers_; }
    /// How many helpers highlight each action.
    const QMap<QAction*, int>& actionCounts() const { return actionCounts_; }
    const QTimer& timer() const { return timer_; }
    /// How long highlights last (12 s); a test may make it short.
    void setInterval(std::chrono::milliseconds interval) { timer_.setInterval(interval); }

    /// The name whose controls are looked for: the command the host knows by `name`, without leading "_" or
    /// "-"; empty when nothing is left.
    static QString normalizedName(const QString& name);

  private:
    CJxWidgetHighlighter();
    void hovered();
    void removeHelper(CJxWidgetHighlightHelper* helper);
    void forget(QObject* gone);

    QList<CJxWidgetHighlightHelper*> helpers_;
    QMap<QAction*, int> actionCounts_;
    QList<QMetaObject::Connection> connections_;
    QTimer timer_;
};

}  // namespace vela::palette

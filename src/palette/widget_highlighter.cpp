#include "palette/widget_highlighter.h"

#include <QAction>
#include <QCoreApplication>
#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include "host/command.h"
#include "host/host.h"

namespace vela::palette {

namespace {
CJxApiHelper* g_apiHelper = nullptr;
}

CJxApiHelper* GetJxAPIHelper() {
    return g_apiHelper;
}

void SetJxAPIHelper(CJxApiHelper* helper) {
    g_apiHelper = helper;
}

// ---- one highlighted control
// --------------------------------------------------------------------------------

CJxWidgetHighlightHelper::CJxWidgetHighlightHelper(QAction* action, QWidget* target, QObject* parent)
    : QObject(parent), action_(action), target_(target) {
    overlay_ = new QWidget(target);
    overlay_->setObjectName(QStringLiteral("CJxWidgetHighlightOverlay"));
    overlay_->setStyleSheet(QStringLiteral("background-color:rgb(235, 197, 41);"));
    overlay_->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* effect = new QGraphicsOpacityEffect(overlay_);
    effect->setOpacity(0.5);
    overlay_->setGraphicsEffect(effect);
    overlay_->show();
    place();
    target->installEventFilter(this);
}

CJxWidgetHighlightHelper::~CJxWidgetHighlightHelper() {
    if (target_) target_->removeEventFilter(this);
    delete overlay_.data();
}

void CJxWidgetHighlightHelper::place() {
    if (!action_ || !target_ || !overlay_) return;
    QRect rect;
    if (auto* menu = qobject_cast<QMenu*>(target_))
        rect = menu->actionGeometry(action_);
    else if (auto* bar = qobject_cast<QMenuBar*>(target_))
        rect = bar->actionGeometry(action_);
    else if (auto* tools = qobject_cast<QToolBar*>(target_))
        if (QWidget* button = tools->widgetForAction(action_)) rect = button->geometry();
    QWidget* parent = overlay_->parentWidget();
    const QPoint at = parent->mapFromGlobal(target_->mapToGlobal(rect.topLeft()));
    overlay_->move(at);
    overlay_->setFixedSize(rect.size());
    overlay_->raise();
}

bool CJxWidgetHighlightHelper::eventFilter(QObject* watched, QEvent* event) {
    if (watched == target_) {
        switch (event->type()) {
            case QEvent::Hide:
                if (overlay_) overlay_->hide();
                emit targetHidden(this);
                break;
            case QEvent::Move:
            case QEvent::Resize:
            case QEvent::Show:
                place();
                break;
            default:
                break;
        }
    }
    return QObject::eventFilter(watched, event);
}

// ---- the highlighter
// ----------------------------------------------------------------------------------------

namespace {
CJxWidgetHighlighter* g_highlighter = nullptr;
void deleteHighlighter() {
    delete g_highlighter;
    g_highlighter = nullptr;
}
}  // namespace

CJxWidgetHighlighter& CJxWidgetHighlighter::instance() {
    if (!g_highlighter) {
        // Kept until the application object goes; its timer and overlays cannot outlive it.
        g_highlighter = new CJxWidgetHighlighter;
        qAddPostRoutine(deleteHighlighter);
    }
    return *g_highlighter;
}

CJxWidgetHighlighter::CJxWidgetHighlighter() {
    timer_.setInterval(std::chrono::milliseconds(12000));
    timer_.setSingleShot(false);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &CJxWidgetHighlighter::Clear);
}

QString CJxWidgetHighlighter::normalizedName(const QString& name) {
    QString n = name;
    if (host::Host* h = host::Host::instance())
        if (host::Command* command = h->commands().lookup(n)) n = command->globalName();
    while (n.startsWith(QLatin1Char('_')) || n.startsWith(QLatin1Char('-'))) {
        if (n.size() < 2) return {};
        n.remove(0, 1);
    }
    return n;
}

void CJxWidgetHighlighter::Highlight(const QString& commandName) {
    Clear();
    CJxApiHelper* api = GetJxAPIHelper();
    if (!api) return;
    const QString name = normalizedName(commandName);
    if (!name.isEmpty()) {
        for (const CommandControl& control : api->commandControls(name)) {
            if (!control.action || !control.target) continue;
            auto* helper = new CJxWidgetHighlightHelper(control.action, control.target, this);
            helpers_.append(helper);
            ++actionCounts_[control.action];
            connections_ << connect(helper, &QObject::destroyed, this, &CJxWidgetHighlighter::forget);
            connections_ << connect(control.action, &QObject::destroyed, this, [this](QObject* gone) {
                // The action went: so do its highlights.
                for (CJxWidgetHighlightHelper* h : QList<CJxWidgetHighlightHelper*>(helpers_))
                    if (!h->action() || h->action() == gone) removeHelper(h);
                actionCounts_.remove(static_cast<QAction*>(gone));
            });
            connections_ << connect(control.action, &QAction::hovered, this, &CJxWidgetHighlighter::hovered);
            connections_ << connect(helper, &CJxWidgetHighlightHelper::targetHidden, this,
                                    [this](CJxWidgetHighlightHelper* h) { removeHelper(h); });
        }
    }
    timer_.start();
}

void CJxWidgetHighlighter::Clear() {
    for (const QMetaObject::Connection& c : connections_) disconnect(c);
    connections_.clear();
    const QList<CJxWidgetHighlightHelper*> helpers = std::exchange(helpers_, {});
    actionCounts_.clear();
    for (CJxWidgetHighlightHelper* helper : helpers) delete helper;
    timer_.stop();
}

void CJxWidgetHighlighter::hovered() {
    auto* action = qobject_cast<QAction*>(sender());
    if (action && !helpers_.isEmpty()) {
        for (CJxWidgetHighlightHelper* h : QList<CJxWidgetHighlightHelper*>(helpers_))
            if (h->action() != action) removeHelper(h);
    }
    timer_.stop();
    timer_.start();
}

void CJxWidgetHighlighter::removeHelper(CJxWidgetHighlightHelper* helper) {
    if (!helpers_.removeOne(helper)) return;
    if (QAction* action = helper->action())
        if (--actionCounts_[action] <= 0) actionCounts_.remove(action);
    // It may be inside its own event filter (a hide): its overlay is hidden now, the helper goes afterwards.
    if (helper->overlay()) helper->overlay()->hide();
    helper->deleteLater();
}

void CJxWidgetHighlighter::forget(QObject* gone) {
    // Called while the helper is being destroyed: it is compared as the object it still is, not as a helper.
    const qsizetype before = helpers_.size();
    helpers_.removeIf([gone](CJxWidgetHighlightHelper* h) { return static_cast<QObject*>(h) == gone; });
    if (helpers_.size() == before) return;
    // Its action cannot be asked any more: the counts are made again from the helpers left.
    actionCounts_.clear();
    for (CJxWidgetHighlightHelper* left : helpers_)
        if (left->action()) ++actionCounts_[left->action()];
}

}  // namespace vela::palette

#include "module/panel_commands.h"

#include <QCoreApplication>

#include "host/command_context.h"
#include "host/host.h"
#include "host/result_codes.h"
#include "module/dock_widget_manager.h"

namespace vela::module {

QString CJxCommand::globalName() const {
    return QLatin1Char('_') + QLatin1String(name_);
}

QString CJxCommand::localName() const {
    return QCoreApplication::translate(className_, name_,
                                       "Command Name: Needs to be unique and all uppercase.");
}

int CJxCommandVelaAssistant::execute(host::CommandContext&) {
    return CJxDockWidgetManager::instance().showPanel();
}

int CJxCommandHideVelaAssistant::execute(host::CommandContext&) {
    return CJxDockWidgetManager::instance().hidePanel();
}

int CJxCommandHighlightUI::execute(host::CommandContext& context) {
    QString name;
    const int status = context.userIO().getString(QStringLiteral("Enter command name:"), true, name);
    if (status == host::RTNORM)
        if (host::UiManager* ui = host::systemServices().uiManager()) ui->highlightCommandControls(name);
    return status;
}

}  // namespace vela::module

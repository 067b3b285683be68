#include "host/host.h"

#include <QDir>
#include <QFileInfo>
#include <QSysInfo>
#include <QTextStream>
#include <cassert>
#include <cstdio>

#include "host/command.h"
#include "host/commands/command_support.h"

namespace vela::host {

namespace {
Host* g_host = nullptr;
}

void SystemServices::writeMessage(const QString& text) {
    if (sink_) {
        sink_->writeMessage(text);
        return;
    }
    std::fprintf(stderr, "%s\n", text.toUtf8().constData());
}

int SystemServices::runCommand(const QString& name, const QStringList& args) {
    return commands_.run(name, args, userInput());
}

bool Host::mayWriteFile(const QString& path) const {
    if (fileRoot_.isEmpty()) return true;
    // The folder the file would go to, with links resolved, must be the root or lie inside it.
    const QString folder = QFileInfo(QFileInfo(path).absolutePath()).canonicalFilePath();
    const QString root = QFileInfo(fileRoot_).canonicalFilePath();
    if (folder.isEmpty() || root.isEmpty()) return false;
    return folder == root || folder.startsWith(root.endsWith(u'/') ? root : root + u'/');
}

void SystemServices::openUrl(const QString& url) {
    if (urlOpener_) {
        urlOpener_(url);
        return;
    }
    writeMessage(QStringLiteral("Open this address in a browser: %1").arg(url));
}

Host::Host() : modules_(std::make_unique<ModuleLoader>()) {
    assert(!g_host && "one host per process");
    g_host = this;
    commands_.setLog([this](const QString& text) { services_.writeMessage(text); },
                     [this] { return variables_.commandEcho(); });
    ownCommands_ = commands::addDrawingCommands(commands_);
}

Host::~Host() {
    // Modules go first: they may still talk to the host while they stop.
    modules_->unloadAll();
    documents_.closeAll();
    g_host = nullptr;
}

Host* Host::instance() { return g_host; }

QString hostVersion() {
    return QStringLiteral(VELA_VERSION);
}

QString userAgent() {
    return QStringLiteral("VELA-AI-Assist/%1 (%2 %3)")
        .arg(hostVersion(), QSysInfo::productType(), QSysInfo::productVersion());
}

ClientInformation& clientInformation() {
    assert(g_host);
    return g_host->clientInformation();
}

SystemServices& systemServices() {
    assert(g_host);
    return g_host->services();
}

Capabilities* capabilities() { return g_host ? &g_host->capabilities() : nullptr; }

DebugSettings& debugSettings() {
    assert(g_host);
    return g_host->debugSettings();
}

SystemVariables& systemVariables() {
    assert(g_host);
    return g_host->variables();
}

Editor& editor() {
    assert(g_host);
    return g_host->editor();
}

Document* activeDocument() { return g_host ? g_host->documents().activeDocument() : nullptr; }

bool isTestFrameworkMode() { return g_host && g_host->isTestFrameworkMode(); }

}  // namespace vela::host

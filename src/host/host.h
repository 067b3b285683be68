#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include "host/account_services.h"
#include "host/capabilities.h"
#include "host/client_information.h"
#include "host/command.h"
#include "host/command_stack.h"
#include "host/debug_settings.h"
#include "host/document_manager.h"
#include "host/editor.h"
#include "host/lisp/limits.h"
#include "host/message_sink.h"
#include "host/module_loader.h"
#include "host/system_variables.h"
#include "host/ui_manager.h"
#include "host/user_input.h"

namespace vela::host {

/// Services of the host to modules and commands: the command-line log, running commands, the documents,
/// and the user-interface manager (null in a headless host).
class SystemServices {
public:
    SystemServices(DocumentManager& documents, CommandStack& commands) : documents_(documents), commands_(commands) {}

    /// Writes a message to the command-line log.
    void writeMessage(const QString& text);
    /// Runs a command synchronously with `args` as its first input (see CommandStack::run).
    int runCommand(const QString& name, const QStringList& args);
    /// Opens an address outside the program (a browser); a host without one logs it for the user.
    void openUrl(const QString& url);

    DocumentManager& documentManager() { return documents_; }
    CommandStack& commandStack() { return commands_; }
    UiManager* uiManager() const { return ui_; }

    void setMessageSink(MessageSink* sink) { sink_ = sink; }
    void setUserInput(UserInputSource* input) { input_ = input; }
    UserInputSource& userInput() { return input_ ? *input_ : noUser_; }
    void setUiManager(UiManager* ui) { ui_ = ui; }
    /// How a desktop front end opens addresses; without one, openUrl logs the address.
    void setUrlOpener(std::function<void(const QString&)> opener) { urlOpener_ = std::move(opener); }

private:
    DocumentManager& documents_;
    CommandStack& commands_;
    MessageSink* sink_ = nullptr;
    UserInputSource* input_ = nullptr;
    NoUserInput noUser_;
    UiManager* ui_ = nullptr;
    std::function<void(const QString&)> urlOpener_;
};

/// The host: one per process, made by the front end before it loads modules. Modules reach it through the
/// functions below.
class Host {
public:
    Host();
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    Capabilities& capabilities() { return capabilities_; }
    DebugSettings& debugSettings() { return debugSettings_; }
    DocumentManager& documents() { return documents_; }
    CommandStack& commands() { return commands_; }
    SystemServices& services() { return services_; }
    Editor& editor() { return editor_; }
    ModuleLoader& modules() { return *modules_; }
    SystemVariables& variables() { return variables_; }
    /// The limits of LISP evaluations, and whether programs may run commands that touch files.
    lisp::EvaluationSettings& lispSettings() { return lispSettings_; }
    /// The folder outside which commands may not write files (a server's root); empty: anywhere.
    const QString& fileRoot() const { return fileRoot_; }
    void setFileRoot(QString folder) { fileRoot_ = std::move(folder); }
    /// Whether a command may write `path` (inside the file root, when there is one).
    bool mayWriteFile(const QString& path) const;
    /// What pages the host shows are told about the client (application, user, licence, theme, language).
    ClientInformation& clientInformation() { return clientInformation_; }
    /// The user's account and the consent they give to AI services.
    AccountServices& account() { return account_; }
    AiSession& aiSession() { return aiSession_; }
    /// True when the host runs under its automated test framework.
    bool isTestFrameworkMode() const { return testFrameworkMode_; }
    void setTestFrameworkMode(bool on) { testFrameworkMode_ = on; }

    /// The process's host; there is always one while any module code runs.
    static Host* instance();

private:
    Capabilities capabilities_;
    DebugSettings debugSettings_;
    DocumentManager documents_;
    CommandStack commands_{documents_};
    SystemServices services_{documents_, commands_};
    Editor editor_;
    SystemVariables variables_;
    lisp::EvaluationSettings lispSettings_;
    QString fileRoot_;
    ClientInformation clientInformation_;
    AccountServices account_;
    AiSession aiSession_;
    // The host's own drawing commands (LINE, MOVE, UNDO, ...), registered before any module's.
    std::vector<std::unique_ptr<Command>> ownCommands_;
    std::unique_ptr<ModuleLoader> modules_;
    bool testFrameworkMode_ = false;
};

// What modules call. Each asserts that a host exists.
SystemServices& systemServices();
Capabilities* capabilities();
DebugSettings& debugSettings();
Editor& editor();
SystemVariables& systemVariables();
/// The active document, or null when no drawing is open.
Document* activeDocument();
bool isTestFrameworkMode();
ClientInformation& clientInformation();

}  // namespace vela::host

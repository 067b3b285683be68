#pragma once

#include <QString>
#include <QStringList>
#include <map>
#include <memory>

class QLibrary;

namespace vela::host {

class Module;

/// Loads modules (shared libraries) by name, creates their module object and calls its initApp; unloads them
/// in the reverse way. A name is the library's base name ("VelaAssist" for libVelaAssist.so), looked for in
/// the folders of VELA_MODULE_PATH, then beside the program, then in the build's library folder.
class ModuleLoader {
public:
    ModuleLoader();
    ~ModuleLoader();
    ModuleLoader(const ModuleLoader&) = delete;
    ModuleLoader& operator=(const ModuleLoader&) = delete;

    /// Loads and starts a module; true when it is loaded (also when it was already). On failure `error` says why.
    bool load(const QString& name, QString* error = nullptr);
    /// Stops and unloads a module; false when it was not loaded.
    bool unload(const QString& name);
    void unloadAll();
    bool isLoaded(const QString& name) const { return modules_.count(name) != 0; }
    QStringList loadedModules() const;
    /// An exported function of a loaded module (a front end's hook into it), or null.
    void* resolve(const QString& name, const char* symbol) const;
    const QStringList& searchFolders() const { return folders_; }

private:
    struct Loaded {
        std::unique_ptr<QLibrary> library;
        Module* module = nullptr;
    };
    QString find(const QString& name) const;

    QStringList folders_;
    std::map<QString, Loaded> modules_;
    QStringList order_;  // load order, for unloading in reverse
};

}  // namespace vela::host

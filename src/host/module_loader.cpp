#include "host/module_loader.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>

#include "host/module.h"

namespace vela::host {

ModuleLoader::ModuleLoader() {
    const QString env = qEnvironmentVariable("VELA_MODULE_PATH");
    for (const QString& f : env.split(QLatin1Char(':'), Qt::SkipEmptyParts)) folders_ << f;
    QString self = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    if (!self.isEmpty()) {
        const QDir dir = QFileInfo(self).dir();
        folders_ << dir.absolutePath() << dir.absoluteFilePath(QStringLiteral("../lib"))
                 << dir.absoluteFilePath(QStringLiteral("../../lib"));
    }
#ifdef VELA_MODULE_DIR
    folders_ << QStringLiteral(VELA_MODULE_DIR);
#endif
}

ModuleLoader::~ModuleLoader() { unloadAll(); }

QString ModuleLoader::find(const QString& name) const {
    for (const QString& folder : folders_) {
        for (const QString& file : {QStringLiteral("lib%1.so").arg(name), name + QStringLiteral(".so")}) {
            const QString path = QDir(folder).absoluteFilePath(file);
            if (QFileInfo::exists(path)) return path;
        }
    }
    return {};
}

bool ModuleLoader::load(const QString& name, QString* error) {
    if (isLoaded(name)) return true;
    const QString path = find(name);
    if (path.isEmpty()) {
        if (error) *error = QStringLiteral("module %1 not found in %2").arg(name, folders_.join(QStringLiteral(", ")));
        return false;
    }
    auto library = std::make_unique<QLibrary>(path);
    if (!library->load()) {
        if (error) *error = library->errorString();
        return false;
    }
    auto version = reinterpret_cast<VelaGetApiVersionFn>(library->resolve("odrxGetAPIVersion"));
    auto create = reinterpret_cast<VelaCreateModuleObjectFn>(library->resolve("odrxCreateModuleObject"));
    if (!version || !create) {
        if (error) *error = QStringLiteral("%1 is not a module: it lacks the module entry points").arg(path);
        library->unload();
        return false;
    }
    if (version() != kModuleApiVersion) {
        if (error) *error = QStringLiteral("%1 was built for module interface %2, not %3").arg(path).arg(version()).arg(kModuleApiVersion);
        library->unload();
        return false;
    }
    Module* module = create();
    if (!module) {
        if (error) *error = QStringLiteral("%1 made no module object").arg(path);
        library->unload();
        return false;
    }
    modules_[name] = Loaded{std::move(library), module};
    order_ << name;
    module->initApp();
    return true;
}

bool ModuleLoader::unload(const QString& name) {
    auto it = modules_.find(name);
    if (it == modules_.end()) return false;
    Loaded loaded = std::move(it->second);
    modules_.erase(it);
    order_.removeAll(name);
    loaded.module->uninitApp();
    delete loaded.module;
    loaded.library->unload();
    return true;
}

void ModuleLoader::unloadAll() {
    while (!order_.isEmpty()) unload(order_.last());
}

QStringList ModuleLoader::loadedModules() const { return order_; }

void* ModuleLoader::resolve(const QString& name, const char* symbol) const {
    const auto it = modules_.find(name);
    if (it == modules_.end()) return nullptr;
    return reinterpret_cast<void*>(it->second.library->resolve(symbol));
}

}  // namespace vela::host

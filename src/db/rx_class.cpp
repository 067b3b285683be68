#include "db/rx_class.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <unordered_map>

#include "db/object.h"

namespace vela::db {

std::unique_ptr<DbObject> RxClass::create() const {
    return factory_ ? factory_() : nullptr;
}

namespace {

using NameIndex = std::unordered_map<std::string_view, const RxClass*>;

struct Registry {
    std::shared_mutex mutex;
    std::vector<const RxClass*> classes;  // in the order they came
    NameIndex byName;
    NameIndex byDxfName;
};

// Never destroyed: classes of libraries that unload after this one still leave it at exit.
Registry& registry() {
    static Registry* r = new Registry;
    return *r;
}

// A class takes a name from the class holding it only when it is that class's base, so a base keeps its name
// whatever order the classes come in.
void claim(NameIndex& index, std::string_view name, const RxClass* cls) {
    if (name.empty()) return;
    auto [it, added] = index.try_emplace(name, cls);
    if (!added && it->second != cls && it->second->isDerivedFrom(cls)) it->second = cls;
}

void index(Registry& r, const RxClass* cls) {
    claim(r.byName, cls->name(), cls);
    claim(r.byDxfName, cls->dxfName(), cls);
}

const RxClass* find(const NameIndex& index, std::string_view name) {
    auto it = index.find(name);
    return it == index.end() ? nullptr : it->second;
}

}  // namespace

void RxRegistry::add(const RxClass* cls) {
    if (!cls) return;
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    if (std::find(r.classes.begin(), r.classes.end(), cls) != r.classes.end()) return;
    r.classes.push_back(cls);
    index(r, cls);
}

void RxRegistry::remove(const RxClass* cls) {
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    auto it = std::find(r.classes.begin(), r.classes.end(), cls);
    if (it == r.classes.end()) return;
    r.classes.erase(it);
    // Names it held go back to the classes that share them; replaying the adds gives each to the same class
    // as if the removed one had never come.
    r.byName.clear();
    r.byDxfName.clear();
    for (const RxClass* c : r.classes) index(r, c);
}

const RxClass* RxRegistry::findByDxfName(std::string_view dxfName) {
    Registry& r = registry();
    std::shared_lock lock(r.mutex);
    return find(r.byDxfName, dxfName);
}

const RxClass* RxRegistry::findByName(std::string_view name) {
    Registry& r = registry();
    std::shared_lock lock(r.mutex);
    return find(r.byName, name);
}

std::vector<const RxClass*> RxRegistry::classes(const RxClass* base) {
    std::vector<const RxClass*> list;
    {
        Registry& r = registry();
        std::shared_lock lock(r.mutex);
        for (const RxClass* c : r.classes)
            if (c->canCreate() && (!base || c->isDerivedFrom(base))) list.push_back(c);
    }
    std::sort(list.begin(), list.end(), [](const RxClass* a, const RxClass* b) {
        if (const int byName = std::strcmp(a->name(), b->name())) return byName < 0;
        return std::strcmp(a->dxfName(), b->dxfName()) < 0;
    });
    return list;
}

}  // namespace vela::db

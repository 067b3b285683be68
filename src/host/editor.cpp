#include "host/editor.h"

#include <algorithm>

namespace vela::host {

void Editor::addReactor(EditorReactor* reactor) {
    if (reactor && !hasReactor(reactor)) reactors_.push_back(reactor);
}

void Editor::removeReactor(EditorReactor* reactor) {
    reactors_.erase(std::remove(reactors_.begin(), reactors_.end(), reactor), reactors_.end());
}

bool Editor::hasReactor(const EditorReactor* reactor) const {
    return std::find(reactors_.begin(), reactors_.end(), reactor) != reactors_.end();
}

template <class F>
void Editor::each(F&& f) {
    // A reactor may remove itself while notified: walk a copy, skipping the ones gone meanwhile.
    const std::vector<EditorReactor*> copy(reactors_);
    for (EditorReactor* r : copy)
        if (hasReactor(r)) f(r);
}

void Editor::fireMainWindowCreated() {
    mainWindowUp_ = true;
    each([](EditorReactor* r) { r->mainWindowCreated(); });
}

void Editor::fireMainWindowToBeDestroyed() {
    each([](EditorReactor* r) { r->mainWindowToBeDestroyed(); });
    mainWindowUp_ = false;
}

void Editor::fireModelessOperationWillStart(const QString& name) {
    each([&](EditorReactor* r) { r->modelessOperationWillStart(name); });
}

void Editor::fireModelessOperationEnded(const QString& name) {
    each([&](EditorReactor* r) { r->modelessOperationEnded(name); });
}

}  // namespace vela::host

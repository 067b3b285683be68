#pragma once

#include <QString>
#include <vector>

namespace vela::host {

/// Hears the editor's events: the main window's life, and operations that run outside any command.
class EditorReactor {
public:
    virtual ~EditorReactor() = default;
    /// The host's main window exists (desktop front ends only).
    virtual void mainWindowCreated() {}
    /// The host's main window is being torn down.
    virtual void mainWindowToBeDestroyed() {}
    virtual void modelessOperationWillStart(const QString& /*name*/) {}
    virtual void modelessOperationEnded(const QString& /*name*/) {}
};

/// The editor's event list.
class Editor {
public:
    void addReactor(EditorReactor* reactor);
    void removeReactor(EditorReactor* reactor);
    bool hasReactor(const EditorReactor* reactor) const;

    void fireMainWindowCreated();
    void fireMainWindowToBeDestroyed();
    void fireModelessOperationWillStart(const QString& name);
    void fireModelessOperationEnded(const QString& name);
    bool isMainWindowUp() const { return mainWindowUp_; }

private:
    template <class F>
    void each(F&& f);
    std::vector<EditorReactor*> reactors_;
    bool mainWindowUp_ = false;
};

}  // namespace vela::host

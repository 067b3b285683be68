#pragma once

#include <QMainWindow>
#include <QTimer>
#include <memory>

#include "builtin_page.h"
#include "serve/serve_settings.h"

class QLabel;
class QMenu;
class QToolBar;

namespace vela::cli {
class Session;
namespace serve {
class PageHost;
}
}  // namespace vela::cli
namespace vela::palette {
class CJxWidgetVelaAssistantPalette;
}

namespace vela::desk {

class CommandLine;
class DeskInput;
class DeskUiManager;
class DrawingCanvas;
class LayerPanel;

/// Where the desktop keeps its settings: the assistant's (shared with the served page: the assistant page,
/// user, licence, theme, language, chat, and the consent) and its own (recent files).
struct DeskSettings {
    QString assistantFile;  // INI, read as the served page reads it, plus [resources] page=
    QString deskFile;       // INI: recent files
};
DeskSettings defaultDeskSettings();

/// The desktop host's main window: the drawing canvas, the command line, the layers, menus and tool bars
/// whose entries start host commands, and the assistant's dock once the module has put it there.
class DeskWindow : public QMainWindow {
    Q_OBJECT
  public:
    /// The session's host gets this window's input, log and user-interface services; the module must be
    /// loaded already, so that it hears that the main window exists.
    DeskWindow(cli::Session& session, DeskInput& input, DeskSettings settings, QWidget* parent = nullptr);
    ~DeskWindow() override;

    /// Opens a drawing in place of the current one; false (and a message box unless `quiet`) on failure.
    bool openDrawing(const QString& path, bool quiet = false);
    void newDrawing();
    bool saveDrawing();
    bool saveDrawingAs(const QString& path);

    /// Starts a command line's worth: a command with its typed-ahead answers, or a LISP expression. A
    /// command asking for input is cancelled first, as a menu pick does in CAD programs.
    void startCommand(const QString& line);
    /// Runs a host command with its answers given (a layer change from the panel).
    void runCommand(const QString& name, const QStringList& answers);
    bool isCommandRunning() const { return running_ > 0; }

    DrawingCanvas* canvas() const { return canvas_; }
    CommandLine* commandLine() const { return commandLine_; }
    LayerPanel* layerPanel() const { return layers_; }
    QLabel* coordinates() const { return coordinates_; }
    /// The action starting a host command, as the menus and tool bars have it ("LINE"), or null.
    QAction* commandAction(const QString& command) const;
    QToolBar* toolBar(const QString& objectName) const;
    QMenu* menu(const QString& objectName) const;
    /// The assistant's palette, once the module made it.
    palette::CJxWidgetVelaAssistantPalette* assistantPalette() const;
    /// Reads the settings again (after the Start page changed them) and tells the palette.
    void reloadAssistantSettings();
    const DeskSettings& settings() const { return settings_; }

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void buildMenus();
    void runQueued();
    QAction* addCommandAction(QMenu* menu, QToolBar* tools, const QString& text, const QString& command,
                              const QKeySequence& shortcut = {});
    void showStartPage();
    void watch();
    void documentChanged();
    void updateTitle();
    void addRecentFile(const QString& path);
    void fillRecentMenu();
    bool askToSave();
    bool isModified() const;

    cli::Session& session_;
    DeskInput& input_;
    DeskSettings settings_;
    cli::serve::ServeSettings assistant_;
    std::unique_ptr<DeskUiManager> ui_;
    DrawingCanvas* canvas_ = nullptr;
    CommandLine* commandLine_ = nullptr;
    LayerPanel* layers_ = nullptr;
    QLabel* coordinates_ = nullptr;
    QMenu* viewMenu_ = nullptr;
    QMenu* recentMenu_ = nullptr;
    QAction* undoAction_ = nullptr;
    QAction* redoAction_ = nullptr;
    QTimer watch_;
    int running_ = 0;
    QString queued_;
    // What the window last showed, to see what changed since.
    const void* shownDocument_ = nullptr;
    std::size_t shownUndo_ = 0, shownRedo_ = 0;
};

}  // namespace vela::desk

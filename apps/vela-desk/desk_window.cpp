#include "desk_window.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QStatusBar>
#include <QToolBar>
#include <QWebChannel>

#include "command_line.h"
#include "db/database.h"
#include "desk_icons.h"
#include "desk_input.h"
#include "desk_ui.h"
#include "drawing_canvas.h"
#include "host/commands/command_support.h"
#include "host/document.h"
#include "host/host.h"
#include "host/lisp/evaluation.h"
#include "host/result_codes.h"
#include "layer_panel.h"
#include "palette/velaassistant_palette.h"
#include "palette/widget_highlighter.h"
#include "serve/page_host.h"
#include "session.h"

namespace vela::desk {

namespace {

constexpr int kRecentFiles = 8;
constexpr int kWatchMs = 100;

// The palette is made by the module when the window exists, through these two functions; they reach the
// session and settings of the window that is up.
cli::Session* g_session = nullptr;
cli::serve::ServeSettings* g_assistant = nullptr;
palette::CJxWidgetVelaAssistantPalette* g_palette = nullptr;
cli::serve::PageHost* g_pageHost = nullptr;  // the palette's, told of changes after every look

void* createPalette() {
    auto* palette = new palette::CJxWidgetVelaAssistantPalette;
    g_palette = palette;
    palette->CreateUI();
    if (palette->webChannel() && g_session && g_assistant) {
        // The page's second object: the drawing's state, the catalogue, undo and the chat, as a served page
        // has them.
        g_pageHost = new cli::serve::PageHost(*g_session, *g_assistant, palette);
        palette->webChannel()->registerObject(QStringLiteral("VelaHost"), g_pageHost);
    }
    return palette;
}

void destroyPalette(void* palette) {
    if (palette == g_palette) g_palette = nullptr, g_pageHost = nullptr;
    delete static_cast<palette::CJxWidgetVelaAssistantPalette*>(palette);
}

using SetPaletteFactory = void (*)(void* (*)(), void (*)(void*));

cli::serve::ServeSettings readAssistantSettings(const QString& path) {
    QString why;
    cli::serve::ServeSettings settings = cli::serve::readServeSettings(path, &why);
    if (!why.isEmpty()) std::fprintf(stderr, "vela-desk: %s\n", why.toUtf8().constData());
    // The page the palette shows: the one built in unless the settings name another (or none: "page=").
    settings.client.resources->assistantPageAddress =
        settings.page.value_or(QString::fromLatin1(kBuiltInAssistantPage));
    return settings;
}

}  // namespace

DeskSettings defaultDeskSettings() {
    DeskSettings s;
    s.assistantFile = cli::serve::defaultSettingsPath();
    s.deskFile = QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
                     .filePath(QStringLiteral("vela-assist/desk.ini"));
    return s;
}

DeskWindow::DeskWindow(cli::Session& session, DeskInput& input, DeskSettings settings, QWidget* parent)
    : QMainWindow(parent), session_(session), input_(input), settings_(std::move(settings)) {
    setObjectName(QStringLiteral("VelaDesk"));
    setDockOptions(QMainWindow::AnimatedDocks | QMainWindow::AllowTabbedDocks);
    assistant_ = readAssistantSettings(settings_.assistantFile);
    host::Host& h = session_.host();
    h.clientInformation() = assistant_.client;
    h.aiSession().setSettingsFile(settings_.assistantFile);

    canvas_ = new DrawingCanvas(input_, this);
    setCentralWidget(canvas_);

    commandLine_ = new CommandLine(input_);
    auto* commandDock = new QDockWidget(tr("Command Line"), this);
    commandDock->setObjectName(QStringLiteral("commandLineDock"));
    commandDock->setWidget(commandLine_);
    addDockWidget(Qt::BottomDockWidgetArea, commandDock);
    resizeDocks({commandDock}, {150}, Qt::Vertical);
    connect(commandLine_, &CommandLine::commandEntered, this, &DeskWindow::startCommand);

    layers_ = new LayerPanel(
        [this](const QString& command, const QStringList& answers) { runCommand(command, answers); });
    auto* layerDock = new QDockWidget(tr("Layers"), this);
    layerDock->setObjectName(QStringLiteral("layerDock"));
    layerDock->setWidget(layers_);
    addDockWidget(Qt::LeftDockWidgetArea, layerDock);
    resizeDocks({layerDock}, {230}, Qt::Horizontal);

    coordinates_ = new QLabel;
    coordinates_->setObjectName(QStringLiteral("coordinates"));
    coordinates_->setMinimumWidth(220);
    statusBar()->addPermanentWidget(coordinates_);
    connect(canvas_, &DrawingCanvas::cursorMoved, this, [this](const db::Point3d& p) {
        coordinates_->setText(
            QStringLiteral("%1, %2").arg(host::commands::numberText(p.x), host::commands::numberText(p.y)));
    });

    buildMenus();
    viewMenu_->addAction(commandDock->toggleViewAction());
    viewMenu_->addAction(layerDock->toggleViewAction());

    host::SystemServices& services = h.services();
    ui_ = std::make_unique<DeskUiManager>(*this, viewMenu_);
    services.setUserInput(&input_);
    services.setUiManager(ui_.get());
    services.setUrlOpener([](const QString& url) { QDesktopServices::openUrl(QUrl(url)); });
    palette::SetJxAPIHelper(ui_.get());
    h.account().setStartPageHandler([this] { showStartPage(); });

    serveBuiltInPage();
    g_session = &session_;
    g_assistant = &assistant_;
    if (auto set = reinterpret_cast<SetPaletteFactory>(h.modules().resolve(
            QString::fromLatin1(cli::Session::kModuleName), "VelaAssistSetPaletteFactory")))
        set(&createPalette, &destroyPalette);
    h.editor().fireMainWindowCreated();

    connect(&watch_, &QTimer::timeout, this, &DeskWindow::watch);
    watch_.start(kWatchMs);
    documentChanged();
    resize(1400, 900);
}

DeskWindow::~DeskWindow() {
    watch_.stop();
    input_.cancelAll();
    palette::CJxWidgetHighlighter::instance().Clear();
    host::Host& h = session_.host();
    h.editor().fireMainWindowToBeDestroyed();
    h.services().setUiManager(nullptr);
    h.services().setUserInput(nullptr);
    h.services().setUrlOpener({});
    h.account().setStartPageHandler({});
    palette::SetJxAPIHelper(nullptr);
    if (g_assistant == &assistant_) g_session = nullptr, g_assistant = nullptr;
}

palette::CJxWidgetVelaAssistantPalette* DeskWindow::assistantPalette() const {
    return g_palette;
}

QAction* DeskWindow::addCommandAction(QMenu* menu, QToolBar* tools, const QString& text,
                                      const QString& command, const QKeySequence& shortcut) {
    auto* action = new QAction(text, this);
    action->setObjectName(QStringLiteral("action") + command);
    action->setProperty(kCommandProperty, command);
    action->setStatusTip(command);
    action->setIcon(commandIcon(command));
    if (!shortcut.isEmpty()) action->setShortcut(shortcut);
    connect(action, &QAction::triggered, this, [this, command] { startCommand(QLatin1Char('_') + command); });
    if (menu) menu->addAction(action);
    if (tools) tools->addAction(action);
    return action;
}

void DeskWindow::buildMenus() {
    auto menuNamed = [this](const QString& title, const char* name) {
        QMenu* m = menuBar()->addMenu(title);
        m->setObjectName(QLatin1String(name));
        return m;
    };
    auto toolsNamed = [this](const QString& title, const char* name) {
        QToolBar* t = addToolBar(title);
        t->setObjectName(QLatin1String(name));
        t->setToolButtonStyle(Qt::ToolButtonIconOnly);
        t->setIconSize(QSize(24, 24));
        return t;
    };

    QMenu* file = menuNamed(tr("&File"), "fileMenu");
    QToolBar* standard = toolsNamed(tr("Standard"), "standardToolBar");
    QAction* a = file->addAction(tr("&New"), QKeySequence::New, this, &DeskWindow::newDrawing);
    a->setIcon(commandIcon(QStringLiteral("NEW")));
    standard->addAction(a);
    a = file->addAction(tr("&Open..."), QKeySequence::Open, this, [this] {
        if (!askToSave()) return;
        const QString path = QFileDialog::getOpenFileName(this, tr("Open Drawing"), QString(),
                                                          tr("Drawings (*.dxf);;All files (*)"));
        if (!path.isEmpty()) openDrawing(path);
    });
    a->setIcon(commandIcon(QStringLiteral("OPEN")));
    standard->addAction(a);
    recentMenu_ = file->addMenu(tr("Recent &Files"));
    recentMenu_->setObjectName(QStringLiteral("recentMenu"));
    fillRecentMenu();
    a = file->addAction(tr("&Save"), QKeySequence::Save, this, &DeskWindow::saveDrawing);
    a->setProperty(kCommandProperty, QStringLiteral("QSAVE"));
    a->setIcon(commandIcon(QStringLiteral("QSAVE")));
    standard->addAction(a);
    a = file->addAction(tr("Save &As..."), QKeySequence::SaveAs, this, [this] {
        const QString path =
            QFileDialog::getSaveFileName(this, tr("Save Drawing As"), QString(), tr("Drawings (*.dxf)"));
        if (!path.isEmpty())
            saveDrawingAs(path.endsWith(QLatin1String(".dxf"), Qt::CaseInsensitive)
                              ? path
                              : path + QStringLiteral(".dxf"));
    });
    a->setProperty(kCommandProperty, QStringLiteral("SAVE"));
    file->addSeparator();
    file->addAction(tr("E&xit"), QKeySequence::Quit, this, &QWidget::close);

    QMenu* edit = menuNamed(tr("&Edit"), "editMenu");
    undoAction_ = addCommandAction(edit, standard, tr("&Undo"), QStringLiteral("U"), QKeySequence::Undo);
    redoAction_ = addCommandAction(edit, standard, tr("&Redo"), QStringLiteral("REDO"), QKeySequence::Redo);
    edit->addSeparator();
    addCommandAction(edit, nullptr, tr("&Erase"), QStringLiteral("ERASE"), QKeySequence::Delete);

    viewMenu_ = menuNamed(tr("&View"), "viewMenu");
    a = viewMenu_->addAction(tr("Zoom &Extents"), this, [this] { canvas_->zoomExtents(); });
    a->setObjectName(QStringLiteral("actionZoomExtents"));
    a->setIcon(commandIcon(QStringLiteral("ZOOMEXTENTS")));
    standard->addAction(a);
    addCommandAction(viewMenu_, nullptr, tr("&Zoom"), QStringLiteral("ZOOM"));
    addCommandAction(viewMenu_, nullptr, tr("VELA AI Assist"), QStringLiteral("VELAAIASSIST"));
    viewMenu_->addSeparator();

    // Entries that start host commands, in menu order; those marked also get a tool button.
    struct Entry {
        const char* text;
        const char* command;
        bool onToolBar;
    };
    auto fill = [this](QMenu* menu, QToolBar* bar, std::initializer_list<Entry> entries) {
        for (const Entry& e : entries)
            addCommandAction(menu, e.onToolBar ? bar : nullptr, tr(e.text), QLatin1String(e.command));
    };
    fill(menuNamed(tr("&Draw"), "drawMenu"), toolsNamed(tr("Draw"), "drawToolBar"),
         {{QT_TR_NOOP("Line"), "LINE", true},
          {QT_TR_NOOP("Polyline"), "PLINE", true},
          {QT_TR_NOOP("Circle"), "CIRCLE", true},
          {QT_TR_NOOP("Arc"), "ARC", true},
          {QT_TR_NOOP("Ellipse"), "ELLIPSE", false},
          {QT_TR_NOOP("Rectangle"), "RECTANG", true},
          {QT_TR_NOOP("Point"), "POINT", false},
          {QT_TR_NOOP("Text"), "TEXT", true}});

    QToolBar* modifyTools = toolsNamed(tr("Modify"), "modifyToolBar");
    modifyTools->addAction(commandAction(QStringLiteral("ERASE")));
    // Erase has an entry of its own here too, as CAD programs have it in both menus.
    fill(menuNamed(tr("&Modify"), "modifyMenu"), modifyTools,
         {{QT_TR_NOOP("Erase"), "ERASE", false},
          {QT_TR_NOOP("Move"), "MOVE", true},
          {QT_TR_NOOP("Copy"), "COPY", true},
          {QT_TR_NOOP("Rotate"), "ROTATE", true},
          {QT_TR_NOOP("Scale"), "SCALE", true},
          {QT_TR_NOOP("Mirror"), "MIRROR", false},
          {QT_TR_NOOP("Offset"), "OFFSET", true},
          {QT_TR_NOOP("Explode"), "EXPLODE", false},
          {QT_TR_NOOP("Match Properties"), "MATCHPROP", false}});

    QMenu* tools = menuNamed(tr("&Tools"), "toolsMenu");
    addCommandAction(tools, nullptr, tr("Highlight Command..."), QStringLiteral("HIGHLIGHTUI"));
    tools->addAction(tr("Start Page..."), this, &DeskWindow::showStartPage);
}

QAction* DeskWindow::commandAction(const QString& command) const {
    for (QAction* action : findChildren<QAction*>())
        if (action->property(kCommandProperty).toString() == command) return action;
    return nullptr;
}

QToolBar* DeskWindow::toolBar(const QString& objectName) const {
    return findChild<QToolBar*>(objectName);
}

QMenu* DeskWindow::menu(const QString& objectName) const {
    return findChild<QMenu*>(objectName);
}

void DeskWindow::startCommand(const QString& line) {
    if (running_ > 0 || input_.isWaiting()) {
        // The command asking now (typed, or run by the assistant's page) is cancelled; this one follows once
        // it has ended.
        queued_ = line;
        input_.cancelAll();
        QTimer::singleShot(0, this, &DeskWindow::runQueued);
        return;
    }
    const QString text = line.trimmed();
    if (text.isEmpty()) return;
    ++running_;
    if (text.startsWith(QLatin1Char('('))) {
        commandLine_->appendLog(host::lisp::evaluateLisp(text).text);
    } else {
        QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const QString name = words.takeFirst();
        if (!session_.host().commands().lookup(name))
            commandLine_->appendLog(tr("Unknown command \"%1\".").arg(name.toUpper()));
        else
            // A cancelled question is echoed by the input as "*Cancel*".
            session_.host().services().runCommand(name, words);
    }
    --running_;
    watch();
    runQueued();
}

void DeskWindow::runQueued() {
    if (queued_.isEmpty()) return;
    if (running_ > 0 || input_.isWaiting()) {
        // Still unwinding: a moment later.
        QTimer::singleShot(10, this, &DeskWindow::runQueued);
        return;
    }
    startCommand(std::exchange(queued_, QString()));
}

void DeskWindow::runCommand(const QString& name, const QStringList& answers) {
    if (running_ > 0) return;  // the panel's changes wait for the command line to be free
    ++running_;
    session_.host().services().runCommand(name, answers);
    --running_;
    watch();
}

void DeskWindow::watch() {
    // Every source of change ends here: the command line, the menus, the palette's page, programs. What
    // changed since the last look is shown.
    host::Document* doc = session_.activeDocument();
    if (doc != shownDocument_) {
        documentChanged();
        return;
    }
    if (!doc) return;
    canvas_->followSelection();
    const db::UndoManager& undo = doc->database()->undoManager();
    if (undo.undoCount() != shownUndo_ || undo.redoCount() != shownRedo_) {
        shownUndo_ = undo.undoCount();
        shownRedo_ = undo.redoCount();
        layers_->showLayers(doc);
        updateTitle();
    }
    if (running_ == 0) canvas_->followDocumentView();
    if (g_pageHost) g_pageHost->checkForChanges();
}

void DeskWindow::documentChanged() {
    host::Document* doc = session_.activeDocument();
    shownDocument_ = doc;
    canvas_->setDocument(doc);
    layers_->showLayers(doc);
    shownUndo_ = doc ? doc->database()->undoManager().undoCount() : 0;
    shownRedo_ = doc ? doc->database()->undoManager().redoCount() : 0;
    canvas_->resetEdits();
    updateTitle();
}

bool DeskWindow::isModified() const {
    return session_.activeDocument() && canvas_->edits() > 0;
}

void DeskWindow::updateTitle() {
    host::Document* doc = session_.activeDocument();
    setWindowTitle(QStringLiteral("%1[*] - VELA Desk").arg(doc ? doc->title() : tr("No drawing")));
    setWindowModified(isModified());
    if (doc) {
        undoAction_->setEnabled(doc->database()->undoManager().undoCount() > 0);
        redoAction_->setEnabled(doc->database()->undoManager().redoCount() > 0);
    }
}

bool DeskWindow::openDrawing(const QString& path, bool quiet) {
    if (running_ > 0) return false;
    QProgressDialog progress(tr("Reading %1...").arg(QFileInfo(path).fileName()), QString(), 0, 1000, this);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    QString error;
    host::Document* before = session_.activeDocument();
    const bool ok = session_.open(path, &error, [&](std::size_t done, std::size_t total) {
        if (total) progress.setValue(int(1000.0 * double(done) / double(total)));
    });
    if (!ok) {
        if (!quiet) QMessageBox::warning(this, tr("Open Drawing"), error);
        commandLine_->appendLog(error);
        return false;
    }
    if (before) session_.host().documents().close(before);
    addRecentFile(QFileInfo(path).absoluteFilePath());
    documentChanged();
    return true;
}

void DeskWindow::newDrawing() {
    if (running_ > 0 || !askToSave()) return;
    host::Document* before = session_.activeDocument();
    session_.createNew();
    if (before) session_.host().documents().close(before);
    documentChanged();
}

bool DeskWindow::saveDrawing() {
    host::Document* doc = session_.activeDocument();
    if (!doc) return false;
    if (doc->path().isEmpty() || !doc->path().endsWith(QLatin1String(".dxf"), Qt::CaseInsensitive)) {
        const QString path =
            QFileDialog::getSaveFileName(this, tr("Save Drawing As"), QString(), tr("Drawings (*.dxf)"));
        return !path.isEmpty() && saveDrawingAs(path);
    }
    return saveDrawingAs(doc->path());
}

bool DeskWindow::saveDrawingAs(const QString& path) {
    QString error;
    if (!session_.save(path, &error)) {
        QMessageBox::warning(this, tr("Save Drawing"), error);
        commandLine_->appendLog(error);
        return false;
    }
    commandLine_->appendLog(tr("Saved %1.").arg(path));
    canvas_->resetEdits();
    addRecentFile(QFileInfo(path).absoluteFilePath());
    updateTitle();
    return true;
}

bool DeskWindow::askToSave() {
    if (!isModified()) return true;
    const auto answer = QMessageBox::question(
        this, tr("VELA Desk"), tr("Save the changes to %1?").arg(session_.activeDocument()->title()),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
    if (answer == QMessageBox::Cancel) return false;
    return answer == QMessageBox::Discard || saveDrawing();
}

void DeskWindow::addRecentFile(const QString& path) {
    QSettings settings(settings_.deskFile, QSettings::IniFormat);
    QStringList files = settings.value(QStringLiteral("recent/files")).toStringList();
    files.removeAll(path);
    files.prepend(path);
    while (files.size() > kRecentFiles) files.removeLast();
    settings.setValue(QStringLiteral("recent/files"), files);
    fillRecentMenu();
}

void DeskWindow::fillRecentMenu() {
    recentMenu_->clear();
    const QStringList files = QSettings(settings_.deskFile, QSettings::IniFormat)
                                  .value(QStringLiteral("recent/files"))
                                  .toStringList();
    for (int i = 0; i < files.size(); ++i) {
        const QString path = files[i];
        recentMenu_
            ->addAction(QStringLiteral("&%1 %2").arg(i + 1).arg(QFileInfo(path).fileName()), this,
                        [this, path] {
                            if (askToSave()) openDrawing(path);
                        })
            ->setStatusTip(path);
    }
    recentMenu_->setEnabled(!files.isEmpty());
}

void DeskWindow::showStartPage() {
    // Signing in, for this host: naming the assistant page and who uses it.
    QDialog dialog(this);
    dialog.setObjectName(QStringLiteral("startPage"));
    dialog.setWindowTitle(tr("Start Page"));
    auto* form = new QFormLayout(&dialog);
    auto* page = new QLineEdit(assistant_.client.resources->assistantPageAddress);
    page->setObjectName(QStringLiteral("pageAddress"));
    page->setPlaceholderText(QString::fromLatin1(kBuiltInAssistantPage));
    auto* builtIn = new QPushButton(tr("Use the built-in page"));
    connect(builtIn, &QPushButton::clicked, page,
            [page] { page->setText(QString::fromLatin1(kBuiltInAssistantPage)); });
    auto* user = new QLineEdit(assistant_.client.user.userId);
    form->addRow(
        new QLabel(tr("The assistant's page and your name are kept in %1.").arg(settings_.assistantFile)));
    form->addRow(tr("Assistant page:"), page);
    form->addRow(QString(), builtIn);
    form->addRow(tr("User:"), user);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    if (dialog.exec() != QDialog::Accepted) return;
    QSettings file(settings_.assistantFile, QSettings::IniFormat);
    file.setValue(QStringLiteral("resources/page"), page->text().trimmed());
    file.setValue(QStringLiteral("user/id"), user->text().trimmed());
    file.sync();
    reloadAssistantSettings();
}

void DeskWindow::reloadAssistantSettings() {
    assistant_ = readAssistantSettings(settings_.assistantFile);
    session_.host().clientInformation() = assistant_.client;
    if (g_palette) g_palette->CheckPages();
}

void DeskWindow::closeEvent(QCloseEvent* event) {
    if (running_ > 0 || input_.isWaiting()) {
        // A command is asking: it is cancelled, and the window closes once it has ended.
        input_.cancelAll();
        event->ignore();
        QTimer::singleShot(0, this, &QWidget::close);
        return;
    }
    if (!askToSave()) {
        event->ignore();
        return;
    }
    event->accept();
}

}  // namespace vela::desk

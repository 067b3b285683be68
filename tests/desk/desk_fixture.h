#pragma once

#include <QApplication>
#include <QDeadlineTimer>
#include <QString>
#include <QTemporaryDir>
#include <functional>
#include <memory>

#include "desk_input.h"
#include "desk_window.h"
#include "session.h"

namespace vela::desk::test {

/// One desktop for the whole test program, as a user has one: the host and its module first, the window when
/// a test first needs it (so that what happens before the window exists can be tried).
struct Desk {
    QTemporaryDir dir;
    DeskInput input;
    std::unique_ptr<cli::Session> session;
    std::unique_ptr<DeskWindow> window;
    DeskSettings settings;
};

Desk& desk();
/// The main window, shown, with the sample plan open.
DeskWindow& window();
/// Shows the sample plan whole on the canvas (tests draw far from it).
void showPlan();
/// Saves a picture of the window with its open popup menu (a window of its own) drawn where it is.
QString saveWindowShot(QWidget* popup, const QString& name);
/// Ends the desktop before the application goes.
void closeDesk();

/// Lets the event loop run until `done` holds or the time is up; whether it held.
bool waitFor(const std::function<bool()>& done, int milliseconds = 15000);
/// Lets the event loop run for a while.
void spin(int milliseconds);
/// Saves a picture of a widget into the test output folder; its path.
QString saveShot(QWidget* widget, const QString& name);
/// Runs a command as the command line does, with `script` answering its questions from inside its own wait
/// (each step gets the prompt asked); the steps run one per question.
using Script = std::vector<std::function<void(const QString& prompt)>>;
void runScripted(const std::function<void()>& start, Script script);
/// The same for a command typed with its first answers ("LINE 0,0").
int runScripted(const QString& command, Script script);

}  // namespace vela::desk::test

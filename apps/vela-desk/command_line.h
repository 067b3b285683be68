#pragma once

#include <QStringList>
#include <QWidget>

class QLabel;
class QLineEdit;
class QPlainTextEdit;

namespace vela::desk {

class DeskInput;

/// The command line: the log of what the host said, the current prompt and the line the user types in. A
/// line answers the waiting question, or else starts a command (a LISP expression when it opens with "(");
/// Enter on an empty line repeats the last command. Up and Down walk the history.
class CommandLine : public QWidget {
    Q_OBJECT
  public:
    explicit CommandLine(DeskInput& input, QWidget* parent = nullptr);

    QLineEdit* editor() const { return edit_; }
    QPlainTextEdit* log() const { return log_; }
    QString prompt() const;
    void appendLog(const QString& text);
    /// Takes a typed key from elsewhere (the canvas), as CAD programs send typing to the command line.
    void type(const QString& text);

  signals:
    /// The user asked for a command ("LINE") or an expression ("(+ 1 2)") with nothing waiting for input.
    void commandEntered(const QString& line);

  private:
    void enter();
    void showPrompt();
    bool eventFilter(QObject* watched, QEvent* event) override;

    DeskInput& input_;
    QPlainTextEdit* log_;
    QLabel* prompt_;
    QLineEdit* edit_;
    QStringList history_;
    int historyAt_ = 0;
    QString lastCommand_;
};

}  // namespace vela::desk

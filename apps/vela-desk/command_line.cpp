#include "command_line.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QVBoxLayout>

#include "desk_input.h"

namespace vela::desk {

namespace {
constexpr int kLogLines = 5000;
constexpr int kHistory = 200;
}  // namespace

CommandLine::CommandLine(DeskInput& input, QWidget* parent) : QWidget(parent), input_(input) {
    setObjectName(QStringLiteral("commandLine"));
    log_ = new QPlainTextEdit;
    log_->setObjectName(QStringLiteral("commandLog"));
    log_->setReadOnly(true);
    log_->setMaximumBlockCount(kLogLines);
    log_->setFocusPolicy(Qt::NoFocus);
    QFont mono(QStringLiteral("DejaVu Sans Mono"));
    mono.setStyleHint(QFont::Monospace);
    log_->setFont(mono);
    prompt_ = new QLabel;
    prompt_->setObjectName(QStringLiteral("commandPrompt"));
    prompt_->setFont(mono);
    edit_ = new QLineEdit;
    edit_->setObjectName(QStringLiteral("commandInput"));
    edit_->setFont(mono);
    edit_->installEventFilter(this);
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(prompt_);
    row->addWidget(edit_, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    layout->addWidget(log_, 1);
    layout->addLayout(row);
    connect(edit_, &QLineEdit::returnPressed, this, &CommandLine::enter);
    connect(&input_, &DeskInput::message, this, &CommandLine::appendLog);
    connect(&input_, &DeskInput::waitingChanged, this, &CommandLine::showPrompt);
    connect(&input_, &DeskInput::answered, this, [this](const QString& prompt, const QString& echo) {
        appendLog(prompt.endsWith(QLatin1Char(' ')) ? prompt + echo : prompt + QLatin1Char(' ') + echo);
    });
    showPrompt();
}

QString CommandLine::prompt() const {
    return prompt_->text();
}

void CommandLine::showPrompt() {
    const host::InputRequest* request = input_.request();
    prompt_->setText(request ? request->prompt : tr("Command: "));
}

void CommandLine::appendLog(const QString& text) {
    log_->appendPlainText(text);
    log_->verticalScrollBar()->setValue(log_->verticalScrollBar()->maximum());
}

void CommandLine::type(const QString& text) {
    edit_->setFocus();
    edit_->insert(text);
}

void CommandLine::enter() {
    const QString line = edit_->text();
    edit_->clear();
    const QString trimmed = line.trimmed();
    if (!trimmed.isEmpty()) {
        history_.removeAll(trimmed);
        history_.append(trimmed);
        while (history_.size() > kHistory) history_.removeFirst();
    }
    historyAt_ = history_.size();
    if (input_.isWaiting()) {
        // The host reads and checks the answer itself; an empty one is Enter.
        input_.answerText(line);
        return;
    }
    if (trimmed.isEmpty()) {
        if (lastCommand_.isEmpty()) return;
        appendLog(tr("Command: ") + lastCommand_);
        emit commandEntered(lastCommand_);
        return;
    }
    appendLog(tr("Command: ") + trimmed);
    if (!trimmed.startsWith(QLatin1Char('('))) lastCommand_ = trimmed;
    emit commandEntered(trimmed);
}

bool CommandLine::eventFilter(QObject* watched, QEvent* event) {
    if (watched == edit_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Up && historyAt_ > 0) {
            edit_->setText(history_[--historyAt_]);
            return true;
        }
        if (key->key() == Qt::Key_Down && historyAt_ < history_.size()) {
            ++historyAt_;
            edit_->setText(historyAt_ < history_.size() ? history_[historyAt_] : QString());
            return true;
        }
        if (key->key() == Qt::Key_Escape) {
            edit_->clear();
            input_.cancel();
            return true;
        }
        // A space ends a word as Enter does, except in answers that may hold blanks and in LISP.
        if (key->key() == Qt::Key_Space) {
            const host::InputRequest* request = input_.request();
            const bool blanksAllowed =
                request ? request->allowSpaces : edit_->text().startsWith(QLatin1Char('('));
            if (!blanksAllowed) {
                enter();
                return true;
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace vela::desk

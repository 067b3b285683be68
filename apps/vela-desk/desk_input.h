#pragma once

#include <QObject>
#include <QStringList>
#include <deque>
#include <optional>
#include <vector>

#include "host/message_sink.h"
#include "host/user_input.h"

class QEventLoop;

namespace vela::desk {

/// The desktop's way of asking its user: a command's question waits in an event loop of its own while the
/// window goes on (the command line, the canvas, the menus), until the user answers or cancels. Answers given
/// ahead (the canvas's window selection answers "W" and both corners at once) are taken first.
class DeskInput : public QObject, public host::UserInputSource, public host::MessageSink {
    Q_OBJECT
  public:
    int getInput(const host::InputRequest& request, host::InputAnswer& answer) override;
    void writeMessage(const QString& text) override { emit message(text); }

    /// The question being waited for (the innermost one), or null.
    const host::InputRequest* request() const { return waits_.empty() ? nullptr : waits_.back()->request; }
    bool isWaiting() const { return !waits_.empty(); }

    void answerText(const QString& text);
    void answerPoint(const db::Point3d& point);
    /// Answers given ahead, taken by the next questions in order, the first of them now when one is waiting.
    void answerAhead(std::vector<host::InputAnswer> answers);
    /// Escape: the waiting question is cancelled.
    void cancel();
    /// Every waiting question is cancelled (the window closes).
    void cancelAll();

  signals:
    void message(const QString& text);
    /// A question is asked or answered: the prompt, the cursor and the rubber band change.
    void waitingChanged();
    /// An answer was taken; `echo` is what the command line shows after the prompt.
    void answered(const QString& prompt, const QString& echo);

  private:
    struct Wait {
        const host::InputRequest* request;
        host::InputAnswer* answer;
        QEventLoop* loop;
        int result = 0;
    };
    void finish(int result, const host::InputAnswer& answer, const QString& echo);

    std::vector<Wait*> waits_;
    std::deque<host::InputAnswer> ahead_;
};

}  // namespace vela::desk

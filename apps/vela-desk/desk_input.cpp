#include "desk_input.h"

#include <QEventLoop>

#include "host/commands/command_support.h"
#include "host/result_codes.h"

namespace vela::desk {

namespace {
QString echoOf(const host::InputAnswer& answer) {
    return answer.point ? host::commands::pointText(*answer.point) : answer.text;
}
}  // namespace

int DeskInput::getInput(const host::InputRequest& request, host::InputAnswer& answer) {
    if (!ahead_.empty()) {
        answer = ahead_.front();
        ahead_.pop_front();
        emit answered(request.prompt, echoOf(answer));
        return host::RTNORM;
    }
    QEventLoop loop;
    Wait wait{&request, &answer, &loop};
    waits_.push_back(&wait);
    emit waitingChanged();
    loop.exec();
    std::erase(waits_, &wait);
    emit waitingChanged();
    return wait.result;
}

void DeskInput::finish(int result, const host::InputAnswer& answer, const QString& echo) {
    if (waits_.empty()) return;
    Wait* wait = waits_.back();
    if (wait->result != 0) return;  // answered already, its loop is on its way out
    wait->result = result;
    *wait->answer = answer;
    emit answered(wait->request->prompt, echo);
    wait->loop->quit();
}

void DeskInput::answerText(const QString& text) {
    finish(host::RTNORM, host::InputAnswer{text, std::nullopt}, text);
}

void DeskInput::answerPoint(const db::Point3d& point) {
    host::InputAnswer answer;
    answer.point = point;
    finish(host::RTNORM, answer, echoOf(answer));
}

void DeskInput::answerAhead(std::vector<host::InputAnswer> answers) {
    if (answers.empty()) return;
    for (std::size_t i = 1; i < answers.size(); ++i) ahead_.push_back(answers[i]);
    if (isWaiting())
        finish(host::RTNORM, answers.front(), echoOf(answers.front()));
    else
        ahead_.push_front(answers.front());
}

void DeskInput::cancel() {
    ahead_.clear();
    finish(host::RTCAN, {}, QStringLiteral("*Cancel*"));
}

void DeskInput::cancelAll() {
    ahead_.clear();
    for (Wait* wait : waits_) {
        if (wait->result != 0) continue;
        wait->result = host::RTCAN;
        wait->loop->quit();
    }
}

}  // namespace vela::desk

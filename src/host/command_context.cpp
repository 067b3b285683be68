#include "host/command_context.h"

#include <cmath>

#include "host/document.h"
#include "host/result_codes.h"
#include "host/text/number_text.h"
#include "host/text/point_text.h"

namespace vela::host {

namespace {

// A front end that keeps answering what cannot be read (a program feeding input) would otherwise be asked
// forever; after this many refusals in one command the question counts as cancelled.
constexpr int kMaxRefusals = 200;

/// The capitals at the start of a keyword: the shortest form a user may type ("LOck": "LO").
qsizetype shortestForm(const QString& keyword) {
    qsizetype n = 0;
    while (n < keyword.size() && !keyword[n].isLower()) ++n;
    return n == 0 ? keyword.size() : n;
}

QString echoed(const QString& text) {
    return text.isEmpty() ? QStringLiteral("<Enter>") : text;
}

}  // namespace

QString Prompt::text() const {
    QString t = message;
    if (!keywords.isEmpty()) t += QStringLiteral(" [%1]").arg(keywords.join(QLatin1Char('/')));
    if (!defaultText.isEmpty()) t += QStringLiteral(" <%1>").arg(defaultText);
    return t + QStringLiteral(": ");
}

int UserIO::next(const Prompt& prompt, bool wantsPoint, bool allowSpaces, InputAnswer& answer) {
    if (refusals_ >= kMaxRefusals) return RTCAN;
    answer = InputAnswer{};
    // A program's pause ("\\" queued) hands this question to the user.
    if (!queued_.isEmpty() && queued_.front() == QLatin1String("\\"))
        queued_.removeFirst();
    else if (!queued_.isEmpty()) {
        // A queued answer is one answer: a program gives "1.5, -2" as one point. Only a text that takes no
        // blanks ends at one, as a typed word does.
        answer.text = queued_.takeFirst();
        if (!allowSpaces) answer.text = answer.text.trimmed();
        if (!allowSpaces && !wantsPoint) answer.text = answer.text.section(QLatin1Char(' '), 0, 0);
        if (echo_) message(prompt.text() + echoed(answer.text));
        return RTNORM;
    }
    InputRequest request;
    request.prompt = prompt.text();
    request.wantsPoint = wantsPoint;
    request.allowSpaces = allowSpaces;
    request.tracker = prompt.tracker;
    request.basePoint = prompt.basePoint;
    const int status = source_.getInput(request, answer);
    if (status != RTNORM) return RTCAN;
    if (!allowSpaces) answer.text = answer.text.trimmed().section(QLatin1Char(' '), 0, 0);
    return RTNORM;
}

int UserIO::take(const Prompt& prompt, bool wantsPoint, bool allowSpaces, InputAnswer& answer) {
    if (next(prompt, wantsPoint, allowSpaces, answer) != RTNORM) return RTCAN;
    if (answer.point || !answer.text.isEmpty()) return RTNORM;
    // Enter: the default, read as if typed; RTNONE where allowed; otherwise the question again.
    if (!prompt.defaultText.isEmpty()) {
        answer.text = prompt.defaultText;
        return RTNORM;
    }
    return prompt.allowNone ? RTNONE : kAskAgain;
}

bool UserIO::matchKeyword(const Prompt& prompt, const QString& typed) {
    QString text = typed.trimmed();
    if (text.startsWith(QLatin1Char('_'))) text = text.sliced(1);
    if (text.isEmpty()) return false;
    for (const QString& k : prompt.keywords) {
        QString plain = k.startsWith(QLatin1Char('_')) ? k.sliced(1) : k;
        if (text.size() >= shortestForm(plain) && plain.startsWith(text, Qt::CaseInsensitive)) {
            keyword_ = plain;
            return true;
        }
    }
    return false;
}

bool UserIO::numberInRange(const Prompt& prompt, double value) const {
    if (!prompt.positive || value > 0 || (prompt.allowZero && value == 0)) return true;
    refuse(prompt.allowZero ? QStringLiteral("Value must be positive or zero.")
                            : QStringLiteral("Value must be positive and nonzero."));
    return false;
}

// Each reader below: take an answer (Enter gives the default, RTNONE or another try); a keyword wins over a
// value only when the text is not a value; anything else is refused and asked again.

int UserIO::getPoint(const Prompt& prompt, db::Point3d& point) {
    for (;;) {
        InputAnswer answer;
        if (const int t = take(prompt, true, false, answer); t != RTNORM) {
            if (t == kAskAgain) continue;
            return t;
        }
        if (answer.point) {
            point = *answer.point;
        } else {
            const std::optional<db::Point3d> p = ReadCommandLinePoint(answer.text, lastPoint());
            if (!p) {
                if (matchKeyword(prompt, answer.text)) return RTKWORD;
                ++refusals_;
                refuse(prompt.keywords.isEmpty() ? QStringLiteral("Invalid point.")
                                                 : QStringLiteral("Point or option keyword required."));
                continue;
            }
            point = *p;
        }
        remember(point);
        if (prompt.tracker) prompt.tracker->track(point);
        return RTNORM;
    }
}

int UserIO::getDistance(const Prompt& prompt, double& distance) {
    for (;;) {
        InputAnswer answer;
        if (const int t = take(prompt, true, false, answer); t != RTNORM) {
            if (t == kAskAgain) continue;
            return t;
        }
        std::optional<double> value;
        if (!answer.point) value = NumberFromText(answer.text);
        std::optional<db::Point3d> first = answer.point;
        if (!value && !first) first = ReadCommandLinePoint(answer.text, lastPoint());
        if (!value && first) {
            // A point: the distance from the base point, or from this point to a second one.
            db::Point3d from = *first, to = *first;
            if (prompt.basePoint) {
                from = *prompt.basePoint;
            } else {
                const int r = getPoint(Prompt(QStringLiteral("Specify second point")).from(*first), to);
                if (r != RTNORM) return RTCAN;
            }
            remember(to);
            value = (to - from).length();
        }
        if (!value) {
            if (matchKeyword(prompt, answer.text)) return RTKWORD;
            ++refusals_;
            refuse(QStringLiteral("Requires numeric distance or two points."));
            continue;
        }
        if (!numberInRange(prompt, *value)) {
            ++refusals_;
            continue;
        }
        distance = *value;
        return RTNORM;
    }
}

int UserIO::getAngle(const Prompt& prompt, double& radians) {
    for (;;) {
        InputAnswer answer;
        if (const int t = take(prompt, true, false, answer); t != RTNORM) {
            if (t == kAskAgain) continue;
            return t;
        }
        if (!answer.point) {
            QStringView text = QStringView(answer.text).trimmed();
            if (text.startsWith(u'<')) text = text.sliced(1);  // "<30", the angle override form
            if (const std::optional<double> degrees = NumberFromText(text)) {
                radians = *degrees * M_PI / 180.0;
                return RTNORM;
            }
        }
        std::optional<db::Point3d> p = answer.point;
        if (!p) p = ReadCommandLinePoint(answer.text, lastPoint());
        if (p) {
            db::Point3d from = *p, to = *p;
            if (prompt.basePoint) {
                from = *prompt.basePoint;
            } else if (getPoint(Prompt(QStringLiteral("Specify second point")).from(*p), to) != RTNORM) {
                return RTCAN;
            }
            if ((to - from).length() > 0) {
                remember(to);
                radians = std::atan2(to.y - from.y, to.x - from.x);
                return RTNORM;
            }
        }
        if (!p && matchKeyword(prompt, answer.text)) return RTKWORD;
        ++refusals_;
        refuse(QStringLiteral("Requires valid numeric angle or second point."));
    }
}

int UserIO::getReal(const Prompt& prompt, double& value) {
    for (;;) {
        InputAnswer answer;
        if (const int t = take(prompt, false, false, answer); t != RTNORM) {
            if (t == kAskAgain) continue;
            return t;
        }
        if (const std::optional<double> v = NumberFromText(answer.text)) {
            if (!numberInRange(prompt, *v)) {
                ++refusals_;
                continue;
            }
            value = *v;
            return RTNORM;
        }
        if (matchKeyword(prompt, answer.text)) return RTKWORD;
        ++refusals_;
        refuse(QStringLiteral("Requires numeric value."));
    }
}

int UserIO::getInteger(const Prompt& prompt, int& value) {
    for (;;) {
        InputAnswer answer;
        if (const int t = take(prompt, false, false, answer); t != RTNORM) {
            if (t == kAskAgain) continue;
            return t;
        }
        bool ok = false;
        const int v = answer.text.trimmed().toInt(&ok);
        if (ok) {
            if (!numberInRange(prompt, v)) {
                ++refusals_;
                continue;
            }
            value = v;
            return RTNORM;
        }
        if (matchKeyword(prompt, answer.text)) return RTKWORD;
        ++refusals_;
        refuse(QStringLiteral("Requires an integer value."));
    }
}

int UserIO::getKeyword(const Prompt& prompt) {
    for (;;) {
        InputAnswer answer;
        if (const int t = take(prompt, false, false, answer); t != RTNORM) {
            if (t == kAskAgain) continue;
            return t;
        }
        if (matchKeyword(prompt, answer.text)) return RTKWORD;
        ++refusals_;
        refuse(QStringLiteral("Invalid option keyword."));
    }
}

int UserIO::getText(const Prompt& prompt, bool allowSpaces, QString& text) {
    for (;;) {
        InputAnswer answer;
        if (const int t = take(prompt, false, allowSpaces, answer); t != RTNORM) {
            if (t == kAskAgain) continue;
            return t;
        }
        if (!prompt.keywords.isEmpty() && matchKeyword(prompt, answer.text)) return RTKWORD;
        text = answer.text;
        return RTNORM;
    }
}

int UserIO::getString(const QString& prompt, bool allowSpaces, QString& answer) {
    if (!queued_.isEmpty()) {
        QString text = queued_.takeFirst();
        if (!allowSpaces) {
            const qsizetype blank = text.indexOf(QLatin1Char(' '));
            if (blank >= 0) text.truncate(blank);
        }
        answer = text;
        return RTNORM;
    }
    InputRequest request;
    request.prompt = prompt;
    request.allowSpaces = allowSpaces;
    InputAnswer typed;
    if (source_.getInput(request, typed) != RTNORM) return RTCAN;
    answer = allowSpaces ? typed.text : typed.text.section(QLatin1Char(' '), 0, 0);
    return RTNORM;
}

db::Database* CommandContext::database() const { return document_ ? document_->database() : nullptr; }

}  // namespace vela::host

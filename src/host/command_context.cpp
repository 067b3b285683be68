#include "host/command_context.h"

#include "host/document.h"
#include "host/result_codes.h"

namespace vela::host {

namespace {
bool parseNumber(const QString& text, double& out) {
    bool ok = false;
    out = text.trimmed().toDouble(&ok);
    return ok && std::isfinite(out);
}
}  // namespace

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
    return source_.getString(prompt, allowSpaces, answer);
}

int UserIO::getPoint(const QString& prompt, InputTracker* tracker, db::Point3d& answer) {
    if (!queued_.isEmpty()) {
        const QStringList parts = queued_.takeFirst().split(QLatin1Char(','));
        double v[3] = {0, 0, 0};
        if (parts.size() < 2 || parts.size() > 3) return RTERROR;
        for (qsizetype i = 0; i < parts.size(); ++i)
            if (!parseNumber(parts[i], v[i])) return RTERROR;
        answer = db::Point3d(v[0], v[1], v[2]);
        if (tracker) tracker->track(answer);
        return RTNORM;
    }
    return source_.getPoint(prompt, tracker, answer);
}

db::Database* CommandContext::database() const { return document_ ? document_->database() : nullptr; }

}  // namespace vela::host

// vela-assist run [DRAWING | --new] [--save OUT]: a conversation script on standard input, one JSON object a
// line, each answered at once with one line on standard output. The command-line log goes to standard error.
#include <QCoreApplication>
#include <cstdio>
#include <iostream>
#include <string>

#include "cli.h"
#include "drawing_loader.h"
#include "picture_file.h"
#include "script_runner.h"
#include "session.h"

namespace vela::cli {

int runCommand(const std::vector<std::string>& args) {
    const PictureApplicationScope pictures;
    std::string drawing, saveTo;
    bool fresh = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--new") {
            fresh = true;
        } else if (args[i] == "--save" && i + 1 < args.size()) {
            saveTo = args[++i];
        } else if (!args[i].empty() && args[i][0] != '-' && drawing.empty()) {
            drawing = args[i];
        } else {
            std::fputs("usage: vela-assist run [DRAWING | --new] [--save OUT] < script\n", stderr);
            return 2;
        }
    }
    Session session;
    if (fresh) {
        session.createNew();
    } else {
        QString error;
        const QString path = QString::fromStdString(drawing.empty() ? bundledSamplePath() : drawing);
        if (!session.open(path, &error)) return 1;
    }
    QString error;
    if (!session.loadModule(&error)) {
        std::fprintf(stderr, "vela-assist: %s\n", error.toUtf8().constData());
        return 1;
    }
    ScriptRunner runner(session);
    std::string line;
    while (std::getline(std::cin, line)) {
        const QString answer = runner.answer(QByteArray::fromStdString(line));
        std::fputs(answer.toUtf8().constData(), stdout);
        std::fputc('\n', stdout);
        std::fflush(stdout);
    }
    if (!saveTo.empty()) {
        if (!session.save(QString::fromStdString(saveTo), &error)) {
            std::fprintf(stderr, "vela-assist: %s\n", error.toUtf8().constData());
            return 1;
        }
        std::fprintf(stderr, "saved %s\n", saveTo.c_str());
    }
    return 0;
}

}  // namespace vela::cli

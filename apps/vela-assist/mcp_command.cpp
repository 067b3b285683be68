// vela-assist mcp [DRAWING | --new] [--root DIR] [--http PORT]: the assistant's commands as the tools of a
// Model Context Protocol server, over standard input and output or, with --http, over HTTP on this machine.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHostAddress>
#include <cstdio>
#include <string>

#include "cli.h"
#include "drawing_loader.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_transports.h"
#include "picture_file.h"
#include "session.h"

namespace vela::cli {

namespace {

int usageError() {
    std::fputs("usage: vela-assist mcp [DRAWING | --new] [--root DIR] [--http PORT]\n", stderr);
    return 2;
}

}  // namespace

int mcpCommand(const std::vector<std::string>& args) {
    std::string drawing, root;
    bool fresh = false;
    std::optional<int> port;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--new") {
            fresh = true;
        } else if (args[i] == "--root" && i + 1 < args.size()) {
            root = args[++i];
        } else if (args[i] == "--http" && i + 1 < args.size()) {
            bool ok = false;
            port = QString::fromStdString(args[++i]).toInt(&ok);
            if (!ok || *port < 0 || *port > 65535) return usageError();
        } else if (!args[i].empty() && args[i][0] != '-' && drawing.empty()) {
            drawing = args[i];
        } else {
            return usageError();
        }
    }
    // Files are opened and saved only inside this folder: by default the one the server was started in.
    const QString rootPath = QFileInfo(QString::fromStdString(root.empty() ? "." : root)).canonicalFilePath();
    if (rootPath.isEmpty() || !QFileInfo(rootPath).isDir()) {
        std::fprintf(stderr, "vela-assist mcp: --root must name a folder that exists: '%s'\n", root.c_str());
        return 2;
    }

    const PictureApplicationScope pictures;
    ensurePictureApplication();  // the event loop, and text in pictures
    Session session;
    QString error;
    if (fresh) {
        session.createNew();
    } else if (!session.open(QString::fromStdString(drawing.empty() ? bundledSamplePath() : drawing),
                             &error)) {
        std::fprintf(stderr, "vela-assist mcp: %s\n", error.toUtf8().constData());
        return 1;
    }
    if (!session.loadModule(&error)) {
        std::fprintf(stderr, "vela-assist mcp: %s\n", error.toUtf8().constData());
        return 1;
    }
    // A root given by the user is where LISP's commands may save too; without one they may not save at all.
    if (!root.empty()) {
        session.host().setFileRoot(rootPath);
        session.host().lispSettings().allowFileCommands = true;
    }
    mcp::ServerOptions options;
    options.root = rootPath;
    mcp::McpServer server(session, options);

    if (!port) {
        mcp::StdioTransport stdio(server);
        stdio.start();
        return QCoreApplication::exec();
    }
    mcp::HttpTransport http(server);
    QString why;
    const quint16 bound = http.start(QHostAddress::LocalHost, static_cast<quint16>(*port), &why);
    if (!bound) {
        std::fprintf(stderr, "vela-assist mcp: cannot listen on 127.0.0.1:%d: %s\n", *port,
                     why.toUtf8().constData());
        return 1;
    }
    std::fprintf(stderr,
                 "vela-assist mcp: listening on http://127.0.0.1:%u/mcp\n"
                 "token: %s\n"
                 "(send it as 'Authorization: Bearer TOKEN'; a new one is made at every start)\n",
                 bound, http.guard().token().constData());
    std::fflush(stderr);
    return QCoreApplication::exec();
}

}  // namespace vela::cli

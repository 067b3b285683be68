#include "assistant_server.h"

#include <QBuffer>
#include <QFile>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QUrlQuery>
#include <QWebSocket>
#include <QtHttpServer/QHttpServerRequest>
#include <QtHttpServer/QHttpServerResponse>

#include "db/dxf/file/dxf_writer.h"
#include "host/document.h"
#include "page_host.h"
#include "picture_file.h"
#include "session.h"
#include "web_socket_transport.h"

namespace vela::cli::serve {

namespace {

constexpr int kMaxWebSockets = 32;

struct Asset {
    const char* name;
    const char* resource;
    const char* type;
};
// The page's files, and Qt's own client of the web channel.
constexpr Asset kAssets[] = {
    {"", ":/vela/web/index.html", "text/html; charset=utf-8"},
    {"index.html", ":/vela/web/index.html", "text/html; charset=utf-8"},
    {"app.js", ":/vela/web/app.js", "text/javascript; charset=utf-8"},
    {"style.css", ":/vela/web/style.css", "text/css; charset=utf-8"},
    {"icon.svg", ":/vela/web/icon.svg", "image/svg+xml"},
    {"qwebchannel.js", ":/qtwebchannel/qwebchannel.js", "text/javascript; charset=utf-8"},
};

// What a page of ours may do: its own scripts, styles and pictures, and a WebSocket to this server. Nothing
// from anywhere else, and no other site may frame it.
QByteArray contentSecurityPolicy(const QByteArray& host) {
    return "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
           "connect-src 'self' ws://" +
           host + "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
}

void addCommonHeaders(QHttpServerResponse& response) {
    response.addHeader("Cache-Control", "no-store");
    response.addHeader("X-Content-Type-Options", "nosniff");
    response.addHeader("Referrer-Policy", "no-referrer");
}

// "/session/TOKEN/REST": the token, and the rest (none when the path ends with the token).
struct SessionPath {
    QByteArray token;
    std::optional<QString> rest;
};
std::optional<SessionPath> sessionPath(const QString& path) {
    static const QLatin1String prefix("/session/");
    if (!path.startsWith(prefix)) return std::nullopt;
    const qsizetype slash = path.indexOf(u'/', prefix.size());
    if (slash < 0) return SessionPath{path.mid(prefix.size()).toUtf8(), std::nullopt};
    return SessionPath{path.mid(prefix.size(), slash - prefix.size()).toUtf8(), path.mid(slash + 1)};
}

}  // namespace

AssistantServer::AssistantServer(Session& session, const ServeSettings& settings)
    : LocalHttpServer("vela-assist serve", {}),
      session_(session),
      host_(std::make_unique<PageHost>(session, settings)) {
    // Qt's server warns about every refused WebSocket handshake; our own log line says why.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.httpserver.warning=false"));
    channel_.registerObject(QStringLiteral("VelaAssistantAPI"), &session.bridge());
    channel_.registerObject(QStringLiteral("VelaHost"), host_.get());
    connect(this, &QAbstractHttpServer::newWebSocketConnection, this, &AssistantServer::acceptWebSockets);
}

AssistantServer::~AssistantServer() {
    channel_.deregisterObject(&session_.bridge());
    channel_.deregisterObject(host_.get());
}

QString AssistantServer::pageBase() const {
    return QString::fromUtf8(origin() + "/session/" + guard().token());
}

bool AssistantServer::handleLocalRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    const auto headers = request.headers();
    const bool upgrade =
        LocalAccessGuard::header(headers, "Upgrade").compare("websocket", Qt::CaseInsensitive) == 0;
    const std::optional<SessionPath> session = sessionPath(request.url().path());
    // A WebSocket handshake is refused by answering it here and declining it; accepting it is declining to
    // answer.
    auto refuseWith = [&](int status, const QByteArray& why, const Headers& extra = {}) {
        QHttpServerResponder responder = makeResponder(request, socket);
        refuse(request, responder, status, why, extra);
        if (upgrade) socket->setProperty("vela.answered", true);
        return !upgrade;
    };

    const AccessVerdict verdict = guard().check(headers, session ? session->token : QByteArray());
    if (!verdict.allowed()) {
        if (!session && verdict.status == 401)
            return refuseWith(401,
                              "open the address that vela-assist serve printed when it started: it "
                              "carries this start's token");
        return refuseWith(verdict.status, verdict.reason,
                          verdict.status == 401 ? Headers{{"WWW-Authenticate", "Bearer"}} : Headers{});
    }
    if (!session) return refuseWith(404, "everything of this server is under /session/TOKEN/");
    const QString rest = session->rest.value_or(QString());
    if (upgrade) {
        if (rest != QLatin1String("ws")) return refuseWith(404, "the web channel is at ws");
        if (LocalAccessGuard::header(headers, "Sec-WebSocket-Version") != "13")
            return refuseWith(426, "this server speaks WebSocket version 13",
                              {{"Sec-WebSocket-Version", "13"}});
        if (LocalAccessGuard::header(headers, "Sec-WebSocket-Key").isEmpty())
            return refuseWith(400, "a WebSocket handshake carries a Sec-WebSocket-Key");
        // Browsers always say which page opens a WebSocket; a page of this server is the only one let in.
        if (LocalAccessGuard::header(headers, "Origin").isEmpty())
            return refuseWith(403, "a WebSocket must come from this server's page (Origin)");
        if (webSockets_ >= kMaxWebSockets)
            return refuseWith(503, "too many pages are connected (" + QByteArray::number(webSockets_) + ")");
        // Each call is one small message each way: nothing is gained by holding one back for the next.
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        return true;
    }
    if (request.method() != QHttpServerRequest::Method::Get)
        return refuseWith(405, "this server answers GET only", {{"Allow", "GET"}});

    QHttpServerResponder responder = makeResponder(request, socket);
    if (rest == QLatin1String("picture.png") || rest == QLatin1String("picture.svg")) {
        servePicture(request, responder, rest.endsWith(QLatin1String("svg")));
    } else if (rest == QLatin1String("drawing.dxf")) {
        serveDrawing(request, responder);
    } else if (!session->rest) {
        // The base address without its slash: pages resolve their files against the folder.
        QHttpServerResponse response(QHttpServerResponse::StatusCode::PermanentRedirect);
        response.addHeader("Location", request.url().path().toUtf8() + '/');
        addCommonHeaders(response);
        response.write(std::move(responder));
    } else {
        serveAsset(request, responder, rest);
    }
    return true;
}

void AssistantServer::serveAsset(const QHttpServerRequest& request, QHttpServerResponder& responder,
                                 const QString& name) {
    for (const Asset& asset : kAssets) {
        if (name != QLatin1String(asset.name)) continue;
        QFile file(QString::fromLatin1(asset.resource));
        if (!file.open(QIODevice::ReadOnly)) break;
        QHttpServerResponse response(asset.type, file.readAll());
        addCommonHeaders(response);
        if (QByteArray(asset.type).startsWith("text/html")) {
            response.addHeader("Content-Security-Policy",
                               contentSecurityPolicy(LocalAccessGuard::header(request.headers(), "Host")));
            response.addHeader("X-Frame-Options", "DENY");
        }
        response.write(std::move(responder));
        return;
    }
    refuse(request, responder, 404, "the page has no file of that name");
}

void AssistantServer::servePicture(const QHttpServerRequest& request, QHttpServerResponder& responder,
                                   bool svg) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return refuse(request, responder, 409, "no drawing is open");
    // The query's items are the picture request of the scripts and tools, in text.
    const QUrlQuery query(request.url());
    QJsonObject asked;
    for (const auto& [key, value] : query.queryItems(QUrl::FullyDecoded)) {
        if (key == QLatin1String("since")) {
            bool ok = false;
            const qint64 step = value.toLongLong(&ok);
            asked.insert(key, ok ? QJsonValue(step) : QJsonValue(value));
        } else if (key == QLatin1String("dark")) {
            asked.insert(key, value == QLatin1String("1") || value == QLatin1String("true"));
        } else if (key == QLatin1String("handles")) {
            asked.insert(key, value == QLatin1String("all")
                                  ? QJsonValue(value)
                                  : QJsonValue(QJsonArray::fromStringList(value.split(u','))));
        } else if (key == QLatin1String("size") || key == QLatin1String("window")) {
            asked.insert(key, value);
        } else if (key != QLatin1String("selection") && key != QLatin1String("t")) {
            return refuse(request, responder, 400,
                          "a picture takes size, window, since, dark, handles, selection");
        }
    }
    if (!asked.contains(QStringLiteral("size")))
        asked.insert(QStringLiteral("size"), QStringLiteral("1200x900"));
    QString why;
    std::optional<PictureRequest> picture = readPictureRequest(*doc->database(), asked, &why);
    if (!picture) return refuse(request, responder, 400, why.toUtf8());
    render::RenderOptions& options = picture->options;
    if (qint64(options.size.width()) * options.size.height() > kMaxPagePixels)
        return refuse(request, responder, 400,
                      "a picture has at most " + QByteArray::number(kMaxPagePixels) + " pixels");
    options.index = &doc->spatialIndex();
    // The selection in the user's colour for it, over what the changes' colours say.
    if (query.queryItemValue(QStringLiteral("selection")) != QLatin1String("0") &&
        !doc->selection().isEmpty()) {
        auto changed = options.highlight;
        const host::SelectionSet* selection = &doc->selection();
        options.highlight = [changed, selection](db::ObjectId id) -> std::optional<QColor> {
            if (selection->contains(id)) return QColor(255, 140, 0);
            return changed ? changed(id) : std::nullopt;
        };
    }
    const render::Frame frame = render::frameFor(*doc->database(), options);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const bool written = svg ? render::writeSvg(*doc->database(), options, buffer, &why)
                             : render::renderImage(*doc->database(), options).save(&buffer, "PNG");
    if (!written) return refuse(request, responder, 500, "the picture could not be made: " + why.toUtf8());
    QHttpServerResponse response(svg ? "image/svg+xml" : "image/png", bytes);
    addCommonHeaders(response);
    const db::Extents3d& shown = frame.shown;
    response.addHeader("X-Vela-Window", QByteArray::number(shown.minPoint().x, 'g', 17) + ',' +
                                            QByteArray::number(shown.minPoint().y, 'g', 17) + ',' +
                                            QByteArray::number(shown.maxPoint().x, 'g', 17) + ',' +
                                            QByteArray::number(shown.maxPoint().y, 'g', 17));
    response.write(std::move(responder));
}

void AssistantServer::serveDrawing(const QHttpServerRequest& request, QHttpServerResponder& responder) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return refuse(request, responder, 409, "no drawing is open");
    const std::string text = db::writeDxf(*doc->database());
    QHttpServerResponse response("application/dxf", QByteArray::fromStdString(text));
    addCommonHeaders(response);
    QString name = doc->title();
    if (!name.endsWith(QLatin1String(".dxf"), Qt::CaseInsensitive)) name += QStringLiteral(".dxf");
    name.replace(u'"', u'_');
    response.addHeader("Content-Disposition", "attachment; filename=\"" + name.toUtf8() + '"');
    response.write(std::move(responder));
}

void AssistantServer::acceptWebSockets() {
    while (hasPendingWebSocketConnections()) {
        std::unique_ptr<QWebSocket> socket = nextPendingWebSocketConnection();
        if (!socket) continue;
        socket->setMaxAllowedIncomingMessageSize(kMaxMessageBytes);
        socket->setMaxAllowedIncomingFrameSize(kMaxMessageBytes);
        ++webSockets_;
        auto* transport = new WebSocketTransport(
            std::move(socket), [this] { host_->checkForChanges(); },
            [this](const QByteArray& line) { log(line); });
        transport->setParent(this);
        channel_.connectTo(transport);
        connect(transport, &WebSocketTransport::closed, this, [this, transport] {
            --webSockets_;
            channel_.disconnectFrom(transport);
            transport->deleteLater();
        });
    }
}

}  // namespace vela::cli::serve

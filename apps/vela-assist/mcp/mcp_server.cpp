#include "mcp_server.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <cmath>

#include "mcp_tools.h"
#include "session.h"

namespace vela::cli::mcp {

namespace {

const char* const kHandshakeRevisions[] = {"2025-11-25", "2025-06-18", "2025-03-26"};

// A JSON-RPC error, thrown out of a method's handler to become the error response.
struct RpcError {
    int code;
    QString message;
    QJsonValue data = QJsonValue::Undefined;
    int httpStatus = 200;
};

QByteArray errorMessage(const QJsonValue& id, const RpcError& e) {
    QJsonObject error{{QStringLiteral("code"), e.code}, {QStringLiteral("message"), e.message}};
    if (!e.data.isUndefined()) error.insert(QStringLiteral("data"), e.data);
    return jsonText(QJsonObject{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                                {QStringLiteral("id"), id.isUndefined() ? QJsonValue(QJsonValue::Null) : id},
                                {QStringLiteral("error"), error}});
}

// Members put in front of a result written as JSON text.
QByteArray withMembers(const QJsonObject& members, const QByteArray& result) {
    const QByteArray head = jsonText(members);
    if (result.size() <= 2) return head;  // "{}"
    return head.chopped(1) + ',' + result.mid(1);
}

QJsonObject serverInfo() {
    return QJsonObject{{QStringLiteral("name"), QStringLiteral("vela-assist")},
                       {QStringLiteral("title"), QStringLiteral("VELA AI Assist")},
                       {QStringLiteral("version"), QStringLiteral(VELA_VERSION)}};
}

QJsonObject capabilities() {
    const QJsonObject unchanging{{QStringLiteral("listChanged"), false}};
    return QJsonObject{{QStringLiteral("tools"), unchanging},
                       {QStringLiteral("resources"), unchanging},
                       {QStringLiteral("prompts"), unchanging}};
}

bool isHandshakeRevision(const QString& revision) {
    for (const char* r : kHandshakeRevisions)
        if (revision == QLatin1String(r)) return true;
    return false;
}

const char* const kMetaRevision = "io.modelcontextprotocol/protocolVersion";
const char* const kMetaServerInfo = "io.modelcontextprotocol/serverInfo";

const QStringList kCacheableMethods{
    QStringLiteral("tools/list"),     QStringLiteral("prompts/list"),
    QStringLiteral("resources/list"), QStringLiteral("resources/templates/list"),
    QStringLiteral("resources/read"), QStringLiteral("server/discover")};

const char* const kPromptName = "drawing-conventions";

// What a model must know to use the tools well; the server's instructions and the prompt both say it.
const char* const kConventions =
    "You work on one 2D CAD drawing (DXF) through these tools.\n"
    "- Entities are named by handles: hexadecimal texts such as \"2F\" (\"0x2F\" is read too). Find them\n"
    "  with SelectEntities (by class and property) and read them with SummarizeEntities (DXF group codes).\n"
    "- Coordinates are in drawing units (see the summary resource: metric drawings are usually in\n"
    "  millimetres). Points are texts \"x,y\" or \"x,y,z\". Arc angles are radians; ellipse rotation "
    "degrees.\n"
    "- Colors: an index 1-255 (1 red, 2 yellow, 3 green, 4 cyan, 5 blue, 6 magenta, 7 black on white),\n"
    "  256 ByLayer, 0 ByBlock, \"#RRGGBB\" or \"(r,g,b)\". Lineweights in millimetres such as \"0.35\".\n"
    "- Every changing tool call is one undo step (Undo, Redo). Pass \"dryRun\": true to see what a change\n"
    "  would answer and change before making it.\n"
    "- GetChangesInfo reports what changed since it was last asked, from any source. RenderDrawing shows\n"
    "  the drawing; with \"handles\" it writes handles on what it shows and gives their pixel positions.";

struct ResourceEntry {
    const char* uri;
    const char* name;
    const char* description;
};
const ResourceEntry kResources[] = {
    {"drawing://layers", "layers",
     "Every layer: handle, color, linetype, lineweight, transparency, on/frozen/locked."},
    {"drawing://summary", "summary",
     "What the drawing holds: entities per type and per layer, extents, units, undo steps."},
};

}  // namespace

QByteArray jsonText(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray jsonText(const QJsonValue& value) {
    const QByteArray inArray = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return inArray.mid(1, inArray.size() - 2);
}

struct McpServer::Call {
    QJsonValue id;
    QString method;
    QJsonObject params;
    bool stateless = false;  // the request carries its revision (2026-07-28), not a handshake's
};

McpServer::McpServer(Session& session, ServerOptions options)
    : session_(session),
      options_(std::move(options)),
      tools_(std::make_unique<DrawingTools>(session, options_)) {}

McpServer::~McpServer() = default;

McpServer::Reply McpServer::handleText(const QByteArray& text, const HttpHeaders* http) {
    if (text.size() > options_.maxRequestBytes)
        return {errorMessage(QJsonValue::Undefined,
                             {errors::kInvalidRequest,
                              QStringLiteral("the request has %1 bytes, more than the %2 a request may have")
                                  .arg(text.size())
                                  .arg(options_.maxRequestBytes)}),
                413};
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        return {
            errorMessage(
                QJsonValue::Undefined,
                {errors::kParse,
                 QStringLiteral("Parse error: %1 at offset %2").arg(error.errorString()).arg(error.offset)}),
            400};
    return handle(doc.isArray() ? QJsonValue(doc.array()) : QJsonValue(doc.object()), http);
}

McpServer::Reply McpServer::handle(const QJsonValue& message, const HttpHeaders* http) {
    if (message.isArray())
        return {errorMessage(
                    QJsonValue::Undefined,
                    {errors::kInvalidRequest, QStringLiteral("batches are not supported: send one message")}),
                400};
    const QJsonObject o = message.toObject();
    // A response of the client's: this server sends no requests, so there is nothing to match it with.
    if (!o.contains(QStringLiteral("method")) &&
        (o.contains(QStringLiteral("result")) || o.contains(QStringLiteral("error"))))
        return {QByteArray(), 202};

    Call call;
    call.id = o.value(QStringLiteral("id"));
    const bool notification = call.id.isUndefined();
    try {
        if (o.value(QStringLiteral("jsonrpc")) != QJsonValue(QStringLiteral("2.0")))
            throw RpcError{errors::kInvalidRequest,
                           QStringLiteral("not JSON-RPC 2.0: \"jsonrpc\" must be \"2.0\""),
                           {},
                           400};
        if (!notification && !call.id.isString() &&
            !(call.id.isDouble() && call.id.toDouble() == std::floor(call.id.toDouble())))
            throw RpcError{
                errors::kInvalidRequest, QStringLiteral("\"id\" must be a text or a whole number"), {}, 400};
        call.method = o.value(QStringLiteral("method")).toString();
        if (call.method.isEmpty())
            throw RpcError{errors::kInvalidRequest, QStringLiteral("\"method\" must name a method"), {}, 400};
        const QJsonValue params = o.value(QStringLiteral("params"));
        if (!params.isUndefined() && !params.isObject())
            throw RpcError{errors::kInvalidParams, QStringLiteral("\"params\" must be an object"), {}, 400};
        call.params = params.toObject();

        const QJsonValue revision =
            call.params.value(QStringLiteral("_meta")).toObject().value(QLatin1String(kMetaRevision));
        const QString headerRevision = http ? QString::fromLatin1(http->protocolVersion) : QString();
        if (!revision.isUndefined()) {
            call.stateless = true;
            if (!revision.isString() || revision.toString() != QLatin1String(kStatelessRevision))
                throw RpcError{
                    errors::kUnsupportedRevision,
                    QStringLiteral("Unsupported protocol version: %1").arg(revision.toVariant().toString()),
                    QJsonObject{
                        {QStringLiteral("supported"), QJsonArray{QString::fromLatin1(kStatelessRevision)}},
                        {QStringLiteral("requested"), revision}},
                    400};
            if (http && !headerRevision.isEmpty() && headerRevision != revision.toString())
                throw RpcError{
                    errors::kHeaderMismatch,
                    QStringLiteral("the MCP-Protocol-Version header (%1) differs from the request's (%2)")
                        .arg(headerRevision, revision.toString()),
                    {},
                    400};
            if (http && !http->method.isEmpty() && QString::fromLatin1(http->method) != call.method)
                throw RpcError{
                    errors::kHeaderMismatch,
                    QStringLiteral("the Mcp-Method header (%1) differs from the request's method (%2)")
                        .arg(QString::fromLatin1(http->method), call.method),
                    {},
                    400};
        } else if (!headerRevision.isEmpty()) {
            if (headerRevision == QLatin1String(kStatelessRevision))
                throw RpcError{errors::kInvalidParams,
                               QStringLiteral("a %1 request carries \"%2\" in params._meta")
                                   .arg(headerRevision, QLatin1String(kMetaRevision)),
                               {},
                               400};
            if (!isHandshakeRevision(headerRevision))
                throw RpcError{
                    errors::kInvalidRequest,
                    QStringLiteral("Unsupported protocol version: %1 (supported: %2, 2025-11-25, 2025-06-18)")
                        .arg(headerRevision, QLatin1String(kStatelessRevision)),
                    {},
                    400};
        }

        // Notifications ask for no answer. Requests run one at a time, each to its end, so a cancellation can
        // only reach one still waiting in line: the stdio transport drops those.
        if (notification) return {QByteArray(), 202};
        QByteArray result = dispatch(call);
        if (call.stateless) {
            QJsonObject members{
                {QStringLiteral("resultType"), QStringLiteral("complete")},
                {QStringLiteral("_meta"), QJsonObject{{QLatin1String(kMetaServerInfo), serverInfo()}}}};
            // How long a client may keep a result: lists do not change while the server runs; what a resource
            // reads changes with every edit of the drawing.
            if (kCacheableMethods.contains(call.method)) {
                const bool fixed = call.method != QLatin1String("resources/read");
                members.insert(QStringLiteral("ttlMs"), fixed ? 300000 : 0);
                members.insert(QStringLiteral("cacheScope"), QStringLiteral("private"));
            }
            result = withMembers(members, result);
        }
        // The envelope around a result that is text already, so that a large answer is not copied into
        // objects again.
        const QByteArray id = jsonText(call.id);
        return {"{\"id\":" + id + ",\"jsonrpc\":\"2.0\",\"result\":" + result + '}', 200};
    } catch (const RpcError& e) {
        if (notification) return {QByteArray(), e.httpStatus == 200 ? 202 : e.httpStatus};
        return {errorMessage(call.id, e), e.httpStatus};
    }
}

QByteArray McpServer::dispatch(Call& call) {
    const QString& m = call.method;
    if (m == QLatin1String("tools/call")) {
        const QString name = call.params.value(QStringLiteral("name")).toString();
        if (name.isEmpty())
            throw RpcError{errors::kInvalidParams, QStringLiteral("tools/call needs the tool's \"name\"")};
        if (!tools_->has(name))
            throw RpcError{errors::kInvalidParams, QStringLiteral("Unknown tool: %1").arg(name)};
        const QJsonValue arguments = call.params.value(QStringLiteral("arguments"));
        if (!arguments.isUndefined() && !arguments.isNull() && !arguments.isObject())
            throw RpcError{errors::kInvalidParams,
                           QStringLiteral("a tool's \"arguments\" must be an object")};
        const QJsonValue token =
            call.params.value(QStringLiteral("_meta")).toObject().value(QStringLiteral("progressToken"));
        if (!notify_ || !(token.isString() || token.isDouble()))
            return tools_->call(name, arguments.toObject());
        // A few notifications a second at most, each further on than the last.
        QElapsedTimer clock;
        clock.start();
        double last = -1;
        tools_->setProgress([&](double done, double total, const QString& message) {
            if (done <= last || (clock.elapsed() < 100 && done < total)) return;
            last = done;
            clock.restart();
            notify_(jsonText(
                QJsonObject{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                            {QStringLiteral("method"), QStringLiteral("notifications/progress")},
                            {QStringLiteral("params"), QJsonObject{{QStringLiteral("progressToken"), token},
                                                                   {QStringLiteral("progress"), done},
                                                                   {QStringLiteral("total"), total},
                                                                   {QStringLiteral("message"), message}}}}));
        });
        const QByteArray result = tools_->call(name, arguments.toObject());
        tools_->setProgress({});
        return result;
    }
    return jsonText(dispatchObject(call));
}

QJsonObject McpServer::dispatchObject(Call& call) {
    const QString& m = call.method;
    if (m == QLatin1String("initialize")) return initialize(call);
    if (m == QLatin1String("ping")) return {};
    if (m == QLatin1String("server/discover")) return discover();
    if (m == QLatin1String("tools/list")) return QJsonObject{{QStringLiteral("tools"), tools_->list()}};
    if (m == QLatin1String("resources/list")) {
        QJsonArray resources;
        for (const ResourceEntry& r : kResources)
            resources.append(QJsonObject{{QStringLiteral("uri"), QString::fromLatin1(r.uri)},
                                         {QStringLiteral("name"), QString::fromLatin1(r.name)},
                                         {QStringLiteral("description"), QString::fromUtf8(r.description)},
                                         {QStringLiteral("mimeType"), QStringLiteral("application/json")}});
        return QJsonObject{{QStringLiteral("resources"), resources}};
    }
    if (m == QLatin1String("resources/templates/list"))
        return QJsonObject{{QStringLiteral("resourceTemplates"), QJsonArray()}};
    if (m == QLatin1String("resources/read")) return readResource(call);
    if (m == QLatin1String("prompts/list"))
        return QJsonObject{
            {QStringLiteral("prompts"),
             QJsonArray{QJsonObject{{QStringLiteral("name"), QString::fromLatin1(kPromptName)},
                                    {QStringLiteral("title"), QStringLiteral("Drawing conventions")},
                                    {QStringLiteral("description"),
                                     QStringLiteral("How handles, units, points, colors, undo and "
                                                    "trial runs work, with what the drawing holds")}}}}};
    if (m == QLatin1String("prompts/get")) return getPrompt(call);
    throw RpcError{errors::kMethodNotFound, QStringLiteral("Method not found: %1").arg(m)};
}

QJsonObject McpServer::initialize(const Call& call) {
    // The client's revision when this server speaks it, else the newest this server has; the client decides.
    const QString asked = call.params.value(QStringLiteral("protocolVersion")).toString();
    const QString revision =
        isHandshakeRevision(asked) ? asked : QString::fromLatin1(kLatestHandshakeRevision);
    return QJsonObject{{QStringLiteral("protocolVersion"), revision},
                       {QStringLiteral("capabilities"), capabilities()},
                       {QStringLiteral("serverInfo"), serverInfo()},
                       {QStringLiteral("instructions"), instructions()}};
}

QJsonObject McpServer::discover() const {
    QJsonArray versions{QString::fromLatin1(kStatelessRevision)};
    for (const char* r : kHandshakeRevisions) versions.append(QString::fromLatin1(r));
    return QJsonObject{{QStringLiteral("supportedVersions"), versions},
                       {QStringLiteral("capabilities"), capabilities()},
                       {QStringLiteral("instructions"), instructions()}};
}

QString McpServer::instructions() const {
    return QString::fromUtf8(kConventions);
}

QJsonObject McpServer::readResource(const Call& call) {
    const QString uri = call.params.value(QStringLiteral("uri")).toString();
    QJsonObject contents;
    if (uri == QLatin1String("drawing://layers"))
        contents = tools_->layers();
    else if (uri == QLatin1String("drawing://summary"))
        contents = tools_->summary();
    else
        throw RpcError{call.stateless ? errors::kInvalidParams : errors::kResourceNotFound,
                       QStringLiteral("Resource not found: %1").arg(uri),
                       QJsonObject{{QStringLiteral("uri"), uri}}};
    return QJsonObject{{QStringLiteral("contents"),
                        QJsonArray{QJsonObject{
                            {QStringLiteral("uri"), uri},
                            {QStringLiteral("mimeType"), QStringLiteral("application/json")},
                            {QStringLiteral("text"),
                             QString::fromUtf8(QJsonDocument(contents).toJson(QJsonDocument::Compact))}}}}};
}

QJsonObject McpServer::getPrompt(const Call& call) {
    const QString name = call.params.value(QStringLiteral("name")).toString();
    if (name != QLatin1String(kPromptName))
        throw RpcError{errors::kInvalidParams, QStringLiteral("Unknown prompt: %1").arg(name)};
    const QString text = QString::fromUtf8(kConventions) + QStringLiteral("\n\nThe drawing now: ") +
                         QString::fromUtf8(QJsonDocument(tools_->summary()).toJson(QJsonDocument::Compact));
    return QJsonObject{{QStringLiteral("description"), QStringLiteral("Drawing conventions")},
                       {QStringLiteral("messages"),
                        QJsonArray{QJsonObject{{QStringLiteral("role"), QStringLiteral("user")},
                                               {QStringLiteral("content"),
                                                QJsonObject{{QStringLiteral("type"), QStringLiteral("text")},
                                                            {QStringLiteral("text"), text}}}}}}};
}

}  // namespace vela::cli::mcp

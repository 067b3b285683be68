// The dump of many entities as DXF groups: SummarizeEntities of 100,000 distinct handles, spread over the
// large generated drawing, through the bridge's slot as the page calls it (request text in, answer text out).
// Target: at most 0.5 s. For comparison, the same body with its answer built as Qt's JSON objects and
// written by Qt, as every command answered before.
#include <benchmark/benchmark.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "bench_files.h"
#include "bridge/velaassistant_communication.h"
#include "commands/commands.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/records/block_table_record.h"
#include "host/command_context.h"
#include "host/host.h"

namespace {

using namespace vela;

struct Drawing {
    host::Host host;
    bridge::CJxVelaAssistantCommunication bridge;
    host::Document* doc = nullptr;
    QString request;
    QJsonDocument parsedRequest;
    std::string error;

    Drawing() {
        host.capabilities().registerCapability(bridge::kSelectEntitiesCapability);
        QString why;
        if (!host.modules().load(QStringLiteral("VelaAssist"), &why)) {
            error = "cannot load the module: " + why.toStdString();
            return;
        }
        const std::string path = bench::bigDrawingPath();
        db::DxfReadResult read = db::readDxfFile(path);
        if (!read.database) {
            error = "cannot read " + path;
            return;
        }
        doc = host.documents().adopt(std::move(read.database), QString::fromStdString(path));
        std::vector<QString> all;
        db::objectCast<db::BlockTableRecord>(doc->database()->modelSpaceId().peek())
            ->forEachEntity([&](db::Entity* e) { all.push_back(QString::fromStdString(e->handle().toText())); });
        if (all.size() < 100'000) {
            error = "the drawing has fewer than 100,000 entities";
            return;
        }
        QJsonArray some;
        for (std::size_t i = 0; some.size() < 100'000; i += all.size() / 100'000) some.append(all[i]);
        parsedRequest = QJsonDocument(QJsonObject{{"handles", some}});
        request = QString::fromUtf8(parsedRequest.toJson(QJsonDocument::Compact));
    }
};

Drawing& drawing() {
    static Drawing d;
    return d;
}

bool wholeAnswer(const QString& answer) {
    return answer.endsWith(QLatin1String(",\"success\":true,\"total\":100000}"));
}

void BM_SummarizeThroughTheSlot(benchmark::State& state) {
    Drawing& d = drawing();
    if (!d.error.empty()) return state.SkipWithError(d.error.c_str());
    for (auto _ : state) {
        const QString answer = d.bridge.SummarizeEntities(d.request);
        state.PauseTiming();
        if (!wholeAnswer(answer)) state.SkipWithError("not every entity was summarized");
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SummarizeThroughTheSlot)->Unit(benchmark::kMillisecond);

void BM_SummarizeAsQtObjects(benchmark::State& state) {
    Drawing& d = drawing();
    if (!d.error.empty()) return state.SkipWithError(d.error.c_str());
    host::UserIO io({}, d.host.services().userInput());
    host::CommandContext context(d.doc, io);
    for (auto _ : state) {
        const QJsonObject answer = commands::kSummarizeEntities.body(d.parsedRequest, context);
        const QString text = QString::fromUtf8(QJsonDocument(answer).toJson(QJsonDocument::Compact));
        state.PauseTiming();
        if (!wholeAnswer(text)) state.SkipWithError("not every entity was summarized");
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SummarizeAsQtObjects)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

// The dump of many entities as DXF groups: SummarizeEntities of 100,000 distinct handles in a drawing of
// 400,000 lines, the body as the host runs it, with and without the answer's text. Target: at most 0.5 s for
// the whole answer.
#include <benchmark/benchmark.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "bench_session.h"
#include "commands/commands.h"

namespace {

using namespace vela;

struct Drawing {
    bench::Session session;
    QJsonDocument request;
    Drawing() {
        const QJsonArray all = bench::appendLines(session.db, 400'000);
        QJsonArray some;
        for (qsizetype i = 0; i < all.size(); i += 4) some.append(all[i]);
        request = QJsonDocument(QJsonObject{{"handles", some}});
    }
};

Drawing& drawing() {
    static Drawing d;
    return d;
}

void BM_Summarize100kHandles(benchmark::State& state) {
    Drawing& d = drawing();
    const bool withText = state.range(0) != 0;
    for (auto _ : state) {
        const QJsonObject answer = commands::kSummarizeEntities.body(d.request, d.session.context);
        if (withText) benchmark::DoNotOptimize(QJsonDocument(answer).toJson(QJsonDocument::Compact));
        if (answer.value("total").toInt() != 100'000) state.SkipWithError("not every entity was summarized");
    }
}
BENCHMARK(BM_Summarize100kHandles)->Arg(0)->Arg(1)->ArgNames({"text"})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

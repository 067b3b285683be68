// The host's LISP interpreter: a counting loop of a million turns (repeat and while; target: at most 0.3 s
// each), and ssget "X" with a filter list over a drawing of 1,000,000 entities of mixed types on 200 layers,
// against the property selection engine answering the same query in the same run (target: ssget within 2x of
// the engine). A filter on a group the engine has no property for (a circle's radius) is timed without a
// target. Every benchmark checks its answer, so that a fast wrong answer does not pass for a fast right one.
#include <benchmark/benchmark.h>

#include <QString>
#include <algorithm>
#include <chrono>
#include <cstdio>

#include "db/database.h"
#include "db/symbol_table.h"
#include "host/host.h"
#include "host/lisp/interpreter.h"
#include "host/property_protocol/property_protocol.h"
#include "host/property_protocol/selection_engine.h"
#include "host/user_input.h"
#include "mixed_drawing.h"

namespace {

using namespace vela;
constexpr int kEntities = 1'000'000;
// Entity i is a line when i % 5 == 0 and on layer i % 200: the lines of layer L10 are every 200th entity.
const char* const kLayer = "L10";
constexpr int kLinesOnLayer = kEntities / 200;
constexpr int kCircles = kEntities / 5;

host::Document* g_doc = nullptr;

host::lisp::EvaluationResult evaluate(const QString& program) {
    host::NoUserInput noUser;
    return g_doc->lisp().evaluate(program, noUser, [](const QString&) {});
}

// Evaluates `program` each turn and checks that it prints `expected`.
void runLisp(benchmark::State& state, const QString& program, const QString& expected) {
    for (auto _ : state) {
        const host::lisp::EvaluationResult result = evaluate(program);
        if (result.text != expected) {
            state.SkipWithError(("answers " + result.text.toStdString()).c_str());
            return;
        }
    }
}

void BM_RepeatLoop(benchmark::State& state) {
    runLisp(state, QStringLiteral("(setq i 0) (repeat 1000000 (setq i (1+ i)))"), QStringLiteral("1000000"));
}
BENCHMARK(BM_RepeatLoop)->Unit(benchmark::kMillisecond);

void BM_WhileLoop(benchmark::State& state) {
    runLisp(state, QStringLiteral("(setq i 0) (while (< i 1000000) (setq i (1+ i)))"),
            QStringLiteral("1000000"));
}
BENCHMARK(BM_WhileLoop)->Unit(benchmark::kMillisecond);

const QString kSsgetLayer =
    QStringLiteral("(sslength (ssget \"X\" '((0 . \"LINE\") (8 . \"%1\"))))").arg(QLatin1String(kLayer));
const QString kSsgetRadius =
    QStringLiteral("(sslength (ssget \"X\" '((0 . \"CIRCLE\") (-4 . \">\") (40 . 0.4))))");

// The same layer query through the selection engine: lines whose layer is the one named.
int engineLayerQuery() {
    db::Database& db = *g_doc->database();
    const host::PropertyProtocol& protocol = host::PropertyProtocol::instance();
    host::SearchItem item;
    item.cls = protocol.findClass(QStringLiteral("AcDbLine"));
    item.property = protocol.find(item.cls, QStringLiteral("Layer"));
    item.op = host::SearchOperator::Equal;
    item.value = db.layerTable()->getAt(kLayer);
    std::vector<db::ObjectId> ids;
    return host::SelectionEngine::selectItems(db, db.modelSpaceId(), item, ids);
}

void BM_SsgetLineOnLayer(benchmark::State& state) {
    runLisp(state, kSsgetLayer, QString::number(kLinesOnLayer));
}
BENCHMARK(BM_SsgetLineOnLayer)->Unit(benchmark::kMillisecond);

void BM_EngineLineOnLayer(benchmark::State& state) {
    for (auto _ : state)
        if (engineLayerQuery() != kLinesOnLayer) {
            state.SkipWithError("wrong count");
            return;
        }
}
BENCHMARK(BM_EngineLineOnLayer)->Unit(benchmark::kMillisecond);

void BM_SsgetCircleRadius(benchmark::State& state) {
    runLisp(state, kSsgetRadius, QString::number(kCircles));
}
BENCHMARK(BM_SsgetCircleRadius)->Unit(benchmark::kMillisecond);

// The best of five runs, in seconds.
template <class F>
double best(F&& f) {
    double t = 1e9;
    for (int i = 0; i < 5; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        f();
        t = std::min(t, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    return t;
}

}  // namespace

int main(int argc, char** argv) {
    host::Host host;
    g_doc = host.documents().createNew();
    bench::buildMixedDrawing(*g_doc->database(), kEntities);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();

    const double lisp = best([] { evaluate(kSsgetLayer); });
    const double engine = best([] { engineLayerQuery(); });
    const double radius = best([] { evaluate(kSsgetRadius); });
    std::printf("\n%d entities\n", kEntities);
    std::printf("ssget lines on %s: %.1f ms; the engine: %.1f ms; ratio %.2fx (target <= 2x)\n", kLayer,
                lisp * 1e3, engine * 1e3, lisp / engine);
    std::printf("ssget circles of radius > 0.4: %.1f ms (no target)\n", radius * 1e3);
    return 0;
}

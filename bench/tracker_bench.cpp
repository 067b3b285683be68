// What the change tracker costs the commands it watches: creating 100,000 lines and transforming 100,000
// lines, each as the host runs a command (one undo group, its undo included), with the tracker attached to
// the drawing against the same work with the tracker stopped, in one run; and the report of 100,000 created
// entities. Targets: tracked work at most 1.3 times the untracked; the report in at most 100 ms.
#include <benchmark/benchmark.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

#include "bench_session.h"
#include "bridge/command_call.h"
#include "bridge/velaassistant_communication.h"
#include "commands/commands.h"
#include "db/entities/line.h"
#include "host/command_context.h"
#include "host/host.h"
#include "tracking/change_tracker.h"
#include "tracking/changes_report.h"

namespace {

using namespace vela;
constexpr int kEntities = 100'000;

using bench::Session;

const QJsonDocument& linesRequest() {
    static const QJsonDocument request = [] {
        QJsonArray entities;
        for (int i = 0; i < kEntities; ++i) {
            const QString y = QString::number(i / 1000);
            entities.append(QJsonObject{{"className", "AcDbLine"},
                                        {"start", QString::number(i % 1000) + ',' + y},
                                        {"end", QString::number(i % 1000 + 0.75) + ',' + y}});
        }
        return QJsonDocument(QJsonObject{{"entities", entities}});
    }();
    return request;
}

// Runs `work` as one command in the session's drawing and undoes it.
void asCommand(Session& s, const char* name, const std::function<void()>& work) {
    s.db.undoManager().beginGroup(name);
    work();
    s.db.undoManager().endGroup();
    s.db.undoManager().undo(1);
}

void create(Session& s) {
    asCommand(s, "_V3_CREATEENTITIES", [&] { commands::kCreateEntities.body(linesRequest(), s.context); });
}

QJsonDocument fillAndTransformRequest(db::Database& db) {
    return QJsonDocument(
        QJsonObject{{"handles", bench::appendLines(db, kEntities)},
                    {"transformationMatrices", QJsonArray{QJsonObject{{"a03", 10}, {"a13", -5}}}}});
}

void transform(Session& s, const QJsonDocument& request) {
    asCommand(s, "_V3_TRANSFORMENTITIES", [&] { commands::kTransformEntities.body(request, s.context); });
}

void tracked(bool on) {
    if (on)
        tracking::GetV3ChangeTracker()->Start();
    else
        tracking::GetV3ChangeTracker()->Stop();
}

void BM_CreateLines(benchmark::State& state) {
    Session s;
    tracked(state.range(0) != 0);
    for (auto _ : state) create(s);
    tracked(false);
}
BENCHMARK(BM_CreateLines)->Arg(0)->Arg(1)->ArgName("tracked")->Unit(benchmark::kMillisecond);

void BM_TransformLines(benchmark::State& state) {
    Session s;
    const QJsonDocument request = fillAndTransformRequest(s.db);
    tracked(state.range(0) != 0);
    for (auto _ : state) transform(s, request);
    tracked(false);
}
BENCHMARK(BM_TransformLines)->Arg(0)->Arg(1)->ArgName("tracked")->Unit(benchmark::kMillisecond);

// The report of a drawing where 100,000 lines were created since the last one, as answer text.
void BM_ReportOfCreatedLines(benchmark::State& state) {
    Session s;
    tracked(true);
    for (auto _ : state) {
        state.PauseTiming();
        s.db.undoManager().beginGroup("_V3_CREATEENTITIES");
        commands::kCreateEntities.body(linesRequest(), s.context);
        s.db.undoManager().endGroup();
        state.ResumeTiming();
        // The answer as the page gets it: the report and its compact text.
        benchmark::DoNotOptimize(bridge::ToCompactText(
            tracking::BuildChangesReport(tracking::GetV3ChangeTracker()->TakeChanges(&s.db))));
        state.PauseTiming();
        s.db.undoManager().undo(1);
        tracking::GetV3ChangeTracker()->Reset();
        state.ResumeTiming();
    }
    tracked(false);
}
BENCHMARK(BM_ReportOfCreatedLines)->Unit(benchmark::kMillisecond);

// The best of several runs, in seconds.
// The best of several runs of `work`, in seconds; `after` puts the drawing back between runs, untimed.
double best(const std::function<void()>& work, int runs = 5, const std::function<void()>& after = {}) {
    double fastest = 1e9;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        fastest = std::min(fastest,
                           std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (after) after();
    }
    return fastest;
}

// The page's view: requests through the bridge, with the module loaded (its tracker on), against the same
// with the tracker stopped. Each request is one command and one undo step, undone after it.
void printRatios() {
    host::Host host;
    QString error;
    if (!host.modules().load(QStringLiteral("VelaAssist"), &error)) {
        std::fprintf(stderr, "the module did not load: %s\n", qPrintable(error));
        return;
    }
    host.capabilities().registerCapability(bridge::kSelectEntitiesCapability);
    host::Document* doc = host.documents().createNew();
    db::Database& db = *doc->database();
    bridge::CJxVelaAssistantCommunication page;
    const QString createText = QString::fromUtf8(linesRequest().toJson(QJsonDocument::Compact));
    const QString transformText =
        QString::fromUtf8(fillAndTransformRequest(db).toJson(QJsonDocument::Compact));
    // Every creation goes into a new drawing, as the first large request into a drawing does.
    host::Document* fresh = nullptr;
    const auto create = [&] {
        fresh = host.documents().createNew();
        if (!page.CreateEntities(createText).endsWith(QLatin1String("\"success\":true}")))
            std::fputs("create failed\n", stderr);
    };
    const auto closeFresh = [&] {
        host.documents().close(fresh);
        host.documents().setActiveDocument(doc);
    };
    // The command as the user runs it; its undo, which puts the lines back for the next run, is not timed.
    const auto undo = [&] { db.undoManager().undo(1); };
    const auto transform = [&] {
        if (page.TransformEntities(transformText) != QLatin1String("{\"success\":true}"))
            std::fputs("transform failed\n", stderr);
    };
    // Runs alternate between tracked and untracked, so that neither side gets the warmer machine.
    tracking::CJxV3ChangeTracker& tracker = *tracking::GetV3ChangeTracker();
    double createOn = 1e9, createOff = 1e9, transformOn = 1e9, transformOff = 1e9;
    for (int run = 0; run < 7; ++run) {
        tracker.Start();
        createOn = std::min(createOn, best(create, 1, closeFresh));
        transformOn = std::min(transformOn, best(transform, 1, undo));
        tracker.Stop();
        createOff = std::min(createOff, best(create, 1, closeFresh));
        transformOff = std::min(transformOff, best(transform, 1, undo));
        if (std::getenv("VELA_BENCH_VERBOSE"))
            std::fprintf(stderr, "run %d: tracked %.1f / %.1f ms, untracked %.1f / %.1f ms\n", run,
                         createOn * 1e3, transformOn * 1e3, createOff * 1e3, transformOff * 1e3);
    }
    tracker.Start();
    std::printf("through the bridge, module loaded, tracker stopped and running:\n");
    std::printf("create 100k lines:    %.1f ms untracked, %.1f ms tracked: %.2f x (target <= 1.3)\n",
                createOff * 1e3, createOn * 1e3, createOn / createOff);
    std::printf("transform 100k lines: %.1f ms untracked, %.1f ms tracked: %.2f x (target <= 1.3)\n",
                transformOff * 1e3, transformOn * 1e3, transformOn / transformOff);
    host.modules().unload(QStringLiteral("VelaAssist"));
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printRatios();
    return 0;
}

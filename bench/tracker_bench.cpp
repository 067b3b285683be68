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
#include <functional>
#include <memory>

#include "bridge/command_call.h"
#include "commands/commands.h"
#include "db/entities/line.h"
#include "host/command_context.h"
#include "host/host.h"
#include "tracking/change_tracker.h"
#include "tracking/changes_report.h"

namespace {

using namespace vela;
constexpr int kEntities = 100'000;

struct Session {
    host::Host host;
    host::Document* doc = host.documents().createNew();
    db::Database& db = *doc->database();
    host::UserIO io{{}, host.services().userInput()};
    host::CommandContext context{doc, io};
};

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

QJsonDocument fillAndTransformRequest(Session& s) {
    QJsonArray handles;
    for (int i = 0; i < kEntities; ++i) {
        db::ObjectId id;
        const db::Point3d start(i % 1000, i / 1000);
        s.db.appendEntity(s.db.modelSpaceId(), std::make_unique<db::Line>(start, start + db::Vector3d(1, 0)),
                          &id);
        handles.append(QString::fromStdString(id.handle().toText()));
    }
    return QJsonDocument(QJsonObject{
        {"handles", handles}, {"transformationMatrices", QJsonArray{QJsonObject{{"a03", 10}, {"a13", -5}}}}});
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
    const QJsonDocument request = fillAndTransformRequest(s);
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
double best(const std::function<void()>& work, int runs = 5) {
    double fastest = 1e9;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        fastest = std::min(fastest,
                           std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return fastest;
}

void printRatios() {
    Session s;
    const double createOff = best([&] { create(s); });
    tracked(true);
    const double createOn = best([&] { create(s); });
    tracked(false);
    Session t;
    const QJsonDocument request = fillAndTransformRequest(t);
    const double transformOff = best([&] { transform(t, request); });
    tracked(true);
    const double transformOn = best([&] { transform(t, request); });
    tracked(false);
    std::printf("create 100k lines:    %.1f ms untracked, %.1f ms tracked: %.2f x (target <= 1.3)\n",
                createOff * 1e3, createOn * 1e3, createOn / createOff);
    std::printf("transform 100k lines: %.1f ms untracked, %.1f ms tracked: %.2f x (target <= 1.3)\n",
                transformOff * 1e3, transformOn * 1e3, transformOn / transformOff);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printRatios();
    return 0;
}

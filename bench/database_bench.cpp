// Creates, iterates and erases a million lines; reports time per operation and heap bytes per line.
// Targets on the reference machine: at most 200 bytes per line, at least 2,000,000 appends per second.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include "db/database.h"
#include "db/entities/line.h"
#include "db/records/block_table_record.h"

namespace {

using namespace vela::db;

constexpr int kLines = 1'000'000;

std::size_t heapInUse() {
    const struct mallinfo2 mi = mallinfo2();
    return mi.uordblks + mi.hblkhd;
}

void appendLines(Database& db, int n) {
    const ObjectId ms = db.modelSpaceId();
    for (int i = 0; i < n; ++i) {
        const double x = i;
        db.appendEntity(ms, std::make_unique<Line>(Point3d(x, 0), Point3d(x, 1)));
    }
}

void BM_AppendLines(benchmark::State& state) {
    double bytesPerLine = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto db = std::make_unique<Database>();
        const std::size_t before = heapInUse();
        state.ResumeTiming();
        appendLines(*db, kLines);
        state.PauseTiming();
        bytesPerLine = double(heapInUse() - before) / kLines;
        db.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kLines);
    state.counters["bytes_per_line"] = bytesPerLine;
    state.counters["appends_per_s"] =
        benchmark::Counter(double(kLines), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_AppendLines)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_AppendLinesInUndoGroup(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto db = std::make_unique<Database>();
        state.ResumeTiming();
        db->undoManager().beginGroup("create");
        appendLines(*db, kLines);
        db->undoManager().endGroup();
        state.PauseTiming();
        db.reset();
        state.ResumeTiming();
    }
    state.counters["appends_per_s"] =
        benchmark::Counter(double(kLines), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_AppendLinesInUndoGroup)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_IterateLines(benchmark::State& state) {
    Database db;
    appendLines(db, kLines);
    auto ms = openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead);
    for (auto _ : state) {
        double sum = 0;
        ms->forEachEntity([&](Entity* e) { sum += static_cast<Line*>(e)->endPoint().y; });
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(BM_IterateLines)->Unit(benchmark::kMillisecond);

void BM_OpenReadLines(benchmark::State& state) {
    Database db;
    appendLines(db, kLines);
    const std::vector<ObjectId> ids =
        openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead)->entityIds();
    for (auto _ : state) {
        double sum = 0;
        for (ObjectId id : ids) sum += openObject<Line>(id, OpenMode::ForRead)->startPoint().x;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(BM_OpenReadLines)->Unit(benchmark::kMillisecond);

void BM_EraseLines(benchmark::State& state) {
    const bool withUndo = state.range(0) != 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto db = std::make_unique<Database>();
        appendLines(*db, kLines);
        const std::vector<ObjectId> ids =
            openObject<BlockTableRecord>(db->modelSpaceId(), OpenMode::ForRead)->entityIds();
        state.ResumeTiming();
        if (withUndo) db->undoManager().beginGroup("erase");
        for (ObjectId id : ids) openObject(id, OpenMode::ForWrite)->erase();
        if (withUndo) db->undoManager().endGroup();
        state.PauseTiming();
        db.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kLines);
    state.SetLabel(withUndo ? "with undo" : "no undo group");
}
BENCHMARK(BM_EraseLines)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
BENCHMARK_MAIN();

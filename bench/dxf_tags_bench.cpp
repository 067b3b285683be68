// Throughput of the DXF tag layer on a generated ASCII drawing of about 50 MB, held in memory so
// that only tokenizing is measured.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>

#include "db/dxf/tags/group_code.h"
#include "db/dxf/tags/tag_reader.h"
#include "db/dxf/tags/tag_writer.h"

namespace {

using namespace vela::db;
using namespace vela::db::dxf;

// A mix close to real drawings: lines, polylines with many vertices, text, with AutoCAD's handles,
// owners, layers and subclass markers.
void writeDrawing(std::string& out, std::size_t targetBytes) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> coord(-1e5, 1e5);
    TagWriter w(out);
    w.writeString(0, "SECTION");
    w.writeString(2, "ENTITIES");
    std::uint64_t handle = 0x100;
    while (out.size() < targetBytes) {
        const unsigned kind = rng() % 4;
        w.writeString(0, kind == 0 ? "LWPOLYLINE" : kind == 1 ? "TEXT" : "LINE");
        w.writeHandle(5, handle++);
        w.writeHandle(330, 0x1F);
        w.writeString(100, "AcDbEntity");
        w.writeString(8, "A-WALL-FULL");
        w.writeInt(62, rng() % 256);
        if (kind == 0) {
            w.writeString(100, "AcDbPolyline");
            const int n = 20;
            w.writeInt(90, n);
            w.writeInt(70, 1);
            for (int i = 0; i < n; ++i) w.writePoint(10, Point2d(coord(rng), coord(rng)));
        } else if (kind == 1) {
            w.writeString(100, "AcDbText");
            w.writePoint(10, Point3d(coord(rng), coord(rng), 0.0));
            w.writeDouble(40, 2.5);
            w.writeString(1, "Room 1.23 - Office");
            w.writeString(100, "AcDbText");
        } else {
            w.writeString(100, "AcDbLine");
            w.writePoint(10, Point3d(coord(rng), coord(rng), 0.0));
            w.writePoint(11, Point3d(coord(rng), coord(rng), 0.0));
        }
    }
    w.writeString(0, "ENDSEC");
    w.writeString(0, "EOF");
}

const std::string& drawing() {
    static const std::string data = [] {
        std::string s;
        s.reserve(52u << 20);
        writeDrawing(s, 50u << 20);
        return s;
    }();
    return data;
}

void BM_TokenizeAscii(benchmark::State& state) {
    const std::string& data = drawing();
    std::size_t tags = 0;
    for (auto _ : state) {
        TagReader reader(data);
        Tag tag;
        tags = 0;
        while (reader.next(tag)) ++tags;
        if (reader.failed()) state.SkipWithError(reader.error()->text().c_str());
        benchmark::DoNotOptimize(tags);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * data.size()));
    state.counters["tags"] = static_cast<double>(tags);
}
BENCHMARK(BM_TokenizeAscii)->Unit(benchmark::kMillisecond);

// Tokenizing plus converting every number, what the entity loader will do.
void BM_TokenizeAndConvertAscii(benchmark::State& state) {
    const std::string& data = drawing();
    for (auto _ : state) {
        TagReader reader(data);
        Tag tag;
        double sum = 0.0;
        std::int64_t isum = 0;
        while (reader.next(tag)) {
            const ValueType t = valueTypeOf(tag.code);
            if (isFloating(t))
                sum += tag.toDouble().value_or(0.0);
            else if (isInteger(t))
                isum += tag.toInt64().value_or(0);
            else if (t == ValueType::Handle)
                isum += static_cast<std::int64_t>(tag.toHandle().value_or(0));
        }
        benchmark::DoNotOptimize(sum);
        benchmark::DoNotOptimize(isum);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_TokenizeAndConvertAscii)->Unit(benchmark::kMillisecond);

void BM_WriteAscii(benchmark::State& state) {
    std::string out;
    for (auto _ : state) {
        out.clear();
        writeDrawing(out, 50u << 20);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * out.size()));
}
BENCHMARK(BM_WriteAscii)->Unit(benchmark::kMillisecond);

}  // namespace
BENCHMARK_MAIN();

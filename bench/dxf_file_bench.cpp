// Loads and saves a large generated DXF (>= 50 MB: lines, polylines, circles and text on many layers) with
// our reader and writer, and runs ezdxf on the same file in the same run as the peer. Targets on the
// reference machine: load at least 200 MB/s and 50 times faster than ezdxf; peak memory of a load at most
// twice the file size.
//
// The file is bench/bench_files.h's.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench_files.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"

namespace {

namespace fs = std::filesystem;
using namespace vela::db;

std::string g_file;
double g_fileMb = 0;

void BM_LoadDxf(benchmark::State& state) {
    for (auto _ : state) {
        DxfReadResult r = readDxfFile(g_file);
        if (!r.database) state.SkipWithError(r.error->text().c_str());
        state.PauseTiming();
        r.database.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * fs::file_size(g_file)));
}
BENCHMARK(BM_LoadDxf)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();

void BM_SaveDxf(benchmark::State& state) {
    DxfReadResult r = readDxfFile(g_file);
    const fs::path out = fs::temp_directory_path() / "vela_bench_save.dxf";
    for (auto _ : state) {
        const SaveResult saved = saveDxfFile(*r.database, out);
        if (!saved.ok) state.SkipWithError(saved.error.c_str());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * fs::file_size(out)));
    fs::remove(out);
}
BENCHMARK(BM_SaveDxf)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();

// Peak memory of a load, measured in a child process that does nothing else.
double loadPeakMb(const char* self) {
    const std::string out = vela::bench::commandOutput(std::string("'") + self + "' --measure-load '" + g_file + "'");
    return vela::bench::jsonNumber(out, "peak_mb");
}

int measureLoad(const std::string& file) {
    struct rusage before {};
    ::getrusage(RUSAGE_SELF, &before);
    const auto t0 = std::chrono::steady_clock::now();
    DxfReadResult r = readDxfFile(file);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    struct rusage after {};
    ::getrusage(RUSAGE_SELF, &after);
    std::printf("{\"load_s\": %.4f, \"peak_mb\": %.1f, \"baseline_mb\": %.1f, \"ok\": %s}\n", seconds,
                (after.ru_maxrss - before.ru_maxrss) / 1024.0, before.ru_maxrss / 1024.0,
                r.database ? "true" : "false");
    std::fflush(stdout);
    std::_Exit(0);  // the drawing's teardown is not part of the measurement
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--measure-load") return measureLoad(argv[2]);
    g_file = vela::bench::bigDrawingPath();
    if (g_file.empty()) {
        std::fprintf(stderr, "cannot make the drawing to measure\n");
        return 1;
    }
    g_fileMb = static_cast<double>(fs::file_size(g_file)) / 1e6;

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();

    // Our load, timed again the simple way for the ratio, and the peer's on the same file.
    double ours = 1e9;
    for (int i = 0; i < 3; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        DxfReadResult r = readDxfFile(g_file);
        ours = std::min(ours, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    const double peak = loadPeakMb(argv[0]);
    const std::string peer =
        vela::bench::commandOutput("/usr/bin/python3 '" VELA_SOURCE_DIR "/bench/ezdxf_peer.py' '" + g_file + "'");
    const double peerLoad = vela::bench::jsonNumber(peer, "load_s"), peerSave = vela::bench::jsonNumber(peer, "save_s");
    const double peerPeak = vela::bench::jsonNumber(peer, "peak_rss_mb") - vela::bench::jsonNumber(peer, "baseline_rss_mb");

    std::printf("\nfile: %s, %.1f MB\n", g_file.c_str(), g_fileMb);
    std::printf(
        "ours:  load %.3f s = %.0f MB/s (target >= 200), load peak memory %.1f MB = %.2f x file (target <= "
        "2)\n",
        ours, g_fileMb / ours, peak, peak / g_fileMb);
    if (peerLoad > 0) {
        std::printf("ezdxf: load %.3f s, save %.3f s, load memory %.1f MB\n", peerLoad, peerSave, peerPeak);
        std::printf("ratio: our load is %.1f x faster than ezdxf's (target >= 50)\n", peerLoad / ours);
    } else {
        std::printf("ezdxf: not available (%s)\n", peer.c_str());
    }
    return 0;
}

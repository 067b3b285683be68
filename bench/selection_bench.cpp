// SelectEntities over a drawing of 1,000,000 entities of mixed types on 200 layers, with one layer condition
// and with one color condition, against ezdxf's query language on the same drawing in the same run. Targets
// on the reference machine: at most 50 ms per query, at least 100 times faster than ezdxf.
#include <benchmark/benchmark.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>
#include <filesystem>

#include "bench_files.h"
#include "commands/commands.h"
#include "db/dxf/file/dxf_writer.h"
#include "host/command_context.h"
#include "host/host.h"
#include "mixed_drawing.h"

namespace {

using namespace vela;
constexpr int kEntities = 1'000'000;

host::Host* g_host = nullptr;
host::Document* g_doc = nullptr;

QJsonObject query(const char* json) {
    host::NoUserInput noUser;
    host::UserIO io({}, noUser);
    host::CommandContext context(g_doc, io);
    return commands::kSelectEntities.body(QJsonDocument::fromJson(json), context);
}

const char* kLayerQuery =
    R"({"entities":[{"className":"All","properties":[{"property":"Layer","operator":"==","value":"L7"}]}]})";
const char* kColorQuery =
    R"({"entities":[{"className":"All","properties":[{"property":"Color","operator":"==","value":"1"}]}]})";

void BM_SelectByLayer(benchmark::State& state) {
    int found = 0;
    for (auto _ : state) found = query(kLayerQuery).value("numSelected").toInt();
    state.counters["found"] = found;
}
BENCHMARK(BM_SelectByLayer)->Unit(benchmark::kMillisecond);

void BM_SelectByColor(benchmark::State& state) {
    int found = 0;
    for (auto _ : state) found = query(kColorQuery).value("numSelected").toInt();
    state.counters["found"] = found;
}
BENCHMARK(BM_SelectByColor)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    host::Host host;
    g_host = &host;
    g_doc = host.documents().createNew();
    vela::bench::buildMixedDrawing(*g_doc->database(), kEntities);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();

    // The same drawing through ezdxf's query language.
    const std::string file = (std::filesystem::temp_directory_path() / "vela_bench_selection.dxf").string();
    if (!std::filesystem::exists(file)) db::saveDxfFile(*g_doc->database(), file);
    auto time = [](const char* json) {
        double best = 1e9;
        for (int i = 0; i < 5; ++i) {
            const auto t0 = std::chrono::steady_clock::now();
            query(json);
            best =
                std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
        }
        return best;
    };
    const double layer = time(kLayerQuery), color = time(kColorQuery);
    const std::string peer = vela::bench::commandOutput("/usr/bin/python3 '" VELA_SOURCE_DIR
                                                   "/bench/ezdxf_peer.py' --query '" + file + "' L7 1");
    const double peerLayer = vela::bench::jsonNumber(peer, "layer_query_s"),
                 peerColor = vela::bench::jsonNumber(peer, "color_query_s");
    std::printf("\n%d entities\n", kEntities);
    std::printf("ours:  layer query %.1f ms, color query %.1f ms (target <= 50 ms)\n", layer * 1e3,
                color * 1e3);
    if (peerLayer > 0)
        std::printf(
            "ezdxf: layer query %.1f ms, color query %.1f ms; ratio %.0fx and %.0fx (target >= 100x)\n",
            peerLayer * 1e3, peerColor * 1e3, peerLayer / layer, peerColor / color);
    else
        std::printf("ezdxf: no result (%s)\n", peer.c_str());
    return 0;
}

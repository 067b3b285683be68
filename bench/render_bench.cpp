// Pictures of the large generated drawing (bench/bench_files.h): the whole model space into a 2000x2000 PNG,
// against ezdxf's drawing add-on on the same file in the same run; and a window of 1% of the extents' area
// (a tenth of each side) through the spatial index, as a front end asks when the user zooms in.
// Targets: the whole picture at least 50 times faster than ezdxf; the window in at most 50 ms as a canvas shows
// it (no lineweights).
//
// ezdxf draws the 55 MB drawing far slower than a benchmark can wait: it draws for a fixed time and the
// time for every entity is projected from its rate (bench/ezdxf_peer.py --render).
#include <benchmark/benchmark.h>

#include <QBuffer>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "big_drawing.h"
#include "picture_bench_main.h"
#include "render/render.h"

namespace {

using namespace vela;

using Drawing = bench::BigDrawing;

QByteArray png(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

render::RenderOptions whole(const Drawing& d) {
    render::RenderOptions options;
    options.size = QSize(2000, 2000);
    options.index = d.index.get();
    return options;
}

void BM_WholeDrawingToPng(benchmark::State& state) {
    Drawing& d = bench::bigDrawing();
    if (!d.db) return state.SkipWithError("cannot read the drawing");
    for (auto _ : state) benchmark::DoNotOptimize(png(render::renderImage(*d.db, whole(d))));
}
BENCHMARK(BM_WholeDrawingToPng)->Unit(benchmark::kMillisecond);

// The window as a drawing canvas shows it: without lineweights, as CAD programs show model space unless asked
// (arg 0); and with them, as pictures for files are drawn (arg 1), for comparison.
void BM_WindowOfOnePercent(benchmark::State& state) {
    Drawing& d = bench::bigDrawing();
    if (!d.db) return state.SkipWithError("cannot read the drawing");
    render::RenderOptions options = whole(d);
    options.lineweights = state.range(0) != 0;
    options.window = d.onePercent();
    // Drawn for a screen: the picture itself, not a file of it.
    for (auto _ : state) benchmark::DoNotOptimize(render::renderImage(*d.db, options));
}
BENCHMARK(BM_WindowOfOnePercent)->Arg(0)->Arg(1)->ArgNames({"lineweights"})->Unit(benchmark::kMillisecond);

void BM_WindowWithoutTheIndex(benchmark::State& state) {
    Drawing& d = bench::bigDrawing();
    if (!d.db) return state.SkipWithError("cannot read the drawing");
    render::RenderOptions options = whole(d);
    options.index = nullptr;
    options.window = d.onePercent();
    for (auto _ : state) benchmark::DoNotOptimize(render::renderImage(*d.db, options));
}
BENCHMARK(BM_WindowWithoutTheIndex)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    const auto app = bench::runPictureBenchmarks(argc, argv);

    Drawing& d = bench::bigDrawing();
    if (!d.db) return 1;
    double ours = 1e9;
    for (int i = 0; i < 2; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(png(render::renderImage(*d.db, whole(d))));
        ours = std::min(ours, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    const std::string peer = bench::commandOutput("/usr/bin/python3 '" VELA_SOURCE_DIR "/bench/ezdxf_peer.py' --render '" +
                                 d.path + "' /tmp/vela_bench_ezdxf_render.png 2000 60 2>/dev/null");
    const double projected = bench::jsonNumber(peer, "projected_s");
    std::printf("\nours:  the whole drawing to a 2000x2000 PNG in %.3f s\n", ours);
    if (projected > 0) {
        std::printf("ezdxf: drew %.0f of %.0f entities in %.1f s; all of them would take %.0f s\n",
                    bench::jsonNumber(peer, "drawn"), bench::jsonNumber(peer, "entities"), bench::jsonNumber(peer, "draw_s"),
                    projected);
        std::printf("ratio: ours is %.0f x faster (target >= 50)\n", projected / ours);
    } else {
        std::printf("ezdxf: not available (%s)\n", peer.c_str());
    }
    return 0;
}

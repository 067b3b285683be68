// A drawing on a screen (render::ScreenView) over the large generated drawing (bench/bench_files.h), at the
// size of a full-HD screen, drawn as screens draw (no lineweights, level of detail):
// - a whole redraw at the full extents, as after opening the drawing or zooming out: target at most 200 ms;
// - a whole redraw of a window of 1% of the extents' area (a tenth of each side), zoomed in: at most 16 ms,
//   one frame of a 60 Hz screen;
// - pan frames: a run of 40-pixel pans, each shifting the picture and drawing the strip that came in, at the
//   full extents and in the 1% window;
// - a small edit (one entity near the middle of the screen changes colour), the picture brought up to date by
//   drawing again where it lies, beside the whole redraw it replaces.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "big_drawing.h"
#include "db/database_reactor.h"
#include "db/entity.h"
#include "db/object_ref.h"
#include "picture_bench_main.h"
#include "render/screen_view.h"

namespace {

using namespace vela;

const QSize kScreen(1920, 1080);
constexpr int kPanPixels = 40;

using Drawing = bench::BigDrawing;

std::unique_ptr<render::ScreenView> screen(const Drawing& d, bool zoomedIn) {
    auto view = std::make_unique<render::ScreenView>(*d.db, *d.index);
    view->resize(kScreen);
    if (zoomedIn) view->setWindow(d.onePercent());
    (void)view->image();
    return view;
}

// A pan frame brings in a strip of the drawing: the picture moves up by 40 pixels, the strip comes in at the
// bottom. Runs of such frames start with the drawing pushed 1000 pixels down (at the full extents that part
// of the screen is the margin), so that every strip shows the drawing; moving back is not timed.
constexpr int kRun = 25;
const QPoint kPan(0, -kPanPixels);

void startRun(render::ScreenView& view, std::size_t frame) {
    if (frame % kRun != 0) return;
    view.pan(QPoint(0, kRun * kPanPixels));
    (void)view.image();
}

void BM_WholeRedraw(benchmark::State& state) {
    Drawing& d = bench::bigDrawing();
    if (!d.db) return state.SkipWithError("cannot read the drawing");
    auto view = screen(d, state.range(0) != 0);
    for (auto _ : state) {
        view->invalidate();
        benchmark::DoNotOptimize(view->image().constBits());
    }
}
BENCHMARK(BM_WholeRedraw)->Arg(0)->Arg(1)->ArgNames({"onePercent"})->Unit(benchmark::kMillisecond);

void BM_PanFrame(benchmark::State& state) {
    Drawing& d = bench::bigDrawing();
    if (!d.db) return state.SkipWithError("cannot read the drawing");
    auto view = screen(d, state.range(0) != 0);
    std::size_t frame = 0;
    for (auto _ : state) {
        if (frame % kRun == 0) {
            state.PauseTiming();
            startRun(*view, frame);
            state.ResumeTiming();
        }
        ++frame;
        view->pan(kPan);
        benchmark::DoNotOptimize(view->image().constBits());
    }
}
BENCHMARK(BM_PanFrame)->Arg(0)->Arg(1)->ArgNames({"onePercent"})->Unit(benchmark::kMillisecond);

/// Tells a view what changes in the drawing, as a screen showing it does.
struct Follower : db::DatabaseReactor {
    explicit Follower(render::ScreenView& v) : view(v) {}
    void objectOpenedForModify(const db::Database*, const db::DbObject* o) override {
        view.objectChanged(*o);
    }
    void objectModified(const db::Database*, const db::DbObject* o) override { view.objectChanged(*o); }
    render::ScreenView& view;
};

/// One entity near the middle of what the view shows changes colour, back and forth; the picture follows.
class SmallEdit {
  public:
    SmallEdit(Drawing& d, render::ScreenView& view) : d_(d), view_(view), follower_(view) {
        const db::Point3d c = view.shownWindow().center();
        const double r = view.unitsPerPixel() * 20;
        for (const db::ObjectId& id :
             d.index->query(d.db->modelSpaceId(),
                            db::Extents3d(db::Point3d(c.x - r, c.y - r), db::Point3d(c.x + r, c.y + r))))
            target_ = id;
        d.db->addReactor(&follower_);
    }
    ~SmallEdit() { d_.db->removeReactor(&follower_); }
    bool found() const { return !target_.isNull(); }
    void operator()() {
        {
            auto e = db::openObject<db::Entity>(target_, db::OpenMode::ForWrite);
            e->setColor(db::Color::fromIndex(flip_ ? 1 : 3));
        }
        flip_ = !flip_;
        benchmark::DoNotOptimize(view_.image().constBits());
    }

  private:
    Drawing& d_;
    render::ScreenView& view_;
    Follower follower_;
    db::ObjectId target_;
    bool flip_ = false;
};

void BM_SmallEdit(benchmark::State& state) {
    Drawing& d = bench::bigDrawing();
    if (!d.db) return state.SkipWithError("cannot read the drawing");
    auto view = screen(d, state.range(0) != 0);
    SmallEdit edit(d, *view);
    if (!edit.found()) return state.SkipWithError("nothing near the middle of the view");
    for (auto _ : state) edit();
}
BENCHMARK(BM_SmallEdit)->Arg(0)->Arg(1)->ArgNames({"onePercent"})->Unit(benchmark::kMillisecond);

/// The median of `runs` timings of `work`, in milliseconds.
double medianMs(int runs, const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        work();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const auto app = bench::runPictureBenchmarks(argc, argv);

    Drawing& d = bench::bigDrawing();
    if (!d.db) return 1;
    std::printf("\nthe screen's view of the large drawing, %dx%d, no lineweights (medians):\n",
                kScreen.width(), kScreen.height());
    const char* names[] = {"full extents", "1% window"};
    for (const bool zoomedIn : {false, true}) {
        auto view = screen(d, zoomedIn);
        const double whole = medianMs(7, [&] {
            view->invalidate();
            benchmark::DoNotOptimize(view->image().constBits());
        });
        std::vector<double> frames;
        for (std::size_t frame = 0; frame < 2 * kRun; ++frame) {
            startRun(*view, frame);
            frames.push_back(medianMs(1, [&] {
                view->pan(kPan);
                benchmark::DoNotOptimize(view->image().constBits());
            }));
        }
        std::sort(frames.begin(), frames.end());
        const double pan = frames[frames.size() / 2], slowest = frames.back();
        std::printf(
            "%-13s whole redraw %7.1f ms (target <= %s ms); pan frames of %d px: median %.2f ms, slowest "
            "%.2f ms\n",
            names[zoomedIn], whole, zoomedIn ? "16" : "200", kPanPixels, pan, slowest);
        // The same picture as pictures for files are drawn: every entity in full, on one thread.
        render::RenderOptions full;
        full.size = kScreen;
        full.lineweights = false;
        full.index = d.index.get();
        full.window = view->shownWindow();
        const double inFull = medianMs(zoomedIn ? 5 : 2, [&] {
            benchmark::DoNotOptimize(render::renderImage(*d.db, full).constBits());
        });
        std::printf("%-13s without the level of detail, on one thread: %.1f ms\n", "", inFull);
        SmallEdit edit(d, *view);
        if (edit.found()) {
            const double small = medianMs(15, std::ref(edit));
            std::printf("%-13s a small edit drawn where it lies: %.2f ms (%.1f%% of the whole redraw)\n", "",
                        small, 100 * small / whole);
        }
    }
    return 0;
}

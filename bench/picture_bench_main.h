#pragma once

#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <memory>

#include "render/render.h"

namespace vela::bench {

/// The start of a program that benchmarks pictures: an application for text (offscreen unless a platform is
/// named), the bundled fonts, then the registered benchmarks. The application is kept for what main measures
/// after them.
inline std::unique_ptr<QGuiApplication> runPictureBenchmarks(int& argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    auto app = std::make_unique<QGuiApplication>(argc, argv);
    render::loadBundledFonts();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return app;
}

}  // namespace vela::bench

#include <cstdio>
#include <unistd.h>

#include "cli.h"

namespace vela::cli {

void ProgressBar::update(std::size_t done, std::size_t total) {
    if (total < shownFrom_) return;  // small jobs end faster than a bar can be read
    const int percent = total ? static_cast<int>(done * 100 / total) : 100;
    const bool terminal = ::isatty(STDERR_FILENO) != 0;
    const int step = terminal ? 1 : 10;
    if (percent / step == lastShown_ / step && lastShown_ >= 0) return;
    lastShown_ = percent;
    shown_ = true;
    if (terminal) {
        const int width = 30, filled = percent * width / 100;
        std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%", label_.c_str(), filled, "==============================",
                     width - filled, "", percent);
    } else {
        std::fprintf(stderr, "%s %d%%\n", label_.c_str(), percent);
    }
    std::fflush(stderr);
}

void ProgressBar::finish() {
    if (shown_ && ::isatty(STDERR_FILENO)) std::fputc('\n', stderr);
}

}  // namespace vela::cli

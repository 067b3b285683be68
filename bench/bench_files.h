#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace vela::bench {

/// What a command (the ezdxf peer) prints on standard output.
inline std::string commandOutput(const std::string& command) {
    std::string out;
    if (FILE* p = ::popen(command.c_str(), "r")) {
        char buf[4096];
        while (std::size_t n = std::fread(buf, 1, sizeof buf, p)) out.append(buf, n);
        ::pclose(p);
    }
    return out;
}

/// The number under `key` in the peer's one-line JSON answer; -1 when it has none.
inline double jsonNumber(const std::string& json, const std::string& key) {
    const std::size_t at = json.find("\"" + key + "\"");
    return at == std::string::npos ? -1 : std::atof(json.c_str() + json.find(':', at) + 1);
}

/// The large generated drawing several benchmarks share (about 55 MB: lines, polylines, circles and text on
/// many layers), made by bench/make_big_dxf.py with ezdxf on first use; VELA_BENCH_DXF names another file.
/// Empty when it cannot be made.
inline std::string bigDrawingPath() {
    namespace fs = std::filesystem;
    const char* env = std::getenv("VELA_BENCH_DXF");
    const std::string file = env ? env : (fs::temp_directory_path() / "vela_bench_big.dxf").string();
    if (!fs::exists(file)) {
        std::fprintf(stderr, "generating %s with ezdxf (once)...\n", file.c_str());
        const std::string command =
            "/usr/bin/python3 '" VELA_SOURCE_DIR "/bench/make_big_dxf.py' '" + file + "' 55 >&2";
        if (std::system(command.c_str()) != 0) return {};
    }
    return fs::exists(file) ? file : std::string();
}

}  // namespace vela::bench

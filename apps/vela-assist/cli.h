#pragma once

#include <string>
#include <vector>

namespace vela::cli {

/// Each sub-command takes its arguments (after the sub-command's name) and returns the process exit code.
int infoCommand(const std::vector<std::string>& args);
int convertCommand(const std::vector<std::string>& args);
int runCommand(const std::vector<std::string>& args);
int shellCommand(const std::vector<std::string>& args);
int catalogueCommand(const std::vector<std::string>& args);
int renderCommand(const std::vector<std::string>& args);
int mcpCommand(const std::vector<std::string>& args);
int serveCommand(const std::vector<std::string>& args);

/// A progress bar on standard error for loads of large files; silent for small ones and when stderr is no
/// terminal (then one line per tenth).
class ProgressBar {
  public:
    /// Totals below `shownFrom` show nothing (the default suits file sizes in bytes).
    explicit ProgressBar(std::string label, std::size_t shownFrom = 8u << 20)
        : label_(std::move(label)), shownFrom_(shownFrom) {}
    void update(std::size_t done, std::size_t total);
    void finish();

  private:
    std::string label_;
    std::size_t shownFrom_;
    int lastShown_ = -1;
    bool shown_ = false;
};

}  // namespace vela::cli

#pragma once

// The memory of this process and every process it started (the browser and
// its renderers), sampled while a benchmark runs. PSS counts shared pages
// once across the tree, so the sum is what the work really costs the machine.

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace vells::bench {

inline long parentOf(const std::string& pid) {
  std::ifstream stat("/proc/" + pid + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  // The command name may hold blanks and parentheses: read after the last ')'.
  const auto close = text.rfind(')');
  if (close == std::string::npos) return -1;
  std::istringstream rest(text.substr(close + 1));
  std::string state;
  long ppid = -1;
  rest >> state >> ppid;
  return ppid;
}

inline double pssKiB(const std::string& pid) {
  std::ifstream rollup("/proc/" + pid + "/smaps_rollup");
  std::string key;
  while (rollup >> key) {
    if (key == "Pss:") {
      double kib = 0;
      rollup >> kib;
      return kib;
    }
    rollup.ignore(1 << 12, '\n');
  }
  return 0;
}

// PSS of this process and all its descendants, in MiB.
inline double treePssMiB() {
  std::map<long, std::vector<std::string>> children;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ec)) {
    const std::string pid = entry.path().filename().string();
    if (pid.empty() || !std::all_of(pid.begin(), pid.end(), ::isdigit)) continue;
    children[parentOf(pid)].push_back(pid);
  }
  double kib = 0;
  std::vector<std::string> todo{std::to_string(getpid())};
  while (!todo.empty()) {
    const std::string pid = todo.back();
    todo.pop_back();
    kib += pssKiB(pid);
    for (const auto& child : children[std::stol(pid)])
      todo.push_back(child);
  }
  return kib / 1024.0;
}

// Samples treePssMiB every 250 ms from construction to destruction. Reading
// PSS walks every page table of the tree, about 15 ms a time with the browser
// at work; sampled more often it takes a good part of a core from the work
// it measures.
class PeakMemory {
 public:
  PeakMemory()
      : sampler_([this] {
          while (!done_) {
            peak_ = std::max(peak_.load(), treePssMiB());
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
          }
        }) {}
  ~PeakMemory() { stop(); }
  double stop() {
    done_ = true;
    if (sampler_.joinable()) sampler_.join();
    return peak_;
  }

 private:
  std::atomic<bool> done_{false};
  std::atomic<double> peak_{0};
  std::thread sampler_;
};

}  // namespace vells::bench

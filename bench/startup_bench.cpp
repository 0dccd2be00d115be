// Start-up of the application: process start to the main window shown, and to
// the first gallery thumbnail decoded from a warm render cache. Each
// iteration starts build/bin/vellora on the offscreen platform against the
// library in $VELLS_BENCH_LIBRARY (for example the demo's, vellora-demo/library,
// after `vellora-cli demo`), with a fresh preferences file.
#include <benchmark/benchmark.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

struct Moments {
  double shownMs = -1;
  double firstCellMs = -1;
  std::string error;
};

// Runs the program once; every wait has a limit and the child is always reaped.
Moments startOnce(const std::string& library, const std::string& settings) {
  Moments m;
  int out[2];
  if (pipe(out) != 0) return {-1, -1, "no pipe"};
  std::vector<std::string> env = {"QT_QPA_PLATFORM=offscreen", "VELLS_STARTUP_TRACE=exit",
                                  "VELLS_LIBRARY=" + library, "VELLS_SETTINGS=" + settings};
  for (char** e = environ; *e; ++e) {
    const std::string entry = *e;
    if (entry.rfind("QT_QPA_PLATFORM=", 0) == 0 || entry.rfind("VELLS_", 0) == 0) continue;
    env.push_back(entry);
  }
  std::vector<char*> envp;
  for (auto& e : env)
    envp.push_back(e.data());
  envp.push_back(nullptr);
  std::string program = VELLS_APP_PROGRAM;
  char* argv[] = {program.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDERR_FILENO);
  posix_spawn_file_actions_addclose(&actions, out[0]);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const auto start = Clock::now();
  const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv, envp.data());
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  if (spawned != 0) {
    close(out[0]);
    return {-1, -1, "couldn't start " + program};
  }
  std::string text;
  const auto limit = start + std::chrono::seconds(30);
  while (m.firstCellMs < 0 && Clock::now() < limit) {
    pollfd p{out[0], POLLIN, 0};
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now());
    if (poll(&p, 1, static_cast<int>(left.count())) <= 0) break;
    char buf[512];
    const ssize_t n = read(out[0], buf, sizeof buf);
    if (n <= 0) break;
    const double now = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    text.append(buf, static_cast<std::size_t>(n));
    if (m.shownMs < 0 && text.find("vellora: window shown") != std::string::npos) m.shownMs = now;
    if (text.find("vellora: first cell failed") != std::string::npos) {
      m.error = "the first thumbnail didn't load";
      break;
    }
    if (text.find("vellora: first cell\n") != std::string::npos) m.firstCellMs = now;
  }
  close(out[0]);
  kill(pid, SIGTERM);
  int status = 0;
  for (int i = 0; i < 200 && waitpid(pid, &status, WNOHANG) == 0; ++i)
    usleep(10000);
  if (waitpid(pid, &status, WNOHANG) == 0) {
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
  }
  if (m.firstCellMs < 0 && m.error.empty()) m.error = "no first cell within 30 s";
  return m;
}

void BM_StartToFirstCell(benchmark::State& state) {
  const char* library = std::getenv("VELLS_BENCH_LIBRARY");
  if (!library || !std::filesystem::is_directory(library)) {
    state.SkipWithError("set VELLS_BENCH_LIBRARY to a library with a warm render cache");
    return;
  }
  const std::string settings = (std::filesystem::temp_directory_path() /
                                ("startup-bench-" + std::to_string(getpid()) + ".conf"))
                                   .string();
  // The first start of all warms the page cache of the program and its libraries.
  static const bool primed = (startOnce(library, settings), true);
  (void)primed;
  std::vector<double> shown;
  for (auto _ : state) {
    std::filesystem::remove(settings);
    const Moments m = startOnce(library, settings);
    if (!m.error.empty()) {
      state.SkipWithError(m.error.c_str());
      break;
    }
    state.SetIterationTime(m.firstCellMs / 1000.0);
    shown.push_back(m.shownMs);
  }
  std::filesystem::remove(settings);
  if (!shown.empty()) {
    std::sort(shown.begin(), shown.end());
    state.counters["window_shown_ms"] = shown[shown.size() / 2];
  }
}
BENCHMARK(BM_StartToFirstCell)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(9);

}  // namespace

BENCHMARK_MAIN();

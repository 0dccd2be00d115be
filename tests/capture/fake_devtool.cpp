// Stands in for `adb` or `xcrun` (FAKE_TOOL says which). It appends its
// arguments to $VELLS_FAKE_TOOLS/<tool>.log, each ended by a NUL so an empty
// argument shows, and each call ended by a line end; its answers come from
// files in that folder, so a test scripts a device by writing them.
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::string slurp(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Prints the scripted answer `name`, after waiting if `name.hang` exists;
// `name.status` holds the exit status (0 without it).
int answer(const fs::path& dir, const std::string& name) {
  if (fs::exists(dir / (name + ".hang"))) std::this_thread::sleep_for(std::chrono::seconds(30));
  std::cout << slurp(dir / name) << std::flush;
  const std::string status = slurp(dir / (name + ".status"));
  return status.empty() ? 0 : std::atoi(status.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const char* root = std::getenv("VELLS_FAKE_TOOLS");
  if (!root) return 97;
  const fs::path dir(root);
  const std::vector<std::string> args(argv + 1, argv + argc);
  {
    std::ofstream log(dir / (std::string(FAKE_TOOL) + ".log"), std::ios::binary | std::ios::app);
    for (const std::string& arg : args)
      log << arg << '\0';
    log << '\n';
  }
  const auto has = [&](std::size_t i, const char* word) {
    return args.size() > i && args[i] == word;
  };
  if (std::string(FAKE_TOOL) == "adb") {
    if (has(0, "devices")) return answer(dir, "devices");
    if (has(2, "exec-out") && has(3, "screencap")) return answer(dir, "screencap");
    if (has(2, "shell") && has(3, "cmd") && has(4, "uimode")) return answer(dir, "night");
    return 0;
  }
  if (has(1, "list")) return answer(dir, "simctl-list");
  if (has(1, "ui")) return answer(dir, "appearance");
  if (has(1, "io") && args.size() == 6) {
    if (fs::exists(dir / "screenshot")) fs::copy_file(dir / "screenshot", args[5]);
    return answer(dir, "screenshot-run");
  }
  return 0;
}

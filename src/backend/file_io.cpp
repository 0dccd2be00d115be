#include "backend/file_io.h"

#include <chrono>
#include <fstream>
#include <sstream>

namespace vells::backend {

namespace fs = std::filesystem;

std::optional<double> mtimeMs(const fs::path& file) {
  std::error_code ec;
  auto t = fs::last_write_time(file, ec);
  if (ec) return std::nullopt;
  auto sys = std::chrono::file_clock::to_sys(t);
  return std::chrono::duration<double, std::milli>(sys.time_since_epoch()).count();
}

std::vector<std::string> files(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code ec;
  fs::directory_iterator it(folder, ec);
  if (ec) return names;
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    if (ec) break;
    names.push_back(it->path().filename().string());
  }
  return names;
}

std::optional<std::string> readFile(const fs::path& file) {
  std::error_code ec;
  if (fs::is_directory(file, ec)) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream ss;
  ss << in.rdbuf();
  if (in.bad()) return std::nullopt;
  return std::move(ss).str();
}

}  // namespace vells::backend

// Feeds arbitrary requests to the backend's one public entry. An input is
// "METHOD URL" on its first line and the body after it; the library is a fresh
// temporary folder per run, so inputs can build on what earlier ones wrote.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "backend/local_backend.h"
#include "backend/url_request.h"

namespace {

namespace fs = std::filesystem;

class FuzzLibrary {
 public:
  FuzzLibrary() {
    // The store lookup is the one route that goes out: here it meets a closed port at once.
    ::setenv("VELLS_LOOKUP_URL", "http://127.0.0.1:1/lookup", 1);
    std::string pattern = (fs::temp_directory_path() / "vellora-fuzz-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) std::abort();
    root_ = pattern;
    backend_ = std::make_unique<vells::backend::LocalBackend>(vells::backend::LocalLibrary(root_),
                                                              nullptr);
  }
  ~FuzzLibrary() {
    backend_.reset();
    std::error_code ec;
    fs::remove_all(root_, ec);
  }
  FuzzLibrary(const FuzzLibrary&) = delete;
  FuzzLibrary& operator=(const FuzzLibrary&) = delete;

  vells::backend::LocalBackend& backend() { return *backend_; }

 private:
  fs::path root_;
  std::unique_ptr<vells::backend::LocalBackend> backend_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static FuzzLibrary library;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const auto newline = input.find('\n');
  const std::string_view head = input.substr(0, newline);
  const std::string_view body =
      newline == std::string_view::npos ? std::string_view() : input.substr(newline + 1);
  const auto space = head.find(' ');
  if (space == std::string_view::npos) return 0;
  const vells::backend::Response response = library.backend().handle(vells::backend::requestFromURL(
      head.substr(space + 1), std::string(head.substr(0, space)), std::string(body)));
  // Every answer must be a real status, and no header may break its line.
  if (response.status < 100 || response.status > 599) std::abort();
  for (const auto& [name, value] : response.headers) {
    if (value.find_first_of("\r\n") != std::string::npos) std::abort();
  }
  return 0;
}

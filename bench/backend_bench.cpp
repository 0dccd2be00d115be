// Route costs that every screen of the app pays: reading a set's documents and
// page list, and saving a document, on a real SQLite library in a temp folder.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

#include "backend/local_backend.h"

namespace {

namespace fs = std::filesystem;
using vells::backend::LocalBackend;
using vells::backend::LocalLibrary;
using vells::backend::Request;

struct TempLibrary {
  fs::path root;
  TempLibrary() {
    root = fs::temp_directory_path() /
           ("vells-bench-" + std::to_string(::getpid()) + "-" + std::to_string(rand()));
  }
  ~TempLibrary() {
    std::error_code ec;
    fs::remove_all(root, ec);
  }
};

Request post(std::string path, std::string body) {
  Request r;
  r.method = "POST";
  auto q = path.find('?');
  r.path = path.substr(0, q);
  if (q != std::string::npos) r.query["set"] = path.substr(q + 5);
  r.body = std::move(body);
  return r;
}

std::string textsDocument(int pages, int locales) {
  std::string doc = "{";
  for (int p = 0; p < pages; ++p) {
    if (p) doc += ",";
    doc += "\"p" + std::to_string(p) + "\":{";
    for (int l = 0; l < locales; ++l) {
      if (l) doc += ",";
      doc += "\"l" + std::to_string(l) + "\":{\"title\":\"A *fine* title for page " +
             std::to_string(p) + "\"}";
    }
    doc += "}";
  }
  return doc + "}";
}

void BM_HealthRoute(benchmark::State& state) {
  TempLibrary lib;
  LocalBackend backend(LocalLibrary(lib.root), nullptr);
  Request r;
  r.path = "/health";
  for (auto _ : state)
    benchmark::DoNotOptimize(backend.handle(r));
}
BENCHMARK(BM_HealthRoute);

// A texts document of 10 pages in 39 languages, written and read back.
void BM_SaveTexts(benchmark::State& state) {
  TempLibrary lib;
  LocalBackend backend(LocalLibrary(lib.root), nullptr);
  const Request r = post("/api/texts?set=bench", textsDocument(10, 39));
  for (auto _ : state)
    benchmark::DoNotOptimize(backend.handle(r));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(r.body.size()));
}
BENCHMARK(BM_SaveTexts);

void BM_ReadTexts(benchmark::State& state) {
  TempLibrary lib;
  LocalBackend backend(LocalLibrary(lib.root), nullptr);
  backend.handle(post("/api/texts?set=bench", textsDocument(10, 39)));
  Request r;
  r.path = "/api/texts";
  r.query["set"] = "bench";
  for (auto _ : state)
    benchmark::DoNotOptimize(backend.handle(r));
}
BENCHMARK(BM_ReadTexts);

void BM_SavePages(benchmark::State& state) {
  TempLibrary lib;
  LocalBackend backend(LocalLibrary(lib.root), nullptr);
  std::string pages = "{\"pages\":[";
  for (int i = 0; i < 10; ++i) {
    if (i) pages += ",";
    pages += "{\"id\":\"p" + std::to_string(i) + "\",\"source\":\"upload\"}";
  }
  pages += "]}";
  const Request r = post("/api/pages?set=bench", pages);
  for (auto _ : state)
    benchmark::DoNotOptimize(backend.handle(r));
}
BENCHMARK(BM_SavePages);

}  // namespace

BENCHMARK_MAIN();

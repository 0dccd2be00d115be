#pragma once

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "backend/content_name.h"
#include "backend/core_script.h"
#include "backend/file_io.h"
#include "backend/ids.h"
#include "backend/local_backend.h"
#include "backend/sets.h"
#include "backend/url_request.h"

namespace vells::testing {

namespace fs = std::filesystem;

// A fresh folder under the system's temp folder, removed with everything in it.
class TempDir {
 public:
  TempDir() {
    std::random_device rd;
    path_ = fs::temp_directory_path() /
            ("vells-test-" + std::to_string(::getpid()) + "-" + std::to_string(rd()));
    fs::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ec;
    fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

inline void writeFile(const fs::path& file, const std::string& bytes) {
  fs::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary);
  out << bytes;
}

// A script host with a small, hand-made catalogue: two built-in pages of a
// sample app, three store locales and one pattern tile.
class FakeCore : public backend::CoreScript {
 public:
  explicit FakeCore(std::optional<fs::path> assets = std::nullopt)
      : assets_(std::move(assets)),
        catalog_(std::make_shared<JSONValue::Object>(defaultCatalog())) {}

  static JSONValue::Object defaultCatalog() {
    return *JSONValue::parse(R"({
      "pages": [{"id":"home","label":"Home"},{"id":"stats","label":"Stats"},{"label":"no id"}],
      "pagesAppId": "sample-app",
      "pagesAppName": "Sample",
      "locales": [{"code":"en"},{"code":"de"}],
      "storeLocales": [{"code":"en"},{"code":"de"},{"code":"fr"}],
      "storeLocaleCodes": ["en","de","fr"],
      "fontFiles": [{"file":"nunito.woff2"}],
      "patterns": [{"file":"wiggle.svg"}]
    })")
                .asObject();
  }

  std::shared_ptr<const JSONValue::Object> catalog() override {
    ++catalogReads;
    std::lock_guard g(mutex_);
    return catalog_;
  }
  void setCatalog(JSONValue::Object c) {
    std::lock_guard g(mutex_);
    catalog_ = std::make_shared<JSONValue::Object>(std::move(c));
  }
  std::optional<JSONValue> callJSON(const std::string& name, const JSONValue& args) override {
    std::lock_guard g(mutex_);
    calls.push_back(name + " " + args.dump());
    if (name == "screenTexts") {
      return JSONValue::parse(R"([{"key":"greeting","value":"Good morning"},{"key":7}])");
    }
    return std::nullopt;
  }
  std::optional<std::string> string(const std::string&, const JSONValue&) override {
    return std::nullopt;
  }
  std::optional<fs::path> assetsRoot() const override { return assets_; }

  std::atomic<int> catalogReads{0};
  std::vector<std::string> calls;

 private:
  std::optional<fs::path> assets_;
  std::mutex mutex_;
  std::shared_ptr<const JSONValue::Object> catalog_;
};

// One route call through the public entry, from a URL as a client writes it.
inline backend::Response call(backend::LocalBackend& b, const std::string& method,
                              const std::string& url, const std::string& body = "") {
  return b.handle(backend::requestFromURL(url, method, body));
}

inline JSONValue bodyJSON(const backend::Response& r) {
  return JSONValue::parse(r.body);
}

// What a shell command prints, standard error included: for checking our
// output with another program's reader.
inline std::string runCommand(const std::string& command) {
  std::string out;
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (!pipe) return out;
  char buffer[4096];
  while (std::size_t n = fread(buffer, 1, sizeof buffer, pipe))
    out.append(buffer, n);
  pclose(pipe);
  return out;
}

}  // namespace vells::testing

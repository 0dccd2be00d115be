#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include "backend/test_support.h"

#include <algorithm>

#include "capture/device_capture.h"
#include "capture/screen_importer.h"
#include "platform/base64.h"

namespace vells::testing {

// A 1×1 PNG: real picture bytes, as the upload route may look at them.
inline std::string tinyPNG() {
  return *platform::base64Decode(
      "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNkYPhfDwAChwGA60e6kgAAAABJRU5Er"
      "kJggg==");
}

// The folder the fake tools read their answers from and log their calls to.
class FakeTools {
 public:
  FakeTools() { ::setenv("VELLS_FAKE_TOOLS", dir_.path().c_str(), 1); }
  ~FakeTools() { ::unsetenv("VELLS_FAKE_TOOLS"); }

  void script(const std::string& name, const std::string& bytes) {
    writeFile(dir_.path() / name, bytes);
  }
  // Each call's arguments, in order; NUL-separated in the log so empty ones survive.
  std::vector<std::vector<std::string>> calls(const std::string& tool) const {
    std::ifstream in(dir_.path() / (tool + ".log"), std::ios::binary);
    const std::string log{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    std::vector<std::vector<std::string>> out;
    std::vector<std::string> call;
    std::string arg;
    for (const char c : log) {
      if (c == '\0') {
        call.push_back(arg);
        arg.clear();
      } else if (c == '\n' && arg.empty()) {
        out.push_back(call);
        call.clear();
      } else {
        arg += c;
      }
    }
    return out;
  }
  // The calls as lines with arguments joined by blanks, for reading a sequence at a glance.
  std::vector<std::string> lines(const std::string& tool) const {
    std::vector<std::string> out;
    for (const auto& call : calls(tool)) {
      std::string line;
      for (const std::string& arg : call)
        line += (line.empty() ? "" : " ") + arg;
      out.push_back(line);
    }
    return out;
  }

  capture::DeviceTools tools(bool withAdb = true, bool withXcrun = false) const {
    capture::DeviceTools tools;
    if (withAdb) tools.adbCandidates = {"/nonexistent/adb", VELLS_FAKE_ADB};
    tools.xcrun = withXcrun ? VELLS_FAKE_XCRUN : "/nonexistent/xcrun";
    tools.tempDir = QString::fromStdString((dir_.path() / "tmp").string());
    fs::create_directories(dir_.path() / "tmp");
    tools.timeLimit = std::chrono::milliseconds(3000);
    tools.settle = std::chrono::milliseconds(0);
    return tools;
  }
  const fs::path& path() const { return dir_.path(); }

 private:
  TempDir dir_;
};

// A real library with one set of three uploaded pages in English and German.
class CaptureLibrary : public ::testing::Test {
 protected:
  CaptureLibrary()
      : core(std::make_shared<FakeCore>()),
        backend(backend::LocalLibrary(dir.path() / "lib"), core) {
    JSONValue::Object catalog = FakeCore::defaultCatalog();
    catalog["pages"] = JSONValue::parse(R"([{"id":"home","label":"Home"}])");
    const JSONValue locales = JSONValue::parse(R"([{"code":"en","nativeName":"English","flag":""},
      {"code":"de","nativeName":"Deutsch","flag":""},{"code":"fr","nativeName":"Français","flag":""}])");
    catalog["locales"] = locales;
    catalog["storeLocales"] = locales;
    core->setCatalog(catalog);
    backend.start();
    set = *bodyJSON(call(backend, "POST", "/api/sets", R"({"name":"Shots","locales":["en","de"]})"))
               .stringAt("id");
    const auto saved = call(backend, "POST", "/api/pages?set=" + set,
                            R"({"pages":[{"id":"home","label":"Home","source":"upload"},
                                         {"id":"stats","label":"Stats","source":"upload"},
                                         {"id":"more","label":"More","source":"upload"}]})");
    EXPECT_EQ(saved.status, 200) << saved.body;
  }

  capture::BackendCall handle() {
    return [this](const backend::Request& r) { return backend.handle(r); };
  }
  capture::ImportTarget target(DeviceOS os = DeviceOS::ios, ThemeName theme = ThemeName::light) {
    return capture::ImportTarget::load(handle(), set, os, theme);
  }
  std::vector<std::string> stored() {
    std::vector<std::string> out;
    for (const auto& e : fs::recursive_directory_iterator(dir.path() / "lib")) {
      const std::string rel = fs::relative(e.path(), dir.path() / "lib").string();
      if (e.is_regular_file() && rel.rfind("screens/", 0) == 0) out.push_back(rel);
    }
    std::sort(out.begin(), out.end());
    return out;
  }

  TempDir dir;
  TempDir drop;
  std::shared_ptr<FakeCore> core;
  backend::LocalBackend backend;
  std::string set;
};

}  // namespace vells::testing

#include "cli/demo_command.h"

#include "rendering/store_size.h"

#include <filesystem>
#include <iostream>

#include "backend/ids.h"
#include "backend/local_backend.h"
#include "cli/demo_set.h"
#include "cli/export_command.h"
#include "cli/request_command.h"

namespace vells::cli {

namespace fs = std::filesystem;
using backend::LocalBackend;
using backend::Request;
using backend::Response;

const char* const kDemoHelp =
    "Usage: vellora-cli demo [-o DIR]\n"
    "\n"
    "Shows the whole job on the built-in sample app: files the app in the library,\n"
    "makes (or refreshes) the set \"Demo launch\" with every built-in screen, titles\n"
    "in English, German, Japanese and Arabic and a few different looks, then renders\n"
    "the store images and writes one archive per platform and appearance:\n"
    "DIR/<app>-ios-light.zip, -ios-dark, -android-light, -android-dark, at the\n"
    "sizes the stores require: 1320x2868 for iOS, 1284x2778 for Android.\n"
    "\n"
    "Options:\n"
    "  -o, --output DIR   where the archives go (default: ./vellora-demo)\n"
    "\n"
    "The library is $VELLS_LIBRARY when set (see 'vellora-cli --help'). A second run\n"
    "reuses the set and every image already rendered.\n";

namespace {

constexpr const char* kSetName = "Demo launch";

// One call that must succeed; its answer as JSON.
JSONValue call(LocalBackend& backend, const std::string& method, const std::string& path,
               const JSONValue& body = JSONValue(),
               std::map<std::string, std::string, std::less<>> query = {}) {
  Request r;
  r.method = method;
  r.path = path;
  r.query = std::move(query);
  if (!body.isNull()) {
    r.body = body.dump();
    r.contentType = "application/json";
  }
  Response answer = backend.handle(r);
  if (answer.status != 200)
    throw ExportError(method + " " + path + " answered " + std::to_string(answer.status) + ": " +
                      answer.body);
  auto json = JSONValue::tryParse(answer.body);
  return json ? *json : JSONValue();
}

// The set of an earlier run, so that a second run renders only what changed.
std::optional<std::string> earlierSet(LocalBackend& backend, const std::string& appId) {
  JSONValue sets = call(backend, "GET", "/api/sets");
  if (!sets.isArray()) return std::nullopt;
  for (const auto& set : *sets.asArray()) {
    if (set.stringAt("name") == kSetName && set.stringAt("appId") == appId)
      return set.stringAt("id");
  }
  return std::nullopt;
}

}  // namespace

int demoCommand(const std::vector<std::string>& args, LocalBackend& backend,
                rendering::HTMLRenderer& renderer, std::ostream& out, std::ostream& err) {
  fs::path dir = "vellora-demo";
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--help" || args[i] == "-h") {
      out << kDemoHelp;
      return kExitOK;
    }
    if ((args[i] == "-o" || args[i] == "--output") && i + 1 < args.size()) {
      dir = args[++i];
      continue;
    }
    err << "vellora-cli demo: unknown option " << args[i] << "\n\n" << kDemoHelp;
    return kExitUsage;
  }
  try {
    const JSONValue config = call(backend, "GET", "/api/config");
    const auto appId = config.stringAt("pagesAppId");
    if (!appId) throw ExportError("The built-in pages are missing: core.js could not be loaded.");
    const std::string appName = backend.catalog().pagesAppName().value_or("Sample");
    std::string appSlug = backend::slugOf(appName);
    if (appSlug.empty()) appSlug = "demo";
    err << "Library: " << backend.library().root().string() << "\n";

    if (!backend.db().app(*appId)) {
      call(backend, "POST", "/api/orvo/apps/save",
           JSONValue::Object{
               {"appId", *appId},
               {"info",
                JSONValue::Object{
                    {"name", appName},
                    {"developer", "Vellora"},
                    {"unlisted", true},
                    {"profile", JSONValue::Object{{"platforms", JSONValue::Array{"ios", "android"}},
                                                  {"about",
                                                   "A calm habit tracker: streaks, focus "
                                                   "sessions and weekly insights."}}}}}});
      err << "Filed the sample app " << appName << " (" << *appId << ")\n";
    }

    std::string set;
    if (auto earlier = earlierSet(backend, *appId)) {
      set = *earlier;
      err << "Refreshing the set " << set << "\n";
    } else {
      JSONValue made =
          call(backend, "POST", "/api/sets",
               JSONValue::Object{{"name", kSetName},
                                 {"appId", *appId},
                                 {"locales", JSONValue::Array{"en", "de", "ja", "ar"}}});
      set = made.stringAt("id").value_or("");
      err << "Made the set " << set << "\n";
    }
    JSONValue::Array pages;
    if (const JSONValue* list = config.find("pages"); list && list->isArray()) {
      for (const auto& page : *list->asArray()) {
        if (auto id = page.stringAt("id"))
          pages.push_back(JSONValue::Object{{"id", *id}, {"source", "builtin"}});
      }
    }
    call(backend, "POST", "/api/pages", JSONValue::Object{{"pages", pages}}, {{"set", set}});
    call(backend, "POST", "/api/texts", demoTexts(), {{"set", set}});
    call(backend, "POST", "/api/styles", demoStyles(), {{"set", set}});

    fs::create_directories(dir);
    std::vector<fs::path> written;
    for (const char* os : {"ios", "android"}) {
      for (const char* theme : {"light", "dark"}) {
        rendering::ExportRequest job;
        job.set = set;
        job.os = os;
        job.theme = theme;
        job.size = rendering::requiredStoreSize(os);
        const fs::path file = dir / (appSlug + "-" + os + "-" + theme + ".zip");
        err << "Exporting " << os << " " << theme << "\n";
        const int count = exportArchive(backend, renderer, job, file, err);
        err << "Wrote " << count << " images to " << file.string() << "\n";
        written.push_back(file);
      }
    }
    out << "Demo archives:\n";
    for (const auto& file : written)
      out << "  " << fs::absolute(file).string() << "\n";
    return kExitOK;
  } catch (const std::exception& e) {
    err << "vellora-cli demo: " << e.what() << "\n";
    return kExitStatus;
  }
}

}  // namespace vells::cli

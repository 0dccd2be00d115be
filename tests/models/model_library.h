#pragma once

// A real library in a temp folder for the model tests: the database and the
// set and app routes, on a small hand-made catalogue the client can read.
#include "backend/test_support.h"

namespace vells::testing {

inline std::shared_ptr<FakeCore> modelCore() {
  auto core = std::make_shared<FakeCore>();
  core->setCatalog(*JSONValue::parse(R"({
      "pages": [{"id":"home","label":"Home"},{"id":"stats","label":"Stats"}],
      "pagesAppId": "sample-app",
      "pagesAppName": "Sample",
      "locales": [{"code":"en","nativeName":"English","flag":"🇬🇧"},
                  {"code":"de","nativeName":"Deutsch","flag":"🇩🇪"}],
      "storeLocales": [{"code":"en","nativeName":"English","flag":"🇬🇧"},
                       {"code":"de","nativeName":"Deutsch","flag":"🇩🇪"},
                       {"code":"fr","nativeName":"Français","flag":"🇫🇷"}],
      "storeLocaleCodes": ["en","de","fr"],
      "fontFiles": [], "patterns": []
    })")
                        .asObject());
  return core;
}

struct ModelLibrary {
  TempDir dir;
  std::unique_ptr<backend::LocalBackend> backend = std::make_unique<backend::LocalBackend>(
      backend::LocalLibrary(dir.path() / "lib"), modelCore());
};

}  // namespace vells::testing

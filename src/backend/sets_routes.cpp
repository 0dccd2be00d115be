#include <algorithm>
#include <filesystem>
#include <set>

#include "backend/apps.h"
#include "backend/file_io.h"
#include "backend/id_rule.h"
#include "backend/ids.h"
#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/request_params.h"
#include "backend/routes.h"
#include "backend/sets.h"

namespace vells::backend {

namespace fs = std::filesystem;

namespace {

using Document = LocalDatabase::Document;

// The folders whose file names begin with the set's id.
const std::vector<fs::path> setFileFolders(const LocalLibrary& lib) {
  return {lib.backgrounds(), lib.overlays(), lib.screens(), lib.screens() / "light",
          lib.screens() / "dark"};
}

JSONValue bodyObject(const Request& request) {
  JSONValue body = LocalBackend::json(request.body);
  return body.isObject() ? body : JSONValue::Object{};
}

std::string trimBlanks(std::string_view s) {
  constexpr std::string_view blanks = " \t\n\r\v\f";
  auto first = s.find_first_not_of(blanks);
  if (first == std::string_view::npos) return "";
  return std::string(s.substr(first, s.find_last_not_of(blanks) - first + 1));
}

std::optional<JSONValue> stringList(const JSONValue* value) {
  if (!value || !value->isArray()) return std::nullopt;
  for (const auto& e : *value->asArray()) {
    if (!e.isString()) return std::nullopt;
  }
  return *value;
}

JSONValue appJSON(const AppRow& row) {
  const JSONValue info(row.info);
  JSONValue::Object o{
      {"appId", row.appId},
      {"name", info.stringAt("name").value_or(row.appId)},
      {"icon", info.stringAt("icon").value_or("")},
      {"developer", info.stringAt("developer").value_or("")},
      {"screenshots", stringList(info.find("screenshotUrls")).value_or(JSONValue::Array{})},
      {"unlisted", !isListed(row.appId)}};
  if (const JSONValue* profile = info.find("profile")) {
    if (auto platforms = stringList(profile->find("platforms"))) o["platforms"] = *platforms;
    for (const char* key : {"about", "audience", "category"}) {
      if (auto s = profile->stringAt(key)) o[key] = *s;
    }
  }
  if (auto url = info.stringAt("trackViewUrl")) o["storeUrl"] = *url;
  return o;
}

// A catalogue list as it stands; missing or of another type, an empty list, so
// that clients always find the lists they require.
JSONValue listOr(const CatalogView& catalog, const std::string& key) {
  JSONValue v = catalog.value(key);
  return v.isArray() ? v : JSONValue::Array{};
}

void requireKnownApp(LocalBackend& backend, const std::optional<std::string>& appId) {
  if (appId && !backend.db().app(*appId)) {
    throw Failure(400, "No app in the library has the id \u201C" + *appId +
                           "\u201D; add the app first, or leave the set unfiled.");
  }
}

// Ids are made from the clock, which another process on the same library
// reads too, and a process that makes many sets runs ahead of it: the
// database decides which id is free, and a taken one is made again after the
// newest id of its kind.
void insertWithFreshId(LocalBackend& backend, SetRow& row) {
  for (int attempt = 0; attempt < 64; ++attempt) {
    row.id = newSetId(row.name, backend.uniqueNowMs());
    if (backend.db().insertNewSet(row)) return;
    backend.skipIdsThrough(backend.db().newestSetNumber(row.id.substr(0, row.id.rfind('-') + 1)));
  }
  throw Failure(503, "The library is busy making sets; try again in a moment.");
}

// The base names (without extension) of every picture the set can own:
// each of its pages, on each platform, plain and in each locale. Matching
// whole names keeps a set from claiming the files of a set whose id merely
// begins with its own.
std::set<std::string> ownPictureNames(LocalBackend& backend, const std::string& set) {
  const CatalogView catalog = backend.catalog();
  std::set<std::string> locales{""};
  for (const auto& codes : {catalog.storeLocaleCodes(), catalog.localeCodes()})
    locales.insert(codes.begin(), codes.end());
  for (const SetRow& row : backend.db().loadSets()) {
    if (row.id == set && row.locales) locales.insert(row.locales->begin(), row.locales->end());
  }
  std::set<std::string> names;
  for (const PageRow& page : backend.db().pages(set)) {
    for (const char* os : {"ios", "android"}) {
      for (const std::string& locale : locales)
        names.insert(screenBaseName(set, page.id, os, locale));
    }
  }
  return names;
}

void removeOwnPictures(const LocalLibrary& library, const std::set<std::string>& names) {
  for (const fs::path& folder : setFileFolders(library)) {
    for (const std::string& name : files(folder)) {
      const fs::path file(name);
      const std::string ext = file.extension().string();
      const bool picture =
          std::any_of(imageExtensions.begin(), imageExtensions.end(),
                      [&](std::string_view e) { return ext == "." + std::string(e); });
      std::error_code ec;
      if (picture && names.contains(file.stem().string())) fs::remove(folder / name, ec);
    }
  }
}

Response config(LocalBackend& backend, const Request&) {
  const CatalogView catalog = backend.catalog();
  JSONValue::Array apps;
  for (const AppRow& row : backend.db().apps())
    apps.push_back(appJSON(row));
  auto pagesAppId = catalog.pagesAppId();
  return Response::json(
      JSONValue::Object{{"pages", listOr(catalog, "pages")},
                        {"pagesAppId", pagesAppId ? JSONValue(*pagesAppId) : JSONValue()},
                        {"locales", listOr(catalog, "locales")},
                        {"storeLocales", listOr(catalog, "storeLocales")},
                        {"sets", setsJSON(backend)},
                        {"apps", std::move(apps)}});
}

Response listSets(LocalBackend& backend, const Request&) {
  return Response::json(setsJSON(backend));
}

Response createSet(LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  SetRow row;
  row.name = body.stringAt("name").value_or("Untitled");
  row.id = newSetId(row.name, backend.uniqueNowMs());
  row.appId = body.stringAt("appId");
  row.locales = normaliseLocales(backend.catalog(), body.find("locales"));
  requireKnownApp(backend, row.appId);
  insertWithFreshId(backend, row);
  return Response::json(row.json());
}

Response patchSet(LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  auto id = body.stringAt("id");
  std::optional<SetRow> found;
  if (id) {
    for (SetRow& row : backend.db().loadSets()) {
      if (row.id == *id) found = std::move(row);
    }
  }
  if (!found) return Response::error("Unknown set", 200);
  if (auto name = body.stringAt("name")) found->name = *name;
  if (body.find("appId")) {
    found->appId = body.stringAt("appId");
    requireKnownApp(backend, found->appId);
  }
  if (const JSONValue* locales = body.find("locales")) {
    found->locales = normaliseLocales(backend.catalog(), locales);
  }
  backend.db().updateSet(*found);
  return Response::json(JSONValue::Object{{"ok", true}, {"set", found->json()}});
}

Response deleteSet(LocalBackend& backend, const Request& request) {
  const std::string id = request.param("id");
  // Named before the rows go: the set's pages say which files are its own.
  const std::set<std::string> pictures = ownPictureNames(backend, id);
  switch (backend.db().deleteSetKeepingOne(id)) {
    case LocalDatabase::SetDeletion::unknown:
      throw Failure(404, "Unknown set");
    case LocalDatabase::SetDeletion::last:
      throw Failure(400, "Cannot delete last set");
    case LocalDatabase::SetDeletion::deleted:
      break;
  }
  removeOwnPictures(backend.library(), pictures);
  std::error_code ec;
  fs::remove_all(backend.library().layers() / setFolder(id), ec);
  return Response::ok();
}

void copySetFiles(const LocalLibrary& lib, const std::string& from, const std::string& to,
                  const std::vector<PageRow>& pages) {
  for (const fs::path& folder : setFileFolders(lib)) {
    for (const std::string& name : files(folder)) {
      for (const PageRow& page : pages) {
        if (!name.starts_with(from + "-" + page.id + "-")) continue;
        std::error_code ec;
        fs::copy_file(folder / name, folder / (to + name.substr(from.size())),
                      fs::copy_options::overwrite_existing, ec);
        break;
      }
    }
  }
  const fs::path layers = lib.layers() / setFolder(from);
  std::error_code ec;
  if (!fs::is_directory(layers, ec)) return;
  const fs::path target = lib.layers() / setFolder(to);
  fs::create_directories(target, ec);
  for (const std::string& name : files(layers)) {
    std::error_code copyError;
    fs::copy_file(layers / name, target / name, fs::copy_options::overwrite_existing, copyError);
  }
}

Response duplicateSet(LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  const std::string from = body.stringAt("from").value_or("");
  std::optional<SetRow> source;
  for (SetRow& row : backend.db().loadSets()) {
    if (row.id == from) source = std::move(row);
  }
  if (!source) throw Failure(404, "Unknown set");
  std::string name = trimBlanks(body.stringAt("name").value_or(""));
  if (name.empty()) name = source->name + " copy";
  SetRow copy{"", name, source->appId, source->locales};
  insertWithFreshId(backend, copy);
  LocalDatabase& db = backend.db();
  const auto pages = pagesOf(backend, from);
  db.savePages(copy.id, pages);
  for (Document kind : {Document::texts, Document::styles, Document::order}) {
    db.saveDocument(kind, copy.id, db.document(kind, from));
  }
  copySetFiles(backend.library(), from, copy.id, pages);
  return Response::json(copy.json());
}

Response listPages(LocalBackend& backend, const Request& request) {
  JSONValue::Array out;
  for (const PageRow& row : pagesOf(backend, request.param("set", "default"))) {
    out.push_back(row.json());
  }
  return Response::json(JSONValue::Object{{"pages", std::move(out)}});
}

// The whole list is checked before anything is written: a refused list changes nothing.
std::vector<PageRow> validatePages(LocalBackend& backend, const std::string& set,
                                   const JSONValue& list) {
  if (!list.isArray() || list.asArray()->empty()) {
    throw Failure(400, "A set needs at least one page");
  }
  const CatalogView catalog = backend.catalog();
  const auto known = catalog.builtinIds();
  const auto pagesAppId = catalog.pagesAppId();
  bool filedUnderPagesApp = false;
  for (const SetRow& row : backend.db().loadSets()) {
    if (row.id == set) filedUnderPagesApp = row.appId && pagesAppId && *row.appId == *pagesAppId;
  }
  const auto stored = backend.db().pages(set);
  std::set<std::string> seen;
  std::vector<PageRow> rows;
  for (const JSONValue& page : *list.asArray()) {
    PageRow row;
    row.id = page.stringAt("id").value_or("");
    requireValidId("page", row.id);
    if (row.id.empty() || seen.contains(row.id)) {
      throw Failure(400, "Duplicate or missing page id: " + row.id);
    }
    seen.insert(row.id);
    row.source = page.stringAt("source").value_or("builtin");
    row.builtinId = page.stringAt("builtinId");
    if (row.source == "builtin") {
      const std::string catalogId = row.builtinId.value_or(row.id);
      if (!known.contains(catalogId)) throw Failure(400, "Unknown built-in page: " + catalogId);
      bool alreadyHeld = std::any_of(stored.begin(), stored.end(), [&](const PageRow& s) {
        return s.id == row.id && s.source == "builtin";
      });
      if (!alreadyHeld && !filedUnderPagesApp) {
        throw Failure(400, "Built-in screens are " +
                               catalog.pagesAppName().value_or("another app") +
                               "\u2019s \u2014 this set isn\u2019t filed under it");
      }
    }
    if (row.source != "builtin" && row.source != "upload" && row.source != "html") {
      throw Failure(400, "Unknown page source: " + row.source);
    }
    row.label = page.stringAt("label").value_or(row.id);
    rows.push_back(std::move(row));
  }
  return rows;
}

Response savePages(LocalBackend& backend, const Request& request) {
  const std::string set = request.param("set", "default");
  const JSONValue body = bodyObject(request);
  const JSONValue* list = body.find("pages");
  auto rows = validatePages(backend, set, list ? *list : JSONValue::Array{});
  backend.db().savePages(set, rows);
  JSONValue::Array out;
  for (const PageRow& row : pagesOf(backend, set))
    out.push_back(row.json());
  return Response::json(JSONValue::Object{{"ok", true}, {"pages", std::move(out)}});
}

template <Document kind>
Response readDocument(LocalBackend& backend, const Request& request) {
  Response r;
  r.mime = "application/json";
  r.body = backend.db().document(kind, request.param("set", "default"));
  return r;
}

template <Document kind>
Response saveDocument(LocalBackend& backend, const Request& request) {
  (void)LocalBackend::json(request.body);  // only a check: the bytes are stored as sent
  backend.db().saveDocument(kind, request.param("set", "default"), request.body);
  return Response::ok();
}

Response screenTexts(LocalBackend& backend, const Request& request) {
  const std::string set = request.param("set", "default");
  const std::string pageId = request.param("page", "home");
  const std::string locale = request.param("locale", "en");
  Response empty = Response::json(
      JSONValue::Object{{"entries", JSONValue::Array{}}, {"overrides", JSONValue::Object{}}});
  PageRow row = pageOf(backend, set, pageId).value_or(PageRow{pageId, pageId, "builtin", {}});
  if (row.source != "builtin") return empty;
  const std::string catalogId = row.builtinId.value_or(row.id);
  if (!backend.catalog().builtinIds().contains(catalogId)) return empty;
  auto result =
      backend.core().callJSON("screenTexts", JSONValue::Object{{"page", catalogId},
                                                               {"locale", locale},
                                                               {"os", osParam(request)},
                                                               {"theme", themeParam(request)}});
  JSONValue::Array entries;
  if (result && result->isArray()) {
    for (const JSONValue& e : *result->asArray()) {
      auto key = e.stringAt("key");
      auto value = e.stringAt("value");
      if (key && value) entries.push_back(JSONValue::Object{{"key", *key}, {"value", *value}});
    }
  }
  JSONValue::Object overrideMap;
  for (auto& [key, value] : overrides(texts(backend, set), row.id, locale)) {
    overrideMap.emplace(key, value);
  }
  return Response::json(
      JSONValue::Object{{"entries", std::move(entries)}, {"overrides", std::move(overrideMap)}});
}

}  // namespace

std::vector<Route> setsRoutes() {
  return {
      {"GET", "/api/config", &config},
      {"GET", "/api/sets", &listSets},
      {"POST", "/api/sets", &createSet},
      {"PATCH", "/api/sets", &patchSet},
      {"DELETE", "/api/sets", &deleteSet},
      {"POST", "/api/sets/duplicate", &duplicateSet},
      {"GET", "/api/pages", &listPages},
      {"POST", "/api/pages", &savePages},
      {"GET", "/api/texts", &readDocument<Document::texts>},
      {"POST", "/api/texts", &saveDocument<Document::texts>},
      {"GET", "/api/styles", &readDocument<Document::styles>},
      {"POST", "/api/styles", &saveDocument<Document::styles>},
      {"GET", "/api/order", &readDocument<Document::order>},
      {"POST", "/api/order", &saveDocument<Document::order>},
      {"GET", "/api/screen-texts", &screenTexts},
  };
}

}  // namespace vells::backend

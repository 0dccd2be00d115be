#include <algorithm>
#include <filesystem>
#include <set>

#include "backend/apps.h"
#include "backend/file_io.h"
#include "backend/ids.h"
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
  backend.db().insertSet(row);
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
  if (body.find("appId")) found->appId = body.stringAt("appId");
  if (const JSONValue* locales = body.find("locales")) {
    found->locales = normaliseLocales(backend.catalog(), locales);
  }
  backend.db().updateSet(*found);
  return Response::json(JSONValue::Object{{"ok", true}, {"set", found->json()}});
}

Response deleteSet(LocalBackend& backend, const Request& request) {
  const std::string id = request.param("id");
  if (backend.db().loadSets().size() < 2) throw Failure(400, "Cannot delete last set");
  backend.db().deleteSet(id);
  const std::string prefix = id + "-";
  for (const fs::path& folder : setFileFolders(backend.library())) {
    for (const std::string& name : files(folder)) {
      std::error_code ec;
      if (name.starts_with(prefix)) fs::remove(folder / name, ec);
    }
  }
  if (!id.empty()) {
    std::error_code ec;
    fs::remove_all(backend.library().layers() / setFolder(id), ec);
  }
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
  SetRow copy{newSetId(name, backend.uniqueNowMs()), name, source->appId, source->locales};
  LocalDatabase& db = backend.db();
  db.insertSet(copy);
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

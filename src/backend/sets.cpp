#include "backend/sets.h"

#include <algorithm>

#include "backend/local_backend.h"

namespace vells::backend {

namespace {

std::vector<std::string> keepInOrder(const std::vector<std::string>& order,
                                     const std::vector<std::string>& wanted) {
  std::vector<std::string> out;
  for (const auto& code : order) {
    if (std::find(wanted.begin(), wanted.end(), code) != wanted.end()) out.push_back(code);
  }
  return out;
}

}  // namespace

JSONValue setsJSON(LocalBackend& backend) {
  JSONValue::Array out;
  for (const SetRow& row : backend.db().loadSets())
    out.push_back(row.json());
  return out;
}

std::vector<PageRow> pagesOf(LocalBackend& backend, const std::string& set) {
  const auto known = backend.catalog().builtinIds();
  std::vector<PageRow> out;
  for (PageRow& row : backend.db().pages(set)) {
    if (row.source == "builtin" && !known.contains(row.builtinId.value_or(row.id))) continue;
    out.push_back(std::move(row));
  }
  return out;
}

std::optional<PageRow> pageOf(LocalBackend& backend, const std::string& set,
                              const std::string& id) {
  for (PageRow& row : pagesOf(backend, set)) {
    if (row.id == id) return std::move(row);
  }
  return std::nullopt;
}

std::optional<std::vector<std::string>> normaliseLocales(const CatalogView& catalog,
                                                         const JSONValue* value) {
  if (!value || !value->isArray() || value->asArray()->empty()) return std::nullopt;
  std::vector<std::string> wanted;
  for (const auto& e : *value->asArray()) {
    if (!e.isString()) return std::nullopt;
    wanted.push_back(*e.asString());
  }
  auto codes = keepInOrder(catalog.storeLocaleCodes(), wanted);
  if (codes.empty()) return std::nullopt;
  return codes;
}

std::vector<std::string> localesOf(LocalBackend& backend, const std::string& set) {
  const CatalogView catalog = backend.catalog();
  const auto store = catalog.storeLocaleCodes();
  for (const SetRow& row : backend.db().loadSets()) {
    if (row.id != set || !row.locales) continue;
    auto codes = keepInOrder(store, *row.locales);
    if (!codes.empty()) return codes;
    break;
  }
  return keepInOrder(store, catalog.localeCodes());
}

JSONValue texts(LocalBackend& backend, const std::string& set) {
  auto parsed = JSONValue::tryParse(backend.db().document(LocalDatabase::Document::texts, set));
  if (parsed && parsed->isObject()) return *parsed;
  return JSONValue::Object{};
}

JSONValue docs(LocalBackend& backend, const std::string& set) {
  return JSONValue::Object{{"texts", backend.db().document(LocalDatabase::Document::texts, set)},
                           {"styles", backend.db().document(LocalDatabase::Document::styles, set)}};
}

std::map<std::string, std::string> overrides(const JSONValue& texts, std::string_view page,
                                             std::string_view locale) {
  std::map<std::string, std::string> out;
  const JSONValue* p = texts.find(page);
  const JSONValue* l = p ? p->find(locale) : nullptr;
  const JSONValue* screen = l ? l->find("screen") : nullptr;
  if (!screen || !screen->isObject()) return out;
  for (const auto& [key, value] : *screen->asObject()) {
    // A map of strings: one entry of another type spoils the whole map.
    if (!value.isString()) return {};
    out.emplace(key, *value.asString());
  }
  return out;
}

}  // namespace vells::backend

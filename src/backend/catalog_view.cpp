#include "backend/catalog_view.h"

namespace vells::backend {

CatalogView::CatalogView(std::shared_ptr<const JSONValue::Object> catalog)
    : catalog_(catalog ? std::move(catalog) : std::make_shared<const JSONValue::Object>()) {}

JSONValue CatalogView::value(const std::string& key) const {
  auto it = catalog_->find(key);
  return it == catalog_->end() ? JSONValue() : it->second;
}

const JSONValue::Array* CatalogView::array(const std::string& key) const {
  auto it = catalog_->find(key);
  return it == catalog_->end() ? nullptr : it->second.asArray();
}

std::optional<std::string> CatalogView::string(const std::string& key) const {
  auto it = catalog_->find(key);
  if (it == catalog_->end() || !it->second.isString()) return std::nullopt;
  return *it->second.asString();
}

std::vector<JSONValue> CatalogView::pages() const {
  std::vector<JSONValue> out;
  if (const auto* list = array("pages")) {
    for (const auto& e : *list) {
      if (e.isObject()) out.push_back(e);
    }
  }
  return out;
}

std::set<std::string> CatalogView::builtinIds() const {
  std::set<std::string> ids;
  for (const auto& page : pages()) {
    if (auto id = page.stringAt("id")) ids.insert(*id);
  }
  return ids;
}

std::optional<std::string> CatalogView::pagesAppId() const {
  return string("pagesAppId");
}
std::optional<std::string> CatalogView::pagesAppName() const {
  return string("pagesAppName");
}

std::vector<std::string> CatalogView::localeCodes() const {
  std::vector<std::string> codes;
  if (const auto* list = array("locales")) {
    for (const auto& e : *list) {
      if (auto code = e.stringAt("code")) codes.push_back(*code);
    }
  }
  return codes;
}

std::vector<std::string> CatalogView::storeLocaleCodes() const {
  std::vector<std::string> codes;
  if (const auto* list = array("storeLocaleCodes")) {
    for (const auto& e : *list) {
      if (e.isString()) codes.push_back(*e.asString());
    }
  }
  return codes;
}

std::set<std::string> CatalogView::files(const std::string& key) const {
  std::set<std::string> names;
  if (const auto* list = array(key)) {
    for (const auto& e : *list) {
      if (auto file = e.stringAt("file")) names.insert(*file);
    }
  }
  return names;
}

}  // namespace vells::backend

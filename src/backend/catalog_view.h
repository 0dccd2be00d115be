#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "document/json_value.h"

namespace vells::backend {

// Typed reads of the catalogue the core script provides. A missing key, or a
// key of another type, reads as empty, so an absent script is just a catalogue
// without pages.
class CatalogView {
 public:
  explicit CatalogView(std::shared_ptr<const JSONValue::Object> catalog);

  const JSONValue::Object& raw() const { return *catalog_; }
  // The value under `key`, or null.
  JSONValue value(const std::string& key) const;

  // Objects of `pages`, as they stand.
  std::vector<JSONValue> pages() const;
  // Every string `id` of `pages`.
  std::set<std::string> builtinIds() const;
  std::optional<std::string> pagesAppId() const;
  std::optional<std::string> pagesAppName() const;
  // The `code` strings of `locales`.
  std::vector<std::string> localeCodes() const;
  std::vector<std::string> storeLocaleCodes() const;
  // The `file` strings of a list of objects such as `fontFiles` or `patterns`.
  std::set<std::string> files(const std::string& key) const;

 private:
  const JSONValue::Array* array(const std::string& key) const;
  std::optional<std::string> string(const std::string& key) const;

  std::shared_ptr<const JSONValue::Object> catalog_;
};

}  // namespace vells::backend

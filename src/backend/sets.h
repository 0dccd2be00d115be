#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "backend/catalog_view.h"
#include "backend/local_database.h"
#include "document/json_value.h"

namespace vells::backend {

class LocalBackend;

// Reads of a set's structure that several route families share.

// Every set, in row order, in its wire form.
JSONValue setsJSON(LocalBackend& backend);
// The set's pages as clients see them: built-in pages the catalogue no longer
// knows are hidden (and come back when it knows them again).
std::vector<PageRow> pagesOf(LocalBackend& backend, const std::string& set);
std::optional<PageRow> pageOf(LocalBackend& backend, const std::string& set, const std::string& id);
// The store codes `value` names, in the catalogue's order; absent when none.
std::optional<std::vector<std::string>> normaliseLocales(const CatalogView& catalog,
                                                         const JSONValue* value);
// The locales a set renders in.
std::vector<std::string> localesOf(LocalBackend& backend, const std::string& set);
// The texts document as an object; anything unreadable is `{}`.
JSONValue texts(LocalBackend& backend, const std::string& set);
// `texts` and `styles` as their raw stored JSON text, the form the core script takes.
JSONValue docs(LocalBackend& backend, const std::string& set);
// texts[page][locale]["screen"] as a string map; empty when any step is missing.
std::map<std::string, std::string> overrides(const JSONValue& texts, std::string_view page,
                                             std::string_view locale);

}  // namespace vells::backend

#include <algorithm>
#include <cstdio>

#include "backend/helpers.h"
#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/sets.h"
#include "rendering/cache_routes.h"
#include "rendering/composite.h"
#include "rendering/zip_writer.h"

namespace vells::rendering {

using backend::LocalBackend;
using backend::Request;
using backend::Response;

std::string exportEntryName(const std::string& folder, std::size_t place, const std::string& page) {
  char number[24];
  std::snprintf(number, sizeof number, "%02zu", place);
  return folder + number + "-" + page + ".png";
}

namespace {

// The page order a locale's entry of the order document asks for; anything
// the script can't turn into a list of ids keeps the set's own order.
std::vector<std::string> orderFor(LocalBackend& b, const JSONValue& orderDoc,
                                  const JSONValue::Array& all, const std::string& locale) {
  const JSONValue* stored = orderDoc.find(locale);
  auto answer = b.core().callJSON(
      "orderedPages", JSONValue::Object{{"all", all}, {"stored", stored ? *stored : JSONValue()}});
  if (answer && answer->isArray()) {
    std::vector<std::string> ids;
    for (const auto& id : *answer->asArray()) {
      if (!id.isString()) break;
      ids.push_back(*id.asString());
    }
    if (ids.size() == answer->asArray()->size()) return ids;
  }
  std::vector<std::string> ids;
  for (const auto& id : all)
    ids.push_back(*id.asString());
  return ids;
}

Response downloadAll(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const std::string set = request.param("set", "default");
  const std::string os = backend::osParam(request);
  const std::string theme = backend::themeParam(request);
  const std::string locale = request.param("locale");

  std::vector<std::string> locales = backend::localesOf(b, set);
  if (!locale.empty()) {
    if (std::find(locales.begin(), locales.end(), locale) == locales.end())
      return Response::text("Unknown locale for this set", 400);
    locales = {locale};
  }
  auto orderDoc =
      JSONValue::tryParse(b.db().document(backend::LocalDatabase::Document::order, set));
  if (!orderDoc || !orderDoc->isObject()) orderDoc = JSONValue::Object{};
  JSONValue::Array all;
  for (const auto& row : backend::pagesOf(b, set))
    all.emplace_back(row.id);

  Compositor c(b, renderer);
  CompositeRequest cr;
  cr.set = set;
  cr.os = os;
  cr.theme = theme;
  ZipWriter zip;
  for (const auto& code : locales) {
    const std::string folder = locale.empty() ? code + "/" : "";
    cr.locale = code;
    const auto order = orderFor(b, *orderDoc, all, code);
    for (std::size_t i = 0; i < order.size(); ++i) {
      cr.page = order[i];
      auto result = c.composite(cr);
      if (!result) continue;
      auto bytes = backend::readFile(result->path);
      if (!bytes) continue;
      zip.add(exportEntryName(folder, i + 1, order[i]), *bytes);
    }
  }
  const std::string base =
      locale.empty() ? set + "-" + os + "-" + theme : set + "-" + locale + "-" + os + "-" + theme;
  Response r;
  r.mime = "application/zip";
  r.body = zip.finish();
  r.headers["Content-Disposition"] = "attachment; filename=\"" + base + ".zip\"";
  return r;
}

}  // namespace

std::vector<backend::Route> exportRoutes(HTMLRenderer& renderer) {
  return {{"GET", "/api/download-all",
           [&renderer](LocalBackend& b, const Request& r) { return downloadAll(renderer, b, r); }}};
}

}  // namespace vells::rendering

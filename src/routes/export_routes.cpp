#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

#include "backend/file_io.h"
#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/request_params.h"
#include "backend/sets.h"
#include "rendering/composite.h"
#include "rendering/zip_writer.h"
#include "routes/cache_routes.h"

namespace vells::routes {

using rendering::CompositeRequest;
using rendering::Compositor;
using rendering::HTMLRenderer;
using rendering::ZipWriter;

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

struct ArchiveEntry {
  std::string locale, page, name;
};

// Renders the entries on `workers` threads and hands each image to `add` in
// the entries' order, so the archive is the one a render one by one would
// make, while only the images not added yet are held. The first error stops
// the work and is thrown once every thread is done.
void renderInOrder(const std::vector<ArchiveEntry>& entries, int workers,
                   const std::function<std::optional<std::string>(const ArchiveEntry&)>& render,
                   const std::function<void(const ArchiveEntry&, const std::string&)>& add) {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::optional<std::optional<std::string>>> done(entries.size());
  std::size_t next = 0;
  std::exception_ptr error;
  auto work = [&] {
    for (;;) {
      std::size_t i = 0;
      {
        std::lock_guard<std::mutex> lock(mutex);
        if (error || next == entries.size()) return;
        i = next++;
      }
      std::optional<std::string> bytes;
      std::exception_ptr failed;
      try {
        bytes = render(entries[i]);
      } catch (...) {
        failed = std::current_exception();
      }
      {
        std::lock_guard<std::mutex> lock(mutex);
        if (failed && !error) error = failed;
        done[i] = std::move(bytes);
      }
      changed.notify_all();
    }
  };
  {
    std::vector<std::jthread> threads;
    for (int k = 0; k < std::max(workers, 1); ++k)
      threads.emplace_back(work);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      std::optional<std::string> bytes;
      {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return done[i].has_value() || error; });
        if (error) break;
        bytes = std::move(*done[i]);
        done[i].emplace();  // added: keep the mark, drop the bytes
      }
      if (bytes) add(entries[i], *bytes);
    }
  }
  if (error) std::rethrow_exception(error);
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

  std::vector<ArchiveEntry> entries;
  for (const auto& code : locales) {
    const std::string folder = locale.empty() ? code + "/" : "";
    const auto order = orderFor(b, *orderDoc, all, code);
    for (std::size_t i = 0; i < order.size(); ++i)
      entries.push_back({code, order[i], exportEntryName(folder, i + 1, order[i])});
  }
  Compositor c(b, renderer);
  CompositeRequest common;
  common.set = set;
  common.os = os;
  common.theme = theme;
  ZipWriter zip;
  renderInOrder(
      entries, renderer.maxSlots(),
      [&](const ArchiveEntry& e) -> std::optional<std::string> {
        CompositeRequest cr = common;
        cr.page = e.page;
        cr.locale = e.locale;
        auto result = c.composite(cr);
        if (!result) return std::nullopt;
        return backend::readFile(result->path);
      },
      [&](const ArchiveEntry& e, const std::string& bytes) { zip.add(e.name, bytes); });
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

}  // namespace vells::routes

#include "routes/cache_routes.h"

#include <filesystem>
#include <memory>

#include "backend/local_backend.h"
#include "backend/request_params.h"
#include "backend/sets.h"
#include "rendering/composite.h"
#include "rendering/warm_jobs.h"

namespace vells::routes {

using rendering::CompositeRequest;
using rendering::Compositor;
using rendering::HTMLRenderer;
using rendering::WarmJobs;

namespace fs = std::filesystem;
using backend::LocalBackend;
using backend::Request;
using backend::Response;

namespace {

struct CacheQuery {
  std::string set, os, theme;
  explicit CacheQuery(const Request& r)
      : set(r.param("set", "default")), os(backend::osParam(r)), theme(backend::themeParam(r)) {}
  std::string key() const { return set + "|" + os + "|" + theme; }
  CompositeRequest composite() const {
    CompositeRequest r;
    r.set = set;
    r.os = os;
    r.theme = theme;
    return r;
  }
};

Response galleryStatus(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const CacheQuery q(request);
  const auto locales = backend::localesOf(b, q.set);
  const auto pages = backend::pagesOf(b, q.set);
  Compositor c(b, renderer);
  JSONValue::Array ready;
  CompositeRequest cr = q.composite();
  cr.check = true;
  for (const auto& locale : locales) {
    cr.locale = locale;
    for (const auto& page : pages) {
      cr.page = page.id;
      auto result = c.composite(cr);
      if (result && result->ready) ready.emplace_back(locale + ":" + page.id);
    }
  }
  bool rendering = false;
  {
    std::lock_guard<std::mutex> guard(b.lock());
    rendering = b.warming().count(q.key()) > 0;
  }
  return Response::json(
      JSONValue::Object{{"ready", std::move(ready)},
                        {"total", static_cast<std::int64_t>(locales.size() * pages.size())},
                        {"rendering", rendering}});
}

// Thumbnails (and the captures they need) of every page in every locale, one
// after another, so a job holds at most one slot.
void warmAll(HTMLRenderer& renderer, LocalBackend& b, const CacheQuery& q,
             const std::vector<std::string>& locales, const std::vector<std::string>& pages,
             bool interactive, const WarmJobs::ShouldStop& shouldStop) {
  Compositor c(b, renderer);
  CompositeRequest cr = q.composite();
  cr.background = !interactive;
  cr.thumbOnly = true;
  for (const auto& locale : locales) {
    for (const auto& page : pages) {
      if (shouldStop()) return;
      cr.locale = locale;
      cr.page = page;
      // One failing page must not keep the rest of the set cold; nobody
      // waits for this answer, so the log is where the failure goes.
      try {
        c.composite(cr);
      } catch (const std::exception& e) {
        b.log().warning("Couldn't prepare " + page + " (" + locale + ", " + q.os + ", " + q.theme +
                        ") of the set " + q.set + ": " + e.what());
      } catch (...) {
        b.log().warning("Couldn't prepare " + page + " (" + locale + ") of the set " + q.set +
                        ": an unexpected error stopped it.");
      }
    }
  }
}

Response warm(HTMLRenderer& renderer, WarmJobs& jobs, LocalBackend& b, const Request& request) {
  const CacheQuery q(request);
  const std::string key = q.key();
  {
    std::lock_guard<std::mutex> guard(b.lock());
    if (!b.warming().insert(key).second)
      return Response::json(JSONValue::Object{{"started", false}, {"reason", "already warming"}});
  }
  auto forget = [&b, key] {
    std::lock_guard<std::mutex> guard(b.lock());
    b.warming().erase(key);
  };
  std::vector<std::string> locales;
  std::vector<std::string> pages;
  try {
    locales = backend::localesOf(b, q.set);
    for (const auto& row : backend::pagesOf(b, q.set))
      pages.push_back(row.id);
  } catch (...) {
    forget();
    throw;
  }
  const bool interactive = request.param("priority") == "interactive";
  const auto combinations = static_cast<std::int64_t>(locales.size() * pages.size());
  auto job = [&renderer, &b, q, locales, pages, interactive,
              forget](const WarmJobs::ShouldStop& shouldStop) {
    warmAll(renderer, b, q, locales, pages, interactive, shouldStop);
    forget();
  };
  try {
    jobs.start(interactive ? WarmJobs::Priority::interactive : WarmJobs::Priority::utility,
               std::move(job));
  } catch (...) {
    forget();  // a job that never ran must not block the next warm-up
    throw;
  }
  return Response::json(JSONValue::Object{{"started", true}, {"combinations", combinations}});
}

Response regenerate(LocalBackend& b, const Request& request) {
  const CacheQuery q(request);
  const std::string part = "-" + q.os + "-" + q.theme + "-";
  const std::string own = q.set + "-";
  const std::string composite = "composite-" + q.set + "-";
  std::int64_t removed = 0;
  // Listed first, deleted after: removing entries while reading a folder may skip some.
  std::vector<fs::path> doomed;
  std::error_code ec;
  for (fs::directory_iterator it(b.library().output(), ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (!name.starts_with(own) && !name.starts_with(composite)) continue;
    if (name.find(part) != std::string::npos) doomed.push_back(it->path());
  }
  for (const auto& file : doomed) {
    std::error_code removeError;
    if (fs::remove(file, removeError)) ++removed;
  }
  return Response::json(JSONValue::Object{{"removed", removed}});
}

}  // namespace

std::vector<backend::Route> cacheRoutes(HTMLRenderer& renderer) {
  // Shared by every copy of the route table; its end waits for running jobs.
  auto jobs = std::make_shared<WarmJobs>();
  return {
      {"GET", "/api/gallery-status",
       [&renderer](LocalBackend& b, const Request& r) { return galleryStatus(renderer, b, r); }},
      {"POST", "/api/warm",
       [&renderer, jobs](LocalBackend& b, const Request& r) {
         return warm(renderer, *jobs, b, r);
       }},
      {"POST", "/api/regenerate", &regenerate}};
}

}  // namespace vells::routes

#include "routes/cache_routes.h"

#include <filesystem>
#include <memory>

#include "backend/local_backend.h"
#include "backend/request_params.h"
#include "backend/sets.h"
#include "rendering/composite.h"

namespace vells::routes {

using rendering::CompositeRequest;
using rendering::Compositor;
using rendering::HTMLRenderer;

namespace fs = std::filesystem;
using backend::LocalBackend;
using backend::Request;
using backend::Response;
using platform::Priority;

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
// task after another on the backend's executor, so a job holds at most one
// slot and interactive work queued meanwhile goes between its pages.
struct WarmJob {
  HTMLRenderer& renderer;
  LocalBackend& backend;
  CacheQuery query;
  std::vector<std::string> locales, pages;
  Priority priority;
  std::size_t next = 0;  // only the job's current task touches it

  void forget() const {
    std::lock_guard<std::mutex> guard(backend.lock());
    backend.warming().erase(query.key());
  }
};

void warmNext(const std::shared_ptr<WarmJob>& job, const std::stop_token& stop) {
  const std::size_t total = job->locales.size() * job->pages.size();
  if (!stop.stop_requested() && job->next < total) {
    CompositeRequest cr = job->query.composite();
    cr.priority = job->priority;
    cr.thumbOnly = true;
    cr.locale = job->locales[job->next / job->pages.size()];
    cr.page = job->pages[job->next % job->pages.size()];
    ++job->next;
    // One failing page must not keep the rest of the set cold; nobody
    // waits for this answer, so the log is where the failure goes.
    const CacheQuery& q = job->query;
    try {
      Compositor(job->backend, job->renderer).composite(cr);
    } catch (const std::exception& e) {
      job->backend.log().warning("Couldn't prepare " + cr.page + " (" + cr.locale + ", " + q.os +
                                 ", " + q.theme + ") of the set " + q.set + ": " + e.what());
    } catch (...) {
      job->backend.log().warning("Couldn't prepare " + cr.page + " (" + cr.locale +
                                 ") of the set " + q.set + ": an unexpected error stopped it.");
    }
    auto rest = [job](const std::stop_token& s) { warmNext(job, s); };
    if (job->next < total && job->backend.work().post(job->priority, std::move(rest))) return;
  }
  job->forget();
}

Response warm(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const CacheQuery q(request);
  const std::string key = q.key();
  {
    std::lock_guard<std::mutex> guard(b.lock());
    if (!b.warming().insert(key).second)
      return Response::json(JSONValue::Object{{"started", false}, {"reason", "already warming"}});
  }
  const Priority priority =
      request.param("priority") == "interactive" ? Priority::interactive : Priority::background;
  auto job = std::make_shared<WarmJob>(WarmJob{renderer, b, q, {}, {}, priority});
  try {
    job->locales = backend::localesOf(b, q.set);
    for (const auto& row : backend::pagesOf(b, q.set))
      job->pages.push_back(row.id);
  } catch (...) {
    job->forget();
    throw;
  }
  const auto combinations = static_cast<std::int64_t>(job->locales.size() * job->pages.size());
  if (!b.work().post(priority, [job](const std::stop_token& s) { warmNext(job, s); })) {
    job->forget();  // a job that never ran must not block the next warm-up
    throw std::runtime_error("The library is closing; warm-ups are no longer started.");
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
  return {
      {"GET", "/api/gallery-status",
       [&renderer](LocalBackend& b, const Request& r) { return galleryStatus(renderer, b, r); }},
      {"POST", "/api/warm",
       [&renderer](LocalBackend& b, const Request& r) { return warm(renderer, b, r); }},
      {"POST", "/api/regenerate", &regenerate}};
}

}  // namespace vells::routes

#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "backend/catalog_view.h"
#include "backend/core_script.h"
#include "backend/local_database.h"
#include "backend/local_library.h"
#include "backend/messages.h"
#include "backend/routes.h"
#include "platform/log.h"
#include "platform/work/executor.h"

namespace vells::backend {

// The in-process web service that owns the library. Callers hand it a Request
// and get a Response; nothing listens on a socket. Safe to call from any number
// of threads at once.
//
// Blocking: handle() runs the route on the calling thread and returns when it
// is done; routes that render wait for a render slot and for the script.
// Work a route only starts (a warm-up) runs on work() and never holds handle().
class LocalBackend {
 public:
  static constexpr std::string_view baseURL = "vells://local";

  // `more` adds the routes of the layers above, which the backend can't know.
  // `workers` threads run background work; as many as render slots keeps
  // every slot busy without queueing work in front of them.
  LocalBackend(LocalLibrary library, std::shared_ptr<CoreScript> core, RouteFamilies more = {},
               int workers = 2);
  LocalBackend(const LocalBackend&) = delete;
  LocalBackend& operator=(const LocalBackend&) = delete;

  // Opens the library once; a failure is kept and rethrown, never retried.
  void start();
  // The one public entry; every outcome, failures included, is a Response.
  Response handle(const Request& request) noexcept;

  // The open database (starting first if need be).
  LocalDatabase& db();
  const LocalLibrary& library() const { return library_; }
  CoreScript& core() { return *core_; }
  CatalogView catalog() { return CatalogView(core_->catalog()); }
  // Where failures nobody waits for are reported (background renders);
  // stderr until the front door sets its own handler.
  platform::Log& log() { return log_; }

  // Parses a request body: empty is `{}`, bad text is the 400 "Bad JSON body".
  static JSONValue json(std::string_view bytes);

  // Milliseconds since 1970, strictly increasing within this process, so two
  // sets made in the same millisecond still get different ids.
  std::int64_t uniqueNowMs();

  // Keys of render warm-ups in flight, guarded by the start lock.
  std::mutex& lock() { return lock_; }
  std::set<std::string>& warming() { return warming_; }

  // Where warm-ups and the pages of an export run. Its end, first of the
  // backend's, lets running work finish while the library is still open.
  platform::Executor& work() { return *work_; }

 private:
  Response route(const Request& request);
  void upgrade(LocalDatabase& db);

  LocalLibrary library_;
  std::shared_ptr<CoreScript> core_;
  std::mutex lock_;
  std::unique_ptr<LocalDatabase> dbHandle_;
  std::exception_ptr startupError_;
  std::set<std::string> warming_;
  std::atomic<std::int64_t> lastIdMs_{0};
  platform::Log log_;

  std::unordered_map<std::string, RouteHandler> exact_;
  std::vector<PrefixRoute> prefixes_;
  // Last: destroyed first, so no task outlives what it works with.
  std::unique_ptr<platform::Executor> work_;
};

}  // namespace vells::backend

#include "backend/local_backend.h"

#include <filesystem>

#include "backend/ids.h"

namespace vells::backend {

namespace {

std::string routeKey(std::string_view method, std::string_view path) {
  std::string key(method);
  key.push_back(' ');
  key.append(path);
  return key;
}

Response health(LocalBackend&, const Request&) {
  return Response::json(JSONValue::Object{{"ok", true}});
}

}  // namespace

std::vector<Route> coreRoutes() {
  return {{"GET", "/health", &health}};
}

LocalBackend::LocalBackend(LocalLibrary library, std::shared_ptr<CoreScript> core,
                           RouteFamilies more, int workers)
    : library_(std::move(library)),
      core_(core ? std::move(core) : std::make_shared<AbsentCoreScript>()),
      work_(std::make_unique<platform::Executor>(workers)) {
  RouteFamilies apps = appsRoutes();
  for (const auto& family :
       {coreRoutes(), setsRoutes(), imageRoutes(), stickerRoutes(), apps.exact, more.exact}) {
    for (const Route& r : family)
      exact_.emplace(routeKey(r.method, r.path), r.handler);
  }
  prefixes_ = std::move(more.prefixes);
  for (PrefixRoute& p : apps.prefixes)
    prefixes_.push_back(std::move(p));
  for (PrefixRoute& p : assetRoutes())
    prefixes_.push_back(std::move(p));
}

void LocalBackend::start() {
  std::lock_guard guard(lock_);
  if (dbHandle_) return;
  if (startupError_) std::rethrow_exception(startupError_);
  try {
    std::error_code ec;
    const bool firstRun = !std::filesystem::exists(library_.databasePath(), ec);
    library_.prepare();
    if (firstRun) {
      if (auto repo = LocalLibrary::findRepo()) library_.importRepo(*repo);
    }
    dbHandle_ = std::make_unique<LocalDatabase>(library_.databasePath());
    (void)core_->catalog();  // loads the script while the lock is held
    upgrade(*dbHandle_);
  } catch (...) {
    startupError_ = std::current_exception();
    throw;
  }
}

void LocalBackend::upgrade(LocalDatabase& db) {
  if (db.version() >= 1) return;
  std::vector<PageRow> seed;
  for (const JSONValue& entry : catalog().pages()) {
    auto id = entry.stringAt("id");
    if (!id) continue;
    seed.push_back(PageRow{*id, entry.stringAt("label").value_or(*id), "builtin", *id});
  }
  for (const SetRow& set : db.loadSets()) {
    if (db.pages(set.id).empty()) db.savePages(set.id, seed);
  }
  db.setVersion(1);
}

LocalDatabase& LocalBackend::db() {
  start();
  return *dbHandle_;
}

Response LocalBackend::handle(const Request& request) noexcept {
  try {
    start();
    return route(request);
  } catch (const Failure& failure) {
    return failure.response();
  } catch (const std::exception& e) {
    return Response::text(e.what(), 500);
  } catch (...) {
    return Response::text("An unexpected error stopped the request.", 500);
  }
}

Response LocalBackend::route(const Request& request) {
  auto it = exact_.find(routeKey(request.method, request.path));
  if (it != exact_.end()) return it->second(*this, request);
  for (const PrefixRoute& p : prefixes_) {
    if (request.method == p.method && request.path.starts_with(p.prefix)) {
      return p.handler(*this, request, std::string_view(request.path).substr(p.prefix.size()));
    }
  }
  return Response::notFound();
}

JSONValue LocalBackend::json(std::string_view bytes) {
  if (bytes.empty()) return JSONValue::Object{};
  try {
    return JSONValue::parse(bytes);
  } catch (const JSONParseError&) {
    throw Failure(400, "Bad JSON body");
  }
}

std::int64_t LocalBackend::uniqueNowMs() {
  std::int64_t now = nowMs();
  std::int64_t last = lastIdMs_.load();
  std::int64_t next;
  do {
    next = now > last ? now : last + 1;
  } while (!lastIdMs_.compare_exchange_weak(last, next));
  return next;
}

}  // namespace vells::backend

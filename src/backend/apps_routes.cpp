#include <filesystem>

#include "backend/apps.h"
#include "backend/content_name.h"
#include "backend/ids.h"
#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/routes.h"

namespace vells::backend {

namespace fs = std::filesystem;

namespace {

JSONValue bodyObject(const Request& request) {
  JSONValue body = LocalBackend::json(request.body);
  return body.isObject() ? body : JSONValue::Object{};
}

Response lookupApp(LocalBackend&, const Request& request) {
  const JSONValue body = bodyObject(request);
  const auto id = appIdFromLink(body.stringAt("url").value_or(""));
  if (!id) {
    throw Failure(400, "Could not parse App ID from URL \u2014 expected \u2026/id<number>");
  }
  auto info = app_store::info(*id);
  if (!info) throw Failure(404, "No App Store app with id " + *id);
  return Response::json(JSONValue::Object{{"appId", *id}, {"info", std::move(*info)}});
}

// A listed app as a client looked it up: `info` is kept as sent.
Response saveApp(LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  const auto appId = body.stringAt("appId");
  if (!appId) throw Failure(400, "Missing appId");
  const JSONValue* info = body.find("info");
  backend.db().saveApp(
      AppRow{*appId, info && info->isObject() ? *info->asObject() : JSONValue::Object{}, nowMs()});
  return Response::json(JSONValue::Object{{"ok", true}, {"seeded", JSONValue::Array{}}});
}

Response addUnlisted(LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  const std::string name = trimBlanksAndTabs(body.stringAt("name").value_or(""));
  if (name.empty()) throw Failure(400, "Missing name");
  // Unique within the process, so two apps of one name added in the same
  // millisecond don't share an id.
  const std::int64_t now = backend.uniqueNowMs();
  const std::string id = unlistedAppId(name, now);
  JSONValue::Object info{{"name", name},
                         {"developer", trimBlanksAndTabs(body.stringAt("developer").value_or(""))},
                         {"unlisted", true}};
  if (const JSONValue* profile = body.find("profile")) {
    if (auto cleaned = cleanProfile(*profile)) info["profile"] = std::move(*cleaned);
  }
  backend.db().saveApp(AppRow{id, info, now});
  return Response::json(JSONValue::Object{{"ok", true}, {"appId", id}, {"info", std::move(info)}});
}

Response updateApp(LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  const auto appId = body.stringAt("appId");
  std::optional<AppRow> row = appId ? backend.db().app(*appId) : std::nullopt;
  if (!row) throw Failure(404, "No such app");
  JSONValue::Object& info = row->info;

  // A listed app's facts are the store's; only the profile is the user's.
  if (!isListed(row->appId)) {
    if (auto name = body.stringAt("name")) {
      std::string trimmed = trimBlanksAndTabs(*name);
      if (trimmed.empty()) throw Failure(400, "The name can\u2019t be empty");
      info["name"] = std::move(trimmed);
    }
    if (auto developer = body.stringAt("developer"))
      info["developer"] = trimBlanksAndTabs(*developer);
    // Only icons this library serves: an outside address would make every
    // render depend on the network.
    if (const JSONValue* icon = body.find("icon")) {
      if (icon->isNull()) {
        info.erase("icon");
      } else if (icon->isString() && icon->asString()->starts_with(appIconPath)) {
        info["icon"] = *icon;
      }
    }
  }
  if (const JSONValue* profile = body.find("profile")) {
    if (auto cleaned = cleanProfile(*profile)) {
      info["profile"] = std::move(*cleaned);
    } else {
      info.erase("profile");
    }
  }
  backend.db().saveApp(*row);
  return Response::json(JSONValue::Object{{"ok", true}, {"info", info}});
}

// Each refusal has its own words, so the tests run in a fixed order.
Response linkApp(LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  const auto target = appIdFromLink(body.stringAt("url").value_or(""));
  if (!target) {
    throw Failure(
        400, "That doesn\u2019t look like an App Store link \u2014 expected \u2026/id<number>");
  }
  const auto appId = body.stringAt("appId");
  const std::optional<AppRow> row = appId ? backend.db().app(*appId) : std::nullopt;
  if (!row) throw Failure(404, "No such app");
  if (isListed(row->appId)) throw Failure(400, "This app is already on the App Store");
  if (backend.db().app(*target)) {
    throw Failure(409, "That App Store app is already added \u2014 delete one of the two first");
  }
  auto info = app_store::info(*target);
  if (!info) throw Failure(502, "Couldn\u2019t load that app from the App Store");
  if (auto profile = row->info.find("profile"); profile != row->info.end()) {
    (*info)["profile"] = profile->second;
  }
  // Sets point at their app, and deleting an app unfiles its sets: the new row
  // has to exist before the sets move, and they have to move before the old
  // row goes.
  LocalDatabase& db = backend.db();
  db.saveApp(AppRow{*target, *info, nowMs()});
  db.refileSets(row->appId, *target);
  db.deleteApp(row->appId);
  return Response::json(
      JSONValue::Object{{"ok", true}, {"appId", *target}, {"info", std::move(*info)}});
}

// The app's sets stay, unfiled; its icon stays on disk, as icons are shared by content.
Response deleteApp(LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  if (auto appId = body.stringAt("appId")) backend.db().deleteApp(*appId);
  return Response::ok();
}

// Wider than mimeToExt: any type that mentions the format will do.
std::string iconExtension(std::string_view contentType) {
  if (contentType.find("jpeg") != std::string_view::npos ||
      contentType.find("jpg") != std::string_view::npos) {
    return "jpg";
  }
  if (contentType.find("webp") != std::string_view::npos) return "webp";
  return "png";
}

Response uploadAppIcon(LocalBackend& backend, const Request& request) {
  if (request.body.empty()) throw Failure(400, "Empty image");
  if (request.body.size() > maxImageBytes) throw Failure(413, "Image too large");
  const std::string name = sha(request.body) + "." + iconExtension(request.contentType);
  const fs::path folder = backend.library().appIcons();
  fs::create_directories(folder);
  const fs::path file = folder / name;
  // Named by content: an existing file already holds these bytes.
  if (!fs::exists(file)) writeFileAtomically(file, request.body);
  return Response::json(JSONValue::Object{{"ok", true}, {"icon", std::string(appIconPath) + name}});
}

// ^[a-f0-9]{32}\.(png|jpg|webp)$, which leaves no room for a separator.
bool isIconName(std::string_view name) {
  if (name.size() < 33 || name[32] != '.') return false;
  for (char c : name.substr(0, 32)) {
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  }
  const std::string_view ext = name.substr(33);
  return ext == "png" || ext == "jpg" || ext == "webp";
}

Response appIcon(LocalBackend& backend, const Request&, std::string_view name) {
  if (!isIconName(name)) return Response::notFound();
  return serveImage(backend.library().appIcons() / std::string(name), true);
}

}  // namespace

RouteFamilies appsRoutes() {
  return {{
              {"POST", "/api/orvo/lookup", &lookupApp},
              {"POST", "/api/orvo/apps/save", &saveApp},
              {"POST", "/api/orvo/apps/unlisted", &addUnlisted},
              {"POST", "/api/orvo/apps/update", &updateApp},
              {"POST", "/api/orvo/apps/link", &linkApp},
              {"POST", "/api/orvo/apps/delete", &deleteApp},
              {"POST", "/api/orvo/app-icon", &uploadAppIcon},
          },
          {
              {"GET", appIconPath, &appIcon},
          }};
}

}  // namespace vells::backend

#include "models/api_client.h"

#include <QMetaObject>
#include <QThread>
#include <cmath>

#include "backend/local_backend.h"
#include "backend/url_request.h"
#include "document/json_fields.h"

namespace vells::models {

namespace {

using backend::Request;
using backend::Response;

// A required array member, each element read by `decode`.
template <class T>
std::vector<T> arrayAt(const JSONValue& json, std::string_view key, T (*decode)(const JSONValue&)) {
  const JSONValue* member = json.find(key);
  if (!member || !member->isArray())
    throw JSONDecodeError("The answer has no list “" + std::string(key) + "”.");
  std::vector<T> out;
  for (const JSONValue& item : *member->asArray())
    out.push_back(decode(item));
  return out;
}

// `error` in a 200 answer is the route's failure in words.
void throwIfError(const JSONValue& json) {
  if (auto error = json.stringAt("error")) throw APIError::http(400, *error);
}

std::string required(const JSONValue& json, std::string_view key, const char* missing) {
  throwIfError(json);
  if (auto value = json.stringAt(key)) return *value;
  throw APIError::http(400, missing);
}

Done dropped(const JSONValue&) {
  return {};
}

JSONValue strings(const std::vector<std::string>& values) {
  JSONValue::Array out;
  for (const auto& v : values)
    out.emplace_back(v);
  return out;
}

std::string str(DeviceOS os) {
  return std::string(rawValue(os));
}
std::string str(ThemeName theme) {
  return std::string(rawValue(theme));
}

bool existsOf(const JSONValue& json) {
  return ExistsResponse::decode(json).exists;
}

}  // namespace

const std::string& checkedBody(const Response& response) {
  if (response.status < 200 || response.status > 299) {
    throw APIError::http(response.status, response.body);
  }
  return response.body;
}

JSONValue replyJSON(const Response& response) {
  auto json = JSONValue::tryParse(checkedBody(response));
  if (!json) throw APIError::badReply("it isn’t JSON.");
  return std::move(*json);
}

APIClient::APIClient(APITransport transport, ModelClock& clock, QObject* parent)
    : QObject(parent), transport_(std::move(transport)), clock_(clock) {
  pool_.setMaxThreadCount(maxConcurrent);
}

APIClient::~APIClient() {
  pool_.clear();
  pool_.waitForDone();
}

std::optional<std::string> APIClient::url(std::string_view path, const Query& query) {
  if (path.empty() || path.front() != '/') return std::nullopt;
  std::string out(backend::LocalBackend::baseURL);
  for (char c : path) {
    // Slashes keep their meaning; everything else stands as written.
    out += c == '/' ? std::string(1, c) : backend::percentEncode(std::string_view(&c, 1));
  }
  char separator = '?';
  for (const auto& [name, value] : query) {  // a sorted map: one address per query
    if (!value) continue;
    out += separator;
    out += backend::percentEncode(name);
    out += '=';
    out += backend::percentEncode(*value);
    separator = '&';
  }
  return out;
}

void APIClient::run(QObject* receiver, std::function<std::any()> work,
                    std::function<void(std::any)> deliver, std::function<void(APIError)> fail) {
  Q_ASSERT(QThread::currentThread() == thread());
  const std::uint64_t id = nextId_++;
  Pending& p = pending_[id];
  p.receiver = receiver;
  p.tied = receiver != nullptr;
  p.deliver = std::move(deliver);
  p.fail = std::move(fail);
  p.deadline = clock_.after(timeout, this, [this, id] { expire(id); });
  pool_.start([this, id, work = std::move(work)] {
    std::any result = work();
    QMetaObject::invokeMethod(
        this, [this, id, result = std::move(result)]() mutable { finish(id, std::move(result)); },
        Qt::QueuedConnection);
  });
}

void APIClient::finish(std::uint64_t id, std::any result) {
  auto it = pending_.find(id);
  if (it == pending_.end()) return;  // timed out: the late answer is dropped
  Pending p = std::move(it->second);
  pending_.erase(it);
  if (p.tied && !p.receiver) return;
  p.deliver(std::move(result));
}

void APIClient::expire(std::uint64_t id) {
  auto it = pending_.find(id);
  if (it == pending_.end()) return;
  Pending p = std::move(it->second);
  pending_.erase(it);
  if (p.tied && !p.receiver) return;
  p.fail(APIError::timedOut(static_cast<int>(timeout.count())));
}

template <class T>
void APIClient::json(const char* method, std::string_view path, const Query& query,
                     std::optional<JSONValue> body, QObject* receiver,
                     std::function<T(const JSONValue&)> read, Reply<T> reply) {
  auto address = url(path, query);
  std::string bytes = body ? body->dump() : std::string();
  std::string contentType = body ? "application/json" : "";
  Request request = backend::requestFromURL(address.value_or(""), method, std::move(bytes),
                                            std::move(contentType));
  call<T>(
      std::move(request), receiver,
      [ok = address.has_value(), read = std::move(read)](const Response& response) -> T {
        if (!ok) throw APIError::noServer();
        return read(replyJSON(response));
      },
      std::move(reply));
}

template <class T>
void APIClient::raw(std::string_view path, const Query& query, std::string bytes,
                    const std::string& mime, QObject* receiver,
                    std::function<T(const JSONValue&)> read, Reply<T> reply) {
  auto address = url(path, query);
  Request request = backend::requestFromURL(address.value_or(""), "POST", std::move(bytes), mime);
  call<T>(
      std::move(request), receiver,
      [ok = address.has_value(), read = std::move(read)](const Response& response) -> T {
        if (!ok) throw APIError::noServer();
        return read(replyJSON(response));
      },
      std::move(reply));
}

// --- primitives ---

void APIClient::open(QObject* receiver, Reply<Done> reply) {
  auto shared = std::make_shared<Reply<Done>>(std::move(reply));
  run(
      receiver,
      [start = transport_.start]() -> std::any {
        try {
          start();
          return APIResult<Done>(Done{});
        } catch (const std::exception& e) {
          return APIResult<Done>(APIError::http(503, e.what()));
        } catch (...) {
          return APIResult<Done>(APIError::noServer());
        }
      },
      [shared](std::any result) { (*shared)(std::any_cast<APIResult<Done>&&>(std::move(result))); },
      [shared](APIError error) { (*shared)(APIResult<Done>(std::move(error))); });
}

void APIClient::data(Request request, QObject* receiver, Reply<std::string> reply) {
  call<std::string>(
      std::move(request), receiver, [](const Response& response) { return checkedBody(response); },
      std::move(reply));
}

void APIClient::getJSON(std::string_view path, const Query& query, QObject* receiver,
                        Reply<JSONValue> reply) {
  json<JSONValue>(
      "GET", path, query, std::nullopt, receiver, [](const JSONValue& j) { return j; },
      std::move(reply));
}

void APIClient::postJSON(std::string_view path, const Query& query, std::optional<JSONValue> body,
                         QObject* receiver, Reply<JSONValue> reply) {
  json<JSONValue>(
      "POST", path, query, std::move(body), receiver, [](const JSONValue& j) { return j; },
      std::move(reply));
}

void APIClient::download(const std::string& address, QObject* receiver, Reply<Download> reply) {
  call<Download>(
      backend::requestFromURL(address, "GET"), receiver,
      [](const Response& response) {
        return Download{checkedBody(response), response.mime};
      },
      std::move(reply));
}

void APIClient::uploadRaw(const std::string& address, std::string bytes, const std::string& mime,
                          QObject* receiver, Reply<Done> reply) {
  call<Done>(
      backend::requestFromURL(address, "POST", std::move(bytes), mime), receiver,
      [](const Response& response) {
        checkedBody(response);
        return Done{};
      },
      std::move(reply));
}

// --- operations ---

void APIClient::config(QObject* receiver, Reply<AppConfig> reply) {
  json<AppConfig>("GET", "/api/config", {}, std::nullopt, receiver, &AppConfig::decode,
                  std::move(reply));
}

void APIClient::pages(const std::string& set, QObject* receiver,
                      Reply<std::vector<SetPage>> reply) {
  json<std::vector<SetPage>>(
      "GET", "/api/pages", {{"set", set}}, std::nullopt, receiver,
      [](const JSONValue& j) { return arrayAt(j, "pages", &SetPage::decode); }, std::move(reply));
}

void APIClient::savePages(const std::string& set, const std::vector<SetPage>& pages,
                          QObject* receiver, Reply<Done> reply) {
  JSONValue::Array list;
  for (const SetPage& page : pages)
    list.push_back(page.encode());
  json<Done>(
      "POST", "/api/pages", {{"set", set}}, JSONValue::Object{{"pages", std::move(list)}}, receiver,
      [](const JSONValue& j) {
        throwIfError(j);
        return Done{};
      },
      std::move(reply));
}

void APIClient::texts(const std::string& set, QObject* receiver, Reply<TextsDocument> reply) {
  json<TextsDocument>("GET", "/api/texts", {{"set", set}}, std::nullopt, receiver,
                      &decodeTextsDocument, std::move(reply));
}

void APIClient::saveTexts(const std::string& set, const TextsDocument& texts, QObject* receiver,
                          Reply<Done> reply) {
  json<Done>("POST", "/api/texts", {{"set", set}}, encodeTextsDocument(texts), receiver, &dropped,
             std::move(reply));
}

void APIClient::styles(const std::string& set, QObject* receiver, Reply<StylesDocument> reply) {
  json<StylesDocument>("GET", "/api/styles", {{"set", set}}, std::nullopt, receiver,
                       &decodeStylesDocument, std::move(reply));
}

void APIClient::saveStyles(const std::string& set, const StylesDocument& styles, QObject* receiver,
                           Reply<Done> reply) {
  json<Done>("POST", "/api/styles", {{"set", set}}, encodeStylesDocument(styles), receiver,
             &dropped, std::move(reply));
}

void APIClient::order(const std::string& set, QObject* receiver, Reply<OrderDocument> reply) {
  json<OrderDocument>("GET", "/api/order", {{"set", set}}, std::nullopt, receiver,
                      &decodeOrderDocument, std::move(reply));
}

void APIClient::saveOrder(const std::string& set, const OrderDocument& order, QObject* receiver,
                          Reply<Done> reply) {
  json<Done>("POST", "/api/order", {{"set", set}}, encodeOrderDocument(order), receiver, &dropped,
             std::move(reply));
}

void APIClient::screenSlots(const std::string& set, QObject* receiver,
                            Reply<std::vector<ScreenSlot>> reply) {
  json<std::vector<ScreenSlot>>(
      "GET", "/api/screens", {{"set", set}}, std::nullopt, receiver,
      [](const JSONValue& j) { return arrayAt(j, "screens", &ScreenSlot::decode); },
      std::move(reply));
}

void APIClient::screenTexts(const std::string& set, const std::string& page, DeviceOS os,
                            ThemeName theme, const std::string& locale, QObject* receiver,
                            Reply<ScreenTextsResponse> reply) {
  json<ScreenTextsResponse>(
      "GET", "/api/screen-texts",
      {{"set", set}, {"page", page}, {"os", str(os)}, {"theme", str(theme)}, {"locale", locale}},
      std::nullopt, receiver, &ScreenTextsResponse::decode, std::move(reply));
}

void APIClient::createSet(const std::string& name, const std::optional<std::string>& appId,
                          const std::optional<std::vector<std::string>>& locales, QObject* receiver,
                          Reply<VellSet> reply) {
  JSONValue body = JSONValue::Object{{"name", name},
                                     {"appId", appId ? JSONValue(*appId) : JSONValue(nullptr)},
                                     {"locales", locales ? strings(*locales) : JSONValue(nullptr)}};
  json<VellSet>("POST", "/api/sets", {}, std::move(body), receiver, &VellSet::decode,
                std::move(reply));
}

void APIClient::duplicateSet(const std::string& from, const std::string& name, QObject* receiver,
                             Reply<VellSet> reply) {
  json<VellSet>("POST", "/api/sets/duplicate", {},
                JSONValue::Object{{"from", from}, {"name", name}}, receiver, &VellSet::decode,
                std::move(reply));
}

void APIClient::updateSet(const std::string& id, const std::optional<std::string>& name,
                          const TriState<std::string>& appId,
                          const TriState<std::vector<std::string>>& locales, QObject* receiver,
                          Reply<Done> reply) {
  JSONValue body = JSONValue::Object{{"id", id}};
  if (name) body["name"] = *name;
  if (appId.given()) body["appId"] = appId.isNull() ? JSONValue(nullptr) : JSONValue(appId.value());
  if (locales.given())
    body["locales"] = locales.isNull() ? JSONValue(nullptr) : strings(locales.value());
  json<Done>("PATCH", "/api/sets", {}, std::move(body), receiver, &dropped, std::move(reply));
}

void APIClient::deleteSet(const std::string& id, QObject* receiver, Reply<Done> reply) {
  json<Done>("DELETE", "/api/sets", {{"id", id}}, std::nullopt, receiver, &dropped,
             std::move(reply));
}

void APIClient::lookupApp(const std::string& storeURL, QObject* receiver,
                          Reply<LookedUpApp> reply) {
  json<LookedUpApp>(
      "POST", "/api/orvo/lookup", {}, JSONValue::Object{{"url", storeURL}}, receiver,
      [](const JSONValue& j) {
        throwIfError(j);
        auto appId = j.stringAt("appId");
        const JSONValue* info = j.find("info");
        if (!appId || !info || info->isNull())
          throw APIError::http(400, "The App Store had nothing for that link.");
        return LookedUpApp{*appId, *info};
      },
      std::move(reply));
}

void APIClient::trackApp(const std::string& appId, const JSONValue& info, QObject* receiver,
                         Reply<Done> reply) {
  json<Done>("POST", "/api/orvo/apps/save", {},
             JSONValue::Object{{"appId", appId}, {"info", info}, {"keywords", JSONValue::array()}},
             receiver, &dropped, std::move(reply));
}

void APIClient::updateApp(const std::string& appId, const std::optional<std::string>& name,
                          const std::optional<std::string>& developer,
                          const std::optional<std::string>& icon, bool clearIcon,
                          const JSONValue& profile, QObject* receiver, Reply<Done> reply) {
  JSONValue body = JSONValue::Object{{"appId", appId}, {"profile", profile}};
  if (name) body["name"] = *name;
  if (developer) body["developer"] = *developer;
  if (clearIcon) {
    body["icon"] = nullptr;
  } else if (icon) {
    body["icon"] = *icon;
  }
  json<Done>(
      "POST", "/api/orvo/apps/update", {}, std::move(body), receiver,
      [](const JSONValue& j) {
        throwIfError(j);
        return Done{};
      },
      std::move(reply));
}

void APIClient::linkApp(const std::string& appId, const std::string& storeURL, QObject* receiver,
                        Reply<std::string> reply) {
  json<std::string>(
      "POST", "/api/orvo/apps/link", {}, JSONValue::Object{{"appId", appId}, {"url", storeURL}},
      receiver, [](const JSONValue& j) { return required(j, "appId", "The app wasn’t linked."); },
      std::move(reply));
}

void APIClient::deleteApp(const std::string& appId, QObject* receiver, Reply<Done> reply) {
  json<Done>(
      "POST", "/api/orvo/apps/delete", {}, JSONValue::Object{{"appId", appId}}, receiver,
      [](const JSONValue& j) {
        throwIfError(j);
        return Done{};
      },
      std::move(reply));
}

void APIClient::addUnlistedApp(const std::string& name, const std::string& developer,
                               const JSONValue& profile, QObject* receiver,
                               Reply<std::string> reply) {
  json<std::string>(
      "POST", "/api/orvo/apps/unlisted", {},
      JSONValue::Object{{"name", name}, {"developer", developer}, {"profile", profile}}, receiver,
      [](const JSONValue& j) { return required(j, "appId", "The app wasn’t added."); },
      std::move(reply));
}

void APIClient::uploadAppIcon(std::string bytes, const std::string& mime, QObject* receiver,
                              Reply<std::string> reply) {
  raw<std::string>(
      "/api/orvo/app-icon", {}, std::move(bytes), mime, receiver,
      [](const JSONValue& j) { return required(j, "icon", "The image wasn’t saved."); },
      std::move(reply));
}

void APIClient::uploadLayerAsset(const std::string& set, std::string bytes, const std::string& mime,
                                 QObject* receiver, Reply<std::string> reply) {
  raw<std::string>(
      "/api/layer-asset", {{"set", set}}, std::move(bytes), mime, receiver,
      [](const JSONValue& j) { return required(j, "asset", "The image wasn’t saved."); },
      std::move(reply));
}

void APIClient::renderLayerHTML(const std::string& set, const std::string& html, double width,
                                double height, QObject* receiver, Reply<std::string> reply) {
  json<std::string>(
      "POST", "/api/layer-html", {{"set", set}},
      JSONValue::Object{
          {"html", html}, {"width", std::round(width)}, {"height", std::round(height)}},
      receiver,
      [](const JSONValue& j) {
        if (auto asset = j.stringAt("asset")) return *asset;
        throw APIError::http(400, j.stringAt("error").value_or("No layer came back."));
      },
      std::move(reply));
}

void APIClient::stickerPacks(QObject* receiver, Reply<std::vector<StickerPack>> reply) {
  json<std::vector<StickerPack>>(
      "GET", "/api/sticker-packs", {}, std::nullopt, receiver,
      [](const JSONValue& j) { return arrayAt(j, "packs", &StickerPack::decode); },
      std::move(reply));
}

void APIClient::stickerItems(const std::string& pack, QObject* receiver,
                             Reply<std::vector<StickerItem>> reply) {
  json<std::vector<StickerItem>>(
      "GET", "/api/sticker-packs/items", {{"pack", pack}}, std::nullopt, receiver,
      [](const JSONValue& j) { return arrayAt(j, "items", &StickerItem::decode); },
      std::move(reply));
}

void APIClient::placeSticker(const std::string& set, const std::string& pack,
                             const std::string& file, QObject* receiver, Reply<std::string> reply) {
  json<std::string>(
      "POST", "/api/sticker-packs/place", {{"set", set}, {"pack", pack}, {"file", file}},
      std::nullopt, receiver,
      [](const JSONValue& j) {
        if (auto asset = j.stringAt("asset")) return *asset;
        throw APIError::http(404, j.stringAt("error").value_or("Sticker not found"));
      },
      std::move(reply));
}

void APIClient::addToPack(const std::string& pack, const std::string& name, std::string bytes,
                          const std::string& mime, QObject* receiver, Reply<Done> reply) {
  raw<Done>("/api/sticker-packs/items", {{"pack", pack}, {"name", name}}, std::move(bytes), mime,
            receiver, &dropped, std::move(reply));
}

void APIClient::regenerate(const std::string& set, DeviceOS os, ThemeName theme, QObject* receiver,
                           Reply<std::int64_t> reply) {
  json<std::int64_t>(
      "POST", "/api/regenerate", {{"set", set}, {"os", str(os)}, {"theme", str(theme)}},
      std::nullopt, receiver, [](const JSONValue& j) { return RemovedResponse::decode(j).removed; },
      std::move(reply));
}

void APIClient::warm(const std::string& set, DeviceOS os, ThemeName theme, bool interactive,
                     QObject* receiver, Reply<Done> reply) {
  json<Done>("POST", "/api/warm",
             {{"set", set},
              {"os", str(os)},
              {"theme", str(theme)},
              {"priority", interactive ? std::optional<std::string>("interactive") : std::nullopt}},
             std::nullopt, receiver, &dropped, std::move(reply));
}

void APIClient::galleryStatus(const std::string& set, DeviceOS os, ThemeName theme,
                              QObject* receiver, Reply<GalleryStatus> reply) {
  json<GalleryStatus>("GET", "/api/gallery-status",
                      {{"set", set}, {"os", str(os)}, {"theme", str(theme)}}, std::nullopt,
                      receiver, &GalleryStatus::decode, std::move(reply));
}

void APIClient::textFit(const std::string& set, const std::string& page, DeviceOS os,
                        ThemeName theme, const std::string& locale, QObject* receiver,
                        Reply<JSONValue> reply) {
  getJSON(
      "/api/text-fit",
      {{"set", set}, {"page", page}, {"os", str(os)}, {"theme", str(theme)}, {"locale", locale}},
      receiver, std::move(reply));
}

void APIClient::hasBackground(const std::string& set, const std::string& page, DeviceOS os,
                              QObject* receiver, Reply<bool> reply) {
  json<bool>("GET", "/api/has-background", {{"set", set}, {"page", page}, {"os", str(os)}},
             std::nullopt, receiver, &existsOf, std::move(reply));
}

void APIClient::hasOverlay(const std::string& set, const std::string& page, DeviceOS os,
                           QObject* receiver, Reply<bool> reply) {
  json<bool>("GET", "/api/has-overlay", {{"set", set}, {"page", page}, {"os", str(os)}},
             std::nullopt, receiver, &existsOf, std::move(reply));
}

void APIClient::hasScreen(const std::string& set, const std::string& page, DeviceOS os,
                          const std::string& locale, const std::optional<std::string>& appearance,
                          QObject* receiver, Reply<bool> reply) {
  json<bool>("GET", "/api/has-screen",
             {{"set", set},
              {"page", page},
              {"os", str(os)},
              {"locale", locale},
              {"appearance", appearance}},
             std::nullopt, receiver, &existsOf, std::move(reply));
}

void APIClient::deleteBackground(const std::string& set, const std::string& page, DeviceOS os,
                                 QObject* receiver, Reply<Done> reply) {
  json<Done>("DELETE", "/api/background", {{"set", set}, {"page", page}, {"os", str(os)}},
             std::nullopt, receiver, &dropped, std::move(reply));
}

}  // namespace vells::models

#pragma once

#include <QObject>
#include <QPointer>
#include <QThreadPool>
#include <any>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "backend/messages.h"
#include "document/records.h"
#include "document/vell_style.h"
#include "document/vell_text.h"
#include "models/api_result.h"
#include "models/api_transport.h"
#include "models/model_clock.h"
#include "models/tri_state.h"

namespace vells::models {

// The one door from the models to the library. Each operation builds a
// request, runs it on a pool of at most `maxConcurrent` workers, reads the
// answer there, and hands the result to `reply` on the main thread, provided
// `receiver` (when one is given) still exists. A call that hasn't answered
// within `timeout` fails with APIError::timedOut and its late answer is
// dropped. Call it from the main thread only.
class APIClient : public QObject {
  Q_OBJECT

 public:
  static constexpr int maxConcurrent = 12;
  static constexpr std::chrono::seconds timeout{60};

  // Query items by name; an item without a value is left out.
  using Query = std::map<std::string, std::optional<std::string>, std::less<>>;

  struct Download {
    std::string bytes;
    // "" when the answer names none.
    std::string mime;
  };
  struct LookedUpApp {
    std::string appId;
    JSONValue info;
  };

  APIClient(APITransport transport, ModelClock& clock, QObject* parent = nullptr);
  // Waits for the calls that are running; their answers are dropped.
  ~APIClient() override;

  // "vells://local" + path + the query sorted by name and percent-encoded;
  // nothing when the path can't stand in an address.
  static std::optional<std::string> url(std::string_view path, const Query& query = {});

  // Calls started and not yet answered or timed out.
  int pendingCalls() const { return static_cast<int>(pending_.size()); }

  // --- primitives ---
  // Opens the library off the main thread; its failure comes back as the
  // reason in words (`noServer`'s kind, the backend's sentence).
  void open(QObject* receiver, Reply<Done> reply);
  // Any prepared request; a status outside 200…299 is `http(status, body)`.
  void data(backend::Request request, QObject* receiver, Reply<std::string> reply);
  void getJSON(std::string_view path, const Query& query, QObject* receiver,
               Reply<JSONValue> reply);
  void postJSON(std::string_view path, const Query& query, std::optional<JSONValue> body,
                QObject* receiver, Reply<JSONValue> reply);
  // GET of an address built by url(), with the answer's MIME type.
  void download(const std::string& address, QObject* receiver, Reply<Download> reply);
  // POST of raw bytes (a screen, a background) to an address built by url().
  void uploadRaw(const std::string& address, std::string bytes, const std::string& mime,
                 QObject* receiver, Reply<Done> reply);
  // Runs `read` on the answer of `request` on a worker; what it throws
  // (APIError as it stands, anything else as `badReply`) is the failure.
  template <class T>
  void call(backend::Request request, QObject* receiver,
            std::function<T(const backend::Response&)> read, Reply<T> reply);

  // --- the operations of the routes ---
  void config(QObject* receiver, Reply<AppConfig> reply);
  void pages(const std::string& set, QObject* receiver, Reply<std::vector<SetPage>> reply);
  void savePages(const std::string& set, const std::vector<SetPage>& pages, QObject* receiver,
                 Reply<Done> reply);
  void texts(const std::string& set, QObject* receiver, Reply<TextsDocument> reply);
  void saveTexts(const std::string& set, const TextsDocument& texts, QObject* receiver,
                 Reply<Done> reply);
  void styles(const std::string& set, QObject* receiver, Reply<StylesDocument> reply);
  void saveStyles(const std::string& set, const StylesDocument& styles, QObject* receiver,
                  Reply<Done> reply);
  void order(const std::string& set, QObject* receiver, Reply<OrderDocument> reply);
  void saveOrder(const std::string& set, const OrderDocument& order, QObject* receiver,
                 Reply<Done> reply);
  void screenSlots(const std::string& set, QObject* receiver, Reply<std::vector<ScreenSlot>> reply);
  void screenTexts(const std::string& set, const std::string& page, DeviceOS os, ThemeName theme,
                   const std::string& locale, QObject* receiver, Reply<ScreenTextsResponse> reply);
  void createSet(const std::string& name, const std::optional<std::string>& appId,
                 const std::optional<std::vector<std::string>>& locales, QObject* receiver,
                 Reply<VellSet> reply);
  void duplicateSet(const std::string& from, const std::string& name, QObject* receiver,
                    Reply<VellSet> reply);
  void updateSet(const std::string& id, const std::optional<std::string>& name,
                 const TriState<std::string>& appId,
                 const TriState<std::vector<std::string>>& locales, QObject* receiver,
                 Reply<Done> reply);
  void deleteSet(const std::string& id, QObject* receiver, Reply<Done> reply);
  void lookupApp(const std::string& storeURL, QObject* receiver, Reply<LookedUpApp> reply);
  void trackApp(const std::string& appId, const JSONValue& info, QObject* receiver,
                Reply<Done> reply);
  void updateApp(const std::string& appId, const std::optional<std::string>& name,
                 const std::optional<std::string>& developer,
                 const std::optional<std::string>& icon, bool clearIcon, const JSONValue& profile,
                 QObject* receiver, Reply<Done> reply);
  void linkApp(const std::string& appId, const std::string& storeURL, QObject* receiver,
               Reply<std::string> reply);
  void deleteApp(const std::string& appId, QObject* receiver, Reply<Done> reply);
  void addUnlistedApp(const std::string& name, const std::string& developer,
                      const JSONValue& profile, QObject* receiver, Reply<std::string> reply);
  void uploadAppIcon(std::string bytes, const std::string& mime, QObject* receiver,
                     Reply<std::string> reply);
  void uploadLayerAsset(const std::string& set, std::string bytes, const std::string& mime,
                        QObject* receiver, Reply<std::string> reply);
  void renderLayerHTML(const std::string& set, const std::string& html, double width, double height,
                       QObject* receiver, Reply<std::string> reply);
  void stickerPacks(QObject* receiver, Reply<std::vector<StickerPack>> reply);
  void stickerItems(const std::string& pack, QObject* receiver,
                    Reply<std::vector<StickerItem>> reply);
  void placeSticker(const std::string& set, const std::string& pack, const std::string& file,
                    QObject* receiver, Reply<std::string> reply);
  void addToPack(const std::string& pack, const std::string& name, std::string bytes,
                 const std::string& mime, QObject* receiver, Reply<Done> reply);
  void regenerate(const std::string& set, DeviceOS os, ThemeName theme, QObject* receiver,
                  Reply<std::int64_t> reply);
  void warm(const std::string& set, DeviceOS os, ThemeName theme, bool interactive,
            QObject* receiver, Reply<Done> reply);
  void galleryStatus(const std::string& set, DeviceOS os, ThemeName theme, QObject* receiver,
                     Reply<GalleryStatus> reply);
  // The report as it comes; its reader belongs to the text-fit model.
  void textFit(const std::string& set, const std::string& page, DeviceOS os, ThemeName theme,
               const std::string& locale, QObject* receiver, Reply<JSONValue> reply);
  void hasBackground(const std::string& set, const std::string& page, DeviceOS os,
                     QObject* receiver, Reply<bool> reply);
  void hasOverlay(const std::string& set, const std::string& page, DeviceOS os, QObject* receiver,
                  Reply<bool> reply);
  void hasScreen(const std::string& set, const std::string& page, DeviceOS os,
                 const std::string& locale, const std::optional<std::string>& appearance,
                 QObject* receiver, Reply<bool> reply);
  void deleteBackground(const std::string& set, const std::string& page, DeviceOS os,
                        QObject* receiver, Reply<Done> reply);

 private:
  struct Pending {
    QPointer<QObject> receiver;
    bool tied = false;
    TimerHandle deadline;
    std::function<void(std::any)> deliver;
    std::function<void(APIError)> fail;
  };

  // `work` runs on a worker and makes an APIResult; `deliver` gets it on the
  // main thread; `fail` gets the time-out.
  void run(QObject* receiver, std::function<std::any()> work, std::function<void(std::any)> deliver,
           std::function<void(APIError)> fail);
  void finish(std::uint64_t id, std::any result);
  void expire(std::uint64_t id);

  template <class T>
  void json(const char* method, std::string_view path, const Query& query,
            std::optional<JSONValue> body, QObject* receiver,
            std::function<T(const JSONValue&)> read, Reply<T> reply);
  template <class T>
  void raw(std::string_view path, const Query& query, std::string bytes, const std::string& mime,
           QObject* receiver, std::function<T(const JSONValue&)> read, Reply<T> reply);

  APITransport transport_;
  ModelClock& clock_;
  std::unordered_map<std::uint64_t, Pending> pending_;
  std::uint64_t nextId_ = 1;
  // Last member: destroyed first, after the destructor has drained it.
  QThreadPool pool_;
};

// The answer's body when its status is in 200…299, else the `http` failure.
const std::string& checkedBody(const backend::Response& response);
// The body as JSON, or the `badReply` failure.
JSONValue replyJSON(const backend::Response& response);

template <class T>
void APIClient::call(backend::Request request, QObject* receiver,
                     std::function<T(const backend::Response&)> read, Reply<T> reply) {
  auto shared = std::make_shared<Reply<T>>(std::move(reply));
  run(
      receiver,
      [handle = transport_.handle, request = std::move(request),
       read = std::move(read)]() -> std::any {
        try {
          return APIResult<T>(read(handle(request)));
        } catch (const APIError& e) {
          return APIResult<T>(e);
        } catch (const std::exception& e) {
          return APIResult<T>(APIError::badReply(e.what()));
        }
      },
      [shared](std::any result) { (*shared)(std::any_cast<APIResult<T>&&>(std::move(result))); },
      [shared](APIError error) { (*shared)(APIResult<T>(std::move(error))); });
}

}  // namespace vells::models

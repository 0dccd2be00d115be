#include "models/gallery_model.h"

#include <algorithm>
#include <cstdio>

#include "models/app_model.h"
#include "models/file_saver.h"

namespace vells::models {

namespace {

template <class T>
T other(T value);
template <>
DeviceOS other(DeviceOS os) {
  return os == DeviceOS::ios ? DeviceOS::android : DeviceOS::ios;
}
template <>
ThemeName other(ThemeName theme) {
  return theme == ThemeName::dark ? ThemeName::light : ThemeName::dark;
}

std::string raw(DeviceOS os) {
  return std::string(rawValue(os));
}
std::string raw(ThemeName theme) {
  return std::string(rawValue(theme));
}

}  // namespace

GalleryModel::GalleryModel(AppModel& app, ModelClock& clock, FileSaver& saver, QObject* parent)
    : QObject(parent),
      app_(app),
      clock_(clock),
      saver_(saver),
      target_{app.activeSet(), app.os(), app.theme()} {
  for (auto signal :
       {&AppModel::activeSetChanged, &AppModel::osChanged, &AppModel::themeChanged,
        &AppModel::renderVersionChanged, &AppModel::configChanged, &AppModel::workspaceChanged}) {
    connect(&app_, signal, this, &GalleryModel::follow);
  }
}

GalleryTaskKey GalleryModel::taskKey() const {
  GalleryTaskKey key{app_.activeSet(), app_.os(), app_.theme(), app_.renderVersion(), {}};
  for (const LocaleRef& locale : app_.activeSetLocales())
    key.locales.push_back(locale.code);
  return key;
}

void GalleryModel::setShowing(bool showing) {
  showing_ = showing;
  follow();
}

void GalleryModel::follow() {
  if (!showing_ || app_.workspace() != Workspace::gallery) {
    if (followed_) stop();
    followed_.reset();
    return;
  }
  GalleryTaskKey key = taskKey();
  if (followed_ == key) return;
  followed_ = std::move(key);
  start();
  loadOrder();
}

void GalleryModel::start() {
  stop();
  ready_.reset();
  pendingCount_ = 0;
  emit readyChanged();
  target_ = Target{app_.activeSet(), app_.os(), app_.theme()};
  const std::uint64_t generation = generation_;
  poll(generation);
  warmTimer_ = clock_.after(warmDelay, this, [this, generation] { warmNeighbours(generation); });
}

void GalleryModel::stop() {
  ++generation_;  // whatever is still on its way belongs to the old start
  pollTimer_.reset();
  warmTimer_.reset();
}

void GalleryModel::poll(std::uint64_t generation) {
  app_.client().galleryStatus(
      target_.set, target_.os, target_.theme, this,
      [this, generation](APIResult<GalleryStatus> status) {
        if (generation != generation_) return;
        if (!status) {  // the set may simply still be loading
          pollTimer_ = clock_.after(retryInterval, this, [this, generation] { poll(generation); });
          return;
        }
        const GalleryStatus& s = status.value();
        ready_.emplace(s.ready.begin(), s.ready.end());
        pendingCount_ =
            static_cast<int>(std::max<std::int64_t>(0, s.total - std::int64_t(ready_->size())));
        emit readyChanged();
        if (pendingCount_ == 0) {
          pollTimer_.reset();
          return;
        }
        // Something is missing and nothing renders: start the job. One already
        // running answers that it didn't start, which does no harm.
        if (!s.rendering) {
          app_.client().warm(target_.set, target_.os, target_.theme, true, this,
                             [](APIResult<Done>) {});
        }
        pollTimer_ = clock_.after(pollInterval, this, [this, generation] { poll(generation); });
      });
}

void GalleryModel::warmNeighbours(std::uint64_t generation) {
  if (generation != generation_) return;
  const Target t = target_;
  app_.client().warm(
      t.set, other(t.os), t.theme, false, this, [this, generation, t](APIResult<Done> first) {
        if (generation != generation_ || !first) return;
        app_.client().warm(t.set, t.os, other(t.theme), false, this, [](APIResult<Done>) {});
      });
}

bool GalleryModel::isReady(const std::string& locale, const std::string& page) const {
  return ready_ && ready_->contains(locale + ":" + page);
}

void GalleryModel::dismissError() {
  setError(std::nullopt);
}

void GalleryModel::setError(std::optional<std::string> message) {
  if (errorMessage_ == message) return;
  errorMessage_ = std::move(message);
  emit errorMessageChanged();
}

void GalleryModel::setExporting(std::optional<std::string> locale) {
  if (exporting_ == locale) return;
  exporting_ = std::move(locale);
  emit exportingChanged();
}

// --- page order ---

void GalleryModel::loadOrder() {
  const std::uint64_t token = ++orderToken_;
  app_.client().order(app_.activeSet(), this, [this, token](APIResult<OrderDocument> order) {
    if (token != orderToken_) return;
    order_ = order ? std::move(order.value()) : OrderDocument{};
    emit orderChanged();
  });
}

std::vector<std::string> GalleryModel::row(const std::string& locale,
                                           const std::vector<SetPage>& pages) const {
  std::vector<std::string> inSetOrder;
  for (const SetPage& page : pages)
    inSetOrder.push_back(page.id);
  auto entry = order_.find(locale);
  if (entry == order_.end()) return inSetOrder;
  std::vector<std::string> out;
  for (const std::string& id : entry->second) {
    if (std::find(inSetOrder.begin(), inSetOrder.end(), id) != inSetOrder.end() &&
        std::find(out.begin(), out.end(), id) == out.end())
      out.push_back(id);
  }
  for (const std::string& id : inSetOrder) {
    if (std::find(out.begin(), out.end(), id) == out.end()) out.push_back(id);
  }
  return out;
}

void GalleryModel::saveRow(std::vector<std::string> row, const std::string& locale) {
  order_[locale] = std::move(row);
  ++orderToken_;  // a load still on its way would undo this
  emit orderChanged();
  app_.client().saveOrder(app_.activeSet(), order_, this, [](APIResult<Done>) {});
}

// --- addresses ---

std::optional<std::string> GalleryModel::thumbnailURL(const std::string& locale,
                                                      const std::string& page) const {
  return compositeURL(locale, page, true);
}

std::optional<std::string> GalleryModel::fullURL(const std::string& locale,
                                                 const std::string& page) const {
  return compositeURL(locale, page, false);
}

std::optional<std::string> GalleryModel::compositeURL(const std::string& locale,
                                                      const std::string& page, bool thumb) const {
  return APIClient::url("/composite",
                        {{"set", app_.activeSet()},
                         {"page", page},
                         {"os", raw(app_.os())},
                         {"theme", raw(app_.theme())},
                         {"locale", locale},
                         {"v", std::to_string(app_.renderVersion())},
                         {"thumb", thumb ? std::optional<std::string>("1") : std::nullopt}});
}

// --- regenerate and export ---

void GalleryModel::regenerate() {
  regenerating_ = true;
  emit regeneratingChanged();
  setError(std::nullopt);
  app_.client().regenerate(app_.activeSet(), app_.os(), app_.theme(), this,
                           [this](APIResult<std::int64_t> removed) {
                             if (removed) {
                               app_.bumpRenderVersion();
                               start();
                             } else {
                               setError(removed.error().what());
                             }
                             regenerating_ = false;
                             emit regeneratingChanged();
                           });
}

void GalleryModel::setExportingOne(std::optional<std::string> name) {
  if (exportingOne_ == name) return;
  exportingOne_ = std::move(name);
  emit exportingChanged();
}

void GalleryModel::save(std::string bytes, std::string name, std::function<void()> then) {
  saver_.save(std::move(bytes), name, [this, name, then](FileSaver::Outcome outcome) {
    if (outcome.kind == FileSaver::Outcome::Kind::failed) setError(outcome.message);
    if (outcome.kind == FileSaver::Outcome::Kind::saved)
      emit exported(QString::fromStdString(outcome.path.empty() ? name : outcome.path));
    then();
  });
}

void GalleryModel::exportZip(std::optional<std::string> locale) {
  setExporting(locale.value_or("*"));
  setError(std::nullopt);
  const std::string set = app_.activeSet(), os = raw(app_.os()), theme = raw(app_.theme());
  auto url = APIClient::url("/api/download-all",
                            {{"set", set}, {"os", os}, {"theme", theme}, {"locale", locale}});
  if (!url) return setExporting(std::nullopt);
  std::string name = set + (locale ? "-" + *locale : "") + "-" + os + "-" + theme + ".zip";
  app_.client().download(*url, this, [this, name](APIResult<APIClient::Download> zip) {
    if (!zip) {
      setError(zip.error().what());
      return setExporting(std::nullopt);
    }
    save(std::move(zip.value().bytes), name, [this] { setExporting(std::nullopt); });
  });
}

void GalleryModel::exportOne(const std::string& page, const std::string& locale, int index) {
  setError(std::nullopt);
  auto url = fullURL(locale, page);
  if (!url) return;
  char number[16];
  std::snprintf(number, sizeof number, "%02d", index + 1);
  std::string name = locale + "-" + number + "-" + page + ".png";
  setExportingOne(name);
  app_.client().download(*url, this, [this, name](APIResult<APIClient::Download> image) {
    const auto failed = [this](const std::string& message) {
      setError(message);
      setExportingOne(std::nullopt);
    };
    if (!image) return failed(image.error().what());
    if (image.value().mime.rfind("image/", 0) != 0)
      return failed(APIError::notAnImage(image.value().bytes).what());
    save(std::move(image.value().bytes), name, [this] { setExportingOne(std::nullopt); });
  });
}

}  // namespace vells::models

#include "models/app_model.h"

#include <QRegularExpression>
#include <QUrl>
#include <QVariantMap>
#include <algorithm>
#include <set>

#include "models/image_store.h"

namespace vells::models {

namespace {

constexpr const char* keyWorkspace = "workspace";
constexpr const char* keyOS = "os";
constexpr const char* keyTheme = "theme";
constexpr const char* keyApp = "active.app";
constexpr const char* keySet = "active.set";
constexpr const char* keyPage = "active.page";
constexpr const char* keyLocale = "active.locale";

QString q(const std::string& s) {
  return QString::fromStdString(s);
}

// `done` runs only while `receiver` (when one was given) exists.
template <class T>
Reply<T> guarded(QObject* receiver, Reply<T> done) {
  return [r = QPointer<QObject>(receiver), tied = receiver != nullptr,
          done = std::move(done)](APIResult<T> result) {
    if ((tied && !r) || !done) return;
    done(std::move(result));
  };
}

// The five blank pages a new set starts with.
std::vector<SetPage> blankPages() {
  std::vector<SetPage> pages;
  for (int i = 1; i <= 5; ++i) {
    pages.push_back(SetPage{"screen-" + std::to_string(i), "Screen " + std::to_string(i),
                            PageSource::upload, std::nullopt});
  }
  return pages;
}

DeviceOS otherOS(DeviceOS os) {
  return os == DeviceOS::ios ? DeviceOS::android : DeviceOS::ios;
}

}  // namespace

AppModel::AppModel(APIClient& client, ImageStore& images, QSettings& defaults, QObject* parent)
    : QObject(parent), client_(client), images_(images), defaults_(defaults) {
  workspace_ =
      defaults_.value(keyWorkspace).toString() == "editor" ? Workspace::editor : Workspace::gallery;
  os_ = defaults_.value(keyOS).toString() == "ios" ? DeviceOS::ios : DeviceOS::android;
  theme_ = defaults_.value(keyTheme).toString() == "light" ? ThemeName::light : ThemeName::dark;
  if (defaults_.contains(keyApp)) activeApp_ = defaults_.value(keyApp).toString().toStdString();
  if (defaults_.contains(keySet)) activeSet_ = defaults_.value(keySet).toString().toStdString();
  if (defaults_.contains(keyPage)) activePage_ = defaults_.value(keyPage).toString().toStdString();
  if (defaults_.contains(keyLocale))
    activeLocale_ = defaults_.value(keyLocale).toString().toStdString();
}

// --- the selection ---

void AppModel::setWorkspace(Workspace workspace) {
  defaults_.setValue(keyWorkspace, workspace == Workspace::editor ? "editor" : "gallery");
  if (workspace_ == workspace) return;
  workspace_ = workspace;
  emit workspaceChanged();
}

void AppModel::setOs(DeviceOS os) {
  defaults_.setValue(keyOS, q(std::string(rawValue(os))));
  if (os_ == os) return;
  os_ = os;
  emit osChanged();
}

void AppModel::setTheme(ThemeName theme) {
  defaults_.setValue(keyTheme, q(std::string(rawValue(theme))));
  if (theme_ == theme) return;
  theme_ = theme;
  emit themeChanged();
}

void AppModel::setActiveApp(std::optional<std::string> app) {
  if (app) {
    defaults_.setValue(keyApp, q(*app));
  } else {
    defaults_.remove(keyApp);
  }
  if (activeApp_ == app) return;
  activeApp_ = std::move(app);
  emit activeAppChanged();
}

void AppModel::setActiveSet(const std::string& set) {
  if (activeSet_ == set) return;
  activeSet_ = set;
  defaults_.setValue(keySet, q(set));
  // The old set's pages must not pass for the new one's while they load.
  if (!pages_.empty()) {
    pages_.clear();
    emit pagesChanged();
  }
  emit activeSetChanged();
  loadPages();
}

void AppModel::setActivePage(std::optional<std::string> page) {
  if (page) {
    defaults_.setValue(keyPage, q(*page));
  } else {
    defaults_.remove(keyPage);
  }
  if (activePage_ == page) return;
  activePage_ = std::move(page);
  emit activePageChanged();
}

void AppModel::setActiveLocale(const std::string& locale) {
  defaults_.setValue(keyLocale, q(locale));
  if (activeLocale_ == locale) return;
  activeLocale_ = locale;
  emit activeLocaleChanged();
}

void AppModel::setCreatingSet(bool creating) {
  if (isCreatingSet_ == creating) return;
  isCreatingSet_ = creating;
  emit isCreatingSetChanged();
}

void AppModel::setAddingApp(bool adding, int step) {
  step = adding ? std::clamp(step, 0, 4) : 0;
  if (isAddingApp_ == adding && addAppStep_ == step) return;
  isAddingApp_ = adding;
  addAppStep_ = step;
  emit isAddingAppChanged();
}

void AppModel::setEditingApp(std::optional<std::string> appId) {
  if (editingApp_ == appId) return;
  editingApp_ = std::move(appId);
  emit editingAppChanged();
}

void AppModel::setAddingPage(bool adding) {
  if (isAddingPage_ == adding) return;
  isAddingPage_ = adding;
  emit isAddingPageChanged();
}

void AppModel::setConnection(ConnectionState state) {
  if (connection_ == state) return;
  connection_ = std::move(state);
  emit connectionChanged();
}

// --- derived values ---

std::vector<AppSummary> AppModel::apps() const {
  if (!config_ || !config_->apps) return {};
  return *config_->apps;
}

std::vector<VellSet> AppModel::setsInActiveApp() const {
  std::vector<VellSet> out;
  if (!config_) return out;
  for (const VellSet& set : config_->sets) {
    if (set.appId == activeApp_) out.push_back(set);
  }
  return out;
}

bool AppModel::hasUnassignedSets() const {
  return config_ && std::any_of(config_->sets.begin(), config_->sets.end(),
                                [](const VellSet& s) { return !s.appId; });
}

std::vector<LocaleRef> AppModel::activeSetLocales() const {
  return config_ ? config_->localesForSet(activeSet_) : std::vector<LocaleRef>{};
}

std::string AppModel::activeSetName() const {
  if (activeSet_ == appStoreSet) return "App Store";
  if (const VellSet* set = findSet(activeSet_)) return set->name;
  return activeSet_;
}

bool AppModel::canUseBuiltinPages() const {
  if (!config_ || !config_->pagesAppId) return false;
  const VellSet* set = findSet(activeSet_);
  return set && set->appId == config_->pagesAppId;
}

std::optional<std::string> AppModel::iconURL(const AppSummary* app) const {
  if (!app || app->icon.empty()) return std::nullopt;
  if (app->icon.front() == '/') return APIClient::url(app->icon);
  const QUrl url(q(app->icon), QUrl::StrictMode);
  if (!url.isValid()) return std::nullopt;
  return app->icon;
}

std::vector<std::string> AppModel::appStoreScreenshots(int width, const std::string& format) const {
  static const QRegularExpression sizeTag(R"(/[0-9]+x[0-9]+[a-z]{2,3}\.(?:jpg|jpeg|png|webp)$)",
                                          QRegularExpression::CaseInsensitiveOption);
  std::vector<std::string> out;
  const AppSummary* app = findApp(activeApp_);
  if (!app) return out;
  const QString replacement = "/" + QString::number(width) + "x0w." + q(format);
  for (const std::string& shot : app->screenshots) {
    QString rewritten = q(shot);
    rewritten.replace(sizeTag, replacement);
    if (!QUrl(rewritten, QUrl::StrictMode).isValid()) continue;
    out.push_back(rewritten.toStdString());
  }
  return out;
}

std::string AppModel::pageLabel(const std::string& pageId) const {
  auto page =
      std::find_if(pages_.begin(), pages_.end(), [&](const SetPage& p) { return p.id == pageId; });
  // The library stores a page given without a label under its id: that is no name of its own.
  if (page != pages_.end() && !page->label.empty() && page->label != page->id) return page->label;
  const std::string builtin = page != pages_.end() ? page->builtinId.value_or(pageId) : pageId;
  if (config_) {
    for (const PageRef& ref : config_->pages) {
      if (ref.id == builtin && !ref.label.empty()) return ref.label;
    }
  }
  return pageId;
}

const VellSet* AppModel::findSet(const std::string& id) const {
  if (!config_) return nullptr;
  auto it = std::find_if(config_->sets.begin(), config_->sets.end(),
                         [&](const VellSet& s) { return s.id == id; });
  return it == config_->sets.end() ? nullptr : &*it;
}

const AppSummary* AppModel::findApp(const std::optional<std::string>& appId) const {
  if (!appId || !config_ || !config_->apps) return nullptr;
  auto it = std::find_if(config_->apps->begin(), config_->apps->end(),
                         [&](const AppSummary& a) { return a.appId == *appId; });
  return it == config_->apps->end() ? nullptr : &*it;
}

QString AppModel::codeFolderKey(const std::string& appId) {
  return QString::fromStdString("app.codeFolder." + appId);
}

QString AppModel::generatedFilesKey(const std::string& setId) {
  return QString::fromStdString("generated.files." + setId);
}

std::optional<std::string> AppModel::codeFolder(const std::string& appId) const {
  const QVariant v = defaults_.value(codeFolderKey(appId));
  if (!v.isValid() || v.toString().isEmpty()) return std::nullopt;
  return v.toString().toStdString();
}

void AppModel::setCodeFolder(const std::string& appId, const std::string& folder) {
  defaults_.setValue(codeFolderKey(appId), q(folder));
}

void AppModel::removeCodeFolder(const std::string& appId) {
  defaults_.remove(codeFolderKey(appId));
}

void AppModel::setShowingCapture(bool showing) {
  if (isShowingCapture_ == showing) return;
  isShowingCapture_ = showing;
  emit isShowingCaptureChanged();
}

// --- keeping the selection valid ---

void AppModel::clampSelection() {
  if (!config_) return;
  if (activeSet_ == appStoreSet) {
    const AppSummary* app = findApp(activeApp_);
    if (!app || app->screenshots.empty()) {
      auto sets = setsInActiveApp();
      if (!sets.empty()) {
        setActiveSet(sets.front().id);
      } else if (!config_->sets.empty()) {
        setActiveSet(config_->sets.front().id);
      } else {
        setActiveSet("default");
      }
    }
    clampPage();
    return;
  }
  if (const VellSet* set = findSet(activeSet_)) {
    setActiveApp(set->appId);
  } else if (activeApp_ && !findApp(activeApp_)) {
    setActiveApp(config_->sets.empty() ? std::nullopt : config_->sets.front().appId);
  }
  const auto sets = setsInActiveApp();
  const bool held =
      std::any_of(sets.begin(), sets.end(), [&](const VellSet& s) { return s.id == activeSet_; });
  if (!held) {
    if (!sets.empty()) {
      setActiveSet(sets.front().id);
    } else if (!config_->sets.empty()) {
      const VellSet first = config_->sets.front();
      setActiveApp(first.appId);
      setActiveSet(first.id);
    }
  }
  clampPage();
  clampLocale();
}

void AppModel::clampPage() {
  if (activePage_ && std::any_of(pages_.begin(), pages_.end(),
                                 [&](const SetPage& p) { return p.id == *activePage_; }))
    return;
  setActivePage(pages_.empty() ? std::nullopt : std::optional<std::string>(pages_.front().id));
}

void AppModel::clampLocale() {
  const auto locales = config_->localesForSet(activeSet_);
  if (std::any_of(locales.begin(), locales.end(),
                  [&](const LocaleRef& l) { return l.code == activeLocale_; }))
    return;
  setActiveLocale(locales.empty() ? "en" : locales.front().code);
}

// --- loading ---

void AppModel::reconnect() {
  const std::uint64_t token = ++connectToken_;
  setConnection(ConnectionState::connecting());
  auto failed = [this, token](const APIError& error) {
    if (token == connectToken_) setConnection(ConnectionState::offline(error.what()));
  };
  client_.open(this, [this, token, failed](APIResult<Done> opened) {
    if (token != connectToken_) return;
    if (!opened) return failed(opened.error());
    client_.config(this, [this, token, failed](APIResult<AppConfig> config) {
      if (token != connectToken_) return;
      if (!config) return failed(config.error());
      ++configToken_;  // older refreshes must not land over this one
      config_ = std::move(config.value());
      emit configChanged();
      loadPages([this, token] {
        if (token == connectToken_) setConnection(ConnectionState::online());
      });
    });
  });
}

void AppModel::refreshConfig(std::function<void()> then) {
  const std::uint64_t token = ++configToken_;
  client_.config(this, [this, token, then = std::move(then)](APIResult<AppConfig> config) {
    if (token != configToken_ || !config) {
      if (then) then();
      return;
    }
    config_ = std::move(config.value());
    emit configChanged();
    loadPages(then);
  });
}

void AppModel::loadPages(std::function<void()> then) {
  const std::uint64_t token = ++pagesToken_;
  const std::string set = activeSet_;
  client_.pages(set, this,
                [this, token, set, then = std::move(then)](APIResult<std::vector<SetPage>> pages) {
                  // An answer for a set the user has left, or one overtaken by a
                  // newer load, changes nothing.
                  if (token == pagesToken_ && set == activeSet_) {
                    pages_ = pages ? std::move(pages.value()) : std::vector<SetPage>{};
                    emit pagesChanged();
                    clampSelection();
                  }
                  if (then) then();
                });
}

void AppModel::selectApp(std::optional<std::string> appId) {
  setActiveApp(appId);
  if (const AppSummary* app = findApp(appId);
      app && app->platforms && app->platforms->size() == 1) {
    if (auto os = deviceOSFromRaw(app->platforms->front())) setOs(*os);
  }
  if (activeSet_ == appStoreSet) {
    clampSelection();
    return;
  }
  if (!config_) return;
  for (const VellSet& set : config_->sets) {
    if (set.appId == appId) {
      setActiveSet(set.id);
      clampSelection();
      return;
    }
  }
}

// --- operations on sets and apps ---

void AppModel::saveBlankPages(const std::string& set,
                              std::function<void(std::optional<APIError>)> then) {
  client_.savePages(set, blankPages(), this, [then = std::move(then)](APIResult<Done> saved) {
    then(saved ? std::nullopt : std::optional<APIError>(saved.error()));
  });
}

void AppModel::createBlankSet(const std::string& name, QObject* receiver, Reply<Done> done) {
  auto reply = guarded(receiver, std::move(done));
  std::vector<std::string> locales{"en"};
  if (const VellSet* set = findSet(activeSet_); set && set->locales && !set->locales->empty())
    locales = *set->locales;
  client_.createSet(name, activeApp_, locales, this, [this, reply](APIResult<VellSet> created) {
    if (!created) return reply(created.error());
    const std::string id = created.value().id;
    saveBlankPages(id, [this, id, reply](std::optional<APIError> error) {
      if (error) return reply(*error);
      // The new config first, so the clamp of the new set's pages knows it.
      refreshConfig([this, id, reply] {
        setActiveSet(id);
        reply(Done{});
      });
    });
  });
}

void AppModel::openNewApp(const std::string& appId, const std::string& name, QObject* receiver,
                          Reply<Done> done) {
  auto reply = guarded(receiver, std::move(done));
  if (config_) {
    for (const VellSet& set : config_->sets) {
      if (set.appId == appId) {
        setActiveApp(appId);
        setActiveSet(set.id);
        return reply(Done{});
      }
    }
  }
  client_.createSet(name + " v1", appId, std::vector<std::string>{"en"}, this,
                    [this, appId, reply](APIResult<VellSet> created) {
                      if (!created) return reply(created.error());
                      const std::string id = created.value().id;
                      saveBlankPages(id, [this, appId, id, reply](std::optional<APIError> error) {
                        if (error) return reply(*error);
                        refreshConfig([this, appId, id, reply] {
                          setActiveApp(appId);
                          setActiveSet(id);
                          setActiveLocale("en");
                          reply(Done{});
                        });
                      });
                    });
}

void AppModel::duplicateSet(const std::string& from, const std::string& name, QObject* receiver,
                            Reply<VellSet> done) {
  auto reply = guarded(receiver, std::move(done));
  client_.duplicateSet(from, name, this, [this, from, reply](APIResult<VellSet> copy) {
    if (!copy) return reply(copy.error());
    const VellSet set = copy.value();
    const QVariant files = defaults_.value(generatedFilesKey(from));
    defaults_.setValue(generatedFilesKey(set.id),
                       files.canConvert<QVariantMap>() ? files.toMap() : QVariantMap());
    refreshConfig([this, set, reply] {
      setActiveSet(set.id);
      reply(set);
    });
  });
}

void AppModel::deleteSet(const std::string& id, QObject* receiver, Reply<Done> done) {
  auto reply = guarded(receiver, std::move(done));
  client_.deleteSet(id, this, [this, id, reply](APIResult<Done> deleted) {
    if (!deleted) return reply(deleted.error());
    if (activeSet_ == id) {
      // The config is still the old one here: the deleted set is skipped.
      std::string next;
      for (const VellSet& set : setsInActiveApp()) {
        if (set.id != id) {
          next = set.id;
          break;
        }
      }
      setActiveSet(next);
    }
    refreshConfig([reply] { reply(Done{}); });
  });
}

void AppModel::setLocales(const std::string& setId, const std::vector<std::string>& codes,
                          QObject* receiver, Reply<Done> done) {
  auto reply = guarded(receiver, std::move(done));
  std::set<std::string> all;
  if (config_) {
    for (const LocaleRef& l : config_->locales)
      all.insert(l.code);
  }
  const bool everything = codes.empty() || std::set<std::string>(codes.begin(), codes.end()) == all;
  auto locales = everything ? TriState<std::vector<std::string>>::null()
                            : TriState<std::vector<std::string>>(codes);
  client_.updateSet(setId, std::nullopt, {}, locales, this, [this, reply](APIResult<Done> r) {
    if (!r) return reply(r.error());
    refreshConfig([reply] { reply(Done{}); });
  });
}

void AppModel::addListedApp(const std::string& appId, JSONValue info,
                            const JSONValue::Object& profile, QObject* receiver, Reply<Done> done) {
  auto reply = guarded(receiver, std::move(done));
  if (!profile.empty() && info.isObject()) info["profile"] = profile;
  client_.trackApp(appId, info, this, [this, reply](APIResult<Done> r) {
    if (!r) return reply(r.error());
    refreshConfig([reply] { reply(Done{}); });
  });
}

void AppModel::linkApp(const std::string& appId, const std::string& storeURL, QObject* receiver,
                       Reply<Done> done) {
  auto reply = guarded(receiver, std::move(done));
  client_.linkApp(appId, storeURL, this, [this, appId, reply](APIResult<std::string> linked) {
    if (!linked) return reply(linked.error());
    const std::string& newId = linked.value();
    // Without sandboxing the folder's path itself keeps access across runs.
    if (auto folder = codeFolder(appId)) setCodeFolder(newId, *folder);
    defaults_.remove(codeFolderKey(appId));
    if (activeApp_ == appId) setActiveApp(newId);
    refreshConfig([reply] { reply(Done{}); });
  });
}

void AppModel::eachSet(std::vector<std::string> ids, std::size_t index, bool withSets,
                       std::function<void(std::optional<APIError>)> then) {
  if (index == ids.size()) return then(std::nullopt);
  auto next = [this, ids, index, withSets, then](APIResult<Done> r) {
    if (!r) return then(r.error());  // what is done stays done
    eachSet(ids, index + 1, withSets, then);
  };
  if (withSets) {
    client_.deleteSet(ids[index], this, next);
  } else {
    client_.updateSet(ids[index], std::nullopt, TriState<std::string>::null(), {}, this, next);
  }
}

void AppModel::deleteApp(const std::string& appId, bool withSets, QObject* receiver,
                         Reply<Done> done) {
  auto reply = guarded(receiver, std::move(done));
  std::vector<std::string> ids;
  if (config_) {
    for (const VellSet& set : config_->sets) {
      if (set.appId == appId) ids.push_back(set.id);
    }
  }
  eachSet(ids, 0, withSets, [this, appId, reply](std::optional<APIError> error) {
    if (error) return reply(*error);
    client_.deleteApp(appId, this, [this, appId, reply](APIResult<Done> r) {
      if (!r) return reply(r.error());
      defaults_.remove(codeFolderKey(appId));
      if (activeApp_ == appId) {
        std::optional<std::string> other;
        for (const AppSummary& app : apps()) {
          if (app.appId != appId) {
            other = app.appId;
            break;
          }
        }
        setActiveApp(other);
        setActiveSet("");
      }
      refreshConfig([reply] { reply(Done{}); });
    });
  });
}

void AppModel::bumpRenderVersion() {
  images_.clear();
  ++renderVersion_;
  emit renderVersionChanged();
}

void AppModel::screensOn(std::vector<std::string> pages, std::size_t index, DeviceOS os,
                         std::string locale, std::function<void(bool)> then) {
  if (index == pages.size()) return then(false);
  client_.hasScreen(activeSet_, pages[index], os, locale, std::nullopt, this,
                    [this, pages, index, os, locale, then](APIResult<bool> has) {
                      if (has && has.value()) return then(true);
                      screensOn(pages, index + 1, os, locale, then);
                    });
}

void AppModel::platformWithScreensElsewhere(QObject* receiver,
                                            std::function<void(std::optional<DeviceOS>)> done) {
  auto reply = [r = QPointer<QObject>(receiver), tied = receiver != nullptr,
                done = std::move(done)](std::optional<DeviceOS> os) {
    if (!(tied && !r)) done(os);
  };
  std::vector<std::string> uploads;
  for (const SetPage& page : pages_) {
    if (page.source == PageSource::upload) uploads.push_back(page.id);
  }
  const auto locales = activeSetLocales();
  if (uploads.empty() || locales.empty()) return reply(std::nullopt);
  const DeviceOS here = os_;
  const std::string locale = locales.front().code;
  screensOn(uploads, 0, here, locale, [this, uploads, here, locale, reply](bool found) {
    if (found) return reply(std::nullopt);
    screensOn(uploads, 0, otherOS(here), locale, [here, reply](bool elsewhere) {
      reply(elsewhere ? std::optional<DeviceOS>(otherOS(here)) : std::nullopt);
    });
  });
}

}  // namespace vells::models

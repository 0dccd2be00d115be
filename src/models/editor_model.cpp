#include "models/editor_model.h"

#include <QPointer>
#include <QString>
#include <memory>

#include "backend/url_request.h"
#include "models/app_model.h"

namespace vells::models {

namespace {

std::string str(DeviceOS os) {
  return std::string(rawValue(os));
}
std::string str(ThemeName theme) {
  return std::string(rawValue(theme));
}

// White space and line breaks off both ends, as a title is stored.
std::string trimmed(const std::string& text) {
  return QString::fromStdString(text).trimmed().toStdString();
}

const VellText* entry(const TextsDocument& texts, const std::string& page,
                      const std::string& locale) {
  auto p = texts.find(page);
  if (p == texts.end()) return nullptr;
  auto l = p->second.find(locale);
  return l == p->second.end() ? nullptr : &l->second;
}

// Runs `then` once every one of `count` calls of the returned function came.
std::function<void()> afterAll(int count, std::function<void()> then) {
  auto left = std::make_shared<int>(count);
  return [left, then = std::move(then)] {
    if (--*left == 0) then();
  };
}

void call(const std::function<void()>& f) {
  if (f) f();
}

// The fields that make a page's background, copied together.
constexpr StyleField backgroundFields[] = {
    StyleField::gradFrom,       StyleField::gradVia,        StyleField::gradTo,
    StyleField::gradAngle,      StyleField::bgPattern,      StyleField::bgPatternOpacity,
    StyleField::bgPatternScale, StyleField::bgPatternColor,
};

}  // namespace

EditorModel::EditorModel(ModelClock& clock, FileSaver& saver, QObject* parent)
    : QObject(parent), clock_(clock), saver_(saver) {}

void EditorModel::setInspectorMode(InspectorMode mode) {
  if (inspectorMode_ == mode) return;
  inspectorMode_ = mode;
  emit inspectorModeChanged();
}

void EditorModel::setStyleScope(StyleScope scope) {
  if (styleScope_ == scope) return;
  styleScope_ = scope;
  emit styleScopeChanged();
}

void EditorModel::setTitleText(std::string text) {
  if (title_ == text) return;
  title_ = std::move(text);
  emit titleChanged();
}

void EditorModel::setScreenValue(const std::string& key, std::string value) {
  screenValues_[key] = std::move(value);
  emit screenValuesChanged();
}

std::map<std::string, std::string> EditorModel::screenOverrides() const {
  if (!screenTexts_) {
    if (savedText_ && savedText_->screen) return *savedText_->screen;
    return {};
  }
  std::map<std::string, std::string> out;
  for (const ScreenTextEntry& e : screenTexts_->entries) {
    auto v = screenValues_.find(e.key);
    if (v != screenValues_.end() && v->second != e.value) out[e.key] = v->second;
  }
  return out;
}

void EditorModel::resetScreenTexts() {
  screenValues_.clear();
  if (screenTexts_) {
    for (const ScreenTextEntry& e : screenTexts_->entries)
      screenValues_[e.key] = e.value;
  }
  emit screenValuesChanged();
}

// --- loading ---

void EditorModel::bindHistory(const std::string& set) {
  if (historySet_ == set) return;
  // Snapshots of another set's styles must never be written into this one.
  historySet_ = set;
  undoStack_.clear();
  redoStack_.clear();
  lastCheckpointAt_.reset();
  emit historyChanged();
}

void EditorModel::loadSet(AppModel& app, std::function<void()> done) {
  const std::uint64_t token = ++setToken_;
  QPointer<AppModel> appRef(&app);
  flushTextSave([this, token, appRef, done] {
    flushStyleSave([this, token, appRef, done] {
      if (token != setToken_ || !appRef) return call(done);
      AppModel& app = *appRef;
      lastClient_ = &app.client();
      bindHistory(app.activeSet());
      texts_.reset();
      styles_.reset();
      savedText_.reset();
      title_.clear();
      statusTimer_.reset();
      status_ = {};
      emit textsChanged();
      emit stylesChanged();
      emit titleChanged();
      emit statusChanged();

      struct Answers {
        std::optional<TextsDocument> texts;
        std::optional<StylesDocument> styles;
      };
      auto answers = std::make_shared<Answers>();
      auto land = afterAll(2, [this, token, appRef, answers, done] {
        if (token != setToken_ || !appRef) return call(done);
        texts_ = std::move(answers->texts);
        styles_ = std::move(answers->styles);
        emit textsChanged();
        emit stylesChanged();
        adoptText(*appRef);
        call(done);
      });
      const std::string set = app.activeSet();
      app.client().texts(set, this, [answers, land](APIResult<TextsDocument> r) {
        if (r) answers->texts = std::move(r.value());
        land();
      });
      app.client().styles(set, this, [answers, land](APIResult<StylesDocument> r) {
        if (r) answers->styles = std::move(r.value());
        land();
      });
    });
  });
}

void EditorModel::loadPage(AppModel& app, std::function<void()> done) {
  if (!app.activePage()) return call(done);
  const std::uint64_t token = ++pageToken_;
  QPointer<AppModel> appRef(&app);
  flushTextSave([this, token, appRef, done] {
    if (token != pageToken_ || !appRef || !appRef->activePage()) return call(done);
    AppModel& app = *appRef;
    lastClient_ = &app.client();
    screenTexts_.reset();

    struct Answers {
      std::optional<ScreenTextsResponse> screenTexts;
      bool background = false;
      bool overlay = false;
      bool screen = false;
    };
    auto answers = std::make_shared<Answers>();
    auto land = afterAll(4, [this, token, appRef, answers, done] {
      if (token != pageToken_ || !appRef) return call(done);
      hasBackground_ = answers->background;
      hasOverlay_ = answers->overlay;
      hasScreen_ = answers->screen;
      emit pageStateChanged();
      applyScreenTexts(std::move(answers->screenTexts));
      adoptText(*appRef);
      call(done);
    });
    const std::string set = app.activeSet();
    const std::string page = *app.activePage();
    const std::string locale = app.activeLocale();
    APIClient& client = app.client();
    client.screenTexts(set, page, app.os(), app.theme(), locale, this,
                       [answers, land](APIResult<ScreenTextsResponse> r) {
                         if (r) answers->screenTexts = std::move(r.value());
                         land();
                       });
    client.hasBackground(set, page, app.os(), this, [answers, land](APIResult<bool> r) {
      answers->background = r && r.value();
      land();
    });
    client.hasOverlay(set, page, app.os(), this, [answers, land](APIResult<bool> r) {
      answers->overlay = r && r.value();
      land();
    });
    client.hasScreen(set, page, app.os(), locale, str(app.theme()), this,
                     [answers, land](APIResult<bool> r) {
                       answers->screen = r && r.value();
                       land();
                     });
  });
}

void EditorModel::adoptText(const AppModel& app) {
  if (!app.activePage() || !texts_) return;
  const VellText* stored = entry(*texts_, *app.activePage(), app.activeLocale());
  savedText_ = stored ? std::optional<VellText>(*stored) : std::nullopt;
  // A text still waiting keeps the title as the person typed it.
  if (!pending_) setTitleText(savedText_ && savedText_->title ? *savedText_->title : "");
}

void EditorModel::applyScreenTexts(std::optional<ScreenTextsResponse> answer) {
  screenTexts_ = std::move(answer);
  screenValues_.clear();
  if (screenTexts_) {
    for (const ScreenTextEntry& e : screenTexts_->entries) {
      auto o = screenTexts_->overrides.find(e.key);
      screenValues_[e.key] = o != screenTexts_->overrides.end() ? o->second : e.value;
    }
  }
  emit screenValuesChanged();
}

// --- texts ---

void EditorModel::scheduleTextSave(AppModel& app) {
  if (!app.activePage() || !texts_) return;
  const std::string& page = *app.activePage();
  const std::string& locale = app.activeLocale();
  const VellText* stored = entry(*texts_, page, locale);
  VellText next;
  next.title = trimmed(title_);
  next.subtitle = stored && stored->subtitle ? *stored->subtitle : "";
  next.description = stored && stored->description ? *stored->description : "";
  if (auto overrides = screenOverrides(); !overrides.empty()) next.screen = std::move(overrides);

  if (savedText_ && next == *savedText_) {
    // Typed back to what the disk holds: nothing needs to go out.
    if (pending_) {
      (*texts_)[page][locale] = *savedText_;
      pending_.reset();
      textTimer_.reset();
      emit textsChanged();
    }
    return;
  }
  (*texts_)[page][locale] = next;
  const auto savedScreen = savedText_ ? savedText_->screen : std::nullopt;
  const bool reloads = next.screen != savedScreen;
  pending_ = PendingText{app.activeSet(), *texts_, std::move(next), reloads};
  lastClient_ = &app.client();
  emit textsChanged();
  textTimer_ = clock_.after(textSaveDelay, this, [this] { commitText(); });
}

void EditorModel::commitText() {
  textTimer_.reset();
  textDue_ = true;
  if (textInFlight_) return;  // sent when the running save ends
  textDue_ = false;
  if (!pending_ || !lastClient_) return textSaveEnded();
  PendingText sent = std::move(*pending_);
  pending_.reset();
  textInFlight_ = true;
  const std::string set = sent.set;
  const TextsDocument texts = sent.texts;
  lastClient_->saveTexts(set, texts, this,
                         [this, sent = std::move(sent)](APIResult<Done> r) mutable {
                           textInFlight_ = false;
                           if (r) {
                             savedText_ = sent.saved;
                             if (sent.reloadsPreview) {
                               ++previewVersion_;
                               emit pageStateChanged();
                             }
                             show("Saved", false, savedShownFor);
                           } else {
                             // A newer edit carries the whole document anyway.
                             if (!pending_) pending_ = std::move(sent);
                             showError(r.error());
                           }
                           textSaveEnded();
                         });
}

void EditorModel::textSaveEnded() {
  // An edit whose delay passed while an earlier save was running.
  if (textDue_ && pending_ && !textInFlight_) return commitText();
  if (textInFlight_ || textTimer_) return;
  auto waiters = std::move(textWaiters_);
  textWaiters_.clear();
  for (auto& w : waiters)
    call(w);
}

void EditorModel::flushTextSave(std::function<void()> done) {
  textTimer_.reset();
  if (done) textWaiters_.push_back(std::move(done));
  if (textInFlight_) {
    // The waiters run when it ends, after what waits has gone out too.
    if (pending_) textDue_ = true;
    return;
  }
  if (pending_ && lastClient_) {
    commitText();
    return;
  }
  textSaveEnded();
}

void EditorModel::setTitle(const std::string& text, const std::string& page,
                           const std::string& locale, AppModel& app) {
  if (app.activePage() == page && app.activeLocale() == locale) {
    setTitleText(text);
    return;
  }
  if (!texts_) return;
  (*texts_)[page][locale].title = text;
  emit textsChanged();
  app.client().saveTexts(app.activeSet(), *texts_, this, [this](APIResult<Done> r) {
    if (!r) showError(r.error());
  });
}

// --- styles ---

std::string EditorModel::styleKey(const std::string& page, const std::string& locale) const {
  return styleScope_ == StyleScope::locale ? vells::styleKey(page, locale) : vells::styleKey(page);
}

std::string EditorModel::layersKey(const std::string& page, const std::string& locale) const {
  if (styles_) {
    auto it = styles_->find(vells::styleKey(page, locale));
    if (it != styles_->end() && it->second.layers) return it->first;
  }
  return styleKey(page, locale);
}

ResolvedStyle EditorModel::resolved(const std::string& page, const std::string& locale) const {
  if (!styles_) return ResolvedStyle{};
  return resolveStyle(*styles_, page, locale);
}

VellStyle EditorModel::pageStyle(const std::string& page) const {
  if (!styles_) return {};
  auto it = styles_->find(page);
  return it == styles_->end() ? VellStyle{} : it->second;
}

VellStyle EditorModel::localeStyle(const std::string& page, const std::string& locale) const {
  if (!styles_) return {};
  auto it = styles_->find(vells::styleKey(page, locale));
  return it == styles_->end() ? VellStyle{} : it->second;
}

void EditorModel::setStyle(StyleField field, std::optional<JSONValue> value, AppModel& app) {
  if (!app.activePage() || !styles_) return;
  const std::string& page = *app.activePage();
  const std::string key = field == StyleField::layers ? layersKey(page, app.activeLocale())
                                                      : styleKey(page, app.activeLocale());
  (*styles_)[key].set(field, std::move(value));
  emit stylesChanged();
  scheduleStyleSave(app, false);
}

void EditorModel::setStyleFields(const std::map<StyleField, std::optional<JSONValue>>& fields,
                                 StyleTarget target, AppModel& app) {
  if (fields.empty() || !styles_) return;
  std::vector<std::string> keys;
  if (target == StyleTarget::allPages) {
    for (const SetPage& p : app.pages())
      keys.push_back(p.id);
  } else if (app.activePage()) {
    keys.push_back(target == StyleTarget::page
                       ? *app.activePage()
                       : vells::styleKey(*app.activePage(), app.activeLocale()));
  }
  for (const std::string& key : keys) {
    VellStyle& style = (*styles_)[key];
    for (const auto& [field, value] : fields)
      style.set(field, value);
  }
  emit stylesChanged();
  scheduleStyleSave(app, true);
}

void EditorModel::scheduleStyleSave(AppModel& app, bool immediate) {
  if (!styles_) return;
  // The set is taken now: by the time the save goes out the person may be
  // looking at another one.
  pendingStyles_ = PendingStyles{app.activeSet(), *styles_};
  lastClient_ = &app.client();
  styleTimer_.reset();
  if (immediate) return sendStyles();
  styleTimer_ = clock_.after(styleSaveDelay, this, [this] { sendStyles(); });
}

void EditorModel::sendStyles() {
  styleTimer_.reset();
  // Saves go out one at a time, so the newest edit is always the last writer.
  if (styleInFlight_) return;
  if (!pendingStyles_ || !lastClient_) return styleSaveEnded();
  PendingStyles sent = std::move(*pendingStyles_);
  pendingStyles_.reset();
  styleInFlight_ = true;
  lastClient_->saveStyles(sent.set, sent.styles, this, [this](APIResult<Done> r) {
    styleInFlight_ = false;
    if (!r) showError(r.error());
    styleSaveEnded();
  });
}

void EditorModel::styleSaveEnded() {
  if (pendingStyles_ && !styleTimer_) return sendStyles();
  if (styleInFlight_ || styleTimer_) return;
  auto waiters = std::move(styleWaiters_);
  styleWaiters_.clear();
  for (auto& w : waiters)
    call(w);
}

void EditorModel::flushStyleSave(std::function<void()> done) {
  if (done) styleWaiters_.push_back(std::move(done));
  if (styleTimer_) return sendStyles();
  if (!styleInFlight_) styleSaveEnded();
}

// --- undo ---

void EditorModel::checkpoint() {
  if (!styles_) return;
  undoStack_.push_back(*styles_);
  if (undoStack_.size() > undoLimit) undoStack_.erase(undoStack_.begin());
  redoStack_.clear();
  emit historyChanged();
}

void EditorModel::checkpointIfIdle() {
  const std::int64_t now = clock_.nowMs();
  if (!lastCheckpointAt_ || now - *lastCheckpointAt_ > checkpointPauseMs) checkpoint();
  lastCheckpointAt_ = now;
}

void EditorModel::restore(std::vector<StylesDocument>& from, std::vector<StylesDocument>& to,
                          AppModel& app) {
  if (from.empty() || !styles_ || app.activeSet() != historySet_) return;
  to.push_back(std::move(*styles_));
  styles_ = std::move(from.back());
  from.pop_back();
  emit stylesChanged();
  emit historyChanged();
  scheduleStyleSave(app, true);
  emit historyApplied();
}

void EditorModel::undo(AppModel& app) {
  restore(undoStack_, redoStack_, app);
}

void EditorModel::redo(AppModel& app) {
  restore(redoStack_, undoStack_, app);
}

// --- status ---

void EditorModel::show(std::string text, bool isError, std::chrono::milliseconds clearAfter) {
  statusTimer_.reset();
  status_ = StatusLine{std::move(text), isError};
  emit statusChanged();
  if (clearAfter.count() > 0) {
    statusTimer_ = clock_.after(clearAfter, this, [this] {
      status_ = {};
      emit statusChanged();
    });
  }
}

void EditorModel::showError(const APIError& error) {
  show(error.sentence(), true);
}

// --- pictures ---

void EditorModel::setScreen(std::string bytes, const std::string& mime, AppModel& app,
                            bool localeOnly, std::optional<ThemeName> appearance,
                            std::function<void()> done) {
  if (!app.activePage()) return call(done);
  auto url = APIClient::url(
      "/api/screen",
      {{"set", app.activeSet()},
       {"page", *app.activePage()},
       {"os", str(app.os())},
       {"appearance", str(appearance.value_or(app.theme()))},
       {"locale", localeOnly ? std::optional<std::string>(app.activeLocale()) : std::nullopt}});
  if (!url) {
    showError(APIError::noServer());
    return call(done);
  }
  QPointer<AppModel> appRef(&app);
  app.client().uploadRaw(*url, std::move(bytes), mime, this,
                         [this, appRef, done](APIResult<Done> r) {
                           if (r) {
                             ++screenVersion_;
                             ++previewVersion_;
                             hasScreen_ = true;
                             emit pageStateChanged();
                             if (appRef) appRef->bumpRenderVersion();
                           } else {
                             showError(r.error());
                           }
                           call(done);
                         });
}

void EditorModel::removeScreen(AppModel& app, bool localeOnly, std::function<void()> done) {
  if (!app.activePage()) return call(done);
  const std::string set = app.activeSet();
  const std::string page = *app.activePage();
  const std::string locale = app.activeLocale();
  const DeviceOS os = app.os();
  const std::string appearance = str(app.theme());
  auto url = APIClient::url("/api/screen",
                            {{"set", set},
                             {"page", page},
                             {"os", str(os)},
                             {"appearance", appearance},
                             {"locale", localeOnly ? std::optional(locale) : std::nullopt}});
  if (!url) {
    showError(APIError::noServer());
    return call(done);
  }
  QPointer<AppModel> appRef(&app);
  app.client().data(
      backend::requestFromURL(*url, "DELETE"), this,
      [this, appRef, set, page, locale, os, appearance, done](APIResult<std::string> r) {
        if (r) {
          ++screenVersion_;
          ++previewVersion_;
        } else {
          showError(r.error());
        }
        emit pageStateChanged();
        if (!appRef) return call(done);
        // A shared screen can still stand behind a removed language screen.
        appRef->client().hasScreen(set, page, os, locale, appearance, this,
                                   [this, appRef, done](APIResult<bool> has) {
                                     hasScreen_ = has && has.value();
                                     emit pageStateChanged();
                                     if (appRef) appRef->bumpRenderVersion();
                                     call(done);
                                   });
      });
}

void EditorModel::setBackground(std::string bytes, const std::string& mime, AppModel& app,
                                std::function<void()> done) {
  if (!app.activePage()) return call(done);
  auto url = APIClient::url(
      "/api/background",
      {{"set", app.activeSet()}, {"page", *app.activePage()}, {"os", str(app.os())}});
  if (!url) {
    showError(APIError::noServer());
    return call(done);
  }
  app.client().uploadRaw(*url, std::move(bytes), mime, this, [this, done](APIResult<Done> r) {
    if (r) {
      ++backgroundVersion_;
      hasBackground_ = true;
      emit pageStateChanged();
    } else {
      showError(r.error());
    }
    call(done);
  });
}

void EditorModel::removeBackground(AppModel& app, std::function<void()> done) {
  if (!app.activePage()) return call(done);
  app.client().deleteBackground(app.activeSet(), *app.activePage(), app.os(), this,
                                [this, done](APIResult<Done>) {
                                  // Shown as gone either way, until the next page load.
                                  ++backgroundVersion_;
                                  hasBackground_ = false;
                                  emit pageStateChanged();
                                  call(done);
                                });
}

void EditorModel::copyBackgroundToAllPages(const std::string& from, AppModel& app) {
  if (!styles_) return;
  const ResolvedStyle source = resolved(from, app.activeLocale());
  checkpoint();
  for (const SetPage& p : app.pages()) {
    if (p.id == from) continue;
    VellStyle& style = (*styles_)[p.id];
    for (StyleField f : backgroundFields)
      style.set(f, source[f]);
  }
  emit stylesChanged();
  scheduleStyleSave(app, true);
  const std::size_t others = app.pages().empty() ? 0 : app.pages().size() - 1;
  show("Background used on " + std::to_string(others) + " other page" + (others == 1 ? "" : "s"),
       false);
}

void EditorModel::downloadPNG(AppModel& app, std::function<void()> done) {
  if (!app.activePage()) return call(done);
  isDownloading_ = true;
  emit downloadingChanged();
  auto finish = [this, done] {
    isDownloading_ = false;
    emit downloadingChanged();
    call(done);
  };
  const std::string page = *app.activePage();
  const std::string os = str(app.os());
  const std::string theme = str(app.theme());
  const std::string locale = app.activeLocale();
  APIClient::Query query{{"set", app.activeSet()}, {"page", page},     {"os", os},
                         {"theme", theme},         {"locale", locale}, {"fresh", "1"}};
  std::string start = page;
  std::string path = "/vell";
  if (hasBackground_) {
    path = "/composite";
    start = "composite";
    query["v"] = std::to_string(app.renderVersion());
  }
  auto url = APIClient::url(path, query);
  if (!url) {
    showError(APIError::noServer());
    return finish();
  }
  const std::string name = start + "-" + os + "-" + theme + "-" + locale + ".png";
  app.client().download(*url, this, [this, name, finish](APIResult<APIClient::Download> r) {
    if (!r) {
      showError(r.error());
      return finish();
    }
    if (r.value().mime.rfind("image/", 0) != 0) {
      const std::string& body = r.value().bytes;
      const bool utf8 = QString::fromUtf8(body).toUtf8() == QByteArray::fromStdString(body);
      showError(APIError::notAnImage(utf8 ? body : ""));
      return finish();
    }
    // A closed chooser is no failure and shows nothing.
    saver_.save(std::move(r.value().bytes), name, [this, finish](FileSaver::Outcome outcome) {
      if (outcome.kind == FileSaver::Outcome::Kind::failed) show(outcome.message, true);
      finish();
    });
  });
}

}  // namespace vells::models

#include "assistants/screenshot_generator.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <cmath>

#include "assistants/assistant_error.h"
#include "assistants/run_folder.h"
#include "assistants/screen_prompts.h"
#include "models/api_client.h"

namespace vells::assistants {

using models::APIClient;
using models::APIResult;
using PageKind = ScreenshotGenerator::PageState::Kind;

struct ScreenshotGenerator::DrawOutcome {
  int count = 0;
  std::optional<QString> failure;
  std::vector<ScreenSlotKey> slotKeys;
  std::vector<MadeLayer> made;
  std::map<QString, QString> replaced;
};

struct ScreenshotGenerator::DrawJob {
  struct Screen {
    ScreenSlotKey slot;
    QString html;
  };
  struct Layer {
    QString html;
    double width = 300;
    double height = 300;
    QString role;
    std::optional<QString> old;
  };
  QString page;
  std::uint64_t token = 0;
  std::map<QString, QString> assets;
  std::vector<Screen> screens;
  std::vector<Layer> layers;
  std::size_t next = 0;
  DrawOutcome outcome;
  std::function<void(DrawOutcome)> done;
};

namespace {

QString plural(int n, const QString& word) {
  return QString::number(n) + QLatin1Char(' ') + word + (n == 1 ? QString() : QStringLiteral("s"));
}

std::string utf8(const QString& text) {
  return text.toStdString();
}

QString osWord(DeviceOS os) {
  return os == DeviceOS::ios ? QStringLiteral("iOS") : QStringLiteral("Android");
}

std::optional<ThemeName> themeFrom(const QString& raw) {
  if (raw == QStringLiteral("light")) return ThemeName::light;
  if (raw == QStringLiteral("dark")) return ThemeName::dark;
  return std::nullopt;
}

bool hasEntries(const QJsonValue& value) {
  return (value.isObject() && !value.toObject().isEmpty()) ||
         (value.isArray() && !value.toArray().isEmpty());
}

// Whether the folder holds at least one file to read, looking no further than
// needed.
bool holdsFiles(const QString& folder) {
  QDirIterator it(folder, QDir::Files | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
  return it.hasNext();
}

}  // namespace

ScreenshotGenerator::ScreenshotGenerator(APIClient& client, QString appName, QString setId,
                                         QString folder, std::optional<QString> loginPath,
                                         QObject* parent)
    : QObject(parent),
      client_(client),
      appName_(std::move(appName)),
      setId_(std::move(setId)),
      folder_(std::move(folder)),
      loginPath_(std::move(loginPath)) {}

// The runs go with the job; each one's own end kills and reaps its group.
ScreenshotGenerator::~ScreenshotGenerator() = default;

QString ScreenshotGenerator::phaseName() const {
  switch (phase_) {
    case Phase::idle:
      return QStringLiteral("idle");
    case Phase::discovering:
      return QStringLiteral("discovering");
    case Phase::choosing:
      return QStringLiteral("choosing");
    case Phase::rendering:
      return QStringLiteral("rendering");
    case Phase::finished:
      return QStringLiteral("finished");
    case Phase::stopped:
      return QStringLiteral("stopped");
    case Phase::failed:
      return QStringLiteral("failed");
  }
  return {};
}

QStringList ScreenshotGenerator::stepTexts() const {
  QStringList texts;
  for (const Step& step : steps_)
    texts << step.text;
  return texts;
}

const std::vector<DeviceOS>& ScreenshotGenerator::platforms() const {
  static const std::vector<DeviceOS> none;
  return renderContext_ ? renderContext_->platforms : none;
}

int ScreenshotGenerator::renderedScreens() const {
  return static_cast<int>(std::count_if(pageStates_.begin(), pageStates_.end(), [](const auto& e) {
    return e.second.kind == PageKind::done;
  }));
}

int ScreenshotGenerator::failedScreens() const {
  return static_cast<int>(std::count_if(pageStates_.begin(), pageStates_.end(), [](const auto& e) {
    return e.second.kind == PageKind::failed;
  }));
}

bool ScreenshotGenerator::allDone() const {
  return phase_ == Phase::finished && failedScreens() == 0 && !pageStates_.empty();
}

int ScreenshotGenerator::runningChildren() const {
  int n = 0;
  for (const auto& [key, run] : runs_)
    n += run->isRunning() ? 1 : 0;
  for (const auto& run : stopping_)
    n += run->isRunning() ? 1 : 0;
  return n;
}

QStringList ScreenshotGenerator::runKeys() const {
  QStringList keys;
  for (const auto& [key, run] : runs_)
    keys << key;
  return keys;
}

std::vector<FoundScreen> ScreenshotGenerator::chosenScreens() const {
  std::vector<FoundScreen> chosen;
  for (const FoundScreen& screen : screens_) {
    if (selected.contains(screen.id)) chosen.push_back(screen);
  }
  return chosen;
}

const FoundScreen* ScreenshotGenerator::screenById(const QString& id) const {
  for (const FoundScreen& screen : screens_) {
    if (screen.id == id) return &screen;
  }
  return nullptr;
}

QString ScreenshotGenerator::rowText(const QString& pageId) const {
  const auto it = pageStates_.find(pageId);
  if (it == pageStates_.end()) return {};
  switch (it->second.kind) {
    case PageKind::working:
    case PageKind::failed:
      return it->second.text;
    case PageKind::done:
      return QStringLiteral("Done");
    case PageKind::waiting:
      return phase_ == Phase::rendering ? QStringLiteral("Waiting for a free slot")
                                        : QStringLiteral("Not started");
  }
  return {};
}

QString ScreenshotGenerator::renderTitle() const {
  const bool update = mode_ == Mode::update;
  if (phase_ == Phase::finished) {
    return update ? QStringLiteral("Screens are updated") : QStringLiteral("Screenshots are ready");
  }
  return update ? QStringLiteral("Updating the screens") : QStringLiteral("Rendering");
}

QString ScreenshotGenerator::renderSubtitle() const {
  const bool update = mode_ == Mode::update;
  if (phase_ == Phase::finished && failedScreens() > 0) {
    return update ? QStringLiteral("Some screens couldn’t be updated — the reasons are below.")
                  : QStringLiteral("Some screens couldn’t be made — the reasons are below.");
  }
  if (phase_ == Phase::finished) {
    return update ? QStringLiteral(
                        "Each screen shows the app as it is now. Titles, colours, stickers and "
                        "layout are unchanged.")
                  : QStringLiteral("They’re in the set now — open the Editor to adjust anything.");
  }
  return update ? QStringLiteral(
                      "Each screen and its highlighted parts are redrawn from the code as it is "
                      "now. Nothing else changes.")
                : QStringLiteral(
                      "Three screens are made at a time, each from its own code. You can close "
                      "this window; it keeps going.");
}

QString ScreenshotGenerator::panelLine() const {
  switch (phase_) {
    case Phase::discovering:
      return QStringLiteral("Finding the app’s screens");
    case Phase::rendering:
      return QStringLiteral("Building screenshots");
    case Phase::finished:
      return QStringLiteral("Screenshots are ready");
    case Phase::failed:
      return QStringLiteral("Couldn’t finish");
    default:
      return QStringLiteral("Stopped");
  }
}

void ScreenshotGenerator::add(const QString& symbol, const QString& text) {
  steps_.push_back({QUuid::createUuid(), symbol, text});
  if (steps_.size() > static_cast<std::size_t>(kMaxSteps)) {
    steps_.erase(steps_.begin(), steps_.end() - kMaxSteps);
  }
  emit stepsChanged();
}

void ScreenshotGenerator::describe(const ToolCall& call, const std::optional<QString>& pageId) {
  QString status;
  if (call.name == QStringLiteral("Read")) {
    const QString path = call.input.value(QStringLiteral("file_path")).toString();
    status = path.isEmpty() ? QStringLiteral("Reading a file")
                            : QStringLiteral("Reading ") + QFileInfo(path).fileName();
  } else if (call.name == QStringLiteral("Glob") || call.name == QStringLiteral("Grep")) {
    status = QStringLiteral("Looking through the code");
  } else {
    return;
  }
  QString line = status;
  if (pageId) {
    setPageState(*pageId, {PageKind::working, status});
    if (const FoundScreen* screen = screenById(*pageId))
      line = screen->name + QStringLiteral(": ") + status;
  }
  add(call.name == QStringLiteral("Read") ? QStringLiteral("doc.text")
                                          : QStringLiteral("magnifyingglass"),
      line);
}

void ScreenshotGenerator::setPhase(Phase phase, QString failure) {
  phase_ = phase;
  failure_ = std::move(failure);
  emit phaseChanged();
}

void ScreenshotGenerator::setPageState(const QString& id, PageState state) {
  auto& slot = pageStates_[id];
  if (slot == state) return;
  slot = std::move(state);
  emit pageStatesChanged();
}

QString ScreenshotGenerator::jobFolder() {
  if (!folderForJob_)
    folderForJob_ = std::make_unique<RunFolder>(QStringLiteral("vells-") + setId_);
  return folderForJob_->path();
}

QString ScreenshotGenerator::workFolder() {
  return jobFolder();
}

void ScreenshotGenerator::stopAllRuns() {
  ++token_;
  for (auto& [key, run] : runs_) {
    run->onToolCall = nullptr;
    if (!run->isRunning()) continue;
    AgentRun* raw = run.get();
    run->onExit = [this, raw](bool, const QString&) {
      for (auto it = stopping_.begin(); it != stopping_.end(); ++it) {
        if (it->get() == raw) {
          it->release()->deleteLater();
          stopping_.erase(it);
          break;
        }
      }
      emit runsChanged();
    };
    run->stop();
    stopping_.push_back(std::move(run));
  }
  runs_.clear();
  emit runsChanged();
}

std::unique_ptr<AgentRun> ScreenshotGenerator::newRun(const std::optional<QString>& pageId) {
  auto run =
      std::make_unique<AgentRun>(renderContext_ ? renderContext_->tool.tool : AITool::claude);
  run->onToolCall = [this, pageId](const ToolCall& call) { describe(call, pageId); };
  return run;
}

void ScreenshotGenerator::start(std::unique_ptr<AgentRun> run, const QString& key,
                                const QString& prompt, const std::optional<QString>& resume,
                                const QStringList& extraDirs) {
  const DetectedTool tool = renderContext_ ? renderContext_->tool : DetectedTool{};
  AgentRequest request;
  request.binary = tool.path.value_or(QString());
  request.folder = folder_;
  request.prompt = prompt;
  request.resume = resume;
  request.extraDirs = extraDirs;
  request.access = AgentAccess::search;
  try {
    run->start(request, loginPath_);
  } catch (const std::exception& e) {
    const QString reason = QString::fromUtf8(e.what());
    if (key == QStringLiteral("discover")) {
      setPhase(Phase::failed, QStringLiteral("Couldn’t start ") +
                                  QFileInfo(request.binary).fileName() + QStringLiteral(": ") +
                                  reason);
    } else {
      setPageState(key, {PageKind::failed, QStringLiteral("Couldn’t start: ") + reason});
    }
    return;
  }
  // The exit finds its run by key and identity: a run that was stopped or
  // replaced meanwhile has nothing more to say.
  AgentRun* raw = run.get();
  auto exit = std::move(run->onExit);
  run->onExit = [this, key, raw, exit = std::move(exit)](bool ok, const QString& reply) {
    const auto it = runs_.find(key);
    if (it == runs_.end() || it->second.get() != raw) return;
    it->second.release()->deleteLater();
    runs_.erase(it);
    emit runsChanged();
    if (exit) exit(ok, reply);
  };
  runs_[key] = std::move(run);
  emit runsChanged();
}

// --- discovery ---

void ScreenshotGenerator::discover(const DetectedTool& tool) {
  if (!tool.path) return;
  stopAllRuns();
  renderContext_ = RenderContext{tool, {}, {}, {}};
  setPhase(Phase::discovering);
  add(QStringLiteral("sparkles"), QStringLiteral("Reading ") + QFileInfo(folder_).fileName() +
                                      QStringLiteral(" with ") + displayName(tool.tool) +
                                      QStringLiteral("…"));
  const QFileInfo info(folder_);
  if (!info.isDir() || !info.isReadable() || !QDir(folder_).isReadable()) {
    setPhase(Phase::failed, QStringLiteral("Can’t read the folder ") + folder_ +
                                QStringLiteral(". Check that it exists and that you may open it, "
                                               "or connect another folder."));
    return;
  }
  if (!holdsFiles(folder_)) {
    setPhase(Phase::failed, QStringLiteral("The folder ") + folder_ +
                                QStringLiteral(" holds no files. Connect the folder with the "
                                               "app’s source code."));
    return;
  }
  auto run = newRun(std::nullopt);
  run->onExit = [this](bool ok, const QString& reply) { discoveryFinished(ok, reply); };
  start(std::move(run), QStringLiteral("discover"), ScreenPrompts::discovery(appName_),
        std::nullopt, {});
}

void ScreenshotGenerator::discoveryFinished(bool ok, const QString& reply) {
  if (phase_ != Phase::discovering) return;
  const std::vector<FoundScreen> found = DiscoveryReply::parseScreens(reply);
  design = DiscoveryReply::parseDesign(reply, folder_);
  support = DiscoveryReply::parseSupport(reply);
  useStickers = design && design->suggestsStickers && !design->stickerAssets.empty();
  direction = suggestedDirection(design);
  if (ok && !found.empty()) {
    screens_ = found;
    selected.clear();
    for (const FoundScreen& screen : screens_) {
      if (screen.recommended) selected.insert(screen.id);
    }
    if (selected.empty()) {
      for (std::size_t i = 0; i < screens_.size() && i < 5; ++i)
        selected.insert(screens_[i].id);
    }
    emit screensChanged();
    setPhase(Phase::choosing);
    return;
  }
  const QString trimmed = reply.trimmed();
  if (!found.empty() || trimmed.isEmpty()) {
    setPhase(Phase::failed, QStringLiteral("Couldn’t find the app’s screens in this folder."));
  } else {
    setPhase(Phase::failed,
             QStringLiteral("The AI didn’t return a screen list: ") + reply.left(200));
  }
}

// --- generation ---

void ScreenshotGenerator::render(const DetectedTool& tool, const QStringList& locales,
                                 const std::map<QString, QString>& profile) {
  const std::vector<FoundScreen> chosen = chosenScreens();
  if (chosen.empty()) return;
  const Support s = support.value_or(Support{});
  std::vector<DeviceOS> platforms;
  if (s.ios) platforms.push_back(DeviceOS::ios);
  if (s.android) platforms.push_back(DeviceOS::android);
  if (platforms.empty()) platforms.push_back(DeviceOS::ios);
  appearances_.clear();
  if (s.light) appearances_.push_back(ThemeName::light);
  if (s.dark) appearances_.push_back(ThemeName::dark);

  notices_.clear();
  if (!s.android) {
    notices_ << QStringLiteral(
        "No Android version of the app was found in the code, so no Android screens were made. "
        "If there is one, switch to Android in the editor and add each screen yourself — "
        "capture it from an emulator or upload it.");
  }
  if (!s.ios) {
    notices_ << QStringLiteral(
        "No iOS version of the app was found in the code, so no iPhone screens were made. If "
        "there is one, switch to iOS in the editor and add each screen yourself.");
  }
  if (!s.light) {
    notices_ << QStringLiteral(
        "No light mode was found in the app, so only dark screens were made. If it has one, "
        "switch the editor to Light and add each screen yourself — capture it from the "
        "Simulator in light mode, or upload it.");
  }
  if (!s.dark) {
    notices_ << QStringLiteral(
        "No dark mode was found in the app, so only light screens were made. If it has one, "
        "switch the editor to Dark and add each screen yourself — capture it from the "
        "Simulator in dark mode, or upload it.");
  }
  emit noticesChanged();

  stopAllRuns();
  mode_ = Mode::generate;
  results_.clear();
  firstResults_.clear();
  firstReplies_.clear();
  reviewed_.clear();
  resultsHandedOn_ = false;
  renderContext_ = RenderContext{tool, platforms, locales, profile};
  queue_ = chosen;
  pageStates_.clear();
  for (const FoundScreen& screen : chosen)
    pageStates_[screen.id] = {PageKind::waiting, {}};
  emit pageStatesChanged();
  setPhase(Phase::rendering);
  add(QStringLiteral("sparkles"),
      QStringLiteral("Making ") +
          plural(static_cast<int>(chosen.size()), QStringLiteral("screen")) +
          QStringLiteral(", 3 at a time"));
  fillSlots();
}

void ScreenshotGenerator::update(const DetectedTool& tool, const std::vector<UpdatePage>& pages) {
  if (pages.empty()) return;
  stopAllRuns();
  mode_ = Mode::update;
  updatePages_.clear();
  screens_.clear();
  selected.clear();
  for (const UpdatePage& page : pages) {
    updatePages_[page.id] = page;
    screens_.push_back({page.id, page.name, {}, page.file.value_or(QString()), false});
    selected.insert(page.id);
  }
  emit screensChanged();
  results_.clear();
  reviewed_.clear();
  firstResults_.clear();
  firstReplies_.clear();
  resultsHandedOn_ = false;
  renderContext_ = RenderContext{tool, {}, {}, {}};
  pageStates_.clear();
  for (const FoundScreen& screen : screens_)
    pageStates_[screen.id] = {PageKind::waiting, {}};
  queue_ = screens_;
  emit pageStatesChanged();
  setPhase(Phase::rendering);
  add(QStringLiteral("arrow.triangle.2.circlepath"),
      QStringLiteral("Updating ") +
          plural(static_cast<int>(pages.size()), QStringLiteral("screen")) +
          QStringLiteral(" from the code"));
  fillSlots();
}

void ScreenshotGenerator::fillSlots() {
  if (phase_ != Phase::rendering || !renderContext_ || !renderContext_->tool.path) return;
  const std::vector<FoundScreen> chosen = chosenScreens();
  while (runs_.size() < static_cast<std::size_t>(kMaxFirstRuns) && !queue_.empty()) {
    const FoundScreen screen = queue_.front();
    queue_.erase(queue_.begin());
    setPageState(screen.id, {PageKind::working, QStringLiteral("Reading the code")});
    auto run = newRun(screen.id);
    run->onExit = [this, screen, raw = run.get()](bool ok, const QString& reply) {
      screenFinished(screen, ok, reply, raw->sessionId());
    };
    QString prompt;
    if (mode_ == Mode::update) {
      prompt = ScreenPrompts::update(appName_, setId_, updatePages_[screen.id]);
    } else {
      ScreenPromptInput input;
      input.appName = appName_;
      input.screen = screen;
      const auto at = std::find(chosen.begin(), chosen.end(), screen);
      input.position = static_cast<int>(at - chosen.begin());
      input.total = static_cast<int>(chosen.size());
      input.platforms = renderContext_->platforms;
      input.appearances = appearances_;
      input.profile = renderContext_->profile;
      input.design = design;
      input.direction = direction;
      input.rating = rating;
      input.review = review;
      input.locales = renderContext_->locales;
      prompt = ScreenPrompts::screen(input);
    }
    start(std::move(run), screen.id, prompt, std::nullopt, {});
  }
  if (runs_.empty() && queue_.empty() && drawing_.empty()) allFinished();
}

void ScreenshotGenerator::screenFinished(const FoundScreen& screen, bool ok, const QString& reply,
                                         const std::optional<QString>& session) {
  if (phase_ != Phase::rendering) return;
  const QString id = screen.id;
  if (reviewed_.contains(id)) {
    reviewFinished(screen, reply);
    return;
  }
  const auto object = DiscoveryReply::replyObject(reply);
  if (object) {
    setPageState(id, {PageKind::working, QStringLiteral("Rendering")});
    add(QStringLiteral("paintbrush"), screen.name + QStringLiteral(": Rendering"));
    drawing_.insert(id);
    const std::uint64_t token = token_;
    draw(*object, id, mode_ == Mode::update,
         [this, screen, reply, session, token](DrawOutcome outcome) {
           const QString id = screen.id;
           if (!current(token)) {
             if (token == token_) drawing_.erase(id);
             return;
           }
           if (outcome.count < 1) {
             drawing_.erase(id);
             setPageState(
                 id, {PageKind::failed,
                      outcome.failure.value_or(QStringLiteral("The reply had no screen to draw"))});
             fillSlots();
             return;
           }
           ScreenResult result = ScreenReply::parseResult(reply);
           result.made = outcome.made;
           result.replaced = outcome.replaced;
           if (onScreenRendered) onScreenRendered();
           firstReplies_[id] = reply;
           auto finish = [this, id, result, token](bool reviewing) {
             if (token != token_) return;
             drawing_.erase(id);
             if (!current(token)) return;
             if (!reviewing) {
               results_[id] = result;
               setPageState(id, {PageKind::done, {}});
             }
             fillSlots();
           };
           if (session) {
             startReview(screen, session, outcome.slotKeys, result, finish);
           } else {
             finish(false);
           }
         });
  } else {
    const QString trimmed = reply.trimmed();
    QString text = trimmed.left(160);
    if (text.isEmpty()) {
      text = ok ? QStringLiteral("Finished without making the screen")
                : QStringLiteral("Stopped with an error");
    }
    setPageState(id, {PageKind::failed, text});
  }
  fillSlots();
}

void ScreenshotGenerator::allFinished() {
  if (phase_ != Phase::rendering || resultsHandedOn_) return;
  resultsHandedOn_ = true;
  const std::uint64_t token = token_;
  auto finish = [this, token] {
    if (token != token_ || phase_ != Phase::rendering) return;
    setPhase(Phase::finished);
    if (failedScreens() > 0) {
      add(QStringLiteral("exclamationmark.triangle"),
          QString::number(renderedScreens()) + QStringLiteral(" made, ") +
              QString::number(failedScreens()) + QStringLiteral(" couldn’t be made"));
    } else {
      add(QStringLiteral("checkmark.circle.fill"), QStringLiteral("All ") +
                                                       QString::number(renderedScreens()) +
                                                       QStringLiteral(" screens made"));
    }
  };
  if (onResults) {
    onResults(results_, finish);
  } else {
    finish();
  }
}

void ScreenshotGenerator::stop() {
  if (!isRunning()) return;
  setPhase(Phase::stopped);
  queue_.clear();
  stopAllRuns();
  drawing_.clear();
  reviewed_.clear();
  for (auto& [id, state] : pageStates_) {
    if (state.kind != PageKind::done) state = {PageKind::waiting, {}};
  }
  emit pageStatesChanged();
  add(QStringLiteral("stop.circle"), QStringLiteral("Stopped"));
}

// --- drawing ---

void ScreenshotGenerator::draw(const QJsonObject& reply, const QString& page, bool update,
                               std::function<void(DrawOutcome)> done) {
  auto job = std::make_shared<DrawJob>();
  job->page = page;
  job->token = token_;
  job->assets = ScreenReply::assets(reply);
  job->done = std::move(done);
  const QJsonValue screens = reply.value(QStringLiteral("screens"));
  auto addScreen = [&](DeviceOS os, std::optional<QString> locale, std::optional<ThemeName> theme,
                       const QString& html) {
    ScreenSlotKey slot{os, std::move(locale), std::nullopt};
    if (theme) slot.appearance = QString::fromUtf8(rawValue(*theme));
    job->screens.push_back({slot, html});
  };
  if (screens.isObject()) {
    const QJsonObject byOS = screens.toObject();
    for (auto it = byOS.begin(); it != byOS.end(); ++it) {
      const auto os = deviceOSFromRaw(utf8(it.key()));
      if (!os || !it.value().isString()) continue;
      if (update) {
        // An update redraws the page's stored slots of that platform.
        const auto page = updatePages_.find(job->page);
        if (page == updatePages_.end()) continue;
        for (const ScreenSlotKey& slot : page->second.slotKeys) {
          if (slot.os == *os) job->screens.push_back({slot, it.value().toString()});
        }
        continue;
      }
      for (ThemeName theme : appearances_)
        addScreen(*os, std::nullopt, theme, it.value().toString());
    }
  } else if (screens.isArray()) {
    for (const QJsonValue& entry : screens.toArray()) {
      const QJsonObject item = entry.toObject();
      if (!item.value(QStringLiteral("html")).isString()) continue;
      const QString html = item.value(QStringLiteral("html")).toString();
      const QJsonValue osValue = item.value(QStringLiteral("os"));
      const auto os = deviceOSFromRaw(osValue.isString() ? utf8(osValue.toString()) : "ios");
      if (!os) continue;
      const QJsonValue localeValue = item.value(QStringLiteral("locale"));
      const std::optional<QString> locale =
          localeValue.isString() ? std::optional(localeValue.toString()) : std::nullopt;
      const QJsonValue appearance = item.value(QStringLiteral("appearance"));
      if (appearance.isString()) {
        // A named appearance is drawn as named, even one this job doesn't make.
        ScreenSlotKey slot{*os, locale, appearance.toString()};
        job->screens.push_back({slot, html});
      } else if (update) {
        addScreen(*os, locale, std::nullopt, html);
      } else {
        for (ThemeName theme : appearances_)
          addScreen(*os, locale, theme, html);
      }
    }
  }
  auto addLayers = [&](const QJsonValue& list, bool components) {
    for (const QJsonValue& entry : list.toArray()) {
      const QJsonObject item = entry.toObject();
      if (!item.value(QStringLiteral("html")).isString()) continue;
      if (components && !item.value(QStringLiteral("old")).isString()) continue;
      DrawJob::Layer layer;
      layer.html = item.value(QStringLiteral("html")).toString();
      if (item.value(QStringLiteral("width")).isDouble())
        layer.width = item.value(QStringLiteral("width")).toDouble();
      if (item.value(QStringLiteral("height")).isDouble())
        layer.height = item.value(QStringLiteral("height")).toDouble();
      const QJsonValue role = item.value(QStringLiteral("role"));
      layer.role = role.isString() ? role.toString() : QStringLiteral("callout");
      if (components) layer.old = item.value(QStringLiteral("old")).toString();
      job->layers.push_back(std::move(layer));
    }
  };
  addLayers(reply.value(QStringLiteral("made")), false);
  if (update) addLayers(reply.value(QStringLiteral("components")), true);
  drawNext(job);
}

void ScreenshotGenerator::drawNext(std::shared_ptr<DrawJob> job) {
  // A stop ends the drawing between two renders; what was drawn stays in the
  // store but no longer counts.
  if (job->token != token_) {
    job->done(std::move(job->outcome));
    return;
  }
  const std::size_t index = job->next++;
  if (index < job->screens.size()) {
    const DrawJob::Screen& screen = job->screens[index];
    const QString failureHead =
        QStringLiteral("Couldn’t draw the ") + osWord(screen.slot.os) + QStringLiteral(" screen: ");
    if (screen.html.toUtf8().size() > kMaxHTMLBytes) {
      job->outcome.failure =
          failureHead + QStringLiteral(
                            "its HTML is over 4 MB, far more than a screen needs. "
                            "Try again.");
      drawNext(job);
      return;
    }
    QString html = ScreenReply::inlineAssets(screen.html, job->assets);
    if (screen.slot.appearance) {
      if (const auto theme = themeFrom(*screen.slot.appearance))
        html = ScreenReply::themed(html, *theme);
    }
    APIClient::Query query{{"set", utf8(setId_)},
                           {"page", utf8(job->page)},
                           {"os", std::string(rawValue(screen.slot.os))}};
    if (screen.slot.locale) query["locale"] = utf8(*screen.slot.locale);
    if (screen.slot.appearance) query["appearance"] = utf8(*screen.slot.appearance);
    const ScreenSlotKey slot = screen.slot;
    client_.postJSON("/api/screen-html", query, JSONValue(JSONValue::Object{{"html", utf8(html)}}),
                     this, [this, job, slot, failureHead](APIResult<JSONValue> result) {
                       if (result.ok()) {
                         ++job->outcome.count;
                         job->outcome.slotKeys.push_back(slot);
                       } else {
                         job->outcome.failure =
                             failureHead + QString::fromUtf8(result.error().what());
                       }
                       drawNext(job);
                     });
    return;
  }
  const std::size_t layerIndex = index - job->screens.size();
  if (layerIndex < job->layers.size()) {
    const DrawJob::Layer& layer = job->layers[layerIndex];
    const QString html = ScreenReply::inlineAssets(layer.html, job->assets);
    if (layer.html.toUtf8().size() > kMaxHTMLBytes) {
      drawNext(job);
      return;
    }
    const double width = std::round(layer.width);
    const double height = std::round(layer.height);
    client_.renderLayerHTML(utf8(setId_), utf8(html), width, height, this,
                            [this, job, layer, width](APIResult<std::string> result) {
                              if (result.ok()) {
                                const QString asset = QString::fromStdString(result.value());
                                if (layer.old) {
                                  job->outcome.replaced[*layer.old] = asset;
                                } else {
                                  job->outcome.made.push_back({asset, width, layer.role});
                                }
                              }
                              drawNext(job);
                            });
    return;
  }
  job->done(std::move(job->outcome));
}

// --- review ---

void ScreenshotGenerator::startReview(const FoundScreen& screen,
                                      const std::optional<QString>& session,
                                      const std::vector<ScreenSlotKey>& slotKeys,
                                      const ScreenResult& result, std::function<void(bool)> done) {
  if (!renderContext_ || !renderContext_->tool.path || slotKeys.empty()) {
    done(false);
    return;
  }
  QString pictures;
  try {
    pictures = jobFolder() + QStringLiteral("/review/") + screen.id;
  } catch (const std::exception&) {
    done(false);
    return;
  }
  if (!QDir().mkpath(pictures)) {
    done(false);
    return;
  }
  struct Fetch {
    std::vector<ScreenSlotKey> slotKeys;
    std::size_t next = 0;
    QStringList lines;
  };
  auto fetch = std::make_shared<Fetch>(Fetch{slotKeys, 0, {}});
  const std::uint64_t token = token_;
  // Each fetch's answer holds the next step; the step itself only looks at
  // itself weakly, so the chain ends with the last answer.
  auto step = std::make_shared<std::function<void()>>();
  *step = [this, fetch, weak = std::weak_ptr(step), token, pictures, screen, session, result,
           done]() {
    if (!current(token)) {
      done(false);
      return;
    }
    if (fetch->next >= fetch->slotKeys.size()) {
      if (fetch->lines.isEmpty()) {
        done(false);
        return;
      }
      setPageState(screen.id, {PageKind::working, QStringLiteral("Checking against the app")});
      add(QStringLiteral("eye"), screen.name + QStringLiteral(": Checking against the app"));
      reviewed_.insert(screen.id);
      firstResults_[screen.id] = result;
      launchReview(screen, session, fetch->lines, pictures);
      const bool started = runs_.contains(screen.id);
      if (!started) {
        reviewed_.erase(screen.id);
        firstResults_.erase(screen.id);
      }
      done(started);
      return;
    }
    const ScreenSlotKey slot = fetch->slotKeys[fetch->next++];
    APIClient::Query query{{"set", utf8(setId_)},
                           {"page", utf8(screen.id)},
                           {"os", std::string(rawValue(slot.os))},
                           {"v", std::to_string(QDateTime::currentSecsSinceEpoch())}};
    if (slot.locale) query["locale"] = utf8(*slot.locale);
    if (slot.appearance) query["appearance"] = utf8(*slot.appearance);
    const auto address = APIClient::url("/api/screen", query);
    auto next = weak.lock();
    if (!address) {
      (*next)();
      return;
    }
    client_.download(
        *address, this, [fetch, next, slot, pictures](APIResult<APIClient::Download> r) {
          if (r.ok()) {
            QString name = QString::fromUtf8(rawValue(slot.os));
            if (slot.locale) name += QLatin1Char('-') + *slot.locale;
            if (slot.appearance) name += QLatin1Char('-') + *slot.appearance;
            const QString path = pictures + QLatin1Char('/') + name + QStringLiteral(".png");
            QFile file(path);
            if (file.open(QIODevice::WriteOnly) &&
                file.write(r.value().bytes.data(), static_cast<qint64>(r.value().bytes.size())) ==
                    static_cast<qint64>(r.value().bytes.size())) {
              fetch->lines << ScreenPrompts::pictureLine(slot, path);
            }
          }
          (*next)();
        });
  };
  (*step)();
}

void ScreenshotGenerator::launchReview(const FoundScreen& screen,
                                       const std::optional<QString>& session,
                                       const QStringList& pictureLines,
                                       const QString& pictureFolder) {
  const AITool tool = renderContext_->tool.tool;
  std::optional<QString> reference;
  if (mode_ == Mode::update) {
    if (const auto it = updatePages_.find(screen.id); it != updatePages_.end())
      reference = it->second.reference;
  }
  const QString prompt =
      ScreenPrompts::review(tool, screen.name, firstReplies_[screen.id], pictureLines, reference);
  auto run = newRun(screen.id);
  run->onExit = [this, screen, raw = run.get()](bool ok, const QString& reply) {
    screenFinished(screen, ok, reply, raw->sessionId());
  };
  start(std::move(run), screen.id, prompt, tool == AITool::gemini ? std::nullopt : session,
        {pictureFolder});
}

void ScreenshotGenerator::reviewFinished(const FoundScreen& screen, const QString& reply) {
  const QString id = screen.id;
  reviewed_.erase(id);
  ScreenResult first;
  if (auto node = firstResults_.extract(id)) first = std::move(node.mapped());
  firstReplies_.erase(id);
  auto object = DiscoveryReply::replyObject(reply);
  if (object && hasEntries(object->value(QStringLiteral("screens")))) {
    setPageState(id, {PageKind::working, QStringLiteral("Applying corrections")});
    drawing_.insert(id);
    object->remove(QStringLiteral("made"));
    object->remove(QStringLiteral("components"));
    const std::uint64_t token = token_;
    draw(*object, id, mode_ == Mode::update, [this, screen, first, token](DrawOutcome outcome) {
      if (token != token_) return;
      drawing_.erase(screen.id);
      if (!current(token)) return;
      results_[screen.id] = first;
      setPageState(screen.id, {PageKind::done, {}});
      if (outcome.count > 0 && onScreenRendered) onScreenRendered();
      add(QStringLiteral("checkmark.circle"), screen.name + QStringLiteral(": Corrected ") +
                                                  plural(outcome.count, QStringLiteral("screen")) +
                                                  QStringLiteral(" to match the app"));
      fillSlots();
    });
    return;
  }
  results_[id] = first;
  setPageState(id, {PageKind::done, {}});
  add(QStringLiteral("checkmark.circle"), screen.name + QStringLiteral(": Matches the app"));
  fillSlots();
}

}  // namespace vells::assistants

#include "models/app_model.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QSignalSpy>
#include <random>

#include "models/fake_transport.h"
#include "models/image_store.h"
#include "models/manual_clock.h"
#include "models/model_library.h"
#include "models/settings_location.h"

namespace vells::testing {
namespace {

using models::APIClient;
using models::APIResult;
using models::AppModel;
using models::ConnectionState;
using models::Done;

// The whole model stack on a real temp library; `gate` lets a test hold the
// pages of one set back while everything else flows.
struct Workspace {
  ModelLibrary lib;
  std::mutex gateMutex;
  std::condition_variable gateOpen;
  std::optional<std::string> heldSet;
  FakeTransport fake{[this](const backend::Request& r) {
    if (r.path == "/api/pages" && r.method == "GET") {
      std::unique_lock lock(gateMutex);
      gateOpen.wait(lock, [&] { return heldSet != r.param("set"); });
    }
    return lib.backend->handle(r);
  }};
  ManualClock clock;
  APIClient client{makeTransport(), clock};
  models::ImageStore images{client};
  QString settingsFile = QString::fromStdString((lib.dir.path() / "vellora.conf").string());
  std::unique_ptr<QSettings> settings =
      std::make_unique<QSettings>(settingsFile, QSettings::IniFormat);
  std::unique_ptr<AppModel> model;

  models::APITransport makeTransport() {
    auto t = fake.transport();
    t.start = [this] { lib.backend->start(); };
    return t;
  }
  AppModel& make() {
    model = std::make_unique<AppModel>(client, images, *settings);
    return *model;
  }
  void hold(std::string set) {
    std::lock_guard g(gateMutex);
    heldSet = std::move(set);
  }
  void open() {
    {
      std::lock_guard g(gateMutex);
      heldSet.reset();
    }
    gateOpen.notify_all();
  }
  bool settle() {
    return spinUntil([&] { return client.pendingCalls() == 0; });
  }
  AppModel& connected() {
    AppModel& m = model ? *model : make();
    m.reconnect();
    EXPECT_TRUE(settle());
    EXPECT_EQ(m.connection().kind, ConnectionState::Kind::online) << m.connection().message;
    return m;
  }
  void app(const std::string& id, JSONValue::Object info) {
    lib.backend->db().saveApp({id, std::move(info), 1});
  }
  void set(const std::string& id, std::optional<std::string> app,
           std::optional<std::vector<std::string>> locales = std::nullopt) {
    lib.backend->db().updateSet({id, "Set " + id, std::move(app), std::move(locales)});
    call(*lib.backend, "POST", "/api/pages?set=" + id,
         R"({"pages":[{"id":")" + id + R"(-a","source":"upload"},{"id":")" + id +
             R"(-b","source":"upload"}]})");
  }
};

// The selection names things that exist, and belong together.
void expectValid(Workspace& w) {
  AppModel& m = *w.model;
  ASSERT_TRUE(m.config());
  const AppConfig& c = *m.config();
  if (c.sets.empty()) return;
  auto set = std::find_if(c.sets.begin(), c.sets.end(),
                          [&](const VellSet& s) { return s.id == m.activeSet(); });
  ASSERT_NE(set, c.sets.end()) << "set " << m.activeSet();
  // Choosing an app that has no sets (yet) shows it empty and keeps the set.
  if (!m.setsInActiveApp().empty()) {
    EXPECT_EQ(set->appId, m.activeApp());
  }
  auto stored = bodyJSON(call(*w.lib.backend, "GET", "/api/pages?set=" + m.activeSet()));
  std::vector<std::string> ids;
  for (const JSONValue& p : *stored["pages"].asArray())
    ids.push_back(*p.stringAt("id"));
  std::vector<std::string> held;
  for (const SetPage& p : m.pages())
    held.push_back(p.id);
  EXPECT_EQ(held, ids) << "set " << m.activeSet();
  if (ids.empty()) {
    EXPECT_FALSE(m.activePage());
  } else {
    ASSERT_TRUE(m.activePage());
    EXPECT_NE(std::find(ids.begin(), ids.end(), *m.activePage()), ids.end());
  }
  auto locales = c.localesForSet(m.activeSet());
  EXPECT_TRUE(std::any_of(locales.begin(), locales.end(), [&](const LocaleRef& l) {
    return l.code == m.activeLocale();
  })) << m.activeLocale();
}

TEST(AppModelStart, AFirstRunGoesOnlineOnDefaultsThatItThenRemembers) {
  Workspace w;
  AppModel& m = w.make();
  EXPECT_EQ(m.workspace(), models::Workspace::gallery);
  EXPECT_EQ(m.os(), DeviceOS::android);
  EXPECT_EQ(m.theme(), ThemeName::dark);
  EXPECT_EQ(m.activeSet(), "default");
  EXPECT_EQ(m.activeLocale(), "en");
  EXPECT_EQ(w.fake.count(), 0);  // nothing before reconnect

  QSignalSpy connection(&m, &AppModel::connectionChanged);
  std::vector<ConnectionState::Kind> seen;
  QObject::connect(&m, &AppModel::connectionChanged, [&] { seen.push_back(m.connection().kind); });
  m.reconnect();
  EXPECT_EQ(m.connection().kind, ConnectionState::Kind::connecting);
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(seen.back(), ConnectionState::Kind::online);
  expectValid(w);

  m.setOs(DeviceOS::ios);
  m.setTheme(ThemeName::light);
  m.setWorkspace(models::Workspace::editor);
  m.setActiveLocale("de");
  w.settings->sync();
  QSettings again(w.settingsFile, QSettings::IniFormat);
  EXPECT_EQ(again.value("os").toString(), "ios");
  EXPECT_EQ(again.value("theme").toString(), "light");
  EXPECT_EQ(again.value("workspace").toString(), "editor");
  EXPECT_EQ(again.value("active.locale").toString(), "de");
  EXPECT_FALSE(again.contains("active.set"));  // written only when it changes
}

TEST(AppModelStart, PreferencesLiveWhereTheEnvironmentSays) {
  const QByteArray saved = qgetenv("VELLS_SETTINGS"), savedXDG = qgetenv("XDG_CONFIG_HOME");
  qputenv("VELLS_SETTINGS", "/tmp/v/prefs.conf");
  EXPECT_EQ(models::settingsPath(), "/tmp/v/prefs.conf");
  qunsetenv("VELLS_SETTINGS");
  qputenv("XDG_CONFIG_HOME", "/cfg");
  EXPECT_EQ(models::settingsPath(), "/cfg/Vellora/vellora.conf");
  qputenv("VELLS_SETTINGS", saved);
  qputenv("XDG_CONFIG_HOME", savedXDG);
  if (saved.isEmpty()) qunsetenv("VELLS_SETTINGS");
  if (savedXDG.isEmpty()) qunsetenv("XDG_CONFIG_HOME");
}

TEST(AppModelStart, AnUnusableLibraryIsOfflineWithTheSameSentenceOnEveryRetry) {
  Workspace w;
  writeFile(w.lib.dir.path() / "lib" / "orvo-tools.sqlite", "not a database at all");
  AppModel& m = w.make();
  m.reconnect();
  ASSERT_TRUE(w.settle());
  ASSERT_EQ(m.connection().kind, ConnectionState::Kind::offline);
  const std::string first = m.connection().message;
  EXPECT_FALSE(first.empty());
  m.reconnect();
  EXPECT_EQ(m.connection().kind, ConnectionState::Kind::connecting);
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(m.connection(), ConnectionState::offline(first));
}

TEST(AppModelStart, StoredSelectionsThatNoLongerExistLandOnRealOnes) {
  Workspace w;
  w.app("app-a", {{"name", "A"}});
  w.app("app-b", {{"name", "B"}});
  w.set("a1", "app-a");
  w.set("a2", "app-a");
  w.set("b1", "app-b", std::vector<std::string>{"fr"});
  w.settings->setValue("active.app", "app-b");
  w.settings->setValue("active.set", "gone");
  w.settings->setValue("active.page", "nope");
  w.settings->setValue("active.locale", "ja");
  AppModel& m = w.connected();
  EXPECT_EQ(m.activeSet(), "b1");
  EXPECT_EQ(m.activeApp(), "app-b");
  EXPECT_EQ(m.activePage(), "b1-a");
  EXPECT_EQ(m.activeLocale(), "fr");
  expectValid(w);

  Workspace w2;
  w2.app("app-a", {{"name", "A"}});
  w2.set("a1", "app-a");
  w2.settings->setValue("active.app", "app-deleted");
  w2.settings->setValue("active.set", "gone");
  AppModel& m2 = w2.connected();
  // The app of the library's first set, and that app's first set.
  EXPECT_EQ(m2.activeApp(), m2.config()->sets.front().appId);
  EXPECT_EQ(m2.activeSet(), m2.setsInActiveApp().front().id);
  expectValid(w2);
}

TEST(AppModelSelection, PagesAreCalledByTheirOwnLabelElseTheBuiltInPagesElseTheirId) {
  Workspace w;
  w.app("sample-app", {{"name", "Sample"}});
  w.set("a1", "sample-app");
  call(*w.lib.backend, "POST", "/api/pages?set=a1",
       R"({"pages":[{"id":"home"},{"id":"copy","builtinId":"stats"},
                    {"id":"mine","label":"Mine","source":"upload"},
                    {"id":"s2","source":"upload"}]})");
  w.settings->setValue("active.set", "a1");
  AppModel& m = w.connected();
  ASSERT_EQ(m.pages().size(), 4u);
  EXPECT_EQ(m.pageLabel("home"), "Home");
  EXPECT_EQ(m.pageLabel("copy"), "Stats");
  EXPECT_EQ(m.pageLabel("mine"), "Mine");
  EXPECT_EQ(m.pageLabel("s2"), "s2");
}

TEST(AppModelSelection, ALatePagesAnswerForASetTheUserLeftChangesNothing) {
  Workspace w;
  w.app("app-a", {{"name", "A"}});
  w.set("a1", "app-a");
  w.set("a2", "app-a");
  AppModel& m = w.connected();
  m.selectApp("app-a");
  ASSERT_TRUE(w.settle());
  ASSERT_EQ(m.activeSet(), "a1");

  w.hold("a2");
  m.setActiveSet("a2");  // its pages hang…
  ASSERT_TRUE(spinUntil([&] { return w.fake.running() == 1; }));
  m.setActiveSet("a1");  // …the user moves on
  ASSERT_TRUE(spinUntil([&] { return w.client.pendingCalls() == 1; }));
  ASSERT_EQ(m.activePage(), "a1-a");
  w.open();
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(m.activeSet(), "a1");
  EXPECT_EQ(m.activePage(), "a1-a");
  expectValid(w);
}

TEST(AppModelSelection, AppsPullTheirPlatformAndTheStoreListingStaysOnlyWithScreenshots) {
  Workspace w;
  w.app("droid", {{"name", "D"},
                  {"screenshotUrls", JSONValue::Array{"https://x/a/392x696bb.png"}},
                  {"profile", JSONValue::Object{{"platforms", JSONValue::Array{"android"}}}}});
  w.app("both",
        {{"name", "B"},
         {"profile", JSONValue::Object{{"platforms", JSONValue::Array{"ios", "android"}}}}});
  w.app("phone", {{"name", "P"},
                  {"screenshotUrls", JSONValue::Array{"https://x/b/1x2bb.jpg"}},
                  {"profile", JSONValue::Object{{"platforms", JSONValue::Array{"ios"}}}}});
  w.set("d1", "droid");
  w.set("b1", "both");
  AppModel& m = w.connected();
  m.setOs(DeviceOS::ios);
  m.selectApp("droid");
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(m.os(), DeviceOS::android);
  EXPECT_EQ(m.activeSet(), "d1");
  EXPECT_EQ(m.appStoreScreenshots(600, "webp"),
            std::vector<std::string>{"https://x/a/600x0w.webp"});
  m.selectApp("both");
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(m.os(), DeviceOS::android);
  EXPECT_EQ(m.activeSet(), "b1");

  m.selectApp("droid");
  ASSERT_TRUE(w.settle());
  m.setActiveSet(std::string(AppModel::appStoreSet));
  ASSERT_TRUE(w.settle());
  m.selectApp("phone");  // has screenshots: the listing stays
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(m.activeSet(), AppModel::appStoreSet);
  EXPECT_EQ(m.activeSetName(), "App Store");
  m.selectApp("both");  // none: its first set
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(m.activeSet(), "b1");
  expectValid(w);
}

TEST(AppModelOperations, SetsAreMadeCopiedLocalisedAndDeletedWithTheSelectionFollowing) {
  Workspace w;
  w.app("app-a", {{"name", "A"}});
  w.set("a1", "app-a", std::vector<std::string>{"de"});
  AppModel& m = w.connected();
  m.selectApp("app-a");
  ASSERT_TRUE(w.settle());

  std::optional<APIResult<Done>> made;
  m.createBlankSet("Spring", nullptr, [&](auto r) { made.emplace(std::move(r)); });
  ASSERT_TRUE(w.settle());
  ASSERT_TRUE(made && made->ok());
  EXPECT_EQ(m.activeSetName(), "Spring");
  EXPECT_EQ(m.activeApp(), "app-a");
  ASSERT_EQ(m.pages().size(), 5u);
  EXPECT_EQ(m.pages()[4].label, "Screen 5");
  EXPECT_EQ(m.activeSetLocales().front().code, "de");  // the locales of the set it came from
  const std::string spring = m.activeSet();

  w.settings->setValue("generated.files." + QString::fromStdString(spring),
                       QVariantMap{{"screen-1", "home.html"}});
  std::optional<APIResult<VellSet>> copy;
  m.duplicateSet(spring, "Spring copy", nullptr, [&](auto r) { copy.emplace(std::move(r)); });
  ASSERT_TRUE(w.settle());
  ASSERT_TRUE(copy && copy->ok());
  EXPECT_EQ(m.activeSet(), copy->value().id);
  EXPECT_EQ(w.settings->value("generated.files." + QString::fromStdString(copy->value().id))
                .toMap()
                .value("screen-1"),
            "home.html");

  m.setLocales(m.activeSet(), {"de", "en"}, nullptr, {});  // every library language: cleared
  ASSERT_TRUE(w.settle());
  EXPECT_FALSE(w.lib.backend->db().loadSets().empty());
  for (const VellSet& s : m.config()->sets) {
    if (s.id == m.activeSet()) {
      EXPECT_FALSE(s.locales);
    }
  }
  m.setLocales(m.activeSet(), {"fr"}, nullptr, {});
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(m.activeLocale(), "fr");

  std::optional<APIResult<Done>> gone;
  m.deleteSet(m.activeSet(), nullptr, [&](auto r) { gone.emplace(std::move(r)); });
  ASSERT_TRUE(w.settle());
  ASSERT_TRUE(gone && gone->ok());
  EXPECT_EQ(m.activeSet(), "a1");
  expectValid(w);

  // A caller that is gone hears nothing, though the work is done.
  bool heard = false;
  {
    QObject sheet;
    m.createBlankSet("Ghost", &sheet, [&](auto) { heard = true; });
  }
  ASSERT_TRUE(w.settle());
  EXPECT_FALSE(heard);
  EXPECT_EQ(m.activeSetName(), "Ghost");
}

TEST(AppModelOperations, DeletingAnAppFreesOrDeletesItsSetsAndMovesOn) {
  Workspace w;
  w.app("app-a", {{"name", "A"}});
  w.app("app-b", {{"name", "B"}});
  w.set("a1", "app-a");
  w.set("a2", "app-a");
  w.set("b1", "app-b");
  AppModel& m = w.connected();
  m.selectApp("app-a");
  ASSERT_TRUE(w.settle());
  m.setCodeFolder("app-a", "/src/a");
  m.deleteApp("app-a", false, nullptr, {});
  ASSERT_TRUE(w.settle());
  EXPECT_FALSE(m.codeFolder("app-a"));
  int freed = 0;
  for (const VellSet& s : m.config()->sets) {
    if (s.id == "a1" || s.id == "a2") freed += !s.appId;
  }
  EXPECT_EQ(freed, 2);
  EXPECT_EQ(m.apps().size(), 1u);
  expectValid(w);

  m.selectApp("app-b");
  ASSERT_TRUE(w.settle());
  m.deleteApp("app-b", true, nullptr, {});
  ASSERT_TRUE(w.settle());
  for (const VellSet& s : m.config()->sets)
    EXPECT_NE(s.id, "b1");
  EXPECT_TRUE(m.apps().empty());
  expectValid(w);
}

TEST(AppModelOperations, ANewAppGetsItsFirstSetOnceAndScreensElsewhereAreFound) {
  Workspace w;
  w.app("fresh", {{"name", "Fresh"}});
  AppModel& m = w.connected();
  m.setActiveLocale("de");
  m.openNewApp("fresh", "Fresh", nullptr, {});
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(m.activeApp(), "fresh");
  EXPECT_EQ(m.activeSetName(), "Fresh v1");
  EXPECT_EQ(m.activeLocale(), "en");
  ASSERT_EQ(m.pages().size(), 5u);
  const auto calls = w.fake.count();
  m.setActiveSet("default");
  ASSERT_TRUE(w.settle());
  m.openNewApp("fresh", "Fresh", nullptr, {});  // it has a set: no request, just select
  EXPECT_EQ(m.activeSetName(), "Fresh v1");
  ASSERT_TRUE(w.settle());
  EXPECT_EQ(w.fake.count(), calls + 2);  // only the pages of the two set changes

  // Screens uploaded for iOS only, while Android shows.
  QImage picture(4, 8, QImage::Format_ARGB32);
  picture.fill(Qt::blue);
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  picture.save(&buffer, "PNG");
  std::optional<APIResult<Done>> stored;
  w.client.uploadRaw(
      *APIClient::url(
          "/api/screen",
          {{"set", m.activeSet()}, {"page", "screen-2"}, {"os", "ios"}, {"locale", "en"}}),
      png.toStdString(), "image/png", nullptr, [&](auto r) { stored.emplace(std::move(r)); });
  ASSERT_TRUE(w.settle());
  ASSERT_TRUE(stored && stored->ok()) << stored->error().what();
  std::optional<std::optional<DeviceOS>> elsewhere;
  m.setOs(DeviceOS::android);
  m.platformWithScreensElsewhere(nullptr, [&](auto os) { elsewhere = os; });
  ASSERT_TRUE(w.settle());
  ASSERT_TRUE(elsewhere);
  EXPECT_EQ(*elsewhere, DeviceOS::ios);
  elsewhere.reset();
  m.setOs(DeviceOS::ios);
  m.platformWithScreensElsewhere(nullptr, [&](auto os) { elsewhere = os; });
  ASSERT_TRUE(w.settle());
  ASSERT_TRUE(elsewhere);
  EXPECT_FALSE(*elsewhere);
}

TEST(AppModelOperations, AListedAppKeepsItsPlatformsListAndTheSheetsAreAskedForByFlags) {
  Workspace w;
  AppModel& m = w.connected();
  m.addListedApp("42", JSONValue::Object{{"name", "Tally"}},
                 JSONValue::Object{{"platforms", JSONValue::Array{"ios", "android"}},
                                   {"about", "Splits bills"}},
                 nullptr, {});
  ASSERT_TRUE(w.settle());
  ASSERT_EQ(m.apps().size(), 1u);
  EXPECT_EQ(m.apps()[0].platforms, (std::vector<std::string>{"ios", "android"}));
  EXPECT_EQ(m.apps()[0].about, "Splits bills");

  m.setCodeFolder("42", "/src/tally");
  m.removeCodeFolder("42");
  EXPECT_FALSE(m.codeFolder("42"));

  QSignalSpy adding(&m, &AppModel::isAddingAppChanged);
  QSignalSpy editing(&m, &AppModel::editingAppChanged);
  QSignalSpy page(&m, &AppModel::isAddingPageChanged);
  QSignalSpy capture(&m, &AppModel::isShowingCaptureChanged);
  m.setAddingApp(true, 9);
  m.setAddingApp(true, 4);
  m.setEditingApp(std::string("42"));
  m.setAddingPage(true);
  m.setShowingCapture(true);
  m.setShowingCapture(false);
  EXPECT_EQ(adding.size(), 1);
  EXPECT_EQ(m.addAppStep(), 4);  // at most the last of the five steps
  m.setAddingApp(false, 3);
  EXPECT_EQ(m.addAppStep(), 0);
  EXPECT_EQ(editing.size(), 1);
  EXPECT_EQ(m.editingApp(), "42");
  EXPECT_EQ(page.size(), 1);
  EXPECT_EQ(capture.size(), 2);
}

TEST(AppModelSelection, RandomSequencesOfOperationsKeepTheSelectionValid) {
  Workspace w;
  w.app("app-a", {{"name", "A"}});
  w.app("app-b", {{"name", "B"}, {"screenshotUrls", JSONValue::Array{"https://x/1x1bb.png"}}});
  w.set("a1", "app-a", std::vector<std::string>{"de", "fr"});
  w.set("a2", "app-a");
  w.set("b1", "app-b", std::vector<std::string>{"fr"});
  AppModel& m = w.connected();
  std::mt19937 random(15);
  auto pick = [&](const std::vector<std::string>& from) {
    return from[std::uniform_int_distribution<std::size_t>(0, from.size() - 1)(random)];
  };
  for (int step = 0; step < 60; ++step) {
    std::vector<std::string> sets{"app-store", "nope", ""};
    for (const VellSet& s : m.config()->sets)
      sets.push_back(s.id);
    switch (std::uniform_int_distribution(0, 8)(random)) {
      case 0:
        m.selectApp(pick({"app-a", "app-b", "gone"}));
        break;
      case 1:
        m.selectApp(std::nullopt);
        break;
      case 2:
        m.setActiveSet(pick(sets));
        break;
      // What a view offers: the pages and languages it shows.
      case 3:
        if (!m.pages().empty()) m.setActivePage(m.pages().back().id);
        break;
      case 4:
        if (!m.activeSetLocales().empty()) m.setActiveLocale(m.activeSetLocales().back().code);
        break;
      case 5:
        m.createBlankSet("New " + std::to_string(step), nullptr, {});
        break;
      case 6:
        m.deleteSet(pick(sets), nullptr, {});
        break;
      case 7:
        m.duplicateSet(pick(sets), "Copy", nullptr, {});
        break;
      case 8:
        m.refreshConfig();
        break;
    }
    // Half the time the next step comes before the answers.
    if (step % 2 == 0) continue;
    ASSERT_TRUE(w.settle());
    if (m.activeSet() == AppModel::appStoreSet) continue;
    SCOPED_TRACE("step " + std::to_string(step));
    expectValid(w);
  }
}

}  // namespace
}  // namespace vells::testing

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <cstdlib>

#include "app/add_app_sheet.h"
#include "app/add_page_sheet.h"
#include "app/edit_app_sheet.h"
#include "app/new_set_sheet.h"
#include "app/sheet_presenter.h"
#include "app/sheet_rules.h"
#include "app/sheet_stack.h"
#include "backend/fake_store_server.h"
#include "capture/device_capture.h"
#include "capture/device_capture_model.h"

namespace vells::testing {
namespace {

using app::AddAppSheet;
using app::AddPageSheet;
using app::EditAppSheet;
using app::NewSetSheet;
using ::testing::ElementsAre;

template <class T = QLineEdit>
T* field(QWidget* sheet, const char* name) {
  T* found = sheet->findChild<T*>(QString::fromLatin1(name));
  EXPECT_TRUE(found) << name;
  return found;
}

void type(QWidget* sheet, const char* name, const QString& text) {
  QLineEdit* edit = field(sheet, name);
  edit->clear();
  // Typed key by key where the test tool has keys for the letters.
  bool ascii = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 128; });
  if (ascii) {
    QTest::keyClicks(edit, text);
  } else {
    edit->insert(text);
  }
}

std::vector<std::string> setNames(SheetStack& s) {
  std::vector<std::string> names;
  for (const auto& row : s.sets())
    names.push_back(row.name);
  std::sort(names.begin(), names.end());
  return names;
}

// --- the rules that have no window ---

TEST(SheetRules, PageIdsAreSafeAndFree) {
  EXPECT_EQ(app::newPageID(QStringLiteral("Crème brûlée"), {}), "cr-me-br-l-e");
  EXPECT_EQ(app::newPageID(QStringLiteral("  Gift   promo!! "), {}), "gift-promo");
  EXPECT_EQ(app::newPageID(QStringLiteral("ÄÖÜ 日本"), {}), "page");
  EXPECT_EQ(app::newPageID(QStringLiteral("…"), {"page"}), "page-2");
  EXPECT_EQ(app::newPageID(QStringLiteral("Home"), {"home", "home-2"}), "home-3");
}

TEST(SheetRules, SetsSortNewestFirstByTheNumberBehindTheLastDash) {
  EXPECT_EQ(app::setStamp("set-1700000000000"), 1700000000000);
  EXPECT_EQ(app::setStamp("default"), 0);
  EXPECT_EQ(app::setStamp("set-12a"), 0);
  EXPECT_EQ(app::setStamp("set-"), 0);
  const auto sorted = app::newestFirst({{"default", "D", {}, {}},
                                        {"s-20", "B", {}, {}},
                                        {"s-300", "C", {}, {}},
                                        {"x", "E", {}, {}}});
  std::vector<std::string> ids;
  for (const VellSet& set : sorted)
    ids.push_back(set.id);
  EXPECT_THAT(ids, ElementsAre("s-300", "s-20", "default", "x"));
  EXPECT_EQ(app::defaultSetName(QStringLiteral("Tally"), 2), QStringLiteral("Tally v3"));
  EXPECT_EQ(app::appCategories().size(), 22);
}

// --- add app ---

class AddApp : public ::testing::Test {
 protected:
  AddApp() {
    ::setenv("VELLS_LOOKUP_URL", store.base().c_str(), 1);
    ::setenv("NO_PROXY", "127.0.0.1", 1);
    s.connect();
  }
  ~AddApp() override { ::unsetenv("VELLS_LOOKUP_URL"); }

  AddAppSheet* open(int step = 0, std::function<bool()> ai = {}) {
    return openSheet<AddAppSheet>(s.app, step, std::move(ai), &s.window);
  }
  void forward(AddAppSheet* sheet) {
    sheet->advance();
    EXPECT_TRUE(spinUntil([&] { return !sheet->isWorking(); }));
    s.settle();
  }

  FakeStoreServer store;
  SheetStack s;
};

TEST_F(AddApp, AFailedLookupGoesOnByNameAndStaysWithout) {
  store.answer(200, R"({"results":[]})");
  AddAppSheet* sheet = open();
  EXPECT_FALSE(sheet->confirmButton()->isEnabled());  // nothing typed yet
  type(sheet, "link", "https://apps.apple.com/app/id404");
  forward(sheet);
  EXPECT_EQ(sheet->step(), AddAppSheet::Step::app);
  EXPECT_EQ(sheet->errorText(),
            "Couldn’t find that app on the App Store — you can still add it by name.");
  EXPECT_FALSE(sheet->found());

  type(sheet, "name", "Tally");
  forward(sheet);
  EXPECT_EQ(sheet->step(), AddAppSheet::Step::platforms);
  EXPECT_EQ(sheet->errorText(), QString());
  EXPECT_FALSE(sheet->found());
  EXPECT_TRUE(sheet->platforms().empty());  // no store: nothing chosen for the person
  EXPECT_FALSE(sheet->confirmButton()->isEnabled());
  EXPECT_EQ(store.targets().size(), 2u);  // the failed link was tried again
}

TEST_F(AddApp, AFoundAppLooksUpOnceFillsTheNameAndChoosesIOSOnlyIfNothingWasChosen) {
  store.answer(200, R"({"results":[{"trackName":"Tally","artistName":"Bea Kim"}]})");
  AddAppSheet* sheet = open();
  type(sheet, "link", "https://apps.apple.com/app/id42");
  forward(sheet);
  ASSERT_EQ(sheet->step(), AddAppSheet::Step::platforms);
  EXPECT_EQ(field(sheet, "name")->text(), "Tally");
  EXPECT_THAT(sheet->platforms(), ElementsAre(DeviceOS::ios));

  // Back keeps everything; a changed choice survives the next Continue, and
  // the same link isn't looked up again.
  sheet->back();
  sheet->togglePlatform(DeviceOS::ios);
  sheet->togglePlatform(DeviceOS::android);
  forward(sheet);
  EXPECT_THAT(sheet->platforms(), ElementsAre(DeviceOS::android));
  EXPECT_EQ(store.targets().size(), 1u);
  sheet->back();
  bool foundShown = false;
  for (QLabel* label : sheet->findChildren<QLabel*>())
    foundShown |= label->isVisible() && label->text() == "Found on the App Store — Bea Kim";
  EXPECT_TRUE(foundShown);
  sheet->togglePlatform(DeviceOS::ios);
  forward(sheet);

  forward(sheet);  // platforms
  forward(sheet);  // code
  type(sheet, "about", "  Splits bills  ");
  field<QComboBox>(sheet, "category")->setCurrentText("Finance");
  forward(sheet);  // about
  ASSERT_EQ(sheet->step(), AddAppSheet::Step::ready);
  EXPECT_EQ(sheet->confirmButton()->text(), "Add App");
  EXPECT_EQ(field<QLabel>(sheet, "readyStore")->text(), "From the App Store");
  EXPECT_EQ(field<QLabel>(sheet, "readyPlatforms")->text(), "iOS, Android");
  EXPECT_EQ(field<QLabel>(sheet, "readyProfile")->text(), "Splits bills · Finance");

  QSignalSpy generate(sheet, &AddAppSheet::generateRequested);
  forward(sheet);
  EXPECT_EQ(sheet->result(), QDialog::Accepted);
  EXPECT_EQ(s.appInfo("42").find("profile")->find("platforms")->asArray()->size(), 2u);
  EXPECT_EQ(s.appInfo("42").find("profile")->stringAt("about"), "Splits bills");
  EXPECT_EQ(s.app.activeApp(), "42");
  EXPECT_EQ(s.app.os(), DeviceOS::ios);
  EXPECT_THAT(setNames(s), ElementsAre("Tally v1"));
  EXPECT_EQ(generate.size(), 0);  // no folder, no generation
}

TEST_F(AddApp, AnUnlistedAppWithAFolderIsSelectedRemembersItAndAsksForGeneration) {
  AddAppSheet* sheet = open(0, [] { return true; });
  type(sheet, "name", "  Dinner Plan ");
  // Return in the field is the forward button.
  QTest::keyClick(field(sheet, "name"), Qt::Key_Return);
  ASSERT_EQ(sheet->step(), AddAppSheet::Step::platforms);
  EXPECT_FALSE(sheet->confirmButton()->isEnabled());
  sheet->togglePlatform(DeviceOS::android);
  forward(sheet);
  sheet->setCodeFolder(QStringLiteral("/src/dinner"));
  EXPECT_TRUE(spinUntil(
      [&] { return field<QLabel>(sheet, "aiNotice")->text().startsWith("After adding the app"); }));
  EXPECT_THAT(field<QLabel>(sheet, "aiNotice")->text().toStdString(),
              ::testing::HasSubstr("on this computer"));
  forward(sheet);
  type(sheet, "audience", "Families");
  forward(sheet);
  EXPECT_EQ(field<QLabel>(sheet, "readyFolder")->text(), "dinner");
  EXPECT_EQ(field<QLabel>(sheet, "readyStore")->text(), "Not on the App Store yet");

  QSignalSpy generate(sheet, &AddAppSheet::generateRequested);
  forward(sheet);
  ASSERT_EQ(sheet->result(), QDialog::Accepted) << sheet->errorText().toStdString();
  ASSERT_TRUE(s.app.activeApp());
  const std::string id = *s.app.activeApp();
  EXPECT_EQ(s.appInfo(id).stringAt("name"), "Dinner Plan");
  EXPECT_EQ(s.app.codeFolder(id), "/src/dinner");
  EXPECT_EQ(s.app.os(), DeviceOS::android);
  EXPECT_THAT(setNames(s), ElementsAre("Dinner Plan v1"));
  ASSERT_EQ(generate.size(), 1);
  EXPECT_EQ(generate[0][0].toMap(), (QVariantMap{{"Who it is for", "Families"}}));
}

TEST_F(AddApp, EscapeCancelsAndNothingIsAdded) {
  auto* sheet = new AddAppSheet(s.app, 4, {}, &s.window);
  sheet->open();
  EXPECT_EQ(sheet->step(), AddAppSheet::Step::ready);  // debug.addAppStep opens any step
  QPointer<AddAppSheet> alive(sheet);
  QSignalSpy finished(sheet, &QDialog::finished);
  QTest::keyClick(sheet, Qt::Key_Escape);
  ASSERT_EQ(finished.size(), 1);
  EXPECT_EQ(finished[0][0].toInt(), QDialog::Rejected);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_FALSE(alive);  // closing frees it
  EXPECT_TRUE(s.sets().empty());
  EXPECT_EQ(open(7)->step(), AddAppSheet::Step::app);
}

// --- new set ---

TEST(NewSet, TheDefaultNameCountsTheAppsSetsAndTheChoicesFollowTheCode) {
  SheetStack s;
  s.addApp("7", {{"name", "Tally"}});
  s.addApp("8", {{"name", "Fresh"}});
  s.addSet("s-100", "7", "First");
  s.addSet("s-300", "7", "Third");
  s.addSet("s-200", "7", "Second");
  s.connect();
  s.app.selectApp(std::string("8"));
  s.settle();
  {
    auto* sheet = openSheet<NewSetSheet>(s.app, &s.window);
    EXPECT_EQ(sheet->defaultName(), "Fresh v1");
    EXPECT_EQ(field(sheet, "name")->placeholderText(), "Fresh v1");
    EXPECT_EQ(sheet->start(), NewSetSheet::Start::blank);
    EXPECT_FALSE(sheet->isOffered(NewSetSheet::Start::generate));
    EXPECT_EQ(sheet->confirmButton()->text(), "Create");
    QTest::keyClick(field(sheet, "name"), Qt::Key_Return);
    ASSERT_TRUE(spinUntil([&] { return sheet->result() == QDialog::Accepted; }));
    s.settle();
    EXPECT_THAT(setNames(s), ElementsAre("First", "Fresh v1", "Second", "Third"));
    EXPECT_EQ(s.app.activeSetName(), "Fresh v1");
    EXPECT_EQ(s.app.pages().size(), 5u);
  }

  s.app.selectApp(std::string("7"));
  s.settle();
  s.app.setCodeFolder("7", "/src/tally");
  auto* sheet = openSheet<NewSetSheet>(s.app, &s.window);
  EXPECT_EQ(sheet->defaultName(), "Tally v4");
  EXPECT_EQ(sheet->start(), NewSetSheet::Start::update);
  EXPECT_EQ(sheet->source(), "s-300");  // the newest
  EXPECT_EQ(sheet->confirmButton()->text(), "Continue");
  QComboBox* from = field<QComboBox>(sheet, "from");
  EXPECT_EQ(from->itemText(0), "Third");
  EXPECT_EQ(from->itemText(2), "First");
  sheet->setSource("s-100");
  type(sheet, "name", "  Spring ");
  QSignalSpy update(sheet, &NewSetSheet::updateRequested);
  sheet->create();
  ASSERT_TRUE(spinUntil([&] { return update.size() == 1; })) << sheet->errorText().toStdString();
  s.settle();
  EXPECT_EQ(s.app.activeSetName(), "Spring");
  EXPECT_EQ(s.app.pages().size(), 2u);  // a copy of "First"
}

TEST(NewSet, AFailureStaysInTheSheetInWordsWithWhatWasTyped) {
  SheetStack s;
  s.connect();
  s.failWith("/api/sets", "The library’s disk is full.");
  auto* sheet = openSheet<NewSetSheet>(s.app, &s.window);
  EXPECT_EQ(sheet->defaultName(), "Unassigned v1");
  type(sheet, "name", "Autumn");
  sheet->create();
  ASSERT_TRUE(spinUntil([&] { return !sheet->isWorking(); }));
  EXPECT_TRUE(sheet->isVisible());
  EXPECT_EQ(sheet->errorText(), "The library’s disk is full.");
  EXPECT_EQ(field(sheet, "name")->text(), "Autumn");
  EXPECT_TRUE(sheet->confirmButton()->isEnabled());  // ready to try again
  EXPECT_TRUE(s.sets().empty());
}

// --- add page ---

TEST(AddPage, AnUploadedPageGetsASafeIdAndBecomesTheActivePage) {
  SheetStack s;
  s.addSet("s-1", std::nullopt, "Shots");
  s.connect();
  ASSERT_EQ(s.app.activeSet(), "s-1");
  auto* sheet = openSheet<AddPageSheet>(s.app, &s.window);
  EXPECT_EQ(sheet->source(), PageSource::upload);
  EXPECT_FALSE(field<QRadioButton>(sheet, "App screen")->isEnabled());  // not the sample app's set
  EXPECT_FALSE(field<QRadioButton>(sheet, "Your code")->isEnabled());
  EXPECT_FALSE(sheet->confirmButton()->isEnabled());
  type(sheet, "label", "   ");
  EXPECT_FALSE(sheet->canAdd());
  type(sheet, "label", "Crème brûlée");
  QTest::keyClick(field(sheet, "label"), Qt::Key_Return);
  ASSERT_TRUE(spinUntil([&] { return sheet->result() == QDialog::Accepted; }));
  EXPECT_EQ(s.app.activePage(), "cr-me-br-l-e");
  ASSERT_EQ(s.app.pages().size(), 3u);
  EXPECT_EQ(s.app.pages().back().label, "Crème brûlée");
  EXPECT_EQ(s.app.pages().back().source, PageSource::upload);
}

TEST(AddPage, TheSampleAppsSetOffersOnlyTheScreensItLacks) {
  SheetStack s;
  s.addApp("sample-app", {{"name", "Sample"}});
  s.addSet("s-1", "sample-app", "Sample shots");
  call(*s.lib.backend, "POST", "/api/pages?set=s-1",
       R"({"pages":[{"id":"home","label":"Home","source":"builtin","builtinId":"home"}]})");
  s.connect();
  ASSERT_EQ(s.app.activeSet(), "s-1");
  auto* sheet = openSheet<AddPageSheet>(s.app, &s.window);
  ASSERT_EQ(sheet->available().size(), 1u);
  EXPECT_EQ(sheet->available()[0].id, "stats");
  field<QRadioButton>(sheet, "App screen")->click();
  EXPECT_EQ(sheet->source(), PageSource::builtin);
  sheet->add();
  ASSERT_TRUE(spinUntil([&] { return sheet->result() == QDialog::Accepted; }));
  ASSERT_EQ(s.app.pages().size(), 2u);
  EXPECT_EQ(s.app.pages().back(), (SetPage{"stats", "Stats", PageSource::builtin, "stats"}));
  EXPECT_EQ(s.app.activePage(), "stats");

  auto* again = openSheet<AddPageSheet>(s.app, &s.window);
  again->setSource(PageSource::builtin);
  EXPECT_TRUE(again->available().empty());
  EXPECT_FALSE(again->canAdd());
  bool said = false;
  for (QLabel* label : again->findChildren<QLabel*>())
    said |= label->isVisible() && label->text() == "This set already has every coded screen.";
  EXPECT_TRUE(said);
}

// --- edit app ---

TEST(EditApp, SavingWritesTheFieldsTheIconAndTheFolder) {
  SheetStack s;
  s.connect();
  std::string id;
  s.client.addUnlistedApp("Tally", "Bea", JSONValue::Object{}, nullptr,
                          [&](models::APIResult<std::string> r) { id = r.value(); });
  ASSERT_TRUE(s.settle());
  s.app.refreshConfig();
  s.settle();
  s.app.setCodeFolder(id, "/old");

  auto* sheet = openSheet<EditAppSheet>(s.app, s.images, id, &s.window);
  EXPECT_FALSE(sheet->isListed());
  EXPECT_EQ(field(sheet, "name")->text(), "Tally");
  EXPECT_EQ(sheet->codeFolder(), "/old");
  type(sheet, "name", "   ");
  EXPECT_FALSE(sheet->confirmButton()->isEnabled());  // an unlisted app needs its name
  type(sheet, "name", " Tally Two ");
  type(sheet, "developer", " Bea Kim ");
  type(sheet, "about", "Splits bills");
  field<QComboBox>(sheet, "category")->setCurrentText("Finance");
  // An app that never said shows the window's platform; the last one stays.
  EXPECT_THAT(sheet->platforms(), ElementsAre(DeviceOS::android));
  sheet->togglePlatform(DeviceOS::android);
  EXPECT_THAT(sheet->platforms(), ElementsAre(DeviceOS::android));
  EXPECT_EQ(field<QPushButton>(sheet, "android")->toolTip(), "An app needs at least one platform");
  sheet->togglePlatform(DeviceOS::ios);
  sheet->togglePlatform(DeviceOS::android);
  ASSERT_THAT(sheet->platforms(), ElementsAre(DeviceOS::ios));
  QImage wide(300, 100, QImage::Format_RGB32);
  wide.fill(Qt::red);
  sheet->setIconImage(wide);
  ASSERT_TRUE(sheet->newIcon());
  EXPECT_EQ(QImage::fromData(*sheet->newIcon()).size(), QSize(512, 512));
  sheet->setCodeFolder(std::nullopt);
  sheet->save();
  ASSERT_TRUE(spinUntil([&] { return sheet->result() == QDialog::Accepted; }))
      << sheet->errorText().toStdString();
  const JSONValue info = s.appInfo(id);
  EXPECT_EQ(info.stringAt("name"), "Tally Two");
  EXPECT_EQ(info.stringAt("developer"), "Bea Kim");
  EXPECT_EQ(info.find("profile")->stringAt("category"), "Finance");
  EXPECT_EQ(*info.find("profile")->find("platforms"), JSONValue(JSONValue::Array{"ios"}));
  EXPECT_EQ(info.stringAt("icon")->rfind("/api/orvo/app-icon/", 0), 0u);
  EXPECT_FALSE(s.app.codeFolder(id));
  EXPECT_EQ(s.app.apps().front().name, "Tally Two");  // the config was read again

  // "Remove Icon" on a picture never saved only drops it.
  auto* again = openSheet<EditAppSheet>(s.app, s.images, id, &s.window);
  again->setIconImage(wide);
  again->removeIcon();
  EXPECT_FALSE(again->newIcon());
  QTest::keyClick(again, Qt::Key_Escape);
  EXPECT_EQ(again->result(), QDialog::Rejected);
  EXPECT_TRUE(s.appInfo(id).stringAt("icon"));
}

TEST(EditApp, DeletingOffersToKeepTheSets) {
  SheetStack s;
  s.addApp("7", {{"name", "Tally"}});
  s.addSet("s-1", "7", "One");
  s.addSet("s-2", "7", "Two");
  s.connect();
  auto* sheet = openSheet<EditAppSheet>(s.app, s.images, "7", &s.window);
  EXPECT_TRUE(sheet->isListed());
  EXPECT_FALSE(field(sheet, "name")->isVisible());  // the store's name isn't ours to edit
  EXPECT_EQ(sheet->ownedSets(), 2);
  field<QPushButton>(sheet, "deleteApp")->click();
  QMessageBox* box = sheet->deleteConfirmation();
  ASSERT_TRUE(box);
  EXPECT_EQ(box->text(), "Delete “Tally”?");
  EXPECT_EQ(box->informativeText(),
            "It is removed from Store Lens and the keyword tools too, with its tracked keywords. "
            "Kept sets move to Unassigned. This can’t be undone.");
  QStringList buttons;
  QPushButton* keep = nullptr;
  for (QAbstractButton* b : box->buttons()) {
    buttons << b->text();
    if (b->text() == "Delete App, Keep Sets") keep = qobject_cast<QPushButton*>(b);
  }
  EXPECT_TRUE(buttons.contains("Delete App and 2 Sets"));
  EXPECT_TRUE(buttons.contains("Cancel"));
  ASSERT_TRUE(keep);
  keep->click();
  ASSERT_TRUE(spinUntil([&] { return sheet->result() == QDialog::Accepted; }))
      << sheet->errorText().toStdString();
  EXPECT_FALSE(s.lib.backend->db().app("7"));
  for (const auto& row : s.sets())
    EXPECT_FALSE(row.appId) << row.name;
  EXPECT_EQ(s.sets().size(), 2u);
}

// --- the presenter ---

TEST(SheetPresenter, OpensWhatTheWorkspaceAsksForOneAtATime) {
  SheetStack s;
  capture::DeviceCapture devices(capture::DeviceTools{});
  capture::DeviceCaptureModel captureModel(devices);
  app::SheetPresenter presenter(s.app, s.editor, s.images, captureModel, {}, &s.window);
  EXPECT_FALSE(presenter.current());
  s.connect();
  s.app.setAddingApp(true, 2);  // as `debug.addAppStep` does at start
  ASSERT_TRUE(spinUntil([&] { return presenter.current() != nullptr; }));
  auto* add = qobject_cast<AddAppSheet*>(presenter.current());
  ASSERT_TRUE(add);
  EXPECT_EQ(add->step(), AddAppSheet::Step::code);
  EXPECT_TRUE(add->isVisible());
  EXPECT_EQ(add->windowModality(), Qt::WindowModal);

  // A request while a sheet shows waits for it.
  s.app.setCreatingSet(true);
  QCoreApplication::processEvents();
  EXPECT_EQ(presenter.current(), add);
  QTest::keyClick(add, Qt::Key_Escape);
  EXPECT_FALSE(s.app.isAddingApp());
  ASSERT_TRUE(spinUntil([&] { return qobject_cast<NewSetSheet*>(presenter.current()); }));
  // Withdrawn elsewhere (the library went away): the sheet closes.
  s.app.setCreatingSet(false);
  ASSERT_TRUE(spinUntil([&] { return presenter.current() == nullptr; }));

  s.app.setAddingPage(true);
  ASSERT_TRUE(spinUntil([&] { return qobject_cast<AddPageSheet*>(presenter.current()); }));
  presenter.current()->reject();
  EXPECT_FALSE(s.app.isAddingPage());
}

}  // namespace
}  // namespace vells::testing

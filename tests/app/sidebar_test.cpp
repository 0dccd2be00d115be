#include <gtest/gtest.h>

#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include "app/app_switcher.h"
#include "app/sidebar_row_delegate.h"
#include "app/sidebar_view.h"
#include "shell_stack.h"

namespace vells::testing {
namespace {

using app::SidebarRowDelegate;
using models::AppModel;

QStringList titles(QMenu* menu) {
  QStringList out;
  for (QAction* a : menu->actions()) {
    if (!a->isSeparator()) out << a->text();
  }
  return out;
}

QStringList rows(QListWidget* list, int role = Qt::DisplayRole) {
  QStringList out;
  for (int i = 0; i < list->count(); ++i)
    out << list->item(i)->data(role).toString();
  return out;
}

struct Sidebar : ::testing::Test {
  ShellStack s{{"active.app", "42"}, {"active.set", "a"}};
  app::SidebarView* bar = nullptr;
  void open() {
    s.open();
    ASSERT_EQ(s.app.connection().kind, models::ConnectionState::Kind::online);
    bar = s.window->sidebar();
  }
};

TEST_F(Sidebar, CountsSetsAndLanguagesInWords) {
  s.makeApp("42", "Tempo");
  s.makeSet("a", "42", 2, std::vector<std::string>{"de"});
  open();
  EXPECT_EQ(bar->switcher()->title(), QStringLiteral("Tempo"));
  EXPECT_EQ(bar->switcher()->subtitle(), QStringLiteral("1 set"));
  EXPECT_EQ(rows(bar->setList(), SidebarRowDelegate::subtitleRole).last(),
            QStringLiteral("1 language"));

  s.makeSet("two", "42", 2, std::vector<std::string>{"en", "de"});
  s.app.refreshConfig();
  s.settle();
  EXPECT_EQ(bar->switcher()->subtitle(), QStringLiteral("2 sets"));
  EXPECT_EQ(rows(bar->setList()), (QStringList{"App Store", "Set a", "Set two"}));
  EXPECT_EQ(rows(bar->setList(), SidebarRowDelegate::subtitleRole).last(),
            QStringLiteral("2 languages"));
}

TEST_F(Sidebar, StoreRowOnlyForListedAppsAndItHidesThePages) {
  s.makeApp("42", "Tempo", 3);
  s.makeApp("my-notes-1", "Notes");
  s.makeSet("a", "42");
  s.makeSet("n", "my-notes-1");
  open();
  ASSERT_EQ(rows(bar->setList()).first(), QStringLiteral("App Store"));
  EXPECT_EQ(bar->setList()->item(0)->data(SidebarRowDelegate::subtitleRole).toString(),
            QStringLiteral("3 screenshots"));
  EXPECT_TRUE(bar->pagesShown());
  bar->setList()->setCurrentRow(0);
  EXPECT_EQ(s.app.activeSet(), AppModel::appStoreSet);
  EXPECT_FALSE(bar->pagesShown());

  s.app.selectApp(std::string("my-notes-1"));
  s.settle();
  EXPECT_EQ(rows(bar->setList()), QStringList{"Set n"});
  EXPECT_TRUE(bar->pagesShown());
}

TEST_F(Sidebar, PageMenuOffersRemovalOnlyWithTwoOrMorePages) {
  s.makeSet("a", std::nullopt, 2);
  open();
  QMenu* menu = bar->pageMenu("p1", bar);
  EXPECT_EQ(titles(menu),
            (QStringList{"Rename…", "Use This Background on All Pages", "Remove from Set"}));
  menu->actions().last()->trigger();
  s.settle();
  ASSERT_EQ(s.app.pages().size(), 1u);
  EXPECT_EQ(s.app.pages()[0].id, "p2");
  EXPECT_EQ(titles(bar->pageMenu("p2", bar)),
            (QStringList{"Rename…", "Use This Background on All Pages"}));
}

TEST_F(Sidebar, SwitcherWithoutAppsOrUnassignedSetsOffersOnlyAddApp) {
  open();
  QMenu* menu = bar->switcher()->buildMenu(bar);
  EXPECT_EQ(titles(menu), QStringList{"Add App…"});
  QSignalSpy adding(&s.app, &AppModel::isAddingAppChanged);
  menu->actions().last()->trigger();
  // The sheet opens only after the list has closed.
  EXPECT_FALSE(s.app.isAddingApp());
  ASSERT_TRUE(spinUntil([&] { return s.app.isAddingApp(); }));
  EXPECT_EQ(s.app.addAppStep(), 0);
}

TEST_F(Sidebar, SwitcherListsAppsUnassignedAndEdit) {
  s.makeApp("42", "Tempo");
  s.makeSet("a", "42");
  s.makeSet("loose", std::nullopt);
  open();
  QMenu* menu = bar->switcher()->buildMenu(bar);
  EXPECT_EQ(titles(menu), (QStringList{"Tempo", "Unassigned", "Add App…", "Edit App…"}));
  EXPECT_TRUE(menu->actions()[0]->isChecked());
  menu->actions().last()->trigger();
  ASSERT_TRUE(spinUntil([&] { return s.app.editingApp().has_value(); }));
  EXPECT_EQ(*s.app.editingApp(), "42");
  menu = bar->switcher()->buildMenu(bar);
  menu->actions()[1]->trigger();
  ASSERT_TRUE(spinUntil([&] { return !s.app.activeApp().has_value(); }));
  s.settle();
  EXPECT_EQ(s.app.activeSet(), "loose");
}

TEST_F(Sidebar, FailingRenameKeepsTheNameAndSaysWhy) {
  s.makeSet("a", std::nullopt);
  open();
  s.fake.setAnswer([&](const backend::Request& r) {
    if (r.method == "PATCH" && r.path == "/api/sets") {
      return backend::Response::error("That name is taken.", 409);
    }
    return s.lib.backend->handle(r);
  });
  bar->renameSet("a");
  auto* dialog = bar->findChild<QDialog*>(QStringLiteral("nameDialog"));
  ASSERT_TRUE(dialog);
  EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Rename set"));
  auto* field = dialog->findChild<QLineEdit*>();
  field->setText(QStringLiteral("  Launch  "));
  for (QAbstractButton* b : dialog->findChild<QDialogButtonBox*>()->buttons()) {
    if (b->text() == QStringLiteral("Rename")) b->click();
  }
  s.settle();
  QMessageBox* failure = nullptr;
  ASSERT_TRUE(spinUntil([&] {
    failure = bar->findChild<QMessageBox*>(QStringLiteral("failureDialog"));
    return failure != nullptr;
  }));
  EXPECT_EQ(failure->text(), QStringLiteral("Couldn’t do that"));
  EXPECT_EQ(failure->informativeText(), QStringLiteral("That name is taken."));
  EXPECT_EQ(rows(bar->setList()), QStringList{"Set a"});

  // Blank text changes nothing and asks nothing.
  s.fake.setAnswer([&](const backend::Request& r) { return s.lib.backend->handle(r); });
  failure->close();
  bar->renameSet("a");
  dialog = bar->findChild<QDialog*>(QStringLiteral("nameDialog"));
  ASSERT_TRUE(dialog);
  dialog->findChild<QLineEdit*>()->setText(QStringLiteral("   "));
  const int before = static_cast<int>(s.fake.requests().size());
  for (QAbstractButton* b : dialog->findChild<QDialogButtonBox*>()->buttons()) {
    if (b->text() == QStringLiteral("Rename")) b->click();
  }
  s.settle();
  EXPECT_EQ(static_cast<int>(s.fake.requests().size()), before);

  // A good name lands and shows.
  bar->renameSet("a");
  dialog = bar->findChildren<QDialog*>(QStringLiteral("nameDialog")).last();
  dialog->findChild<QLineEdit*>()->setText(QStringLiteral(" Launch "));
  for (QAbstractButton* b : dialog->findChild<QDialogButtonBox*>()->buttons()) {
    if (b->text() == QStringLiteral("Rename")) b->click();
  }
  ASSERT_TRUE(spinUntil([&] { return rows(bar->setList()) == QStringList{"Launch"}; }));
}

TEST_F(Sidebar, DebugAddAppStepOpensTheSheetWhenFirstShown) {
  s.window =
      std::make_unique<app::MainWindow>(s.app, s.editor, s.canvas, s.gallery, s.images, s.settings);
  s.window->sidebar()->setDebugAddAppStep(9);
  EXPECT_FALSE(s.app.isAddingApp());
  s.window->show();
  EXPECT_TRUE(s.app.isAddingApp());
  EXPECT_EQ(s.app.addAppStep(), 4);  // the last of the five steps
  s.app.setAddingApp(false);
  s.window->hide();
  s.window->show();
  EXPECT_FALSE(s.app.isAddingApp());
}

}  // namespace
}  // namespace vells::testing

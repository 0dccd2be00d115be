#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include "app/connection_view.h"
#include "app/editor_view.h"
#include "app/empty_state_view.h"
#include "app/segmented_control.h"
#include "app/shell_commands.h"
#include "app/shell_state.h"
#include "shell_stack.h"

namespace vells::testing {
namespace {

using app::EditorView;
using app::ShellCommands;
using models::AppModel;
using models::CanvasSelection;
using models::Workspace;
using Kind = models::ConnectionState::Kind;

// The editor's commands, which the in-editor rule switches all at once.
std::vector<QAction*> editorCommands(ShellCommands& c) {
  return {c.insertText(), c.insertSticker(), c.insertImage(),  c.duplicate(),    c.deleteLayer(),
          c.deselect(),   c.bringForward(),  c.sendBackward(), c.bringToFront(), c.sendToBack()};
}
std::vector<QAction*> layerCommands(ShellCommands& c) {
  return {c.duplicate(),    c.deleteLayer(),  c.bringForward(),
          c.sendBackward(), c.bringToFront(), c.sendToBack()};
}

struct Online : ::testing::Test {
  ShellStack s{{"active.app", "42"}, {"active.set", "a"}, {"workspace", "editor"}};
  void SetUp() override {
    s.makeApp("42", "Tempo", 2);
    s.makeSet("a", "42", 3);
    s.open();
    ASSERT_EQ(s.app.connection().kind, Kind::online) << s.app.connection().message;
    ASSERT_TRUE(s.app.activePage());
    ASSERT_TRUE(spinUntil([&] { return s.editor.styles().has_value(); }));
  }
  ShellCommands& commands() { return *s.window->commands(); }
};

TEST_F(Online, EditorCommandsFollowWorkspaceSelectionAndLayer) {
  ShellCommands& c = commands();
  EXPECT_TRUE(c.newSet()->isEnabled());
  EXPECT_TRUE(c.insertText()->isEnabled());
  for (QAction* a : layerCommands(c))
    EXPECT_FALSE(a->isEnabled()) << a->text().toStdString();
  EXPECT_FALSE(c.deselect()->isEnabled());

  // The phone or the title can be deselected, not duplicated or deleted.
  s.canvas.select(CanvasSelection::phone());
  EXPECT_TRUE(c.deselect()->isEnabled());
  for (QAction* a : layerCommands(c))
    EXPECT_FALSE(a->isEnabled()) << a->text().toStdString();
  s.canvas.select(CanvasSelection::title());
  EXPECT_TRUE(c.deselect()->isEnabled());
  EXPECT_FALSE(c.duplicate()->isEnabled());

  // Insert ▸ Text makes a layer; with it selected, the layer commands work.
  c.insertText()->trigger();
  ASSERT_EQ(s.canvas.layers().size(), 1u);
  s.canvas.select(CanvasSelection::layer(s.canvas.layers()[0].id));
  for (QAction* a : layerCommands(c))
    EXPECT_TRUE(a->isEnabled()) << a->text().toStdString();
  c.duplicate()->trigger();
  EXPECT_EQ(s.canvas.layers().size(), 2u);
  c.deselect()->trigger();
  EXPECT_FALSE(s.canvas.selection());

  // In the gallery none of the editor's commands act, whatever is selected.
  s.canvas.select(CanvasSelection::layer(s.canvas.layers()[0].id));
  c.gallery()->trigger();
  EXPECT_EQ(s.app.workspace(), Workspace::gallery);
  for (QAction* a : editorCommands(c))
    EXPECT_FALSE(a->isEnabled()) << a->text().toStdString();
  EXPECT_NE(s.window->visibleDetail(), s.window->editorView());
  c.editor()->trigger();
  EXPECT_EQ(s.window->visibleDetail(), s.window->editorView());

  // Without a page there is nothing to edit.
  s.app.setActivePage(std::nullopt);
  EXPECT_FALSE(c.insertText()->isEnabled());
  EXPECT_EQ(s.window->editorView()->state(), EditorView::State::empty);
}

TEST_F(Online, StoreListingLocksEveryEditingControl) {
  ShellCommands& c = commands();
  s.canvas.select(CanvasSelection::phone());
  for (Workspace w : {Workspace::editor, Workspace::gallery}) {
    s.app.setWorkspace(w);
    s.app.setActiveSet(std::string(AppModel::appStoreSet));
    s.settle();
    ASSERT_EQ(s.app.activeSet(), AppModel::appStoreSet);
    for (QAction* a : editorCommands(c))
      EXPECT_FALSE(a->isEnabled()) << a->text().toStdString();
    EXPECT_FALSE(s.window->osSwitch()->isEnabled());
    EXPECT_FALSE(s.window->themeSwitch()->isEnabled());
    EXPECT_FALSE(s.window->exportButton()->isEnabled());
    EXPECT_FALSE(s.window->secondButton()->isEnabled());
    EXPECT_TRUE(s.window->workspaceSwitch()->isEnabled());
    EXPECT_EQ(s.window->subtitle(), QStringLiteral("Live listing"));
    s.app.setActiveSet("a");
    s.settle();
  }
  s.app.setWorkspace(Workspace::editor);
  s.app.setActiveSet(std::string(AppModel::appStoreSet));
  EXPECT_EQ(s.window->editorView()->state(), EditorView::State::locked);
  EXPECT_EQ(s.window->editorView()->lockedView()->title(),
            QStringLiteral("The App Store set can’t be edited"));
  EXPECT_TRUE(s.window->editorView()->lockedView()->message().contains(QStringLiteral("“Tempo”")));
}

TEST_F(Online, ToolbarButtonsChangeWithTheWorkspace) {
  auto* exportButton = s.window->exportButton();
  auto* second = s.window->secondButton();
  EXPECT_EQ(exportButton->text(), QStringLiteral("Export PNG"));
  EXPECT_EQ(exportButton->toolTip(), QStringLiteral("This page, at store resolution"));
  EXPECT_EQ(second->text(), QStringLiteral("Style"));
  // "Style" hides the inspector and remembers it.
  ASSERT_TRUE(s.window->editorView()->inspectorShown());
  second->click();
  EXPECT_FALSE(s.window->editorView()->inspectorShown());
  EXPECT_FALSE(s.settings.value("inspector.shown").toBool());
  s.window->workspaceSwitch()->segment(0)->click();
  EXPECT_EQ(s.app.workspace(), Workspace::gallery);
  EXPECT_EQ(exportButton->text(), QStringLiteral("Export All"));
  EXPECT_EQ(second->text(), QStringLiteral("Regenerate"));
  EXPECT_EQ(s.window->subtitle(), QStringLiteral("Android · Dark"));
  s.window->osSwitch()->segment(0)->click();
  s.window->themeSwitch()->segment(1)->click();
  EXPECT_EQ(s.app.os(), DeviceOS::ios);
  EXPECT_EQ(s.app.theme(), ThemeName::light);
  EXPECT_EQ(s.window->subtitle(), QStringLiteral("iOS · Light"));
  EXPECT_EQ(commands().switchOS()->text(), QStringLiteral("Switch to Android"));
  EXPECT_EQ(commands().switchTheme()->text(), QStringLiteral("Switch to Dark"));
  s.app.setWorkspace(Workspace::editor);
  s.app.setActiveLocale("de");
  EXPECT_EQ(s.window->subtitle(), QStringLiteral("Page 1 · 🇩🇪 Deutsch · iOS · Light"));
}

// Ctrl+Z in a text field undoes the typing; outside one it undoes the page.
TEST_F(Online, UndoGoesToTheFocusedTextFieldFirst) {
  auto* field = new QLineEdit;
  s.window->editorView()->setInspector(field);
  s.window->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(s.window.get()));
  s.editor.checkpoint();
  s.editor.setStyle(StyleField::titleSize, JSONValue(80.0), s.app);
  ASSERT_EQ(s.editor.undoDepth(), 1u);

  field->setFocus();
  ASSERT_TRUE(spinUntil([&] { return field->hasFocus(); }));
  QTest::keyClicks(field, QStringLiteral("Hello"));
  ASSERT_EQ(field->text(), QStringLiteral("Hello"));
  QTest::keyClick(field, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(field->text(), QString());
  EXPECT_EQ(s.editor.undoDepth(), 1u);
  // The menu command itself does the same while the field has the keyboard.
  QTest::keyClicks(field, QStringLiteral("Hi"));
  commands().undo()->trigger();
  EXPECT_EQ(field->text(), QString());
  commands().redo()->trigger();
  EXPECT_EQ(field->text(), QStringLiteral("Hi"));
  EXPECT_EQ(s.editor.undoDepth(), 1u);
  EXPECT_EQ(s.editor.redoDepth(), 0u);

  // Away from text, the page's history answers.
  field->clearFocus();
  s.window->setFocus();
  commands().undo()->trigger();
  EXPECT_EQ(s.editor.undoDepth(), 0u);
  EXPECT_EQ(s.editor.redoDepth(), 1u);
  EXPECT_EQ(field->text(), QStringLiteral("Hi"));
}

TEST(Offline, FailureScreenWithItsWordsAndDisabledSwitches) {
  ShellStack s;
  s.blockLibrary();
  app::MainWindow& w = s.open();
  ASSERT_EQ(s.app.connection().kind, Kind::offline);
  app::ConnectionView* screen = w.connectionView();
  EXPECT_EQ(w.visibleDetail(), screen);
  EXPECT_EQ(screen->offlineView()->title(), QStringLiteral("Can’t open the library"));
  EXPECT_EQ(screen->offlineView()->message().toStdString(), s.app.connection().message);
  EXPECT_TRUE(screen->offlineView()->message().contains(QStringLiteral("library folder")));

  ShellCommands& c = *w.commands();
  EXPECT_FALSE(c.newSet()->isEnabled());
  EXPECT_FALSE(w.workspaceSwitch()->isEnabled());
  EXPECT_FALSE(w.osSwitch()->isEnabled());
  EXPECT_FALSE(w.themeSwitch()->isEnabled());
  EXPECT_FALSE(w.exportButton()->isEnabled());
  // The menu still changes the workspace; the failure stays on screen.
  c.editor()->trigger();
  EXPECT_EQ(s.app.workspace(), Workspace::editor);
  c.gallery()->trigger();
  EXPECT_EQ(s.app.workspace(), Workspace::gallery);
  EXPECT_EQ(w.visibleDetail(), screen);

  // A library that failed to open stays failed for the run: Try Again asks
  // again and comes back to the same screen with the words of the answer.
  QSignalSpy changes(&s.app, &AppModel::connectionChanged);
  screen->tryAgainButton()->click();
  s.settle();
  EXPECT_GE(changes.count(), 2);  // connecting, then offline again
  EXPECT_EQ(s.app.connection().kind, Kind::offline);
  EXPECT_EQ(w.visibleDetail(), screen);
  EXPECT_EQ(screen->offlineView()->message().toStdString(), s.app.connection().message);
}

TEST(Offline, TryAgainOpensTheLibraryOnceItCan) {
  ShellStack s;
  s.makeSet("a", std::nullopt);
  s.openFailure = "The library is busy.";
  app::MainWindow& w = s.open();
  ASSERT_EQ(s.app.connection().kind, Kind::offline);
  EXPECT_EQ(w.connectionView()->offlineView()->message(), QStringLiteral("The library is busy."));
  s.openFailure.reset();
  w.connectionView()->tryAgainButton()->click();
  s.settle();
  ASSERT_EQ(s.app.connection().kind, Kind::online) << s.app.connection().message;
  EXPECT_NE(w.visibleDetail(), w.connectionView());
  EXPECT_TRUE(w.commands()->newSet()->isEnabled());
  EXPECT_TRUE(w.osSwitch()->isEnabled());
  EXPECT_TRUE(w.exportButton()->isEnabled());
}

TEST(ShellWords, CountsAndSubtitles) {
  EXPECT_EQ(app::countWords(1, QStringLiteral("set")), QStringLiteral("1 set"));
  EXPECT_EQ(app::countWords(2, QStringLiteral("set")), QStringLiteral("2 sets"));
  EXPECT_EQ(app::countWords(0, QStringLiteral("language")), QStringLiteral("0 languages"));
}

TEST(EditorViewDebug, SelectionValuesFindTheirTargets) {
  ShellStack s{{"workspace", "editor"}};
  s.makeSet("a", std::nullopt);
  s.open();
  ASSERT_TRUE(spinUntil([&] { return s.editor.styles().has_value(); }));
  const auto text = s.canvas.addTextLayer();
  ASSERT_TRUE(text);
  EXPECT_EQ(EditorView::debugTarget("phone", s.canvas), CanvasSelection::phone());
  EXPECT_EQ(EditorView::debugTarget("title", s.canvas), CanvasSelection::title());
  EXPECT_EQ(EditorView::debugTarget("text", s.canvas), CanvasSelection::layer(*text));
  EXPECT_EQ(EditorView::debugTarget("layer:" + QString::fromStdString(*text), s.canvas),
            CanvasSelection::layer(*text));
  EXPECT_EQ(EditorView::debugTarget("sticker", s.canvas), std::nullopt);
  EXPECT_EQ(EditorView::debugTarget("layer:nope", s.canvas), std::nullopt);
}

// debug.select and debug.edit act once the stored page has loaded.
TEST(EditorViewDebug, SelectsAndEditsAfterThePageLoads) {
  ShellStack s{{"workspace", "editor"}};
  s.makeSet("a", std::nullopt);
  s.window =
      std::make_unique<app::MainWindow>(s.app, s.editor, s.canvas, s.gallery, s.images, s.settings);
  s.window->editorView()->setDebugSelection(QStringLiteral("title"), true);
  s.window->show();
  s.app.reconnect();
  ASSERT_TRUE(spinUntil([&] { return s.canvas.selection().has_value(); }));
  EXPECT_EQ(s.canvas.selection(), CanvasSelection::title());
  EXPECT_EQ(s.canvas.editingText(), CanvasSelection::title());
  // Once only: a later page load leaves the person's choice alone.
  s.canvas.select(std::nullopt);
  s.app.setActivePage(std::string("p2"));
  s.settle();
  EXPECT_FALSE(s.canvas.selection());
}

}  // namespace
}  // namespace vells::testing

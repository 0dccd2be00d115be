#include "models/editor_model.h"

#include <gtest/gtest.h>

#include "models/editor_fixture.h"

namespace vells::testing {
namespace {

using models::StyleScope;
using models::StyleTarget;

JSONValue titleOf(const JSONValue& texts, const std::string& page, const std::string& locale) {
  const JSONValue* p = texts.find(page);
  const JSONValue* l = p ? p->find(locale) : nullptr;
  const JSONValue* t = l ? l->find("title") : nullptr;
  return t ? *t : JSONValue();
}

TEST(EditorText, TenQuickKeystrokesSendOneSaveOfTheTrimmedTitle) {
  EditorStack s;
  const std::string typed = "Plan it  ";
  std::string title;
  for (char c : typed) {
    title += c;
    s.wait(100);
    s.editor.setTitleText(title);
    s.editor.scheduleTextSave(s.app);
  }
  EXPECT_EQ(s.posts("/api/texts"), 0);
  EXPECT_EQ(s.editor.title(), "Plan it  ");  // the field keeps its blanks
  s.wait(599);
  EXPECT_EQ(s.posts("/api/texts"), 0);
  s.wait(1);
  EXPECT_EQ(s.posts("/api/texts"), 1);
  const JSONValue texts = s.stored("texts", "a");
  EXPECT_EQ(titleOf(texts, "home", "en"), JSONValue("Plan it"));
  // A page without an entry gets its other words as empty strings.
  EXPECT_EQ(*texts.find("home")->find("en")->find("subtitle"), JSONValue(""));
  EXPECT_EQ(*texts.find("home")->find("en")->find("description"), JSONValue(""));
  EXPECT_EQ(s.editor.status().text, "Saved");
  s.wait(1499);
  EXPECT_EQ(s.editor.status().text, "Saved");
  s.wait(1);
  EXPECT_EQ(s.editor.status().text, "");

  // "ab" typed and deleted again inside the window sends nothing.
  for (std::string t : {"Plan itx", "Plan itxy", "Plan itx", "Plan it"}) {
    s.editor.setTitleText(t);
    s.editor.scheduleTextSave(s.app);
    s.wait(100);
  }
  s.wait(2000);
  EXPECT_EQ(s.posts("/api/texts"), 1);
  EXPECT_FALSE(s.editor.hasPendingText());
}

TEST(EditorText, FailedSaveShowsTheSentenceKeepsTheTextAndTheNextFlushSendsIt) {
  EditorStack s;
  s.setIntercept([](const backend::Request& r) -> std::optional<backend::Response> {
    if (r.path == "/api/texts" && r.method == "POST")
      return backend::Response::json(
          JSONValue::Object{{"ok", false}, {"error", "The library is read-only."}}, 409);
    return std::nullopt;
  });
  s.editor.setTitleText("Hello");
  s.editor.scheduleTextSave(s.app);
  s.wait(700);
  EXPECT_TRUE(s.editor.status().isError);
  EXPECT_EQ(s.editor.status().text, "The library is read-only.");
  EXPECT_TRUE(s.editor.hasPendingText());

  // A newer edit while a failing save runs is the one kept.
  s.fake.hold();
  s.editor.flushTextSave();
  ASSERT_TRUE(spinUntil([&] { return s.fake.running() == 1; }));
  s.editor.setTitleText("Hello there");
  s.editor.scheduleTextSave(s.app);
  s.fake.release();
  s.settle();
  EXPECT_TRUE(s.editor.hasPendingText());

  s.setIntercept({});
  bool flushed = false;
  s.editor.flushTextSave([&] { flushed = true; });
  ASSERT_TRUE(spinUntil([&] { return flushed; }));
  EXPECT_EQ(titleOf(s.stored("texts", "a"), "home", "en"), JSONValue("Hello there"));
  EXPECT_FALSE(s.editor.hasPendingText());
}

TEST(EditorText, ChangingPageOrSetSavesTheWaitingTextWhereItWasTyped) {
  EditorStack s;
  s.editor.setTitleText("Home title");
  s.editor.scheduleTextSave(s.app);
  s.app.setActivePage(std::string("stats"));
  bool done = false;
  s.editor.loadPage(s.app, [&] { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  EXPECT_EQ(titleOf(s.stored("texts", "a"), "home", "en"), JSONValue("Home title"));
  EXPECT_EQ(s.editor.title(), "");

  s.editor.setTitleText("Stats title");
  s.editor.scheduleTextSave(s.app);
  s.switchSet("b");
  EXPECT_EQ(titleOf(s.stored("texts", "a"), "stats", "en"), JSONValue("Stats title"));
  EXPECT_EQ(s.stored("texts", "b"), JSONValue::object());
}

TEST(EditorStyle, AStyleEditLandsInTheSetItWasMadeIn) {
  EditorStack s;
  s.editor.setStyle(StyleField::titleSize, JSONValue(80), s.app);
  s.wait(100);
  s.switchSet("b");
  s.wait(1000);
  EXPECT_EQ(s.stored("styles", "a").find("home")->numberAt("titleSize"), 80);
  EXPECT_EQ(s.stored("styles", "b"), JSONValue::object());
  EXPECT_EQ(s.posts("/api/styles"), 1);

  // Scope: one language only, the base stays; debounce of 0.4 s.
  ASSERT_TRUE(s.editor.styles().has_value());
  ASSERT_EQ(s.app.activePage(), std::optional<std::string>("home"));
  s.editor.setStyleScope(StyleScope::locale);
  s.editor.setStyle(StyleField::titleColor, JSONValue("#000000"), s.app);
  s.wait(399);
  EXPECT_EQ(s.posts("/api/styles"), 1);
  s.wait(1);
  EXPECT_EQ(s.posts("/api/styles"), 2);
  const JSONValue b = s.stored("styles", "b");
  EXPECT_EQ(b.find("home@en")->stringAt("titleColor"), "#000000");
  EXPECT_EQ(b.find("home"), nullptr);
}

TEST(EditorUndo, ThreeUndosRestoreTheExactDocumentsAndRedoReturns) {
  EditorStack s;
  const std::string original =
      R"({"home":{"titleSize":70,"futureField":{"a":[1,2]},"layers":[{"id":"l1","kind":"text",)"
      R"("text":"Hi","x":100,"y":200,"w":300,"glow":"soft"}]},"stats@en":{"decor":"none"}})";
  s.storeStyles("a", original);
  s.load();
  const auto before = *s.editor.styles();
  for (double size : {72.0, 74.0, 76.0}) {
    s.editor.checkpoint();
    s.editor.setStyle(StyleField::titleSize, JSONValue(size), s.app);
  }
  s.wait(500);
  for (int i = 0; i < 3; ++i)
    s.editor.undo(s.app);
  s.wait(500);
  EXPECT_EQ(*s.editor.styles(), before);
  EXPECT_EQ(s.stored("styles", "a"), JSONValue::parse(original));
  EXPECT_EQ(s.editor.undoDepth(), 0u);
  s.editor.undo(s.app);  // an empty stack changes nothing
  EXPECT_EQ(s.editor.redoDepth(), 3u);
  s.editor.redo(s.app);
  s.editor.redo(s.app);
  s.wait(500);
  EXPECT_EQ(s.stored("styles", "a").find("home")->numberAt("titleSize"), 74);
  // A new edit after an undo empties the redo stack.
  s.editor.checkpoint();
  EXPECT_EQ(s.editor.redoDepth(), 0u);
}

TEST(EditorUndo, CheckpointBurstsFollowThePauseRuleAndTheStackHoldsSixty) {
  EditorStack s;
  // 0.5 s apart is one step; exactly 0.8 s is still the same burst; 0.801 s is not.
  for (int pause : {0, 500, 500, 800}) {
    s.clock.advance(std::chrono::milliseconds(pause));
    s.editor.checkpointIfIdle();
  }
  EXPECT_EQ(s.editor.undoDepth(), 1u);
  s.clock.advance(std::chrono::milliseconds(801));
  s.editor.checkpointIfIdle();
  EXPECT_EQ(s.editor.undoDepth(), 2u);

  for (int i = 0; i < 70; ++i) {
    s.editor.setStyle(StyleField::titleSize, JSONValue(i), s.app);
    s.editor.checkpoint();
  }
  EXPECT_EQ(s.editor.undoDepth(), 60u);
  for (int i = 0; i < 60; ++i)
    s.editor.undo(s.app);
  // The oldest kept snapshot is the one taken after the tenth edit.
  EXPECT_EQ(s.editor.styles()->at("home").titleSize, 10);
}

TEST(EditorUndo, HistoryBelongsToItsSet) {
  EditorStack s;
  s.editor.checkpoint();
  s.editor.setStyle(StyleField::titleSize, JSONValue(90), s.app);
  s.load();  // the same set again keeps the history
  EXPECT_EQ(s.editor.undoDepth(), 1u);
  s.switchSet("b");
  EXPECT_EQ(s.editor.undoDepth(), 0u);
  s.editor.undo(s.app);
  s.wait(1000);
  EXPECT_EQ(s.stored("styles", "b"), JSONValue::object());
}

TEST(EditorPage, BackgroundCopyDownloadAndStaleLoads) {
  EditorStack s;
  s.editor.setStyle(StyleField::gradFrom, JSONValue("#111111"), s.app);
  s.editor.setStyle(StyleField::bgPattern, JSONValue("hexagons"), s.app);
  s.editor.copyBackgroundToAllPages("home", s.app);
  EXPECT_EQ(s.editor.status().text, "Background used on 2 other pages");
  s.wait(100);
  const JSONValue styles = s.stored("styles", "a");
  EXPECT_EQ(styles.find("more")->stringAt("gradFrom"), "#111111");
  EXPECT_EQ(styles.find("stats")->stringAt("bgPattern"), "hexagons");
  EXPECT_EQ(styles.find("stats")->numberAt("gradAngle"), 160);

  s.setIntercept([](const backend::Request& r) -> std::optional<backend::Response> {
    if (r.path == "/vell") {
      backend::Response png;
      png.mime = "image/png";
      png.body = "\x89PNG-bytes";
      return png;
    }
    return std::nullopt;
  });
  bool done = false;
  s.editor.downloadPNG(s.app, [&] { done = true; });
  EXPECT_TRUE(s.editor.isDownloading());
  ASSERT_TRUE(spinUntil([&] { return done; }));
  EXPECT_FALSE(s.editor.isDownloading());
  ASSERT_EQ(s.saved.size(), 1u);
  EXPECT_EQ(s.saved[0].first, "home-android-dark-en.png");
  EXPECT_EQ(s.saved[0].second, "\x89PNG-bytes");

  s.setIntercept([](const backend::Request& r) -> std::optional<backend::Response> {
    if (r.path == "/vell") return backend::Response::text("The page has no screen yet.");
    return std::nullopt;
  });
  done = false;
  s.editor.downloadPNG(s.app, [&] { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  EXPECT_EQ(s.saved.size(), 1u);
  EXPECT_TRUE(s.editor.status().isError);
  EXPECT_NE(s.editor.status().text.find("The page has no screen yet."), std::string::npos);

  // Of two page loads the first answers last and must not land.
  s.setIntercept({});
  ASSERT_EQ(call(*s.lib.backend, "POST", "/api/background?set=a&page=stats&os=android",
                 std::string("\x89PNG\r\n\x1a\n", 8))
                .status,
            200);
  s.fake.hold();
  s.app.setActivePage(std::string("stats"));
  int landed = 0;
  s.editor.loadPage(s.app, [&] { ++landed; });
  s.app.setActivePage(std::string("more"));
  s.editor.loadPage(s.app, [&] { ++landed; });
  s.fake.release();
  ASSERT_TRUE(spinUntil([&] { return landed == 2; }));
  EXPECT_FALSE(s.editor.hasBackground());
}

}  // namespace
}  // namespace vells::testing

// What an answer can change, read and applied on a real library; the prompt
// texts against their golden files.
#include "assistants/chat_changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>

#include "assistants/chat_prompt.h"
#include "assistants/chat_reply.h"
#include "assistants/chat_stack.h"

namespace vells::testing {
namespace {

using assistants::ChatChanges;
using ::testing::ElementsAre;

QString golden(const char* name) {
  QFile file(QStringLiteral(GOLDEN_DIR "/") + QLatin1String(name));
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
  return QString::fromUtf8(file.readAll());
}

TEST(ChatPrompts, AreTheLiteralTexts) {
  namespace prompt = assistants::chat_prompt;
  EXPECT_EQ(prompt::system(), golden("chat_system_prompt.txt"));
  EXPECT_EQ(prompt::turn(QStringLiteral("{}"), QStringLiteral("Make it pop")),
            QStringLiteral("CURRENT PAGE (JSON): {}") + golden("turn_prompt_middle.txt") +
                QStringLiteral("Make it pop"));
  EXPECT_EQ(prompt::repairRequest({{"de", {"Cut off.", "Too pale."}}, {"fr", {"Off the canvas."}}}),
            golden("repair_request_head.txt") +
                QStringLiteral("In de:\n- Cut off.\n- Too pale.\nIn fr:\n- Off the canvas."));
}

TEST(ChatReply, TheLastJsonBlockCountsAndNoFenceShows) {
  namespace reply = assistants::chat_reply;
  const QString two = QStringLiteral(
      "Done.\n```json\n{\"changes\":[{\"op\":\"a\"}]}\n```\nAnd:\n```json\n{\"changes\":[{\"op\":"
      "\"b\"}]}\n```\n");
  EXPECT_EQ(reply::shownText(two), QStringLiteral("Done."));
  const auto list = reply::changes(two);
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 1u);
  EXPECT_EQ(list->at(0).stringAt("op"), "b");
  // Streaming: an unfinished block is hidden and doesn't read yet.
  EXPECT_EQ(reply::shownText(QStringLiteral("Changed it.\n\n```js")),
            QStringLiteral("Changed it."));
  EXPECT_FALSE(reply::changes(QStringLiteral("x ```json\n{\"changes\":[{\"op\"")));
  EXPECT_FALSE(reply::changes(QStringLiteral("No block")));
  EXPECT_FALSE(reply::changes(QStringLiteral("```json\n{\"changes\":[1,{}]}\n```")));
  EXPECT_FALSE(reply::changes(QStringLiteral("```json\n{\"changes\":{}}\n```")));
  EXPECT_TRUE(reply::changes(QStringLiteral("```json\n{\"changes\":[]}"))->empty());
}

struct Applied {
  ChatChanges::Result result;
  int checkpoints = 0;
};

Applied apply(ChatStack& s, const std::string& changes) {
  Applied out;
  bool done = false;
  QObject receiver;
  ChatChanges::apply(
      *JSONValue::parse(changes).asArray(), s.canvas, [&] { ++out.checkpoints; }, &receiver,
      [&](ChatChanges::Result r) {
        out.result = std::move(r);
        done = true;
      });
  EXPECT_TRUE(spinUntil([&] { return done; }));
  s.editor.flushStyleSave();
  s.editor.flushTextSave();
  s.settle();
  return out;
}

TEST(ChatChangesApply, InvalidOperationsArePassedOverWhileValidOnesApply) {
  ChatStack s;
  // A built-in page, which has strings drawn inside its phone.
  s.lib.backend->db().savePages("a", {{"home", "Home", "builtin", std::nullopt}});
  s.app.loadPages();
  s.settle();
  s.storeStyles("a", kLayersForChanges);
  s.load();
  ASSERT_TRUE(s.editor.screenTexts() && !s.editor.screenTexts()->entries.empty());
  const Applied a = apply(s, R"([
      {"op":"bogus"}, {"nop":1}, {"op":"title"}, {"op":"style","set":{"titleColor":5}},
      {"op":"style","set":"titleSize"}, {"op":"updateLayer","id":"missing","set":{"x":1}},
      {"op":"updateLayer","id":"t1","set":{"x":310,"y":"200","size":null}},
      {"op":"removeLayer","id":"missing"}, {"op":"screenText","key":"unknown","value":"x"},
      {"op":"style","scope":"everywhere","set":{"titleSize":"72","gradVia":null,"layers":[],
                                                "nonsense":1,"decor":3}},
      {"op":"addText","text":"New","size":"50","front":false},
      {"op":"makeLayer","html":"<b>Badge</b>","name":"Badge"},
      {"op":"screenText","key":"greeting","value":"Hallo"},
      {"op":"removeLayer","id":"t1"},
      {"op":"style","scope":"language","set":{"accentColor":"#ff0000"}},
      {"op":"title","text":"Zwei\\nZeilen","language":"de"}])");
  ASSERT_EQ(a.result.lines.size(), 8u);
  EXPECT_EQ(a.result.lines[0], "Moved or changed Old");
  EXPECT_EQ(a.result.lines[1], "Style: gradVia, titleSize");
  EXPECT_EQ(a.result.lines[2], "Added text: New");
  // The test library renders nothing: the one operation that says it failed.
  EXPECT_THAT(a.result.lines[3], ::testing::StartsWith("Couldn\u2019t make Badge: "));
  EXPECT_EQ(a.result.lines[4], "In-screen text: Hallo");
  EXPECT_EQ(a.result.lines[5], "Removed Old");
  EXPECT_EQ(a.result.lines[6], "Style (this language): accentColor");
  EXPECT_EQ(a.result.lines[7], "Title (de): Zwei Zeilen");
  EXPECT_EQ(a.result.locales, (std::set<std::string>{"de"}));
  EXPECT_EQ(a.checkpoints, 1);

  const JSONValue styles = s.styles();
  const JSONValue& home = *styles.find("home");
  EXPECT_EQ(home.numberAt("titleSize"), 72);
  EXPECT_EQ(home.find("gradVia"), nullptr);
  EXPECT_EQ(home.find("decor"), nullptr);
  const auto layers = VellLayer::list(*home.find("layers"));
  ASSERT_EQ(layers.size(), 1u);
  EXPECT_EQ(layers[0].text, "New");
  EXPECT_EQ(layers[0].size, 50);
  EXPECT_FALSE(layers[0].front);
  EXPECT_EQ(layers[0].x, 321);  // the Android canvas's centre
  EXPECT_EQ(styles.find("home@en")->stringAt("accentColor"), "#ff0000");
  const JSONValue texts = s.stored("texts", "a");
  EXPECT_EQ(texts.find("home")->find("de")->stringAt("title"), "Zwei\nZeilen");
  EXPECT_EQ(texts.find("home")->find("en")->find("screen")->stringAt("greeting"), "Hallo");
}

TEST(ChatChangesApply, AnUnchangedLayerTakesNoStepAndAllPagesFollowTheirPhones) {
  ChatStack s;
  s.storeStyles("a", kLayersForChanges);
  s.load();
  const Applied same = apply(s, R"([{"op":"updateLayer","id":"t1","set":{"x":100,"y":900}}])");
  EXPECT_TRUE(same.result.lines.empty());
  EXPECT_EQ(same.checkpoints, 0);

  // Every page is measured before the change and followed after it; the
  // layer the list itself moves goes exactly where it says.
  s.storeStyles("a", R"({"home":{"layers":[)"
                     R"({"id":"t1","kind":"text","text":"Old","x":300,"y":800,"w":100},)"
                     R"({"id":"t2","kind":"text","text":"Mine","x":320,"y":700,"w":100}]}})");
  s.load();
  const Applied all = apply(s, R"([{"op":"style","scope":"allPages","set":{"phoneScale":1.2}},
                                   {"op":"updateLayer","id":"t2","set":{"x":50}}])");
  EXPECT_THAT(all.result.lines, ElementsAre("Style (every page): phoneScale",
                                            "Moved or changed Mine", "Kept 1 layer on the phone"));
  EXPECT_EQ(all.checkpoints, 1);
  const JSONValue styles = s.styles();
  for (const char* page : {"home", "stats", "more"})
    EXPECT_EQ(styles.find(page)->numberAt("phoneScale"), 1.2) << page;
  const auto layers = VellLayer::list(*styles.find("home")->find("layers"));
  EXPECT_EQ(layers[1].x, 50);
  EXPECT_EQ(layers[1].y, 700);
  EXPECT_EQ(layers[0].y, 880);  // 400 + (800 − 400) × 1.2
}

}  // namespace
}  // namespace vells::testing

// The chat panel with real widgets on the offscreen platform, over a real
// chat on a temp library with the fake AI tools.
#include "app/chat_panel.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include "assistants/chat_stack.h"

namespace vells::testing {
namespace {

using app::ChatPanel;

template <class T>
T* findByText(QWidget& root, const QString& text) {
  for (T* w : root.findChildren<T*>()) {
    if (w->text() == text && w->isVisibleTo(&root)) return w;
  }
  return nullptr;
}

QLabel* labelContaining(QWidget& root, const QString& text) {
  for (QLabel* l : root.findChildren<QLabel*>()) {
    if (l->text().contains(text) && l->isVisibleTo(&root)) return l;
  }
  return nullptr;
}

QToolButton* sendButton(QWidget& root) {
  for (QToolButton* b : root.findChildren<QToolButton*>()) {
    if (b->accessibleName() == QLatin1String("Send") ||
        b->accessibleName() == QLatin1String("Stop"))
      return b;
  }
  return nullptr;
}

// Disabled while a known fault is open: on a quiet machine the turn sent
// after a stopped one stays at "Looking at the page" and never starts its
// tool; under heavy load it passes. Kept so the fix can be checked with
// --gtest_also_run_disabled_tests.
TEST(ChatPanel, DISABLED_IntroSuggestionsStreamingStopAndNewConversation) {
  ChatStack s;
  ChatPanel panel(s.chat);
  panel.resize(360, 720);
  panel.show();

  // The intro names the tool and offers the four suggestions.
  EXPECT_TRUE(labelContaining(panel, QStringLiteral("Design with Claude Code")));
  EXPECT_TRUE(labelContaining(panel, QStringLiteral("Ctrl+Z undoes a change.")));
  for (const QString& text : ChatPanel::suggestions())
    EXPECT_TRUE(findByText<QPushButton>(panel, text)) << text.toStdString();
  auto* composer = panel.findChild<QPlainTextEdit*>();
  ASSERT_TRUE(composer);
  EXPECT_EQ(composer->placeholderText(), QStringLiteral("Ask for a change…"));

  // A suggestion goes at once; while it runs the button stops it.
  s.answers({QStringLiteral(R"(out {"type":"system","session_id":"p"})"
                            "\nsleep 30000\n")});
  QTest::mouseClick(findByText<QPushButton>(panel, ChatPanel::suggestions()[1]), Qt::LeftButton);
  ASSERT_TRUE(waitUntil([&] { return s.chat.runningProcess() != 0; }));
  QToolButton* send = sendButton(panel);
  ASSERT_TRUE(send);
  EXPECT_EQ(send->accessibleName(), QStringLiteral("Stop"));
  EXPECT_TRUE(labelContaining(panel, ChatPanel::suggestions()[1]));  // the request, shown
  EXPECT_TRUE(labelContaining(panel, QStringLiteral("Looking at the page…")));
  QTest::mouseClick(send, Qt::LeftButton);
  ASSERT_TRUE(waitUntil([&] { return !s.chat.isRunning(); }));
  EXPECT_TRUE(labelContaining(panel, QStringLiteral("Stopped.")));
  EXPECT_EQ(send->accessibleName(), QStringLiteral("Send"));

  // Typing and Return send the draft; the answer and its changes show.
  s.answers(
      {claudeAnswer(QStringLiteral("p"),
                    withChanges(QStringLiteral("Done — a shorter title with *habits* in "
                                               "the accent colour, in both languages."),
                                QStringLiteral(R"([{"op":"title","text":"Keep your *habits*"},
                                         {"op":"title","language":"de","text":"Behalte deine Gewohnheiten jeden Tag im Blick"},
                                         {"op":"style","set":{"titleSize":72}}])"))),
       claudeAnswer(
           QStringLiteral("p"),
           withChanges(QStringLiteral("Shortened the German title so it fits."),
                       QStringLiteral(
                           R"([{"op":"title","language":"de","text":"Deine *Gewohnheiten*"}])")))});
  QTest::keyClicks(composer, QStringLiteral("Shorter title please"));
  EXPECT_EQ(s.chat.draft(), QStringLiteral("Shorter title please"));
  QTest::keyClick(composer, Qt::Key_Return);
  ASSERT_TRUE(waitUntil([&] { return !s.chat.isRunning(); }));
  s.settle();
  QApplication::processEvents();
  EXPECT_TRUE(composer->toPlainText().isEmpty());
  EXPECT_TRUE(labelContaining(panel, QStringLiteral("Title: Keep your *habits*")));
  EXPECT_TRUE(labelContaining(panel, QStringLiteral("Style: titleSize")));
  EXPECT_TRUE(labelContaining(panel, QStringLiteral("Text check: 1 problem — asking Claude Code")));

  const QImage shot = panel.grab().toImage();
  EXPECT_FALSE(shot.isNull());
  if (const QByteArray dir = qgetenv("VELLS_SCREENSHOT_DIR"); !dir.isEmpty())
    shot.save(QString::fromLocal8Bit(dir) + QStringLiteral("/chat-panel.png"));

  // New Conversation brings the intro back.
  QTest::mouseClick(findByText<QToolButton>(panel, QStringLiteral("New Conversation")),
                    Qt::LeftButton);
  EXPECT_TRUE(s.chat.messages().empty());
  EXPECT_TRUE(findByText<QPushButton>(panel, ChatPanel::suggestions()[0]));
}

TEST(ChatPanel, WithoutAToolItSaysSoAndOffersNoSuggestions) {
  ChatStack s;
  s.tool.reset();
  ChatPanel panel(s.chat);
  panel.show();
  EXPECT_TRUE(labelContaining(panel, QStringLiteral("No AI tool is installed on this computer.")));
  EXPECT_FALSE(findByText<QPushButton>(panel, ChatPanel::suggestions()[0]));
}

}  // namespace
}  // namespace vells::testing

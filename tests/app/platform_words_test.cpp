#include "app/platform_words.h"

#include <gtest/gtest.h>

namespace vells::app {
namespace {

TEST(PlatformWords, SpeaksOfThisComputersFileManagerAndKeys) {
  EXPECT_EQ(platformWords(u"Show in Finder"), QStringLiteral("Show in file manager"));
  EXPECT_EQ(platformWords(u"Claude Code — not installed on this Mac"),
            QStringLiteral("Claude Code — not installed on this computer"));
  EXPECT_EQ(
      platformWords(u"Click anything to select it · double-click text to edit · ⌘Z to undo"),
      QStringLiteral("Click anything to select it · double-click text to edit · Ctrl+Z to undo"));
  EXPECT_EQ(platformWords(u"⇧⌘D"), QStringLiteral("Shift+Ctrl+D"));
  EXPECT_EQ(platformWords(u"⌥⌘T"), QStringLiteral("Alt+Ctrl+T"));
  EXPECT_EQ(platformWords(u"Gemini CLI isn’t on this Mac anymore."),
            QStringLiteral("Gemini CLI isn’t on this computer anymore."));
  EXPECT_EQ(platformWords(u"Nothing to change"), QStringLiteral("Nothing to change"));
}

}  // namespace
}  // namespace vells::app

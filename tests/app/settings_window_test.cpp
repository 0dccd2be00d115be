#include "app/settings_window.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QSettings>
#include <QTemporaryDir>

#include "assistants/fake_tools.h"
#include "models/fake_transport.h"

namespace vells::testing {
namespace {

using namespace std::chrono_literals;

struct SettingsWindowTest : ::testing::Test {
  FakeTools tools;
  QTemporaryDir dir;
  QSettings settings{dir.filePath(QStringLiteral("vellora.conf")), QSettings::IniFormat};

  // A finder that sees only the fake home; its login shell doesn't exist.
  std::unique_ptr<app::SettingsWindow> open() {
    assistants::ToolFinder::Options options;
    options.home = tools.home();
    options.versionLimit = 5s;
    auto window = std::make_unique<app::SettingsWindow>(
        QStringLiteral("/tmp/library"), settings,
        assistants::ToolFinder(assistants::LoginShell(dir.filePath(QStringLiteral("no-shell")), 2s),
                               options));
    window->show();
    EXPECT_TRUE(window->looking());
    EXPECT_TRUE(window->lookingWords()->isVisible());
    EXPECT_TRUE(spinUntil([&] { return !window->looking(); }, 20000));
    return window;
  }
  static QStringList labels(QComboBox* box) {
    QStringList out;
    for (int i = 0; i < box->count(); ++i)
      out << box->itemText(i);
    return out;
  }
};

TEST_F(SettingsWindowTest, ListsToolsWarnsAboutAMissingChoiceAndWritesThePick) {
  tools.install(QStringLiteral("claude"));
  settings.setValue("generate.ai", "codex");
  auto window = open();
  QComboBox* picker = window->toolPicker();
  const QStringList shown = labels(picker);
  ASSERT_EQ(shown.size(), 4);
  EXPECT_EQ(shown[0], QStringLiteral("Ask next time"));
  EXPECT_TRUE(shown[1].startsWith(QStringLiteral("Claude Code"))) << shown[1].toStdString();
  EXPECT_FALSE(shown[1].contains(QStringLiteral("not installed")));
  EXPECT_EQ(shown[2], QStringLiteral("Codex CLI — not installed"));
  EXPECT_EQ(shown[3], QStringLiteral("Gemini CLI — not installed"));
  EXPECT_EQ(picker->currentData().toString(), QStringLiteral("codex"));
  EXPECT_FALSE(window->lookingWords()->isVisible());
  ASSERT_TRUE(window->warning()->isVisible());
  EXPECT_EQ(window->warning()->text(),
            QStringLiteral("Codex CLI isn’t on this computer anymore. Choose another, or install "
                           "it and look again."));

  picker->setCurrentIndex(1);
  EXPECT_EQ(settings.value("generate.ai").toString(), QStringLiteral("claude"));
  EXPECT_FALSE(window->warning()->isVisible());
  picker->setCurrentIndex(0);
  EXPECT_EQ(settings.value("generate.ai").toString(), QString());
  EXPECT_FALSE(window->warning()->isVisible());
}

TEST_F(SettingsWindowTest, AnUnknownStoredWordShowsNoWarning) {
  settings.setValue("generate.ai", "copilot");
  auto window = open();
  EXPECT_FALSE(window->warning()->isVisible());
  EXPECT_EQ(window->toolPicker()->currentIndex(), 0);
  // Looking again finds a tool installed meanwhile.
  tools.install(QStringLiteral("gemini"));
  window->look();
  ASSERT_TRUE(spinUntil([&] { return !window->looking(); }, 20000));
  EXPECT_FALSE(labels(window->toolPicker())[3].contains(QStringLiteral("not installed")));
}

}  // namespace
}  // namespace vells::testing

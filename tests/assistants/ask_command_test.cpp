// `vellora-cli ask` end to end: the real command on a real library with the
// real renderer measuring the text, and the fake tool in a temporary home.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QProcess>
#include <QTemporaryDir>

#include "assistants/chat_stack.h"

namespace vells::testing {
namespace {

struct Cli {
  QTemporaryDir dir;
  FakeTools tools;
  QTemporaryDir queue;
  int serial = 0;

  Cli() { tools.install(QStringLiteral("claude")); }

  QProcessEnvironment environment() const {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), tools.home());
    env.insert(QStringLiteral("VELLS_LIBRARY"), dir.filePath(QStringLiteral("lib")));
    env.insert(QStringLiteral("VELLS_SETTINGS"), dir.filePath(QStringLiteral("vellora.conf")));
    env.insert(QStringLiteral("VELLS_RESOURCES"), QStringLiteral(VELLS_SOURCE_RESOURCES));
    env.insert(QStringLiteral("FAKE_AI_QUEUE"), queue.path());
    env.insert(QStringLiteral("FAKE_AI_LOG"), tools.logPath());
    return env;
  }

  struct Result {
    int code = -1;
    QString out, err;
  };
  Result run(const QStringList& args, const QByteArray& input = {}) {
    QProcess p;
    p.setProcessEnvironment(environment());
    p.start(QStringLiteral(VELLORA_CLI), args);
    p.write(input);
    p.closeWriteChannel();
    EXPECT_TRUE(p.waitForFinished(300000));
    return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()),
            QString::fromUtf8(p.readAllStandardError())};
  }
  void answer(const QString& script) {
    QFile file(queue.filePath(QString::number(++serial).rightJustified(4, QLatin1Char('0'))));
    file.open(QIODevice::WriteOnly);
    file.write(script.toUtf8());
  }
};

TEST(AskCommand, OneTurnRetitlesScalesThePhoneAndRepairsTheGermanTitle) {
  Cli cli;
  // A set of one built-in page in English and German.
  const auto request = [&](const QString& method, const QString& path, const QByteArray& body) {
    return cli.run(
        {QStringLiteral("request"), method, path, QStringLiteral("--body"), QStringLiteral("-")},
        body);
  };
  ASSERT_EQ(request(QStringLiteral("POST"), QStringLiteral("/api/orvo/apps/save"),
                    R"({"appId":"vellora-sample","info":{"name":"Tempo","developer":"Vellora",
                        "unlisted":true,"profile":{"platforms":["ios","android"]}}})")
                .code,
            0);
  const Cli::Result made = request(QStringLiteral("POST"), QStringLiteral("/api/sets"),
                                   R"({"name":"Launch","appId":"vellora-sample",
                                       "locales":["en","de"]})");
  ASSERT_EQ(made.code, 0) << made.err.toStdString();
  const QString set =
      QString::fromStdString(JSONValue::parse(made.out.toStdString()).stringAt("id").value_or(""));
  ASSERT_EQ(
      request(QStringLiteral("POST"), QStringLiteral("/api/pages?set=") + set,
              R"({"pages":[{"id":"home","label":"Home","source":"builtin","builtinId":"home"}]})")
          .code,
      0);

  cli.answer(
      claudeAnswer(QStringLiteral("cli-session"),
                   withChanges(QStringLiteral("New title, a smaller phone."), QStringLiteral(R"([
        {"op":"title","text":"Build *habits*\\nthat stay"},
        {"op":"title","language":"de","text":"Baue Gewohnheiten auf, die wirklich ein ganzes Leben lang bei dir bleiben und dich jeden einzelnen Tag begleiten"},
        {"op":"style","set":{"phoneScale":0.85}}])"))));
  cli.answer(claudeAnswer(QStringLiteral("cli-session"),
                          withChanges(QStringLiteral("Shorter German."), QStringLiteral(R"([
        {"op":"title","language":"de","text":"Gewohnheiten,\\n*die bleiben*"}])"))));

  const Cli::Result r =
      cli.run({QStringLiteral("ask"), QStringLiteral("--set"), set, QStringLiteral("--page"),
               QStringLiteral("home"), QStringLiteral("--os"), QStringLiteral("ios"),
               QStringLiteral("Make it punchier")});
  std::cout << r.out.toStdString() << r.err.toStdString();
  EXPECT_EQ(r.code, 0);
  EXPECT_THAT(r.out.toStdString(),
              ::testing::HasSubstr("applied: Title: Build *habits* that stay"));
  EXPECT_THAT(r.out.toStdString(), ::testing::HasSubstr("applied: Style: phoneScale"));
  EXPECT_THAT(r.out.toStdString(),
              ::testing::HasSubstr("note: Text check: 1 problem — asking Claude Code to fix it."));
  EXPECT_THAT(r.out.toStdString(),
              ::testing::HasSubstr("applied: Title (de): Gewohnheiten, *die bleiben*"));
  EXPECT_THAT(r.out.toStdString(), ::testing::HasSubstr("text check (en, de): clean"));

  const JSONValue texts =
      JSONValue::parse(cli.run({QStringLiteral("request"), QStringLiteral("GET"),
                                QStringLiteral("/api/texts?set=") + set})
                           .out.toStdString());
  EXPECT_EQ(texts.find("home")->find("de")->stringAt("title"), "Gewohnheiten,\n*die bleiben*");
  const JSONValue styles =
      JSONValue::parse(cli.run({QStringLiteral("request"), QStringLiteral("GET"),
                                QStringLiteral("/api/styles?set=") + set})
                           .out.toStdString());
  EXPECT_EQ(styles.find("home")->numberAt("phoneScale"), 0.85);

  // Usage errors say what is missing and change nothing.
  const Cli::Result bad = cli.run({QStringLiteral("ask"), QStringLiteral("--set"), set});
  EXPECT_EQ(bad.code, 2);
  EXPECT_THAT(bad.err.toStdString(), ::testing::HasSubstr("--set and --page are needed."));
  const Cli::Result missing =
      cli.run({QStringLiteral("ask"), QStringLiteral("--set"), set, QStringLiteral("--page"),
               QStringLiteral("nope"), QStringLiteral("Hi")});
  EXPECT_EQ(missing.code, 1);
  EXPECT_THAT(missing.err.toStdString(), ::testing::HasSubstr("has no page “nope”"));
}

}  // namespace
}  // namespace vells::testing

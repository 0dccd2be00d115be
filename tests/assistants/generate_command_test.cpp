// `vellora-cli generate` as a person runs it, on the fixture app with the
// fake tools and the real browser: a finished set that exports, a stop that
// leaves nothing behind, and an update that redraws.
#include <gtest/gtest.h>

#include <signal.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include "assistants/fake_tools.h"

namespace {

const QString kFixtures = QStringLiteral(VELLS_TEST_FIXTURES "/generate");

struct Outcome {
  int code = -1;
  QByteArray out;
  QByteArray err;
};

class GenerateCommandTest : public ::testing::Test {
 protected:
  GenerateCommandTest() {
    tools.install(QStringLiteral("claude"));
    scenario(QStringLiteral("sleep 100"));
  }

  // The fixture's replies; `screenExtra` goes before each screen's reply.
  void scenario(const QString& screenExtra) {
    const QString r = kFixtures + QStringLiteral("/replies/");
    QFile file(tools.home() + QStringLiteral("/scenario.txt"));
    file.open(QIODevice::WriteOnly);
    file.write(
        QStringLiteral(
            "WHEN You are UPDATING\nreply-file %1home-update.json\nEND\n"
            "WHEN How the screen looked last time\nreply {\"screens\":{}}\nEND\n"
            "WHEN Here is how the HTML you wrote for \"Today\"\nreply-file "
            "%1home-review.json\nEND\n"
            "WHEN Here is how the HTML you wrote for \"Stats\"\nreply-file "
            "%1stats-review.json\nEND\n"
            "WHEN Page id \"home\"\n%2\nread Sources/Views/HomeView.swift\nreply-file "
            "%1home.json\nEND\n"
            "WHEN Page id \"stats\"\n%2\nreply-file %1stats.json\nEND\n"
            "WHEN The current directory is the source code\nreply-file %1discovery.json\nEND\n")
            .arg(r, screenExtra)
            .toUtf8());
  }

  QProcessEnvironment environment() const {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), tools.home());
    env.insert(QStringLiteral("VELLS_LIBRARY"), dir.filePath(QStringLiteral("library")));
    env.insert(QStringLiteral("VELLS_SETTINGS"), dir.filePath(QStringLiteral("vellora.conf")));
    env.insert(QStringLiteral("VELLS_RESOURCES"), QStringLiteral(VELLS_SOURCE_RESOURCES));
    env.insert(QStringLiteral("FAKE_AI_SCENARIO"), tools.home() + QStringLiteral("/scenario.txt"));
    env.insert(QStringLiteral("FAKE_AI_LOG"), tools.logPath());
    return env;
  }

  void launch(QProcess& process, const QStringList& args) const {
    process.setProcessEnvironment(environment());
    process.setProgram(QStringLiteral(VELLORA_CLI));
    process.setArguments(args);
    process.start();
    ASSERT_TRUE(process.waitForStarted());
  }

  Outcome cli(const QStringList& args, int limitMs = 600000) const {
    QProcess process;
    launch(process, args);
    Outcome run;
    if (!process.waitForFinished(limitMs)) {
      process.kill();
      process.waitForFinished();
    }
    run.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
  }

  QJsonDocument get(const QString& route) const {
    return QJsonDocument::fromJson(
        cli({QStringLiteral("request"), QStringLiteral("GET"), route}).out);
  }
  QByteArray bytes(const QString& route) const {
    return cli({QStringLiteral("request"), QStringLiteral("GET"), route}).out;
  }
  QString setNamed(const QString& name) const {
    for (const QJsonValue& s : get(QStringLiteral("/api/sets")).array()) {
      if (s.toObject().value(QStringLiteral("name")).toString() == name)
        return s.toObject().value(QStringLiteral("id")).toString();
    }
    return {};
  }
  QString documents(const QString& set) const {
    QString all;
    for (const char* route : {"/api/pages", "/api/texts", "/api/styles", "/api/order"})
      all += QString::fromUtf8(bytes(QString::fromLatin1(route) + QStringLiteral("?set=") + set));
    return all;
  }

  FakeTools tools;
  QTemporaryDir dir;
  const QString app = kFixtures + QStringLiteral("/app");
};

TEST_F(GenerateCommandTest,
       MakesASetOfRenderedScreensTitlesStickersAndCalloutsThatExportsAndUpdates) {
  const Outcome run =
      cli({QStringLiteral("generate"), QStringLiteral("--folder"), app, QStringLiteral("--set"),
           QStringLiteral("Leafy"), QStringLiteral("--locales"), QStringLiteral("en,de")});
  ASSERT_EQ(run.code, 0) << run.out.toStdString() << run.err.toStdString();
  EXPECT_TRUE(run.out.contains("Today: Corrected 2 screens to match the app"))
      << run.out.toStdString();
  EXPECT_TRUE(run.out.contains("Stats: Matches the app"));
  EXPECT_TRUE(run.out.contains("All 2 screens made"));
  const QString set = setNamed(QStringLiteral("Leafy"));
  ASSERT_FALSE(set.isEmpty());

  const QJsonArray pages = get(QStringLiteral("/api/pages?set=") + set)
                               .object()
                               .value(QStringLiteral("pages"))
                               .toArray();
  ASSERT_EQ(pages.size(), 2);
  EXPECT_EQ(pages[0].toObject().value(QStringLiteral("id")).toString(), QStringLiteral("home"));
  EXPECT_EQ(pages[1].toObject().value(QStringLiteral("id")).toString(), QStringLiteral("stats"));
  // Both platforms in both appearances, for each page.
  EXPECT_EQ(get(QStringLiteral("/api/screens?set=") + set)
                .object()
                .value(QStringLiteral("screens"))
                .toArray()
                .size(),
            8);
  const QJsonObject texts = get(QStringLiteral("/api/texts?set=") + set).object();
  for (const QString& page : {QStringLiteral("home"), QStringLiteral("stats")}) {
    for (const QString& locale : {QStringLiteral("en"), QStringLiteral("de")}) {
      EXPECT_FALSE(texts.value(page)
                       .toObject()
                       .value(locale)
                       .toObject()
                       .value(QStringLiteral("title"))
                       .toString()
                       .isEmpty())
          << page.toStdString() << "@" << locale.toStdString();
    }
  }
  const QJsonArray layers = get(QStringLiteral("/api/styles?set=") + set)
                                .object()
                                .value(QStringLiteral("home"))
                                .toObject()
                                .value(QStringLiteral("layers"))
                                .toArray();
  QStringList names;
  for (const QJsonValue& layer : layers)
    names << layer.toObject().value(QStringLiteral("name")).toString();
  EXPECT_EQ(names, (QStringList{QStringLiteral("Leaf"), QStringLiteral("Star"),
                                QStringLiteral("Callout")}));

  const QString zip = dir.filePath(QStringLiteral("leafy.zip"));
  const Outcome exported =
      cli({QStringLiteral("export"), QStringLiteral("--set"), set, QStringLiteral("--os"),
           QStringLiteral("ios"), QStringLiteral("--theme"), QStringLiteral("dark"),
           QStringLiteral("-o"), zip});
  ASSERT_EQ(exported.code, 0) << exported.err.toStdString();
  QProcess list;
  list.start(QStringLiteral("unzip"), {QStringLiteral("-l"), zip});
  list.waitForFinished();
  const QByteArray listing = list.readAllStandardOutput();
  for (const char* name :
       {"en/01-home.png", "en/02-stats.png", "de/01-home.png", "de/02-stats.png"})
    EXPECT_TRUE(listing.contains(name)) << name << "\n" << listing.toStdString();

  // The update redraws the home screen and nothing else of the set.
  const QString homeScreen =
      QStringLiteral("/api/screen?set=%1&page=home&os=ios&appearance=dark").arg(set);
  const QByteArray before = bytes(homeScreen);
  const QString texts0 = QString::fromUtf8(bytes(QStringLiteral("/api/texts?set=") + set));
  const Outcome update = cli({QStringLiteral("generate"), QStringLiteral("--update"),
                              QStringLiteral("--set"), set, QStringLiteral("--folder"), app});
  ASSERT_EQ(update.code, 0) << update.out.toStdString() << update.err.toStdString();
  EXPECT_TRUE(update.out.contains("Updating 2 screens from the code"));
  const QByteArray after = bytes(homeScreen);
  EXPECT_FALSE(after.isEmpty());
  EXPECT_NE(before, after);
  EXPECT_EQ(QString::fromUtf8(bytes(QStringLiteral("/api/texts?set=") + set)), texts0);
}

TEST_F(GenerateCommandTest, StopMidJobLeavesNoProcessAndNoChange) {
  QProcess make;
  make.setProcessEnvironment(environment());
  make.start(QStringLiteral(VELLORA_CLI),
             {QStringLiteral("request"), QStringLiteral("POST"), QStringLiteral("/api/sets"),
              QStringLiteral("--body"), QStringLiteral("-")});
  make.write(R"({"name":"Kept","locales":["en"]})");
  make.closeWriteChannel();
  ASSERT_TRUE(make.waitForFinished());
  const QString set = setNamed(QStringLiteral("Kept"));
  ASSERT_FALSE(set.isEmpty());
  for (const auto& [route, body] : std::vector<std::pair<QString, QByteArray>>{
           {QStringLiteral("/api/pages?set="),
            R"({"pages":[{"id":"old","label":"Old","source":"upload"}]})"},
           {QStringLiteral("/api/texts?set="), R"({"old":{"en":{"title":"Kept"}}})"},
           {QStringLiteral("/api/styles?set="), R"({"old":{"gradFrom":"#000000"}})"}}) {
    QProcess post;
    post.setProcessEnvironment(environment());
    post.start(QStringLiteral(VELLORA_CLI),
               {QStringLiteral("request"), QStringLiteral("POST"), route + set,
                QStringLiteral("--body"), QStringLiteral("-")});
    post.write(body);
    post.closeWriteChannel();
    ASSERT_TRUE(post.waitForFinished());
  }
  const QString before = documents(set);

  // The home screen's run leaves a grandchild and never answers.
  scenario(QStringLiteral("grandchild\nhang"));
  QProcess generate;
  launch(generate, {QStringLiteral("generate"), QStringLiteral("--folder"), app,
                    QStringLiteral("--set"), set});
  ASSERT_TRUE(waitUntil(
      [&] {
        int grandchildren = 0;
        for (const QJsonObject& e : tools.log())
          grandchildren += e.contains(QStringLiteral("grandchild")) ? 1 : 0;
        return grandchildren == 2;
      },
      std::chrono::seconds(30)));
  ::kill(static_cast<pid_t>(generate.processId()), SIGINT);
  ASSERT_TRUE(generate.waitForFinished(20000));
  EXPECT_EQ(generate.exitCode(), 1);
  EXPECT_TRUE(generate.readAllStandardError().contains("Stopped — nothing was saved."));
  for (const QJsonObject& e : tools.log()) {
    for (const char* key : {"pid", "grandchild"}) {
      if (e.contains(QLatin1String(key))) {
        EXPECT_FALSE(processAlive(e.value(QLatin1String(key)).toInteger())) << key;
      }
    }
  }
  EXPECT_EQ(documents(set), before);
}

}  // namespace

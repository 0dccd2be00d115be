#pragma once

// A generation job on the fake tools: a scenario file that scripts each run
// by its prompt, a client on a transport the test controls, and readings of
// the fake's log.
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <map>
#include <memory>

#include "assistants/fake_tools.h"
#include "assistants/screenshot_generator.h"
#include "models/api_client.h"
#include "models/fake_transport.h"

namespace vells::assistants {

class GenerationFixture {
 public:
  GenerationFixture() {
    QDir().mkpath(app.filePath(QStringLiteral("Sources")));
    QFile source(app.filePath(QStringLiteral("Sources/App.swift")));
    source.open(QIODevice::WriteOnly);
    source.write("struct App {}\n");
    qputenv("FAKE_AI_SCENARIO", scenarioPath().toLocal8Bit());
    tool.path = tools.install(QStringLiteral("claude"));
  }
  ~GenerationFixture() { qunsetenv("FAKE_AI_SCENARIO"); }

  QString scenarioPath() const { return tools.home() + QStringLiteral("/scenario.txt"); }

  // Adds a block played by the runs whose prompt holds `needle`; earlier blocks win.
  void when(const QString& needle, const QString& directives) {
    QFile file(scenarioPath());
    file.open(QIODevice::Append);
    file.write((QStringLiteral("WHEN ") + needle + QLatin1Char('\n') + directives +
                QStringLiteral("\nEND\n"))
                   .toUtf8());
  }
  // A file of the reply's text, for replies too long for one line.
  QString replyFile(const QString& name, const QByteArray& text) {
    const QString path = tools.home() + QLatin1Char('/') + name;
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(text);
    return path;
  }

  std::unique_ptr<ScreenshotGenerator> makeJob() {
    return std::make_unique<ScreenshotGenerator>(client, QStringLiteral("Leafy"),
                                                 QStringLiteral("leafy"), app.path(), std::nullopt);
  }

  // Discovery that finds `count` screens s1…sN, all recommended.
  void discoverScreens(ScreenshotGenerator& job, int count,
                       const QString& support = QStringLiteral("{\"ios\":true}")) {
    QStringList screens;
    for (int i = 1; i <= count; ++i)
      screens
          << QStringLiteral("{\"id\":\"s%1\",\"name\":\"Screen %1\",\"recommended\":true}").arg(i);
    when(QStringLiteral("The current directory is the source code"),
         QStringLiteral("reply {\"screens\":[") + screens.join(QLatin1Char(',')) +
             QStringLiteral("],\"support\":") + support + QLatin1Char('}'));
    job.discover(tool);
  }

  // The most first runs (prompts that make a screen) alive at one time, by
  // the fake's own start and end lines.
  int mostFirstRunsAtOnce() const {
    std::set<qint64> first;
    int alive = 0;
    int most = 0;
    for (const QJsonObject& entry : tools.log()) {
      if (entry.contains(QStringLiteral("end"))) {
        if (first.erase(entry.value(QStringLiteral("end")).toInteger()) > 0) --alive;
        continue;
      }
      const QJsonArray argv = entry.value(QStringLiteral("argv")).toArray();
      bool isFirst = false;
      for (const QJsonValue& a : argv)
        isFirst = isFirst || a.toString().startsWith(QStringLiteral("You are making ONE"));
      if (isFirst) {
        first.insert(entry.value(QStringLiteral("pid")).toInteger());
        most = std::max(most, ++alive);
      }
    }
    return most;
  }

  std::vector<qint64> childPids() const {
    std::vector<qint64> pids;
    for (const QJsonObject& entry : tools.log()) {
      if (entry.contains(QStringLiteral("pid")))
        pids.push_back(entry.value(QStringLiteral("pid")).toInteger());
      if (entry.contains(QStringLiteral("grandchild")))
        pids.push_back(entry.value(QStringLiteral("grandchild")).toInteger());
    }
    return pids;
  }

  int requestsTo(const std::string& path) const {
    int n = 0;
    for (const auto& r : transport.requests())
      n += r.path == path ? 1 : 0;
    return n;
  }

  FakeTools tools;
  QTemporaryDir app;
  DetectedTool tool;
  testing::FakeTransport transport;
  models::QtTimerClock clock;
  models::APIClient client{transport.transport(), clock};
};

}  // namespace vells::assistants

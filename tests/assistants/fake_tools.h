#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <chrono>
#include <functional>
#include <ostream>
#include <vector>

// Readable failures for Qt strings.
inline void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}

// A temporary home with the fake tool installed under the tools' names, and
// the log its runs write.
class FakeTools {
 public:
  FakeTools() {
    qputenv("FAKE_AI_LOG", logPath().toLocal8Bit());
    QFile::remove(logPath());
  }
  ~FakeTools() { qunsetenv("FAKE_AI_LOG"); }

  QString home() const { return home_.path(); }
  QString logPath() const { return home_.filePath(QStringLiteral("fake-ai.log")); }

  // Installs the fake as `name` in `folder` (relative to the home) and returns its path.
  QString install(const QString& name, const QString& folder = QStringLiteral(".local/bin")) {
    const QString dir = home_.filePath(folder);
    QDir().mkpath(dir);
    const QString target = dir + QLatin1Char('/') + name;
    QFile::remove(target);
    QFile::link(QStringLiteral(FAKE_AI_TOOL), target);
    return target;
  }

  // Writes a file that is not executable, where a tool would be.
  QString plantNonExecutable(const QString& name, const QString& folder) {
    const QString dir = home_.filePath(folder);
    QDir().mkpath(dir);
    QFile file(dir + QLatin1Char('/') + name);
    file.open(QIODevice::WriteOnly);
    file.write("#!/bin/sh\necho no\n");
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    return file.fileName();
  }

  std::vector<QJsonObject> log() const {
    std::vector<QJsonObject> entries;
    QFile file(logPath());
    if (!file.open(QIODevice::ReadOnly)) return entries;
    for (const QByteArray& line : file.readAll().split('\n')) {
      if (!line.isEmpty()) entries.push_back(QJsonDocument::fromJson(line).object());
    }
    return entries;
  }

 private:
  QTemporaryDir home_;
};

// Alive and not a zombie waiting to be reaped.
inline bool processAlive(qint64 pid) {
  QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
  if (!stat.open(QIODevice::ReadOnly)) return false;
  const QByteArray line = stat.readAll();
  const qsizetype close = line.lastIndexOf(')');
  return close > 0 && close + 2 < line.size() && line[close + 2] != 'Z';
}

// Runs the event loop until `done` holds or the time is up; returns `done()`.
inline bool waitUntil(const std::function<bool()>& done,
                      std::chrono::milliseconds limit = std::chrono::seconds(15)) {
  QDeadlineTimer deadline(limit);
  while (!done() && !deadline.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  }
  return done();
}

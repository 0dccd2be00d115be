#include "assistants/short_command.h"

#include <signal.h>

#include <QProcess>
#include <QStringDecoder>

#include "assistants/process_group.h"

namespace vells::assistants {

namespace {
// After SIGKILL the child is gone at once; this only bounds the reaping.
constexpr int kReapMs = 2000;
}  // namespace

std::optional<QString> runShortCommand(const QString& program, const QStringList& arguments,
                                       std::chrono::milliseconds limit) {
  QProcess process;
  process.setProgram(program);
  process.setArguments(arguments);
  process.setStandardInputFile(QProcess::nullDevice());
  process.setStandardErrorFile(QProcess::nullDevice());
  startInOwnProcessGroup(process);
  process.start(QIODevice::ReadOnly);
  if (!process.waitForStarted(static_cast<int>(limit.count()))) {
    if (process.state() != QProcess::NotRunning) {
      signalProcessGroup(process.processId(), SIGKILL);
      process.waitForFinished(kReapMs);
    }
    return std::nullopt;
  }
  const qint64 leader = process.processId();
  if (!process.waitForFinished(static_cast<int>(limit.count()))) {
    signalProcessGroup(leader, SIGKILL);
    process.waitForFinished(kReapMs);
    return std::nullopt;
  }
  // Whatever the command left behind in its group goes with it.
  signalProcessGroup(leader, SIGKILL);
  const QByteArray bytes = process.readAllStandardOutput();
  QStringDecoder decoder(QStringDecoder::Utf8);
  QString text = decoder(bytes);
  if (decoder.hasError()) return std::nullopt;
  text = text.trimmed();
  if (text.isEmpty()) return std::nullopt;
  return text;
}

QString lastLine(const QString& output) {
  const QStringList lines = output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
  for (auto it = lines.crbegin(); it != lines.crend(); ++it) {
    QString line = it->trimmed();
    if (!line.isEmpty()) return line;
  }
  return {};
}

}  // namespace vells::assistants

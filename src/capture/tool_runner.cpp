#include "capture/tool_runner.h"

#include <QFileInfo>
#include <QProcess>

namespace vells::capture {

std::optional<QByteArray> ToolRunner::run(const QString& program,
                                          const QStringList& arguments) const {
  QProcess process;
  process.setStandardInputFile(QProcess::nullDevice());
  process.setStandardErrorFile(QProcess::nullDevice());
  process.start(program, arguments, QIODevice::ReadOnly);
  const int limit = static_cast<int>(timeLimit_.count());
  if (!process.waitForStarted(limit)) return std::nullopt;
  if (!process.waitForFinished(limit)) {
    process.kill();
    process.waitForFinished(1000);
    return std::nullopt;
  }
  if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) return std::nullopt;
  return process.readAllStandardOutput();
}

bool isExecutable(const QString& path) {
  const QFileInfo info(path);
  return !path.isEmpty() && info.isFile() && info.isExecutable();
}

}  // namespace vells::capture

#include "assistants/tool_finder.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtConcurrent/QtConcurrentRun>
#include <future>

#include "assistants/short_command.h"

namespace vells::assistants {

ToolFinder::Options ToolFinder::defaultOptions() {
  Options options;
  options.home = QDir::homePath();
  options.systemFolders = {QStringLiteral("/home/linuxbrew/.linuxbrew/bin"),
                           QStringLiteral("/usr/local/bin")};
  options.lastFolders = {QStringLiteral("/usr/bin")};
  return options;
}

ToolFinder::ToolFinder(LoginShell shell, Options options)
    : shell_(std::move(shell)), options_(std::move(options)) {}

QStringList ToolFinder::searchFolders() const {
  const QString home = options_.home;
  QStringList folders{home + QStringLiteral("/.local/bin"),
                      home + QStringLiteral("/.claude/local")};
  folders += options_.systemFolders;
  folders += {home + QStringLiteral("/.npm-global/bin"), home + QStringLiteral("/.bun/bin"),
              home + QStringLiteral("/.volta/bin")};
  folders += options_.lastFolders;
  return folders;
}

std::optional<QString> ToolFinder::binary(AITool tool) const {
  const QString name = rawValue(tool);
  for (const QString& folder : searchFolders()) {
    const QFileInfo candidate(folder + QLatin1Char('/') + name);
    if (candidate.isFile() && candidate.isExecutable()) return candidate.filePath();
  }
  return shell_.commandPath(name);
}

std::optional<QString> ToolFinder::versionFrom(const QString& output) {
  const QStringList lines = output.split(QLatin1Char('\n'));
  for (const QString& line : lines) {
    if (line.trimmed().isEmpty()) continue;
    static const QRegularExpression blanks(QStringLiteral("[ \\t\\r]+"));
    for (const QString& word : line.split(blanks, Qt::SkipEmptyParts)) {
      const QList<uint> codePoints = word.toUcs4();
      if (!codePoints.isEmpty() && QChar::isNumber(static_cast<char32_t>(codePoints.first()))) {
        return word;
      }
    }
    return std::nullopt;
  }
  return std::nullopt;
}

DetectedTool ToolFinder::detect(AITool tool) const {
  DetectedTool found{tool, binary(tool), std::nullopt};
  if (found.path) {
    if (const auto output =
            runShortCommand(*found.path, {QStringLiteral("--version")}, options_.versionLimit)) {
      found.version = versionFrom(*output);
    }
  }
  return found;
}

std::vector<DetectedTool> ToolFinder::detectTools() const {
  std::vector<std::future<DetectedTool>> searches;
  searches.reserve(kAllTools.size());
  for (AITool tool : kAllTools) {
    searches.push_back(std::async(std::launch::async, [this, tool] { return detect(tool); }));
  }
  // Collected in the fixed order, whichever search ends first.
  std::vector<DetectedTool> tools;
  tools.reserve(searches.size());
  for (auto& search : searches)
    tools.push_back(search.get());
  return tools;
}

QFuture<std::vector<DetectedTool>> ToolFinder::detectToolsInBackground() const {
  return QtConcurrent::run([finder = *this] { return finder.detectTools(); });
}

}  // namespace vells::assistants

#include "assistants/tool_call.h"

#include <QStringList>

namespace vells::assistants {

namespace {

bool isQuote(QChar c) {
  return c == QLatin1Char('\'') || c == QLatin1Char('"');
}
bool isBlank(QChar c) {
  return c == QLatin1Char(' ') || c == QLatin1Char('\t');
}

// What a shell wrapper such as `bash -lc 'cat README.md'` runs.
QString unwrapShell(const QString& command) {
  if (!command.startsWith(QStringLiteral("bash")) && !command.startsWith(QStringLiteral("/bin/")) &&
      !command.startsWith(QStringLiteral("zsh"))) {
    return command;
  }
  qsizetype quote = -1;
  for (qsizetype i = 0; i < command.size(); ++i) {
    if (isQuote(command[i])) {
      quote = i;
      break;
    }
  }
  if (quote < 0) return command;
  QString inner = command.mid(quote + 1);
  qsizetype begin = 0, end = inner.size();
  while (begin < end && (isQuote(inner[begin]) || isBlank(inner[begin])))
    ++begin;
  while (end > begin && (isQuote(inner[end - 1]) || isBlank(inner[end - 1])))
    --end;
  return inner.mid(begin, end - begin);
}

}  // namespace

ToolCall ToolCall::fromCodexCommand(const QString& command) {
  static const QStringList viewers{
      QStringLiteral("cat"), QStringLiteral("sed"),  QStringLiteral("head"), QStringLiteral("tail"),
      QStringLiteral("nl"),  QStringLiteral("less"), QStringLiteral("bat")};
  const QStringList words = unwrapShell(command).split(QLatin1Char(' '), Qt::SkipEmptyParts);
  if (!words.isEmpty() && viewers.contains(words.first())) {
    for (auto word = words.crbegin(); word != words.crend(); ++word) {
      if (!word->startsWith(QLatin1Char('-')) && word->contains(QLatin1Char('.')) &&
          !word->contains(QLatin1Char(','))) {
        return {QStringLiteral("Read"), QJsonObject{{QStringLiteral("file_path"), *word}}};
      }
    }
  }
  return {QStringLiteral("Grep"), QJsonObject{{QStringLiteral("command"), command}}};
}

ToolCall ToolCall::fromGemini(const QString& name, const QJsonObject& parameters) {
  if (name == QStringLiteral("read_file") || name == QStringLiteral("read_many_files")) {
    for (const char* key : {"file_path", "absolute_path", "path"}) {
      const QString field = QString::fromLatin1(key);
      if (!parameters.contains(field)) continue;
      const QJsonValue path = parameters.value(field);
      if (path.isString()) {
        return {QStringLiteral("Read"),
                QJsonObject{{QStringLiteral("file_path"), path.toString()}}};
      }
      break;
    }
    return {QStringLiteral("Read"), QJsonObject{}};
  }
  return {QStringLiteral("Grep"), parameters};
}

}  // namespace vells::assistants

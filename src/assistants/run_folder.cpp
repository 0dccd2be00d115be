#include "assistants/run_folder.h"

#include <QDir>

#include "assistants/assistant_error.h"

namespace vells::assistants {

namespace {
constexpr qsizetype kLabelLength = 40;

QString safeLabel(const QString& label) {
  QString safe = label.left(kLabelLength);
  for (QChar& c : safe) {
    const bool plain = (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
                       (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
                       (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('-') ||
                       c == QLatin1Char('_');
    if (!plain) c = QLatin1Char('_');
  }
  return safe;
}
}  // namespace

RunFolder::RunFolder(const QString& label)
    : dir_(std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/vells-chat-") +
                                           safeLabel(label) + QStringLiteral("-XXXXXX"))) {
  if (!dir_->isValid()) {
    throw AssistantError(QStringLiteral("A working folder for the AI couldn’t be made in ") +
                         QDir::tempPath() + QStringLiteral(": ") + dir_->errorString());
  }
}

}  // namespace vells::assistants

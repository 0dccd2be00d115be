#pragma once

#include <QString>
#include <QStringList>
#include <map>
#include <optional>
#include <vector>

#include "assistants/ai_tool.h"
#include "assistants/discovery_reply.h"
#include "assistants/style_direction.h"
#include "assistants/update_page.h"
#include "document/records.h"

namespace vells::assistants {

// Everything a screen's first prompt is made from.
struct ScreenPromptInput {
  QString appName;
  FoundScreen screen;
  int position = 0;  // among the chosen screens
  int total = 1;
  std::vector<DeviceOS> platforms;
  std::vector<ThemeName> appearances;
  std::map<QString, QString> profile;  // label to value
  std::optional<Design> design;
  StyleDirection direction = StyleDirection::minimal;
  QString rating;
  QString review;
  QStringList locales;
};

// The prompts of a generation job, joined from the fixed pieces and the job's
// own values. Pure functions: the same input gives the same text.
class ScreenPrompts {
 public:
  ScreenPrompts() = delete;

  static QString discovery(const QString& appName);
  static QString appearanceBrief(const std::vector<ThemeName>& appearances);
  static QString screen(const ScreenPromptInput& input);
  static QString update(const QString& appName, const QString& setId, const UpdatePage& page);
  // `pictureLines` name the drawn pictures; `firstReply` is repeated only to a
  // tool without sessions; `reference` only in an update.
  static QString review(AITool tool, const QString& screenName, const QString& firstReply,
                        const QStringList& pictureLines, const std::optional<QString>& reference);
  // "iOS, de, dark mode: PATH"
  static QString pictureLine(const ScreenSlotKey& slot, const QString& path);
};

}  // namespace vells::assistants

#include "assistants/screen_prompts.h"

#include <algorithm>

#include "assistants/prompt_words.h"
#include "text/copy_rules.h"

namespace vells::assistants {

namespace words = prompt_words;

namespace {

QString utf8(const char* text) {
  return QString::fromUtf8(text);
}

QString platformBrief(const std::vector<DeviceOS>& platforms) {
  QStringList parts;
  for (DeviceOS os : platforms) {
    parts << (os == DeviceOS::ios ? QStringLiteral("ios (393x852 CSS px)")
                                  : QStringLiteral("android (412x915 CSS px)"));
  }
  return parts.join(QStringLiteral(" and "));
}

QString look(const std::optional<Design>& design) {
  if (!design) return {};
  return QStringLiteral(
             "The whole set follows ONE look — keep to it so every screenshot belongs together: ") +
         design->summary + QStringLiteral(" Palette: ") +
         design->colors.join(QStringLiteral(", ")) + QStringLiteral(". Title colour ") +
         design->titleColor + QStringLiteral(", accent ") + design->accentColor +
         QStringLiteral(
             ". Vary the background a little from screen to screen within this palette; never "
             "leave it.");
}

QString slotLine(const ScreenSlotKey& slot) {
  QString line =
      QStringLiteral("- os \"") + QString::fromUtf8(rawValue(slot.os)) + QLatin1Char('"');
  if (slot.locale) {
    line += QStringLiteral(", locale \"") + *slot.locale + QStringLiteral("\" — in the app's ") +
            *slot.locale + QStringLiteral(" strings");
  } else {
    line += QStringLiteral(", no locale — shared by every language");
  }
  if (slot.appearance) {
    line += QStringLiteral(", appearance \"") + *slot.appearance +
            QStringLiteral("\" — the app in ") + *slot.appearance + QStringLiteral(" mode");
  }
  return line;
}

}  // namespace

QString ScreenPrompts::discovery(const QString& appName) {
  return utf8(words::kDiscoveryHead) + appName + utf8(words::kDiscoveryBody);
}

QString ScreenPrompts::appearanceBrief(const std::vector<ThemeName>& appearances) {
  if (appearances.size() >= 2) return utf8(words::kTwoAppearances);
  const bool dark = !appearances.empty() && appearances.front() == ThemeName::dark;
  return QStringLiteral("APPEARANCE: the app has only a ") +
         (dark ? QStringLiteral("dark") : QStringLiteral("light")) +
         QStringLiteral(" mode — draw that.");
}

QString ScreenPrompts::screen(const ScreenPromptInput& in) {
  QString prompt = utf8(words::kScreenHead) + in.appName + utf8(words::kScreenIntro);
  prompt += in.screen.name + QStringLiteral(" — ") + in.screen.summary +
            QStringLiteral(" Its view is ") + in.screen.file + QStringLiteral(".\n");
  prompt += QStringLiteral("Page id \"") + in.screen.id + QStringLiteral("\". Platforms: ") +
            platformBrief(in.platforms) + QStringLiteral("\n        ") +
            appearanceBrief(in.appearances);
  prompt += QStringLiteral(".\n");
  if (!in.profile.empty()) {
    QStringList entries;
    for (const auto& [label, value] : in.profile)
      entries << QStringLiteral("- ") + label + QStringLiteral(": ") + value;
    entries.sort();
    prompt += QStringLiteral("What the owner said about the app:\n") +
              entries.join(QLatin1Char('\n')) + QLatin1Char('\n');
  }
  prompt += QLatin1Char('\n');
  prompt += look(in.design);
  prompt += QStringLiteral("\n\n");
  const std::vector<StickerAsset> none;
  const auto& stickers = in.design && usesStickers(in.direction) ? in.design->stickerAssets : none;
  prompt += guidance(in.direction, stickers, in.rating, in.review);
  prompt += utf8(words::kScreenCraft);
  prompt += QString::fromStdString(text::CopyRules::role(in.position, in.total));
  prompt += QStringLiteral("; write its title for that job.\n\n");
  prompt += utf8(words::kScreenCopy);
  prompt += utf8(words::kScreenReplyHead);
  QStringList titles;
  for (const QString& locale : in.locales)
    titles << QLatin1Char('"') + locale + QStringLiteral("\":\"…\"");
  prompt += titles.join(QLatin1Char(','));
  prompt += utf8(words::kScreenReplyMiddle);
  QStringList screens;
  for (DeviceOS os : in.platforms)
    screens << QLatin1Char('"') + QString::fromUtf8(rawValue(os)) +
                   QStringLiteral("\":\"<!doctype html>…\"");
  prompt += screens.join(QLatin1Char(','));
  prompt += utf8(words::kScreenReplyTail);
  return prompt;
}

QString ScreenPrompts::update(const QString& appName, const QString& setId,
                              const UpdatePage& page) {
  QString prompt = utf8(words::kUpdateHead) + appName + utf8(words::kUpdateIntro) + page.name;
  if (page.file) prompt += QStringLiteral(" — its view was ") + *page.file;
  prompt += QStringLiteral(". Orvo Tools set `") + setId + QStringLiteral("`, page id \"") +
            page.id + QStringLiteral("\".\n");
  if (page.reference) {
    prompt += QStringLiteral("This is how it looked last time — Read this image first: ") +
              *page.reference;
  }
  prompt += utf8(words::kUpdateBody);
  QStringList slotKeys;
  for (const ScreenSlotKey& slot : page.slotKeys)
    slotKeys << slotLine(slot);
  prompt += slotKeys.join(QLatin1Char('\n'));
  prompt += QLatin1Char('\n');
  if (!page.components.empty()) {
    QStringList lines;
    for (const UpdateComponent& c : page.components) {
      lines << QStringLiteral("- ") + c.asset + QStringLiteral(": Read ") + c.image +
                   QStringLiteral(", then redraw it at width ") + QString::number(c.width) +
                   QStringLiteral(", height ") + QString::number(c.height);
    }
    prompt += utf8(words::kUpdateComponents) + lines.join(QLatin1Char('\n'));
  }
  prompt += utf8(words::kUpdateReply);
  return prompt;
}

QString ScreenPrompts::pictureLine(const ScreenSlotKey& slot, const QString& path) {
  QString line = slot.os == DeviceOS::ios ? QStringLiteral("iOS") : QStringLiteral("Android");
  if (slot.locale) line += QStringLiteral(", ") + *slot.locale;
  if (slot.appearance) line += QStringLiteral(", ") + *slot.appearance + QStringLiteral(" mode");
  return line + QStringLiteral(": ") + path;
}

QString ScreenPrompts::review(AITool tool, const QString& screenName, const QString& firstReply,
                              const QStringList& pictureLines,
                              const std::optional<QString>& reference) {
  QString prompt;
  if (tool == AITool::gemini) {
    prompt += utf8(words::kReviewGemini)
                  .replace(QStringLiteral("NAME"), screenName)
                  .replace(QStringLiteral("REPLY"), firstReply) +
              QStringLiteral("\n\n");
  }
  prompt += utf8(words::kReviewLead).replace(QStringLiteral("NAME"), screenName);
  prompt += QLatin1Char('\n') + pictureLines.join(QLatin1Char('\n'));
  if (reference) {
    prompt +=
        QStringLiteral("\nHow the screen looked last time (the app as it was): ") + *reference;
  }
  prompt += utf8(words::kReviewBody);
  return prompt;
}

}  // namespace vells::assistants

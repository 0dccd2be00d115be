#include "app/sheet_rules.h"

#include <algorithm>
#include <charconv>

namespace vells::app {

QString trimmed(const QString& text) {
  return text.trimmed();
}

std::string newPageID(const QString& label, const std::vector<std::string>& existing) {
  std::string base;
  bool gap = false;
  for (const QChar c : label.toLower()) {
    const char16_t u = c.unicode();
    if ((u >= u'a' && u <= u'z') || (u >= u'0' && u <= u'9')) {
      if (gap && !base.empty()) base += '-';
      gap = false;
      base += static_cast<char>(u);
    } else {
      gap = true;
    }
  }
  if (base.empty()) base = "page";
  auto taken = [&](const std::string& id) {
    return std::find(existing.begin(), existing.end(), id) != existing.end();
  };
  if (!taken(base)) return base;
  for (int n = 2;; ++n) {
    std::string candidate = base + "-" + std::to_string(n);
    if (!taken(candidate)) return candidate;
  }
}

long long setStamp(const std::string& setId) {
  const auto dash = setId.rfind('-');
  if (dash == std::string::npos) return 0;
  const char* first = setId.data() + dash + 1;
  const char* last = setId.data() + setId.size();
  long long value = 0;
  const auto [end, error] = std::from_chars(first, last, value);
  if (error != std::errc() || end != last || first == last) return 0;
  return value;
}

std::vector<VellSet> newestFirst(std::vector<VellSet> sets) {
  std::stable_sort(sets.begin(), sets.end(), [](const VellSet& a, const VellSet& b) {
    return setStamp(a.id) > setStamp(b.id);
  });
  return sets;
}

QString defaultSetName(const QString& appName, std::size_t existingSets) {
  return appName + QStringLiteral(" v") + QString::number(existingSets + 1);
}

const QStringList& appCategories() {
  static const QStringList categories{
      QStringLiteral("None"),
      QStringLiteral("Books"),
      QStringLiteral("Business"),
      QStringLiteral("Education"),
      QStringLiteral("Entertainment"),
      QStringLiteral("Finance"),
      QStringLiteral("Food & Drink"),
      QStringLiteral("Games"),
      QStringLiteral("Health & Fitness"),
      QStringLiteral("Lifestyle"),
      QStringLiteral("Medical"),
      QStringLiteral("Music"),
      QStringLiteral("Navigation"),
      QStringLiteral("News"),
      QStringLiteral("Photo & Video"),
      QStringLiteral("Productivity"),
      QStringLiteral("Shopping"),
      QStringLiteral("Social Networking"),
      QStringLiteral("Sports"),
      QStringLiteral("Travel"),
      QStringLiteral("Utilities"),
      QStringLiteral("Weather"),
  };
  return categories;
}

JSONValue::Object appProfile(const std::set<DeviceOS>& platforms, const QString& about,
                             const QString& audience, const QString& category) {
  JSONValue::Object out;
  JSONValue::Array names;
  for (DeviceOS os : platforms)
    names.emplace_back(std::string(rawValue(os)));
  out["platforms"] = std::move(names);
  const std::pair<const char*, QString> texts[] = {
      {"about", trimmed(about)}, {"audience", trimmed(audience)}, {"category", trimmed(category)}};
  for (const auto& [key, text] : texts) {
    if (!text.isEmpty()) out[key] = text.toStdString();
  }
  return out;
}

QString platformName(DeviceOS os) {
  return os == DeviceOS::ios ? QStringLiteral("iOS") : QStringLiteral("Android");
}

}  // namespace vells::app

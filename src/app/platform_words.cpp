#include "app/platform_words.h"

#include <array>
#include <utility>

namespace vells::app {

QString platformWords(QStringView text) {
  // Longer phrases first, so "Show in Finder" isn't half-replaced by "Finder".
  static constexpr auto kWords = std::to_array<std::pair<const char16_t*, const char16_t*>>({
      {u"Show in Finder", u"Show in file manager"},
      {u"Reveal in Finder", u"Show in file manager"},
      {u"Finder", u"file manager"},
      {u"on this Mac", u"on this computer"},
      {u"this Mac", u"this computer"},
      {u"\u21e7\u2318", u"Shift+Ctrl+"},
      {u"\u2325\u2318", u"Alt+Ctrl+"},
      {u"\u2318", u"Ctrl+"},
      {u"\u2325", u"Alt+"},
      {u"\u21e7", u"Shift+"},
  });
  QString out = text.toString();
  for (const auto& [mac, here] : kWords) {
    out.replace(QString::fromUtf16(mac), QString::fromUtf16(here));
  }
  return out;
}

}  // namespace vells::app

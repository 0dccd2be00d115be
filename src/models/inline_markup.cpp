#include "models/inline_markup.h"

#include <QStringList>
#include <algorithm>

namespace vells::models {

AccentText InlineMarkup::attributed(const QString& markup) {
  const auto stars = markup.count(QLatin1Char('*'));
  const auto paired = stars - stars % 2;
  AccentText out;
  bool on = false;
  qsizetype seen = 0;
  for (QChar c : markup) {
    if (c == QLatin1Char('*') && seen < paired) {
      ++seen;
      on = !on;
      continue;
    }
    out.text.append(c);
    out.accent.push_back(on && c != QLatin1Char('*'));
  }
  return out;
}

QString InlineMarkup::serialize(const AccentText& text) {
  QString out;
  const auto n = text.text.size();
  qsizetype i = 0;
  while (i < n) {
    const bool on = i < static_cast<qsizetype>(text.accent.size()) && text.accent[i];
    qsizetype j = i;
    while (j < n && (j < static_cast<qsizetype>(text.accent.size()) && text.accent[j]) == on)
      ++j;
    const QString run = text.text.mid(i, j - i);
    if (!on) {
      out += run;
    } else {
      const QStringList lines = run.split(QLatin1Char('\n'));
      for (qsizetype k = 0; k < lines.size(); ++k) {
        if (k > 0) out += QLatin1Char('\n');
        if (!lines[k].isEmpty()) out += QLatin1Char('*') + lines[k] + QLatin1Char('*');
      }
    }
    i = j;
  }
  return out;
}

bool InlineMarkup::toggleHighlight(AccentText& text, int start, int end) {
  text.accent.resize(static_cast<std::size_t>(text.text.size()), false);
  start = std::clamp(start, 0, static_cast<int>(text.text.size()));
  end = std::clamp(end, start, static_cast<int>(text.text.size()));
  if (start == end) return false;
  const auto first = text.accent.begin() + start;
  const auto last = text.accent.begin() + end;
  const bool all = std::all_of(first, last, [](bool b) { return b; });
  std::fill(first, last, !all);
  return true;
}

}  // namespace vells::models

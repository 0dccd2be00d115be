#include "models/text_fit.h"

#include <QPointer>
#include <QString>
#include <QStringList>
#include <cmath>
#include <memory>

#include "document/vell_layer.h"
#include "document/vell_style.h"
#include "document/vell_text.h"
#include "models/api_client.h"

namespace vells::models {

namespace {

using Report = TextFit::Report;

std::optional<std::vector<double>> numbersOf(const JSONValue* value) {
  if (!value || !value->isArray()) return std::nullopt;
  std::vector<double> out;
  for (const JSONValue& v : *value->asArray()) {
    if (!v.asNumber()) return std::nullopt;
    out.push_back(*v.asNumber());
  }
  return out;
}

bool fourNumbers(const std::optional<std::vector<double>>& box) {
  return box && box->size() == 4;
}

std::string whole(double value) {
  return std::to_string(static_cast<long long>(value));
}

std::size_t charCount(const QString& s) {
  return static_cast<std::size_t>(s.toUcs4().size());
}

std::string quoted(const std::string& name) {
  return "\u201c" + name + "\u201d";
}

std::string layerName(const VellLayer& layer) {
  return layer.text ? *layer.text : "text";
}

// One run of autoFit; it lives as long as a call of its chain is waiting.
struct Run : std::enable_shared_from_this<Run> {
  APIClient& client;
  std::string set, page, locale;
  DeviceOS os;
  ThemeName theme;
  QPointer<QObject> receiver;
  std::function<void(TextFit::Result)> done;
  CanvasSize canvas;

  std::vector<std::string> changes;
  Report report;  // the last good one
  StylesDocument styles;
  double from = 0, size = 0;
  std::string originalTitle, lastWritten;

  Run(APIClient& c, std::string s, std::string p, DeviceOS o, ThemeName t, std::string l,
      QObject* r, std::function<void(TextFit::Result)> d)
      : client(c),
        set(std::move(s)),
        page(std::move(p)),
        locale(std::move(l)),
        os(o),
        theme(t),
        receiver(r),
        done(std::move(d)),
        canvas(compositeSize(o)) {}

  std::string localeKey() const { return styleKey(page, locale); }
  std::string layersKey() const {
    auto it = styles.find(localeKey());
    return it != styles.end() && it->second.layers ? localeKey() : styleKey(page);
  }
  std::vector<VellLayer> styleLayers() const {
    auto it = styles.find(layersKey());
    return it != styles.end() && it->second.layers ? VellLayer::list(*it->second.layers)
                                                   : std::vector<VellLayer>{};
  }
  void writeLayers(const std::vector<VellLayer>& layers) {
    styles[layersKey()].layers = VellLayer::jsonOf(layers);
  }

  void measure(std::function<void(std::optional<Report>)> then) {
    client.textFit(set, page, os, theme, locale, receiver,
                   [then = std::move(then)](APIResult<JSONValue> r) {
                     then(r ? Report::decode(r.value()) : std::nullopt);
                   });
  }
  void fetchStyles(std::function<void(bool)> then) {
    client.styles(set, receiver, [self = shared_from_this(), then](APIResult<StylesDocument> r) {
      if (r) self->styles = std::move(r.value());
      then(r.ok());
    });
  }
  // A failed save is ignored: the next measure shows what holds.
  void saveStyles(std::function<void()> then) {
    client.saveStyles(set, styles, receiver, [then](APIResult<Done>) { then(); });
  }
  void finish(std::optional<Report> remaining) {
    if (done) done(TextFit::Result{std::move(changes), std::move(remaining)});
  }
  void finishWithMeasure() {
    measure([self = shared_from_this()](std::optional<Report> r) { self->finish(std::move(r)); });
  }

  void start() {
    measure([self = shared_from_this()](std::optional<Report> r) {
      if (!r || r->issues.empty()) return self->finishWithMeasure();
      self->report = std::move(*r);
      self->fetchStyles([self](bool ok) {
        if (!ok) return self->finishWithMeasure();
        if (self->layerStep()) {
          self->saveStyles([self] { self->titleStep(); });
        } else {
          self->titleStep();
        }
      });
    });
  }

  bool layerStep() {
    auto layers = styleLayers();
    bool changed = false;
    for (const Report::Layer& measured : report.layers) {
      if (measured.kind == "image" || measured.box.size() != 4) continue;
      auto it = std::find_if(layers.begin(), layers.end(),
                             [&](const VellLayer& l) { return l.id == measured.id; });
      if (it == layers.end()) continue;
      auto shift = [](double start, double length, double limit) {
        if (length > limit) return 0.0;
        if (start < 0) return TextFit::edgeMargin - start;
        if (start + length > limit) return limit - (start + length) - TextFit::edgeMargin;
        return 0.0;
      };
      const double dx = shift(measured.box[0], measured.box[2], canvas.width);
      const double dy = shift(measured.box[1], measured.box[3], canvas.height);
      if (dx != 0 || dy != 0) {
        it->x += dx;
        it->y += dy;
        changes.push_back("Moved " + quoted(layerName(*it)) + " back onto the canvas");
        changed = true;
      }
      if (it->kind == VellLayer::Kind::text && measured.fontSize < TextFit::layerMinimum) {
        it->size = TextFit::layerMinimum;
        changes.push_back("Raised " + quoted(layerName(*it)) + " to 22px");
        changed = true;
      }
    }
    if (changed) writeLayers(layers);
    return changed;
  }

  bool fits() const { return !report.titleDoesNotFit(); }

  void titleStep() {
    if (!report.title || fits()) return colourStep();
    from = size = report.title->fontSize;
    lowerTo(TextFit::firstFloor, [self = shared_from_this()] { self->breakLines(); });
  }

  // Lowers the title by steps while it doesn't fit and stands above `floor`.
  void lowerTo(double floor, std::function<void()> then) {
    if (fits() || size <= floor) return then();
    size = std::max(size - TextFit::step, floor);
    styles[localeKey()].titleSize = size;
    saveStyles([self = shared_from_this(), floor, then] {
      self->measure([self, floor, then](std::optional<Report> r) {
        if (r) self->report = std::move(*r);
        self->lowerTo(floor, then);
      });
    });
  }

  void breakLines() {
    if (fits()) return lastLower();
    client.texts(set, receiver, [self = shared_from_this()](APIResult<TextsDocument> r) {
      if (!r) return self->lastLower();
      auto texts = std::make_shared<TextsDocument>(std::move(r.value()));
      const VellText& text = (*texts)[self->page][self->locale];
      if (!text.title || text.title->empty()) return self->lastLower();
      self->originalTitle = *text.title;
      self->lastWritten = self->originalTitle;
      self->tryLines(texts, 3);
    });
  }

  void tryLines(std::shared_ptr<TextsDocument> texts, int lines) {
    if (lines > 4 || fits()) {
      if (lastWritten != originalTitle) {
        int count = 0;
        for (const QString& line : QString::fromStdString(lastWritten).split('\n'))
          count += !line.isEmpty();
        changes.push_back("Broke the " + locale + " title into " + std::to_string(count) +
                          " lines");
      }
      return lastLower();
    }
    lastWritten = TextFit::balancedLines(originalTitle, lines);
    (*texts)[page][locale].title = lastWritten;
    client.saveTexts(set, *texts, receiver,
                     [self = shared_from_this(), texts, lines](APIResult<Done>) {
                       self->measure([self, texts, lines](std::optional<Report> r) {
                         if (r) self->report = std::move(*r);
                         self->tryLines(texts, lines + 1);
                       });
                     });
  }

  void lastLower() {
    lowerTo(TextFit::lastFloor, [self = shared_from_this()] {
      if (self->size < self->from)
        self->changes.push_back("Title size " + whole(self->from) + " \u2192 " + whole(self->size) +
                                "px in " + self->locale + " so it fits");
      self->colourStep();
    });
  }

  void colourStep() {
    measure([self = shared_from_this()](std::optional<Report> r) {
      if (!r || !r->colorFixes || r->colorFixes->empty()) return self->overlapStep();
      const auto fixes = *r->colorFixes;
      self->fetchStyles([self, fixes](bool ok) {
        if (!ok) return self->overlapStep();
        auto layers = self->styleLayers();
        for (const Report::ColorFix& fix : fixes) {
          if (fix.target == "title") {
            self->styles[styleKey(self->page)].titleColor = fix.color;
            if (auto it = self->styles.find(self->localeKey()); it != self->styles.end())
              it->second.titleColor.reset();
            self->changes.push_back("Title colour \u2192 " + fix.color +
                                    " so it reads on the background");
            continue;
          }
          auto it = std::find_if(layers.begin(), layers.end(),
                                 [&](const VellLayer& l) { return l.id == fix.target; });
          if (it == layers.end()) continue;
          it->color = fix.color;
          self->changes.push_back(quoted(layerName(*it)) + " colour \u2192 " + fix.color +
                                  " so it reads");
        }
        self->writeLayers(layers);
        self->saveStyles([self] { self->overlapStep(); });
      });
    });
  }

  void overlapStep() {
    measure([self = shared_from_this()](std::optional<Report> r) {
      if (!r || !r->title || !fourNumbers(r->title->box)) return self->finishWithMeasure();
      const bool overlaps =
          std::any_of(r->issues.begin(), r->issues.end(), [](const std::string& issue) {
            const std::string end = "overlaps the title.";
            return issue.size() >= end.size() &&
                   issue.compare(issue.size() - end.size(), end.size(), end) == 0;
          });
      if (!overlaps) return self->finishWithMeasure();
      const Report measured = std::move(*r);
      self->fetchStyles([self, measured](bool ok) {
        if (!ok) return self->finishWithMeasure();
        const auto& t = *measured.title->box;
        auto layers = self->styleLayers();
        bool moved = false;
        for (const Report::Layer& m : measured.layers) {
          if (m.kind == "image" || m.box.size() != 4) continue;
          const double x = m.box[0], y = m.box[1], w = m.box[2], h = m.box[3];
          if (!(y < t[1] + t[3] && t[1] < y + h && x < t[0] + t[2] && t[0] < x + w)) continue;
          auto it = std::find_if(layers.begin(), layers.end(),
                                 [&](const VellLayer& l) { return l.id == m.id; });
          if (it == layers.end()) continue;
          const double centre = t[1] + t[3] + TextFit::gap + h / 2;
          if (centre + h / 2 < self->canvas.height) {
            it->y = centre;
            self->changes.push_back("Moved " + quoted(layerName(*it)) + " below the title");
            moved = true;
          }
        }
        if (!moved) return self->finishWithMeasure();
        self->writeLayers(layers);
        self->saveStyles([self] { self->finishWithMeasure(); });
      });
    });
  }
};

}  // namespace

std::optional<Report> Report::decode(const JSONValue& value) {
  if (!value.isObject()) return std::nullopt;
  Report out;
  const JSONValue* issues = value.find("issues");
  const JSONValue* layers = value.find("layers");
  if (!issues || !issues->isArray() || !layers || !layers->isArray()) return std::nullopt;
  for (const JSONValue& i : *issues->asArray()) {
    if (!i.asString()) return std::nullopt;
    out.issues.push_back(*i.asString());
  }
  for (const JSONValue& l : *layers->asArray()) {
    auto id = l.stringAt("id");
    auto box = numbersOf(l.find("box"));
    auto fontSize = l.numberAt("fontSize");
    if (!id || !box || !fontSize) return std::nullopt;
    out.layers.push_back({*id, l.stringAt("kind"), std::move(*box), *fontSize});
  }
  if (const JSONValue* t = value.find("title"); t && !t->isNull()) {
    auto lines = t->numberAt("lines");
    auto maxLines = t->numberAt("maxLines");
    auto truncated = t->boolAt("truncated");
    auto fontSize = t->numberAt("fontSize");
    auto column = t->numberAt("columnWidth");
    if (!lines || !maxLines || !truncated || !fontSize || !column) return std::nullopt;
    out.title =
        Title{static_cast<int>(*lines), static_cast<int>(*maxLines), *truncated, *fontSize, *column,
              numbersOf(t->find("box"))};
  }
  if (const JSONValue* fixes = value.find("colorFixes"); fixes && fixes->isArray()) {
    out.colorFixes.emplace();
    for (const JSONValue& f : *fixes->asArray()) {
      auto target = f.stringAt("target");
      auto color = f.stringAt("color");
      if (!target || !color) return std::nullopt;
      out.colorFixes->push_back({*target, *color});
    }
  }
  out.phone = numbersOf(value.find("phone"));
  return out;
}

bool Report::titleDoesNotFit() const {
  if (title && title->truncated) return true;
  return std::any_of(issues.begin(), issues.end(), [](const std::string& issue) {
    return issue.rfind("The title word", 0) == 0 || issue.rfind("The title runs off", 0) == 0;
  });
}

void TextFit::autoFit(APIClient& client, const std::string& set, const std::string& page,
                      DeviceOS os, ThemeName theme, const std::string& locale, QObject* receiver,
                      std::function<void(Result)> done) {
  std::make_shared<Run>(client, set, page, os, theme, locale, receiver, std::move(done))->start();
}

std::string TextFit::balancedLines(const std::string& text, int lines) {
  QString flat = QString::fromStdString(text);
  flat.replace('\n', ' ');
  const QStringList words = flat.split(' ', Qt::SkipEmptyParts);
  // An accented phrase stays one token.
  QStringList tokens;
  int stars = 0;
  for (const QString& word : words) {
    if (stars % 2 == 1 && !tokens.isEmpty())
      tokens.back() += ' ' + word;
    else
      tokens.push_back(word);
    stars += static_cast<int>(word.count('*'));
  }
  if (tokens.size() < 2) return text;
  const double target = static_cast<double>(charCount(tokens.join(' '))) / lines;
  QStringList out;
  QString current;
  for (const QString& token : tokens) {
    if (current.isEmpty()) {
      current = token;
      continue;
    }
    const QString next = current + ' ' + token;
    const double nowOff = std::abs(static_cast<double>(charCount(current)) - target);
    const double nextOff = std::abs(static_cast<double>(charCount(next)) - target);
    if (out.size() < lines - 1 && nowOff < nextOff) {
      out.push_back(current);
      current = token;
    } else {
      current = next;
    }
  }
  out.push_back(current);
  return out.join('\n').toStdString();
}

}  // namespace vells::models

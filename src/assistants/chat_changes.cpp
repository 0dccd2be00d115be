#include "assistants/chat_changes.h"

#include <QPointer>
#include <QString>
#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include "document/vell_layer.h"
#include "document/vell_style.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/layout_follow.h"

namespace vells::assistants {

namespace {

using models::LayoutFollow;

std::string joined(const std::vector<std::string>& parts, const std::string& glue) {
  std::string out;
  for (const std::string& part : parts)
    out += (out.empty() ? "" : glue) + part;
  return out;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// The page's fields an operation writes, with a JSON null as "reset".
using Fields = std::map<StyleField, std::optional<JSONValue>>;

// A "style" operation's fields that this vocabulary takes: text fields take
// text, all others numbers; `layers` and unknown keys are dropped.
Fields styleFields(const JSONValue::Object& set) {
  Fields fields;
  for (const auto& [key, value] : set) {
    const auto field = styleFieldFromRaw(key);
    if (!field || *field == StyleField::layers) continue;
    if (value.isNull()) {
      fields[*field] = std::nullopt;
    } else if (styleFieldType(*field) == StyleFieldType::string) {
      if (value.isString()) fields[*field] = value;
    } else if (auto n = ChatChanges::number(value)) {
      fields[*field] = JSONValue(*n);
    }
  }
  return fields;
}

bool movesPhone(const JSONValue& op) {
  if (op.stringAt("op") != "style") return false;
  const JSONValue* set = op.find("set");
  if (!set || !set->isObject()) return false;
  for (const auto& [key, value] : *set->asObject()) {
    const auto field = styleFieldFromRaw(key);
    if (field && LayoutFollow::phoneFields().contains(*field)) return true;
  }
  return false;
}

// One run of `apply`: the operations in order, with the phone measured
// before them and followed after them.
struct Applier : std::enable_shared_from_this<Applier> {
  JSONValue::Array changes;
  models::CanvasModel& canvas;
  models::EditorModel& editor;
  models::AppModel& app;
  std::function<void()> checkpoint;
  QPointer<QObject> receiver;
  std::function<void(ChatChanges::Result)> done;

  // Where the page stood when the turn began, for the measures.
  std::string set;
  DeviceOS os{};
  ThemeName theme{};
  std::string locale;
  std::vector<std::string> followPages;
  std::map<std::string, LayoutFollow::Snapshot> snapshots;
  std::set<std::string> skip;
  ChatChanges::Result result;
  bool checkpointTaken = false;
  std::size_t next = 0;
  bool followed = false;

  Applier(JSONValue::Array list, models::CanvasModel& c, std::function<void()> cp, QObject* r,
          std::function<void(ChatChanges::Result)> d)
      : changes(std::move(list)),
        canvas(c),
        editor(c.editor()),
        app(c.app()),
        checkpoint(std::move(cp)),
        receiver(r),
        done(std::move(d)) {}

  bool alive() const { return !receiver.isNull(); }

  void begin() {
    set = app.activeSet();
    os = app.os();
    theme = app.theme();
    locale = app.activeLocale();
    const std::string active = *app.activePage();
    for (const JSONValue& op : changes) {
      if (!movesPhone(op)) continue;
      std::vector<std::string> pages;
      if (op.stringAt("scope") == "allPages") {
        for (const SetPage& page : app.pages())
          pages.push_back(page.id);
      } else {
        pages.push_back(active);
      }
      for (const std::string& page : pages) {
        if (std::find(followPages.begin(), followPages.end(), page) == followPages.end())
          followPages.push_back(page);
      }
    }
    if (followPages.empty()) return runOps();
    // The measure reads stored documents: whatever waits to be saved goes first.
    auto self = shared_from_this();
    editor.flushStyleSave([self] {
      if (self->alive()) self->measure(0);
    });
  }

  void measure(std::size_t i) {
    if (i == followPages.size()) return runOps();
    auto self = shared_from_this();
    const std::string page = followPages[i];
    LayoutFollow::measure(app.client(), set, page, os, theme, locale, receiver,
                          [self, page, i](std::optional<LayoutFollow::Snapshot> snapshot) {
                            if (snapshot) self->snapshots[page] = std::move(*snapshot);
                            self->measure(i + 1);
                          });
  }

  void changing() {
    if (checkpointTaken) return;
    checkpointTaken = true;
    if (checkpoint) checkpoint();
  }

  void runOps() {
    while (next < changes.size()) {
      if (!app.activePage()) break;
      const JSONValue op = changes[next++];
      const std::string name = op.stringAt("op").value_or("");
      // The two that wait for an answer continue the list themselves.
      if (name == "title" && title(op)) return;
      if (name == "makeLayer" && makeLayer(op)) return;
      if (name == "style") style(op);
      if (name == "addText") addText(op);
      if (name == "updateLayer") updateLayer(op);
      if (name == "removeLayer") removeLayer(op);
      if (name == "screenText") screenText(op);
    }
    follow();
  }

  void resume() {
    if (alive()) runOps();
  }

  // Returns true when it goes on by itself.
  bool title(const JSONValue& op) {
    auto text = op.stringAt("text");
    if (!text) return false;
    const std::string written = replaced(*text, "\\n", "\n");
    const std::string language = op.stringAt("language").value_or(app.activeLocale());
    const bool onScreen = language == app.activeLocale();
    result.lines.push_back("Title" + (onScreen ? std::string() : " (" + language + ")") + ": " +
                           replaced(written, "\n", " "));
    result.locales.insert(language);
    const std::string page = *app.activePage();
    if (onScreen) {
      editor.setTitle(written, page, language, app);
      editor.scheduleTextSave(app);
      return false;
    }
    auto self = shared_from_this();
    editor.setTitle(written, page, language, app, [self] { self->resume(); });
    return true;
  }

  void style(const JSONValue& op) {
    const JSONValue* set = op.find("set");
    if (!set || !set->isObject()) return;
    const Fields fields = styleFields(*set->asObject());
    if (fields.empty()) return;
    const std::string scope = op.stringAt("scope").value_or("page");
    models::StyleTarget target = models::StyleTarget::page;
    std::string suffix;
    if (scope == "language") {
      target = models::StyleTarget::locale;
      suffix = " (this language)";
    } else if (scope == "allPages") {
      target = models::StyleTarget::allPages;
      suffix = " (every page)";
    }
    std::vector<std::string> names;
    for (const auto& [field, value] : fields)
      names.emplace_back(rawValue(field));
    std::sort(names.begin(), names.end());
    changing();
    editor.setStyleFields(fields, target, app);
    result.lines.push_back("Style" + suffix + ": " + joined(names, ", "));
  }

  void append(const VellLayer& layer) {
    changing();
    auto list = canvas.layers();
    list.push_back(layer);
    canvas.writeLayers(list);
  }

  void addText(const JSONValue& op) {
    auto text = op.stringAt("text");
    if (!text) return;
    const CanvasSize size = compositeSize(app.os());
    VellLayer layer;
    layer.id = models::CanvasModel::newLayerId();
    layer.kind = VellLayer::Kind::text;
    layer.text = *text;
    layer.x = numberAt(op, "x").value_or(size.width * 0.5);
    layer.y = numberAt(op, "y").value_or(size.height * 0.3);
    layer.w = numberAt(op, "w").value_or(size.width * 0.6);
    layer.size = numberAt(op, "size").value_or(44);
    layer.color = op.stringAt("color").value_or(
        editor.resolved(*app.activePage(), app.activeLocale()).titleColor);
    layer.font = op.stringAt("font");
    layer.weight = numberAt(op, "weight");
    layer.align = op.stringAt("align");
    layer.front = op.boolAt("front").value_or(true);
    append(layer);
    result.lines.push_back("Added text: " + *text);
  }

  void updateLayer(const JSONValue& op) {
    auto id = op.stringAt("id");
    const JSONValue* set = op.find("set");
    if (!id || !set || !set->isObject()) return;
    const auto before = canvas.layer(*id);
    if (!before) return;
    const JSONValue changes = *set;
    auto change = [changes](VellLayer& layer) {
      auto num = [&](const char* key, double& into) {
        if (const JSONValue* v = changes.find(key))
          if (auto n = ChatChanges::number(*v)) into = *n;
      };
      num("x", layer.x);
      num("y", layer.y);
      num("w", layer.w);
      num("rotate", layer.rotate);
      num("opacity", layer.opacity);
      if (const JSONValue* v = changes.find("size"))
        if (auto n = ChatChanges::number(*v)) layer.size = *n;
      if (auto text = changes.stringAt("text")) layer.text = *text;
      if (auto color = changes.stringAt("color")) layer.color = *color;
      if (auto front = changes.boolAt("front")) layer.front = *front;
    };
    VellLayer after = *before;
    change(after);
    if (after == *before) return;
    if (set->find("x") || set->find("y") || set->find("w")) skip.insert(*id);
    changing();
    canvas.updateLayer(*id, change);
    const auto now = canvas.layer(*id);
    result.lines.push_back("Moved or changed " +
                           (now ? models::CanvasModel::displayName(*now) : "a layer"));
  }

  void removeLayer(const JSONValue& op) {
    auto id = op.stringAt("id");
    if (!id) return;
    auto list = canvas.layers();
    auto it =
        std::find_if(list.begin(), list.end(), [&](const VellLayer& l) { return l.id == *id; });
    if (it == list.end()) return;
    const std::string name = models::CanvasModel::displayName(*it);
    list.erase(it);
    changing();
    canvas.writeLayers(list);
    result.lines.push_back("Removed " + name);
  }

  bool makeLayer(const JSONValue& op) {
    auto html = op.stringAt("html");
    if (!html) return false;
    const double width = numberAt(op, "width").value_or(300);
    const double height = numberAt(op, "height").value_or(120);
    const auto name = op.stringAt("name");
    auto self = shared_from_this();
    app.client().renderLayerHTML(set, *html, width, height, receiver,
                                 [self, op, width, name](models::APIResult<std::string> answer) {
                                   if (!answer) {
                                     self->result.lines.push_back("Couldn\u2019t make " +
                                                                  name.value_or("a layer") + ": " +
                                                                  answer.error().what());
                                     return self->resume();
                                   }
                                   if (!self->app.activePage()) return self->resume();
                                   const CanvasSize size = compositeSize(self->app.os());
                                   VellLayer layer;
                                   layer.id = models::CanvasModel::newLayerId();
                                   layer.kind = VellLayer::Kind::image;
                                   layer.asset = answer.value();
                                   layer.x = numberAt(op, "x").value_or(size.width * 0.5);
                                   layer.y = numberAt(op, "y").value_or(size.height * 0.5);
                                   layer.w = numberAt(op, "w").value_or(width);
                                   layer.name = name;
                                   layer.front = op.boolAt("front").value_or(true);
                                   self->append(layer);
                                   self->result.lines.push_back("Made " + name.value_or("a layer"));
                                   self->resume();
                                 });
    return true;
  }

  void screenText(const JSONValue& op) {
    auto key = op.stringAt("key");
    auto value = op.stringAt("value");
    const auto& texts = editor.screenTexts();
    if (!key || !value || !texts) return;
    const bool known = std::any_of(texts->entries.begin(), texts->entries.end(),
                                   [&](const ScreenTextEntry& e) { return e.key == *key; });
    if (!known) return;
    editor.setScreenValue(*key, *value);
    editor.scheduleTextSave(app);
    result.lines.push_back("In-screen text: " + *value);
  }

  void follow() {
    if (followed) return;
    followed = true;
    if (snapshots.empty()) return finish();
    auto self = shared_from_this();
    editor.flushStyleSave([self] {
      if (self->alive()) self->followPage(0, false);
    });
  }

  void followPage(std::size_t i, bool anyLine) {
    if (i == followPages.size()) {
      if (!anyLine) return finish();
      // The follow wrote behind the editor: it reads the documents anew.
      auto self = shared_from_this();
      return editor.loadSet(app, [self] {
        if (self->alive()) self->finish();
      });
    }
    const std::string page = followPages[i];
    auto snapshot = snapshots.find(page);
    if (snapshot == snapshots.end()) return followPage(i + 1, anyLine);
    auto self = shared_from_this();
    LayoutFollow::follow(app.client(), set, page, os, theme, locale, snapshot->second, skip,
                         receiver, [self, page, i, anyLine](std::optional<std::string> line) {
                           if (line) {
                             if (page != self->app.activePage())
                               *line += " (" + self->label(page) + ")";
                             self->result.lines.push_back(*line);
                           }
                           self->followPage(i + 1, anyLine || line.has_value());
                         });
  }

  std::string label(const std::string& page) const {
    for (const SetPage& p : app.pages()) {
      if (p.id == page) return p.label;
    }
    return page;
  }

  void finish() {
    auto callback = std::move(done);
    done = nullptr;
    if (callback && alive()) callback(std::move(result));
  }

  static std::optional<double> numberAt(const JSONValue& op, std::string_view key) {
    const JSONValue* v = op.find(key);
    return v ? ChatChanges::number(*v) : std::nullopt;
  }
};

}  // namespace

std::optional<double> ChatChanges::number(const JSONValue& value) {
  if (const double* n = value.asNumber()) return *n;
  if (const std::string* text = value.asString()) {
    bool ok = false;
    const double n = QString::fromStdString(*text).trimmed().toDouble(&ok);
    if (ok && std::isfinite(n)) return n;
  }
  return std::nullopt;
}

void ChatChanges::apply(JSONValue::Array changes, models::CanvasModel& canvas,
                        std::function<void()> checkpoint, QObject* receiver,
                        std::function<void(Result)> done) {
  if (!canvas.app().activePage()) {
    if (done) done({});
    return;
  }
  auto applier = std::make_shared<Applier>(std::move(changes), canvas, std::move(checkpoint),
                                           receiver, std::move(done));
  applier->begin();
}

}  // namespace vells::assistants

#include "assistants/chat_state.h"

#include <cmath>

#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/layout_follow.h"
#include "text/copy_rules.h"

namespace vells::assistants {

namespace {

using models::LayoutFollow;

// The AI is offered this many of the strings drawn inside the phone; it may
// still name others.
constexpr std::size_t kScreenTextsOffered = 40;

JSONValue boxOf(double left, double top, double width, double height) {
  JSONValue::Array box;
  for (double v : {left, top, width, height})
    box.emplace_back(std::trunc(v));
  return box;
}

JSONValue idAndName(const std::string& id, const std::string& name) {
  JSONValue entry = JSONValue::object();
  entry["id"] = id;
  entry["name"] = name;
  return entry;
}

JSONValue layerBoxes(const models::TextFit::Report& report, const LayoutFollow::Rect& phone,
                     const models::CanvasModel& canvas) {
  // A layer counts as on the phone when its centre lies within the phone's
  // box grown by 1% on each side.
  const double minX = phone.left - phone.width * 0.01;
  const double maxX = phone.left + phone.width * 1.01;
  const double minY = phone.top - phone.height * 0.01;
  const double maxY = phone.top + phone.height * 1.01;
  JSONValue::Array boxes;
  for (const models::TextFit::Report::Layer& layer : report.layers) {
    if (layer.box.size() != 4) continue;
    const auto& b = layer.box;
    const double cx = b[0] + b[2] / 2;
    const double cy = b[1] + b[3] / 2;
    const auto known = canvas.layer(layer.id);
    JSONValue entry = idAndName(layer.id, known ? models::CanvasModel::displayName(*known) : "");
    entry["kind"] = layer.kind.value_or("text");
    entry["box"] = boxOf(b[0], b[1], b[2], b[3]);
    entry["onPhone"] = cx >= minX && cx <= maxX && cy >= minY && cy <= maxY;
    boxes.push_back(std::move(entry));
  }
  return boxes;
}

}  // namespace

std::string chatState(models::CanvasModel& canvas, const std::string& page,
                      const std::optional<models::TextFit::Report>& fit) {
  const models::AppModel& app = canvas.app();
  const models::EditorModel& editor = canvas.editor();
  const std::string& locale = app.activeLocale();
  const auto& pages = app.pages();

  JSONValue state = JSONValue::object();
  int position = 0;
  const SetPage* found = nullptr;
  JSONValue::Array others;
  for (std::size_t i = 0; i < pages.size(); ++i) {
    if (pages[i].id == page) {
      found = &pages[i];
      position = static_cast<int>(i);
    } else {
      others.push_back(idAndName(pages[i].id, pages[i].label));
    }
  }
  JSONValue pageEntry = idAndName(page, found ? found->label : page);
  pageEntry["screen"] =
      found && found->source == PageSource::upload ? "uploaded screenshot" : "built-in app screen";
  state["page"] = std::move(pageEntry);
  state["language"] = locale;
  JSONValue::Array languages;
  JSONValue titles = JSONValue::object();
  for (const LocaleRef& ref : app.activeSetLocales()) {
    languages.push_back(ref.code);
    if (!editor.texts()) continue;
    auto p = editor.texts()->find(page);
    if (p == editor.texts()->end()) continue;
    auto l = p->second.find(ref.code);
    if (l != p->second.end() && l->second.title && !l->second.title->empty())
      titles[ref.code] = *l->second.title;
  }
  titles[locale] = editor.title();
  state["setLanguages"] = std::move(languages);
  state["titles"] = std::move(titles);
  state["platform"] = std::string(rawValue(app.os()));
  const CanvasSize size = compositeSize(app.os());
  JSONValue canvasSize = JSONValue::object();
  canvasSize["width"] = size.width;
  canvasSize["height"] = size.height;
  state["canvas"] = std::move(canvasSize);
  state["otherPages"] = std::move(others);
  state["styleScope"] = editor.styleScope() == models::StyleScope::locale ? "language" : "page";
  if (!pages.empty()) {
    try {
      state["role"] = text::CopyRules::role(position, static_cast<int>(pages.size()));
    } catch (const std::exception&) {
      // A page outside the set has no role to play.
    }
  }
  state["pageStyle"] = editor.pageStyle(page).encode();
  const JSONValue languageStyle = editor.localeStyle(page, locale).encode();
  if (languageStyle.asObject() && !languageStyle.asObject()->empty())
    state["languageStyle"] = languageStyle;

  if (const auto& screen = editor.screenTexts(); screen && !screen->entries.empty()) {
    JSONValue::Array entries;
    for (const ScreenTextEntry& entry : screen->entries) {
      if (entries.size() == kScreenTextsOffered) break;
      auto value = editor.screenValues().find(entry.key);
      JSONValue item = JSONValue::object();
      item["key"] = entry.key;
      item["value"] = value != editor.screenValues().end() ? value->second : entry.value;
      entries.push_back(std::move(item));
    }
    state["screenTexts"] = std::move(entries);
  }

  if (fit) {
    if (auto snapshot = LayoutFollow::snapshot(fit)) {
      const LayoutFollow::Rect& phone = snapshot->phone;
      state["phoneBox"] = boxOf(phone.left, phone.top, phone.width, phone.height);
      state["layerBoxes"] = layerBoxes(*fit, phone, canvas);
    }
    JSONValue::Array problems;
    for (const std::string& issue : fit->issues)
      problems.push_back(issue);
    JSONValue measured = JSONValue::object();
    measured["problems"] = std::move(problems);
    if (fit->title) {
      JSONValue title = JSONValue::object();
      title["lines"] = fit->title->lines;
      title["linesShown"] = fit->title->maxLines;
      title["cutOff"] = fit->title->truncated;
      title["fontSize"] = fit->title->fontSize;
      title["columnWidth"] = fit->title->columnWidth;
      measured["title"] = std::move(title);
    }
    state["textFit"] = std::move(measured);
  }
  return state.dump();
}

}  // namespace vells::assistants

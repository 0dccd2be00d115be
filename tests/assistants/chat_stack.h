#pragma once

// The editor's stack on a real temp library with a chat on it, the fake AI
// tools in a temporary home, and a measuring route that answers from the
// stored documents the way the real one would: the phone's box follows
// phoneScale, each layer's box its place, and a German title longer than
// `longTitle` characters is cut off.
#include <QBuffer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <cmath>

#include "assistants/editor_chat.h"
#include "assistants/fake_tools.h"
#include "backend/url_request.h"
#include "models/canvas_model.h"
#include "models/editor_fixture.h"

namespace vells::testing {

inline QString jsonText(const QString& text) {
  const QByteArray quoted = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
  return QString::fromUtf8(quoted.mid(1, quoted.size() - 2));
}

// A Claude Code stream: the session, the text in two pieces, the result.
inline QString claudeAnswer(const QString& session, const QString& reply) {
  const qsizetype half = reply.size() / 2;
  const auto delta = [](const QString& piece) {
    return QStringLiteral(
               R"(out {"type":"stream_event","event":{"delta":{"type":"text_delta","text":)") +
           jsonText(piece) + QStringLiteral("}}}\n");
  };
  return QStringLiteral(R"(out {"type":"system","subtype":"init","session_id":")") + session +
         QStringLiteral("\"}\n") + delta(reply.left(half)) + delta(reply.mid(half)) +
         QStringLiteral(R"(out {"type":"result","is_error":false,"session_id":")") + session +
         QStringLiteral(R"(","result":)") + jsonText(reply) + QStringLiteral("}\n");
}

// A JSON array of numbers, built one by one (brace lists of variants upset GCC's
// flow analysis).
inline JSONValue numbers(std::initializer_list<double> values) {
  JSONValue::Array out;
  for (double v : values)
    out.emplace_back(v);
  return out;
}

inline QString withChanges(const QString& words, const QString& changes) {
  return words + QStringLiteral("\n\n```json\n{\"changes\":") + changes + QStringLiteral("}\n```");
}

// Two text layers on the home page, for the change operations.
inline constexpr const char* kLayersForChanges =
    R"({"home":{"layers":[{"id":"t1","kind":"text","text":"Old","x":100,"y":900,"w":100}]}})";

struct ChatStack : EditorStack {
  FakeTools tools;
  QTemporaryDir queue;
  models::CanvasModel canvas{editor, app};
  std::optional<assistants::AITool> tool = assistants::AITool::claude;
  std::size_t longTitle = 30;
  // Problems every measure reports, on top of what the documents give.
  std::vector<std::string> alwaysWrong;
  std::mutex measureMutex;
  assistants::EditorChat chat{QStringLiteral("a"), canvas, chatTools()};

  ChatStack() {
    for (const char* name : {"claude", "codex", "gemini"})
      tools.install(QString::fromLatin1(name));
    qputenv("FAKE_AI_QUEUE", queue.path().toLocal8Bit());
    // English and German, in that order.
    lib.backend->db().updateSet({"a", "Set a", std::nullopt, std::vector<std::string>{"en", "de"}});
    app.refreshConfig();
    settle();
    setIntercept([this](const backend::Request& r) -> std::optional<backend::Response> {
      if (r.path == "/api/text-fit") return measure(r);
      if (r.path == "/composite") return picture();
      return std::nullopt;
    });
  }
  ~ChatStack() { qunsetenv("FAKE_AI_QUEUE"); }

  assistants::ChatTools chatTools() {
    assistants::ChatTools t;
    t.preferred = [this]() -> std::optional<assistants::ToolPreference::Choice> {
      if (!tool) return std::nullopt;
      return assistants::ToolPreference::Choice{
          *tool, tools.home() + QStringLiteral("/.local/bin/") + assistants::rawValue(*tool)};
    };
    t.loginPath = [] { return std::optional<QString>(); };
    t.limits = {std::chrono::seconds(30), std::chrono::seconds(20)};
    return t;
  }

  // The scripts of the next runs, in order.
  void answers(const QStringList& scripts) {
    static int serial = 0;
    for (const QString& script : scripts) {
      QFile file(queue.filePath(QStringLiteral("%1").arg(++serial, 4, 10, QLatin1Char('0'))));
      file.open(QIODevice::WriteOnly);
      file.write(script.toUtf8());
    }
  }

  // Sends and waits for the whole request, its checks included.
  bool ask(const QString& request) {
    chat.setDraft(request);
    chat.send();
    const bool ended = waitUntil([&] { return !chat.isRunning(); }, std::chrono::seconds(30));
    settle();
    return ended;
  }

  std::vector<QJsonObject> runs() const {
    std::vector<QJsonObject> out;
    for (const QJsonObject& entry : tools.log()) {
      if (entry.contains(QStringLiteral("argv"))) out.push_back(entry);
    }
    return out;
  }

  JSONValue styles() { return stored("styles", "a"); }

 private:
  backend::Response picture() {
    QImage image(621, 1344, QImage::Format_RGB32);
    image.fill(QColor(30, 60, 200));
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    backend::Response response;
    response.status = 200;
    response.mime = "image/png";
    response.body = png.toStdString();
    return response;
  }

  backend::Response measure(const backend::Request& r) {
    std::lock_guard g(measureMutex);
    const std::string locale = r.param("locale", "en");
    const JSONValue styles = bodyJSON(lib.backend->handle(requestFromURL("/api/styles?set=a")));
    const JSONValue texts = bodyJSON(lib.backend->handle(requestFromURL("/api/texts?set=a")));
    const JSONValue* home = styles.find("home");
    const double scale = home && home->numberAt("phoneScale") ? *home->numberAt("phoneScale") : 1;
    const double w = 400 * scale, h = 860 * scale;
    JSONValue phone = numbers({(621 - w) / 2, 400.0, w, h});
    JSONValue::Array layers;
    if (home && home->find("layers") && home->find("layers")->isArray()) {
      for (const JSONValue& l : *home->find("layers")->asArray()) {
        JSONValue entry = JSONValue::object();
        entry["id"] = *l.stringAt("id");
        entry["kind"] = l.stringAt("kind").value_or("text");
        const double lw = l.numberAt("w").value_or(100);
        entry["box"] = numbers({*l.numberAt("x") - lw / 2, *l.numberAt("y") - 20, lw, 40.0});
        entry["fontSize"] = 30;
        layers.push_back(std::move(entry));
      }
    }
    std::vector<std::string> found = alwaysWrong;
    const JSONValue* text = texts.find("home") ? texts.find("home")->find(locale) : nullptr;
    const std::string title = text ? text->stringAt("title").value_or("") : "";
    const bool cut = locale == "de" && title.size() > longTitle;
    if (cut) found.emplace_back("The title is cut off with \u201c\u2026\u201d.");
    JSONValue::Array issues(found.begin(), found.end());
    JSONValue report = JSONValue::object();
    report["issues"] = std::move(issues);
    report["layers"] = std::move(layers);
    report["phone"] = std::move(phone);
    JSONValue titleBox = JSONValue::object();
    titleBox["lines"] = cut ? 3 : 1;
    titleBox["maxLines"] = 2;
    titleBox["truncated"] = cut;
    titleBox["fontSize"] = 66;
    titleBox["columnWidth"] = 541;
    titleBox["box"] = numbers({40.0, 100.0, 541.0, 160.0});
    report["title"] = std::move(titleBox);
    return backend::Response::json(report);
  }

  static backend::Request requestFromURL(const std::string& url) {
    return backend::requestFromURL(url, "GET", "");
  }
};

}  // namespace vells::testing

#include "cli/ask_command.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QSettings>
#include <QTemporaryDir>
#include <algorithm>
#include <iostream>
#include <optional>

#include "assistants/editor_chat.h"
#include "assistants/login_shell.h"
#include "assistants/tool_finder.h"
#include "assistants/tool_preference.h"
#include "cli/request_command.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/file_saver.h"
#include "models/image_store.h"
#include "models/settings_location.h"
#include "platform/error.h"

namespace vells::cli {

const char* const kAskHelp =
    "Usage: vellora-cli ask --set ID --page ID [options] \"REQUEST\"\n"
    "\n"
    "Runs one turn of the editor's AI chat without a window: the AI tool looks at the\n"
    "page (its state and a render), answers, and its changes are applied and saved\n"
    "as ordinary edits. Then the text is measured in every language the turn\n"
    "touched; the AI gets at most two tries to fix what is wrong, then the text is\n"
    "fitted by rule. The tool only reads; it never changes a file.\n"
    "\n"
    "Options:\n"
    "  --set ID                    the set\n"
    "  --page ID                   the page to change\n"
    "  --locale CODE               the language on screen (default: the set's first)\n"
    "  --os ios|android            the platform (default: android)\n"
    "  --theme dark|light          the appearance (default: dark)\n"
    "  --tool claude|codex|gemini  the AI tool (default: the one chosen in Settings,\n"
    "                              else the first installed)\n"
    "\n"
    "Prints the answer, each change (\"applied: …\") and the text check's result.\n"
    "Exit status: 0 when the turn ended with an answer and the text reads, 1\n"
    "otherwise, 2 for a usage error.\n";

namespace {

struct AskJob {
  std::string set, page, request;
  std::optional<std::string> locale;
  DeviceOS os = DeviceOS::android;
  ThemeName theme = ThemeName::dark;
  std::optional<assistants::AITool> tool;
};

struct UsageError : Error {
  using Error::Error;
};

AskJob parse(const std::vector<std::string>& args) {
  AskJob job;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= args.size()) throw UsageError(a + " needs a value.");
      return args[++i];
    };
    if (a == "--set") {
      job.set = value();
    } else if (a == "--page") {
      job.page = value();
    } else if (a == "--locale") {
      job.locale = value();
    } else if (a == "--os") {
      const std::string v = value();
      if (v != "ios" && v != "android") throw UsageError("--os is ios or android.");
      job.os = v == "ios" ? DeviceOS::ios : DeviceOS::android;
    } else if (a == "--theme") {
      const std::string v = value();
      if (v != "dark" && v != "light") throw UsageError("--theme is dark or light.");
      job.theme = v == "light" ? ThemeName::light : ThemeName::dark;
    } else if (a == "--tool") {
      job.tool = assistants::toolFromRawValue(QString::fromStdString(value()));
      if (!job.tool) throw UsageError("--tool is claude, codex or gemini.");
    } else if (a.rfind("--", 0) == 0) {
      throw UsageError("Unknown option " + a + ".");
    } else if (job.request.empty()) {
      job.request = a;
    } else {
      throw UsageError("Give the request as one argument, in quotes.");
    }
  }
  if (job.set.empty() || job.page.empty()) throw UsageError("--set and --page are needed.");
  if (QString::fromStdString(job.request).trimmed().isEmpty())
    throw UsageError("Say what the page should become, in quotes.");
  return job;
}

// The CLI saves no picture of its own: the chat never downloads.
struct NoFiles : models::FileSaver {
  void save(std::string, std::string, std::function<void(Outcome)> done) override {
    done({Outcome::Kind::cancelled, {}, {}});
  }
};

// Runs the event loop until `done` holds; false when the time is up.
bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  QDeadlineTimer deadline(limit);
  while (!done()) {
    if (deadline.hasExpired()) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
  }
  return true;
}

const char* roleWord(assistants::ChatMessage::Role role) {
  switch (role) {
    case assistants::ChatMessage::Role::user:
      return "you";
    case assistants::ChatMessage::Role::assistant:
      return "ai";
    case assistants::ChatMessage::Role::note:
      return "note";
  }
  return "";
}

int run(const AskJob& job, backend::LocalBackend& backend, std::ostream& out, std::ostream& err) {
  using namespace std::chrono_literals;
  models::QtTimerClock clock;
  models::APIClient client(models::APITransport::local(backend), clock);
  models::ImageStore images(client);
  // The selection lives in a scratch file: a script must not move the app's.
  QTemporaryDir scratch;
  QSettings selection(scratch.filePath(QStringLiteral("selection.conf")), QSettings::IniFormat);
  selection.setValue(QStringLiteral("active.set"), QString::fromStdString(job.set));
  selection.setValue(QStringLiteral("active.page"), QString::fromStdString(job.page));
  if (job.locale)
    selection.setValue(QStringLiteral("active.locale"), QString::fromStdString(*job.locale));
  models::AppModel app(client, images, selection);
  NoFiles files;
  models::EditorModel editor(clock, files);
  models::CanvasModel canvas(editor, app);

  app.reconnect();
  const auto settled = [&] { return client.pendingCalls() == 0; };
  if (!runUntil(
          [&] {
            return app.connection().kind != models::ConnectionState::Kind::connecting && settled();
          },
          120s))
    throw Error("The library didn’t open in time.");
  if (app.connection().kind == models::ConnectionState::Kind::offline)
    throw Error(app.connection().message);
  app.setOs(job.os);
  app.setTheme(job.theme);
  if (app.activeSet() != job.set) throw Error("There is no set “" + job.set + "”.");
  if (app.activePage() != job.page)
    throw Error("The set “" + job.set + "” has no page “" + job.page + "”.");
  if (job.locale && app.activeLocale() != *job.locale)
    throw Error("The set “" + job.set + "” has no language “" + *job.locale + "”.");

  bool loaded = false;
  editor.loadSet(app, [&] { editor.loadPage(app, [&] { loaded = true; }); });
  if (!runUntil([&] { return loaded; }, 120s)) throw Error("The page didn’t load in time.");

  // The tool: the one asked for, else the stored preference.
  const assistants::ToolFinder finder(assistants::LoginShell::forCurrentUser(),
                                      assistants::ToolFinder::defaultOptions());
  QSettings preferences(models::settingsPath(), QSettings::IniFormat);
  assistants::ToolPreference preference(
      [&] { return preferences.value(QStringLiteral("generate.ai")).toString(); },
      [&](assistants::AITool tool) { return finder.binary(tool); });
  const assistants::LoginShell shell = assistants::LoginShell::forCurrentUser();
  assistants::ChatTools tools;
  tools.preferred = [&]() -> std::optional<assistants::ToolPreference::Choice> {
    if (!job.tool) return preference.preferred();
    auto binary = finder.binary(*job.tool);
    if (!binary) return std::nullopt;
    return assistants::ToolPreference::Choice{*job.tool, *binary};
  };
  tools.loginPath = [&] { return shell.path(); };
  if (job.tool && !tools.preferred()) {
    throw Error(assistants::displayName(*job.tool).toStdString() +
                " isn’t installed on this computer. Install it and sign in, or leave out --tool.");
  }

  assistants::EditorChat chat(QString::fromStdString(job.set), canvas, tools);
  QObject::connect(&chat, &assistants::EditorChat::activityChanged, [&] {
    if (!chat.activity().isEmpty()) err << chat.activity().toStdString() << "…\n";
  });
  bool ended = false;
  QObject::connect(&chat, &assistants::EditorChat::turnEnded, [&] { ended = true; });
  chat.setDraft(QString::fromStdString(job.request));
  chat.send();
  // The tool's own limits end a turn; this only guards against a lost end.
  if (!runUntil([&] { return ended; }, 30min)) throw Error("The AI turn didn’t end in time.");
  bool flushed = false;
  editor.flushTextSave([&] { editor.flushStyleSave([&] { flushed = true; }); });
  runUntil([&] { return flushed && settled(); }, 60s);

  for (const assistants::ChatMessage& m : chat.messages()) {
    if (m.role == assistants::ChatMessage::Role::user) continue;
    out << roleWord(m.role) << (m.isError ? " (error)" : "") << ": " << m.text.toStdString()
        << "\n";
    for (const QString& line : m.applied)
      out << "applied: " << line.toStdString() << "\n";
  }
  for (const assistants::TextCheck& check : chat.checks()) {
    std::string locales;
    for (const std::string& l : check.locales)
      locales += (locales.empty() ? "" : ", ") + l;
    std::size_t n = 0;
    for (const assistants::TextProblem& p : check.problems)
      n += p.issues.size();
    out << "text check (" << locales << "): "
        << (n == 0 ? std::string("clean") : std::to_string(n) + " problem" + (n == 1 ? "" : "s"))
        << "\n";
  }
  if (chat.checks().empty()) out << "text check: nothing changed to check\n";
  return chat.lastTurnEndedWell() ? kExitOK : kExitStatus;
}

}  // namespace

int askCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
               std::ostream& out, std::ostream& err) {
  if (std::find(args.begin(), args.end(), "--help") != args.end()) {
    out << kAskHelp;
    return kExitOK;
  }
  try {
    return run(parse(args), backend, out, err);
  } catch (const UsageError& e) {
    err << "vellora-cli ask: " << e.what() << "\n\n" << kAskHelp;
    return kExitUsage;
  } catch (const std::exception& e) {
    err << "vellora-cli ask: " << e.what() << "\n";
    return kExitStatus;
  }
}

}  // namespace vells::cli

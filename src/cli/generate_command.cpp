#include "cli/generate_command.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTimer>
#include <algorithm>
#include <csignal>
#include <map>
#include <optional>
#include <ostream>
#include <set>

#include "assistants/ai_tool_words.h"
#include "assistants/generate_flow.h"
#include "assistants/login_shell.h"
#include "assistants/tool_finder.h"
#include "assistants/tool_preference.h"
#include "backend/local_backend.h"
#include "cli/request_command.h"
#include "models/api_client.h"
#include "models/app_model.h"
#include "models/settings_location.h"

namespace vells::cli {

const char* const kGenerateHelp =
    "Usage: vellora-cli generate --folder DIR [--app ID] [--set NAME] [--tool T]\n"
    "                            [--screens a,b] [--locales en,de,...]\n"
    "       vellora-cli generate --update --set ID [--folder DIR] [--tool T]\n"
    "\n"
    "Reads an app's source code with an AI tool (Claude Code, Codex CLI or Gemini\n"
    "CLI, signed in with your own plan; it only reads), finds its screens, draws\n"
    "each as the app shows it for every platform and appearance the code has, and\n"
    "saves them with titles in every language into a set: the named one (made\n"
    "when no set has that name or id), else a new set named after the app.\n"
    "\n"
    "  --folder DIR    the app's source code\n"
    "  --app ID        file the set under this app, and use its name and profile\n"
    "  --set NAME      the set to fill (its pages are replaced)\n"
    "  --tool T        claude, codex or gemini (default: the \"generate.ai\"\n"
    "                  setting, else the first one installed)\n"
    "  --screens a,b   the screen ids to make (default: the recommended ones)\n"
    "  --locales L     the languages of the titles (default: the set's, else en)\n"
    "  --update        redraw the screens of the set made from code, changing\n"
    "                  nothing else (the folder defaults to the app's code folder)\n"
    "\n"
    "Ctrl-C stops the job: its AI runs end and the set is left as it was.\n"
    "Exit status: 0 when at least one screen was made, 1 when none was or the job\n"
    "was stopped, 2 for a usage error.\n";

namespace {

using assistants::DetectedTool;
using assistants::GenerateFlow;
using assistants::ScreenshotGenerator;
using models::APIClient;
using models::APIResult;

// Set from the signal handler, read by a timer on the main thread: the one
// piece of state a POSIX signal handler can safely touch.
volatile std::sig_atomic_t stopRequested = 0;

extern "C" void requestStop(int) {
  stopRequested = 1;
}

struct Options {
  std::optional<std::string> folder;
  std::optional<std::string> app;
  std::optional<std::string> set;
  std::optional<std::string> tool;
  std::vector<std::string> screens;
  std::vector<std::string> locales;
  bool update = false;
};

std::vector<std::string> splitList(const std::string& text) {
  std::vector<std::string> items;
  std::string item;
  for (char c : text + ",") {
    if (c == ',') {
      if (!item.empty()) items.push_back(item);
      item.clear();
    } else if (c != ' ') {
      item += c;
    }
  }
  return items;
}

// The usage error's sentence, or nothing when the arguments read.
std::optional<std::string> parse(const std::vector<std::string>& args, Options& options) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--update") {
      options.update = true;
      continue;
    }
    const bool takesValue = a == "--folder" || a == "--app" || a == "--set" || a == "--tool" ||
                            a == "--screens" || a == "--locales";
    if (!takesValue) return "unknown option '" + a + "'";
    if (i + 1 >= args.size()) return a + " needs a value";
    const std::string& v = args[++i];
    if (a == "--folder") options.folder = v;
    if (a == "--app") options.app = v;
    if (a == "--set") options.set = v;
    if (a == "--tool") options.tool = v;
    if (a == "--screens") options.screens = splitList(v);
    if (a == "--locales") options.locales = splitList(v);
  }
  if (options.update && !options.set) return "--update needs --set ID";
  if (!options.update && !options.folder) return "--folder DIR is required";
  return std::nullopt;
}

// Runs the event loop until `done` holds; a requested stop calls `onStop` once.
void runUntil(const std::function<bool()>& done, const std::function<void()>& onStop) {
  bool stopped = false;
  while (!done()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    if (stopRequested && !stopped) {
      stopped = true;
      onStop();
    }
  }
}

// Waits for an APIClient answer.
template <class T>
APIResult<T> await(std::function<void(models::Reply<T>)> call) {
  std::optional<APIResult<T>> result;
  call([&](APIResult<T> r) { result.emplace(std::move(r)); });
  runUntil([&] { return result.has_value(); }, [] {});
  return std::move(*result);
}

class Progress : public QObject {
 public:
  Progress(ScreenshotGenerator& job, std::ostream& out) : job_(job), out_(out) {
    connect(&job, &ScreenshotGenerator::stepsChanged, this, [this] { printSteps(); });
    connect(&job, &ScreenshotGenerator::pageStatesChanged, this, [this] { printRows(); });
  }

 private:
  void printSteps() {
    for (const auto& step : job_.steps()) {
      if (printed_.insert(step.id).second) out_ << step.text.toStdString() << "\n" << std::flush;
    }
  }
  void printRows() {
    for (const auto& [id, state] : job_.pageStates()) {
      if (state.kind == ScreenshotGenerator::PageState::Kind::waiting) continue;
      const QString row = job_.rowText(id);
      QString& last = rows_[id];
      if (row == last) continue;
      last = row;
      out_ << "  " << id.toStdString() << ": " << row.toStdString() << "\n" << std::flush;
    }
  }

  ScreenshotGenerator& job_;
  std::ostream& out_;
  std::set<QUuid> printed_;
  std::map<QString, QString> rows_;
};

}  // namespace

int generateCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
                    std::ostream& out, std::ostream& err) {
  if (std::find(args.begin(), args.end(), "--help") != args.end()) {
    out << kGenerateHelp;
    return kExitOK;
  }
  Options options;
  if (const auto problem = parse(args, options)) {
    err << "vellora-cli generate: " << *problem << ".\n\n" << kGenerateHelp;
    return kExitUsage;
  }

  models::QtTimerClock clock;
  APIClient client(models::APITransport::local(backend), clock);
  QSettings defaults(models::settingsPath(), QSettings::IniFormat);

  const auto config = await<AppConfig>([&](auto reply) { client.config(nullptr, reply); });
  if (!config) {
    err << "Couldn’t open the library: " << config.error().what() << "\n";
    return kExitStatus;
  }
  const auto& sets = config.value().sets;
  auto findSet = [&](const std::string& key) -> const VellSet* {
    for (const VellSet& s : sets) {
      if (s.id == key) return &s;
    }
    for (const VellSet& s : sets) {
      if (s.name == key) return &s;
    }
    return nullptr;
  };
  std::optional<VellSet> target;
  if (options.set) {
    if (const VellSet* found = findSet(*options.set)) target = *found;
  }
  if (target && target->id == models::AppModel::appStoreSet) {
    err << "The set “app-store” is the app’s live store listing and can’t be changed. Name "
           "another set.\n";
    return kExitUsage;
  }
  if (options.update && !target) {
    err << "There is no set “" << *options.set
        << "”. List the sets with: vellora-cli request GET /api/sets\n";
    return kExitStatus;
  }

  const std::optional<std::string> appId = options.app ? options.app
                                           : target    ? target->appId
                                                       : std::nullopt;
  const AppSummary* app = nullptr;
  if (appId && config.value().apps) {
    for (const AppSummary& a : *config.value().apps) {
      if (a.appId == *appId) app = &a;
    }
  }
  if (options.app && !app) {
    err << "There is no app “" << *options.app << "” in the library.\n";
    return kExitStatus;
  }

  std::string folder = options.folder.value_or("");
  if (folder.empty() && appId) {
    folder = defaults.value(models::AppModel::codeFolderKey(*appId)).toString().toStdString();
  }
  if (folder.empty()) {
    err << "Name the app’s source code with --folder DIR.\n";
    return kExitUsage;
  }
  folder = QFileInfo(QString::fromStdString(folder)).absoluteFilePath().toStdString();
  if (!QFileInfo(QString::fromStdString(folder)).isDir()) {
    err << "The folder " << folder
        << " doesn’t exist. Name the folder with the app’s source code.\n";
    return kExitStatus;
  }

  // The tool: named, else the setting, else the first installed.
  assistants::LoginShell shell = assistants::LoginShell::forCurrentUser();
  assistants::ToolFinder finder(shell, assistants::ToolFinder::defaultOptions());
  DetectedTool tool;
  if (options.tool) {
    const auto named = assistants::toolFromRawValue(QString::fromStdString(*options.tool));
    if (!named) {
      err << "vellora-cli generate: --tool takes claude, codex or gemini.\n";
      return kExitUsage;
    }
    tool.tool = *named;
    tool.path = finder.binary(*named);
    if (!tool.path) {
      err << assistants::displayName(*named).toStdString()
          << " isn’t installed on this computer. Install it and sign in, or choose another "
             "with --tool.\n";
      return kExitStatus;
    }
  } else {
    assistants::ToolPreference preference(
        [&] { return defaults.value(QStringLiteral("generate.ai")).toString(); },
        [&](assistants::AITool t) { return finder.binary(t); });
    const auto choice = preference.preferred();
    if (!choice) {
      err << assistants::ai_tool_words::kNoToolForChatTurn.toStdString() << "\n";
      return kExitStatus;
    }
    tool.tool = choice->tool;
    tool.path = choice->binary;
  }

  const QString appName = app ? QString::fromStdString(app->name)
                              : QFileInfo(QString::fromStdString(folder)).fileName();

  // The set: the named one, else a new one; a set made here goes again when
  // nothing ends up in it.
  bool madeSet = false;
  if (!target) {
    const std::string name = options.set.value_or(appName.toStdString());
    std::optional<std::vector<std::string>> locales;
    if (!options.locales.empty()) locales = options.locales;
    const auto made =
        await<VellSet>([&](auto reply) { client.createSet(name, appId, locales, nullptr, reply); });
    if (!made) {
      err << "Couldn’t make the set “" << name << "”: " << made.error().what() << "\n";
      return kExitStatus;
    }
    target = made.value();
    madeSet = true;
  }
  auto dropMadeSet = [&] {
    if (!madeSet) return;
    await<models::Done>([&](auto reply) { client.deleteSet(target->id, nullptr, reply); });
  };

  GenerateFlow::Options flowOptions;
  flowOptions.set = target->id;
  flowOptions.appName = appName;
  flowOptions.folder = QString::fromStdString(folder);
  if (!options.locales.empty()) {
    flowOptions.locales = options.locales;
  } else if (target->locales && !target->locales->empty()) {
    flowOptions.locales = *target->locales;
  }
  if (app) {
    if (app->about && !app->about->empty())
      flowOptions.profile[QStringLiteral("What it does")] = QString::fromStdString(*app->about);
    if (app->audience && !app->audience->empty())
      flowOptions.profile[QStringLiteral("Who it is for")] = QString::fromStdString(*app->audience);
    if (app->category && !app->category->empty())
      flowOptions.profile[QStringLiteral("Category")] = QString::fromStdString(*app->category);
  }
  flowOptions.loginPath = shell.path();

  GenerateFlow flow(client, defaults, flowOptions);
  ScreenshotGenerator& job = flow.generator();
  Progress progress(job, out);
  bool ended = false;
  QObject::connect(&flow, &GenerateFlow::ended, [&] { ended = true; });

  stopRequested = 0;
  auto previousInt = std::signal(SIGINT, requestStop);
  auto previousTerm = std::signal(SIGTERM, requestStop);
  auto stopJob = [&] { flow.stop(); };

  int status = kExitOK;
  if (options.update) {
    flow.startUpdate(tool);
    runUntil([&] { return ended; }, stopJob);
  } else {
    out << "Set “" << target->name << "” (" << target->id << ")\n";
    flow.chooseTool(tool);
    runUntil([&] { return job.phase() != ScreenshotGenerator::Phase::discovering; }, stopJob);
    if (job.phase() == ScreenshotGenerator::Phase::choosing) {
      if (!options.screens.empty()) {
        job.selected.clear();
        for (const std::string& id : options.screens) {
          const QString wanted = QString::fromStdString(id);
          const auto& found = job.screens();
          if (std::none_of(found.begin(), found.end(),
                           [&](const auto& s) { return s.id == wanted; })) {
            err << "The app has no screen “" << id << "”. Its screens are:";
            for (const auto& s : found)
              err << " " << s.id.toStdString();
            err << "\n";
            status = kExitUsage;
          }
          job.selected.insert(wanted);
        }
      }
      if (status == kExitOK) {
        for (const auto& screen : job.chosenScreens())
          out << "  " << screen.id.toStdString() << ": " << screen.name.toStdString() << "\n";
        out << "Style: " << assistants::cardTitle(job.direction).toStdString() << "\n";
        for (const QString& notice : job.notices())
          out << notice.toStdString() << "\n";
        ended = false;
        flow.startRender();
        runUntil([&] { return ended; }, stopJob);
      }
    }
  }

  // A stopped job's children get their grace and are gone before we leave.
  runUntil([&] { return job.runningChildren() == 0; }, [] {});
  std::signal(SIGINT, previousInt);
  std::signal(SIGTERM, previousTerm);

  if (status != kExitOK) {
    dropMadeSet();
    return status;
  }
  switch (job.phase()) {
    case ScreenshotGenerator::Phase::finished:
      if (job.renderedScreens() > 0) {
        out << (options.update ? "Updated " : "Saved ") << job.renderedScreens() << " screen"
            << (job.renderedScreens() == 1 ? "" : "s") << " in set " << target->id << ".\n";
        return kExitOK;
      }
      err << "No screen could be made:\n";
      for (const auto& [id, state] : job.pageStates())
        err << "  " << id.toStdString() << ": " << state.text.toStdString() << "\n";
      dropMadeSet();
      return kExitStatus;
    case ScreenshotGenerator::Phase::stopped:
      err << "Stopped — nothing was saved.\n";
      dropMadeSet();
      return kExitStatus;
    default:
      err << (flow.error().isEmpty() ? job.failure() : flow.error()).toStdString() << "\n";
      dropMadeSet();
      return kExitStatus;
  }
}

}  // namespace vells::cli

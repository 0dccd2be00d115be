// Stands in for Claude Code, Codex CLI and Gemini CLI in the tests. It is
// installed under each tool's name and tells which one it is by the name it
// was run by. Every run appends one JSON line to $FAKE_AI_LOG with its
// argument vector, working folder and PATH. What it prints is scripted by the
// prompt: everything after a line "FAKE SCRIPT" in any argument is read as one
// directive per line:
//   out TEXT         TEXT and a line feed
//   part TEXT        TEXT alone, to split a line over several writes
//   hex BYTES        raw bytes, to split inside a character
//   flood N TEXT     TEXT N times with no line feed
//   lines N TEXT     N lines of TEXT
//   sleep MS         wait
//   ignore-term      ignore SIGTERM from here on (a grandchild inherits it)
//   grandchild       start a process in the same group that sleeps forever
//   hang             sleep forever
//   exit CODE        end with CODE
// Without a script it prints a short valid answer in its tool's dialect.
// Scenario mode (the generation tests): $FAKE_AI_SCENARIO names a file of
// blocks "WHEN NEEDLE" … "END"; the first block whose NEEDLE occurs in an
// argument is played. Besides the directives above a block may say
//   session ID       the tool's conversation id (default "<tool>-session")
//   read PATH        report a Read of PATH
//   reply TEXT       end with TEXT as the tool's reply
//   reply-file PATH  end with the file's text as the reply ({{CWD}} becomes
//                    the working folder)
// and the run logs {"end": pid} when it exits by itself.
//
// Conversations: when $FAKE_AI_QUEUE names a folder, a run whose arguments
// hold no script plays the first file of that folder in name order (and
// removes it), so the turns of one conversation can each have their own.
// `--version` prints $FAKE_AI_VERSION when set ("hang" hangs), else a version
// line in the tool's style.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

void writeAll(const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(1, bytes.data() + done, bytes.size() - done);
    if (n <= 0) std::exit(70);
    done += static_cast<size_t>(n);
  }
}

void logLine(const nlohmann::json& entry) {
  const char* path = std::getenv("FAKE_AI_LOG");
  if (!path) return;
  std::ofstream log(path, std::ios::app);
  log << entry.dump() << "\n";
}

[[noreturn]] void sleepForever() {
  for (;;)
    ::pause();
}

std::string hexBytes(const std::string& hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

int play(const std::string& script) {
  std::istringstream lines(script);
  std::string line;
  while (std::getline(lines, line)) {
    const size_t space = line.find(' ');
    const std::string word = line.substr(0, space);
    const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (word == "out") {
      writeAll(rest + "\n");
    } else if (word == "part") {
      writeAll(rest);
    } else if (word == "hex") {
      writeAll(hexBytes(rest));
    } else if (word == "flood" || word == "lines") {
      const size_t gap = rest.find(' ');
      const long count = std::stol(rest.substr(0, gap));
      const std::string text = rest.substr(gap + 1) + (word == "lines" ? "\n" : "");
      std::string chunk;
      for (int i = 0; i < 256; ++i)
        chunk += text;
      long left = count;
      while (left >= 256) {
        writeAll(chunk);
        left -= 256;
      }
      for (; left > 0; --left)
        writeAll(text);
    } else if (word == "sleep") {
      ::usleep(static_cast<useconds_t>(std::stol(rest) * 1000));
    } else if (word == "ignore-term") {
      ::signal(SIGTERM, SIG_IGN);
    } else if (word == "grandchild") {
      const pid_t child = ::fork();
      if (child == 0) sleepForever();
      logLine({{"grandchild", child}});
    } else if (word == "hang") {
      sleepForever();
    } else if (word == "exit") {
      return std::stoi(rest);
    }
  }
  return 0;
}

std::string defaultStream(const std::string& tool) {
  if (tool == "claude") {
    return R"({"type":"system","subtype":"init","session_id":"claude-session-1"})"
           "\n"
           R"({"type":"result","result":"Fake claude reply","is_error":false,"session_id":"claude-session-1"})"
           "\n";
  }
  if (tool == "codex") {
    return R"({"type":"thread.started","thread_id":"codex-thread-1"})"
           "\n"
           R"({"type":"item.completed","item":{"type":"agent_message","text":"Fake codex reply"}})"
           "\n";
  }
  return R"({"type":"init","session_id":"gemini-session-1"})"
         "\n"
         R"({"type":"message","role":"assistant","content":"Fake gemini reply"})"
         "\n"
         R"({"type":"result","status":"success"})"
         "\n";
}

// --- scenario mode (generation) ---

std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

void writeEvent(const nlohmann::json& event) {
  writeAll(event.dump() + "\n");
}

void writeReply(const std::string& tool, const std::string& session, const std::string& reply) {
  if (tool == "claude") {
    writeEvent({{"type", "system"}, {"subtype", "init"}, {"session_id", session}});
    writeEvent(
        {{"type", "result"}, {"result", reply}, {"is_error", false}, {"session_id", session}});
  } else if (tool == "codex") {
    writeEvent({{"type", "thread.started"}, {"thread_id", session}});
    writeEvent(
        {{"type", "item.completed"}, {"item", {{"type", "agent_message"}, {"text", reply}}}});
  } else {
    writeEvent({{"type", "init"}, {"session_id", session}});
    writeEvent({{"type", "message"}, {"role", "assistant"}, {"content", reply}});
    writeEvent({{"type", "result"}, {"status", "success"}});
  }
}

void writeRead(const std::string& tool, const std::string& path) {
  if (tool != "claude") return;
  writeEvent({{"type", "assistant"},
              {"message",
               {{"content", nlohmann::json::array({{{"type", "tool_use"},
                                                    {"name", "Read"},
                                                    {"input", {{"file_path", path}}}}})}}}});
}

// The block of the scenario file whose needle the arguments hold, if any.
std::optional<std::string> scenarioBlock(const std::string& file,
                                         const std::vector<std::string>& arguments) {
  std::istringstream lines(readAll(file));
  std::string line;
  std::optional<std::string> needle;
  std::string block;
  while (std::getline(lines, line)) {
    if (!needle && line.rfind("WHEN ", 0) == 0) {
      needle = line.substr(5);
      block.clear();
    } else if (needle && line == "END") {
      for (const std::string& argument : arguments) {
        if (argument.find(*needle) != std::string::npos) return block;
      }
      needle.reset();
    } else if (needle) {
      block += line + "\n";
    }
  }
  return std::nullopt;
}

int playScenario(const std::string& tool, const std::string& block) {
  char cwd[4096] = {};
  const std::string folder = ::getcwd(cwd, sizeof cwd) ? cwd : "";
  std::string session = tool + "-session";
  std::istringstream lines(block);
  std::string line;
  int code = 0;
  while (std::getline(lines, line)) {
    const size_t space = line.find(' ');
    const std::string word = line.substr(0, space);
    const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (word == "session") {
      session = rest;
    } else if (word == "read") {
      writeRead(tool, rest);
    } else if (word == "reply") {
      writeReply(tool, session, rest);
    } else if (word == "reply-file") {
      writeReply(tool, session, replaceAll(readAll(rest), "{{CWD}}", folder));
    } else {
      code = play(line + "\n");
      if (word == "exit") break;
    }
  }
  logLine({{"end", ::getpid()}});
  return code;
}

// --- conversations: a queue of scripts, one per run ---

std::optional<std::string> nextQueued() {
  const char* folder = std::getenv("FAKE_AI_QUEUE");
  if (!folder) return std::nullopt;
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  if (files.empty()) return std::nullopt;
  std::sort(files.begin(), files.end());
  std::ifstream file(files.front());
  std::stringstream script;
  script << file.rdbuf();
  std::filesystem::remove(files.front(), error);
  return script.str();
}

}  // namespace

int main(int argc, char** argv) {
  std::string tool = argv[0];
  if (const size_t slash = tool.rfind('/'); slash != std::string::npos)
    tool = tool.substr(slash + 1);
  std::vector<std::string> arguments(argv + 1, argv + argc);

  if (arguments.size() == 1 && arguments[0] == "--version") {
    const char* version = std::getenv("FAKE_AI_VERSION");
    if (version && std::string(version) == "hang") sleepForever();
    if (version) {
      writeAll(std::string(version) + "\n");
    } else if (tool == "claude") {
      writeAll("1.0.3 (Claude Code)\n");
    } else if (tool == "codex") {
      writeAll("codex-cli 0.20.0\n");
    } else {
      writeAll("0.1.9\n");
    }
    return 0;
  }

  char cwd[4096] = {};
  const char* path = std::getenv("PATH");
  logLine({{"tool", tool},
           {"argv", arguments},
           {"cwd", ::getcwd(cwd, sizeof cwd) ? cwd : ""},
           {"path", path ? path : ""},
           {"pgid", ::getpgrp()},
           {"pid", ::getpid()}});

  if (const char* scenario = std::getenv("FAKE_AI_SCENARIO")) {
    if (const auto block = scenarioBlock(scenario, arguments)) return playScenario(tool, *block);
  }

  const std::string marker = "FAKE SCRIPT\n";
  for (const std::string& argument : arguments) {
    const size_t at = argument.find(marker);
    if (at != std::string::npos) return play(argument.substr(at + marker.size()));
  }
  if (auto queued = nextQueued()) return play(*queued);
  writeAll(defaultStream(tool));
  return 0;
}

#include "platform/web/devtools_client.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <sstream>
#include <vector>

namespace vells::platform {

namespace fs = std::filesystem;

namespace {

// Writes all of `data`, without letting a browser that went away kill this
// process with SIGPIPE: the signal is blocked on this thread for the write and
// a pending one is consumed.
bool writeAll(int fd, const std::string& data) {
  sigset_t pipeSet, old;
  sigemptyset(&pipeSet);
  sigaddset(&pipeSet, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipeSet, &old);
  bool ok = true;
  std::size_t off = 0;
  while (off < data.size()) {
    ssize_t n = ::write(fd, data.data() + off, data.size() - off);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ok = false;
      break;
    }
    off += static_cast<std::size_t>(n);
  }
  if (!ok && errno == EPIPE) {
    timespec zero{0, 0};
    sigtimedwait(&pipeSet, nullptr, &zero);
  }
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  return ok;
}

std::string logTail(const fs::path& log) {
  std::ifstream in(log);
  std::string line, tail;
  while (std::getline(in, line)) {
    if (line.empty()) continue;
    tail = line;  // the last words are usually the reason
  }
  return tail;
}

}  // namespace

fs::path DevToolsClient::defaultExecutable() {
  if (const char* env = std::getenv("VELLS_CHROMIUM"); env && *env) return env;
  return "/usr/lib/chromium/chromium-headless-shell";
}

DevToolsClient::DevToolsClient(const fs::path& executable,
                               const std::vector<std::string>& extraArgs) {
  std::error_code ec;
  if (!fs::exists(executable, ec)) {
    throw DevToolsError(
        DevToolsError::Kind::closed,
        "The browser " + executable.string() +
            " is not installed; run scripts/install-deps.sh or set VELLS_CHROMIUM.");
  }
  if (!fs::is_regular_file(executable, ec) || ::access(executable.c_str(), X_OK) != 0) {
    throw DevToolsError(DevToolsError::Kind::closed,
                        "The browser " + executable.string() +
                            " can\u2019t be run: it isn\u2019t an executable program. Set "
                            "VELLS_CHROMIUM to Chromium\u2019s headless shell, or unset it.");
  }
  std::string profileTemplate = (fs::temp_directory_path() / "vellora-chromium-XXXXXX").string();
  if (!::mkdtemp(profileTemplate.data())) {
    throw DevToolsError(
        DevToolsError::Kind::closed,
        std::string("Couldn\u2019t make a browser profile folder: ") + std::strerror(errno));
  }
  profile_ = profileTemplate;
  const fs::path log = profile_ / "browser.log";

  int toChild[2], fromChild[2];
  if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0) {
    fs::remove_all(profile_, ec);
    throw DevToolsError(DevToolsError::Kind::closed, "Couldn\u2019t open pipes to the browser.");
  }
  int devNull = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  int logFd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);

  std::vector<std::string> args = {executable.string(), "--headless", "--remote-debugging-pipe",
                                   "--disable-gpu", "--no-first-run", "--no-default-browser-check",
                                   "--disable-background-networking", "--disable-component-update",
                                   "--disable-sync", "--disable-extensions", "--hide-scrollbars",
                                   "--mute-audio",
                                   // A second wall behind the pages' request handler: every
                                   // connection, loopback included, goes to a proxy that
                                   // isn't there, and no host name resolves.
                                   "--proxy-server=127.0.0.1:1", "--proxy-bypass-list=<-loopback>",
                                   "--host-resolver-rules=MAP * ~NOTFOUND",
                                   "--force-webrtc-ip-handling-policy=disable_non_proxied_udp",
                                   "--user-data-dir=" + profile_.string()};
  // The sandbox works for normal users; only root can't have it.
  if (::geteuid() == 0) args.emplace_back("--no-sandbox");
  args.insert(args.end(), extraArgs.begin(), extraArgs.end());
  args.emplace_back("about:blank");
  std::vector<char*> argv;
  for (auto& a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  const pid_t parent = ::getpid();
  fromBrowser_ = fromChild[0];

  // The kernel sends the parent-death signal when the *thread* that forked
  // exits, not the process. A browser forked by a short-lived worker would be
  // killed in the middle of another worker's render, so the reader thread,
  // which lives exactly as long as the browser's pipe, is the one that forks.
  std::promise<pid_t> forked;
  std::future<pid_t> forkedPid = forked.get_future();
  reader_ = std::thread([&, this] {
    const pid_t pid = ::fork();
    if (pid == 0) {
      // Only async-signal-safe calls from here to exec.
      ::setpgid(0, 0);
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (::getppid() != parent) ::_exit(127);
      int in = ::fcntl(toChild[0], F_DUPFD, 10);
      int out = ::fcntl(fromChild[1], F_DUPFD, 10);
      if (devNull >= 0) ::dup2(devNull, 0);
      if (logFd >= 0) {
        ::dup2(logFd, 1);
        ::dup2(logFd, 2);
      }
      if (in < 0 || out < 0 || ::dup2(in, 3) < 0 || ::dup2(out, 4) < 0) ::_exit(127);
      ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    forked.set_value(pid);
    if (pid > 0) readLoop();
  });
  pid_ = forkedPid.get();
  ::close(toChild[0]);
  ::close(fromChild[1]);
  if (devNull >= 0) ::close(devNull);
  if (logFd >= 0) ::close(logFd);
  if (pid_ < 0) {
    reader_.join();
    ::close(toChild[1]);
    ::close(fromChild[0]);
    fromBrowser_ = -1;
    fs::remove_all(profile_, ec);
    throw DevToolsError(DevToolsError::Kind::closed, "Couldn\u2019t start the browser process.");
  }
  toBrowser_ = toChild[1];

  try {
    call("Browser.getVersion", JSONValue::Object{}, {}, std::chrono::seconds(30));
  } catch (const DevToolsError& e) {
    std::string reason = logTail(log);
    shutdown();
    throw DevToolsError(DevToolsError::Kind::closed,
                        "The browser " + executable.string() +
                            " didn\u2019t start: " + (reason.empty() ? e.what() : reason));
  }
}

DevToolsClient::~DevToolsClient() {
  shutdown();
}

void DevToolsClient::shutdown() {
  if (pid_ <= 0) return;
  if (alive()) {
    try {
      call("Browser.close", JSONValue::Object{}, {}, std::chrono::seconds(2));
    } catch (const DevToolsError&) {
      // killed below
    }
  }
  if (toBrowser_ >= 0) ::close(toBrowser_);
  toBrowser_ = -1;
  bool reaped = false;
  for (int i = 0; i < 60 && !reaped; ++i) {
    int status = 0;
    pid_t r = ::waitpid(pid_, &status, WNOHANG);
    if (r == pid_ || (r < 0 && errno == ECHILD)) {
      reaped = true;
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  // Renderers and helpers share the browser's process group: none may outlive it.
  ::kill(-pid_, SIGKILL);
  if (!reaped) {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
  }
  if (reader_.joinable()) reader_.join();
  if (fromBrowser_ >= 0) ::close(fromBrowser_);
  fromBrowser_ = -1;
  std::error_code ec;
  fs::remove_all(profile_, ec);
  pid_ = -1;
}

bool DevToolsClient::alive() const {
  std::lock_guard guard(mutex_);
  return !closed_;
}

JSONValue DevToolsClient::call(const std::string& method, const JSONValue& params,
                               const std::string& sessionId, std::chrono::milliseconds timeout) {
  auto pending = std::make_shared<Pending>();
  pending->sessionId = sessionId;
  std::int64_t id;
  {
    std::lock_guard guard(mutex_);
    if (closed_) throw DevToolsError(DevToolsError::Kind::closed, closedReason_);
    id = nextId_++;
    pending_[id] = pending;
  }
  JSONValue message =
      JSONValue::Object{{"id", static_cast<double>(id)}, {"method", method}, {"params", params}};
  if (!sessionId.empty()) message["sessionId"] = sessionId;
  std::string text = message.dump();
  text.push_back('\0');
  bool written;
  {
    std::lock_guard guard(writeMutex_);
    written = toBrowser_ >= 0 && writeAll(toBrowser_, text);
  }
  std::unique_lock lock(mutex_);
  if (!written) {
    pending_.erase(id);
    throw DevToolsError(DevToolsError::Kind::closed, "The browser exited.");
  }
  if (!replied_.wait_for(lock, timeout, [&] { return pending->done; })) {
    pending_.erase(id);
    throw DevToolsError(DevToolsError::Kind::timeout,
                        "The browser didn\u2019t answer " + method + " within " +
                            std::to_string(timeout.count() / 1000) + " s.");
  }
  if (pending->error) throw *pending->error;
  return std::move(pending->result);
}

bool DevToolsClient::send(const std::string& method, const JSONValue& params,
                          const std::string& sessionId) {
  std::int64_t id;
  {
    std::lock_guard guard(mutex_);
    if (closed_) return false;
    id = nextId_++;  // no Pending: the reply finds no caller and is dropped
  }
  JSONValue message =
      JSONValue::Object{{"id", static_cast<double>(id)}, {"method", method}, {"params", params}};
  if (!sessionId.empty()) message["sessionId"] = sessionId;
  std::string text = message.dump();
  text.push_back('\0');
  std::lock_guard guard(writeMutex_);
  return toBrowser_ >= 0 && writeAll(toBrowser_, text);
}

void DevToolsClient::subscribe(const std::string& sessionId, Event handler) {
  std::lock_guard guard(mutex_);
  subscribers_[sessionId] = std::move(handler);
}

void DevToolsClient::unsubscribe(const std::string& sessionId) {
  std::lock_guard guard(mutex_);
  subscribers_.erase(sessionId);
}

void DevToolsClient::failSession(const std::string& sessionId, DevToolsError::Kind kind,
                                 const std::string& message) {
  std::lock_guard guard(mutex_);
  for (auto it = pending_.begin(); it != pending_.end();) {
    if (it->second->sessionId == sessionId) {
      it->second->error = DevToolsError(kind, message);
      it->second->done = true;
      it = pending_.erase(it);
    } else {
      ++it;
    }
  }
  replied_.notify_all();
}

void DevToolsClient::failAll(DevToolsError::Kind kind, const std::string& message) {
  std::lock_guard guard(mutex_);
  closed_ = true;
  closedReason_ = message;
  for (auto& [id, p] : pending_) {
    p->error = DevToolsError(kind, message);
    p->done = true;
  }
  pending_.clear();
  replied_.notify_all();
}

void DevToolsClient::readLoop() {
  std::string buffer;
  std::vector<char> chunk(1 << 16);
  while (true) {
    ssize_t n = ::read(fromBrowser_, chunk.data(), chunk.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    buffer.append(chunk.data(), static_cast<std::size_t>(n));
    std::size_t start = 0;
    for (std::size_t nul; (nul = buffer.find('\0', start)) != std::string::npos; start = nul + 1) {
      dispatch(std::string_view(buffer).substr(start, nul - start));
    }
    buffer.erase(0, start);
  }
  failAll(DevToolsError::Kind::closed, "The browser exited.");
}

void DevToolsClient::dispatch(std::string_view text) {
  auto message = JSONValue::tryParse(text);
  if (!message || !message->isObject()) return;
  if (auto id = message->numberAt("id")) {
    std::lock_guard guard(mutex_);
    auto it = pending_.find(static_cast<std::int64_t>(*id));
    if (it == pending_.end()) return;  // its caller gave up
    if (const JSONValue* error = message->find("error")) {
      it->second->error = DevToolsError(DevToolsError::Kind::protocol,
                                        error->stringAt("message").value_or("browser error"));
    } else if (const JSONValue* result = message->find("result")) {
      it->second->result = *result;
    }
    it->second->done = true;
    pending_.erase(it);
    replied_.notify_all();
    return;
  }
  auto method = message->stringAt("method");
  if (!method) return;
  Event handler;
  {
    std::lock_guard guard(mutex_);
    auto it = subscribers_.find(message->stringAt("sessionId").value_or(""));
    if (it == subscribers_.end()) return;
    handler = it->second;
  }
  const JSONValue* params = message->find("params");
  handler(*method, params ? *params : JSONValue::Object{});
}

}  // namespace vells::platform

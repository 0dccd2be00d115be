#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "document/json_value.h"
#include "platform/error.h"

namespace vells::platform {

// A failed DevTools call: the browser's own error, a time-out, or a browser
// that went away. The message is the sentence to show.
class DevToolsError : public Error {
 public:
  enum class Kind { protocol, timeout, closed, crashed };
  DevToolsError(Kind kind, const std::string& message) : Error(message), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

// One headless browser process driven over the DevTools pipe (fds 3 and 4,
// NUL-delimited JSON). No socket is opened. One reader thread matches replies
// to calls and hands events to the subscribers of their session.
class DevToolsClient {
 public:
  using Event = std::function<void(const std::string& method, const JSONValue& params)>;
  using Clock = std::chrono::steady_clock;

  // Starts the browser with the engine's flags and `extraArgs` after them.
  // Throws DevToolsError when it can't be started.
  explicit DevToolsClient(const std::filesystem::path& executable,
                          const std::vector<std::string>& extraArgs = {});
  // Closes the browser, kills its process group if it lingers, reaps it, and
  // removes its temporary profile.
  ~DevToolsClient();
  DevToolsClient(const DevToolsClient&) = delete;
  DevToolsClient& operator=(const DevToolsClient&) = delete;

  // $VELLS_CHROMIUM, else Debian's headless shell.
  static std::filesystem::path defaultExecutable();

  // Sends one command and waits for its reply; `sessionId` empty is the browser
  // itself. Throws DevToolsError on an error reply, a time-out, or a browser
  // that exits meanwhile.
  JSONValue call(const std::string& method, const JSONValue& params = JSONValue::Object{},
                 const std::string& sessionId = {},
                 std::chrono::milliseconds timeout = std::chrono::seconds(30));

  // Sends one command without waiting for its reply, which is dropped. The one
  // way to answer the browser from an event handler, which runs on the thread
  // that reads replies. False when the browser is gone.
  bool send(const std::string& method, const JSONValue& params, const std::string& sessionId = {});

  // Events of one session ("" for the browser). One subscriber per session.
  void subscribe(const std::string& sessionId, Event handler);
  void unsubscribe(const std::string& sessionId);

  // Fails every call that waits on `sessionId`, e.g. when its page crashed.
  void failSession(const std::string& sessionId, DevToolsError::Kind kind,
                   const std::string& message);

  bool alive() const;
  pid_t pid() const { return pid_; }

 private:
  struct Pending {
    std::string sessionId;
    bool done = false;
    JSONValue result;
    std::optional<DevToolsError> error;
  };

  // Closes and reaps the browser and removes its profile; safe to repeat.
  void shutdown();
  void readLoop();
  void dispatch(std::string_view message);
  void failAll(DevToolsError::Kind kind, const std::string& message);

  pid_t pid_ = -1;
  int toBrowser_ = -1;
  int fromBrowser_ = -1;
  std::filesystem::path profile_;

  mutable std::mutex mutex_;
  std::condition_variable replied_;
  std::map<std::int64_t, std::shared_ptr<Pending>> pending_;
  std::map<std::string, Event> subscribers_;
  std::int64_t nextId_ = 1;
  bool closed_ = false;
  std::string closedReason_;

  std::mutex writeMutex_;
  std::thread reader_;
};

}  // namespace vells::platform

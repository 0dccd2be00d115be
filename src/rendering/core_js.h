#pragma once

#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "backend/core_script.h"
#include "document/json_value.h"

namespace vells::platform {
class JSContext;
class ScriptText;
}  // namespace vells::platform

namespace vells::rendering {

using backend::Documents;

// The host of core.js. Safe from any thread.
//
// Two script contexts, each loaded once on first use: one for interactive
// calls, one for background calls, so a live preview never waits behind a
// gallery warm-up. Each is entered by one caller at a time, and only for the
// script's own run: arguments are written as JSON, and answers read, outside.
//
// Blocking: every call runs the script on the calling thread and returns with
// its answer. It waits while another call of the same priority is inside the
// script, never for a call of the other priority. catalog() waits so on its
// first successful read only.
class CoreJS final : public backend::CoreScript {
 public:
  // `resourceDir` holds the script (core.parts and the parts it lists, or one
  // core.js) and assets/; absent means the application has none.
  explicit CoreJS(std::optional<std::filesystem::path> resourceDir);
  ~CoreJS() override;
  CoreJS(const CoreJS&) = delete;
  CoreJS& operator=(const CoreJS&) = delete;

  // $VELLS_RESOURCES when set, else the installed share folder when it holds
  // the script, else the source tree's resources/.
  static std::optional<std::filesystem::path> resourceDir();
  // The whole script of `resourceDir` as one text, its parts in load order:
  // what a browser page loads to lay out as the composite does. Absent when
  // the script is missing or unreadable.
  static std::optional<std::string> scriptSource(const std::filesystem::path& resourceDir);

  std::shared_ptr<const JSONValue::Object> catalog() override;
  std::optional<JSONValue> callJSON(const std::string& name, const JSONValue& args) override;
  std::optional<std::string> string(const std::string& name, const JSONValue& args) override;
  std::optional<std::filesystem::path> assetsRoot() const override { return assetsRoot_; }

  using backend::CoreScript::callWithDocs;
  // As callJSON, with the set's documents under `texts` and `styles` and the
  // call's own keys merged over them, in the context of `priority`.
  std::optional<JSONValue> callWithDocs(const std::string& name, const Documents& docs,
                                        const JSONValue& args,
                                        platform::Priority priority) override;

  // Maps a script path under "/core/assets/" to a file; absent when refused.
  std::optional<std::filesystem::path> mapScriptPath(const std::string& path) const;

 private:
  // One script context and the lock around every entry into it.
  struct Lane {
    std::mutex mutex;
    std::unique_ptr<platform::JSContext> context;
  };

  Lane& laneFor(platform::Priority priority);
  // Requires lane.mutex.
  platform::JSContext& ensureContext(Lane& lane);
  std::unique_ptr<platform::JSContext> loadContext();
  // The raw JSON text the script answers; absent for null. Requires lane.mutex.
  std::optional<std::string> invoke(Lane& lane, const std::string& name,
                                    const platform::ScriptText& argsJSON);
  std::optional<JSONValue> parseResult(const std::optional<std::string>& text);
  std::optional<std::string> callRaw(const std::string& name, const JSONValue& args,
                                     const Documents* docs, platform::Priority priority);

  std::optional<std::filesystem::path> resourceDir_;
  std::optional<std::filesystem::path> assetsRoot_;
  Lane interactive_, background_;
  std::mutex loadErrorLock_;  // taken inside a lane's mutex, never around one
  std::exception_ptr loadError_;
  std::mutex catalogLock_;  // taken before a lane's mutex, never after
  std::shared_ptr<const JSONValue::Object> cachedCatalog_;
};

}  // namespace vells::rendering

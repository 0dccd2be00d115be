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
}

namespace vells::rendering {

using backend::Documents;

// The host of core.js: one script context, loaded once, entered by one caller
// at a time. Safe from any thread.
class CoreJS final : public backend::CoreScript {
 public:
  // `resourceDir` holds the script (core.parts and the parts it lists, or one
  // core.js) and assets/; absent means the application has none.
  explicit CoreJS(std::optional<std::filesystem::path> resourceDir);
  ~CoreJS() override;

  // $VELLS_RESOURCES when set, else the installed share folder when it holds
  // the script, else the source tree's resources/.
  static std::optional<std::filesystem::path> resourceDir();

  std::shared_ptr<const JSONValue::Object> catalog() override;
  std::optional<JSONValue> callJSON(const std::string& name, const JSONValue& args) override;
  std::optional<std::string> string(const std::string& name, const JSONValue& args) override;
  std::optional<std::filesystem::path> assetsRoot() const override { return assetsRoot_; }

  // As callJSON, with the set's documents under `texts` and `styles` and the
  // call's own keys merged over them.
  std::optional<JSONValue> callWithDocs(const std::string& name, const Documents& docs,
                                        const JSONValue& args) override;

  // Maps a script path under "/core/assets/" to a file; absent when refused.
  std::optional<std::filesystem::path> mapScriptPath(const std::string& path) const;

 private:
  platform::JSContext& ensureContext();
  // The raw JSON text the script answers; absent for null. Requires mutex_.
  std::optional<std::string> invoke(const std::string& name, const std::string& argsJSON);
  std::optional<JSONValue> parseResult(const std::optional<std::string>& text);
  std::optional<std::string> callRaw(const std::string& name, const JSONValue& args,
                                     const Documents* docs);

  std::optional<std::filesystem::path> resourceDir_;
  std::optional<std::filesystem::path> assetsRoot_;
  std::mutex mutex_;  // every entry into the script
  std::unique_ptr<platform::JSContext> context_;
  std::exception_ptr loadError_;
  std::mutex catalogLock_;  // taken before mutex_, never after
  std::shared_ptr<const JSONValue::Object> cachedCatalog_;
};

}  // namespace vells::rendering

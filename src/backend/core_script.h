#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "document/json_value.h"
#include "platform/error.h"
#include "platform/work/priority.h"

namespace vells::backend {

// A set's texts and styles documents as stored (raw JSON text), with a key that
// names their content. Build it once per request: the script host may keep the
// parsed documents under that key, so hundreds of calls parse them once.
class Documents {
 public:
  Documents(std::string texts, std::string styles);
  const std::string& texts() const { return texts_; }
  const std::string& styles() const { return styles_; }
  const std::string& key() const { return key_; }

 private:
  std::string texts_, styles_, key_;
};

// What the backend needs of the script that holds all page layout, cache
// naming and catalogue data. The real host runs core.js; tests plug in fakes.
//
// Blocking: every call runs the script on the calling thread and returns with
// its answer; it waits while another call of the same priority is inside the
// script. catalog() waits the same way on its first read only.
class CoreScript {
 public:
  virtual ~CoreScript() = default;

  // The catalogue; never throws. Empty when no script can be loaded, which the
  // backend treats as a library without built-in pages.
  // Shared and immutable, so that the many readers of one request pay no copy.
  virtual std::shared_ptr<const JSONValue::Object> catalog() = 0;
  // Calls script function `name`; absent when it answers null or nothing.
  virtual std::optional<JSONValue> callJSON(const std::string& name, const JSONValue& args) = 0;
  // As callJSON; a result that is not a string counts as absent.
  virtual std::optional<std::string> string(const std::string& name, const JSONValue& args) = 0;
  // As callJSON, with the set's documents parsed under `texts` and `styles` and
  // the call's own keys merged over them. Background calls never hold up
  // interactive ones where the host can run them apart.
  virtual std::optional<JSONValue> callWithDocs(const std::string& name, const Documents& docs,
                                                const JSONValue& args, platform::Priority priority);
  std::optional<JSONValue> callWithDocs(const std::string& name, const Documents& docs,
                                        const JSONValue& args) {
    return callWithDocs(name, docs, args, platform::Priority::interactive);
  }
  std::optional<std::string> stringWithDocs(
      const std::string& name, const Documents& docs, const JSONValue& args,
      platform::Priority priority = platform::Priority::interactive);
  // The folder of the script's assets (fonts, pattern tiles), if there is one.
  virtual std::optional<std::filesystem::path> assetsRoot() const = 0;
};

class CoreError : public Error {
 public:
  enum class Kind { exception, missingBundle };

  // `where` is the script's "file:line" of the failure when the engine knows it.
  static CoreError exception(const std::string& text, std::string where = {}) {
    CoreError error(Kind::exception, "Renderer script failed: " + text);
    error.where_ = std::move(where);
    return error;
  }
  static CoreError missingBundle() {
    return CoreError(
        Kind::missingBundle,
        "The core script (core.parts or core.js) is missing from the resources folder "
        "\u2014 set VELLS_RESOURCES to the folder that holds it, or reinstall Vellora.");
  }
  Kind kind() const { return kind_; }
  // Which part of the script failed and on which line ("…/core/layout.js:42");
  // empty when not known. Kept out of the message, which a person reads.
  const std::string& where() const noexcept { return where_; }

 private:
  CoreError(Kind kind, const std::string& message) : Error(message), kind_(kind) {}
  Kind kind_;
  std::string where_;
};

// Stands in while no script engine is built in: an empty catalogue, and every
// call fails the way a missing script does.
class AbsentCoreScript final : public CoreScript {
 public:
  std::shared_ptr<const JSONValue::Object> catalog() override {
    return std::make_shared<const JSONValue::Object>();
  }
  std::optional<JSONValue> callJSON(const std::string&, const JSONValue&) override {
    throw CoreError::missingBundle();
  }
  std::optional<std::string> string(const std::string&, const JSONValue&) override {
    throw CoreError::missingBundle();
  }
  std::optional<std::filesystem::path> assetsRoot() const override { return std::nullopt; }
};

}  // namespace vells::backend

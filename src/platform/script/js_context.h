#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>
#include "platform/error.h"

namespace vells::platform {

// A script exception, with the script's own text ("TypeError: …").
class ScriptException : public Error {
 public:
  explicit ScriptException(const std::string& text, std::string where = {})
      : Error(text), where_(std::move(where)) {}
  // Where the script threw, as "source:line" with the source named as it was
  // evaluated (a "file://" prefix dropped); empty when the engine doesn't say.
  const std::string& where() const noexcept { return where_; }

 private:
  std::string where_;
};

// A value a host function hands back to the script.
struct HostValue {
  enum class Kind { null, boolean, string };
  Kind kind = Kind::null;
  bool boolean = false;
  std::string string;

  static HostValue null() { return {}; }
  static HostValue of(bool b) { return {Kind::boolean, b, {}}; }
  static HostValue of(std::string s) { return {Kind::string, false, std::move(s)}; }
};

// The arguments of a host call, as strings: what the script passed, each
// turned to text the way the script's String() would.
using HostFunction = std::function<HostValue(const std::vector<std::string>& args)>;

// One isolated JavaScriptCore global context. Not thread-safe by itself: the
// owner serialises every entry.
class JSContext {
 public:
  JSContext();
  ~JSContext();
  JSContext(const JSContext&) = delete;
  JSContext& operator=(const JSContext&) = delete;

  // Sets global `objectName` to a plain object whose properties call back
  // into `functions` synchronously on the calling thread.
  void setHostObject(const std::string& objectName,
                     std::vector<std::pair<std::string, HostFunction>> functions);

  // Runs a whole script; throws ScriptException when it throws.
  void evaluate(std::string_view source, const std::string& sourceURL);

  // Calls global `objectName`.`method` with string arguments. The result as
  // text, absent for undefined or null. Throws ScriptException when the call
  // throws, or when the object or method is missing.
  std::optional<std::string> callMethod(const std::string& objectName, const std::string& method,
                                        const std::vector<std::string>& args);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vells::platform

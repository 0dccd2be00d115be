#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>
#include "platform/error.h"

struct OpaqueJSString;

namespace vells::platform {

// Text made ready for the engine. The conversion from UTF-8 happens where it
// is built, with no context involved, so a caller can pay for a large argument
// before it takes the lock that guards a context. Immutable; may be handed
// from one thread to another; a copy shares the text.
class ScriptText {
 public:
  explicit ScriptText(std::string_view utf8);
  ~ScriptText();
  ScriptText(const ScriptText& other);
  ScriptText& operator=(const ScriptText&) = delete;

 private:
  friend class JSContext;
  OpaqueJSString* ref_;
};

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

// One isolated JavaScriptCore global context, in a virtual machine of its own:
// two contexts may run at once on two threads. Not thread-safe by itself: the
// owner serialises every entry into one context.
//
// Blocking: evaluate() and callMethod() run the script on the calling thread
// and return when it does.
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
                                        const std::vector<ScriptText>& args);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vells::platform

#include "platform/script/js_context.h"

#include <JavaScriptCore/JavaScript.h>

#include "platform/utf8.h"

namespace vells::platform {

namespace {

// UTF-16 for the engine. Unlike the C-string constructor this keeps NUL
// characters, and an invalid byte becomes U+FFFD instead of failing the string.
std::u16string toUTF16(std::string_view s) {
  std::u16string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    const UTF8Step step = decodeUTF8(s, i);
    char32_t cp = step.value;
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
    i += step.valid ? step.length : 1;
  }
  return out;
}

JSStringRef makeString(std::string_view s) {
  std::u16string u = toUTF16(s);
  static_assert(sizeof(JSChar) == sizeof(char16_t));
  return JSStringCreateWithCharacters(reinterpret_cast<const JSChar*>(u.data()), u.size());
}

struct StringRef {
  JSStringRef ref;
  explicit StringRef(const std::string& s) : ref(makeString(s)) {}
  explicit StringRef(JSStringRef adopted) : ref(adopted) {}
  ~StringRef() {
    if (ref) JSStringRelease(ref);
  }
  StringRef(const StringRef&) = delete;
  StringRef& operator=(const StringRef&) = delete;
};

std::string toUTF8(JSStringRef s) {
  std::size_t max = JSStringGetMaximumUTF8CStringSize(s);
  std::string buf(max, '\0');
  std::size_t written = JSStringGetUTF8CString(s, buf.data(), max);  // counts the final NUL
  buf.resize(written > 0 ? written - 1 : 0);
  return buf;
}

// The text of a script value, as String(value) gives it; "" if even that throws.
std::string valueText(JSContextRef ctx, JSValueRef value) {
  JSValueRef exception = nullptr;
  JSStringRef s = JSValueToStringCopy(ctx, value, &exception);
  if (!s) return "";
  StringRef holder(s);
  return toUTF8(s);
}

// The exception a thrown script value stands for: its text and, for an error
// object, the source and line the engine recorded on it.
ScriptException thrown(JSContextRef ctx, JSValueRef exception) {
  std::string where;
  if (JSValueIsObject(ctx, exception)) {
    JSObjectRef error = JSValueToObject(ctx, exception, nullptr);
    auto property = [&](const char* name) -> JSValueRef {
      StringRef key{std::string(name)};
      return JSObjectGetProperty(ctx, error, key.ref, nullptr);
    };
    JSValueRef source = property("sourceURL");
    JSValueRef line = property("line");
    if (source && JSValueIsString(ctx, source) && line && JSValueIsNumber(ctx, line)) {
      std::string name = valueText(ctx, source);
      if (name.starts_with("file://")) name.erase(0, 7);
      where = name + ":" + std::to_string(static_cast<long>(JSValueToNumber(ctx, line, nullptr)));
    }
  }
  return ScriptException(valueText(ctx, exception), std::move(where));
}

// The callable object behind one host function: its private data points here.
struct HostCallable {
  HostFunction function;
};

JSValueRef callHost(JSContextRef ctx, JSObjectRef function, JSObjectRef, size_t argc,
                    const JSValueRef argv[], JSValueRef* exception) {
  auto* callable = static_cast<HostCallable*>(JSObjectGetPrivate(function));
  if (!callable) return JSValueMakeNull(ctx);
  std::vector<std::string> args;
  args.reserve(argc);
  for (size_t i = 0; i < argc; ++i) {
    args.push_back(JSValueIsUndefined(ctx, argv[i]) ? std::string() : valueText(ctx, argv[i]));
  }
  try {
    HostValue result = callable->function(args);
    switch (result.kind) {
      case HostValue::Kind::null:
        return JSValueMakeNull(ctx);
      case HostValue::Kind::boolean:
        return JSValueMakeBoolean(ctx, result.boolean);
      case HostValue::Kind::string: {
        StringRef s(result.string);
        return JSValueMakeString(ctx, s.ref);
      }
    }
  } catch (const std::exception& e) {
    StringRef message(std::string("host function failed: ") + e.what());
    JSValueRef arg = JSValueMakeString(ctx, message.ref);
    *exception = JSObjectMakeError(ctx, 1, &arg, nullptr);
  }
  return JSValueMakeNull(ctx);
}

void finalizeHost(JSObjectRef object) {
  // The callables are owned by the context wrapper; nothing to free here.
  JSObjectSetPrivate(object, nullptr);
}

}  // namespace

ScriptText::ScriptText(std::string_view utf8) : ref_(makeString(utf8)) {}

ScriptText::~ScriptText() {
  JSStringRelease(ref_);
}

ScriptText::ScriptText(const ScriptText& other) : ref_(JSStringRetain(other.ref_)) {}

struct JSContext::Impl {
  JSGlobalContextRef ctx = nullptr;
  JSClassRef callableClass = nullptr;
  std::vector<std::unique_ptr<HostCallable>> callables;
};

JSContext::JSContext() : impl_(std::make_unique<Impl>()) {
  impl_->ctx = JSGlobalContextCreate(nullptr);
  JSClassDefinition def = kJSClassDefinitionEmpty;
  def.className = "VellsHostFunction";
  def.callAsFunction = &callHost;
  def.finalize = &finalizeHost;
  impl_->callableClass = JSClassCreate(&def);
}

JSContext::~JSContext() {
  if (impl_->ctx) JSGlobalContextRelease(impl_->ctx);
  if (impl_->callableClass) JSClassRelease(impl_->callableClass);
}

void JSContext::setHostObject(const std::string& objectName,
                              std::vector<std::pair<std::string, HostFunction>> functions) {
  JSContextRef ctx = impl_->ctx;
  JSObjectRef object = JSObjectMake(ctx, nullptr, nullptr);
  for (auto& [name, function] : functions) {
    auto callable = std::make_unique<HostCallable>(HostCallable{std::move(function)});
    JSObjectRef fn = JSObjectMake(ctx, impl_->callableClass, callable.get());
    impl_->callables.push_back(std::move(callable));
    StringRef key(name);
    JSObjectSetProperty(ctx, object, key.ref, fn, kJSPropertyAttributeNone, nullptr);
  }
  StringRef global(objectName);
  JSObjectSetProperty(ctx, JSContextGetGlobalObject(ctx), global.ref, object,
                      kJSPropertyAttributeNone, nullptr);
}

void JSContext::evaluate(std::string_view source, const std::string& sourceURL) {
  StringRef script{std::string(source)};
  StringRef url(sourceURL);
  JSValueRef exception = nullptr;
  JSEvaluateScript(impl_->ctx, script.ref, nullptr, url.ref, 1, &exception);
  if (exception) throw thrown(impl_->ctx, exception);
}

std::optional<std::string> JSContext::callMethod(const std::string& objectName,
                                                 const std::string& method,
                                                 const std::vector<ScriptText>& args) {
  JSContextRef ctx = impl_->ctx;
  JSValueRef exception = nullptr;
  StringRef objectKey(objectName);
  JSValueRef objectValue =
      JSObjectGetProperty(ctx, JSContextGetGlobalObject(ctx), objectKey.ref, &exception);
  if (exception) throw thrown(ctx, exception);
  if (!JSValueIsObject(ctx, objectValue)) throw ScriptException(objectName + " is not defined");
  JSObjectRef object = JSValueToObject(ctx, objectValue, nullptr);
  StringRef methodKey(method);
  JSValueRef fnValue = JSObjectGetProperty(ctx, object, methodKey.ref, &exception);
  if (exception) throw thrown(ctx, exception);
  JSObjectRef fn = JSValueIsObject(ctx, fnValue) ? JSValueToObject(ctx, fnValue, nullptr) : nullptr;
  if (!fn || !JSObjectIsFunction(ctx, fn)) {
    throw ScriptException(objectName + "." + method + " is not a function");
  }
  std::vector<JSValueRef> argv;
  // The collector can't see values held in this vector: protect each one, or
  // making a large second argument may collect the first.
  struct Protected {
    JSContextRef ctx;
    std::vector<JSValueRef>& values;
    ~Protected() {
      for (JSValueRef v : values)
        JSValueUnprotect(ctx, v);
    }
  } guard{ctx, argv};
  for (const ScriptText& a : args) {
    JSValueRef v = JSValueMakeString(ctx, a.ref_);
    JSValueProtect(ctx, v);
    argv.push_back(v);
  }
  JSValueRef result = JSObjectCallAsFunction(ctx, fn, object, argv.size(), argv.data(), &exception);
  if (exception) throw thrown(ctx, exception);
  if (!result || JSValueIsUndefined(ctx, result) || JSValueIsNull(ctx, result)) return std::nullopt;
  return valueText(ctx, result);
}

}  // namespace vells::platform

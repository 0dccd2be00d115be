#include "backend/core_script.h"

#include "platform/sha256.h"

namespace vells::backend {

Documents::Documents(std::string texts, std::string styles)
    : texts_(std::move(texts)), styles_(std::move(styles)) {
  // Length-prefixed so that moving bytes from one document to the other changes the key.
  key_ = platform::sha256Hex(std::to_string(texts_.size()) + ":" + texts_ + styles_).substr(0, 32);
}

std::optional<JSONValue> CoreScript::callWithDocs(const std::string& name, const Documents& docs,
                                                  const JSONValue& args, platform::Priority) {
  auto parsed = [](const std::string& text) {
    auto v = JSONValue::tryParse(text);
    return v && v->isObject() ? *v : JSONValue(JSONValue::Object{});
  };
  JSONValue merged =
      JSONValue::Object{{"texts", parsed(docs.texts())}, {"styles", parsed(docs.styles())}};
  if (const auto* own = args.asObject()) {
    for (const auto& [key, value] : *own)
      merged[key] = value;
  }
  return callJSON(name, merged);
}

std::optional<std::string> CoreScript::stringWithDocs(const std::string& name,
                                                      const Documents& docs, const JSONValue& args,
                                                      platform::Priority priority) {
  auto value = callWithDocs(name, docs, args, priority);
  if (value && value->isString()) return *value->asString();
  return std::nullopt;
}

}  // namespace vells::backend

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "document/json_value.h"
#include "platform/error.h"

// Shared plumbing for the typed records: reading their members out of a
// JSONValue with one set of rules, and writing them back.
namespace vells {

// A JSON value that doesn't have the shape a record needs.
class JSONDecodeError : public Error {
 public:
  using Error::Error;
};

// Reads the members of one JSON object on behalf of a named record. A
// required member that is missing, null or of the wrong kind throws
// JSONDecodeError; an optional one reads as absent when missing or null but
// still throws when it holds the wrong kind, so a corrupt document is noticed
// rather than silently thinned out.
class FieldReader {
 public:
  // Throws JSONDecodeError unless `value` is an object.
  FieldReader(const JSONValue& value, std::string_view record);

  const JSONValue::Object& object() const { return *object_; }
  // The member, or nullptr when it is missing or null.
  const JSONValue* present(std::string_view key) const;

  std::string string(std::string_view key) const;
  std::optional<std::string> optionalString(std::string_view key) const;
  double number(std::string_view key) const;
  std::optional<double> optionalNumber(std::string_view key) const;
  bool boolean(std::string_view key) const;
  std::optional<bool> optionalBoolean(std::string_view key) const;
  // A number with no fraction that fits in 64 bits.
  std::int64_t integer(std::string_view key) const;
  std::vector<std::string> strings(std::string_view key) const;
  std::optional<std::vector<std::string>> optionalStrings(std::string_view key) const;
  std::map<std::string, std::string> stringMap(std::string_view key) const;
  std::optional<std::map<std::string, std::string>> optionalStringMap(std::string_view key) const;

  template <class T>
  std::vector<T> list(std::string_view key) const {
    return decodeList<T>(arrayAt(require(key), key));
  }
  template <class T>
  std::optional<std::vector<T>> optionalList(std::string_view key) const {
    const JSONValue* v = present(key);
    if (!v) return std::nullopt;
    return decodeList<T>(arrayAt(*v, key));
  }

  [[noreturn]] void fail(std::string_view message) const;
  [[noreturn]] void wrongKind(std::string_view key, std::string_view expected,
                              const JSONValue& found) const;

 private:
  const JSONValue& require(std::string_view key) const;
  const JSONValue::Array& arrayAt(const JSONValue& v, std::string_view key) const;

  template <class T>
  static std::vector<T> decodeList(const JSONValue::Array& items) {
    std::vector<T> out;
    out.reserve(items.size());
    for (const auto& item : items)
      out.push_back(T::decode(item));
    return out;
  }

  const JSONValue::Object* object_;
  std::string record_;
};

// The JSON name of a kind, for messages: "a string", "null", ...
std::string_view describeKind(JSONValue::Kind kind);

// Each string member of an object; throws JSONDecodeError on any other kind.
std::map<std::string, std::string> decodeStringMap(const JSONValue& value, std::string_view what);

JSONValue toJSON(const std::vector<std::string>& strings);
JSONValue toJSON(const std::map<std::string, std::string>& strings);

template <class T>
JSONValue toJSONList(const std::vector<T>& items) {
  JSONValue::Array out;
  out.reserve(items.size());
  for (const auto& item : items)
    out.push_back(item.encode());
  return JSONValue(std::move(out));
}

// Writes the member only when the optional holds a value.
template <class T>
void putIfPresent(JSONValue::Object& object, std::string_view key, const std::optional<T>& value) {
  if (!value) return;
  if constexpr (requires { toJSON(*value); }) {
    object.insert_or_assign(std::string(key), toJSON(*value));
  } else {
    object.insert_or_assign(std::string(key), JSONValue(*value));
  }
}

// Decodes with T::decode, absent instead of an exception.
template <class T>
std::optional<T> tryDecode(const JSONValue& value) {
  try {
    return T::decode(value);
  } catch (const JSONDecodeError&) {
    return std::nullopt;
  }
}

}  // namespace vells

#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>
#include "platform/error.h"

namespace vells {

// A JSON tree with no fixed shape. Every number is a double: there is no
// integer case, so 1 and 1.0 are the same value. Objects are compared as maps,
// so the order in which a writer put the keys never matters.
class JSONValue {
 public:
  using Array = std::vector<JSONValue>;
  using Object = std::map<std::string, JSONValue, std::less<>>;

  enum class Kind { string = 0, number = 1, boolean = 2, array = 3, object = 4, null = 5 };

  JSONValue() : storage_(nullptr) {}
  JSONValue(std::nullptr_t) : storage_(nullptr) {}
  JSONValue(std::string s) : storage_(std::move(s)) {}
  JSONValue(std::string_view s) : storage_(std::string(s)) {}
  JSONValue(const char* s) : storage_(std::string(s)) {}
  JSONValue(double d) : storage_(d) {}
  JSONValue(int i) : storage_(static_cast<double>(i)) {}
  JSONValue(long i) : storage_(static_cast<double>(i)) {}
  JSONValue(long long i) : storage_(static_cast<double>(i)) {}
  JSONValue(unsigned long i) : storage_(static_cast<double>(i)) {}
  JSONValue(bool b) : storage_(b) {}
  JSONValue(Array a) : storage_(std::move(a)) {}
  JSONValue(Object o) : storage_(std::move(o)) {}

  static JSONValue array(Array a = {}) { return JSONValue(std::move(a)); }
  static JSONValue object(Object o = {}) { return JSONValue(std::move(o)); }

  Kind kind() const { return static_cast<Kind>(storage_.index()); }
  bool isString() const { return kind() == Kind::string; }
  bool isNumber() const { return kind() == Kind::number; }
  bool isBool() const { return kind() == Kind::boolean; }
  bool isArray() const { return kind() == Kind::array; }
  bool isObject() const { return kind() == Kind::object; }
  bool isNull() const { return kind() == Kind::null; }

  // Typed access; nullptr when the value is of another kind.
  const std::string* asString() const { return std::get_if<std::string>(&storage_); }
  const double* asNumber() const { return std::get_if<double>(&storage_); }
  const bool* asBool() const { return std::get_if<bool>(&storage_); }
  const Array* asArray() const { return std::get_if<Array>(&storage_); }
  const Object* asObject() const { return std::get_if<Object>(&storage_); }
  Array* asArray() { return std::get_if<Array>(&storage_); }
  Object* asObject() { return std::get_if<Object>(&storage_); }

  // Member lookup on an object; nullptr for a missing key or a non-object.
  const JSONValue* find(std::string_view key) const;
  // Typed member lookups: absent when the key is missing or of another kind.
  std::optional<std::string> stringAt(std::string_view key) const;
  std::optional<double> numberAt(std::string_view key) const;
  std::optional<bool> boolAt(std::string_view key) const;

  // Writes a member, turning a non-object into an empty object first.
  JSONValue& operator[](std::string_view key);

  // Compact JSON text. Numbers use the shortest form that reads back to the
  // same double, so integral values print without a fraction. Throws
  // std::domain_error for NaN or infinity, which JSON cannot carry.
  std::string dump() const;

  // Parses JSON text; any top-level value is accepted. Throws JSONParseError
  // on malformed text or text that is not UTF-8.
  static JSONValue parse(std::string_view text);
  static std::optional<JSONValue> tryParse(std::string_view text);

  std::size_t hash() const;

  friend bool operator==(const JSONValue& a, const JSONValue& b) {
    return a.storage_ == b.storage_;
  }

 private:
  std::variant<std::string, double, bool, Array, Object, std::nullptr_t> storage_;
};

class JSONParseError : public Error {
 public:
  using Error::Error;
};

// Replaces every invalid UTF-8 sequence with U+FFFD, as the platform's
// lenient decoders do.
std::string repairUTF8(std::string_view bytes);
bool isValidUTF8(std::string_view bytes);

}  // namespace vells

template <>
struct std::hash<vells::JSONValue> {
  std::size_t operator()(const vells::JSONValue& v) const noexcept { return v.hash(); }
};

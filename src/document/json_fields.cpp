#include "document/json_fields.h"

#include <cmath>

namespace vells {

std::string_view describeKind(JSONValue::Kind kind) {
  switch (kind) {
    case JSONValue::Kind::string:
      return "a string";
    case JSONValue::Kind::number:
      return "a number";
    case JSONValue::Kind::boolean:
      return "a boolean";
    case JSONValue::Kind::array:
      return "an array";
    case JSONValue::Kind::object:
      return "an object";
    case JSONValue::Kind::null:
      return "null";
  }
  return "an unknown value";
}

std::map<std::string, std::string> decodeStringMap(const JSONValue& value, std::string_view what) {
  const JSONValue::Object* object = value.asObject();
  if (!object) {
    throw JSONDecodeError(std::string(what) + " should be an object of strings, not " +
                          std::string(describeKind(value.kind())) + ".");
  }
  std::map<std::string, std::string> out;
  for (const auto& [key, member] : *object) {
    const std::string* s = member.asString();
    if (!s) {
      throw JSONDecodeError(std::string(what) + " holds " +
                            std::string(describeKind(member.kind())) + " under \"" + key +
                            "\" where a string belongs.");
    }
    out.emplace(key, *s);
  }
  return out;
}

JSONValue toJSON(const std::vector<std::string>& strings) {
  JSONValue::Array out(strings.begin(), strings.end());
  return JSONValue(std::move(out));
}

JSONValue toJSON(const std::map<std::string, std::string>& strings) {
  JSONValue::Object out;
  for (const auto& [key, value] : strings)
    out.emplace(key, value);
  return JSONValue(std::move(out));
}

FieldReader::FieldReader(const JSONValue& value, std::string_view record)
    : object_(value.asObject()), record_(record) {
  if (!object_) {
    fail("expected an object, found " + std::string(describeKind(value.kind())));
  }
}

void FieldReader::fail(std::string_view message) const {
  throw JSONDecodeError("Cannot read " + record_ + ": " + std::string(message) + ".");
}

void FieldReader::wrongKind(std::string_view key, std::string_view expected,
                            const JSONValue& found) const {
  fail("\"" + std::string(key) + "\" should be " + std::string(expected) + ", not " +
       std::string(describeKind(found.kind())));
}

const JSONValue* FieldReader::present(std::string_view key) const {
  auto it = object_->find(key);
  if (it == object_->end() || it->second.isNull()) return nullptr;
  return &it->second;
}

const JSONValue& FieldReader::require(std::string_view key) const {
  const JSONValue* v = present(key);
  if (!v) fail("the key \"" + std::string(key) + "\" is missing");
  return *v;
}

const JSONValue::Array& FieldReader::arrayAt(const JSONValue& v, std::string_view key) const {
  const JSONValue::Array* a = v.asArray();
  if (!a) wrongKind(key, "an array", v);
  return *a;
}

std::string FieldReader::string(std::string_view key) const {
  const JSONValue& v = require(key);
  if (!v.isString()) wrongKind(key, "a string", v);
  return *v.asString();
}

std::optional<std::string> FieldReader::optionalString(std::string_view key) const {
  if (!present(key)) return std::nullopt;
  return string(key);
}

double FieldReader::number(std::string_view key) const {
  const JSONValue& v = require(key);
  if (!v.isNumber()) wrongKind(key, "a number", v);
  return *v.asNumber();
}

std::optional<double> FieldReader::optionalNumber(std::string_view key) const {
  if (!present(key)) return std::nullopt;
  return number(key);
}

bool FieldReader::boolean(std::string_view key) const {
  const JSONValue& v = require(key);
  if (!v.isBool()) wrongKind(key, "a boolean", v);
  return *v.asBool();
}

std::optional<bool> FieldReader::optionalBoolean(std::string_view key) const {
  if (!present(key)) return std::nullopt;
  return boolean(key);
}

std::int64_t FieldReader::integer(std::string_view key) const {
  double d = number(key);
  // 2^63 is the first double past the range; it is exact, so the bound is too.
  constexpr double limit = 9223372036854775808.0;
  if (std::trunc(d) != d || d < -limit || d >= limit) {
    fail("\"" + std::string(key) + "\" should be a whole number");
  }
  return static_cast<std::int64_t>(d);
}

std::vector<std::string> FieldReader::strings(std::string_view key) const {
  const JSONValue::Array& items = arrayAt(require(key), key);
  std::vector<std::string> out;
  out.reserve(items.size());
  for (const auto& item : items) {
    if (!item.isString()) wrongKind(std::string(key) + "[]", "a string", item);
    out.push_back(*item.asString());
  }
  return out;
}

std::optional<std::vector<std::string>> FieldReader::optionalStrings(std::string_view key) const {
  if (!present(key)) return std::nullopt;
  return strings(key);
}

std::map<std::string, std::string> FieldReader::stringMap(std::string_view key) const {
  const JSONValue& v = require(key);
  try {
    return decodeStringMap(v, "\"" + std::string(key) + "\"");
  } catch (const JSONDecodeError& e) {
    throw JSONDecodeError("Cannot read " + record_ + ": " + e.what());
  }
}

std::optional<std::map<std::string, std::string>> FieldReader::optionalStringMap(
    std::string_view key) const {
  if (!present(key)) return std::nullopt;
  return stringMap(key);
}

}  // namespace vells

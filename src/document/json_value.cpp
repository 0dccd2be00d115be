#include "document/json_value.h"

#include <charconv>
#include <cmath>
#include <functional>

#include <nlohmann/json.hpp>

#include "platform/utf8.h"

namespace vells {

namespace {

// Takes the parsed tree apart as it converts it: strings are moved, not
// copied, which matters for the megabytes of Base64 a screenshot brings.
JSONValue fromNlohmann(nlohmann::json& j) {
  switch (j.type()) {
    case nlohmann::json::value_t::null:
      return JSONValue();
    case nlohmann::json::value_t::boolean:
      return JSONValue(j.get<bool>());
    case nlohmann::json::value_t::number_integer:
      return JSONValue(static_cast<double>(j.get<std::int64_t>()));
    case nlohmann::json::value_t::number_unsigned:
      return JSONValue(static_cast<double>(j.get<std::uint64_t>()));
    case nlohmann::json::value_t::number_float:
      return JSONValue(j.get<double>());
    case nlohmann::json::value_t::string:
      return JSONValue(std::move(j.get_ref<std::string&>()));
    case nlohmann::json::value_t::array: {
      JSONValue::Array out;
      out.reserve(j.size());
      for (auto& e : j)
        out.push_back(fromNlohmann(e));
      return JSONValue(std::move(out));
    }
    case nlohmann::json::value_t::object: {
      JSONValue::Object out;
      for (auto it = j.begin(); it != j.end(); ++it)
        out.insert_or_assign(it.key(), fromNlohmann(*it));
      return JSONValue(std::move(out));
    }
    default:
      // Binary and discarded values never come out of the text parser.
      throw JSONParseError("Unrecognised JSON value");
  }
}

void appendNumber(std::string& out, double d) {
  if (!std::isfinite(d)) throw std::domain_error("JSON cannot carry NaN or infinity");
  if (d == 0) d = 0;  // -0 prints as 0
  char buf[32];
  auto res = std::to_chars(buf, buf + sizeof buf, d);
  out.append(buf, res.ptr);
}

void appendString(std::string& out, std::string_view s) {
  std::string repaired;
  if (!isValidUTF8(s)) {
    repaired = repairUTF8(s);
    s = repaired;
  }
  out.push_back('"');
  for (char c : s) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\f':
        out += "\\f";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          static constexpr char hex[] = "0123456789abcdef";
          out += "\\u00";
          out.push_back(hex[(c >> 4) & 0xF]);
          out.push_back(hex[c & 0xF]);
        } else {
          out.push_back(c);
        }
    }
  }
  out.push_back('"');
}

void appendValue(std::string& out, const JSONValue& v) {
  switch (v.kind()) {
    case JSONValue::Kind::null:
      out += "null";
      break;
    case JSONValue::Kind::boolean:
      out += *v.asBool() ? "true" : "false";
      break;
    case JSONValue::Kind::number:
      appendNumber(out, *v.asNumber());
      break;
    case JSONValue::Kind::string:
      appendString(out, *v.asString());
      break;
    case JSONValue::Kind::array: {
      out.push_back('[');
      bool first = true;
      for (const auto& e : *v.asArray()) {
        if (!first) out.push_back(',');
        first = false;
        appendValue(out, e);
      }
      out.push_back(']');
      break;
    }
    case JSONValue::Kind::object: {
      out.push_back('{');
      bool first = true;
      for (const auto& [k, e] : *v.asObject()) {
        if (!first) out.push_back(',');
        first = false;
        appendString(out, k);
        out.push_back(':');
        appendValue(out, e);
      }
      out.push_back('}');
      break;
    }
  }
}

}  // namespace

const JSONValue* JSONValue::find(std::string_view key) const {
  const Object* o = asObject();
  if (!o) return nullptr;
  auto it = o->find(key);
  return it == o->end() ? nullptr : &it->second;
}

std::optional<std::string> JSONValue::stringAt(std::string_view key) const {
  const JSONValue* v = find(key);
  if (v && v->isString()) return *v->asString();
  return std::nullopt;
}

std::optional<double> JSONValue::numberAt(std::string_view key) const {
  const JSONValue* v = find(key);
  if (v && v->isNumber()) return *v->asNumber();
  return std::nullopt;
}

std::optional<bool> JSONValue::boolAt(std::string_view key) const {
  const JSONValue* v = find(key);
  if (v && v->isBool()) return *v->asBool();
  return std::nullopt;
}

JSONValue& JSONValue::operator[](std::string_view key) {
  if (!isObject()) storage_ = Object{};
  Object& o = std::get<Object>(storage_);
  auto it = o.find(key);
  if (it == o.end()) it = o.emplace(std::string(key), JSONValue()).first;
  return it->second;
}

std::string JSONValue::dump() const {
  std::string out;
  appendValue(out, *this);
  return out;
}

JSONValue JSONValue::parse(std::string_view text) {
  try {
    nlohmann::json tree = nlohmann::json::parse(text.begin(), text.end());
    return fromNlohmann(tree);
  } catch (const nlohmann::json::exception& e) {
    throw JSONParseError(e.what());
  }
}

std::optional<JSONValue> JSONValue::tryParse(std::string_view text) {
  try {
    return parse(text);
  } catch (const JSONParseError&) {
    return std::nullopt;
  }
}

std::size_t JSONValue::hash() const {
  auto mix = [](std::size_t seed, std::size_t h) {
    return seed ^ (h + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
  };
  std::size_t seed = static_cast<std::size_t>(kind()) * 0x100000001b3ULL;
  switch (kind()) {
    case Kind::null:
      return seed;
    case Kind::boolean:
      return mix(seed, *asBool() ? 1 : 2);
    case Kind::number: {
      double d = *asNumber();
      if (d == 0) d = 0;  // 0 and -0 are equal, so they must hash alike
      return mix(seed, std::hash<double>{}(d));
    }
    case Kind::string:
      return mix(seed, std::hash<std::string>{}(*asString()));
    case Kind::array:
      for (const auto& e : *asArray())
        seed = mix(seed, e.hash());
      return seed;
    case Kind::object:
      // std::map iterates in key order, so insertion order cannot leak in.
      for (const auto& [k, e] : *asObject()) {
        seed = mix(seed, std::hash<std::string>{}(k));
        seed = mix(seed, e.hash());
      }
      return seed;
  }
  return seed;
}

bool isValidUTF8(std::string_view bytes) {
  for (std::size_t i = 0; i < bytes.size();) {
    const platform::UTF8Step step = platform::decodeUTF8(bytes, i);
    if (!step.valid) return false;
    i += step.length;
  }
  return true;
}

std::string repairUTF8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size();) {
    const platform::UTF8Step step = platform::decodeUTF8(bytes, i);
    if (step.valid) {
      out.append(bytes.substr(i, step.length));
    } else {
      out += "\xEF\xBF\xBD";
    }
    i += step.length;
  }
  return out;
}

}  // namespace vells

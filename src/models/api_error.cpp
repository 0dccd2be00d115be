#include "models/api_error.h"

#include <string_view>

#include "document/json_value.h"

namespace vells::models {

namespace {

std::string trimmed(std::string_view s) {
  constexpr std::string_view blanks = " \t\n\r\f\v";
  const auto first = s.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return std::string(s.substr(first, s.find_last_not_of(blanks) - first + 1));
}

}  // namespace

APIError::APIError(Kind kind, int status, const std::string& description)
    : std::runtime_error(description), kind_(kind), status_(status) {}

APIError APIError::http(int status, const std::string& message) {
  std::string text = trimmed(message);
  if (text.empty()) text = "The request failed (" + std::to_string(status) + ").";
  return APIError(Kind::http, status, text);
}

std::string APIError::sentence() const {
  std::string text = what();
  if (kind_ == Kind::http) {
    if (auto body = JSONValue::tryParse(text); body && body->isObject()) {
      if (auto said = body->stringAt("error")) text = *said;
    }
  }
  return text;
}

APIError APIError::notAnImage(const std::string& message) {
  return APIError(Kind::notAnImage, 0, message.empty() ? "No image came back." : message);
}

APIError APIError::noServer() {
  return APIError(Kind::noServer, 0, "The library isn’t open.");
}

APIError APIError::timedOut(int seconds) {
  return APIError(Kind::timedOut, 0,
                  "The library didn’t answer within " + std::to_string(seconds) +
                      " seconds. Try again; if it keeps happening, restart Vellora.");
}

APIError APIError::badReply(const std::string& detail) {
  return APIError(Kind::badReply, 0, "The library’s answer couldn’t be read: " + detail);
}

}  // namespace vells::models

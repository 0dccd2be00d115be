#include "backend/messages.h"

namespace vells::backend {

std::string Request::param(std::string_view key, std::string_view fallback) const {
  auto it = query.find(key);
  return it == query.end() ? std::string(fallback) : it->second;
}

Response Response::json(const JSONValue& value, int status) {
  Response r;
  r.status = status;
  r.mime = "application/json";
  try {
    r.body = value.dump();
  } catch (const std::exception&) {
    r.body = "null";
  }
  return r;
}

Response Response::text(std::string_view text, int status) {
  Response r;
  r.status = status;
  r.mime = "text/plain; charset=utf-8";
  r.body = std::string(text);
  return r;
}

const Response& Response::notFound() {
  static const Response notFound = text("Not found", 404);
  return notFound;
}

Response Response::error(std::string_view message, int status) {
  return json(JSONValue::Object{{"ok", false}, {"error", std::string(message)}}, status);
}

Failure::Failure(Response response) : Error(response.body), response_(std::move(response)) {}

Failure::Failure(int status, std::string_view message)
    : Error(std::string(message)), response_(Response::error(message, status)) {}

}  // namespace vells::backend

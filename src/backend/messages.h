#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "document/json_value.h"
#include "platform/error.h"

namespace vells::backend {

// One call of the in-process service: the shape of an HTTP request without HTTP.
struct Request {
  std::string method = "GET";
  std::string path = "/";
  std::map<std::string, std::string, std::less<>> query;
  std::string body;
  std::string contentType;
  std::optional<std::string> ifNoneMatch;

  // The query item `key`, or `fallback` when the request has none.
  std::string param(std::string_view key, std::string_view fallback = "") const;
};

struct Response {
  int status = 200;
  std::string mime = "text/plain; charset=utf-8";
  std::string body;
  std::map<std::string, std::string, std::less<>> headers;

  // Serialises `value`; a value JSON can't carry gives the body "null".
  static Response json(const JSONValue& value, int status = 200);
  static Response text(std::string_view text, int status = 200);
  static const Response& notFound();
  // The failure body every validated route answers with.
  static Response error(std::string_view message, int status);
  static Response ok() { return json(JSONValue::Object{{"ok", true}}); }
};

// Thrown by a route to stop with a finished answer.
class Failure : public Error {
 public:
  explicit Failure(Response response);
  // `{"ok":false,"error":message}` with `status`.
  Failure(int status, std::string_view message);

  const Response& response() const { return response_; }

 private:
  Response response_;
};

}  // namespace vells::backend

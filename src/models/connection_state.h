#pragma once

#include <string>

namespace vells::models {

// The road to the library, as the shell shows it.
struct ConnectionState {
  enum class Kind { connecting, online, offline };
  Kind kind = Kind::connecting;
  // Why the library can't be used; only for `offline`.
  std::string message;

  static ConnectionState connecting() { return {Kind::connecting, {}}; }
  static ConnectionState online() { return {Kind::online, {}}; }
  static ConnectionState offline(std::string message) {
    return {Kind::offline, std::move(message)};
  }
  friend bool operator==(const ConnectionState&, const ConnectionState&) = default;
};

}  // namespace vells::models

#pragma once

#include <functional>
#include <utility>
#include <variant>

#include "models/api_error.h"

namespace vells::models {

// The value of an operation that has no result of its own.
struct Done {
  friend bool operator==(Done, Done) = default;
};

// What an asynchronous call hands back: its value or the failure.
template <class T>
class APIResult {
 public:
  APIResult(T value) : state_(std::move(value)) {}
  APIResult(APIError error) : state_(std::move(error)) {}

  bool ok() const { return state_.index() == 0; }
  explicit operator bool() const { return ok(); }
  // Only when ok().
  const T& value() const { return std::get<0>(state_); }
  T& value() { return std::get<0>(state_); }
  // Only when !ok().
  const APIError& error() const { return std::get<1>(state_); }

 private:
  std::variant<T, APIError> state_;
};

template <class T>
using Reply = std::function<void(APIResult<T>)>;

}  // namespace vells::models

#pragma once

#include <optional>
#include <utility>

namespace vells::models {

// A field of a partial update: not given (left alone), given as nothing
// (cleared), or given as a value.
template <class T>
class TriState {
 public:
  TriState() = default;
  TriState(T value) : state_(std::optional<T>(std::move(value))) {}
  static TriState null() {
    TriState t;
    t.state_ = std::optional<T>();
    return t;
  }

  bool given() const { return state_.has_value(); }
  bool isNull() const { return given() && !state_->has_value(); }
  // Only when given() and not isNull().
  const T& value() const { return **state_; }

 private:
  std::optional<std::optional<T>> state_;
};

}  // namespace vells::models

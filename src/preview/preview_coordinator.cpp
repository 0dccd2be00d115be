#include "preview/preview_coordinator.h"

namespace vells::preview {

PreviewCoordinator::PreviewCoordinator(Evaluate evaluate, OnRects onRects)
    : evaluate_(std::move(evaluate)), onRects_(std::move(onRects)) {}

bool PreviewCoordinator::load(const std::string& baseURL) {
  if (loadedBase_ == baseURL) return false;
  loadedBase_ = baseURL;
  isReady_ = false;
  inFlight_.reset();
  // What the old page showed must reach the new one.
  if (!pending_ && applied_) pending_ = std::move(applied_);
  applied_.reset();
  return true;
}

void PreviewCoordinator::lost() {
  loadedBase_.reset();
  isReady_ = false;
  inFlight_.reset();
  if (!pending_ && applied_) pending_ = std::move(applied_);
  applied_.reset();
}

void PreviewCoordinator::apply(const PreviewState& state) {
  if (applied_ == state) {
    // Back to what the page shows: an older wish must not follow it.
    pending_.reset();
    return;
  }
  if (!isReady_ || inFlight_) {
    pending_ = state;
    return;
  }
  JSONValue json = state.json();
  const std::uint64_t seq = ++sequence_;
  json["seq"] = static_cast<double>(seq);
  const std::string text = json.dump();
  if (text.empty() || text == "null") return;  // a state that can't be sent is dropped
  applied_ = state;
  pending_.reset();
  inFlight_ = seq;
  ++sent_;
  evaluate_("window.__vells && window.__vells.apply(" + text + ");", seq);
}

void PreviewCoordinator::didReceive(const std::string& name, const std::string& body) {
  if (name == "rects") {
    auto value = JSONValue::tryParse(body);
    if (!value || !value->isObject()) return;
    lastReport_ = *value;
    if (onRects_) onRects_(models::CanvasRects::decode(*value));
    return;
  }
  isReady_ = true;
  if (pending_) {
    PreviewState next = std::move(*pending_);
    pending_.reset();
    apply(next);
  }
}

void PreviewCoordinator::frameShown(std::uint64_t seq) {
  if (!inFlight_ || seq < *inFlight_) return;
  giveUpWaiting();
}

void PreviewCoordinator::giveUpWaiting() {
  inFlight_.reset();
  if (pending_) {
    PreviewState next = std::move(*pending_);
    pending_.reset();
    apply(next);
  }
}

}  // namespace vells::preview

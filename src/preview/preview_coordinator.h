#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "models/canvas_geometry.h"
#include "preview/preview_state.h"

namespace vells::preview {

// Decides what the preview page is told, on the main thread. The page gets no
// call for a state it has; before it is ready, and while a state's frame is
// still on its way, only the newest state waits; a new page starts not ready
// with nothing applied. The page answers "ready" and "rects".
class PreviewCoordinator {
 public:
  // Runs `script` in the page; `seq` is the number the page paints with the
  // state, so the frame that shows it can be recognised.
  using Evaluate = std::function<void(const std::string& script, std::uint64_t seq)>;
  using OnRects = std::function<void(const models::CanvasRects&)>;

  explicit PreviewCoordinator(Evaluate evaluate, OnRects onRects = {});

  // Starts over for a page at `baseURL`; false (and nothing changes) when that
  // page is the one loaded.
  bool load(const std::string& baseURL);
  // The page is gone (its browser died): the next load starts over, and the
  // last state is applied again once the new page is ready.
  void lost();
  void apply(const PreviewState& state);
  // A message of the page: "rects" with a JSON text, anything else is "ready".
  void didReceive(const std::string& name, const std::string& body);
  // A frame showing the state numbered `seq` (or a later one) is in hand.
  void frameShown(std::uint64_t seq);
  // The state in flight showed nothing new in time: stop waiting for it.
  void giveUpWaiting();

  bool isReady() const { return isReady_; }
  bool waiting() const { return inFlight_.has_value(); }
  const std::optional<PreviewState>& applied() const { return applied_; }
  const std::optional<PreviewState>& pending() const { return pending_; }
  // The number of the last state sent; 0 before the first.
  std::uint64_t lastSequence() const { return sequence_; }
  // How many states went to a page.
  int sentCount() const { return sent_; }
  // The page's last report as it came, with what the canvas doesn't read
  // (the title's line count, the state's number).
  const JSONValue& lastReport() const { return lastReport_; }

 private:
  Evaluate evaluate_;
  OnRects onRects_;
  std::optional<std::string> loadedBase_;
  bool isReady_ = false;
  std::optional<PreviewState> applied_;
  std::optional<PreviewState> pending_;
  std::optional<std::uint64_t> inFlight_;
  std::uint64_t sequence_ = 0;
  int sent_ = 0;
  JSONValue lastReport_;
};

}  // namespace vells::preview

#pragma once

#include <functional>

#include "backend/messages.h"

namespace vells::backend {
class LocalBackend;
}

namespace vells::models {

// How a call reaches the library. `handle` runs on a worker thread and never
// throws; `start` opens the library and throws its failure. Tests put their
// own in to delay, fail or count calls.
struct APITransport {
  std::function<backend::Response(const backend::Request&)> handle;
  std::function<void()> start;

  // The in-process backend itself; it has to outlive the client.
  static APITransport local(backend::LocalBackend& backend);
};

}  // namespace vells::models

#include "models/api_transport.h"

#include "backend/local_backend.h"

namespace vells::models {

APITransport APITransport::local(backend::LocalBackend& backend) {
  return APITransport{
      [&backend](const backend::Request& request) { return backend.handle(request); },
      [&backend] { backend.start(); }};
}

}  // namespace vells::models

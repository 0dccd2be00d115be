#include "backend/local_backend.h"
#include "rendering/core_js.h"

namespace vells::backend {

LocalBackend& LocalBackend::shared() {
  static LocalBackend instance(LocalLibrary::standard(), rendering::CoreJS::shared());
  return instance;
}

}  // namespace vells::backend

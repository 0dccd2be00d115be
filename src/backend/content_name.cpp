#include "backend/content_name.h"

#include "platform/sha256.h"

namespace vells::backend {

std::string sha(std::string_view bytes) {
  return platform::sha256Hex(bytes).substr(0, 32);
}

}  // namespace vells::backend

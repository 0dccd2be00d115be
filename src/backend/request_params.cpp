#include "backend/request_params.h"

namespace vells::backend {

std::string osParam(const Request& request) {
  return request.param("os") == "ios" ? "ios" : "android";
}

std::string themeParam(const Request& request) {
  return request.param("theme") == "light" ? "light" : "dark";
}

std::optional<std::string> appearanceParam(const Request& request) {
  auto it = request.query.find("appearance");
  if (it != request.query.end() && (it->second == "light" || it->second == "dark"))
    return it->second;
  return std::nullopt;
}

}  // namespace vells::backend

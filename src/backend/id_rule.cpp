#include "backend/id_rule.h"

#include <algorithm>

#include "backend/messages.h"
#include "document/json_value.h"

namespace vells::backend {

std::optional<std::string> idProblem(std::string_view what, std::string_view id) {
  const std::string subject = "A " + std::string(what) + " id";
  if (id.size() > maxIdBytes) {
    return subject + " can\u2019t be longer than " + std::to_string(maxIdBytes) + " bytes.";
  }
  const bool control = std::any_of(id.begin(), id.end(), [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return u < 0x20 || u == 0x7F;
  });
  if (control || id.find_first_of("/\\") != std::string_view::npos ||
      id.find("..") != std::string_view::npos) {
    return subject + " can\u2019t contain \u201C/\u201D, \u201C\\\u201D, \u201C..\u201D or " +
           "control characters.";
  }
  if (!isValidUTF8(id)) return subject + " must be UTF-8 text.";
  return std::nullopt;
}

void requireValidId(std::string_view what, std::string_view id) {
  if (auto problem = idProblem(what, id)) throw Failure(400, *problem);
}

}  // namespace vells::backend

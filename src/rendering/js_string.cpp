#include "rendering/js_string.h"

#include "document/json_value.h"

namespace vells::rendering {

std::string jsString(const std::string& text) {
  std::string array;
  try {
    array = JSONValue(JSONValue::Array{JSONValue(text)}).dump();
  } catch (const std::exception&) {
    array = "[]";
  }
  return array.substr(1, array.size() - 2);
}

}  // namespace vells::rendering

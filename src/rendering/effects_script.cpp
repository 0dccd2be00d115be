#include <string>

#include "rendering/effects.h"
#include "rendering/page_scripts.h"

namespace vells::rendering {

const std::string& Effects::script() {
  static const std::string text = "window.__fx = ((M) => {\n" + std::string(kEffectsScript) +
                                  "\n})(" + std::to_string(M) + ");";
  return text;
}

}  // namespace vells::rendering

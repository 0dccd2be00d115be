#pragma once

#include "platform/error.h"

namespace vells::preview {

// The live preview can't start: its page or script is missing, or the browser
// won't run. The preview fails quietly; this sentence is for logs and tests.
class PreviewError : public Error {
 public:
  using Error::Error;
};

}  // namespace vells::preview

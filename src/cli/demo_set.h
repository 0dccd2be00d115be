#pragma once

#include "document/json_value.h"

namespace vells::cli {

// The demo set's content: what a designer would put in the sample app's
// store listing. Keyed by built-in page id.
JSONValue demoTexts();
JSONValue demoStyles();

}  // namespace vells::cli

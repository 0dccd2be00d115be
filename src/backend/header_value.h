#pragma once

#include <string>
#include <string_view>

namespace vells::backend {

// A header value that can't end its line: every control character (CR and LF
// above all) becomes a space. Every response header passes through this on
// its way out, whatever route built it.
std::string headerValue(std::string_view value);

// `attachment` with the file name twice: a plain quoted one of printable
// ASCII for old readers, and the exact UTF-8 name as RFC 6266's `filename*`.
std::string attachmentDisposition(std::string_view filename);

}  // namespace vells::backend

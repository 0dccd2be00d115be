#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vells::backend {

// Set and page ids end up inside file names, folder names and archive entry
// names, so one rule decides which ids can exist at all: no path separator,
// no "..", no NUL or other control character, valid UTF-8, and short enough
// that every name built from them stays under the file system's limit.
inline constexpr std::size_t maxIdBytes = 128;

// Why `id` can't be an id, as the sentence to show (`what` is "set" or
// "page"); absent when it can. An empty id passes: routes give it their own
// default or answer that nothing has it.
std::optional<std::string> idProblem(std::string_view what, std::string_view id);

// Throws Failure 400 with idProblem's sentence.
void requireValidId(std::string_view what, std::string_view id);

}  // namespace vells::backend

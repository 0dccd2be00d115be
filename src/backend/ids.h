#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Names the library makes from what people type: set ids and folder names.
namespace vells::backend {

// Keeps letters, digits, blank, "_", "." and "-", then trims blanks.
std::string safeName(std::string_view name);
// The name's ASCII letters (lower-cased) and digits, each run of anything
// else one "-", none at either end; "" when nothing is left.
std::string slugOf(std::string_view name);
// "<slug>-<nowMs>"; the slug is "set" when the name has no letters or digits.
std::string newSetId(std::string_view name, std::int64_t nowMs);
std::int64_t nowMs();
// The set's folder name under overlays/layers: anything outside [A-Za-z0-9_-] becomes "_".
std::string setFolder(std::string_view setId);

}  // namespace vells::backend

#pragma once

#include <string>
#include <string_view>

// What kind of picture a file or a body holds.
namespace vells::backend {

// From the lower-cased extension: jpg/jpeg, webp, else png.
std::string mimeForExtension(std::string_view name);
// By the first bytes, falling back to `mimeForExtension(fallbackPath)`.
std::string sniffMime(std::string_view bytes, std::string_view fallbackPath);
// "jpg", "webp" or "png" from a Content-Type; no case folding.
std::string mimeToExt(std::string_view contentType);
// Width over height of a PNG, 1.0 when the header can't tell.
double pngAspect(std::string_view bytes);

}  // namespace vells::backend

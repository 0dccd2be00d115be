#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "backend/messages.h"
#include "document/json_value.h"

// Small rules that every route family shares.
namespace vells::backend {

// From the lower-cased extension: jpg/jpeg, webp, else png.
std::string mimeForExtension(std::string_view name);
// By the first bytes, falling back to `mimeForExtension(fallbackPath)`.
std::string sniffMime(std::string_view bytes, std::string_view fallbackPath);
// "jpg", "webp" or "png" from a Content-Type; no case folding.
std::string mimeToExt(std::string_view contentType);
// Width over height of a PNG, 1.0 when the header can't tell.
double pngAspect(std::string_view bytes);
// The first 32 hex digits of SHA-256: the name of every content-named file.
std::string sha(std::string_view bytes);
// Keeps letters, digits, blank, "_", "." and "-", then trims blanks.
std::string safeName(std::string_view name);
// The name's ASCII letters (lower-cased) and digits, each run of anything
// else one "-", none at either end; "" when nothing is left.
std::string slugOf(std::string_view name);
// "<slug>-<nowMs>"; the slug is "set" when the name has no letters or digits.
std::string newSetId(std::string_view name, std::int64_t nowMs);
std::int64_t nowMs();

std::optional<double> mtimeMs(const std::filesystem::path& file);
// Names in a folder; empty when it can't be read.
std::vector<std::string> files(const std::filesystem::path& folder);

std::string osParam(const Request& request);
std::string themeParam(const Request& request);
std::optional<std::string> appearanceParam(const Request& request);

// texts[page][locale]["screen"] as a string map; empty when any step is missing.
std::map<std::string, std::string> overrides(const JSONValue& texts, std::string_view page,
                                             std::string_view locale);

// The set's folder name under overlays/layers: anything outside [A-Za-z0-9_-] becomes "_".
std::string setFolder(std::string_view setId);

bool startsWith(std::string_view s, std::string_view prefix);
std::string toLower(std::string_view s);

// Reads a whole file; absent when it can't be read.
std::optional<std::string> readFile(const std::filesystem::path& file);

}  // namespace vells::backend

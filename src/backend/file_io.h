#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// Plain reads of the library's folders; none of them throws.
namespace vells::backend {

std::optional<double> mtimeMs(const std::filesystem::path& file);
// Names in a folder; empty when it can't be read.
std::vector<std::string> files(const std::filesystem::path& folder);
// Reads a whole file; absent when it can't be read.
std::optional<std::string> readFile(const std::filesystem::path& file);

}  // namespace vells::backend

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "document/records.h"

// Works out from file and folder names alone which picture of a drop belongs
// to which uploaded page and which language. Plain computing: no route, no
// upload; the same names always give the same plan, whatever order the
// files were made in.
namespace vells::capture::screen_import {

namespace fs = std::filesystem;

struct Assignment {
  fs::path file;
  SetPage page;
  // Absent: one screen shared by every language.
  std::optional<std::string> locale;
  friend bool operator==(const Assignment&, const Assignment&) = default;
};

struct Plan {
  std::vector<Assignment> assignments;
  // The files that got no page and the files that aren't pictures.
  std::vector<fs::path> unused;
};

Plan plan(const std::vector<fs::path>& dropped, const std::vector<SetPage>& pages,
          const std::vector<std::string>& localeCodes);

// The upload type by the extension: jpg/jpeg, webp, else png.
std::string mime(const fs::path& file);

// Files stay; a folder gives its files and those of its folders, hidden names
// left out and deeper folders ignored. Each folder's names in natural order.
std::vector<fs::path> expand(const std::vector<fs::path>& dropped);

// The language of a file: its parent folder's name when that is a code, else a
// code that ends its name after "-", "_", "@" or ".".
std::optional<std::string> localeOf(const fs::path& file, const std::vector<std::string>& codes);

// Lower case, letters and digits only.
std::string normalised(const std::string& text);

bool isPicture(const fs::path& file);
bool isHEIC(const fs::path& file);

}  // namespace vells::capture::screen_import

#include "capture/screen_import.h"

#include <QString>
#include <algorithm>
#include <map>
#include <system_error>

#include "backend/name_order.h"
#include "platform/ascii.h"

namespace vells::capture::screen_import {

namespace {

std::string extensionOf(const fs::path& file) {
  std::string ext = file.extension().string();
  if (!ext.empty()) ext.erase(0, 1);
  return platform::asciiLower(ext);
}

// By name as people read them, "2" before "10"; equal names fall back to the
// whole path, so the order never depends on how the files came in.
void sortNaturally(std::vector<fs::path>& files) {
  std::vector<std::string> names;
  names.reserve(files.size());
  for (const fs::path& file : files)
    names.push_back(file.filename().string());
  backend::sortForPeople(names);
  std::map<std::string, std::size_t> rank;
  for (std::size_t i = 0; i < names.size(); ++i)
    rank.emplace(names[i], i);
  std::sort(files.begin(), files.end(), [&](const fs::path& a, const fs::path& b) {
    const std::size_t ra = rank[a.filename().string()];
    const std::size_t rb = rank[b.filename().string()];
    return ra != rb ? ra < rb : a < b;
  });
}

bool hidden(const fs::path& entry) {
  const std::string name = entry.filename().string();
  return !name.empty() && name[0] == '.';
}

// The folder's visible entries in natural order; an unreadable folder is empty.
std::vector<fs::path> listing(const fs::path& folder) {
  std::vector<fs::path> out;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    if (!hidden(it->path())) out.push_back(it->path());
  }
  sortNaturally(out);
  return out;
}

bool isFolder(const fs::path& path) {
  std::error_code ec;
  return fs::is_directory(path, ec);
}

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

std::string normalised(const std::string& text) {
  QString out;
  for (const QChar c : QString::fromStdString(text).toLower()) {
    if (c.isLetterOrNumber()) out += c;
  }
  return out.toStdString();
}

bool isHEIC(const fs::path& file) {
  const std::string ext = extensionOf(file);
  return ext == "heic" || ext == "heif";
}

bool isPicture(const fs::path& file) {
  const std::string ext = extensionOf(file);
  return ext == "png" || ext == "jpg" || ext == "jpeg" || ext == "webp" || isHEIC(file);
}

std::string mime(const fs::path& file) {
  const std::string ext = extensionOf(file);
  if (ext == "jpg" || ext == "jpeg") return "image/jpeg";
  if (ext == "webp") return "image/webp";
  return "image/png";
}

std::vector<fs::path> expand(const std::vector<fs::path>& dropped) {
  std::vector<fs::path> files;
  for (const fs::path& item : dropped) {
    if (!isFolder(item)) {
      files.push_back(item);
      continue;
    }
    for (const fs::path& entry : listing(item)) {
      if (!isFolder(entry)) {
        files.push_back(entry);
        continue;
      }
      for (const fs::path& inner : listing(entry)) {
        if (!isFolder(inner)) files.push_back(inner);
      }
    }
  }
  return files;
}

std::optional<std::string> localeOf(const fs::path& file, const std::vector<std::string>& codes) {
  const std::string folder = file.parent_path().filename().string();
  for (const std::string& code : codes) {
    if (folder == code) return code;
  }
  const std::string stem = platform::asciiLower(file.stem().string());
  for (const std::string& code : codes) {
    const std::string lowered = platform::asciiLower(code);
    for (const char separator : {'-', '_', '@', '.'}) {
      if (endsWith(stem, separator + lowered)) return code;
    }
  }
  return std::nullopt;
}

Plan plan(const std::vector<fs::path>& dropped, const std::vector<SetPage>& pages,
          const std::vector<std::string>& localeCodes) {
  Plan result;
  std::vector<SetPage> uploads;
  std::copy_if(pages.begin(), pages.end(), std::back_inserter(uploads),
               [](const SetPage& page) { return page.source == PageSource::upload; });

  // The shared group first, then the languages in the set's order: each group
  // starts with every page, so one page takes one picture per language.
  std::vector<std::optional<std::string>> order{std::nullopt};
  for (const std::string& code : localeCodes)
    order.emplace_back(code);
  std::map<std::optional<std::string>, std::vector<fs::path>> groups;
  for (const fs::path& file : expand(dropped)) {
    if (isPicture(file)) {
      groups[localeOf(file, localeCodes)].push_back(file);
    } else {
      result.unused.push_back(file);
    }
  }

  for (const auto& locale : order) {
    const auto group = groups.find(locale);
    if (group == groups.end()) continue;
    std::vector<bool> taken(uploads.size(), false);
    std::vector<fs::path> remainder;
    const auto take = [&](std::size_t index, const fs::path& file) {
      taken[index] = true;
      result.assignments.push_back({file, uploads[index], locale});
    };
    for (const fs::path& file : group->second) {
      const std::string stem = normalised(file.stem().string());
      std::optional<std::size_t> match;
      for (std::size_t i = 0; i < uploads.size() && !match; ++i) {
        if (taken[i]) continue;
        const std::string id = normalised(uploads[i].id);
        const std::string label = normalised(uploads[i].label);
        if ((!id.empty() && stem == id) || (!label.empty() && stem == label)) match = i;
      }
      for (std::size_t i = 0; i < uploads.size() && !match; ++i) {
        if (taken[i]) continue;
        const std::string id = normalised(uploads[i].id);
        const std::string label = normalised(uploads[i].label);
        // An empty name is contained in every stem and would take anything.
        if ((!id.empty() && stem.find(id) != std::string::npos) ||
            (!label.empty() && stem.find(label) != std::string::npos)) {
          match = i;
        }
      }
      if (match) {
        take(*match, file);
      } else {
        remainder.push_back(file);
      }
    }
    sortNaturally(remainder);
    std::size_t next = 0;
    for (const fs::path& file : remainder) {
      while (next < uploads.size() && taken[next])
        ++next;
      if (next < uploads.size()) {
        take(next, file);
      } else {
        result.unused.push_back(file);
      }
    }
  }
  return result;
}

}  // namespace vells::capture::screen_import

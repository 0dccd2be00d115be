#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace vells::rendering {

// The checksum the ZIP format stores for every entry (reflected polynomial 0xEDB88320).
class CRC32 {
 public:
  static std::uint32_t checksum(std::string_view data);
};

// MS-DOS time and date fields of a ZIP entry, in local time.
struct DosTimestamp {
  std::uint16_t time = 0, date = 0;
  static DosTimestamp of(const std::tm& local);
  static DosTimestamp now();
};

// Writes a plain ZIP archive in memory: entries stored without compression
// (PNG gains nothing from it), UTF-8 names, no ZIP64. Callers stay under
// 65535 entries and 4 GB, which a set's images do by a wide margin.
class ZipWriter {
 public:
  // Throws std::invalid_argument for a name an extractor could be led out of
  // its folder by: absolute, with a "\\", a NUL or a ".." part, or too long.
  void add(std::string_view name, std::string_view data);
  void add(std::string_view name, std::string_view data, DosTimestamp stamp);
  // The archive; the writer is spent afterwards.
  std::string finish();
  std::uint16_t count() const { return count_; }
  // The number of entries of an archive `finish` made, from its end record;
  // 0 for anything too short to hold one.
  static std::uint16_t entriesOf(std::string_view archive);

 private:
  std::string data_, central_;
  std::uint16_t count_ = 0;
};

}  // namespace vells::rendering

#include "rendering/zip_writer.h"

#include <array>
#include <stdexcept>
#include <string>

namespace vells::rendering {

namespace {

constexpr std::uint16_t utf8Name = 0x0800;
constexpr std::uint16_t version = 20;

const std::array<std::uint32_t, 256>& crcTable() {
  static const std::array<std::uint32_t, 256> table = [] {
    std::array<std::uint32_t, 256> t{};
    for (std::uint32_t n = 0; n < 256; ++n) {
      std::uint32_t c = n;
      for (int k = 0; k < 8; ++k)
        c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[n] = c;
    }
    return t;
  }();
  return table;
}

void put16(std::string& out, std::uint16_t v) {
  out.push_back(static_cast<char>(v & 0xFF));
  out.push_back(static_cast<char>(v >> 8));
}

void put32(std::string& out, std::uint32_t v) {
  for (int shift = 0; shift < 32; shift += 8)
    out.push_back(static_cast<char>((v >> shift) & 0xFF));
}

// From "version needed" to "extra length": the same in the local header and
// in the central directory's record of an entry.
void putEntryFields(std::string& out, DosTimestamp stamp, std::uint32_t crc, std::uint32_t size,
                    std::uint16_t nameLength) {
  put16(out, version);
  put16(out, utf8Name);
  put16(out, 0);  // stored
  put16(out, stamp.time);
  put16(out, stamp.date);
  put32(out, crc);
  put32(out, size);  // compressed
  put32(out, size);
  put16(out, nameLength);
  put16(out, 0);  // extra
}

}  // namespace

std::uint32_t CRC32::checksum(std::string_view data) {
  const auto& table = crcTable();
  std::uint32_t c = 0xFFFFFFFFu;
  for (unsigned char byte : data)
    c = table[(c ^ byte) & 0xFF] ^ (c >> 8);
  return c ^ 0xFFFFFFFFu;
}

DosTimestamp DosTimestamp::of(const std::tm& local) {
  const int year = local.tm_year + 1900 < 1980 ? 1980 : local.tm_year + 1900;
  DosTimestamp stamp;
  stamp.time =
      static_cast<std::uint16_t>(local.tm_hour * 2048 + local.tm_min * 32 + local.tm_sec / 2);
  stamp.date =
      static_cast<std::uint16_t>((year - 1980) * 512 + (local.tm_mon + 1) * 32 + local.tm_mday);
  return stamp;
}

DosTimestamp DosTimestamp::now() {
  const std::time_t t = std::time(nullptr);
  std::tm local{};
  localtime_r(&t, &local);
  return of(local);
}

namespace {

void requireSafeEntryName(std::string_view name) {
  bool safe = !name.empty() && name.size() <= 0xFFFF && name.front() != '/' &&
              name.find_first_of(std::string_view("\\\0", 2)) == std::string_view::npos;
  for (std::size_t start = 0; safe;) {
    const auto slash = name.find('/', start);
    if (name.substr(start, slash - start) == "..") safe = false;
    if (slash == std::string_view::npos) break;
    start = slash + 1;
  }
  if (!safe) {
    throw std::invalid_argument("An archive entry can\u2019t be named \u201C" + std::string(name) +
                                "\u201D: it could be extracted outside its folder.");
  }
}

}  // namespace

void ZipWriter::add(std::string_view name, std::string_view data) {
  add(name, data, DosTimestamp::now());
}

void ZipWriter::add(std::string_view name, std::string_view data, DosTimestamp stamp) {
  requireSafeEntryName(name);
  const std::uint32_t crc = CRC32::checksum(data);
  const auto offset = static_cast<std::uint32_t>(data_.size());
  const auto size = static_cast<std::uint32_t>(data.size());
  const auto nameLength = static_cast<std::uint16_t>(name.size());

  put32(data_, 0x04034B50);
  putEntryFields(data_, stamp, crc, size, nameLength);
  data_.append(name);
  data_.append(data);

  put32(central_, 0x02014B50);
  put16(central_, version);  // made by
  putEntryFields(central_, stamp, crc, size, nameLength);
  put16(central_, 0);  // comment
  put16(central_, 0);  // disk
  put16(central_, 0);  // internal attributes
  put32(central_, 0);  // external attributes
  put32(central_, offset);
  central_.append(name);
  ++count_;
}

std::uint16_t ZipWriter::entriesOf(std::string_view archive) {
  // The total count sits 10 bytes into the 22-byte end record.
  if (archive.size() < 22) return 0;
  const auto at = [&](std::size_t k) { return static_cast<unsigned char>(archive[k]); };
  return static_cast<std::uint16_t>(at(archive.size() - 12) | (at(archive.size() - 11) << 8));
}

std::string ZipWriter::finish() {
  const auto start = static_cast<std::uint32_t>(data_.size());
  const auto centralSize = static_cast<std::uint32_t>(central_.size());
  data_.append(central_);
  put32(data_, 0x06054B50);
  put16(data_, 0);
  put16(data_, 0);
  put16(data_, count_);
  put16(data_, count_);
  put32(data_, centralSize);
  put32(data_, start);
  put16(data_, 0);
  central_.clear();
  return std::move(data_);
}

}  // namespace vells::rendering

// The archive format, byte by byte where it is a contract, and read back by
// Info-ZIP's own reader where it is about being a valid archive.
#include <gtest/gtest.h>

#include <fstream>

#include "backend/test_support.h"
#include "rendering/export_service.h"
#include "rendering/zip_writer.h"

namespace vells::testing {
namespace {

using rendering::CRC32;
using rendering::DosTimestamp;
using rendering::ZipWriter;

std::uint32_t le32(const std::string& b, std::size_t at) {
  std::uint32_t v = 0;
  for (int i = 3; i >= 0; --i)
    v = (v << 8) | static_cast<unsigned char>(b[at + i]);
  return v;
}
std::uint16_t le16(const std::string& b, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(b[at]) |
                                    (static_cast<unsigned char>(b[at + 1]) << 8));
}

TEST(CRC32, MatchesTheStandardCheckValues) {
  EXPECT_EQ(CRC32::checksum(""), 0u);
  EXPECT_EQ(CRC32::checksum("123456789"), 0xCBF43926u);
  EXPECT_EQ(CRC32::checksum("The quick brown fox jumps over the lazy dog"), 0x414FA339u);
}

TEST(DosTimestamp, PacksLocalTimeAndClampsOldYears) {
  std::tm t{};
  t.tm_year = 2026 - 1900;
  t.tm_mon = 10;  // November
  t.tm_mday = 23;
  t.tm_hour = 14;
  t.tm_min = 37;
  t.tm_sec = 59;
  const DosTimestamp s = DosTimestamp::of(t);
  EXPECT_EQ(s.time, 14 * 2048 + 37 * 32 + 29);
  EXPECT_EQ(s.date, (2026 - 1980) * 512 + 11 * 32 + 23);
  t.tm_year = 1975 - 1900;
  EXPECT_EQ(DosTimestamp::of(t).date, 0 * 512 + 11 * 32 + 23);
}

TEST(ZipWriter, EmptyArchiveIsTheBareEndRecord) {
  const std::string zip = ZipWriter().finish();
  ASSERT_EQ(zip.size(), 22u);
  EXPECT_EQ(le32(zip, 0), 0x06054B50u);
  EXPECT_EQ(zip.substr(4), std::string(18, '\0'));
}

TEST(ZipWriter, HeadersCarryUtf8NamesAndSizesAndReadBack) {
  ZipWriter writer;
  const std::string name =
      "de/01-\xC3\xBC"
      "bersicht.png";  // "übersicht": 11 letters, 12 bytes
  const std::string first = "first entry's bytes";
  writer.add(name, first, DosTimestamp{0x7000, 0x5B77});
  writer.add("en/100-home.png", std::string(70000, 'x'));
  ASSERT_EQ(writer.count(), 2);
  const std::string zip = writer.finish();

  // Local header of the first entry.
  EXPECT_EQ(le32(zip, 0), 0x04034B50u);
  EXPECT_EQ(le16(zip, 6), 0x0800);  // UTF-8 name
  EXPECT_EQ(le16(zip, 8), 0);       // stored
  EXPECT_EQ(le16(zip, 10), 0x7000);
  EXPECT_EQ(le16(zip, 12), 0x5B77);
  EXPECT_EQ(le32(zip, 14), CRC32::checksum(first));
  EXPECT_EQ(le32(zip, 18), first.size());
  EXPECT_EQ(le16(zip, 26), name.size());
  EXPECT_EQ(zip.substr(30, name.size()), name);
  EXPECT_EQ(zip.substr(30 + name.size(), first.size()), first);

  // The end record points at a directory of two records.
  const std::size_t end = zip.size() - 22;
  EXPECT_EQ(le32(zip, end), 0x06054B50u);
  EXPECT_EQ(le16(zip, end + 8), 2);
  EXPECT_EQ(le16(zip, end + 10), 2);
  const std::uint32_t start = le32(zip, end + 16);
  EXPECT_EQ(le32(zip, end + 12), end - start);
  EXPECT_EQ(le32(zip, start), 0x02014B50u);
  EXPECT_EQ(le32(zip, start + 42), 0u);  // the first entry's offset

  TempDir dir;
  const auto file = dir.path() / "a.zip";
  std::ofstream(file, std::ios::binary) << zip;
  const std::string test = runCommand("unzip -t '" + file.string() + "'");
  EXPECT_NE(test.find("No errors detected"), std::string::npos) << test;
  // Info-ZIP shows names of archives "made by" MS-DOS in the OEM code page,
  // whatever the UTF-8 flag says; the name's bytes are checked above.
  const std::string listed = runCommand("unzip -Z1 '" + file.string() + "'");
  EXPECT_TRUE(listed.starts_with("de/01-") && listed.ends_with("bersicht.png\nen/100-home.png\n"))
      << listed;
}

TEST(ExportEntryName, NumbersHaveTwoDigitsAtLeastAndAreNeverCut) {
  EXPECT_EQ(rendering::exportEntryName("", 1, "home"), "01-home.png");
  EXPECT_EQ(rendering::exportEntryName("pt-BR/", 12, "focus"), "pt-BR/12-focus.png");
  EXPECT_EQ(rendering::exportEntryName("en/", 100, "home"), "en/100-home.png");
}

}  // namespace
}  // namespace vells::testing

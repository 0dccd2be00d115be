// `vellora-cli export` on a real library with the fixture script and the real
// browser: what it refuses, what it renders and the archive it leaves.
#include <gtest/gtest.h>

#include <sstream>

#include "backend/images.h"
#include "backend/test_support.h"
#include "cli/export_command.h"
#include "cli/request_command.h"
#include "rendering/fixture_backend.h"
#include "routes/cache_routes.h"
#include "routes/page_routes.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;

class ExportCommand : public ::testing::Test {
 protected:
  ExportCommand()
      : b(fixtureBackend(dir, renderer, {&routes::pageRoutes, &routes::exportRoutes})) {}

  int run(std::vector<std::string> args) {
    out.str("");
    err.str("");
    return cli::exportCommand(args, *b, renderer, out, err);
  }

  rendering::HTMLRenderer renderer{2};
  TempDir dir;
  std::unique_ptr<LocalBackend> b;
  std::ostringstream out, err;
};

TEST_F(ExportCommand, RefusesWhatItCannotDoWithoutWritingAnything) {
  const auto zip = dir.path() / "a.zip";
  EXPECT_EQ(run({"--os", "windows", "-o", zip.string()}), cli::kExitUsage);
  EXPECT_NE(err.str().find("--os must be ios or android"), std::string::npos);
  EXPECT_EQ(run({"--set", "default"}), cli::kExitUsage);
  EXPECT_NE(err.str().find("-o FILE.zip"), std::string::npos);
  EXPECT_EQ(run({"--locale"}), cli::kExitUsage);
  EXPECT_EQ(run({"--set", "nosuch", "-o", zip.string()}), cli::kExitStatus);
  EXPECT_NE(err.str().find("There is no set 'nosuch'"), std::string::npos);
  EXPECT_EQ(run({"--locale", "fr", "-o", zip.string()}), cli::kExitStatus);
  EXPECT_NE(err.str().find("Unknown locale for this set"), std::string::npos);
  EXPECT_FALSE(fs::exists(zip));
}

TEST_F(ExportCommand, RendersEveryImageWithProgressThenWritesTheArchive) {
  const auto zip = dir.path() / "out" / "set.zip";
  fs::create_directories(zip.parent_path());
  ASSERT_EQ(run({"--os", "android", "--theme", "dark", "-o", zip.string()}), cli::kExitOK)
      << err.str();
  const std::string progress = err.str();
  for (const char* line : {"/4] en home android dark: ", "/4] de bare android dark: ", "[4/4] ",
                           "Wrote 4 images to "}) {
    EXPECT_NE(progress.find(line), std::string::npos) << line << " in:\n" << progress;
  }
  auto bytes = backend::readFile(zip);
  ASSERT_TRUE(bytes);
  EXPECT_EQ(bytes->substr(0, 4), "PK\x03\x04");
  EXPECT_EQ(static_cast<unsigned char>((*bytes)[bytes->size() - 12]),
            4);  // entries in the end record
  // One locale alone, from images the first run left in the cache.
  ASSERT_EQ(run({"--os", "android", "--theme", "dark", "--locale", "de", "-o", zip.string()}),
            cli::kExitOK);
  EXPECT_NE(err.str().find("Wrote 2 images"), std::string::npos) << err.str();
}

TEST_F(ExportCommand, AFailedRenderStopsTheExportAndSaysWhy) {
  ::setenv("VELLS_CHROMIUM", "/nonexistent/browser", 1);
  const auto zip = dir.path() / "a.zip";
  const int code = run({"--locale", "en", "-o", zip.string()});
  ::unsetenv("VELLS_CHROMIUM");
  EXPECT_EQ(code, cli::kExitStatus);
  EXPECT_NE(err.str().find("could not be rendered: The browser /nonexistent/browser is not "
                           "installed"),
            std::string::npos)
      << err.str();
  EXPECT_FALSE(fs::exists(zip));
}

}  // namespace
}  // namespace vells::testing

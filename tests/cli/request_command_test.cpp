#include <gtest/gtest.h>

#include <sstream>

#include "backend/test_support.h"
#include "cli/request_command.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;

struct CommandResult {
  int code;
  std::string out, err;
};

class RequestCommand : public ::testing::Test {
 protected:
  CommandResult run(std::vector<std::string> args, const std::string& stdinBytes = "") {
    std::istringstream in(stdinBytes);
    std::ostringstream out, err;
    int code = cli::requestCommand(args, backend, in, out, err);
    return {code, out.str(), err.str()};
  }
  TempDir dir;
  LocalBackend backend{LocalLibrary(dir.path() / "lib"), std::make_shared<FakeCore>()};
};

TEST_F(RequestCommand, StatusAndBodyGoToTheirStreams) {
  auto r = run({"GET", "/health"});
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, R"({"ok":true})");
  EXPECT_EQ(r.err, "HTTP 200 application/json\n");

  r = run({"post", "/api/texts?set=a", "--body", "-"}, "[1");
  EXPECT_EQ(r.code, 1);
  EXPECT_EQ(r.out, R"({"error":"Bad JSON body","ok":false})");
  EXPECT_EQ(r.err, "HTTP 400 application/json\n");

  r = run({"GET", "/nowhere"});
  EXPECT_EQ(r.code, 1);
  EXPECT_EQ(r.err, "HTTP 404 text/plain; charset=utf-8\n");
}

TEST_F(RequestCommand, BodyFromAFileAndOutputToAFile) {
  writeFile(dir.path() / "doc.json", R"({"home":{"en":{"title":"Hi"}}})");
  auto r = run({"POST", "vells://local/api/texts?set=a", "--body",
                (dir.path() / "doc.json").string(), "--content-type", "application/json"});
  EXPECT_EQ(r.code, 0) << r.err;
  const fs::path target = dir.path() / "out.json";
  r = run({"GET", "/api/texts?set=a", "-o", target.string()});
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(*backend::readFile(target), R"({"home":{"en":{"title":"Hi"}}})");
  EXPECT_FALSE(fs::exists(dir.path() / "out.json.part"));

  writeFile(dir.path() / "pattern-assets" / "pattern" / "wiggle.svg", "<svg/>");
  LocalBackend withAssets(LocalLibrary(dir.path() / "lib2"),
                          std::make_shared<FakeCore>(dir.path() / "pattern-assets"));
  std::istringstream in;
  std::ostringstream out, err;
  EXPECT_EQ(cli::requestCommand({"GET", "/pattern/wiggle.svg"}, withAssets, in, out, err), 0);
  EXPECT_EQ(err.str(),
            "HTTP 200 image/svg+xml\nCache-Control: public, max-age=31536000, immutable\n");
}

TEST_F(RequestCommand, UsageErrorsTouchNothing) {
  for (const auto& args :
       std::vector<std::vector<std::string>>{{},
                                             {"GET"},
                                             {"GET", "health"},
                                             {"GET", "/health", "extra"},
                                             {"GET", "/health", "--body"},
                                             {"GET", "/health", "--bogus"},
                                             {"POST", "/api/texts", "--body", "/no/such/file"}}) {
    auto r = run(args);
    EXPECT_EQ(r.code, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_NE(r.err.find("vellora-cli request --help"), std::string::npos);
  }
  EXPECT_FALSE(fs::exists(dir.path() / "lib"));  // the library was never opened
  auto help = run({"--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_NE(help.out.find("--if-none-match"), std::string::npos);
}

}  // namespace
}  // namespace vells::testing

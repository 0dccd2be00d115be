// Store sizes, the upload folders and the store check on a real library with
// the shipped core script and the real browser.
#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <sstream>

#include "backend/images.h"
#include "backend/test_support.h"
#include "backend/url_request.h"
#include "cli/check_command.h"
#include "cli/export_command.h"
#include "cli/request_command.h"
#include "rendering/composite.h"
#include "routes/local_service.h"

namespace vells::testing {
namespace {

const std::vector<std::string> kLocales{"en", "de", "ja", "ar", "pt-BR", "zh-Hans"};

cv::Mat decode(const std::string& bytes) {
  cv::Mat raw(1, static_cast<int>(bytes.size()), CV_8UC1, const_cast<char*>(bytes.data()));
  return cv::imdecode(raw, cv::IMREAD_UNCHANGED);
}

double meanAbsDiff(const cv::Mat& a, const cv::Mat& b) {
  cv::Mat diff;
  cv::absdiff(a, b, diff);
  const cv::Scalar m = cv::mean(diff);
  return (m[0] + m[1] + m[2]) / 3.0;
}

// One library shared by the cases: a set of two built-in pages in six
// locales, its phone plain (no decoration) so the extended strips show
// only what the background does.
class StoreExport : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir = std::make_unique<TempDir>();
    service = std::make_unique<routes::LocalService>(routes::makeLocalService(
        {backend::LocalLibrary(dir->path() / "lib"), fs::path(VELLS_SOURCE_RESOURCES), 2}));
    backend::LocalBackend& b = *service->backend;
    b.start();
    // Built-in pages belong to the sample app, so the set is filed under it.
    const std::string appId = JSONValue::parse(call("GET", "/api/config", JSONValue()))
                                  .stringAt("pagesAppId")
                                  .value_or("");
    call("POST", "/api/orvo/apps/save",
         JSONValue(JSONValue::Object{
             {"appId", appId},
             {"info", JSONValue::Object{
                          {"name", "Tempo"},
                          {"unlisted", true},
                          {"profile", JSONValue::Object{
                                          {"platforms", JSONValue::Array{"ios", "android"}}}}}}}));
    JSONValue::Array locales;
    for (const auto& l : kLocales)
      locales.emplace_back(l);
    const auto made = call(
        "POST", "/api/sets",
        JSONValue(JSONValue::Object{{"name", "Store"}, {"appId", appId}, {"locales", locales}}));
    set = JSONValue::parse(made).stringAt("id").value_or("");
    ASSERT_FALSE(set.empty()) << made;
    call("POST", "/api/pages?set=" + set,
         JSONValue(JSONValue::Object{
             {"pages",
              JSONValue::Array{JSONValue::Object{{"id", "home"}, {"source", "builtin"}},
                               JSONValue::Object{{"id", "focus"}, {"source", "builtin"}}}}}));
    call("POST", "/api/styles?set=" + set,
         JSONValue(JSONValue::Object{{"home", JSONValue::Object{{"decor", "none"}}}}));
  }
  static void TearDownTestSuite() {
    service.reset();
    dir.reset();
  }

  static std::string call(const std::string& method, const std::string& path,
                          const JSONValue& body) {
    const backend::Response r = service->backend->handle(
        backend::requestFromURL(path, method, body.isNull() ? std::string() : body.dump()));
    EXPECT_EQ(r.status, 200) << method << " " << path << ": " << r.body;
    return r.body;
  }

  static cv::Mat composite(const std::string& os, std::optional<rendering::StoreSize> size) {
    rendering::Compositor compositor(*service->backend, *service->renderer);
    rendering::CompositeRequest r;
    r.set = set;
    r.page = "home";
    r.os = os;
    r.theme = "light";
    r.locale = "en";
    r.size = size;
    const auto result = compositor.composite(r);
    EXPECT_TRUE(result && result->ready);
    const std::string bytes = backend::readFile(result->path).value_or("");
    EXPECT_LT(bytes.size(), 8u * 1024 * 1024);
    EXPECT_EQ(static_cast<unsigned char>(bytes.size() > 25 ? bytes[25] : 0), 2) << "RGB, no alpha";
    return decode(bytes);
  }

  int run(int (*command)(const std::vector<std::string>&, backend::LocalBackend&,
                         rendering::HTMLRenderer&, std::ostream&, std::ostream&),
          const std::vector<std::string>& args) {
    out.str("");
    err.str("");
    return command(args, *service->backend, *service->renderer, out, err);
  }

  static std::unique_ptr<TempDir> dir;
  static std::unique_ptr<routes::LocalService> service;
  static std::string set;
  std::ostringstream out, err;
};
std::unique_ptr<TempDir> StoreExport::dir;
std::unique_ptr<routes::LocalService> StoreExport::service;
std::string StoreExport::set;

TEST_F(StoreExport, EverySizeIsExactAndTheDesignKeepsItsPlaceAndScale) {
  const cv::Mat own = composite("ios", std::nullopt);
  ASSERT_EQ(own.cols, 1242);
  ASSERT_EQ(own.rows, 2688);
  for (const std::string os : {"ios", "android"}) {
    for (const auto& size : rendering::storeSizes(os)) {
      SCOPED_TRACE(os + " " + size.name());
      const cv::Mat image = composite(os, size);
      ASSERT_EQ(image.cols, size.width);
      ASSERT_EQ(image.rows, size.height);
      ASSERT_EQ(image.channels(), 3);
      if (os != "ios") continue;
      // The design part, brought back to the 6.5" scale, is the 6.5" image:
      // the phone, title and layers lie where they lay, at one scale.
      const rendering::StoreFit fit = rendering::storeFit({621, 1344}, size.width, size.height);
      const cv::Rect design(static_cast<int>(std::lround(fit.side * fit.scale)), 0,
                            static_cast<int>(std::lround(621 * fit.scale)),
                            static_cast<int>(std::lround(1344 * fit.scale)));
      cv::Mat back;
      cv::resize(image(design), back, own.size(), 0, 0, cv::INTER_AREA);
      EXPECT_LT(meanAbsDiff(back, own), 3.0);
    }
  }
  // The strips a size adds carry on the background next to them.
  const cv::Mat taller = composite("ios", rendering::parseStoreSize("ios", "1320x2868"));
  // Beside the phone, which runs on down into the strip.
  for (const cv::Range side : {cv::Range(0, 40), cv::Range(1280, 1320)}) {
    EXPECT_LT(meanAbsDiff(taller.row(2867).colRange(side), taller.row(2852).colRange(side)), 6.0);
  }
  const cv::Mat wider = composite("ios", rendering::parseStoreSize("android", "1080x1920"));
  EXPECT_LT(meanAbsDiff(wider.col(4).rowRange(0, 300), wider.col(110).rowRange(0, 300)), 6.0);
  EXPECT_LT(meanAbsDiff(wider.col(1075).rowRange(0, 300), wider.col(970).rowRange(0, 300)), 6.0);
}

TEST_F(StoreExport, TheUploadLayoutUsesEachStoresLocaleCodesAndPassesTheCheck) {
  const fs::path upload = dir->path() / "fastlane";
  ASSERT_EQ(run(&cli::exportCommand,
                {"--layout", "upload", "--set", set, "--theme", "light", "-o", upload.string()}),
            cli::kExitOK)
      << err.str();
  const std::vector<std::pair<std::string, std::string>> codes{
      {"en-US", "en-US"}, {"de-DE", "de-DE"}, {"ja", "ja-JP"},
      {"ar-SA", "ar"},    {"pt-BR", "pt-BR"}, {"zh-Hans", "zh-CN"}};
  for (const auto& [apple, play] : codes) {
    for (const char* file : {"01_home.png", "02_focus.png"}) {
      SCOPED_TRACE(apple + " " + file);
      const fs::path ios = upload / "screenshots" / apple / file;
      const fs::path android =
          upload / "metadata" / "android" / play / "images" / "phoneScreenshots" / file;
      ASSERT_TRUE(fs::exists(ios));
      ASSERT_TRUE(fs::exists(android));
      EXPECT_EQ(decode(backend::readFile(ios).value_or("")).cols, 1320);
      EXPECT_EQ(decode(backend::readFile(android).value_or("")).cols, 1284);
    }
  }
  EXPECT_NE(err.str().find("Wrote 24 images to "), std::string::npos) << err.str();

  EXPECT_EQ(run(&cli::checkCommand, {upload.string()}), cli::kExitOK) << out.str() << err.str();
  EXPECT_NE(out.str().find("Checked 24 images: nothing would be rejected"), std::string::npos)
      << out.str();

  // A planted image with transparency and a fourth-class size: rejected, in words.
  cv::Mat clear(2868, 1320, CV_8UC4, cv::Scalar(0, 0, 0, 0));
  cv::imwrite((upload / "screenshots" / "de-DE" / "03_clear.png").string(), clear);
  EXPECT_EQ(run(&cli::checkCommand, {upload.string()}), cli::kExitStatus);
  EXPECT_NE(out.str().find("Rejected: ios de-DE clear: has an alpha channel"), std::string::npos)
      << out.str();
}

TEST_F(StoreExport, CheckingASetRendersItAndMeasuresItsCaptions) {
  EXPECT_EQ(run(&cli::checkCommand, {"--set", set, "--os", "android", "--theme", "light"}),
            cli::kExitOK)
      << out.str() << err.str();
  EXPECT_NE(out.str().find("Checked 12 images: nothing would be rejected"), std::string::npos)
      << out.str();
  EXPECT_EQ(run(&cli::checkCommand, {"--set", set, "--size", "99x99"}), cli::kExitUsage);
  EXPECT_NE(err.str().find("There is no iOS size '99x99'. The sizes are: 1320x2868"),
            std::string::npos)
      << err.str();
  EXPECT_EQ(run(&cli::exportCommand, {"--layout", "folders", "-o", "x"}), cli::kExitUsage);
  EXPECT_NE(err.str().find("The layouts are: zip"), std::string::npos) << err.str();
}

}  // namespace
}  // namespace vells::testing

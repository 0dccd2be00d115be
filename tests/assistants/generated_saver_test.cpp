// Saving a job's results into a real library: pages, titles, styles by
// direction, layers on the platform's canvas, text fit for every page in
// every language, and nothing at all after a stop.
#include <gtest/gtest.h>

#include <QSettings>

#include "assistants/generate_flow.h"
#include "assistants/generation_fixture.h"
#include "models/app_model.h"
#include "models/model_library.h"

namespace vells::assistants {
namespace {

using Phase = ScreenshotGenerator::Phase;

class GeneratedSaverTest : public ::testing::Test {
 protected:
  GeneratedSaverTest() {
    // The library answers everything but the drawing and measuring, which
    // need the browser: those requests are only counted.
    f.transport.setAnswer([this](const backend::Request& r) {
      if (r.path == "/api/text-fit")
        return backend::Response::json(JSONValue::Object{{"ok", false}}, 404);
      if (r.path == "/api/screen-html")
        return backend::Response::json(JSONValue::Object{{"ok", true}});
      return library.backend->handle(r);
    });
    testing::call(*library.backend, "POST", "/api/sets",
                  R"({"name":"Leafy","locales":["en","de"]})");
    const JSONValue sets = testing::bodyJSON(testing::call(*library.backend, "GET", "/api/sets"));
    for (const JSONValue& s : *sets.asArray()) {
      if (s.stringAt("name") == "Leafy") set = *s.stringAt("id");
    }
  }

  std::string documents() {
    std::string all;
    for (const char* route : {"/api/pages", "/api/texts", "/api/styles", "/api/order"})
      all += testing::call(*library.backend, "GET", std::string(route) + "?set=" + set).body + "\n";
    return all;
  }

  std::vector<std::string> fits() {
    std::vector<std::string> seen;
    for (const auto& r : f.transport.requests()) {
      if (r.path == "/api/text-fit")
        seen.push_back(r.query.at("page") + "@" + r.query.at("locale"));
    }
    std::sort(seen.begin(), seen.end());
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
    return seen;
  }

  GenerationFixture f;
  testing::ModelLibrary library;
  std::string set;
  QTemporaryDir settingsDir;
  QSettings defaults{settingsDir.filePath(QStringLiteral("vellora.conf")), QSettings::IniFormat};
};

TEST_F(GeneratedSaverTest, ResultsBecomePagesTitlesStylesAndLayersWithTextFitForEveryLocale) {
  const QString leaf = QStringLiteral(VELLS_TEST_FIXTURES "/generate/app/Assets/leaf.png");
  GeneratedSaver saver(f.client, defaults);
  bool prepared = false;
  saver.preparePages(
      set,
      {{QStringLiteral("home"), QStringLiteral("Today"), {}, QStringLiteral("Home.swift"), true},
       {QStringLiteral("stats"), QStringLiteral("Stats"), {}, {}, true}},
      [&](std::optional<QString> error) { prepared = !error; });
  ASSERT_TRUE(waitUntil([&] { return prepared; }));

  GeneratedSaver::SaveRequest request;
  request.set = set;
  request.results[QStringLiteral("home")] = {
      {{QStringLiteral("en"), QStringLiteral("Never *forget*")}, {QStringLiteral("de"), QString()}},
      {{QStringLiteral("gradFrom"), QStringLiteral("#112233")},
       {QStringLiteral("gradTo"), QStringLiteral("red")},
       {QStringLiteral("gradAngle"), QStringLiteral("wide")}},
      {leaf, QStringLiteral("/no/such.png")},
      {{QStringLiteral("made-1.png"), 300, QStringLiteral("callout")}},
      {}};
  request.results[QStringLiteral("stats")] = {
      {{QStringLiteral("de"), QStringLiteral("Alles *im Blick*")}},
      {{QStringLiteral("gradAngle"), QStringLiteral("120")}},
      {},
      {},
      {}};
  request.font = QStringLiteral("openrunde");
  request.direction = StyleDirection::playful;
  request.order = {QStringLiteral("home"), QStringLiteral("stats")};
  request.os = DeviceOS::android;
  request.locales = {"en", "de"};
  bool saved = false;
  saver.saveGenerated(request, [&] { saved = true; });
  ASSERT_TRUE(waitUntil([&] { return saved; }));

  EXPECT_EQ(fits(), (std::vector<std::string>{"home@de", "home@en", "stats@de", "stats@en"}));
  const JSONValue pages =
      testing::bodyJSON(testing::call(*library.backend, "GET", "/api/pages?set=" + set));
  EXPECT_EQ(
      pages.dump(),
      R"({"pages":[{"id":"home","label":"Today","source":"upload"},{"id":"stats","label":"Stats","source":"upload"}]})");
  EXPECT_EQ(defaults.value(models::AppModel::generatedFilesKey(set))
                .toMap()
                .value(QStringLiteral("home")),
            QStringLiteral("Home.swift"));

  const TextsDocument texts = decodeTextsDocument(
      testing::bodyJSON(testing::call(*library.backend, "GET", "/api/texts?set=" + set)));
  EXPECT_EQ(texts.at("home").at("en").title, "Never *forget*");
  EXPECT_FALSE(texts.at("home").contains("de"));
  EXPECT_EQ(texts.at("stats").at("de").title, "Alles *im Blick*");

  const StylesDocument styles = decodeStylesDocument(
      testing::bodyJSON(testing::call(*library.backend, "GET", "/api/styles?set=" + set)));
  const VellStyle& home = styles.at("home");
  EXPECT_EQ(home.gradFrom, "#112233");
  EXPECT_FALSE(home.gradTo);
  EXPECT_FALSE(home.gradAngle);
  EXPECT_EQ(home.titleFont, "openrunde");
  EXPECT_EQ(home.bgPattern, "none");
  EXPECT_EQ(home.phoneRotateZ, -5);
  EXPECT_EQ(styles.at("stats").phoneRotateZ, 5);
  EXPECT_EQ(styles.at("stats").gradAngle, 120);
  const auto layers = VellLayer::list(*home.layers);
  ASSERT_EQ(layers.size(), 2U);
  EXPECT_TRUE(layers[0].sticker);
  EXPECT_EQ(layers[0].name, "Leaf");
  // The callout on the Android canvas: page 0, item 0 goes left, scaled from the iOS slot.
  EXPECT_EQ(layers[1].name, "Callout");
  EXPECT_DOUBLE_EQ(layers[1].w, std::round(300.0 * 642 / 621));
  EXPECT_DOUBLE_EQ(layers[1].x, std::round((150.0 + 68 - 40) * 642 / 621));
  EXPECT_DOUBLE_EQ(layers[1].y, std::round(720.0 * 1389 / 1344));
}

TEST_F(GeneratedSaverTest, AStopBeforeSavingLeavesTheSetByteForByte) {
  testing::call(*library.backend, "POST", "/api/pages?set=" + set,
                R"({"pages":[{"id":"old","label":"Old","source":"upload"}]})");
  testing::call(*library.backend, "POST", "/api/texts?set=" + set,
                R"({"old":{"en":{"title":"Kept"}}})");
  testing::call(*library.backend, "POST", "/api/styles?set=" + set,
                R"({"old":{"gradFrom":"#000000"}})");
  const std::string before = documents();

  f.when(QStringLiteral("Page id \"s1\""),
         QStringLiteral(
             "reply {\"titles\":{\"en\":\"New\"},\"screens\":{\"ios\":\"<html>x</html>\"}}"));
  f.when(QStringLiteral("You are making ONE"), QStringLiteral("sleep 400\nhang"));
  f.when(QStringLiteral("The current directory is the source code"),
         QStringLiteral(
             "reply "
             "{\"screens\":[{\"id\":\"s1\",\"name\":\"One\"},{\"id\":\"s2\",\"name\":\"Two\"}]}"));
  GenerateFlow::Options options;
  options.set = set;
  options.folder = f.app.path();
  GenerateFlow flow(f.client, defaults, options);
  flow.chooseTool(f.tool);
  ASSERT_TRUE(waitUntil([&] { return flow.generator().phase() == Phase::choosing; }));
  flow.startRender();
  ASSERT_TRUE(waitUntil([&] { return flow.generator().renderedScreens() == 1; }));
  flow.stop();
  ASSERT_TRUE(
      waitUntil([&] { return flow.generator().runningChildren() == 0; }, std::chrono::seconds(8)));
  waitUntil([] { return false; }, std::chrono::milliseconds(200));
  EXPECT_EQ(documents(), before);
  EXPECT_TRUE(fits().empty());
}

}  // namespace
}  // namespace vells::assistants

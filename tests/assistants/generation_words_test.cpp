// The pure parts of generation: reading replies, the directions, the prompts
// against their written wording, the HTML made ready for the renderer and the
// places of saved layers.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "assistants/discovery_reply.h"
#include "assistants/fake_tools.h"
#include "assistants/generated_saver.h"
#include "assistants/screen_prompts.h"
#include "assistants/screen_result.h"
#include "assistants/style_direction.h"

namespace vells::assistants {
namespace {

QString fixture(const QString& name) {
  QFile file(QStringLiteral(VELLS_TEST_FIXTURES "/generate/") + name);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
  return QString::fromUtf8(file.readAll());
}

QStringList ids(const std::vector<FoundScreen>& screens) {
  QStringList list;
  for (const auto& s : screens)
    list << s.id;
  return list;
}

TEST(DiscoveryReplyTest, ScreensParseFromFencesAndBareArraysWithUniqueIds) {
  const QString fenced = QStringLiteral(
      "Sure! Here it is:\n```json\n{\"screens\":[{\"id\":\"Home Screen\",\"name\":\"Home\"},"
      "{\"name\":\"Home\"},{\"id\":\"home\",\"name\":\"Again\",\"recommended\":true},"
      "{\"name\":\"\"},{\"summary\":\"no "
      "name\"},{\"name\":\"Заметки\"},{\"name\":\"日記\"}]}\n```");
  const auto screens = DiscoveryReply::parseScreens(fenced);
  EXPECT_EQ(ids(screens), (QStringList{"home-screen", "home", "home-2", "screen", "screen-2"}));
  EXPECT_TRUE(screens[2].recommended);
  EXPECT_FALSE(screens[0].recommended);

  const auto bare = DiscoveryReply::parseScreens(
      QStringLiteral("[{\"name\":\"A\"},{\"name\":\"A\"},{\"name\":\"A\"}]"));
  EXPECT_EQ(ids(bare), (QStringList{"a", "a-2", "a-2-2"}));
  EXPECT_FALSE(DiscoveryReply::parseDesign(QStringLiteral("[{\"name\":\"A\"}]"), QDir::tempPath()));
  EXPECT_FALSE(DiscoveryReply::parseSupport(QStringLiteral("[{\"name\":\"A\"}]")));
  EXPECT_TRUE(
      DiscoveryReply::parseScreens(QStringLiteral("I could not find any screens.")).empty());
  EXPECT_TRUE(DiscoveryReply::parseScreens(QStringLiteral("{\"screens\": [broken")).empty());
}

TEST(DiscoveryReplyTest, DesignKeepsOnlyPicturesInsideTheFolderAndSupportIsNeverEmpty) {
  QTemporaryDir root;
  const QString app = root.filePath(QStringLiteral("app"));
  QDir().mkpath(app + QStringLiteral("/art"));
  for (const QString& name : {QStringLiteral("app/art/leaf.png"),
                              QStringLiteral("app/art/anim.gif"), QStringLiteral("outside.png")}) {
    QFile file(root.filePath(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("x");
  }
  const QString reply =
      QStringLiteral(
          "{\"design\":{\"mood\":\"premium\",\"background\":\"flat\",\"colors\":[\"#112233\","
          "\"red\",3],\"font\":\"comic\",\"stickers\":true,\"stickerAssets\":["
          "{\"name\":\"Leaf\",\"path\":\"art/leaf.png\"},{\"path\":\"%1/art/leaf.png\"},"
          "{\"path\":\"art/anim.gif\"},{\"path\":\"art/none.png\"},{\"path\":\"../outside.png\"},"
          "{\"path\":\"%2\"},{\"name\":\"no path\"}]},"
          "\"support\":{\"ios\":false,\"android\":false,\"dark\":false,\"light\":false}}")
          .arg(app, root.filePath(QStringLiteral("outside.png")));
  const auto design = DiscoveryReply::parseDesign(reply, app);
  ASSERT_TRUE(design);
  EXPECT_EQ(design->background, QStringLiteral("gradient"));
  EXPECT_EQ(design->font, QStringLiteral("nunito"));
  EXPECT_EQ(design->colors, QStringList{QStringLiteral("#112233")});
  ASSERT_EQ(design->stickerAssets.size(), 2U);
  EXPECT_EQ(design->stickerAssets[0].name, QStringLiteral("Leaf"));
  EXPECT_EQ(design->stickerAssets[0].path, app + QStringLiteral("/art/leaf.png"));
  EXPECT_EQ(design->stickerAssets[1].name, QStringLiteral("leaf.png"));

  const auto support = DiscoveryReply::parseSupport(reply);
  ASSERT_TRUE(support);
  EXPECT_TRUE(support->ios);
  EXPECT_TRUE(support->light);
  EXPECT_FALSE(support->android);
}

TEST(StyleDirectionTest, SuggestionAndGuidanceFollowTheMoodStickersAndRealProof) {
  EXPECT_EQ(suggestedDirection(std::nullopt), StyleDirection::minimal);
  Design design;
  design.mood = QStringLiteral("premium");
  EXPECT_EQ(suggestedDirection(design), StyleDirection::callouts);
  design.mood = QStringLiteral("calm");
  design.suggestsStickers = true;
  EXPECT_EQ(suggestedDirection(design), StyleDirection::minimal);
  design.stickerAssets = {{QStringLiteral("Leaf"), QStringLiteral("/a/leaf.png")}};
  EXPECT_EQ(suggestedDirection(design), StyleDirection::minimalStickers);

  const QString ratingOnly = guidance(StyleDirection::socialProof, {}, QStringLiteral("4.8"), {});
  EXPECT_TRUE(ratingOnly.contains(QStringLiteral("rating 4.8 stars. ")));
  EXPECT_FALSE(ratingOnly.contains(QStringLiteral("Review: ")));
  const QString reviewOnly =
      guidance(StyleDirection::socialProof, {}, {}, QStringLiteral("Lovely"));
  EXPECT_TRUE(reviewOnly.contains(QStringLiteral("Review: \"Lovely\" Make ONE clean review card")));
  EXPECT_FALSE(reviewOnly.contains(QStringLiteral("rating ")));
  EXPECT_TRUE(
      guidance(StyleDirection::socialProof, {}, {}, {}).contains(QStringLiteral("do NOT invent")));
  EXPECT_TRUE(
      guidance(StyleDirection::playful, {}, {}, {}).contains(QStringLiteral("4 simple shapes")));
  EXPECT_TRUE(guidance(StyleDirection::minimalStickers, {}, {}, {})
                  .endsWith(QStringLiteral("only from:\n(none — then choose none)")));
  for (StyleDirection d : kAllDirections)
    EXPECT_EQ(directionFromRawValue(rawValue(d)), d);
}

TEST(ScreenPromptsTest, PromptsMatchTheirWrittenWordingForTheFixtureApp) {
  Design design;
  design.summary = QStringLiteral("Fresh greens on a soft mint ground.");
  design.colors = {QStringLiteral("#0f5132"), QStringLiteral("#3fbf6a"), QStringLiteral("#d8f5e3")};
  design.titleColor = QStringLiteral("#ffffff");
  design.accentColor = QStringLiteral("#ffd54a");
  design.stickerAssets = {{QStringLiteral("Leaf"), QStringLiteral("/APP/Assets/leaf.png")},
                          {QStringLiteral("Star"), QStringLiteral("/APP/Assets/star.png")}};
  ScreenPromptInput input;
  input.appName = QStringLiteral("Leafy");
  input.screen = {QStringLiteral("home"), QStringLiteral("Today"),
                  QStringLiteral("The plants that need water today."),
                  QStringLiteral("Sources/Views/HomeView.swift"), true};
  input.position = 0;
  input.total = 2;
  input.platforms = {DeviceOS::ios, DeviceOS::android};
  input.appearances = {ThemeName::light, ThemeName::dark};
  input.profile = {
      {QStringLiteral("What it does"), QStringLiteral("Reminds you to water your plants")},
      {QStringLiteral("Category"), QStringLiteral("Lifestyle")}};
  input.design = design;
  input.direction = StyleDirection::playful;
  input.locales = {QStringLiteral("en"), QStringLiteral("de")};
  EXPECT_EQ(ScreenPrompts::screen(input), fixture(QStringLiteral("golden/screen-playful.txt")));

  // Without stickers in the direction the design's pictures stay out.
  input.screen = {QStringLiteral("stats"), QStringLiteral("Stats"),
                  QStringLiteral("How the month went."),
                  QStringLiteral("Sources/Views/StatsView.swift"), true};
  input.position = 1;
  input.profile.clear();
  input.direction = StyleDirection::minimal;
  EXPECT_EQ(ScreenPrompts::screen(input), fixture(QStringLiteral("golden/screen-minimal.txt")));

  EXPECT_EQ(ScreenPrompts::discovery(QStringLiteral("Leafy")),
            fixture(QStringLiteral("golden/discovery.txt")));

  UpdatePage page;
  page.id = QStringLiteral("home");
  page.name = QStringLiteral("Today");
  page.file = QStringLiteral("Sources/Views/HomeView.swift");
  page.reference = QStringLiteral("/TMP/home-screen.png");
  page.slotKeys = {{DeviceOS::ios, QStringLiteral("en"), QStringLiteral("dark")},
                   {DeviceOS::android, std::nullopt, std::nullopt}};
  page.components = {{QStringLiteral("callout.png"), QStringLiteral("/TMP/callout.png"), 180, 70}};
  EXPECT_EQ(ScreenPrompts::update(QStringLiteral("Leafy"), QStringLiteral("leafy"), page),
            fixture(QStringLiteral("golden/update.txt")));

  const QStringList pictures{
      ScreenPrompts::pictureLine({DeviceOS::ios, std::nullopt, QStringLiteral("light")},
                                 QStringLiteral("/TMP/ios-light.png")),
      ScreenPrompts::pictureLine({DeviceOS::android, std::nullopt, QStringLiteral("dark")},
                                 QStringLiteral("/TMP/android-dark.png"))};
  EXPECT_EQ(ScreenPrompts::review(AITool::gemini, QStringLiteral("Today"),
                                  QStringLiteral("{\"titles\":{}}"), pictures, std::nullopt),
            fixture(QStringLiteral("golden/review-gemini.txt")));
  EXPECT_FALSE(ScreenPrompts::review(AITool::claude, QStringLiteral("Today"), QStringLiteral("x"),
                                     pictures, std::nullopt)
                   .contains(QStringLiteral("Your previous reply was")));

  EXPECT_EQ(ScreenPrompts::appearanceBrief({}),
            QStringLiteral("APPEARANCE: the app has only a light mode — draw that."));
  EXPECT_EQ(ScreenPrompts::appearanceBrief({ThemeName::dark}),
            QStringLiteral("APPEARANCE: the app has only a dark mode — draw that."));
}

TEST(ScreenReplyTest, ResultsAssetsAndThemesAreReadyForTheRenderer) {
  QTemporaryDir dir;
  auto write = [&](const QString& name, const QByteArray& bytes) {
    QFile file(dir.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return file.fileName();
  };
  const QString logo = write(QStringLiteral("logo.png"), "LOGO");
  const QString dark = write(QStringLiteral("logo-dark.webp"), "DARK");
  const QString font = write(QStringLiteral("brand.woff2"), "FONT");
  const QString html = QStringLiteral(
      "<img src=\"asset:logo\"><img src=\"asset:logo-dark\"><img src=\"asset:gone\">"
      "@font-face{src:url(asset:brand)}");
  const QString inlined = ScreenReply::inlineAssets(
      html, {{QStringLiteral("logo"), logo},
             {QStringLiteral("logo-dark"), dark},
             {QStringLiteral("brand"), font},
             {QStringLiteral("gone"), dir.filePath(QStringLiteral("gone.png"))}});
  EXPECT_TRUE(inlined.contains(QStringLiteral("data:image/png;base64,") +
                               QString::fromLatin1(QByteArray("LOGO").toBase64())));
  EXPECT_TRUE(inlined.contains(QStringLiteral("data:image/webp;base64,") +
                               QString::fromLatin1(QByteArray("DARK").toBase64())));
  EXPECT_TRUE(inlined.contains(QStringLiteral("url(data:font/woff2;base64,")));
  EXPECT_TRUE(inlined.contains(QStringLiteral("asset:gone")));

  EXPECT_EQ(ScreenReply::themed(QStringLiteral("<!doctype html><html lang=\"en\"><body>"),
                                ThemeName::dark),
            QStringLiteral("<!doctype html><html data-theme=\"dark\" lang=\"en\"><body>"));
  EXPECT_EQ(ScreenReply::themed(QStringLiteral("<div>x</div>"), ThemeName::light),
            QStringLiteral("<html data-theme=\"light\"><div>x</div></html>"));

  const ScreenResult result = ScreenReply::parseResult(
      QStringLiteral(
          "{\"titles\":{\"en\":\"Hi\",\"de\":3},\"background\":{\"gradAngle\":160,"
          "\"gradFrom\":\"#fff\"},\"stickers\":[\"%1\",{\"path\":\"%1\"},\"/no/such.png\",7]}")
          .arg(logo));
  EXPECT_EQ(result.titles,
            (std::map<QString, QString>{{QStringLiteral("en"), QStringLiteral("Hi")}}));
  EXPECT_EQ(result.background.at(QStringLiteral("gradAngle")), QStringLiteral("160"));
  EXPECT_EQ(result.stickers, (QStringList{logo, logo}));
}

TEST(GeneratedLayoutTest, MadeLayersTakeTheirPlacesAndAndroidScalesTheIOSCanvas) {
  const std::vector<MadeLayer> made{{QStringLiteral("c1"), 300, QStringLiteral("callout")},
                                    {QStringLiteral("b1"), 100, QStringLiteral("badge")},
                                    {QStringLiteral("c2"), 500, QStringLiteral("callout")},
                                    {QStringLiteral("r1"), 300, QStringLiteral("review")},
                                    {QStringLiteral("b2"), 400, QStringLiteral("badge")},
                                    {QStringLiteral("c3"), 260, QStringLiteral("callout")}};
  const auto ios = GeneratedSaver::layout({}, made, 1, DeviceOS::ios);
  ASSERT_EQ(ios.size(), 6U);
  // Callouts on an odd page: right, left, right at y 720, 1000, 1000.
  EXPECT_DOUBLE_EQ(ios[0].x, 553 - 150 + 40);
  EXPECT_DOUBLE_EQ(ios[0].y, 720);
  EXPECT_DOUBLE_EQ(ios[1].w, 400);
  EXPECT_DOUBLE_EQ(ios[1].x, 200 + 68 - 40);
  EXPECT_DOUBLE_EQ(ios[1].y, 1000);
  EXPECT_DOUBLE_EQ(ios[2].x, 553 - 130 + 40);
  // Two badges at 205.5 and 415.5, widened and narrowed into 140…220.
  EXPECT_DOUBLE_EQ(ios[3].x, 205.5);
  EXPECT_DOUBLE_EQ(ios[3].w, 140);
  EXPECT_DOUBLE_EQ(ios[4].x, 415.5);
  EXPECT_DOUBLE_EQ(ios[4].w, 220);
  EXPECT_DOUBLE_EQ(ios[5].w, 340);
  EXPECT_EQ(*ios[5].name, "Review");

  const auto android = GeneratedSaver::layout({}, made, 1, DeviceOS::android);
  for (std::size_t i = 0; i < ios.size(); ++i) {
    EXPECT_DOUBLE_EQ(android[i].x, ios[i].x * 642 / 621) << i;
    EXPECT_DOUBLE_EQ(android[i].w, ios[i].w * 642 / 621) << i;
    EXPECT_DOUBLE_EQ(android[i].y, ios[i].y * 1389 / 1344) << i;
  }
  const std::vector<GeneratedSaver::PlacedSticker> stickers{
      {QStringLiteral("s1"), QStringLiteral("leaf.png")},
      {QStringLiteral("s2"), QStringLiteral("star.png")}};
  const auto iosStickers = GeneratedSaver::layout(stickers, {}, 0, DeviceOS::ios);
  const auto androidStickers = GeneratedSaver::layout(stickers, {}, 0, DeviceOS::android);
  ASSERT_EQ(iosStickers.size(), 2U);
  EXPECT_EQ(*iosStickers[0].name, "Leaf");
  EXPECT_TRUE(iosStickers[0].sticker);
  EXPECT_NEAR(androidStickers[1].x, iosStickers[1].x * 642 / 621, 0.01);
  EXPECT_NEAR(androidStickers[1].y, iosStickers[1].y * 1389 / 1344, 0.01);
  EXPECT_NE(iosStickers[0].id, androidStickers[0].id);
}

}  // namespace
}  // namespace vells::assistants

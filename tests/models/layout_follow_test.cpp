// Layout follow, sticker slots, themes and the text faces.
#include "models/layout_follow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFontInfo>

#include "backend/test_support.h"
#include "document/vell_layer.h"
#include "models/scripted_documents.h"
#include "models/style_layout.h"
#include "models/style_theme.h"
#include "models/text_fonts.h"

namespace vells::testing {
namespace {

using models::LayoutFollow;
using models::StyleLayout;
using models::StyleTheme;
using models::TextFonts;

// The phone before the change: 100,200 sized 400 by 800.
LayoutFollow::Snapshot before() {
  return {{100, 200, 400, 800},
          {{"on", {290, 590, 20, 20}},
           {"edge", {90, 590, 12, 20}},  // centre 4 px left of the phone: inside the 2% margin
           {"off", {10, 100, 20, 20}},
           {"skipped", {290, 590, 20, 20}}}};
}

std::string phoneReport(double left, double top, double width, double height) {
  return R"({"issues":[],"layers":[],"phone":[)" + std::to_string(left) + "," +
         std::to_string(top) + "," + std::to_string(width) + "," + std::to_string(height) + "]}";
}

std::optional<std::string> follow(Scripted& s, std::set<std::string> skip = {"skipped"}) {
  std::optional<std::optional<std::string>> out;
  LayoutFollow::follow(s.client, "s", "home", DeviceOS::ios, ThemeName::dark, "de", before(), skip,
                       nullptr, [&](std::optional<std::string> line) { out = line; });
  EXPECT_TRUE(spinUntil([&] { return out.has_value(); }));
  return out ? *out : std::nullopt;
}

const char* fourLayers =
    R"({"home":{"layers":[{"id":"on","kind":"image","x":300,"y":600,"w":20,"rotate":7},)"
    R"({"id":"edge","kind":"text","x":96,"y":600,"w":12,"size":30},)"
    R"({"id":"off","kind":"image","x":20,"y":110,"w":20},)"
    R"({"id":"skipped","kind":"image","x":300,"y":600,"w":20},)"
    R"({"id":"new","kind":"image","x":300,"y":600,"w":20}]},"home@de":{"titleSize":50}})";

TEST(LayoutFollowPhone, LayersOnThePhoneFollowItAndNothingElseMoves) {
  Scripted s;
  s.styles = fourLayers;
  s.reports = {phoneReport(100.4, 200, 400, 900)};  // 0.4 across, taller only: not moved
  EXPECT_FALSE(follow(s));
  EXPECT_EQ(s.posts(), 0);

  s.reports = {phoneReport(150, 100, 200, 400)};  // half the size, moved
  EXPECT_EQ(follow(s), "Kept 2 layers on the phone");
  const JSONValue styles = JSONValue::parse(s.styles);
  const auto layers = VellLayer::list(*styles.find("home")->find("layers"));
  ASSERT_EQ(layers.size(), 5u);
  EXPECT_EQ(layers[0].x, 250);  // 150 + (300 − 100) × 0.5
  EXPECT_EQ(layers[0].y, 300);  // 100 + (600 − 200) × 0.5
  EXPECT_EQ(layers[0].w, 10);
  EXPECT_EQ(layers[0].rotate, 7);
  EXPECT_EQ(layers[1].x, 148);
  EXPECT_EQ(layers[1].size, 15);
  EXPECT_EQ(layers[2].x, 20);   // off the phone
  EXPECT_EQ(layers[3].x, 300);  // moved by the change itself
  EXPECT_EQ(layers[4].x, 300);  // new since the snapshot
  EXPECT_EQ(styles.find("home@de")->find("layers"), nullptr);

  s.styles = R"({"home":{"layers":[{"id":"on","kind":"image","x":300,"y":600,"w":20}]}})";
  EXPECT_EQ(follow(s), "Kept 1 layer on the phone");
  s.reports = {R"({"issues":[],"layers":[],"phone":null})"};
  EXPECT_FALSE(follow(s));
}

TEST(StickerSlots, FiveAtMostMirroredOnOddPagesAndScaled) {
  const auto ios = StyleLayout::stickers(6, 0, {621, 1344});
  ASSERT_EQ(ios.size(), 5u);
  EXPECT_EQ(ios[0], (StyleLayout::Slot{62, 74, 78, -14}));
  EXPECT_EQ(ios[4], (StyleLayout::Slot{46, 1060, 88, 9}));
  const auto odd = StyleLayout::stickers(1, 1, {621, 1344});
  EXPECT_EQ(odd[0], (StyleLayout::Slot{559, 74, 78, 14}));
  const auto android = StyleLayout::stickers(2, 1, {642, 1389});
  EXPECT_DOUBLE_EQ(android[0].x, 559 * 642.0 / 621);
  EXPECT_DOUBLE_EQ(android[0].y, 74 * 1389.0 / 1344);
  EXPECT_DOUBLE_EQ(android[0].w, 78 * 642.0 / 621);
  EXPECT_TRUE(StyleLayout::stickers(0, 0, {621, 1344}).empty());
}

TEST(StyleThemes, TenThemesMatchTheirGradientInAnyCase) {
  ASSERT_EQ(StyleTheme::all().size(), 10u);
  const StyleTheme& apricot = StyleTheme::all()[4];
  ResolvedStyle style;
  style.gradFrom = "#fff3e0";
  style.gradVia = "#ffe0b8";
  style.gradTo = "#ffc98a";
  EXPECT_TRUE(apricot.matches(style));
  EXPECT_FALSE(StyleTheme::all()[0].matches(style));
  EXPECT_TRUE(StyleTheme::all()[0].matches(ResolvedStyle{}));  // the defaults are Ocean
  const auto values = apricot.values();
  ASSERT_EQ(values.size(), 7u);
  EXPECT_EQ(values[3], std::make_pair(StyleField::gradAngle, JSONValue(165)));
  EXPECT_EQ(values[6], std::make_pair(StyleField::strokeOpacity, JSONValue(0.7)));
}

// A library that serves the font files whose role `serves` accepts.
struct FontLibrary {
  TempDir dir;
  std::unique_ptr<backend::LocalBackend> b;
  ManualClock clock;
  std::unique_ptr<models::APIClient> client;

  explicit FontLibrary(const std::function<bool(const TextFonts::File&)>& serves) {
    auto core = std::make_shared<FakeCore>(fs::path(VELLS_SOURCE_RESOURCES) / "assets");
    JSONValue::Array files;
    for (const auto& f : TextFonts::files()) {
      if (serves(f)) files.push_back(JSONValue::Object{{"file", f.name}});
    }
    core->setCatalog(JSONValue::Object{{"pages", JSONValue::array()},
                                       {"locales", JSONValue::array()},
                                       {"fontFiles", files},
                                       {"patterns", JSONValue::array()}});
    b = std::make_unique<backend::LocalBackend>(backend::LocalLibrary(dir.path() / "lib"), core);
    b->start();
    client = std::make_unique<models::APIClient>(models::APITransport::local(*b), clock);
  }
};

TEST(TextFaces, LoadedFromTheLibraryWithWeightsAndFallbacks) {
  // The rounded face's files are left out: that face falls back.
  FontLibrary lib([](const TextFonts::File& f) { return f.role == "nunito"; });
  models::APIClient& client = *lib.client;
  TextFonts fonts;
  const QFont before = fonts.font("nunito", 700, 40);
  bool done = false;
  fonts.load(client, [&] { done = true; });
  EXPECT_TRUE(fonts.loading());
  ASSERT_TRUE(spinUntil([&] { return done; }));
  EXPECT_FALSE(fonts.loading());
  EXPECT_EQ(fonts.version(), 1);
  ASSERT_TRUE(fonts.hasNunito());
  EXPECT_TRUE(fonts.openRunde().empty());

  const QFont heavy = fonts.font("nunito", 0, 40);
  EXPECT_EQ(heavy.weight(), 1000);
  EXPECT_EQ(heavy.pixelSize(), 40);
  EXPECT_THAT(QFontInfo(heavy).family().toStdString(), ::testing::HasSubstr("Nunito"));
  EXPECT_NE(QFontInfo(before).family(), QFontInfo(heavy).family());
  EXPECT_EQ(fonts.font("nunito", 100, 40).weight(), 200);
  EXPECT_EQ(fonts.font("nunito", 640, 40).weight(), 600);
  EXPECT_EQ(fonts.font("openrunde", 700, 40).weight(), QFont::Bold);  // the system face
  EXPECT_EQ(fonts.font("openrunde", 900, 40).weight(), QFont::Black);
}

TEST(TextFaces, TheRoundedFaceTakesTheNearestWeightFirstMetOnATie) {
  FontLibrary lib([](const TextFonts::File&) { return true; });
  models::APIClient& client = *lib.client;
  TextFonts fonts;
  bool done = false;
  fonts.load(client, [&] { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  EXPECT_EQ(fonts.openRunde().size(), 4u);
  EXPECT_EQ(fonts.font("openrunde", 550, 40).weight(), 500);
  EXPECT_EQ(fonts.font("openrunde", 0, 40).weight(), 700);
  EXPECT_THAT(QFontInfo(fonts.font("openrunde", 400, 20)).family().toStdString(),
              ::testing::HasSubstr("Fredoka"));
}

}  // namespace
}  // namespace vells::testing

// Colours, contrast against the page's gradient and the sentences that tell
// of it. The expected ratios are worked out by hand from the WCAG formula.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "text/readability.h"

namespace vells::text {
namespace {

using RGB = Readability::RGB;
using Stop = Readability::Stop;
using ColorFix = Readability::ColorFix;
using TextLayer = Readability::TextLayer;

constexpr RGB kBlack{0, 0, 0};
constexpr RGB kWhite{255, 255, 255};
const std::vector<Stop> kBlackToWhite{{0, kBlack}, {1, kWhite}};

std::optional<RGB> parse(const char* s) {
  return Readability::parse(std::string(s));
}

TEST(ReadabilityParse, HexInEveryLength) {
  const RGB abc{0xAA, 0xBB, 0xCC};
  EXPECT_EQ(parse("#abc"), abc);
  EXPECT_EQ(parse("abc"), abc);  // the "#" isn't required
  EXPECT_EQ(parse("#aabbcc"), abc);
  EXPECT_EQ(parse("#AABBCC"), abc);
  EXPECT_EQ(parse("#12345678"), (RGB{0x12, 0x34, 0x56}));  // past six digits: ignored
  EXPECT_EQ(parse(" \t#fff\t "), kWhite);                  // blanks and tabs are trimmed
  for (const char* bad : {"#1234", "#12345", "#12", "#", "#ggg", "#12345g", "red", "RGB(1,2,3)",
                          "\n#fff", "##fff", "#-12345"}) {
    EXPECT_FALSE(parse(bad)) << bad;
  }
  EXPECT_FALSE(Readability::parse(std::nullopt));
  EXPECT_FALSE(parse(""));
  EXPECT_FALSE(parse(" \t "));
}

TEST(ReadabilityParse, RgbFunctions) {
  EXPECT_EQ(parse("rgb(1,2,3)"), (RGB{1, 2, 3}));
  EXPECT_EQ(parse("rgb( 1 ,\t2 , 3 )"), (RGB{1, 2, 3}));
  EXPECT_EQ(parse("rgba(10, x, 20, 30, 0.5)"), (RGB{10, 20, 30}));  // "x" doesn't count
  EXPECT_EQ(parse("rgba(1, 2, 3, 0.1)"), (RGB{1, 2, 3}));           // alpha is ignored
  EXPECT_EQ(parse("rgb(300,0,0)"), (RGB{300, 0, 0}));               // no range check
  EXPECT_EQ(parse("rgb(1,,2,,3)"), (RGB{1, 2, 3}));                 // empty pieces dropped
  EXPECT_EQ(parse("rgb(1e2, .5, -3)"), (RGB{100, 0.5, -3}));
  EXPECT_EQ(parse("rgb(1,2,3"), (RGB{1, 2, 3}));  // no ")": to the end
  EXPECT_EQ(parse("rgb(1,2,3) 9"), (RGB{1, 2, 3}));
  EXPECT_FALSE(parse("rgb(1,2)"));
  EXPECT_FALSE(parse("rgb(1,2)3"));
  EXPECT_FALSE(parse("rgb(a,b,c)"));
  EXPECT_FALSE(parse("rgb(1 2 3)"));
  EXPECT_FALSE(parse("rgb(inf,nan,1)"));  // only finite numbers
}

TEST(ReadabilityWorstRatio, PlainColoursGiveTheKnownRatios) {
  const std::vector<Stop> white{{0, kWhite}, {1, kWhite}};
  const Box box{10, 10, 50, 20};
  EXPECT_DOUBLE_EQ(Readability::worstRatio(kBlack, box, {100, 100}, 160, white), 21.0);
  EXPECT_DOUBLE_EQ(Readability::worstRatio(kWhite, box, {100, 100}, 160, white), 1.0);
  // #767676 is the lightest grey that reads on white: 4.54:1.
  EXPECT_NEAR(Readability::worstRatio({0x76, 0x76, 0x76}, box, {100, 100}, 160, white), 4.5422,
              1e-4);
  EXPECT_NEAR(Readability::worstRatio({0x77, 0x77, 0x77}, box, {100, 100}, 160, white), 4.4781,
              1e-4);
  EXPECT_THROW(Readability::worstRatio(kBlack, box, {100, 100}, 160, {}), std::invalid_argument);
}

TEST(ReadabilityWorstRatio, TheWorstOfCornersAndCentreAlongTheGradient) {
  // At 90° the gradient runs left to right: x = 40 and 60 sit at 0.4 and 0.6,
  // grey 102 and 153. Black text is worst on 102, white text on 153.
  const Box band{40, 0, 20, 100};
  EXPECT_NEAR(Readability::worstRatio(kBlack, band, {100, 100}, 90, kBlackToWhite), 3.6574, 1e-4);
  EXPECT_NEAR(Readability::worstRatio(kWhite, band, {100, 100}, 90, kBlackToWhite), 2.8490, 1e-4);
  // At 180° it runs top to bottom, at 0° bottom to top.
  const Box row{0, 40, 100, 20};
  EXPECT_NEAR(Readability::worstRatio(kBlack, row, {100, 100}, 180, kBlackToWhite), 3.6574, 1e-4);
  const Box top{0, 0, 100, 10};
  EXPECT_NEAR(Readability::worstRatio(kWhite, top, {100, 100}, 0, kBlackToWhite), 1.0, 1e-9);
  // Its bottom corners, at 0.9, are grey 229.5.
  EXPECT_NEAR(Readability::worstRatio(kBlack, top, {100, 100}, 0, kBlackToWhite), 16.7482, 1e-4);
  // Points outside the canvas are clamped to the ends of the gradient.
  EXPECT_NEAR(Readability::worstRatio(kBlack, {-100, 0, 10, 10}, {100, 100}, 90, kBlackToWhite),
              1.0, 1e-9);
}

TEST(ReadabilityWorstRatio, TheGradientLineReachesTheCorners) {
  // As in CSS, a 160° gradient on the store canvas starts in the top left
  // corner and ends in the bottom right one; its middle is the centre.
  const Size canvas{621, 1344};
  EXPECT_NEAR(Readability::worstRatio(kWhite, {0, 0, 0, 0}, canvas, 160, kBlackToWhite), 21.0,
              1e-9);
  EXPECT_NEAR(Readability::worstRatio(kBlack, {621, 1344, 0, 0}, canvas, 160, kBlackToWhite), 21.0,
              1e-9);
  EXPECT_NEAR(Readability::worstRatio(kBlack, {310.5, 672, 0, 0}, canvas, 160, kBlackToWhite),
              5.2808, 1e-4);
}

TEST(ReadabilityWorstRatio, StopsAreWalkedInOrder) {
  // Black to white by 0.45, then back to black: at 0.225 the grey is 127.5.
  const std::vector<Stop> three{{0, kBlack}, {0.45, kWhite}, {1, kBlack}};
  EXPECT_NEAR(Readability::worstRatio(kBlack, {45, 0, 0, 0}, {100, 100}, 90, three), 21.0, 1e-9);
  EXPECT_NEAR(Readability::worstRatio(kBlack, {22.5, 0, 0, 0}, {100, 100}, 90, three), 5.2808,
              1e-4);
  // A hard edge: at exactly 0.5 the first stop not below it is still black.
  const std::vector<Stop> edge{{0, kBlack}, {0.5, kBlack}, {0.5, kWhite}, {1, kWhite}};
  EXPECT_NEAR(Readability::worstRatio(kWhite, {50, 0, 0, 0}, {100, 100}, 90, edge), 21.0, 1e-9);
  // Behind every stop the last colour holds.
  const std::vector<Stop> short_{{0, kBlack}, {0.3, kWhite}};
  EXPECT_NEAR(Readability::worstRatio(kBlack, {80, 0, 0, 0}, {100, 100}, 90, short_), 21.0, 1e-9);
}

// A style with a plain gradient of one colour and the given extra keys.
JSONValue::Object style(const std::string& background, JSONValue::Object extra = {}) {
  JSONValue::Object s{{"gradFrom", background}, {"gradVia", background}, {"gradTo", background}};
  for (auto& [k, v] : extra)
    s[k] = v;
  return s;
}

constexpr Size kCanvas{621, 1344};
constexpr Box kTitleBox{40, 80, 541, 150};

std::string sentence(const std::string& name, const std::string& ratio, const std::string& needed,
                     const std::string& suggestion) {
  return name + " has " + ratio + ":1 contrast against the background behind it \u2014 below the " +
         needed + ":1 needed to read it. Use a darker/lighter colour (" + suggestion +
         " passes) or change the background there.";
}

TEST(ReadabilityContrast, TitleAccentAndLayersInOrderWithTheirFixes) {
  const auto st = style("#ffffff", {{"titleColor", "#ffffff"}, {"accentColor", "#ffd54a"}});
  const std::vector<TextLayer> layers{
      {"badge", "New", std::nullopt, {100, 900, 120, 40}},  // no colour: white
      {"quiet", "", "#ffffff", {100, 1000, 120, 40}},       // no text: not checked
      {"ink", "Readable", "#000000", {100, 1100, 120, 40}},
      {"long", std::string(45, 'x'), "rgb(238, 238, 238)", {0, 0, 10, 10}},
  };
  const auto out =
      Readability::contrastIssues(st, "Track *every* habit", kTitleBox, layers, kCanvas, false);
  EXPECT_THAT(out.issues,
              ::testing::ElementsAre(sentence("The title colour #ffffff", "1.0", "4.5", "#0B0B0F"),
                                     // #ffd54a moved 35% towards black is the first to reach 3:1.
                                     sentence("The accent colour #ffd54a", "1.4", "3", "#A68A30"),
                                     sentence("The text \"New\" (layer badge) colour #ffffff",
                                              "1.0", "4.5", "#0B0B0F"),
                                     sentence("The text \"" + std::string(40, 'x') +
                                                  "\" (layer long) colour rgb(238, 238, 238)",
                                              "1.2", "4.5", "#0B0B0F")));
  EXPECT_THAT(out.fixes,
              ::testing::ElementsAre(ColorFix{"title", "#0B0B0F"}, ColorFix{"accent", "#A68A30"},
                                     ColorFix{"badge", "#0B0B0F"}, ColorFix{"long", "#0B0B0F"}));
  EXPECT_EQ(out.fixes[0].json(), JSONValue::parse(R"({"target":"title","color":"#0B0B0F"})"));
}

TEST(ReadabilityContrast, SuggestionsOnADarkBackground) {
  // Dark on black: white is the body suggestion; the accent finds a lighter tone.
  const auto st = style("#000000", {{"titleColor", "#202020"}, {"accentColor", "#402020"}});
  const auto out = Readability::contrastIssues(st, "*Dark*", kTitleBox, {}, kCanvas, false);
  EXPECT_THAT(out.fixes,
              ::testing::ElementsAre(ColorFix{"title", "#FFFFFF"}, ColorFix{"accent", "#705858"}));
  // Where darker and lighter pass at the same step, the darker wins.
  const auto grey = style("rgb(115,115,115)", {{"accentColor", "rgb(115,115,115)"}});
  const auto tie = Readability::contrastIssues(grey, "*x*", kTitleBox, {}, kCanvas, false);
  EXPECT_THAT(tie.fixes, ::testing::ElementsAre(ColorFix{"accent", "#282828"}));
}

TEST(ReadabilityContrast, OnlyARatioBelowTheNeedIsAnIssue) {
  const auto passes = style("#ffffff", {{"titleColor", "#767676"}});
  EXPECT_TRUE(
      Readability::contrastIssues(passes, "Title", kTitleBox, {}, kCanvas, false).issues.empty());
  const auto fails = style("#ffffff", {{"titleColor", "#777777"}});
  EXPECT_THAT(
      Readability::contrastIssues(fails, "Title", kTitleBox, {}, kCanvas, false).issues,
      ::testing::ElementsAre(sentence("The title colour #777777", "4.5", "4.5", "#0B0B0F")));
}

TEST(ReadabilityContrast, ChecksThatFallAway) {
  const auto white = style("#ffffff", {{"titleColor", "#ffffff"}, {"accentColor", "#ffffff"}});
  const std::vector<TextLayer> layer{{"l", "Hi", "#ffffff", {0, 0, 10, 10}}};
  const auto check = [&](const JSONValue::Object& st, const std::optional<std::string>& title,
                         const std::optional<Box>& box, bool picture = false) {
    return Readability::contrastIssues(st, title, box, layer, kCanvas, picture);
  };
  // Nothing is known of the pixels behind the text on a picture.
  EXPECT_TRUE(check(white, "*Title*", kTitleBox, true).issues.empty());
  EXPECT_TRUE(check(white, "*Title*", kTitleBox, true).fixes.empty());
  // A gradient colour that is missing or doesn't parse: no check at all.
  auto noVia = white;
  noVia.erase("gradVia");
  EXPECT_TRUE(check(noVia, "*Title*", kTitleBox).issues.empty());
  auto badVia = white;
  badVia["gradVia"] = "not a colour";
  EXPECT_TRUE(check(badVia, "*Title*", kTitleBox).issues.empty());
  auto numberVia = white;
  numberVia["gradVia"] = 7;
  EXPECT_TRUE(check(numberVia, "*Title*", kTitleBox).issues.empty());

  // No title, an empty one, no box or a box of no width: only the layer is checked.
  for (const auto& [title, box] :
       std::vector<std::pair<std::optional<std::string>, std::optional<Box>>>{
           {std::nullopt, kTitleBox},
           {"", kTitleBox},
           {"*T*", std::nullopt},
           {"*T*", Box{40, 80, 0, 150}}}) {
    auto out = check(white, title, box);
    EXPECT_THAT(out.fixes, ::testing::ElementsAre(ColorFix{"l", "#0B0B0F"}));
  }
  // A title without "*" is never checked for its accent, however poor it is.
  EXPECT_THAT(check(white, "Plain", kTitleBox).fixes,
              ::testing::ElementsAre(ColorFix{"title", "#0B0B0F"}, ColorFix{"l", "#0B0B0F"}));

  // Colours that don't parse skip their own check only.
  auto badColours = white;
  badColours["titleColor"] = "tomato";
  badColours["accentColor"] = "rgb(1,2)";
  const std::vector<TextLayer> layers{{"bad", "Hi", "#ggg", {0, 0, 10, 10}},
                                      {"empty", "Hi", "", {0, 0, 10, 10}}};
  const auto out =
      Readability::contrastIssues(badColours, "*Title*", kTitleBox, layers, kCanvas, false);
  EXPECT_THAT(out.fixes, ::testing::ElementsAre(ColorFix{"empty", "#0B0B0F"}));
  EXPECT_THAT(out.issues[0], ::testing::StartsWith("The text \"Hi\" (layer empty) colour #ffffff"));
}

TEST(ReadabilityContrast, TheAngleComesFromTheStyle) {
  // Black at the top, white at the bottom: a white title at the top doesn't read,
  // unless the gradient is turned over.
  JSONValue::Object st{{"gradFrom", "#000000"},
                       {"gradVia", "#000000"},
                       {"gradTo", "#ffffff"},
                       {"titleColor", "#000000"},
                       {"gradAngle", 180}};
  EXPECT_EQ(Readability::contrastIssues(st, "T", kTitleBox, {}, kCanvas, false).fixes.size(), 1u);
  st["gradAngle"] = 0;
  EXPECT_TRUE(Readability::contrastIssues(st, "T", kTitleBox, {}, kCanvas, false).fixes.empty());
  st["gradAngle"] = "0";  // not a number: 160, which starts at the top as well
  EXPECT_EQ(Readability::contrastIssues(st, "T", kTitleBox, {}, kCanvas, false).fixes.size(), 1u);
}

}  // namespace
}  // namespace vells::text

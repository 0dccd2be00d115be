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
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr RGB kBlack{0, 0, 0};
constexpr RGB kWhite{255, 255, 255};
const std::vector<Stop> kBlackToWhite{{0, kBlack}, {1, kWhite}};

TEST(ReadabilityParse, HexAndRgbFunctions) {
  // The "#" is optional, blanks and tabs round it are trimmed.
  for (const char* abc : {"#abc", "abc", "#aabbcc", "#AABBCC", " \t#aabbcc\t "})
    EXPECT_EQ(Readability::parse(abc), (RGB{0xAA, 0xBB, 0xCC})) << abc;
  // Pieces that aren't numbers are skipped, the alpha and anything past ")"
  // ignored, and a missing ")" forgiven.
  for (const char* rgb :
       {"rgb( 1 ,\t2 , 3 )", "rgba(1, x, 2, 3, 0.5)", "rgb(1,2,3", "rgb(1,2,3) 9"})
    EXPECT_EQ(Readability::parse(rgb), (RGB{1, 2, 3})) << rgb;
  EXPECT_EQ(Readability::parse("#12345678"), (RGB{0x12, 0x34, 0x56}));  // past six digits: ignored
  EXPECT_EQ(Readability::parse("rgb(1e2, 300, -.5)"), (RGB{100, 300, -0.5}));  // no range check
  for (const char* bad :
       {"", " \t ", "#12345", "#", "#12345g", "red", "RGB(1,2,3)", "\n#fff", "##fff", "#-12345",
        "rgb(1,2)", "rgb(1,2)3", "rgb(1 2 3)", "rgb(inf,nan,1)"})
    EXPECT_FALSE(Readability::parse(bad)) << bad;
  EXPECT_FALSE(Readability::parse(std::nullopt));
}

double ratio(const RGB& text, const Box& over, double angle,
             const std::vector<Stop>& stops = kBlackToWhite, const Size& canvas = {100, 100}) {
  return Readability::worstRatio(text, over, canvas, angle, stops);
}

TEST(ReadabilityWorstRatio, TheWorstOfCornersAndCentreAlongTheGradient) {
  const std::vector<Stop> white{{0, kWhite}, {1, kWhite}};
  // #767676 is the lightest grey that reads on white: 4.54:1.
  EXPECT_NEAR(ratio({0x76, 0x76, 0x76}, {10, 10, 50, 20}, 160, white), 4.5422, 1e-4);
  EXPECT_THROW(ratio(kBlack, {10, 10, 50, 20}, 160, {}), std::invalid_argument);
  // At 90° the gradient runs left to right: x = 40 and 60 sit at 0.4 and 0.6,
  // grey 102 and 153. Black text is worst on 102, white text on 153.
  EXPECT_NEAR(ratio(kBlack, {40, 0, 20, 100}, 90), 3.6574, 1e-4);
  EXPECT_NEAR(ratio(kWhite, {40, 0, 20, 100}, 90), 2.8490, 1e-4);
  // At 180° it runs top to bottom, at 0° bottom to top: there the bottom
  // corners of the top row, at 0.9, are grey 229.5.
  EXPECT_NEAR(ratio(kBlack, {0, 40, 100, 20}, 180), 3.6574, 1e-4);
  EXPECT_NEAR(ratio(kBlack, {0, 0, 100, 10}, 0), 16.7482, 1e-4);
  // Points outside the canvas are clamped to the ends of the gradient.
  EXPECT_NEAR(ratio(kBlack, {-100, 0, 10, 10}, 90), 1.0, 1e-9);
  // As in CSS, a 160° gradient on the store canvas starts in the top left
  // corner and ends in the bottom right one.
  EXPECT_NEAR(ratio(kWhite, {0, 0, 0, 0}, 160, kBlackToWhite, {621, 1344}), 21.0, 1e-9);
  EXPECT_NEAR(ratio(kBlack, {621, 1344, 0, 0}, 160, kBlackToWhite, {621, 1344}), 21.0, 1e-9);
}

TEST(ReadabilityWorstRatio, StopsAreWalkedInOrder) {
  // Black to white by 0.45, then back to black: at 0.225 the grey is 127.5.
  const std::vector<Stop> three{{0, kBlack}, {0.45, kWhite}, {1, kBlack}};
  EXPECT_NEAR(ratio(kBlack, {22.5, 0, 0, 0}, 90, three), 5.2808, 1e-4);
  // A hard edge: at exactly 0.5 the first stop not below it is still black.
  const std::vector<Stop> edge{{0, kBlack}, {0.5, kBlack}, {0.5, kWhite}, {1, kWhite}};
  EXPECT_NEAR(ratio(kWhite, {50, 0, 0, 0}, 90, edge), 21.0, 1e-9);
  // Behind every stop the last colour holds.
  EXPECT_NEAR(ratio(kBlack, {80, 0, 0, 0}, 90, {{0, kBlack}, {0.3, kWhite}}), 21.0, 1e-9);
}

// A style with a plain gradient of one colour and the given extra keys.
JSONValue::Object style(const std::string& background, JSONValue::Object extra = {}) {
  extra.merge(
      JSONValue::Object{{"gradFrom", background}, {"gradVia", background}, {"gradTo", background}});
  return extra;
}

constexpr Box kTitleBox{40, 80, 541, 150};

Readability::Contrast contrast(const JSONValue::Object& st, const std::optional<std::string>& title,
                               const std::vector<TextLayer>& layers = {},
                               const std::optional<Box>& box = kTitleBox, bool picture = false) {
  return Readability::contrastIssues(st, title, box, layers, {621, 1344}, picture);
}

std::string sentence(const std::string& name, const std::string& ratio, const std::string& needed,
                     const std::string& suggestion) {
  return name + " has " + ratio + ":1 contrast against the background behind it \u2014 below the " +
         needed + ":1 needed to read it. Use a darker/lighter colour (" + suggestion +
         " passes) or change the background there.";
}

TEST(ReadabilityContrast, TitleAccentAndLayersInOrderWithTheirFixes) {
  const auto out =
      contrast(style("#ffffff", {{"titleColor", "#ffffff"}, {"accentColor", "#ffd54a"}}),
               "Track *every* habit",
               // "badge" has no colour, so white; "quiet" has no text, so isn't checked.
               {{"badge", "New", std::nullopt, {100, 900, 120, 40}},
                {"quiet", "", "#ffffff", {100, 1000, 120, 40}},
                {"long", std::string(45, 'x'), "rgb(238, 238, 238)", {0, 0, 10, 10}}});
  EXPECT_THAT(out.issues, ElementsAre(sentence("The title colour #ffffff", "1.0", "4.5", "#0B0B0F"),
                                      // #ffd54a moved 35% towards black is the first to reach 3:1.
                                      sentence("The accent colour #ffd54a", "1.4", "3", "#A68A30"),
                                      sentence("The text \"New\" (layer badge) colour #ffffff",
                                               "1.0", "4.5", "#0B0B0F"),
                                      sentence("The text \"" + std::string(40, 'x') +
                                                   "\" (layer long) colour rgb(238, 238, 238)",
                                               "1.2", "4.5", "#0B0B0F")));
  EXPECT_THAT(out.fixes, ElementsAre(ColorFix{"title", "#0B0B0F"}, ColorFix{"accent", "#A68A30"},
                                     ColorFix{"badge", "#0B0B0F"}, ColorFix{"long", "#0B0B0F"}));
}

TEST(ReadabilityContrast, SuggestionsAndTheThreshold) {
  // Dark on black: white is the body suggestion; the accent finds a lighter tone.
  const auto dark = style("#000000", {{"titleColor", "#202020"}, {"accentColor", "#402020"}});
  EXPECT_THAT(contrast(dark, "*Dark*").fixes,
              ElementsAre(ColorFix{"title", "#FFFFFF"}, ColorFix{"accent", "#705858"}));
  // Where darker and lighter pass at the same step, the darker wins.
  EXPECT_THAT(
      contrast(style("rgb(115,115,115)", {{"accentColor", "rgb(115,115,115)"}}), "*x*").fixes,
      ElementsAre(ColorFix{"accent", "#282828"}));
  // 4.54:1 passes; 4.48:1 fails although it reads as 4.5.
  EXPECT_THAT(contrast(style("#ffffff", {{"titleColor", "#767676"}}), "Title").issues, IsEmpty());
  EXPECT_THAT(contrast(style("#ffffff", {{"titleColor", "#777777"}}), "Title").issues,
              ElementsAre(sentence("The title colour #777777", "4.5", "4.5", "#0B0B0F")));
}

TEST(ReadabilityContrast, ChecksThatFallAway) {
  const auto white = style("#ffffff", {{"titleColor", "#ffffff"}, {"accentColor", "#ffffff"}});
  const std::vector<TextLayer> layer{{"l", "Hi", "#ffffff", {0, 0, 10, 10}}};
  // Nothing is known of the pixels behind the text on a picture.
  EXPECT_THAT(contrast(white, "*Title*", layer, kTitleBox, true).issues, IsEmpty());
  // A gradient colour that is missing, not a string or doesn't parse: no check at all.
  auto noVia = white;
  noVia.erase("gradVia");
  for (const auto& st :
       {noVia, style("#ffffff", {{"gradVia", 7}}), style("#ffffff", {{"gradVia", "red"}})})
    EXPECT_THAT(contrast(st, "*Title*", layer).issues, IsEmpty());
  // No title, an empty one, no box or a box of no width: only the layer is checked.
  for (const auto& title : {std::optional<std::string>(), std::optional<std::string>("")})
    EXPECT_THAT(contrast(white, title, layer).fixes, ElementsAre(ColorFix{"l", "#0B0B0F"}));
  for (const auto& box : {std::optional<Box>(), std::optional<Box>(Box{40, 80, 0, 150})})
    EXPECT_THAT(contrast(white, "*T*", layer, box).fixes, ElementsAre(ColorFix{"l", "#0B0B0F"}));
  // A title without "*" is never checked for its accent, however poor it is.
  EXPECT_THAT(contrast(white, "Plain", layer).fixes,
              ElementsAre(ColorFix{"title", "#0B0B0F"}, ColorFix{"l", "#0B0B0F"}));
  // Colours that don't parse skip their own check only; an empty one is the default.
  const auto out =
      contrast(style("#ffffff", {{"titleColor", "tomato"}, {"accentColor", "rgb(1,2)"}}), "*Title*",
               {{"bad", "Hi", "#ggg", {0, 0, 10, 10}}, {"empty", "Hi", "", {0, 0, 10, 10}}});
  EXPECT_THAT(out.fixes, ElementsAre(ColorFix{"empty", "#0B0B0F"}));
  EXPECT_THAT(out.issues,
              ElementsAre(::testing::StartsWith("The text \"Hi\" (layer empty) colour #ffffff")));
}

TEST(ReadabilityContrast, TheAngleComesFromTheStyle) {
  // Black at the top, white at the bottom: a black title at the top doesn't
  // read, unless the gradient is turned over.
  auto st =
      style("#000000", {{"gradTo", "#ffffff"}, {"titleColor", "#000000"}, {"gradAngle", 180}});
  EXPECT_EQ(contrast(st, "T").fixes.size(), 1u);
  st["gradAngle"] = 0;
  EXPECT_THAT(contrast(st, "T").fixes, IsEmpty());
  st["gradAngle"] = "0";  // not a number: 160, which starts at the top as well
  EXPECT_EQ(contrast(st, "T").fixes.size(), 1u);
}

}  // namespace
}  // namespace vells::text

// What a store caption must not say, and the part each screenshot plays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "text/copy_rules.h"
#include "text/readability.h"

namespace vells::text {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kExclamation =
    "The title has an exclamation mark \u2014 store captions read stronger without one.";
const std::string kQuestion = "The title is a question \u2014 state the benefit instead.";
const std::string kDownload =
    "The title asks people to download \u2014 never put a call to download on a screenshot.";
const std::string kPrice =
    "The title shows a price \u2014 prices change and do not belong on a screenshot.";

std::string filler(const std::string& words) {
  return "The title uses filler (" + words +
         ") \u2014 say what the app does for the person in plain words instead.";
}

std::vector<std::string> issues(const std::optional<std::string>& title) {
  return Readability::copyIssues(title, "en");
}

TEST(CopyIssues, EveryKindOnceAndInOrder) {
  EXPECT_THAT(issues("Is this powerful? $5, download now! \u00A1S\u00ED!"),
              ElementsAre(filler("powerful"), kExclamation, kQuestion, kDownload, kPrice));
  EXPECT_THAT(issues("Seamless, powerful and next-gen: unleash it"),
              ElementsAre(filler("seamless, powerful, next-gen, unleash")));
  EXPECT_THAT(issues("Track every habit in one calm place"), IsEmpty());
  // The locale plays no part.
  EXPECT_EQ(Readability::copyIssues("Download!", "de"), Readability::copyIssues("Download!", "ja"));
}

TEST(CopyIssues, NoTitleOrOnlyAccentMarks) {
  EXPECT_THAT(issues(std::nullopt), IsEmpty());
  EXPECT_THAT(issues(""), IsEmpty());
  EXPECT_THAT(issues("**"), IsEmpty());
  // The accent's marks are taken out before the rules look.
  EXPECT_THAT(issues("*Power*ful *downl*oad"), ElementsAre(filler("powerful"), kDownload));
}

TEST(CopyIssues, FillerWordsMatchWholeWordsOnly) {
  EXPECT_THAT(issues("Powerful, powerful"), ElementsAre(filler("powerful")));
  EXPECT_THAT(issues("Seamlessly"), ElementsAre(filler("seamlessly")));
  EXPECT_THAT(issues("Seamless"), ElementsAre(filler("seamless")));
  EXPECT_THAT(issues("Next-generation notes"), ElementsAre(filler("next-generation")));
  EXPECT_THAT(issues("A game changer, all-in-one"),
              ElementsAre(filler("all-in-one, game changer")));
  for (const char* quiet : {"Robustness", "Unleashed", "Superchargers", "leveraged",
                            "powerful\u00E9", "\u00FCberpowerful", "powerful_x", "powerful2"}) {
    EXPECT_THAT(issues(quiet), IsEmpty()) << quiet;
  }
  // Punctuation, dashes and other scripts' signs are bounds.
  for (const char* loud : {"(powerful)", "powerful\u2014fast", "\u00ABpowerful\u00BB",
                           "\u300Cpowerful\u300D", "powerful\u3002", "ROBUST"}) {
    EXPECT_EQ(issues(loud).size(), 1u) << loud;
  }
}

TEST(CopyIssues, MarksAndCallsToDownload) {
  EXPECT_THAT(issues("\u00A1Hola"), ElementsAre(kExclamation));
  EXPECT_THAT(issues("\u0644\u0645\u0627\u0630\u0627\u061F"), ElementsAre(kQuestion));
  EXPECT_THAT(issues("Downloads, sorted"), ElementsAre(kDownload));  // not a word rule
  EXPECT_THAT(issues("INSTALL NOW"), ElementsAre(kDownload));
  EXPECT_THAT(issues("Get it now"), ElementsAre(kDownload));
  EXPECT_THAT(issues("Install it now"), IsEmpty());
}

TEST(CopyIssues, Prices) {
  for (const char* price : {"Save $5", "5 \u20AC", "$ 5", "5$", "\u00A3 9", "\u00A5100",
                            "\u20B9 99", "5\u00A0\u20AC", "\u20AC\u0665"}) {
    EXPECT_THAT(issues(price), ElementsAre(kPrice)) << price;
  }
  for (const char* none : {"$  5", "5  \u20AC", "$five", "5 dollars", "\u20AC", "$"}) {
    EXPECT_THAT(issues(none), IsEmpty()) << none;
  }
}

TEST(CopyIssues, BrokenTextIsReadNotRefused) {
  const std::string broken = std::string("power\xFF") + "ful \xE2\x82 $\xC3";
  EXPECT_THAT(issues(broken), IsEmpty());
  EXPECT_THAT(issues(std::string("\xFFpowerful\xFF")), ElementsAre(filler("powerful")));
}

TEST(CopyRulesRole, EveryRowOfTheTable) {
  EXPECT_EQ(CopyRules::role(0, 1),
            "the hero \u2014 the only screenshot most people see, so it must sell the app on its "
            "own");
  EXPECT_EQ(CopyRules::role(0, 0), CopyRules::role(0, 1));
  const std::string hero =
      ") \u2014 most people only ever see this one, so it must sell the app on its own: the "
      "single biggest benefit";
  EXPECT_EQ(CopyRules::role(0, 2), "the hero (1 of 2" + hero);
  EXPECT_EQ(CopyRules::role(1, 2),
            "the differentiator (2 of 2) \u2014 why this app and not the others");
  // Three: no closer, the last is a feature.
  EXPECT_EQ(CopyRules::role(2, 3), "a feature (3 of 3) \u2014 one feature, the benefit it brings");
  // Four: the third is a feature and the fourth the closer.
  EXPECT_EQ(CopyRules::role(2, 4), "a feature (3 of 4) \u2014 one feature, the benefit it brings");
  EXPECT_EQ(CopyRules::role(3, 4),
            "the closer (4 of 4) \u2014 a confident last word, not another single feature");
  // Five: the fourth is trust.
  EXPECT_EQ(CopyRules::role(3, 5),
            "trust (4 of 5) \u2014 who it is made for, privacy, or a true proof point");
  EXPECT_EQ(CopyRules::role(4, 5),
            "the closer (5 of 5) \u2014 a confident last word, not another single feature");
  EXPECT_EQ(CopyRules::role(1, 6),
            "the differentiator (2 of 6) \u2014 why this app and not the others");
  EXPECT_EQ(CopyRules::role(0, 6), "the hero (1 of 6" + hero);
}

TEST(CopyRulesRole, APositionOutsideTheSetIsRefused) {
  EXPECT_THROW(CopyRules::role(-1, 3), std::invalid_argument);
  EXPECT_THROW(CopyRules::role(3, 3), std::invalid_argument);
  try {
    CopyRules::role(5, 3);
    FAIL();
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "Screenshot 6 isn\u2019t one of the set\u2019s 3.");
  }
}

}  // namespace
}  // namespace vells::text

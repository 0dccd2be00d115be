// What a store caption must not say, and the part each screenshot plays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "text/copy_rules.h"
#include "text/readability.h"

namespace vells::text {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

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

// Each title gives exactly `expected`.
void expectEach(const std::vector<std::string>& expected,
                std::initializer_list<std::optional<std::string>> titles) {
  for (const auto& title : titles)
    EXPECT_EQ(issues(title), expected) << title.value_or("(no title)");
}

TEST(CopyIssues, EveryKindOnceAndInOrder) {
  EXPECT_THAT(issues("Is this powerful? $5, download now! \u00A1S\u00ED!"),
              ElementsAre(filler("powerful"), kExclamation, kQuestion, kDownload, kPrice));
  EXPECT_THAT(issues("Seamless, powerful and next-gen: unleash it"),
              ElementsAre(filler("seamless, powerful, next-gen, unleash")));
  // The accent's marks are taken out before the rules look.
  EXPECT_THAT(issues("*Power*ful *downl*oad"), ElementsAre(filler("powerful"), kDownload));
  expectEach({}, {std::nullopt, "", "**", "Track every habit in one calm place"});
  // The locale plays no part.
  EXPECT_EQ(Readability::copyIssues("Download!", "de"), Readability::copyIssues("Download!", "ja"));
}

TEST(CopyIssues, FillerWordsMatchWholeWordsOnly) {
  // Punctuation, dashes, other scripts' signs and broken bytes are bounds.
  expectEach({filler("powerful")},
             {"Powerful, powerful", "(powerful)", "powerful\u2014fast", "\u00ABpowerful\u00BB",
              "\u300Cpowerful\u300D", "powerful\u3002", "\xFFpowerful\xFF"});
  expectEach({filler("seamlessly")}, {"Seamlessly"});
  expectEach({filler("next-generation")}, {"Next-generation notes"});
  expectEach({filler("robust")}, {"ROBUST"});
  expectEach({filler("all-in-one, game changer")}, {"A game changer, all-in-one"});
  expectEach({}, {"Robustness", "Unleashed", "Superchargers", "leveraged", "powerful\u00E9",
                  "\u00FCberpowerful", "powerful_x", "powerful2",
                  "power\xFF"
                  "ful \xE2\x82 $\xC3"});
}

TEST(CopyIssues, MarksCallsToDownloadAndPrices) {
  expectEach({kExclamation}, {"\u00A1Hola"});
  expectEach({kQuestion}, {"\u0644\u0645\u0627\u0630\u0627\u061F"});
  // Not a word rule: "Downloads" asks as well.
  expectEach({kDownload}, {"Downloads, sorted", "INSTALL NOW", "Get it now"});
  expectEach({kPrice}, {"Save $5", "5 \u20AC", "$ 5", "5$", "\u00A3 9", "\u00A5100", "\u20B9 99",
                        "5\u00A0\u20AC", "\u20AC\u0665"});
  expectEach({}, {"Install it now", "$  5", "5  \u20AC", "$five", "5 dollars", "\u20AC", "$"});
}

// The parts a set's screenshots play, each up to its dash.
std::string parts(int total) {
  std::string out;
  for (int position = 0; position < total; ++position) {
    const std::string role = CopyRules::role(position, total);
    out += (position ? ", " : "") + role.substr(0, role.find(" \u2014"));
  }
  return out;
}

TEST(CopyRulesRole, WhichPartEachPositionPlays) {
  EXPECT_THAT(CopyRules::role(0, 1), StartsWith("the hero \u2014 the only screenshot"));
  EXPECT_EQ(CopyRules::role(0, 0), CopyRules::role(0, 1));
  EXPECT_EQ(parts(2), "the hero (1 of 2), the differentiator (2 of 2)");
  EXPECT_EQ(parts(3), "the hero (1 of 3), the differentiator (2 of 3), a feature (3 of 3)");
  EXPECT_EQ(parts(4),
            "the hero (1 of 4), the differentiator (2 of 4), a feature (3 of 4), "
            "the closer (4 of 4)");
  EXPECT_EQ(parts(6),
            "the hero (1 of 6), the differentiator (2 of 6), a feature (3 of 6), "
            "a feature (4 of 6), trust (5 of 6), the closer (6 of 6)");
}

TEST(CopyRulesRole, APositionOutsideTheSetIsRefused) {
  EXPECT_THROW(CopyRules::role(-1, 3), std::invalid_argument);
  EXPECT_THAT(
      [] { CopyRules::role(3, 3); },
      ThrowsMessage<std::invalid_argument>("Screenshot 4 isn\u2019t one of the set\u2019s 3."));
}

}  // namespace
}  // namespace vells::text

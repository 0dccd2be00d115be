#pragma once

#include <QObject>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "document/json_value.h"
#include "document/records.h"

namespace vells::models {

class APIClient;

// Repairs a page's text without asking anyone: reads the measuring report of
// /api/text-fit, changes styles and texts in a fixed order of steps, measures
// again after each, and says in sentences what it did. The copy itself is
// never shortened.
class TextFit {
 public:
  static constexpr double firstFloor = 48;
  static constexpr double lastFloor = 40;
  static constexpr double step = 4;
  static constexpr double layerMinimum = 22;
  static constexpr double edgeMargin = 8;
  static constexpr double gap = 12;

  // The measuring report as decoded here; a reply missing a required key
  // doesn't decode and counts as a failed measure.
  struct Report {
    struct Title {
      int lines = 0;
      int maxLines = 0;
      bool truncated = false;
      double fontSize = 0;
      double columnWidth = 0;
      std::optional<std::vector<double>> box;
    };
    struct Layer {
      std::string id;
      std::optional<std::string> kind;
      std::vector<double> box;
      double fontSize = 0;
    };
    struct ColorFix {
      std::string target;
      std::string color;
    };
    std::vector<std::string> issues;
    std::optional<std::vector<ColorFix>> colorFixes;
    std::optional<Title> title;
    std::vector<Layer> layers;
    std::optional<std::vector<double>> phone;

    static std::optional<Report> decode(const JSONValue& value);
    // The title is cut off, has a word wider than its column, or runs off.
    bool titleDoesNotFit() const;
  };

  struct Result {
    std::vector<std::string> changes;
    // The last measure's report; nothing when that measure failed.
    std::optional<Report> remaining;
  };

  // Never fails: what can't be done is skipped and stays in `remaining`.
  // `done` runs on the main thread while `receiver` exists.
  static void autoFit(APIClient& client, const std::string& set, const std::string& page,
                      DeviceOS os, ThemeName theme, const std::string& locale, QObject* receiver,
                      std::function<void(Result)> done);

  // The title re-broken into `lines` lines of about equal length; an accented
  // phrase is never split.
  static std::string balancedLines(const std::string& text, int lines);
};

}  // namespace vells::models

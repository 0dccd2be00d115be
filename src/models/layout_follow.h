#pragma once

#include <QObject>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "document/records.h"
#include "document/vell_style.h"
#include "models/text_fit.h"

namespace vells::models {

class APIClient;

// Keeps layers on the phone: measures the phone before and after a style
// change and carries the layers that stood on it along. Fails quietly: the
// change it follows has been made already, and a layer left behind can be
// moved by hand.
class LayoutFollow {
 public:
  struct Rect {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
    friend bool operator==(const Rect&, const Rect&) = default;
  };
  struct Snapshot {
    Rect phone;
    std::map<std::string, Rect> layers;
  };

  // The style fields whose change can move the phone.
  static const std::set<StyleField>& phoneFields();

  // Nothing without a report or without four numbers for the phone.
  static std::optional<Snapshot> snapshot(const std::optional<TextFit::Report>& report);
  static void measure(APIClient& client, const std::string& set, const std::string& page,
                      DeviceOS os, ThemeName theme, const std::string& locale, QObject* receiver,
                      std::function<void(std::optional<Snapshot>)> done);
  // The line for the person ("Kept 2 layers on the phone"), or nothing when
  // nothing moved.
  static void follow(APIClient& client, const std::string& set, const std::string& page,
                     DeviceOS os, ThemeName theme, const std::string& locale,
                     const Snapshot& before, const std::set<std::string>& skip, QObject* receiver,
                     std::function<void(std::optional<std::string>)> done);
};

}  // namespace vells::models

#pragma once

#include <QString>
#include <optional>
#include <vector>

#include "document/records.h"

namespace vells::assistants {

// Where one drawn screen is stored: a platform, and optionally one language
// and one appearance (absent: shared by all of them).
struct ScreenSlotKey {
  DeviceOS os = DeviceOS::ios;
  std::optional<QString> locale;
  std::optional<QString> appearance;
  friend bool operator==(const ScreenSlotKey&, const ScreenSlotKey&) = default;
};

// A highlighted part of the app lying on a page as a layer, to redraw.
struct UpdateComponent {
  QString asset;
  QString image;  // absolute path of the asset's picture
  int width = 0;
  int height = 0;
  friend bool operator==(const UpdateComponent&, const UpdateComponent&) = default;
};

// One page of a set made from the code, to redraw as the code stands now.
struct UpdatePage {
  QString id;
  QString name;
  std::optional<QString> file;
  std::vector<ScreenSlotKey> slotKeys;
  std::optional<QString> reference;  // a picture of the screen as it stands
  std::vector<UpdateComponent> components;
  friend bool operator==(const UpdatePage&, const UpdatePage&) = default;
};

}  // namespace vells::assistants

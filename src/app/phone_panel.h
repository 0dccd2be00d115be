#pragma once

#include "app/inspector_panel.h"

class QToolButton;

namespace vells::app {

class ImageWell;
class ScreenTextsSection;

// The phone selected: where it stands, its 3D tilt (folded by default, as
// remembered in inspector.phone3D), its ring, and the screen inside it.
class PhonePanel : public InspectorPanel {
  Q_OBJECT

 public:
  static constexpr const char* phone3DKey = "inspector.phone3D";

  PhonePanel(const InspectorContext& context, QWidget* parent = nullptr);

  QToolButton* resetButton() const { return reset_; }
  ScreenTextsSection* screenTexts() const { return screenTexts_; }

 private:
  QToolButton* reset_ = nullptr;
  ScreenTextsSection* screenTexts_ = nullptr;
};

}  // namespace vells::app

#pragma once

#include "app/inspector_panel.h"

namespace vells::app {

class FillRow;

// With nothing selected: the page's background — its fill, glow and
// texture, and a grid of example themes.
class PagePanel : public InspectorPanel {
  Q_OBJECT

 public:
  PagePanel(const InspectorContext& context, QWidget* parent = nullptr);

  FillRow* fillRow() const { return fill_; }

 private:
  FillRow* fill_;
};

}  // namespace vells::app

#pragma once

#include <QPointer>
#include <QToolButton>

#include "app/inspector_context.h"

namespace vells::app {

class FillPopover;

// The page's fill in one line: a swatch of it and its kind in words
// ("Image", "Linear gradient", or the colour's hex). A click opens the
// fill popover.
class FillRow : public QToolButton {
  Q_OBJECT

 public:
  FillRow(const InspectorContext& context, QWidget* parent = nullptr);

  void refresh();
  // Opens the popover under the row and returns it.
  FillPopover* openPopover();
  FillPopover* popover() const;

 private:
  InspectorContext context_;
  QPointer<FillPopover> popover_;
};

}  // namespace vells::app

#pragma once

#include <QMenu>
#include <optional>

#include "app/floating_bar.h"
#include "models/canvas_geometry.h"

class QToolButton;

namespace vells::models {
class CanvasModel;
}

namespace vells::app {

// The bar that floats by the canvas selection with what can be done to it:
// the phone can be put back where the layout had it, the title and text
// layers edited in place, and any layer duplicated, arranged or deleted.
class CanvasContextBar : public FloatingBar {
  Q_OBJECT

 public:
  CanvasContextBar(models::CanvasModel& canvas, QWidget* parent = nullptr);

  // Shows the controls for `target`; nothing hides them all.
  void setTarget(std::optional<models::CanvasSelection> target);
  const std::optional<models::CanvasSelection>& target() const { return target_; }

  QToolButton* resetButton() const { return reset_; }
  QToolButton* editButton() const { return edit_; }
  QToolButton* duplicateButton() const { return duplicate_; }
  QToolButton* arrangeButton() const { return arrange_; }
  QToolButton* deleteButton() const { return delete_; }

 private:
  void resetPhone();
  void startEditing();

  models::CanvasModel& canvas_;
  std::optional<models::CanvasSelection> target_;
  QMenu arrangeMenu_;
  QToolButton* reset_;
  QToolButton* edit_;
  QToolButton* duplicate_;
  QToolButton* arrange_;
  QToolButton* delete_;
};

}  // namespace vells::app

#include "app/canvas_context_bar.h"

#include <QToolButton>

#include "app/platform_words.h"
#include "app/symbol_icon.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"

namespace vells::app {

using models::ArrangeMove;
using models::CanvasSelection;

CanvasContextBar::CanvasContextBar(models::CanvasModel& canvas, QWidget* parent)
    : FloatingBar(parent),
      canvas_(canvas),
      arrangeMenu_(this),
      reset_(
          addButton(u"arrow.uturn.backward", tr("Reset"), tr("Put the phone back where it was"))),
      edit_(addButton(u"pencil", tr("Edit"), tr("Type in place (Return)"))),
      duplicate_(addButton(u"plus.square.on.square", {}, platformWords(u"Duplicate (⌘D)"))),
      arrange_(addButton(u"square.3.layers.3d", tr("Arrange"), tr("Arrange"))),
      delete_(addButton(u"trash", {}, tr("Delete"))) {
  const std::pair<QString, ArrangeMove> moves[] = {
      {tr("Bring to Front"), ArrangeMove::toFront},
      {tr("Bring Forward"), ArrangeMove::forward},
      {tr("Send Backward"), ArrangeMove::backward},
      {tr("Send to Back"), ArrangeMove::toBack},
  };
  for (const auto& [text, move] : moves) {
    arrangeMenu_.addAction(text, this, [this, move = move] {
      if (target_ && target_->isLayer()) canvas_.arrange(target_->layerId, move);
    });
  }
  arrange_->setMenu(&arrangeMenu_);
  arrange_->setPopupMode(QToolButton::InstantPopup);
  // The destructive one reads as such.
  QPalette warn = delete_->palette();
  warn.setColor(QPalette::ButtonText, QColor(0xd7, 0x3a, 0x49));
  delete_->setPalette(warn);
  delete_->setIcon(symbolIcon(u"trash", QColor(0xd7, 0x3a, 0x49)));
  delete_->setProperty("vells.symbol", QVariant());

  connect(reset_, &QToolButton::clicked, this, &CanvasContextBar::resetPhone);
  connect(edit_, &QToolButton::clicked, this, &CanvasContextBar::startEditing);
  connect(duplicate_, &QToolButton::clicked, this, [this] {
    if (target_ && target_->isLayer()) canvas_.duplicateLayer(target_->layerId);
  });
  connect(delete_, &QToolButton::clicked, this, [this] {
    if (target_ && target_->isLayer()) canvas_.deleteLayer(target_->layerId);
  });
  setTarget(std::nullopt);
}

void CanvasContextBar::setTarget(std::optional<CanvasSelection> target) {
  target_ = std::move(target);
  const bool phone = target_ && target_->kind == CanvasSelection::Kind::phone;
  const bool layer = target_ && target_->isLayer();
  bool text = target_ && target_->kind == CanvasSelection::Kind::title;
  if (layer) {
    auto l = canvas_.layer(target_->layerId);
    text = l && l->kind == VellLayer::Kind::text;
  }
  reset_->setVisible(phone);
  edit_->setVisible(text);
  duplicate_->setVisible(layer);
  arrange_->setVisible(layer);
  delete_->setVisible(layer);
  adjustSize();
}

void CanvasContextBar::resetPhone() {
  models::EditorModel& editor = canvas_.editor();
  editor.checkpoint();
  for (StyleField f :
       {StyleField::phoneOffsetX, StyleField::phoneOffsetY, StyleField::phoneScale,
        StyleField::phoneRotateX, StyleField::phoneRotateY, StyleField::phoneRotateZ})
    editor.setStyle(f, std::nullopt, canvas_.app());
}

void CanvasContextBar::startEditing() {
  if (!target_) return;
  canvas_.editor().checkpoint();
  canvas_.setEditingText(*target_);
}

}  // namespace vells::app

#pragma once

#include <string>

#include "app/inspector_panel.h"

class QToolButton;

namespace vells::app {

// An image layer or sticker selected: its place, size, turn, opacity and
// edge, and replacing its picture.
class ImageLayerPanel : public InspectorPanel {
  Q_OBJECT

 public:
  ImageLayerPanel(const InspectorContext& context, std::string layerId, QWidget* parent = nullptr);

  // Puts the picture of a file in place of the layer's, keeping everything
  // else about the layer.
  void replaceWith(const QString& path);

 private:
  std::string id_;
};

}  // namespace vells::app

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/inspector_panel.h"

class QPlainTextEdit;
class QComboBox;

namespace vells::app {

// The title or a text layer selected: its words, place, face and colours.
class TextDesignPanel : public InspectorPanel {
  Q_OBJECT

 public:
  // The title when `layerId` is nothing, else that text layer.
  TextDesignPanel(const InspectorContext& context, std::optional<std::string> layerId,
                  QWidget* parent = nullptr);

  QPlainTextEdit* content() const { return content_; }
  QComboBox* fontMenu() const { return font_; }
  QComboBox* weightMenu() const { return weight_; }

  // The weights a font offers, lightest first.
  static std::vector<int> weights(const std::string& font);
  static QString weightLabel(int weight);

 private:
  // The value of a style field for the title, or of a layer's own field.
  std::optional<VellLayer> layer() const;

  std::optional<std::string> layerId_;
  QPlainTextEdit* content_;
  QComboBox* font_ = nullptr;
  QComboBox* weight_ = nullptr;
};

}  // namespace vells::app

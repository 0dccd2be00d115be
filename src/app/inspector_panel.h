#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <utility>
#include <vector>

#include "app/inspector_context.h"
#include "app/number_input.h"
#include "app/segmented_input.h"
#include "document/vell_layer.h"

class QCheckBox;
class QComboBox;
class QVBoxLayout;

namespace vells::app {

class ColorInput;
class InspectorHeader;
class InspectorSection;

// One panel of the inspector column: a header, then sections of rows. Each
// control is bound to what it shows once, when it is made: refresh() reads
// every value back from the models, and each edit goes to the editor model.
class InspectorPanel : public QWidget {
  Q_OBJECT

 public:
  InspectorPanel(const InspectorContext& context, QWidget* parent = nullptr);

  // Shows the models' current values in every control.
  void refresh();
  InspectorHeader* header() const { return header_; }
  InspectorSection* section(const QString& title) const;

 protected:
  InspectorHeader* addHeader(const QString& symbol, const QString& title);
  InspectorSection* addSection(const QString& title);
  void addWidget(QWidget* widget);
  void whenRefreshed(std::function<void()> show);

  // A number field bound to reading and writing functions.
  NumberInput* number(QString axis, NumberInput::Range range, double step, QString unit,
                      std::function<double()> read, std::function<void(double, bool)> write);
  // A style number shown at `scale` times its stored value.
  NumberInput* styleNumber(StyleField field, QString axis, NumberInput::Range range, double step,
                           double scale = 1, QString unit = {});
  // A number in the label column's row, half wide, scrubbed from its label.
  void addNumberRow(InspectorSection* section, const QString& label, NumberInput* input,
                    const QString& tip = {});
  ColorInput* color(QString help, std::function<QString()> read,
                    std::function<void(const QString&, bool)> write);
  ColorInput* styleColor(StyleField field, QString help);
  QComboBox* menu(std::vector<std::pair<QString, QString>> options, std::function<QString()> read,
                  std::function<void(const QString&)> write);
  SegmentedInput* segments(std::vector<SegmentedInput::Option> options,
                           std::function<QString()> read,
                           std::function<void(const QString&)> write);
  QCheckBox* toggle(std::function<bool()> read, std::function<void(bool)> write);

  // A change to one layer, replacing it in the list: an undo step of its
  // own, or one per burst while `continuous`.
  void editLayer(const std::string& id, bool continuous,
                 const std::function<void(VellLayer&)>& change);
  // The header's Duplicate and Delete buttons and a "Layer" section with the
  // four arrange buttons, for the layer `id`.
  void addLayerActions(const std::string& id);
  // A number of a layer, shown at `scale` times its value.
  NumberInput* layerNumber(const std::string& id, std::function<double(const VellLayer&)> read,
                           std::function<void(VellLayer&, double)> write, QString axis,
                           NumberInput::Range range, double step, double scale = 1,
                           QString unit = {});

  InspectorContext context_;

 private:
  QVBoxLayout* column_;
  InspectorHeader* header_ = nullptr;
  std::vector<InspectorSection*> sections_;
  std::vector<std::function<void()>> refreshers_;
};

}  // namespace vells::app

#pragma once

#include <QWidget>
#include <map>
#include <string>

#include "app/inspector_context.h"

class QLineEdit;
class QVBoxLayout;
class QToolButton;

namespace vells::app {

// One field for each text inside a coded screen. Typing writes the editor's
// screen values and schedules the text save; a filter appears when the list
// is long.
class ScreenTextsSection : public QWidget {
  Q_OBJECT

 public:
  // More entries than this bring the filter field.
  static constexpr std::size_t filterThreshold = 6;

  ScreenTextsSection(const InspectorContext& context, QWidget* parent = nullptr);

  void refresh();
  QLineEdit* field(const std::string& key) const;
  QLineEdit* filter() const { return filter_; }
  QToolButton* reset() const { return reset_; }

 private:
  void rebuild();
  void applyFilter();

  InspectorContext context_;
  QLineEdit* filter_;
  QToolButton* reset_;
  QWidget* list_;
  QVBoxLayout* rows_;
  std::map<std::string, QLineEdit*> fields_;
  std::vector<std::string> keys_;
};

}  // namespace vells::app

#pragma once

#include <QWidget>

#include "app/inspector_context.h"

class QCheckBox;
class QLabel;

namespace vells::app {

// Whether style edits reach every language or only the active one. Shown
// only while a language other than the set's first is active.
class LanguageScopeToggle : public QWidget {
  Q_OBJECT

 public:
  LanguageScopeToggle(const InspectorContext& context, QWidget* parent = nullptr);

  void refresh();
  QCheckBox* toggle() const { return switch_; }
  QString title() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  InspectorContext context_;
  QLabel* icon_;
  QLabel* title_;
  QLabel* note_;
  QCheckBox* switch_;
};

}  // namespace vells::app

#pragma once

#include <QString>
#include <set>

#include "document/json_value.h"
#include "document/records.h"

class QComboBox;
class QFormLayout;
class QLineEdit;
class QWidget;

namespace vells::app {

// The three rows about an app that the add and edit sheets share: what it
// does, who it is for, and its store category.
struct ProfileFields {
  QLineEdit* about = nullptr;
  QLineEdit* audience = nullptr;
  QComboBox* category = nullptr;

  // Adds the rows, with their examples, to `form`.
  static ProfileFields addTo(QFormLayout* form, QWidget* parent);

  // The chosen category, or empty for "None".
  QString categoryText() const;
  // Shows a stored category; one not in the list shows as "None".
  void setCategory(const QString& category) const;
  // What the library keeps: the platforms and the non-empty texts.
  JSONValue::Object profile(const std::set<DeviceOS>& platforms) const;
};

}  // namespace vells::app

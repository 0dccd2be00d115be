#include "app/profile_fields.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <algorithm>

#include "app/sheet_rules.h"

namespace vells::app {

ProfileFields ProfileFields::addTo(QFormLayout* form, QWidget* parent) {
  ProfileFields fields;
  fields.about = new QLineEdit(parent);
  fields.about->setObjectName(QStringLiteral("about"));
  fields.about->setPlaceholderText(QStringLiteral("Plans cheap, healthy dinners"));
  fields.audience = new QLineEdit(parent);
  fields.audience->setObjectName(QStringLiteral("audience"));
  fields.audience->setPlaceholderText(QStringLiteral("Families on a budget"));
  fields.category = new QComboBox(parent);
  fields.category->setObjectName(QStringLiteral("category"));
  fields.category->addItems(appCategories());
  form->addRow(QObject::tr("What it does"), fields.about);
  form->addRow(QObject::tr("Who it is for"), fields.audience);
  form->addRow(QObject::tr("Category"), fields.category);
  return fields;
}

QString ProfileFields::categoryText() const {
  return category->currentIndex() > 0 ? category->currentText() : QString();
}

void ProfileFields::setCategory(const QString& name) const {
  category->setCurrentIndex(std::max(0, static_cast<int>(appCategories().indexOf(name))));
}

JSONValue::Object ProfileFields::profile(const std::set<DeviceOS>& platforms) const {
  return appProfile(platforms, about->text(), audience->text(), categoryText());
}

}  // namespace vells::app

#include "app/screen_texts_section.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/inspector_header.h"
#include "app/inspector_look.h"

namespace vells::app {

ScreenTextsSection::ScreenTextsSection(const InspectorContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context),
      filter_(new QLineEdit(this)),
      reset_(iconButton(QStringLiteral("arrow.counterclockwise"), tr("Reset screen text"), this)),
      list_(new QWidget(this)),
      rows_(new QVBoxLayout(list_)) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(kRowSpacing);
  auto* top = new QHBoxLayout;
  top->setSpacing(kRowSpacing);
  filter_->setPlaceholderText(tr("Filter"));
  filter_->setAccessibleName(tr("Filter"));
  filter_->setClearButtonEnabled(true);
  top->addWidget(filter_, 1);
  top->addStretch(0);
  top->addWidget(reset_);
  column->addLayout(top);
  rows_->setContentsMargins(0, 0, 0, 0);
  rows_->setSpacing(kRowSpacing);
  column->addWidget(list_);
  connect(filter_, &QLineEdit::textChanged, this, &ScreenTextsSection::applyFilter);
  connect(reset_, &QToolButton::clicked, this, [this] {
    context_.editor.resetScreenTexts();
    context_.editor.scheduleTextSave(context_.app);
  });
  refresh();
}

QLineEdit* ScreenTextsSection::field(const std::string& key) const {
  auto it = fields_.find(key);
  return it == fields_.end() ? nullptr : it->second;
}

void ScreenTextsSection::rebuild() {
  while (QLayoutItem* item = rows_->takeAt(0)) {
    delete item->widget();
    delete item;
  }
  fields_.clear();
  for (const std::string& key : keys_) {
    auto* edit = new QLineEdit(list_);
    edit->setAccessibleName(QString::fromStdString(key));
    edit->setToolTip(QString::fromStdString(key));
    edit->setProperty("key", QString::fromStdString(key));
    rows_->addWidget(edit);
    fields_[key] = edit;
    connect(edit, &QLineEdit::textEdited, this, [this, key](const QString& text) {
      context_.editor.setScreenValue(key, text.toStdString());
      context_.editor.scheduleTextSave(context_.app);
    });
  }
  if (keys_.empty()) rows_->addWidget(noteLabel(tr("This screen has no texts to change."), list_));
}

void ScreenTextsSection::refresh() {
  std::vector<std::string> keys;
  if (const auto& texts = context_.editor.screenTexts())
    for (const auto& entry : texts->entries)
      keys.push_back(entry.key);
  if (keys != keys_) {
    keys_ = std::move(keys);
    rebuild();
  }
  const auto& values = context_.editor.screenValues();
  for (auto& [key, edit] : fields_) {
    auto it = values.find(key);
    const QString value = it == values.end() ? QString() : QString::fromStdString(it->second);
    if (edit->text() != value && !edit->hasFocus()) edit->setText(value);
  }
  filter_->setVisible(keys_.size() > filterThreshold);
  reset_->setEnabled(!keys_.empty());
  applyFilter();
}

void ScreenTextsSection::applyFilter() {
  const QString query = filter_->isVisible() ? filter_->text().trimmed() : QString();
  for (auto& [key, edit] : fields_) {
    const bool shown = query.isEmpty() ||
                       QString::fromStdString(key).contains(query, Qt::CaseInsensitive) ||
                       edit->text().contains(query, Qt::CaseInsensitive);
    edit->setVisible(shown);
  }
}

}  // namespace vells::app

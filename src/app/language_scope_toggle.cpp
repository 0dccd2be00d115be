#include "app/language_scope_toggle.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include "app/inspector_look.h"
#include "app/symbol_icon.h"

namespace vells::app {

LanguageScopeToggle::LanguageScopeToggle(const InspectorContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context),
      icon_(new QLabel(this)),
      title_(new QLabel(this)),
      note_(noteLabel({}, this)),
      switch_(new QCheckBox(this)) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(kInspectorMargin, 8, kInspectorMargin, 8);
  row->setSpacing(8);
  icon_->setFixedSize(16, 16);
  row->addWidget(icon_, 0, Qt::AlignTop);
  auto* words = new QVBoxLayout;
  words->setSpacing(2);
  words->addWidget(title_);
  words->addWidget(note_);
  row->addLayout(words, 1);
  row->addWidget(switch_, 0, Qt::AlignVCenter);
  switch_->setCursor(Qt::PointingHandCursor);
  connect(switch_, &QCheckBox::clicked, this, [this](bool on) {
    context_.editor.setStyleScope(on ? models::StyleScope::locale : models::StyleScope::all);
  });
  refresh();
}

QString LanguageScopeToggle::title() const {
  return title_->text();
}

void LanguageScopeToggle::refresh() {
  const auto locales = context_.app.activeSetLocales();
  const std::string& active = context_.app.activeLocale();
  QString language = QString::fromStdString(active);
  for (const LocaleRef& l : locales)
    if (l.code == active) language = QString::fromStdString(l.nativeName);
  setVisible(!locales.empty() && locales.front().code != active);
  const bool own = context_.editor.styleScope() == models::StyleScope::locale;
  switch_->setChecked(own);
  switch_->setToolTip(
      tr("Whether style changes apply to every language or only to %1").arg(language));
  switch_->setAccessibleName(switch_->toolTip());
  title_->setText(own ? tr("Style for %1 only").arg(language) : tr("Same style in all languages"));
  note_->setText(own ? tr("Other languages keep the shared style")
                     : tr("Turn off to style %1 on its own").arg(language));
  icon_->setPixmap(symbolIcon(own ? u"character.bubble" : u"globe", palette().color(QPalette::Text))
                       .pixmap(QSize(16, 16), devicePixelRatioF()));
}

void LanguageScopeToggle::paintEvent(QPaintEvent*) {
  QPainter p(this);
  QColor line = palette().color(QPalette::Mid);
  line.setAlphaF(0.5f);
  p.setPen(line);
  p.drawLine(0, height() - 1, width(), height() - 1);
}

}  // namespace vells::app

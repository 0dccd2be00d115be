#include "app/sheet_dialog.h"

#include <QColor>
#include <QEvent>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/sheet_rules.h"
#include "app/symbol_icon.h"

namespace vells::app {

namespace {

constexpr int kSymbolSize = 16;
// A warm red that stays readable on light and dark backgrounds.
const QColor kErrorColor(0xE5, 0x48, 0x4D);

void drawSymbol(QLabel* label, const QColor& color) {
  const QString symbol = label->property("symbol").toString();
  if (symbol.isEmpty()) return;
  const QColor tint = label->property("symbolTint").value<QColor>();
  label->setPixmap(symbolIcon(symbol, tint.isValid() ? tint : color)
                       .pixmap(kSymbolSize, kSymbolSize, QIcon::Normal));
}

}  // namespace

SheetDialog::SheetDialog(QWidget* parent) : QDialog(parent) {
  setWindowModality(Qt::WindowModal);
  setAttribute(Qt::WA_DeleteOnClose);
  setMinimumWidth(520);

  auto* root = new QVBoxLayout(this);
  root->setContentsMargins(24, 24, 24, 16);
  root->setSpacing(16);

  auto* heading = new QVBoxLayout;
  heading->setSpacing(4);
  title_ = new QLabel(this);
  title_->setObjectName(QStringLiteral("sheetTitle"));
  QFont titleFont = title_->font();
  titleFont.setPointSizeF(titleFont.pointSizeF() * 1.35);
  titleFont.setWeight(QFont::DemiBold);
  title_->setFont(titleFont);
  subtitle_ = noteLabel({}, this);
  subtitle_->setObjectName(QStringLiteral("sheetSubtitle"));
  heading->addWidget(title_);
  heading->addWidget(subtitle_);
  root->addLayout(heading);

  content_ = new QVBoxLayout;
  content_->setSpacing(12);
  root->addLayout(content_);
  root->addStretch(1);

  errorLabel_ = new QLabel(this);
  errorLabel_->setObjectName(QStringLiteral("sheetError"));
  errorLabel_->setWordWrap(true);
  errorLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  QPalette errorPalette = errorLabel_->palette();
  errorPalette.setColor(QPalette::WindowText, kErrorColor);
  errorLabel_->setPalette(errorPalette);
  errorLine_ = symbolLine(QStringLiteral("exclamationmark.triangle.fill"), errorLabel_, this);
  errorLine_->findChild<QLabel*>(QStringLiteral("symbol"))->setProperty("symbolTint", kErrorColor);
  errorLine_->hide();
  root->addWidget(errorLine_);

  busyLine_ = new QWidget(this);
  auto* busyRow = new QHBoxLayout(busyLine_);
  busyRow->setContentsMargins(0, 0, 0, 0);
  busyRow->setSpacing(8);
  auto* spinner = new QProgressBar(busyLine_);
  spinner->setRange(0, 0);
  spinner->setTextVisible(false);
  spinner->setFixedSize(96, 6);
  busyLabel_ = noteLabel({}, busyLine_);
  busyRow->addWidget(spinner);
  busyRow->addWidget(busyLabel_, 1);
  busyLine_->hide();
  root->addWidget(busyLine_);

  auto* footer = new QHBoxLayout;
  footer->setSpacing(8);
  footerStart_ = new QHBoxLayout;
  footerStart_->setSpacing(8);
  footerEnd_ = new QHBoxLayout;
  footerEnd_->setSpacing(8);
  cancel_ = new QPushButton(tr("Cancel"), this);
  cancel_->setAutoDefault(false);
  confirm_ = new QPushButton(this);
  confirm_->setDefault(true);
  footer->addLayout(footerStart_);
  footer->addStretch(1);
  footer->addWidget(cancel_);
  footer->addLayout(footerEnd_);
  footer->addWidget(confirm_);
  root->addLayout(footer);

  connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
  refreshSymbols();
}

void SheetDialog::setHeading(const QString& title, const QString& subtitle) {
  title_->setText(title);
  subtitle_->setText(subtitle);
  subtitle_->setVisible(!subtitle.isEmpty());
  setWindowTitle(title);
}

void SheetDialog::addFooterButton(QPushButton* button) {
  button->setAutoDefault(false);
  footerEnd_->addWidget(button);
}

void SheetDialog::setError(const QString& text) {
  error_ = text;
  errorLabel_->setText(text);
  errorLine_->setVisible(!text.isEmpty());
}

void SheetDialog::setBusy(bool busy, const QString& text) {
  busy_ = busy;
  busyLabel_->setText(text);
  busyLine_->setVisible(busy);
  confirm_->setEnabled(canConfirm_ && !busy_);
}

void SheetDialog::setCanConfirm(bool canConfirm) {
  canConfirm_ = canConfirm;
  confirm_->setEnabled(canConfirm_ && !busy_);
}

void SheetDialog::refreshSymbols() {
  const QColor color = palette().color(QPalette::WindowText);
  for (QLabel* label : findChildren<QLabel*>(QStringLiteral("symbol")))
    drawSymbol(label, color);
  // Toggles carry their symbol in the text's colour, on and off.
  for (QPushButton* button : findChildren<QPushButton*>()) {
    const QString symbol = button->property("symbol").toString();
    if (symbol.isEmpty()) continue;
    const qreal ratio = devicePixelRatioF();
    QIcon icon;
    icon.addPixmap(
        symbolIcon(symbol, palette().color(QPalette::ButtonText)).pixmap(button->iconSize(), ratio),
        QIcon::Normal, QIcon::Off);
    icon.addPixmap(symbolIcon(symbol, palette().color(QPalette::HighlightedText))
                       .pixmap(button->iconSize(), ratio),
                   QIcon::Normal, QIcon::On);
    button->setIcon(icon);
  }
}

QLabel* SheetDialog::noteLabel(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setWordWrap(true);
  label->setForegroundRole(QPalette::PlaceholderText);
  return label;
}

void SheetDialog::chooseCodeFolder(const QString& appName,
                                   std::function<void(const QString&)> chosen) {
  auto* dialog =
      new QFileDialog(this, QStringLiteral("Choose the folder that holds ") +
                                (appName.isEmpty() ? QStringLiteral("the app") : appName) +
                                QStringLiteral("’s source code"));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setFileMode(QFileDialog::Directory);
  dialog->setOption(QFileDialog::ShowDirsOnly);
  dialog->setLabelText(QFileDialog::Accept, tr("Connect"));
  dialog->setWindowModality(Qt::WindowModal);
  connect(dialog, &QFileDialog::fileSelected, this, std::move(chosen));
  dialog->open();
}

QFormLayout* SheetDialog::formLayout() {
  auto* form = new QFormLayout;
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  form->setFormAlignment(Qt::AlignLeft | Qt::AlignTop);
  form->setHorizontalSpacing(16);
  form->setVerticalSpacing(8);
  form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  return form;
}

QPushButton* SheetDialog::platformChip(DeviceOS os, QWidget* parent) {
  auto* chip = new QPushButton(platformName(os), parent);
  chip->setObjectName(QString::fromUtf8(rawValue(os).data(), rawValue(os).size()));
  chip->setCheckable(true);
  chip->setAutoDefault(false);
  chip->setIconSize(QSize(18, 18));
  chip->setProperty("symbol", QStringLiteral("iphone"));
  // A chosen platform reads at a glance: filled with the accent colour.
  chip->setStyleSheet(QStringLiteral(
      "QPushButton { padding: 6px 16px; border: 1px solid palette(mid); border-radius: 6px;"
      " background: palette(button); color: palette(button-text); }"
      "QPushButton:hover { border-color: palette(highlight); }"
      "QPushButton:pressed { background: palette(midlight); }"
      "QPushButton:checked { background: palette(highlight); color: palette(highlighted-text);"
      " border-color: palette(highlight); }"
      "QPushButton:focus { border: 2px solid palette(highlight); }"
      "QPushButton:checked:focus { border: 2px solid palette(text); }"));
  return chip;
}

QWidget* SheetDialog::optionRow(const QString& symbol, const QString& title, const QString& detail,
                                QRadioButton** radio, QWidget* parent) {
  auto* texts = new QWidget(parent);
  auto* column = new QVBoxLayout(texts);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  *radio = new QRadioButton(title, texts);
  (*radio)->setObjectName(title);
  QFont bold = (*radio)->font();
  bold.setWeight(QFont::DemiBold);
  (*radio)->setFont(bold);
  QLabel* words = noteLabel(detail, texts);
  // Under the title, past the radio's own circle.
  words->setContentsMargins((*radio)->sizeHint().height() + 4, 0, 0, 0);
  column->addWidget(*radio);
  column->addWidget(words);
  // symbolLine takes a label; the option's column stands in a row of its own.
  auto* row = new QWidget(parent);
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  auto* icon = new QLabel(row);
  icon->setObjectName(QStringLiteral("symbol"));
  icon->setProperty("symbol", symbol);
  icon->setFixedSize(kSymbolSize, kSymbolSize);
  drawSymbol(icon, row->palette().color(QPalette::WindowText));
  texts->setParent(row);
  layout->addWidget(icon, 0, Qt::AlignTop);
  layout->addWidget(texts, 1);
  return row;
}

QWidget* SheetDialog::symbolLine(const QString& symbol, QLabel* text, QWidget* parent) {
  auto* line = new QWidget(parent);
  auto* row = new QHBoxLayout(line);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(8);
  auto* icon = new QLabel(line);
  icon->setObjectName(QStringLiteral("symbol"));
  icon->setProperty("symbol", symbol);
  icon->setFixedSize(kSymbolSize, kSymbolSize);
  drawSymbol(icon, line->palette().color(QPalette::WindowText));
  text->setParent(line);
  row->addWidget(icon, 0, Qt::AlignTop);
  row->addWidget(text, 1);
  return line;
}

void SheetDialog::changeEvent(QEvent* event) {
  QDialog::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) refreshSymbols();
}

}  // namespace vells::app

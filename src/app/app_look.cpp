#include "app/app_look.h"

#include <QApplication>
#include <QGuiApplication>
#include <QStyleFactory>
#include <QWidget>
#include <cstdlib>
#include <cstring>

// The icon is compiled into this static library; registering by hand keeps
// the linker from dropping it.
static void registerShellResources() {
  Q_INIT_RESOURCE(shell);
}

namespace vells::app {

QIcon AppLook::applicationIcon() {
  registerShellResources();
  return QIcon(QStringLiteral(":/shell/vellora.svg"));
}

AppLook::Scheme AppLook::systemScheme() {
  if (const char* forced = std::getenv("VELLS_APPEARANCE")) {
    if (std::strcmp(forced, "dark") == 0) return Scheme::dark;
    if (std::strcmp(forced, "light") == 0) return Scheme::light;
  }
  if (const char* gtk = std::getenv("GTK_THEME"); gtk && std::strstr(gtk, ":dark")) {
    return Scheme::dark;
  }
  const QColor window = QGuiApplication::palette().color(QPalette::Window);
  return window.lightness() < 128 ? Scheme::dark : Scheme::light;
}

AppLook AppLook::forScheme(Scheme scheme) {
  AppLook look;
  look.scheme_ = scheme;
  QPalette& p = look.palette_;
  const bool dark = scheme == Scheme::dark;
  // Neutral greys with a faint cool cast; the accent is the one blue.
  const QColor window = dark ? QColor(0x26, 0x27, 0x2b) : QColor(0xf4, 0xf4, 0xf6);
  const QColor base = dark ? QColor(0x1d, 0x1e, 0x22) : QColor(0xff, 0xff, 0xff);
  const QColor text = dark ? QColor(0xec, 0xec, 0xef) : QColor(0x1c, 0x1c, 0x1f);
  const QColor button = dark ? QColor(0x33, 0x34, 0x39) : QColor(0xfb, 0xfb, 0xfc);
  const QColor accent = dark ? QColor(0x3d, 0x8b, 0xfd) : QColor(0x1f, 0x6f, 0xeb);
  const QColor disabled = dark ? QColor(0x6e, 0x6f, 0x76) : QColor(0xa4, 0xa5, 0xab);
  p.setColor(QPalette::Window, window);
  p.setColor(QPalette::WindowText, text);
  p.setColor(QPalette::Base, base);
  p.setColor(QPalette::AlternateBase, dark ? QColor(0x23, 0x24, 0x28) : QColor(0xf7, 0xf7, 0xf9));
  p.setColor(QPalette::Text, text);
  p.setColor(QPalette::Button, button);
  p.setColor(QPalette::ButtonText, text);
  p.setColor(QPalette::BrightText, Qt::white);
  p.setColor(QPalette::Highlight, accent);
  p.setColor(QPalette::HighlightedText, Qt::white);
  p.setColor(QPalette::ToolTipBase, dark ? QColor(0x3a, 0x3b, 0x41) : QColor(0x2b, 0x2c, 0x30));
  p.setColor(QPalette::ToolTipText, QColor(0xf4, 0xf4, 0xf6));
  p.setColor(QPalette::PlaceholderText, disabled);
  p.setColor(QPalette::Link, accent);
  p.setColor(QPalette::Light, dark ? QColor(0x45, 0x46, 0x4c) : QColor(0xff, 0xff, 0xff));
  p.setColor(QPalette::Midlight, dark ? QColor(0x3a, 0x3b, 0x40) : QColor(0xe8, 0xe8, 0xeb));
  p.setColor(QPalette::Mid, dark ? QColor(0x4a, 0x4b, 0x52) : QColor(0xc9, 0xca, 0xcf));
  p.setColor(QPalette::Dark, dark ? QColor(0x15, 0x15, 0x18) : QColor(0xa9, 0xaa, 0xb0));
  p.setColor(QPalette::Shadow, QColor(0, 0, 0, dark ? 160 : 60));
  for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    p.setColor(QPalette::Disabled, role, disabled);
  }
  p.setColor(QPalette::Disabled, QPalette::Highlight, dark ? QColor(0x4a, 0x4b, 0x52) : disabled);
  return look;
}

bool AppLook::isDark(const QPalette& palette) {
  return palette.color(QPalette::Window).lightness() < 128;
}

QColor AppLook::backdrop(const QPalette& palette) {
  return isDark(palette) ? QColor(0x18, 0x19, 0x1c) : QColor(0xe4, 0xe4, 0xe7);
}

QColor AppLook::secondaryText(const QPalette& palette) {
  return isDark(palette) ? QColor(0x9d, 0x9e, 0xa6) : QColor(0x6b, 0x6c, 0x73);
}

QColor AppLook::separator(const QPalette& palette) {
  return isDark(palette) ? QColor(0x12, 0x12, 0x15) : QColor(0xd4, 0xd4, 0xd8);
}

QColor AppLook::warning(const QPalette& palette) {
  return isDark(palette) ? QColor(0xf5, 0xb0, 0x41) : QColor(0xb8, 0x6e, 0x00);
}

void AppLook::quiet(QWidget* widget, qreal fontScale, bool bold) {
  QPalette p = widget->palette();
  p.setColor(QPalette::WindowText, secondaryText(p));
  widget->setPalette(p);
  QFont f = widget->font();
  if (fontScale != 1.0) f.setPointSizeF(f.pointSizeF() * fontScale);
  if (bold) f.setWeight(QFont::DemiBold);
  widget->setFont(f);
}

void AppLook::apply(QApplication& application) const {
  application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  application.setPalette(palette_);
}

}  // namespace vells::app

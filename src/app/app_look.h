#pragma once

#include <QColor>
#include <QIcon>
#include <QPalette>

class QApplication;
class QWidget;

namespace vells::app {

// The interface's colours: the platform style with one considered palette for
// light and one for dark, so that the store image is the only colour on screen.
class AppLook {
 public:
  enum class Scheme { light, dark };

  // $VELLS_APPEARANCE ("light" or "dark") when set; else dark when the
  // platform theme's window colour is dark or GTK_THEME names a dark variant.
  static Scheme systemScheme();

  static AppLook forScheme(Scheme scheme);
  // The application's own icon, for its windows.
  static QIcon applicationIcon();

  // Fusion, the palette, and the few style rules the palette can't carry.
  void apply(QApplication& application) const;

  Scheme scheme() const { return scheme_; }
  const QPalette& palette() const { return palette_; }

  // Colours every widget derives from its own palette, so that a view needs
  // nothing but its parent to look right.
  // The quiet grey behind the canvas and the gallery.
  static QColor backdrop(const QPalette& palette);
  // Secondary words: subtitles, notes, tips.
  static QColor secondaryText(const QPalette& palette);
  // Hairlines between columns.
  static QColor separator(const QPalette& palette);
  static QColor warning(const QPalette& palette);
  static bool isDark(const QPalette& palette);
  // Sets `widget`'s words in the secondary colour, their font scaled by
  // `fontScale` and, when `bold`, in the semibold weight.
  static void quiet(QWidget* widget, qreal fontScale = 1.0, bool bold = false);

 private:
  Scheme scheme_ = Scheme::light;
  QPalette palette_;
};

}  // namespace vells::app

#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>
#include <string>

class QWidget;
class QLabel;

namespace vells::app {

// The inspector's shared measures, on the 8-px grid.
inline constexpr int kInspectorWidth = 320;
inline constexpr int kInspectorMargin = 16;
inline constexpr int kLabelColumn = 88;
inline constexpr int kRowSpacing = 8;

// The rounded field outline every inspector input draws around itself: the
// base colour inside, darker on hover, the highlight colour with focus.
void paintFieldFrame(QWidget* field, bool focused);

// Small secondary text under a control or a header.
QLabel* noteLabel(const QString& text, QWidget* parent);

// A rounded chip of a three-stop gradient, diagonal, with a hairline edge,
// sharp at `dpr`.
QPixmap gradientChip(QSize size, const std::string& from, const std::string& via,
                     const std::string& to, const QColor& edge, qreal dpr);

// The muted colour of secondary text and symbols in `widget`'s palette.
QColor mutedColor(const QWidget* widget);

}  // namespace vells::app

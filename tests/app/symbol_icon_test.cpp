#include "app/symbol_icon.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPixmap>

namespace vells::app {
namespace {

int paintedPixels(const QImage& image) {
  int painted = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (qAlpha(image.pixel(x, y)) > 0) ++painted;
    }
  }
  return painted;
}

TEST(SymbolIcon, EveryNameTheInterfaceUsesDrawsInTheGivenColour) {
  for (const char* name : {"lock.fill", "sparkles", "gearshape", "sidebar.left", "doc.text",
                           "bolt.horizontal.circle", "exclamationmark.triangle.fill",
                           "wand.and.stars", "stop.circle", "tray", "xmark", "iphone"}) {
    SCOPED_TRACE(name);
    const QIcon icon = symbolIcon(QString::fromLatin1(name), QColor(200, 30, 40));
    ASSERT_FALSE(icon.isNull());
    const QImage image =
        icon.pixmap(QSize(24, 24)).toImage().convertToFormat(QImage::Format_ARGB32);
    ASSERT_EQ(image.size(), QSize(24, 24));
    EXPECT_GT(paintedPixels(image), 20);
    // The outline's solid pixels carry the colour asked for, not the set's black.
    bool sawColour = false;
    for (int y = 0; y < image.height() && !sawColour; ++y) {
      for (int x = 0; x < image.width() && !sawColour; ++x) {
        const QRgb pixel = image.pixel(x, y);
        sawColour = qAlpha(pixel) == 255 && qRed(pixel) == 200 && qGreen(pixel) == 30;
      }
    }
    EXPECT_TRUE(sawColour);
  }
}

TEST(SymbolIcon, DrawsAtTheDevicePixelRatioAndFadesWhenDisabled) {
  const QIcon icon = symbolIcon(u"gearshape", Qt::black);
  const QPixmap sharp = icon.pixmap(QSize(16, 16), 2.0);
  EXPECT_EQ(sharp.size(), QSize(32, 32));
  EXPECT_DOUBLE_EQ(sharp.devicePixelRatio(), 2.0);

  const QImage normal = icon.pixmap(QSize(24, 24), QIcon::Normal).toImage();
  const QImage disabled = icon.pixmap(QSize(24, 24), QIcon::Disabled).toImage();
  int normalMax = 0;
  int disabledMax = 0;
  for (int y = 0; y < 24; ++y) {
    for (int x = 0; x < 24; ++x) {
      normalMax = std::max(normalMax, qAlpha(normal.pixel(x, y)));
      disabledMax = std::max(disabledMax, qAlpha(disabled.pixel(x, y)));
    }
  }
  EXPECT_EQ(normalMax, 255);
  EXPECT_LT(disabledMax, 128);
}

TEST(SymbolIcon, AnUnknownNameGivesNoIcon) {
  EXPECT_TRUE(symbolIcon(u"no.such.symbol", Qt::black).isNull());
  EXPECT_TRUE(symbolPath(u"").isEmpty());
}

}  // namespace
}  // namespace vells::app

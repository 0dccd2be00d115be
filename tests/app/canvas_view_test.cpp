// The canvas widget on the offscreen platform, on a real library with the
// real editor models: what a person does with the pointer, the keyboard and
// the in-place editor arrives in the saved style and texts.
#include "app/canvas_view.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QBuffer>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QUrl>
#include <cmath>

#include "models/canvas_model.h"
#include "models/editor_fixture.h"
#include "models/gesture_controller.h"
#include "models/text_fonts.h"

namespace vells::testing {
namespace {

using app::CanvasView;
using models::CanvasBox;
using models::CanvasRects;
using models::CanvasSelection;

struct CanvasScreen : EditorStack {
  models::CanvasModel canvas{editor, app};
  models::GestureController gestures{canvas};
  models::TextFonts fonts;
  CanvasView view{canvas, gestures, editor, fonts};

  CanvasScreen() {
    storeStyles(
        "a",
        R"({"home":{"layers":[)"
        R"({"id":"star","kind":"image","asset":"s.png","x":150,"y":300,"w":120,"rotate":45,"sticker":true},)"
        R"({"id":"note","kind":"text","text":"Hi *there*","x":400,"y":1100,"w":300,"size":40}]}})");
    load();
    app.setOs(DeviceOS::ios);
    view.resize(600, 900);
    view.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&view));
    // What the preview would report for this page at this box.
    const double w = view.boxSize().width();
    const double h = view.boxSize().height();
    CanvasRects rects;
    rects.phone = CanvasBox{w / 2, h * 0.58, w * 0.62, h * 0.66, 0};
    rects.title = CanvasBox{w / 2, h * 0.09, w * 0.6, h * 0.06, 0};
    rects.layers = {{"star", CanvasBox{90, 180, 70, 70, 45}},
                    {"note", CanvasBox{240, 660, 180, 30, 0}}};
    canvas.setRects(rects);
  }
  double scale() const { return gestures.scale(); }
  QPoint at(double x, double y) const { return view.fromView({x, y}).toPoint(); }
  QPoint centreOf(const CanvasSelection& s) const {
    auto b = *canvas.rects().box(s);
    return at(b.cx, b.cy);
  }
  void mouse(QEvent::Type type, QPoint p, Qt::MouseButtons buttons = Qt::LeftButton) {
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent e(type, QPointF(p), QPointF(view.mapToGlobal(p)), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(&view, &e);
  }
  void hover(QPoint p) { mouse(QEvent::MouseMove, p, Qt::NoButton); }
  void drag(QPoint from, QPoint to) {
    mouse(QEvent::MouseButtonPress, from);
    for (int i = 1; i <= 12; ++i)
      mouse(QEvent::MouseMove, from + (to - from) * i / 12);
    mouse(QEvent::MouseButtonRelease, to, Qt::NoButton);
  }
  void doubleClick(QPoint p) {
    mouse(QEvent::MouseButtonPress, p);
    mouse(QEvent::MouseButtonRelease, p, Qt::NoButton);
    mouse(QEvent::MouseButtonDblClick, p);
    mouse(QEvent::MouseButtonRelease, p, Qt::NoButton);
  }
  // The base style of the page as the library holds it.
  JSONValue saved() {
    wait(500);
    return *stored("styles", "a").find("home");
  }
};

TEST(CanvasViewDrag, APhoneDragIsSavedInCompositePixelsAndShowsTheGuideWhileItSnaps) {
  CanvasScreen s;
  const QPoint phone = s.centreOf(CanvasSelection::phone());
  s.drag(phone, phone + QPoint(30, 45));
  EXPECT_EQ(s.canvas.selection(), CanvasSelection::phone());
  JSONValue style = s.saved();
  EXPECT_EQ(style.numberAt("phoneOffsetX"), std::round(30 / s.scale()));
  EXPECT_EQ(style.numberAt("phoneOffsetY"), std::round(45 / s.scale()));
  EXPECT_EQ(s.editor.undoDepth(), 1u);

  // The preview reports the phone where it now stands. Dragged back to 4
  // points off the centre, it snaps onto the vertical centre line, and the
  // guide is drawn down the whole page.
  CanvasRects rects = s.canvas.rects();
  rects.phone->cx += 30;
  rects.phone->cy += 45;
  s.canvas.setRects(rects);
  const QPoint from = s.centreOf(CanvasSelection::phone());
  s.mouse(QEvent::MouseButtonPress, from);
  s.mouse(QEvent::MouseMove, from + QPoint(-10, 0));
  s.mouse(QEvent::MouseMove, from + QPoint(-26, 20));
  ASSERT_TRUE(s.gestures.guideX());
  const QImage shot = s.view.grab().toImage();
  const int cx = s.view.pageRect().left() + s.view.boxSize().width() / 2;
  for (int y : {s.view.pageRect().top() + 5, s.view.pageRect().bottom() - 5}) {
    EXPECT_EQ(shot.pixelColor(cx, y), QColor(0xff, 0x2d, 0x92)) << y;
  }
  s.mouse(QEvent::MouseButtonRelease, from + QPoint(-26, 20), Qt::NoButton);
  EXPECT_FALSE(s.gestures.guideX());
  const double startX = std::round(30 / s.scale());
  const double startY = std::round(45 / s.scale());
  style = s.saved();
  // The snap moved it by exactly the 30 points that put it on the centre.
  EXPECT_EQ(style.numberAt("phoneOffsetX"), std::round(startX - 30 / s.scale()));
  EXPECT_EQ(style.numberAt("phoneOffsetY"), std::round(startY + 20 / s.scale()));
}

TEST(CanvasViewInline, DoubleClickOnTheTitleEditsInPlaceAndTheTypingIsSaved) {
  CanvasScreen s;
  QSignalSpy editing(&s.view, &CanvasView::inlineEditingChanged);
  s.doubleClick(s.centreOf(CanvasSelection::title()));
  ASSERT_EQ(s.canvas.editingText(), CanvasSelection::title());
  EXPECT_TRUE(s.view.inlineEditor().isVisible());
  EXPECT_TRUE(s.view.inlineEditor().hasFocus());
  EXPECT_TRUE(s.view.inlineBar().isVisible());
  EXPECT_FALSE(s.view.contextBar().isVisible());
  EXPECT_TRUE(s.gestures.handles().empty());
  ASSERT_EQ(editing.count(), 1);
  EXPECT_EQ(editing.at(0).at(0).toString(), "title");
  // The editor letters at the page's size on this box and spans the column.
  EXPECT_EQ(s.view.inlineEditor().look().font.pixelSize(), std::lround(66 * s.scale()));
  EXPECT_EQ(s.view.inlineEditor().width(), std::lround(541 * s.scale()));

  QTest::keyClicks(&s.view.inlineEditor(), "Stay on");
  QTest::keyClick(&s.view.inlineEditor(), Qt::Key_Return);
  QTest::keyClicks(&s.view.inlineEditor(), "track");
  EXPECT_EQ(s.editor.title(), "Stay on\ntrack");
  // "track" highlighted: the stars come back in the stored text.
  QTextCursor cursor = s.view.inlineEditor().textCursor();
  cursor.movePosition(QTextCursor::StartOfBlock, QTextCursor::KeepAnchor);
  s.view.inlineEditor().setTextCursor(cursor);
  s.view.highlightButton()->click();
  EXPECT_EQ(s.editor.title(), "Stay on\n*track*");
  // Keys meant for the text never reach the canvas's commands.
  QTest::keyClick(&s.view.inlineEditor(), Qt::Key_Left, Qt::ShiftModifier);
  QTest::keyClick(&s.view.inlineEditor(), Qt::Key_Delete);
  EXPECT_TRUE(s.canvas.layer("star"));
  s.wait(700);
  EXPECT_EQ(*s.stored("texts", "a").find("home")->find("en")->stringAt("title"), s.editor.title());

  QTest::keyClick(&s.view.inlineEditor(), Qt::Key_Escape);
  EXPECT_FALSE(s.canvas.editingText());
  EXPECT_FALSE(s.view.inlineEditor().isVisible());
  EXPECT_FALSE(s.view.inlineBar().isVisible());
  EXPECT_TRUE(s.view.hasFocus());
  ASSERT_EQ(editing.count(), 2);
  EXPECT_EQ(editing.at(1).at(0).toString(), "");
  EXPECT_EQ(s.canvas.selection(), CanvasSelection::title());
}

TEST(CanvasViewInline, ATextLayerOpensWithItsMarkupAndReturnOnTheCanvasStartsEditing) {
  CanvasScreen s;
  s.mouse(QEvent::MouseButtonPress, s.centreOf(CanvasSelection::layer("note")));
  s.mouse(QEvent::MouseButtonRelease, s.centreOf(CanvasSelection::layer("note")), Qt::NoButton);
  EXPECT_TRUE(s.view.contextBar().editButton()->isVisible());
  EXPECT_TRUE(s.view.contextBar().duplicateButton()->isVisible());
  QTest::keyClick(&s.view, Qt::Key_Return);
  ASSERT_EQ(s.canvas.editingText(), CanvasSelection::layer("note"));
  // The stars are gone; the accented word carries the mark.
  EXPECT_EQ(s.view.inlineEditor().toPlainText(), "Hi there");
  EXPECT_EQ(s.view.inlineEditor().markup(), "Hi *there*");
  QTest::keyClicks(&s.view.inlineEditor(), "!");
  EXPECT_EQ(s.canvas.layer("note")->text, "Hi *there!*");
  // Ctrl+Return finishes as Esc does.
  QTest::keyClick(&s.view.inlineEditor(), Qt::Key_Return, Qt::ControlModifier);
  EXPECT_FALSE(s.canvas.editingText());
  EXPECT_EQ(s.saved().find("layers")->asArray()->at(1).stringAt("text"), "Hi *there!*");
}

TEST(CanvasViewCursor, HandlesShowTheirCursorsTurnedWithTheObject) {
  CanvasScreen s;
  const CanvasBox phone = *s.canvas.rects().phone;
  s.hover(s.at(phone.cx, phone.cy));
  EXPECT_EQ(s.view.cursor().shape(), Qt::SizeAllCursor);
  s.hover(s.at(4, 4));
  EXPECT_EQ(s.view.cursor().shape(), Qt::ArrowCursor);

  s.canvas.select(CanvasSelection::phone());
  const double hw = phone.w / 2 + 2;
  const double hh = phone.h / 2 + 2;
  s.hover(s.at(phone.cx - hw, phone.cy - hh));
  EXPECT_EQ(s.view.cursor().shape(), Qt::SizeFDiagCursor);
  s.hover(s.at(phone.cx + hw, phone.cy - hh));
  EXPECT_EQ(s.view.cursor().shape(), Qt::SizeBDiagCursor);
  s.hover(s.at(phone.cx, phone.cy - phone.h / 2 - 22));
  EXPECT_EQ(s.view.cursor().shape(), Qt::BitmapCursor);

  // The sticker turned by 45 degrees: its top-left corner now pulls up and down.
  s.canvas.select(CanvasSelection::layer("star"));
  const auto handles = s.gestures.handles();
  ASSERT_EQ(handles.size(), 5u);
  s.hover(s.at(handles[0].centre.x, handles[0].centre.y));
  EXPECT_EQ(s.view.cursor().shape(), Qt::SizeVerCursor);

  // The title has width handles on its sides.
  s.canvas.select(CanvasSelection::title());
  const CanvasBox title = *s.canvas.rects().title;
  s.hover(s.at(title.cx + title.w / 2 + 2, title.cy));
  EXPECT_EQ(s.view.cursor().shape(), Qt::SizeHorCursor);
}

TEST(CanvasViewKeys, NudgesMoveOneOrTenCompositePixelsAsOneUndoStep) {
  CanvasScreen s;
  const QPoint phone = s.centreOf(CanvasSelection::phone());
  s.mouse(QEvent::MouseButtonPress, phone);
  s.mouse(QEvent::MouseButtonRelease, phone, Qt::NoButton);
  ASSERT_TRUE(s.view.hasFocus());
  QTest::keyClick(&s.view, Qt::Key_Right);
  QTest::keyClick(&s.view, Qt::Key_Right);
  QTest::keyClick(&s.view, Qt::Key_Down, Qt::ShiftModifier);
  JSONValue style = s.saved();
  EXPECT_EQ(style.numberAt("phoneOffsetX"), 2);
  EXPECT_EQ(style.numberAt("phoneOffsetY"), 10);
  EXPECT_EQ(s.editor.undoDepth(), 1u);
  QTest::keyClick(&s.view, Qt::Key_Z, Qt::ControlModifier);
  style = s.saved();
  EXPECT_FALSE(style.numberAt("phoneOffsetX"));

  // Delete takes a selected layer away; Esc clears the selection.
  s.canvas.select(CanvasSelection::layer("star"));
  QTest::keyClick(&s.view, Qt::Key_Delete);
  EXPECT_FALSE(s.canvas.layer("star"));
  s.canvas.select(CanvasSelection::phone());
  QTest::keyClick(&s.view, Qt::Key_Escape);
  EXPECT_FALSE(s.canvas.selection());
}

TEST(CanvasViewBars, TheContextBarFloatsClearOfTheHandlesAndResetsThePhone) {
  CanvasScreen s;
  s.editor.setStyle(StyleField::phoneScale, JSONValue(1.2), s.app);
  s.editor.setStyle(StyleField::phoneRotateX, JSONValue(8.0), s.app);
  s.canvas.select(CanvasSelection::phone());
  auto& bar = s.view.contextBar();
  ASSERT_TRUE(bar.isVisible());
  EXPECT_TRUE(bar.resetButton()->isVisible());
  EXPECT_FALSE(bar.editButton()->isVisible());
  EXPECT_FALSE(bar.deleteButton()->isVisible());
  const CanvasBox phone = *s.canvas.rects().phone;
  const QPoint knob = s.at(phone.cx, phone.cy - phone.h / 2 - 22);
  EXPECT_LT(bar.geometry().bottom(), knob.y() - 8);
  EXPECT_NEAR(bar.geometry().center().x(), knob.x(), 1);

  bar.resetButton()->click();
  const JSONValue style = s.saved();
  EXPECT_FALSE(style.find("phoneScale"));
  EXPECT_FALSE(style.find("phoneRotateX"));
  EXPECT_EQ(s.editor.undoDepth(), 1u);

  // A layer: duplicate, arrange and delete.
  s.canvas.select(CanvasSelection::layer("star"));
  EXPECT_TRUE(bar.duplicateButton()->isVisible());
  EXPECT_TRUE(bar.arrangeButton()->isVisible());
  EXPECT_FALSE(bar.editButton()->isVisible());
  bar.duplicateButton()->click();
  EXPECT_EQ(s.canvas.layers().size(), 3u);
}

TEST(CanvasViewFrame, AFrameAtTheBoxIsShownPixelForPixelAndTheBoxFollowsTheWidget) {
  CanvasScreen s;
  QSignalSpy box(&s.view, &CanvasView::boxChanged);
  s.view.resize(700, 1000);
  ASSERT_EQ(box.count(), 1);
  const QSizeF size = box.at(0).at(0).toSizeF();
  EXPECT_EQ(size, QSizeF(s.view.pageRect().size()));
  EXPECT_NEAR(size.width() / size.height(), 621.0 / 1344, 0.002);
  EXPECT_EQ(s.gestures.scale(), size.height() / 1344);
  s.view.resize(700, 1000);
  EXPECT_EQ(box.count(), 1);

  // One-pixel stripes survive only if nothing scales them.
  QImage frame(size.toSize() * s.view.devicePixelRatioF(), QImage::Format_RGB32);
  for (int x = 0; x < frame.width(); ++x)
    for (int y = 0; y < frame.height(); ++y)
      frame.setPixel(x, y, x % 2 ? qRgb(250, 250, 250) : qRgb(10, 10, 10));
  s.view.setFrame(frame);
  s.canvas.select(std::nullopt);
  QImage shot = s.view.grab().toImage();
  const QPoint corner = s.view.pageRect().topLeft() + QPoint(2, 300);
  EXPECT_EQ(shot.pixel(corner), frame.pixel(2, 300));
  EXPECT_EQ(shot.pixel(corner + QPoint(1, 0)), frame.pixel(3, 300));

  s.view.setRestarting(true);
  shot = s.view.grab().toImage();
  EXPECT_NE(shot.pixel(corner), frame.pixel(2, 300));  // dimmed
  // Editing goes on meanwhile.
  s.canvas.select(CanvasSelection::phone());
  s.view.setFocus();
  QTest::keyClick(&s.view, Qt::Key_Up);
  EXPECT_EQ(s.saved().numberAt("phoneOffsetY"), -1);
}

TEST(CanvasViewDrop, APictureIsPlacedWhereItFallsAndAnythingElseGetsASentence) {
  CanvasScreen s;
  auto drop = [&](const QString& path, QPoint where) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    QDragEnterEvent enter(where, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&s.view, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent dropped(QPointF(where), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&s.view, &dropped);
    s.settle();
  };
  const QString text = QString::fromStdString((s.lib.dir.path() / "notes.txt").string());
  QFile f(text);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write("not a picture");
  f.close();
  drop(text, s.at(100, 100));
  EXPECT_EQ(s.canvas.layers().size(), 2u);
  EXPECT_TRUE(s.editor.status().isError);
  EXPECT_NE(s.editor.status().text.find("notes.txt"), std::string::npos);
  EXPECT_NE(s.editor.status().text.find("isn’t a picture"), std::string::npos);

  // A BMP: not a format the library keeps, so it goes as PNG.
  QImage picture(40, 30, QImage::Format_RGB32);
  picture.fill(Qt::red);
  const QString bmp = QString::fromStdString((s.lib.dir.path() / "Red dot.bmp").string());
  ASSERT_TRUE(picture.save(bmp, "BMP"));
  drop(bmp, s.at(100, 200));
  const auto layers = s.canvas.layers();
  ASSERT_EQ(layers.size(), 3u);
  const VellLayer& placed = layers.back();
  EXPECT_EQ(placed.name, "Red dot");
  EXPECT_TRUE(placed.asset && placed.asset->ends_with(".png"));
  EXPECT_NEAR(placed.x, 100 / s.scale(), 1);
  EXPECT_NEAR(placed.y, 200 / s.scale(), 1);
  EXPECT_EQ(s.canvas.selection(), CanvasSelection::layer(placed.id));
  s.editor.undo(s.app);
  EXPECT_EQ(s.canvas.layers().size(), 2u);  // one step for the drop
}

}  // namespace
}  // namespace vells::testing

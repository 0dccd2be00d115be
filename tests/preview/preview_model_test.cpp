// The model the canvas binds to, on the editor's real stack: the state it
// builds from the workspace, the editor and the canvas, the rectangles it
// hands on, and a preview whose browser can't start failing quietly.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "models/canvas_model.h"
#include "models/editor_fixture.h"
#include "preview/preview_engine.h"
#include "preview/preview_model.h"

namespace vells::testing {
namespace {

using preview::PreviewEngine;
using preview::PreviewModel;

struct PreviewModelTest : ::testing::Test {
  EditorStack stack;
  models::CanvasModel canvas{stack.editor, stack.app};
  // No browser here: one that can't be started.
  PreviewEngine engine{*stack.lib.backend, [this] {
                         PreviewEngine::Options o;
                         o.resourceDir = VELLS_SOURCE_RESOURCES;
                         o.executable = stack.lib.dir.path() / "no-browser";
                         return o;
                       }()};
  PreviewModel model{engine, canvas};
};

TEST_F(PreviewModelTest, BuildsTheStateOfTheActivePageFittedIntoTheBox) {
  EXPECT_FALSE(model.state()) << "no box, nothing to draw";
  EXPECT_TRUE(model.imageSize().isEmpty());
  QSignalSpy sized(&model, &PreviewModel::imageSizeChanged);
  model.setBoxSize({800, 900});
  EXPECT_EQ(sized.count(), 1);
  EXPECT_EQ(model.imageSize(), QSizeF(416, 900));
  model.setBoxSize({310.5, 2000});  // the width limits
  EXPECT_EQ(model.imageSize(), QSizeF(310, 671));

  stack.editor.setTitleText("Hello *there*");
  auto s = model.state();
  ASSERT_TRUE(s);
  EXPECT_EQ(s->set, "a");
  EXPECT_EQ(s->page, "home");
  EXPECT_EQ(s->locale, stack.app.activeLocale());
  EXPECT_EQ(s->title, "Hello *there*");
  EXPECT_EQ(s->boxHeight, 671);
  EXPECT_EQ(s->style, stack.editor.resolved("home", s->locale));
  EXPECT_NE(s->backgroundURL.find("/api/background?"), std::string::npos);
  EXPECT_NE(s->overlayURL.find("/api/overlay?"), std::string::npos);
  EXPECT_FALSE(s->editing);

  // The text edited in place is hidden in the page.
  canvas.setEditingText(models::CanvasSelection::title());
  EXPECT_EQ(model.state()->editing, "title");
  canvas.setEditingText(std::nullopt);
  EXPECT_FALSE(model.state()->editing);

  stack.app.setOs(DeviceOS::android);
  EXPECT_EQ(model.state()->os, DeviceOS::android);
  EXPECT_EQ(model.imageSize(), QSizeF(310, 671));
}

TEST_F(PreviewModelTest, HandsReportedRectsToTheCanvas) {
  models::CanvasRects rects;
  rects.phone = models::CanvasBox{100, 200, 150, 300, 4};
  rects.layers.push_back({"a", {1, 2, 3, 4, 0}});
  emit engine.rectsReported(rects);
  EXPECT_EQ(canvas.rects(), rects);
}

TEST_F(PreviewModelTest, ABrowserThatWontStartLeavesTheEditorWorking) {
  QSignalSpy restarting(&model, &PreviewModel::restartingChanged);
  model.setBoxSize({600, 800});
  ASSERT_TRUE(spinUntil([&] { return model.restarting(); }, 5000));
  EXPECT_TRUE(model.frame().isNull());
  EXPECT_GE(restarting.count(), 1);
  // Edits go on; the preview keeps trying without a word.
  stack.editor.setTitleText("Still editing");
  EXPECT_EQ(model.state()->title, "Still editing");
  spinUntil([] { return false; }, 300);
  EXPECT_GE(engine.starts(), 2);
  EXPECT_EQ(engine.browserPid(), -1);
}

}  // namespace
}  // namespace vells::testing

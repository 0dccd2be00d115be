#include <gtest/gtest.h>

#include <QBuffer>
#include <QCheckBox>
#include <QComboBox>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTabBar>
#include <QToolButton>

#include "app/color_input.h"
#include "app/fill_popover.h"
#include "app/fill_row.h"
#include "app/hsb_color.h"
#include "app/inspector_header.h"
#include "app/inspector_section.h"
#include "app/language_scope_toggle.h"
#include "app/layers_section.h"
#include "app/page_panel.h"
#include "app/phone_panel.h"
#include "app/segmented_input.h"
#include "app/sticker_picker.h"
#include "app/text_design_panel.h"
#include "inspector_fixture.h"

namespace vells::testing {
namespace {

using models::CanvasSelection;

TEST(InspectorNumbers, TypedValuesTakeACommaAreClampedAndBadTextRestoresTheOldValue) {
  InspectorStack s;
  s.canvas.select(CanvasSelection::title());
  ASSERT_TRUE(qobject_cast<app::TextDesignPanel*>(s.view.panel()));
  app::NumberInput* size = s.number("Size");
  ASSERT_TRUE(size);
  EXPECT_EQ(size->text(), "66");

  s.type(size->field(), "12,5");
  EXPECT_DOUBLE_EQ(s.homeNumber(StyleField::titleSize), 12.5);
  EXPECT_EQ(s.editor.undoDepth(), 1u);  // a typed value is a step of its own

  s.type(size->field(), "9999");
  EXPECT_DOUBLE_EQ(s.homeNumber(StyleField::titleSize), 240);
  EXPECT_EQ(size->text(), "240");

  s.type(size->field(), "big");
  EXPECT_DOUBLE_EQ(s.homeNumber(StyleField::titleSize), 240);
  EXPECT_EQ(size->text(), "240");

  // Shown at 100 times the stored value, stored to two decimals; a step of
  // 0.5 shows one decimal.
  app::NumberInput* spacing = s.number("Letter spacing");
  EXPECT_EQ(spacing->text(), "-3.0");
  s.type(spacing->field(), "-20");
  EXPECT_DOUBLE_EQ(s.homeNumber(StyleField::titleLetterSpacing), -0.15);
  EXPECT_EQ(spacing->text(), "-15.0");

  // What the debounced save wrote is what the field shows.
  const JSONValue home = s.storedHome();
  EXPECT_EQ(*home.find("titleSize")->asNumber(), 240);
  EXPECT_EQ(*home.find("titleLetterSpacing")->asNumber(), -0.15);
  EXPECT_EQ(app::NumberInput::format(1.6, 1), "2");
}

TEST(InspectorNumbers, DraggingALabelMovesOneStepPerTwoPointsStopsAtTheBoundAndIsOneUndoStep) {
  InspectorStack s;
  s.canvas.select(CanvasSelection::phone());
  ASSERT_TRUE(qobject_cast<app::PhonePanel*>(s.view.panel()));
  app::NumberInput* size = s.number("Size");
  QLabel* label = s.labelOf(size);
  ASSERT_TRUE(label);
  EXPECT_EQ(size->text(), "100");

  s.drag(label, 10);
  EXPECT_DOUBLE_EQ(s.homeNumber(StyleField::phoneScale), 1.05);
  EXPECT_EQ(size->text(), "105");
  EXPECT_EQ(s.editor.undoDepth(), 1u);

  // Far past the bound: it stops there; still within the same burst.
  s.drag(label, 1000);
  EXPECT_DOUBLE_EQ(s.homeNumber(StyleField::phoneScale), 1.6);
  EXPECT_EQ(s.editor.undoDepth(), 1u);
  s.clock.advance(std::chrono::milliseconds(900));
  s.drag(label, -20);
  EXPECT_EQ(s.editor.undoDepth(), 2u);  // a pause over 0.8 s starts a new step

  // The 3D group is folded until opened, and remembers being open.
  app::InspectorSection* tilt = s.view.panel()->section("3D tilt");
  ASSERT_TRUE(tilt);
  EXPECT_FALSE(tilt->isExpanded());
  EXPECT_EQ(tilt->foldButton()->text(), "Show");
  tilt->foldButton()->click();
  EXPECT_EQ(tilt->foldButton()->text(), "Hide");
  EXPECT_TRUE(s.settings.value("inspector.phone3D").toBool());
  // A step of 10 moves 50 for 10 points.
  app::NumberInput* depth = s.number("Depth");
  s.drag(s.labelOf(depth), 10);
  EXPECT_DOUBLE_EQ(s.homeNumber(StyleField::phonePerspective), 1850);

  auto* reset = static_cast<app::PhonePanel*>(s.view.panel())->resetButton();
  reset->click();
  EXPECT_FALSE(s.editor.pageStyle("home").phoneScale.has_value());
  EXPECT_EQ(s.number("Size")->text(), "100");
}

TEST(InspectorFill, KindSwitchesAndColoursWriteTheGradientFields) {
  InspectorStack s;
  auto* page = qobject_cast<app::PagePanel*>(s.view.panel());
  ASSERT_TRUE(page);
  EXPECT_EQ(page->fillRow()->text(), "Linear gradient");
  app::FillPopover* fill = page->fillRow()->openPopover();
  EXPECT_EQ(fill->shownKind(), app::FillKind::gradient);

  // Solid: every end takes the start colour.
  fill->kinds()->button("solid")->click();
  ResolvedStyle r = s.editor.resolved("home", "en");
  EXPECT_EQ(r.gradVia, "#07184a");
  EXPECT_EQ(r.gradTo, "#07184a");
  EXPECT_EQ(page->fillRow()->text(), "#07184A");

  // A 3-digit hex is refused and the field shows the colour again.
  s.type(fill->solid()->field(), "#abc");
  EXPECT_EQ(fill->solid()->field()->text(), "#07184A");
  s.type(fill->solid()->field(), "000000");
  EXPECT_EQ(s.editor.resolved("home", "en").gradTo, "#000000");

  // Back to a gradient from black: the end colour is lifted to 0.3.
  fill->kinds()->button("gradient")->click();
  r = s.editor.resolved("home", "en");
  EXPECT_EQ(r.gradFrom, "#000000");
  EXPECT_NEAR(app::HSBColor::fromHex(QString::fromStdString(r.gradTo))->brightness, 0.3, 0.003);
  EXPECT_EQ(r.gradVia,
            app::HSBColor::mix("#000000", QString::fromStdString(r.gradTo)).toStdString());

  // Swap exchanges the ends in one step.
  const std::size_t before = s.editor.undoDepth();
  fill->swap()->click();
  EXPECT_EQ(s.editor.resolved("home", "en").gradTo, "#000000");
  EXPECT_EQ(s.editor.undoDepth(), before + 1);
  s.editor.undo(s.app);
  EXPECT_EQ(s.editor.resolved("home", "en").gradFrom, "#000000");
  EXPECT_EQ(fill->start()->hex(), "#000000");

  // A theme of the examples grid writes its fields in one step and is marked.
  const auto cells = page->section("Examples")->findChildren<QToolButton*>();
  auto mint =
      std::find_if(cells.begin(), cells.end(), [](QToolButton* b) { return b->text() == "Mint"; });
  ASSERT_NE(mint, cells.end());
  (*mint)->click();
  EXPECT_EQ(s.editor.resolved("home", "en").titleColor, "#1C1C1E");
  EXPECT_TRUE((*mint)->isChecked());
  EXPECT_EQ(*s.storedHome().find("gradFrom")->asString(), "#F1F8E6");
}

TEST(InspectorSelection, ThePanelAndItsValuesFollowTheSelectionAndOutsideEdits) {
  InspectorStack s;
  s.editor.setStyle(StyleField::phoneOffsetX, JSONValue(42), s.app);
  s.canvas.select(CanvasSelection::phone());
  EXPECT_EQ(s.axis("X")->text(), "42");
  // An edit from elsewhere (the canvas, undo) shows at once.
  s.editor.setStyle(StyleField::phoneOffsetX, JSONValue(-7), s.app);
  EXPECT_EQ(s.axis("X")->text(), "-7");

  s.editor.setTitleText("Track *every* run");
  s.canvas.select(CanvasSelection::title());
  auto* text = qobject_cast<app::TextDesignPanel*>(s.view.panel());
  ASSERT_TRUE(text);
  EXPECT_EQ(text->content()->toPlainText(), "Track *every* run");
  text->content()->setPlainText("Sleep better");
  EXPECT_EQ(s.editor.title(), "Sleep better");

  const std::string id = *s.canvas.addTextLayer();
  text = qobject_cast<app::TextDesignPanel*>(s.view.panel());
  ASSERT_TRUE(text);
  EXPECT_EQ(text->header()->title(), "Text");
  EXPECT_EQ(s.axis("X")->text(), "321");  // the middle of the 642-px Android page
  s.type(s.axis("X")->field(), "100");
  EXPECT_EQ(s.canvas.layer(id)->x, 100);
  // Open Runde offers four weights; changing the face leaves the weight.
  text->fontMenu()->setCurrentIndex(1);
  emit text->fontMenu()->activated(1);
  EXPECT_EQ(s.canvas.layer(id)->font, "openrunde");
  EXPECT_EQ(text->weightMenu()->count(), 5);  // four, plus the title's own 1000 ("Heavy")

  s.canvas.select(std::nullopt);
  EXPECT_TRUE(qobject_cast<app::PagePanel*>(s.view.panel()));

  s.app.setActivePage(std::nullopt);
  EXPECT_EQ(s.view.state(), "empty");
}

TEST(InspectorLayers, TheListShowsTheStackFrontFirstAndADropRestacksIt) {
  InspectorStack s;
  s.storeStyles("a",
                R"({"home":{"layers":[)"
                R"({"id":"back","kind":"image","asset":"x.png","x":10,"y":20,"w":30,"z":"back"},)"
                R"({"id":"txt","kind":"text","text":"Hello","x":40,"y":50,"w":60}]}})");
  s.load();
  app::LayersSection* list = s.view.layers();
  ASSERT_EQ(list->count(), 4);
  const auto ids = [&] {
    std::vector<std::string> out;
    for (int i = 0; i < list->count(); ++i)
      out.push_back(list->item(i)->data(app::LayersSection::idRole).toString().toStdString());
    return out;
  };
  EXPECT_EQ(ids(), (std::vector<std::string>{"title", "txt", "phone", "back"}));
  EXPECT_EQ(list->item(1)->text(), "Hello");

  // A click selects.
  list->itemClicked(list->item(1));
  EXPECT_EQ(s.canvas.selection(), CanvasSelection::layer("txt"));

  // Dropping the back image at the top brings it in front of the phone.
  ASSERT_TRUE(list->model()->moveRow(QModelIndex(), 3, QModelIndex(), 1));
  QCoreApplication::processEvents();
  EXPECT_TRUE(s.canvas.layer("back")->front);
  EXPECT_EQ(ids(), (std::vector<std::string>{"title", "back", "txt", "phone"}));
  EXPECT_EQ(s.editor.undoDepth(), 1u);
  s.editor.undo(s.app);
  QCoreApplication::processEvents();
  EXPECT_FALSE(s.canvas.layer("back")->front);
  EXPECT_EQ(ids(), (std::vector<std::string>{"title", "txt", "phone", "back"}));
}

TEST(InspectorStickers, ThePickerAddsAnEmojiAndAPackStickerAndRemembersItsTab) {
  InspectorStack s;
  QImage star(40, 40, QImage::Format_ARGB32);
  star.fill(Qt::yellow);
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  star.save(&buffer, "PNG");
  ASSERT_EQ(
      call(*s.lib.backend, "POST", "/api/sticker-packs/items?pack=fun&name=star", png.toStdString())
          .status,
      200);

  s.view.showStickers();
  app::StickerPicker* picker = s.view.stickerPicker();
  ASSERT_TRUE(picker);
  ASSERT_TRUE(spinUntil([&] { return picker->tabs()->count() == 3; }));
  EXPECT_EQ(picker->currentTab(), app::StickerPicker::emojiTab());
  EXPECT_EQ(picker->tabs()->tabText(1), "fun");
  EXPECT_EQ(picker->tabs()->tabText(2), "My stickers");

  picker->addItem(0);
  ASSERT_TRUE(spinUntil([&] { return s.canvas.layers().size() == 1; }));
  EXPECT_TRUE(s.canvas.layers()[0].sticker);
  EXPECT_TRUE(picker->isVisible());  // stays open for more

  picker->search()->setText("zzz");
  EXPECT_EQ(picker->emptyNote()->text(), "Nothing matches “zzz”");
  picker->search()->clear();

  picker->selectTab("fun");
  EXPECT_EQ(s.settings.value("stickers.lastTab").toString(), "fun");
  ASSERT_TRUE(spinUntil([&] { return picker->items()->count() == 1; }));
  picker->addItem(0);
  ASSERT_TRUE(spinUntil([&] { return s.canvas.layers().size() == 2; }));
  EXPECT_EQ(s.canvas.layers()[1].name, "Star");
  // The new sticker is selected and the panel follows.
  EXPECT_TRUE(s.view.panel()->header()->title() == "Star");

  picker->selectTab(QString::fromLatin1(app::StickerPicker::minePack));
  ASSERT_TRUE(spinUntil([&] { return picker->emptyNote()->text() == "This pack is empty."; }));

  // Opened again, it comes back on the remembered tab.
  picker->close();
  s.settings.setValue("stickers.lastTab", "fun");
  s.view.showStickers();
  picker = s.view.stickerPicker();
  EXPECT_TRUE(spinUntil([&] { return picker->currentTab() == "fun"; }));
}

TEST(InspectorStates, TheAppStoreSetIsLockedAndColourFieldsTakeOnlySixDigits) {
  InspectorStack s;
  s.canvas.select(CanvasSelection::title());
  auto colours = s.view.panel()->findChildren<app::ColorInput*>();
  ASSERT_FALSE(colours.empty());
  app::ColorInput* text = colours.front();
  s.type(text->field(), "12abef");
  EXPECT_EQ(s.editor.resolved("home", "en").titleColor, "#12ABEF");
  s.type(text->field(), "12ab");
  EXPECT_EQ(text->field()->text(), "#12ABEF");

  s.app.setActiveSet(std::string(models::AppModel::appStoreSet));
  EXPECT_EQ(s.view.state(), "locked");
}

TEST(InspectorStates, ALanguageOtherThanTheFirstCanBeStyledOnItsOwn) {
  InspectorStack s;
  app::LanguageScopeToggle* scope = s.view.scopeToggle();
  EXPECT_TRUE(scope->isHidden());
  s.app.setActiveLocale("de");
  EXPECT_FALSE(scope->isHidden());
  EXPECT_EQ(scope->title(), "Same style in all languages");
  scope->toggle()->click();
  EXPECT_EQ(scope->title(), "Style for Deutsch only");
  s.canvas.select(CanvasSelection::phone());
  s.type(s.number("Size")->field(), "80");
  EXPECT_DOUBLE_EQ(*s.editor.localeStyle("home", "de").phoneScale, 0.8);
  EXPECT_FALSE(s.editor.pageStyle("home").phoneScale.has_value());
}

TEST(InspectorStates, TabRunsDownTheColumnFromThePanelToTheLayers) {
  InspectorStack s;
  s.canvas.select(CanvasSelection::title());
  auto* text = qobject_cast<app::TextDesignPanel*>(s.view.panel());
  ASSERT_TRUE(text);
  std::vector<QWidget*> visited;
  QWidget* w = text->content();
  for (int i = 0; i < 200 && w != s.view.layers(); ++i) {
    if (w->focusPolicy() & Qt::TabFocus) visited.push_back(w);
    w = w->nextInFocusChain();
  }
  ASSERT_EQ(w, s.view.layers());
  const auto at = [&](QWidget* x) {
    return std::find(visited.begin(), visited.end(), x) - visited.begin();
  };
  EXPECT_LT(at(s.axis("X")->field()), at(s.axis("Y")->field()));
  EXPECT_LT(at(s.axis("Y")->field()), at(s.number("Size")->field()));
  EXPECT_LT(at(s.number("Size")->field()), at(s.number("Letter spacing")->field()));
  // Before the panel stands what is above it, not the layers below.
  QWidget* before = s.view.panel();
  do {
    before = before->previousInFocusChain();
  } while (s.view.panel()->isAncestorOf(before) || !(before->focusPolicy() & Qt::TabFocus));
  QWidget* layersGroup = s.view.layers()->parentWidget();
  EXPECT_FALSE(before == s.view.layers() || layersGroup->isAncestorOf(before));
}

TEST(InspectorStates, DebugFillOpensTheFillPopoverByItself) {
  InspectorStack s;
  s.view.hide();
  s.settings.setValue("debug.fill", true);
  s.view.show();
  auto* page = qobject_cast<app::PagePanel*>(s.view.panel());
  ASSERT_TRUE(page);
  EXPECT_TRUE(spinUntil(
      [&] { return page->fillRow()->popover() && page->fillRow()->popover()->isVisible(); }));
}

}  // namespace
}  // namespace vells::testing

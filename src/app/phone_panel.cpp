#include "app/phone_panel.h"

#include <QToolButton>

#include "app/image_well.h"
#include "app/inspector_header.h"
#include "app/inspector_section.h"
#include "app/screen_texts_section.h"

namespace vells::app {
namespace {

const SetPage* activePage(const models::AppModel& app) {
  if (!app.activePage()) return nullptr;
  for (const SetPage& p : app.pages())
    if (p.id == *app.activePage()) return &p;
  return nullptr;
}

}  // namespace

PhonePanel::PhonePanel(const InspectorContext& context, QWidget* parent)
    : InspectorPanel(context, parent) {
  InspectorHeader* head = addHeader(QStringLiteral("iphone"), tr("Phone"));
  const SetPage* page = activePage(context_.app);
  const bool uploaded = page && page->source == PageSource::upload;
  head->setSubtitle((context_.app.os() == DeviceOS::ios ? tr("iOS") : tr("Android")) +
                    QStringLiteral(" · ") +
                    (uploaded ? tr("uploaded screen") : tr("coded screen")));
  reset_ = head->addButton(QStringLiteral("arrow.counterclockwise"),
                           tr("Reset position, size and tilt"));
  connect(reset_, &QToolButton::clicked, this, [this] {
    context_.checkpoint(false);
    context_.writeFields({{StyleField::phoneOffsetX, std::nullopt},
                          {StyleField::phoneOffsetY, std::nullopt},
                          {StyleField::phoneScale, std::nullopt},
                          {StyleField::phoneRotateZ, std::nullopt},
                          {StyleField::phoneRotateX, std::nullopt},
                          {StyleField::phoneRotateY, std::nullopt}});
  });

  InspectorSection* position = addSection(tr("Position"));
  position->addPair(tr("Offset"), styleNumber(StyleField::phoneOffsetX, "X", {-600, 600}, 1),
                    styleNumber(StyleField::phoneOffsetY, "Y", {-900, 900}, 1));
  addNumberRow(position, tr("Size"),
               styleNumber(StyleField::phoneScale, {}, {40, 160}, 1, 100, "%"));
  addNumberRow(position, tr("Rotation"),
               styleNumber(StyleField::phoneRotateZ, {}, {-30, 30}, 1, 1, "°"));

  InspectorSection* tilt = addSection(tr("3D tilt"));
  tilt->setFoldWords(tr("Show"), tr("Hide"));
  addNumberRow(tilt, tr("Turn"), styleNumber(StyleField::phoneRotateY, {}, {-40, 40}, 1, 1, "°"),
               tr("Swing the phone left or right in 3D"));
  addNumberRow(tilt, tr("Tip"), styleNumber(StyleField::phoneRotateX, {}, {-40, 40}, 1, 1, "°"),
               tr("Tip the top back or forward"));
  addNumberRow(tilt, tr("Depth"), styleNumber(StyleField::phonePerspective, {}, {600, 4000}, 10),
               tr("Perspective — lower is more dramatic"));
  tilt->setExpanded(context_.settings.value(phone3DKey, false).toBool());
  connect(tilt, &InspectorSection::expandedChanged, this,
          [this](bool open) { context_.settings.setValue(phone3DKey, open); });

  InspectorSection* frame = addSection(tr("Frame"));
  addNumberRow(frame, tr("Ring"), styleNumber(StyleField::strokeOpacity, {}, {0, 100}, 1, 100, "%"),
               tr("The light outline around the device"));

  if (uploaded) {
    InspectorSection* screen = addSection(tr("Screen"));
    for (ThemeName theme : {ThemeName::light, ThemeName::dark}) {
      const QString mode = theme == ThemeName::light ? tr("Light") : tr("Dark");
      auto* well = new ImageWell(
          mode,
          tr("The picture inside the phone in %1 mode, for every language. Until the other mode "
             "has its own, it shows this one.")
              .arg(mode),
          [this, theme](std::string bytes, const std::string& mime, std::function<void()> done) {
            context_.editor.setScreen(std::move(bytes), mime, context_.app, false, theme,
                                      std::move(done));
          },
          [this](std::function<void()> done) {
            context_.editor.removeScreen(context_.app, false, std::move(done));
          },
          this);
      connect(well, &ImageWell::failed, this,
              [this](const QString& why) { context_.editor.show(why.toStdString(), true); });
      // Whether a screen is stored is known for the theme on show only.
      whenRefreshed([this, well, theme] {
        well->setIsSet(theme == context_.app.theme() && context_.editor.hasScreen());
      });
      screen->addWide(well);
    }
  } else {
    InspectorSection* texts = addSection(tr("Screen text"));
    screenTexts_ = new ScreenTextsSection(context_, this);
    texts->addWide(screenTexts_);
    whenRefreshed([this] { screenTexts_->refresh(); });
  }
  refresh();
}

}  // namespace vells::app

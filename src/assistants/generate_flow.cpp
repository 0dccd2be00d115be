#include "assistants/generate_flow.h"

#include <QFileInfo>

#include "assistants/assistant_error.h"
#include "models/api_client.h"

namespace vells::assistants {

GenerateFlow::GenerateFlow(models::APIClient& client, QSettings& defaults, Options options,
                           QObject* parent)
    : QObject(parent),
      client_(client),
      defaults_(defaults),
      options_(std::move(options)),
      generator_(std::make_unique<ScreenshotGenerator>(client, options_.appName,
                                                       QString::fromStdString(options_.set),
                                                       options_.folder, options_.loginPath)),
      saver_(std::make_unique<GeneratedSaver>(client, defaults)) {
  generator_->onScreenRendered = [this] { bump(); };
  generator_->onResults = [this](const ScreenshotGenerator::Results& results,
                                 std::function<void()> done) { save(results, std::move(done)); };
  connect(generator_.get(), &ScreenshotGenerator::phaseChanged, this, [this] {
    using Phase = ScreenshotGenerator::Phase;
    const Phase phase = generator_->phase();
    if (phase == Phase::choosing && step_ == Step::tool) setStep(Step::screens);
    if (phase == Phase::failed) setStep(step_, generator_->failure());
    if (phase == Phase::finished || phase == Phase::stopped || phase == Phase::failed) {
      emit ended();
    }
  });
}

QString GenerateFlow::stepName() const {
  switch (step_) {
    case Step::tool:
      return QStringLiteral("tool");
    case Step::screens:
      return QStringLiteral("screens");
    case Step::style:
      return QStringLiteral("style");
    case Step::render:
      return QStringLiteral("render");
  }
  return {};
}

QString GenerateFlow::title() const {
  switch (step_) {
    case Step::tool:
      return QStringLiteral("Choose your AI");
    case Step::screens:
      return generator_->phase() == ScreenshotGenerator::Phase::discovering
                 ? QStringLiteral("Finding the screens…")
                 : QStringLiteral("Pick your screens");
    case Step::style:
      return QStringLiteral("Choose a style");
    case Step::render:
      return generator_->renderTitle();
  }
  return {};
}

QString GenerateFlow::subtitle() const {
  switch (step_) {
    case Step::tool:
      return QStringLiteral("These are the AI tools on this computer. The one you choose reads ") +
             QFileInfo(options_.folder).fileName() +
             QStringLiteral(" and builds the screens, using your own plan.");
    case Step::screens:
      if (generator_->phase() == ScreenshotGenerator::Phase::discovering) {
        return (tool_ ? displayName(tool_->tool) : QStringLiteral("The AI")) +
               QStringLiteral(" is reading the code to find ") + options_.appName +
               QStringLiteral("’s screens. It only reads — nothing is changed.");
      }
      return QStringLiteral(
          "Tick the screens to turn into screenshots. The five best are chosen for you.");
    case Step::style:
      return QStringLiteral("How the screenshots should feel. The one that suits ") +
             options_.appName + QStringLiteral(" is chosen — pick any.");
    case Step::render:
      return generator_->renderSubtitle();
  }
  return {};
}

void GenerateFlow::setStep(Step step, QString error) {
  step_ = step;
  error_ = std::move(error);
  emit stepChanged();
}

void GenerateFlow::bump() {
  if (onRenderVersion) onRenderVersion();
}

void GenerateFlow::chooseTool(const DetectedTool& tool) {
  if (!tool.path) return;
  tool_ = tool;
  defaults_.setValue(QStringLiteral("generate.ai"), rawValue(tool.tool));
  setStep(Step::screens);
  generator_->discover(tool);
}

void GenerateFlow::continueToStyle() {
  if (generator_->selected.empty()) return;
  setStep(Step::style);
}

void GenerateFlow::startRender() {
  if (!tool_ || generator_->selected.empty()) return;
  QStringList locales;
  for (const std::string& code : options_.locales)
    locales << QString::fromStdString(code);
  setStep(Step::render);
  generator_->render(*tool_, locales, options_.profile);
}

void GenerateFlow::startUpdate(const DetectedTool& tool) {
  if (!tool.path) return;
  tool_ = tool;
  generator_->wantsUpdate = true;
  setStep(Step::render);
  QString folder;
  try {
    folder = generator_->workFolder() + QStringLiteral("/update");
  } catch (const AssistantError& e) {
    setStep(Step::render, QString::fromUtf8(e.what()));
    emit ended();
    return;
  }
  saver_->updatePages(options_.set, folder,
                      [this, tool](std::vector<UpdatePage> pages, std::optional<QString> error) {
                        if (error) {
                          setStep(Step::render, *error);
                          emit ended();
                          return;
                        }
                        if (pages.empty()) {
                          setStep(Step::render, QStringLiteral("This set has no screens made from "
                                                               "the code to update."));
                          emit ended();
                          return;
                        }
                        generator_->update(tool, pages);
                      });
}

void GenerateFlow::stop() {
  generator_->stop();
}

void GenerateFlow::save(const ScreenshotGenerator::Results& results, std::function<void()> done) {
  saving_ = true;
  emit savingChanged();
  auto finish = [this, done = std::move(done)] {
    saving_ = false;
    emit savingChanged();
    bump();
    done();
  };
  if (generator_->mode() == ScreenshotGenerator::Mode::update) {
    saver_->applyUpdated(options_.set, results, finish);
    return;
  }
  if (results.empty()) {
    finish();
    return;
  }
  // The pages are laid out only now, with the results in hand: until the
  // job has ended by itself the set stays as it was.
  std::vector<FoundScreen> made;
  QStringList order;
  for (const FoundScreen& screen : generator_->chosenScreens()) {
    order << screen.id;
    made.push_back(screen);
  }
  GeneratedSaver::SaveRequest request;
  request.set = options_.set;
  request.results = results;
  if (generator_->design) request.font = generator_->design->font;
  request.direction = generator_->direction;
  request.order = order;
  request.os = options_.os;
  request.theme = options_.theme;
  request.locales = options_.locales;
  saver_->preparePages(options_.set, made,
                       [this, request = std::move(request), finish](std::optional<QString> error) {
                         if (error) {
                           finish();
                           return;
                         }
                         saver_->saveGenerated(request, finish);
                       });
}

}  // namespace vells::assistants

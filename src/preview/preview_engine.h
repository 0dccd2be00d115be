#pragma once

#include <QImage>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "models/canvas_geometry.h"
#include "platform/work/executor.h"
#include "preview/frame_decoder.h"
#include "preview/preview_coordinator.h"
#include "preview/preview_state.h"

namespace vells::backend {
class LocalBackend;
}
namespace vells::platform {
class DevToolsClient;
}

namespace vells::preview {

class PreviewBrowser;
class PreviewOrigin;

// The live preview in a browser of its own: started on first use, started
// again after a crash, a hung call or a change of pixel ratio, with the last
// state applied again. States go to the page paced, one in flight at a time;
// frames come back by screencast, decoded off the main thread, never an older
// one after a newer. Everything fails quietly: the last frame stays up.
// Main thread only.
class PreviewEngine : public QObject {
  Q_OBJECT

 public:
  struct Options {
    std::filesystem::path resourceDir;
    std::filesystem::path executable;
    // The longest any one browser call may take before the browser counts as hung.
    std::chrono::milliseconds callLimit{4000};
    // Told of every request the page makes of the backend, on the thread that
    // answers it, before it is answered: a diagnostics tap.
    std::function<void(const std::string& method, const std::string& url)> requestSeen;
  };

  // The time a state may go without a frame before the next one is sent.
  static constexpr std::chrono::milliseconds frameWait{100};
  // The time after the last change (a state, or a picture, the screen or the
  // decoration coming in) when a frame is captured unless the state's frame
  // is in hand and nothing came in since.
  static constexpr std::chrono::milliseconds settleDelay{150};

  PreviewEngine(backend::LocalBackend& backend, Options options, QObject* parent = nullptr);
  ~PreviewEngine() override;

  void apply(const PreviewState& state);
  // A new ratio restarts the browser (when it runs) so that it draws at it.
  void setDevicePixelRatio(double ratio);
  double devicePixelRatio() const { return ratio_; }

  // The newest frame: the box in device pixels with its ratio set; null
  // before the first.
  const QImage& frame() const { return frame_; }
  std::uint64_t frameSequence() const { return shownSequence_; }
  bool restarting() const { return restarting_; }
  const PreviewCoordinator& coordinator() const { return coordinator_; }
  // The browser's process id; -1 when none runs.
  int browserPid() const;
  // How many browsers were started.
  int starts() const { return starts_; }

 signals:
  void frameChanged();
  void restartingChanged();
  void rectsReported(const vells::models::CanvasRects& rects);

 private:
  void start();
  void lose(std::uint64_t generation);
  void send(const std::string& script, std::uint64_t seq);
  void settle();
  void show(PreviewFrame frame);
  void setRestarting(bool restarting);
  // Runs `f` on the main thread, unless this engine is gone by then.
  template <typename F>
  void post(F&& f);

  backend::LocalBackend& backend_;
  Options options_;
  double ratio_ = 1;
  PreviewCoordinator coordinator_;
  std::shared_ptr<PreviewOrigin> origin_;
  bool started_ = false;
  bool restarting_ = false;
  int starts_ = 0;
  std::uint64_t generation_ = 0;
  QImage frame_;
  std::uint64_t shownSequence_ = 0;
  // The page drew something after its state: a capture follows when it settles.
  bool repaint_ = false;
  QTimer waitTimer_;
  QTimer settleTimer_;
  QTimer healthTimer_;
  QTimer retryTimer_;
  // The CSS size of the page's viewport the last state asked for.
  int viewportWidth_ = 0;
  int viewportHeight_ = 0;

  // What the browser's threads reach this engine through; cut in the destructor.
  struct Sink;
  std::shared_ptr<Sink> sink_;
  // Touched on the worker thread only.
  std::shared_ptr<PreviewBrowser> browser_;
  mutable std::mutex watchMutex_;
  std::weak_ptr<platform::DevToolsClient> watched_;

  // Last: their threads end before anything they use.
  FrameDecoder decoder_;
  platform::Executor fetchers_{2};
  platform::Executor worker_{1};
};

}  // namespace vells::preview

#include "preview/preview_engine.h"

#include <cmath>
#include <future>

#include "platform/web/devtools_client.h"
#include "preview/preview_browser.h"
#include "preview/preview_error.h"
#include "preview/preview_origin.h"

namespace vells::preview {

using platform::Priority;

struct PreviewEngine::Sink {
  std::mutex mutex;
  PreviewEngine* engine = nullptr;

  // Runs `f` with the engine while it lives; from any thread.
  template <typename F>
  void with(F&& f) {
    std::lock_guard guard(mutex);
    if (engine) f(*engine);
  }
};

template <typename F>
void PreviewEngine::post(F&& f) {
  QMetaObject::invokeMethod(this, std::forward<F>(f), Qt::QueuedConnection);
}

PreviewEngine::PreviewEngine(backend::LocalBackend& backend, Options options, QObject* parent)
    : QObject(parent),
      backend_(backend),
      options_(std::move(options)),
      coordinator_([this](const std::string& script, std::uint64_t seq) { send(script, seq); },
                   [this](const models::CanvasRects& rects) { emit rectsReported(rects); }),
      sink_(std::make_shared<Sink>()),
      decoder_([this](PreviewFrame frame) {
        post([this, frame = std::move(frame)]() mutable { show(std::move(frame)); });
      }) {
  sink_->engine = this;
  if (options_.executable.empty())
    options_.executable = platform::DevToolsClient::defaultExecutable();
  waitTimer_.setSingleShot(true);
  waitTimer_.setInterval(frameWait);
  connect(&waitTimer_, &QTimer::timeout, this, [this] { coordinator_.giveUpWaiting(); });
  settleTimer_.setSingleShot(true);
  settleTimer_.setInterval(settleDelay);
  connect(&settleTimer_, &QTimer::timeout, this, [this] { settle(); });
  healthTimer_.setInterval(500);
  connect(&healthTimer_, &QTimer::timeout, this, [this] {
    std::shared_ptr<platform::DevToolsClient> client;
    {
      std::lock_guard guard(watchMutex_);
      client = watched_.lock();
    }
    if (client && !client->alive()) lose(generation_);
  });
  retryTimer_.setSingleShot(true);
  connect(&retryTimer_, &QTimer::timeout, this, [this] { start(); });
}

PreviewEngine::~PreviewEngine() {
  {
    std::lock_guard guard(sink_->mutex);
    sink_->engine = nullptr;
  }
  std::promise<void> closed;
  auto done = closed.get_future();
  if (worker_.post(Priority::interactive, [this, &closed](const std::stop_token&) {
        browser_.reset();
        closed.set_value();
      })) {
    done.wait();
  }
}

int PreviewEngine::browserPid() const {
  std::lock_guard guard(watchMutex_);
  auto client = watched_.lock();
  return client && client->alive() ? client->pid() : -1;
}

void PreviewEngine::setDevicePixelRatio(double ratio) {
  if (!(ratio > 0) || ratio == ratio_) return;
  ratio_ = ratio;
  if (started_) {
    setRestarting(true);
    start();
  }
}

void PreviewEngine::apply(const PreviewState& state) {
  if (!(state.boxHeight > 0) || !std::isfinite(state.boxHeight)) return;
  if (!started_) {
    started_ = true;
    coordinator_.apply(state);
    start();
    return;
  }
  coordinator_.apply(state);
  if (coordinator_.lastSequence() > shownSequence_) settleTimer_.start();
}

void PreviewEngine::start() {
  const std::uint64_t generation = ++generation_;
  ++starts_;
  coordinator_.lost();
  coordinator_.load(PreviewOrigin::pageURL());
  waitTimer_.stop();
  healthTimer_.stop();
  {
    // The old browser is closing: its end is no crash.
    std::lock_guard guard(watchMutex_);
    watched_.reset();
  }
  if (!origin_) {
    try {
      origin_ = std::make_shared<PreviewOrigin>(
          PreviewOrigin::fromResources(backend_, options_.resourceDir));
    } catch (const PreviewError&) {
      return;  // no page to show: the canvas keeps its last frame
    }
  }
  viewportWidth_ = viewportHeight_ = 0;
  const double ratio = ratio_;
  std::weak_ptr<Sink> sink = sink_;
  std::shared_ptr<PreviewOrigin> origin = origin_;
  worker_.post(
      Priority::interactive, [this, generation, ratio, sink, origin](const std::stop_token&) {
        browser_.reset();
        PreviewBrowser::Handlers handlers;
        handlers.frame = [sink, ratio, generation](std::string jpeg) {
          if (auto s = sink.lock())
            s->with([&](PreviewEngine& e) { e.decoder_.put(std::move(jpeg), ratio, generation); });
        };
        handlers.message = [sink, generation](const std::string& name, const std::string& payload) {
          if (auto s = sink.lock()) {
            s->with([&](PreviewEngine& e) {
              e.post([&e, generation, name, payload] {
                if (generation != e.generation_) return;
                if (name == "vellsPainted") {
                  // The screencast may leave the last paint of a quiet page unsent.
                  e.repaint_ = true;
                  e.settleTimer_.start();
                  return;
                }
                e.coordinator_.didReceive(name == "vellsRects" ? "rects" : "ready", payload);
              });
            });
          }
        };
        handlers.crashed = [sink, generation] {
          if (auto s = sink.lock())
            s->with([&](PreviewEngine& e) { e.post([&e, generation] { e.lose(generation); }); });
        };
        // Filled once the browser exists; requests can't come before.
        auto weakBrowser = std::make_shared<std::weak_ptr<PreviewBrowser>>();
        handlers.request = [sink, origin, weakBrowser](const JSONValue& paused) {
          if (auto s = sink.lock()) {
            s->with([&](PreviewEngine& e) {
              auto seen = e.options_.requestSeen;
              e.fetchers_.post(Priority::interactive, [origin, weakBrowser, paused,
                                                       seen](const std::stop_token&) {
                auto browser = weakBrowser->lock();
                if (!browser) return;
                if (seen) {
                  const JSONValue* r = paused.find("request");
                  seen(r ? r->stringAt("method").value_or("") : "",
                       r ? r->stringAt("url").value_or("") : "");
                }
                std::optional<std::string> body;
                const JSONValue* request = paused.find("request");
                if (request && request->find("hasPostData") && !request->find("postData")) {
                  try {
                    body = browser->postData(paused.stringAt("requestId").value_or(""));
                  } catch (const platform::DevToolsError&) {
                    // answered without its body
                  }
                }
                PreviewOrigin::Command command = origin->answer(paused, body);
                browser->send(command.method, command.params);
              });
            });
          }
        };
        try {
          browser_ = std::make_shared<PreviewBrowser>(options_.executable, ratio,
                                                      std::move(handlers), options_.callLimit);
          *weakBrowser = browser_;
          {
            std::lock_guard guard(watchMutex_);
            watched_ = browser_->client();
          }
          browser_->open(PreviewOrigin::pageURL());
        } catch (const platform::DevToolsError&) {
          browser_.reset();
          if (auto s = sink.lock())
            s->with([&](PreviewEngine& e) { e.post([&e, generation] { e.lose(generation); }); });
          return;
        }
        if (auto s = sink.lock()) {
          s->with([&](PreviewEngine& e) {
            e.post([&e, generation] {
              if (generation == e.generation_) e.healthTimer_.start();
            });
          });
        }
      });
}

void PreviewEngine::lose(std::uint64_t generation) {
  if (generation != generation_) return;
  ++generation_;  // whatever the old browser still says is stale
  setRestarting(true);
  coordinator_.lost();
  healthTimer_.stop();
  // A browser that won't start is tried again, not in a tight loop.
  retryTimer_.start(starts_ > 3 ? 2000 : 100);
}

void PreviewEngine::send(const std::string& script, std::uint64_t) {
  const PreviewState& state = *coordinator_.applied();
  const double boxHeight = state.boxHeight;
  const CanvasSize comp = compositeSize(state.os);
  const int width = static_cast<int>(std::lround(comp.width * boxHeight / comp.height));
  const int height = static_cast<int>(std::lround(boxHeight)) + FrameDecoder::stripeHeight;
  const bool resize = width != viewportWidth_ || height != viewportHeight_;
  viewportWidth_ = width;
  viewportHeight_ = height;
  const std::uint64_t generation = generation_;
  std::weak_ptr<Sink> sink = sink_;
  worker_.post(Priority::interactive, [this, sink, script, width, height, resize,
                                       generation](const std::stop_token&) {
    if (!browser_) return;
    try {
      if (resize) browser_->setViewport(width, height);
      browser_->evaluate(script);
    } catch (const platform::DevToolsError&) {
      // A call that hangs or fails leaves a page nobody can trust.
      if (auto s = sink.lock())
        s->with([&](PreviewEngine& e) { e.post([&e, generation] { e.lose(generation); }); });
    }
  });
  waitTimer_.start();
  settleTimer_.start();
}

void PreviewEngine::settle() {
  const bool behind = shownSequence_ < coordinator_.lastSequence();
  if ((!behind && !repaint_) || !coordinator_.applied()) return;
  repaint_ = false;
  const double ratio = ratio_;
  const std::uint64_t generation = generation_;
  std::weak_ptr<Sink> sink = sink_;
  worker_.post(Priority::interactive, [this, sink, ratio, generation](const std::stop_token&) {
    if (!browser_) return;
    try {
      std::string jpeg = browser_->captureJPEG(90);
      if (auto s = sink.lock())
        s->with([&](PreviewEngine& e) { e.decoder_.put(std::move(jpeg), ratio, generation); });
    } catch (const platform::DevToolsError&) {
      if (auto s = sink.lock())
        s->with([&](PreviewEngine& e) { e.post([&e, generation] { e.lose(generation); }); });
    }
  });
}

void PreviewEngine::show(PreviewFrame frame) {
  if (frame.generation != generation_) return;
  // A frame of a state before the one on screen would step back in time.
  if (frame.sequence < shownSequence_ || frame.sequence > coordinator_.lastSequence()) return;
  if (frame.sequence == 0) return;  // the page before its first state
  frame_ = std::move(frame.image);
  shownSequence_ = frame.sequence;
  emit frameChanged();
  coordinator_.frameShown(frame.sequence);
  if (restarting_ && coordinator_.pending() == std::nullopt) setRestarting(false);
}

void PreviewEngine::setRestarting(bool restarting) {
  if (restarting_ == restarting) return;
  restarting_ = restarting;
  emit restartingChanged();
}

}  // namespace vells::preview

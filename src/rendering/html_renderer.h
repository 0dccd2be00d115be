#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/work/priority.h"
#include "rendering/render_types.h"

namespace vells::platform {
class DevToolsClient;
}

namespace vells::rendering {

// A page in the render engine that can be loaded and captured.
class RenderSlot : public PageSlot {
 public:
  // Lays the page out at `size` (CSS pixels) and returns once its fonts are
  // ready and every image has decoded (or failed to).
  virtual void load(const std::string& html, CSSSize size) = 0;
  // The bounding box of the first element matching `selectorLiteral`, a
  // JavaScript string literal (see jsString); absent when there is none.
  virtual std::optional<Rect> rect(const std::string& selectorLiteral) = 0;
  // A JPEG of `rect` with the exact size rule of capturePNG; quality 0–100.
  virtual std::string captureJPEG(const Rect& rect, double pixelWidth, int quality) = 0;
};

// What renderPhoneAndHero answers.
struct PhoneCapture {
  struct HeroRect {
    Rect rect;
    bool plate = false;
  };
  std::string phone;                // PNG
  std::optional<std::string> hero;  // PNG
  std::optional<HeroRect> heroRect;
};

// The pool of browser pages every render goes through. Interactive work always
// gets a freed slot before background work. Safe from any thread.
//
// Blocking: acquire() waits until a slot is free (or made); the render calls
// wait for a slot and then for the browser, each step within its time limit.
class HTMLRenderer {
 public:
  using SlotFactory = std::function<std::unique_ptr<RenderSlot>()>;

  // A slot held by one caller; released (handed on or made idle) when it ends.
  class Lease {
   public:
    Lease(HTMLRenderer& pool, std::unique_ptr<RenderSlot> slot)
        : pool_(&pool), slot_(std::move(slot)) {}
    Lease(Lease&& other) noexcept = default;
    Lease& operator=(Lease&&) = delete;
    Lease(const Lease&) = delete;
    ~Lease();
    RenderSlot& operator*() const { return *slot_; }
    RenderSlot* operator->() const { return slot_.get(); }

   private:
    HTMLRenderer* pool_;
    std::unique_ptr<RenderSlot> slot_;
  };

  // With no factory the slots are pages of one shared headless browser.
  explicit HTMLRenderer(int maxSlots = defaultMaxSlots(), SlotFactory factory = {});
  ~HTMLRenderer();
  HTMLRenderer(const HTMLRenderer&) = delete;
  HTMLRenderer& operator=(const HTMLRenderer&) = delete;

  // 4 from 8 processors on, half of them from 4 to 7, else 2.
  static int defaultMaxSlots(unsigned processors);
  static int defaultMaxSlots();

  Lease acquire(platform::Priority priority);
  int maxSlots() const { return maxSlots_; }
  int slotCount() const;
  int idleCount() const;
  // Acquirers waiting for a slot, interactive and background together.
  int waitingCount() const;

  PhoneCapture renderPhoneAndHero(const std::string& html, CSSSize size, double scale,
                                  const std::optional<std::pair<std::string, std::string>>& hero,
                                  platform::Priority priority);
  std::string renderDevice(const std::string& html, CSSSize size, double scale);
  // Runs `script` (an async function body) in the loaded page and answers its
  // result as a JSON object's text; `{}` when it isn't an object.
  std::string measureText(const std::string& html, CSSSize size, const std::string& script);

  // The browser behind the default slots, started on first use and again after it died.
  std::shared_ptr<platform::DevToolsClient> browser();

 private:
  struct Waiter {
    std::unique_ptr<RenderSlot> slot;
  };
  void release(std::unique_ptr<RenderSlot> slot);

  const int maxSlots_;
  SlotFactory factory_;
  mutable std::mutex mutex_;
  std::condition_variable handedOver_;
  std::vector<std::unique_ptr<RenderSlot>> idle_;
  int slotCount_ = 0;
  std::deque<std::shared_ptr<Waiter>> waiters_;
  std::deque<std::shared_ptr<Waiter>> backgroundWaiters_;

  std::mutex browserMutex_;
  std::shared_ptr<platform::DevToolsClient> browser_;
};

}  // namespace vells::rendering

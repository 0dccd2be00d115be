#include "rendering/html_renderer.h"

#include <thread>

#include "platform/web/devtools_client.h"
#include "rendering/browser_slot.h"
#include "rendering/js_string.h"

namespace vells::rendering {

HTMLRenderer::Lease::~Lease() {
  if (slot_) pool_->release(std::move(slot_));
}

HTMLRenderer::HTMLRenderer(int maxSlots, SlotFactory factory)
    : maxSlots_(maxSlots < 1 ? 1 : maxSlots), factory_(std::move(factory)) {
  if (!factory_) {
    factory_ = [this] { return std::make_unique<BrowserSlot>([this] { return browser(); }); };
  }
}

HTMLRenderer::~HTMLRenderer() {
  // Slots close their pages through the browser, so they go first.
  idle_.clear();
  std::lock_guard guard(browserMutex_);
  browser_.reset();
}

int HTMLRenderer::defaultMaxSlots(unsigned processors) {
  if (processors >= 8) return 4;
  if (processors >= 4) return static_cast<int>(processors / 2);
  return 2;
}

int HTMLRenderer::defaultMaxSlots() {
  return defaultMaxSlots(std::thread::hardware_concurrency());
}

int HTMLRenderer::slotCount() const {
  std::lock_guard guard(mutex_);
  return slotCount_;
}

int HTMLRenderer::idleCount() const {
  std::lock_guard guard(mutex_);
  return static_cast<int>(idle_.size());
}

std::shared_ptr<platform::DevToolsClient> HTMLRenderer::browser() {
  std::lock_guard guard(browserMutex_);
  if (!browser_ || !browser_->alive()) {
    browser_.reset();  // reap the dead one before starting anew
    browser_ =
        std::make_shared<platform::DevToolsClient>(platform::DevToolsClient::defaultExecutable());
  }
  return browser_;
}

int HTMLRenderer::waitingCount() const {
  std::lock_guard guard(mutex_);
  return static_cast<int>(waiters_.size() + backgroundWaiters_.size());
}

HTMLRenderer::Lease HTMLRenderer::acquire(platform::Priority priority) {
  std::unique_lock lock(mutex_);
  if (!idle_.empty()) {
    auto slot = std::move(idle_.back());  // the most recently used page is the warmest
    idle_.pop_back();
    return Lease(*this, std::move(slot));
  }
  if (slotCount_ < maxSlots_) {
    ++slotCount_;
    lock.unlock();
    try {
      return Lease(*this, factory_());
    } catch (...) {
      std::lock_guard again(mutex_);
      --slotCount_;
      throw;
    }
  }
  auto waiter = std::make_shared<Waiter>();
  (priority == platform::Priority::background ? backgroundWaiters_ : waiters_).push_back(waiter);
  handedOver_.wait(lock, [&] { return waiter->slot != nullptr; });
  return Lease(*this, std::move(waiter->slot));
}

void HTMLRenderer::release(std::unique_ptr<RenderSlot> slot) {
  std::lock_guard guard(mutex_);
  auto& queue = !waiters_.empty() ? waiters_ : backgroundWaiters_;
  if (!queue.empty()) {
    queue.front()->slot = std::move(slot);
    queue.pop_front();
    handedOver_.notify_all();
    return;
  }
  idle_.push_back(std::move(slot));
}

namespace {

constexpr const char* kDevice = "\"#device\"";

Rect deviceRect(RenderSlot& slot) {
  auto rect = slot.rect(kDevice);
  if (!rect) throw RenderError::missing("#device");
  return *rect;
}

}  // namespace

PhoneCapture HTMLRenderer::renderPhoneAndHero(
    const std::string& html, CSSSize size, double scale,
    const std::optional<std::pair<std::string, std::string>>& hero, platform::Priority priority) {
  Lease slot = acquire(priority);
  slot->load(html, size);
  slot->run(
      "document.documentElement.style.background = 'transparent';\n"
      "document.body.style.background = 'transparent';");
  const std::string hide = hero ? jsString(hero->second) : std::string();
  if (hero) {
    slot->run("document.querySelectorAll(" + hide +
              ").forEach((el) => { el.style.visibility = 'hidden'; });");
  }
  const Rect device = deviceRect(*slot);
  PhoneCapture result;
  result.phone = slot->capturePNG(device, scale * device.width, false);
  if (!hero) return result;

  slot->run("document.querySelectorAll(" + hide +
            ").forEach((el) => { el.style.visibility = ''; });");
  const std::string selector = jsString(hero->first);
  slot->run("const el = document.querySelector(" + selector +
            ");\n"
            "for (let p = el && el.parentElement; p; p = p.parentElement) {\n"
            "  p.style.background = 'transparent';\n"
            "  p.style.backgroundColor = 'transparent';\n"
            "  p.style.backgroundImage = 'none';\n"
            "}");
  auto rect = slot->rect(selector);
  if (!rect || !(rect->width > 0) || !(rect->height > 0)) return result;
  const JSONValue plate = slot->run("const el = document.querySelector(" + selector +
                                    ");\nreturn !!el && el.hasAttribute('data-vell-plate');");
  result.hero = slot->capturePNG(*rect, scale * rect->width, false);
  result.heroRect = PhoneCapture::HeroRect{*rect, plate.isBool() && *plate.asBool()};
  return result;
}

std::string HTMLRenderer::renderDevice(const std::string& html, CSSSize size, double scale) {
  Lease slot = acquire(platform::Priority::interactive);
  slot->load(html, size);
  const Rect device = deviceRect(*slot);
  return slot->capturePNG(device, scale * device.width, false);
}

std::string HTMLRenderer::measureText(const std::string& html, CSSSize size,
                                      const std::string& script) {
  Lease slot = acquire(platform::Priority::interactive);
  slot->load(html, size);
  JSONValue result = slot->run(script);
  return result.isObject() ? result.dump() : "{}";
}

}  // namespace vells::rendering

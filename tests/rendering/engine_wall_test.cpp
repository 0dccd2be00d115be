#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/web/devtools_client.h"
#include "rendering/browser_slot.h"
#include "rendering/html_renderer.h"

namespace vells::rendering {
namespace {

using namespace std::chrono_literals;

constexpr const char* kDevicePage =
    R"(<!doctype html><body style="margin:0"><div id="device" style="width:40px;height:80px;background:#08f"></div>)";

TEST(EngineLimits, APageThatNeverEndsFailsOnlyItself) {
  auto browserOwner = std::make_unique<HTMLRenderer>(1);
  HTMLRenderer* owner = browserOwner.get();
  HTMLRenderer renderer(1, [owner] {
    return std::make_unique<BrowserSlot>([owner] { return owner->browser(); }, 4s);
  });
  const auto started = std::chrono::steady_clock::now();
  EXPECT_THROW(
      renderer.renderDevice("<script>for (;;) {}</script><div id=device></div>", {100, 100}, 1),
      RenderError);
  EXPECT_LT(std::chrono::steady_clock::now() - started, 20s);
  // A script that starts looping only after the page is ready.
  EXPECT_THROW(renderer.measureText(kDevicePage, {100, 100}, "for (;;) {}"), RenderError);
  for (int i = 0; i < 10; ++i) {
    const std::string png = renderer.renderDevice(kDevicePage, {100, 100}, 1);
    EXPECT_TRUE(png.starts_with("\x89PNG")) << "render " << i;
  }
  EXPECT_EQ(renderer.idleCount(), renderer.slotCount());
}

// A listener on the loopback interface that counts who knocks.
class Listener {
 public:
  Listener() {
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd_ < 0 || ::bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::listen(fd_, 64) != 0 ||
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      throw std::runtime_error("no loopback listener");
    }
    port_ = ntohs(address.sin_port);
  }
  ~Listener() { ::close(fd_); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int port() const { return port_; }
  // The first line of every connection that arrived, when it sent one.
  std::vector<std::string> knocks() {
    std::vector<std::string> lines;
    for (int client; (client = ::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
      pollfd ready{client, POLLIN, 0};
      char buffer[256] = {};
      ssize_t n = ::poll(&ready, 1, 200) > 0 ? ::read(client, buffer, sizeof buffer - 1) : 0;
      std::string text(buffer, n > 0 ? static_cast<std::size_t>(n) : 0);
      lines.push_back(text.substr(0, text.find('\r')));
      ::close(client);
    }
    return lines;
  }

 private:
  int fd_ = -1;
  int port_ = 0;
};

TEST(EngineWall, RenderedPagesReachNothingOutsideTheirHTML) {
  Listener listener;
  const std::string base = "127.0.0.1:" + std::to_string(listener.port());
  const std::string page = "<!doctype html><style>body{background:url(http://" + base +
                           "/css.png)}</style>"
                           "<link rel=stylesheet href=\"http://localhost:" +
                           std::to_string(listener.port()) +
                           "/style.css\">"
                           "<img src=\"http://" +
                           base + "/img.png\"><iframe src=\"http://" + base +
                           "/frame\"></iframe>"
                           "<img src=\"file:///etc/hostname\">"
                           "<div id=device style=\"width:10px;height:10px\"></div>"
                           "<script>fetch('http://" +
                           base + "/fetch').catch(() => {}); try { new WebSocket('ws://" + base +
                           "/ws'); } catch (e) {}"
                           "navigator.sendBeacon && navigator.sendBeacon('http://" +
                           base + "/beacon', 'x');</script>";
  HTMLRenderer renderer(1);
  auto slot = renderer.acquire(platform::Priority::interactive);
  slot->load(page, {200, 200});
  // Whatever the page started has time to knock; a render never takes this long.
  const JSONValue answer = slot->run(
      "await new Promise((done) => setTimeout(done, 1500));\n"
      "try { await fetch('http://" +
      base + "/late'); return 'reached'; } catch (e) { return 'refused'; }");
  EXPECT_EQ(answer, JSONValue("refused"));
  EXPECT_EQ(listener.knocks(), std::vector<std::string>{});
  EXPECT_TRUE(slot->rect("\"#device\""));  // the page itself loaded
}

TEST(EngineWall, ABrowserThatIsNoProgramIsNamedAsSuch) {
  try {
    platform::DevToolsClient client("/etc/passwd");
    FAIL() << "started";
  } catch (const platform::DevToolsError& e) {
    EXPECT_STREQ(e.what(),
                 "The browser /etc/passwd can\u2019t be run: it isn\u2019t an executable program. "
                 "Set VELLS_CHROMIUM to Chromium\u2019s headless shell, or unset it.");
  }
}

}  // namespace
}  // namespace vells::rendering

#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vells::testing {

// The store's lookup endpoint on 127.0.0.1: a blocking HTTP/1.1 server on its
// own thread that gives every request one canned answer and keeps its target.
class FakeStoreServer {
 public:
  FakeStoreServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
    ::listen(listener_, 8);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] {
      for (int client; (client = ::accept(listener_, nullptr, nullptr)) >= 0; ::close(client))
        reply(client);
    });
  }
  ~FakeStoreServer() {
    ::shutdown(listener_, SHUT_RDWR);  // makes the blocked accept return
    thread_.join();
    ::close(listener_);
  }

  std::string base() const { return "http://127.0.0.1:" + std::to_string(port_); }
  void answer(int status, std::string body) {
    std::lock_guard guard(mutex_);
    status_ = status;
    body_ = std::move(body);
  }
  std::vector<std::string> targets() const {
    std::lock_guard guard(mutex_);
    return targets_;
  }

 private:
  void reply(int client) {
    std::string request(8192, '\0');
    std::size_t got = 0;
    while (request.find("\r\n\r\n") == std::string::npos) {
      const ssize_t n = ::recv(client, request.data() + got, request.size() - got, 0);
      if (n <= 0) return;
      got += static_cast<std::size_t>(n);
    }
    std::lock_guard guard(mutex_);
    const auto start = request.find(' ') + 1;
    targets_.push_back(request.substr(start, request.find(' ', start) - start));
    const std::string response = "HTTP/1.1 " + std::to_string(status_) +
                                 " Canned\r\nContent-Length: " + std::to_string(body_.size()) +
                                 "\r\nConnection: close\r\n\r\n" + body_;
    ::send(client, response.data(), response.size(), MSG_NOSIGNAL);
  }

  int listener_;
  unsigned short port_ = 0;
  std::thread thread_;
  mutable std::mutex mutex_;
  int status_ = 200;
  std::string body_ = "{}";
  std::vector<std::string> targets_;
};

}  // namespace vells::testing

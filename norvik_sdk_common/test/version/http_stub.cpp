#include "http_stub.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace norvik::test {
namespace {

std::string read_request(int connection) {
  std::string request;
  std::array<char, 1024> block{};
  while (request.find("\r\n\r\n") == std::string::npos) {
    const ssize_t count = ::recv(connection, block.data(), block.size(), 0);
    if (count <= 0) break;
    request.append(block.data(), static_cast<std::size_t>(count));
  }
  return request;
}

}  // namespace

HttpStub::HttpStub(std::vector<std::string> answers) : answers_(std::move(answers)) {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(listener_, 8) != 0 ||
      ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0 || ::pipe(wake_) != 0) {
    throw std::runtime_error("no loopback server");
  }
  port_ = ntohs(address.sin_port);
  server_ = std::thread([this] { serve(); });
}

HttpStub::~HttpStub() {
  requests();
  ::close(listener_);
  ::close(wake_[0]);
  ::close(wake_[1]);
}

std::vector<std::string> HttpStub::requests() {
  if (server_.joinable()) {
    static_cast<void>(!::write(wake_[1], "x", 1));
    server_.join();
  }
  return requests_;
}

std::string HttpStub::answer(const std::string& status, const std::string& body, const std::string& headers) {
  return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n" +
         headers + "\r\n" + body;
}

void HttpStub::serve() {
  std::vector<int> silent;
  for (;;) {
    std::array<pollfd, 2> waiting{{{listener_, POLLIN, 0}, {wake_[0], POLLIN, 0}}};
    ::poll(waiting.data(), waiting.size(), -1);
    if (waiting[0].revents == 0) break;
    const int connection = ::accept(listener_, nullptr, nullptr);
    requests_.push_back(read_request(connection));
    if (requests_.size() > answers_.size()) {
      silent.push_back(connection);
      continue;
    }
    const std::string& text = answers_[requests_.size() - 1];
    static_cast<void>(!::send(connection, text.data(), text.size(), MSG_NOSIGNAL));
    ::close(connection);
  }
  for (const int connection : silent) ::close(connection);
}

}  // namespace norvik::test

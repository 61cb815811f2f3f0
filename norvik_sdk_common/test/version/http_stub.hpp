#pragma once

#include <string>
#include <thread>
#include <vector>

namespace norvik::test {

// A loopback HTTP server that answers the n-th connection with the n-th prepared text and then hangs up. Without a
// prepared text it keeps the connection open and says nothing.
class HttpStub {
 public:
  explicit HttpStub(std::vector<std::string> answers);
  ~HttpStub();
  HttpStub(const HttpStub&) = delete;
  HttpStub& operator=(const HttpStub&) = delete;

  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/latest"; }

  // What the clients sent; call after they have finished.
  std::vector<std::string> requests();

  static std::string answer(const std::string& status, const std::string& body, const std::string& headers = "");

 private:
  void serve();

  std::vector<std::string> answers_;
  std::vector<std::string> requests_;
  int listener_ = -1;
  int wake_[2] = {-1, -1};
  int port_ = 0;
  std::thread server_;
};

}  // namespace norvik::test

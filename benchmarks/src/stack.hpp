#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace norvik::benchmarks {

// Sends samples of one fixed size that carry a number in their first bytes.
class NumberPublisher {
 public:
  virtual ~NumberPublisher() = default;
  virtual bool send(int64_t number) = 0;
};

class Subscription {
 public:
  virtual ~Subscription() = default;
};

// A client that waits for the answer to each request.
class EchoClient {
 public:
  virtual ~EchoClient() = default;
  virtual bool call() = 0;
};

// The two ways to move the same samples: raw Fast DDS, and the middleware.
class Stack {
 public:
  virtual ~Stack() = default;
  virtual std::unique_ptr<NumberPublisher> publisher(const std::string& topic, size_t size) = 0;
  virtual std::unique_ptr<Subscription> subscribe(const std::string& topic, size_t size,
                                                  std::function<void(int64_t number)> callback) = 0;
  virtual std::unique_ptr<Subscription> echo_server(const std::string& service) = 0;
  virtual std::unique_ptr<EchoClient> echo_client(const std::string& service, size_t size) = 0;
};

std::unique_ptr<Stack> make_raw_stack();
std::unique_ptr<Stack> make_ovimux_stack();
std::unique_ptr<Stack> make_stack(const std::string& name);

inline constexpr size_t kLargestSmallSize = 65000;  // Larger samples use the 10 MB envelope.

int64_t now_ns();

}  // namespace norvik::benchmarks

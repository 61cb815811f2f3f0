#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>

namespace norvik::sdk {

// Warns when several servers answer one service, which means that every command reaches several robots: once, until
// there is no more than one again. Any thread may look, as often as it likes.
class ServiceWatch {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // A server that died counts until its lease has run out, so that one that was restarted looks like two for so long.
  static constexpr std::chrono::seconds kTimeOfDeadServers{6};

  ServiceWatch(std::string service, std::function<unsigned()> server_count);

  // When the client is new: all that it found are alive.
  void look_first();

  // Later.
  void look(Time now);

 private:
  void warn(unsigned servers);

  const std::string service_;
  const std::function<unsigned()> server_count_;
  std::atomic<Time::rep> several_since_{0};  // 0: no more than one
  std::atomic<bool> warned_{false};
};

}  // namespace norvik::sdk

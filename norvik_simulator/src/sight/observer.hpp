#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace norvik::simulator {

// Pictures from outside that somebody asked for. Any thread may call.
class Observer {
 public:
  // Takes no orders unless it is `on`.
  explicit Observer(bool on) : on_(on) {}

  // A picture is to be written to this file soon; its ending tells the format. False when there is no such camera, or
  // too many wait.
  bool ask(const std::string& file) {
    constexpr size_t kMost = 16;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!on_ || files_.size() >= kMost) {
      return false;
    }
    files_.push_back(file);
    return true;
  }

  std::vector<std::string> take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(files_, {});
  }

 private:
  const bool on_;
  std::mutex mutex_;
  std::vector<std::string> files_;
};

}  // namespace norvik::simulator

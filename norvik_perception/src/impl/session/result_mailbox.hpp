#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>

#include "norvik/perception_proto/perception.pb.h"

namespace norvik::sdk {

// The newest result of one module, and whether anybody has waited for it yet. A result that comes replaces the one
// before, waited for or not. Any thread.
class ResultMailbox {
 public:
  using Message = std::shared_ptr<const perception_proto::DetectionResult>;

  // Stores a result and wakes one waiter.
  void put(Message message);

  // Takes the news, waiting for it up to `timeout_s` seconds, at least 0: each result is news to one call. False on
  // time-out, on stop(), and when the process shuts down.
  bool wait_for_new(double timeout_s);

  // The newest result, as often as asked for; empty before the first.
  Message latest() const;

  // Ends all waits, for good.
  void stop();

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  Message latest_;
  bool has_new_ = false;
  bool stopped_ = false;
};

}  // namespace norvik::sdk

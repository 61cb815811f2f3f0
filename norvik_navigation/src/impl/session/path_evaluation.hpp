#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "norvik/kelvorn_proto/pns_interface.pb.h"

namespace norvik::sdk {

// The question whether there is a way, which the service answers on a topic. One at a time; any thread.
class PathEvaluation {
 public:
  explicit PathEvaluation(std::string task_prefix) : task_prefix_(std::move(task_prefix)) {}

  // Begins a new question and gives its id.
  std::string begin();

  // Takes the answer to the newest question; others are ignored.
  void update(const kelvorn_proto::EvaluateGoalAvailabilityResponse& response);

  bool is_ready() const { return evaluate_ready_.load(); }
  bool result() const { return evaluate_result_.load(); }

 private:
  std::string id(uint32_t sequence) const { return task_prefix_ + "Evaluate" + std::to_string(sequence); }

  const std::string task_prefix_;
  std::atomic<uint32_t> evaluate_sequence_{0};
  std::atomic<bool> evaluate_result_{false};
  std::atomic<bool> evaluate_ready_{false};
};

}  // namespace norvik::sdk

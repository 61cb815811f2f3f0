#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "ovimux/core/shutdown_tasks.hpp"

namespace norvik::sdk {

class CommonUtils;
class TargetProtoBuilder;

// Stops, when the program is told to stop and before the middleware closes, what this process alone keeps moving: the
// groups that its blocking calls wait for, and a base velocity that it set. Each gets a stop of its own, never one for
// all groups, so that what another application commanded goes on.
class MotionStopper {
 public:
  MotionStopper(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<TargetProtoBuilder> target_proto_builder);

 private:
  void stop(std::chrono::steady_clock::time_point deadline);

  const std::shared_ptr<CommonUtils> common_utils_;
  const std::shared_ptr<TargetProtoBuilder> target_proto_builder_;
  const ovimux::ShutdownTask task_;  // Goes first, and waits while it runs.
};

// One record of whether the controller has answered to a stop of `group`.
void record_stop(const std::string& group, bool answered);

}  // namespace norvik::sdk

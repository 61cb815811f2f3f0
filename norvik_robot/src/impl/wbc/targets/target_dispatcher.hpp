#pragma once

#include <chrono>
#include <memory>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/common/common_utils.hpp"

namespace norvik::sdk {

// Sends targets to the controller. Safe from any thread.
class TargetDispatcher {
 public:
  struct RequestResult {
    ControlStatus status = ControlStatus::INIT_FAILED;
    // The controller's report on the target; empty unless the status is SUCCESS.
    std::shared_ptr<tavrinox_proto::TavrinoXError> error;
  };

  explicit TargetDispatcher(std::shared_ptr<CommonUtils> common_utils);

  // Sends without waiting for an answer. SUCCESS, INVALID_INPUT, INIT_FAILED or PUBLISH_FAIL.
  ControlStatus publish_proto_target(const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& target) const;

  // Blocks for the controller's answer, at most `timeout`. SUCCESS, INVALID_INPUT, INIT_FAILED or TIMEOUT.
  RequestResult request_proto_target(const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& target,
                                     std::chrono::seconds timeout) const;

 private:
  std::shared_ptr<CommonUtils> common_utils_;
};

}  // namespace norvik::sdk

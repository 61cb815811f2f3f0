#pragma once

#include <memory>
#include <string>

#include "impl/norvik_motion_base.hpp"

namespace norvik::sdk::r5 {

class NorvikMotionR5 : public NorvikMotionBase {
 public:
  bool init() override;
  MotionStatus move_whole_body_joint_zero(bool blocking, double speed, double timeout,
                                          std::shared_ptr<Parameter> parameter) override;
  JointMap get_chain_joint_state() override;
  std::string resolve_jacobian_target_link(const std::string& chain, const std::string& target_frame) const override;
};

}  // namespace norvik::sdk::r5

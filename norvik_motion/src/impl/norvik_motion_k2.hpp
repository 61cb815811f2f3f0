#pragma once

#include <memory>

#include "impl/norvik_motion_base.hpp"

namespace norvik::sdk::k2 {

class NorvikMotionK2 : public NorvikMotionBase {
 public:
  bool init() override;
  MotionStatus move_whole_body_joint_zero(bool blocking, double speed, double timeout,
                                          std::shared_ptr<Parameter> parameter) override;
  JointMap get_chain_joint_state() override;
};

}  // namespace norvik::sdk::k2

#include "impl/norvik_motion_k2.hpp"

#include <utility>

#include "internal_log.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk::k2 {

bool NorvikMotionK2::init() {
  open_internal_log("k2");
  SDK_LOG(info) << "NorvikMotionK2 init";
  return base_init();
}

MotionStatus NorvikMotionK2::move_whole_body_joint_zero(bool blocking, double speed, double timeout,
                                                        std::shared_ptr<Parameter> parameter) {
  return move_to_zero({"leg",
                       {0.3, 1.2, 0.85, 0.0, 0.0},
                       {0.0, 0.0},
                       {2.0, -1.55, -0.55, -1.7, 0.0, -0.8, 0.0},
                       {-2.0, 1.55, 0.55, 1.7, 0.0, 0.8, 0.0}},
                      blocking, speed, timeout, std::move(parameter));
}

NorvikMotion::JointMap NorvikMotionK2::get_chain_joint_state() { return read_chain_joint_state({}); }

}  // namespace norvik::sdk::k2

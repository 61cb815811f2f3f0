#include "impl/norvik_motion_r5.hpp"

#include <utility>

#include "internal_log.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk::r5 {

bool NorvikMotionR5::init() {
  open_internal_log("r5");
  SDK_LOG(info) << "NorvikMotionR5 init";
  return base_init();
}

MotionStatus NorvikMotionR5::move_whole_body_joint_zero(bool blocking, double speed, double timeout,
                                                        std::shared_ptr<Parameter> parameter) {
  return move_to_zero({"torso",
                       {0.65},
                       {0.0, -0.26},
                       {-0.47, -0.94, -0.54, -1.92, 0.2, 0.0, 0.0},
                       {0.47, 0.94, 0.54, 1.92, -0.2, 0.0, 0.0}},
                      blocking, speed, timeout, std::move(parameter));
}

// The service tells a leg that this model does not have.
NorvikMotion::JointMap NorvikMotionR5::get_chain_joint_state() { return read_chain_joint_state({"leg"}); }

// Its arms and head stand on the torso.
std::string NorvikMotionR5::resolve_jacobian_target_link(const std::string& chain,
                                                         const std::string& target_frame) const {
  if (chain == "torso" || chain == "leg") {
    return "torso_base_link";
  }
  return NorvikMotionBase::resolve_jacobian_target_link(chain, target_frame);
}

}  // namespace norvik::sdk::r5

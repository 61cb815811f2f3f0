#include <norvik_sdk/norvik_motion.hpp>

#include "impl/norvik_motion_k2.hpp"
#include "impl/norvik_motion_r5.hpp"
#include "logger.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

NorvikMotion& NorvikMotion::get_instance(MachineType machine_type) {
  Logger::get_instance();  // Made before the objects and so destroyed after them: they log to their end.
  if (machine_type == MachineType::R5) {
    static r5::NorvikMotionR5 motion;
    return motion;
  }
  if (machine_type != MachineType::K2) {
    SDK_LOG(error) << "ERROR: Invalid machine type: " << static_cast<int32_t>(machine_type);
  }
  static k2::NorvikMotionK2 motion;
  return motion;
}

}  // namespace norvik::sdk

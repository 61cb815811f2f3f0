#include <norvik_sdk/norvik_perception.hpp>

#include "impl/norvik_perception_k2.hpp"
#include "impl/norvik_perception_r5.hpp"
#include "logger.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

NorvikPerception& NorvikPerception::get_instance(MachineType machine_type) {
  Logger::get_instance();  // Made before the objects and so destroyed after them: they log to their end.
  if (machine_type == MachineType::R5) {
    static r5::NorvikPerceptionR5 perception("head_f_camera_J38_stereo");
    return perception;
  }
  if (machine_type != MachineType::K2) {
    SDK_LOG(error) << "NorvikPerception::get_instance(): unknown machine type, defaulting to K2";
  }
  static k2::NorvikPerceptionK2 perception("head_f_camera_stereo");
  return perception;
}

}  // namespace norvik::sdk

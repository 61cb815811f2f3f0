#include "perception/stereo_module.hpp"

namespace norvik::simulator {

const std::vector<StereoModule>& stereo_modules() {
  using std::chrono::milliseconds;
  static const std::vector<StereoModule> kModules = {
      {"light_stereo", "LIGHT_STEREO_TASK_ID", "/norvik_perception/stereo_depth", 4, 0.004, milliseconds(100)},
      {"foundation_stereo", "FOUNDATION_STEREO_TASK_ID", "/norvik_perception/foundation_stereo_depth", 1, 0.0005,
       milliseconds(600)},
  };
  return kModules;
}

}  // namespace norvik::simulator

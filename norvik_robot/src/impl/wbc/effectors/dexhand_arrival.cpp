#include "impl/wbc/effectors/dexhand_arrival.hpp"

#include <algorithm>
#include <cmath>

#include "sdk_log.hpp"

namespace norvik::sdk {

bool has_dexhand_arrived(const std::vector<JointState>& joints, const std::vector<JointCommand>& commands,
                         const char* operation) {
  const size_t count = std::min(joints.size(), commands.size());
  for (size_t i = 0; i < count; ++i) {
    const double error = std::abs(joints[i].position - commands[i].position);
    if (error > kDexhandReachThreshold) {
      SDK_LOG(info) << operation << " not reached, joint i=" << i << " cmd_rad=" << commands[i].position
                    << " fb_rad=" << joints[i].position << " err_rad=" << error;
      return false;
    }
  }
  return true;
}

}  // namespace norvik::sdk

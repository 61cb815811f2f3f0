#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/commands/wbc_modules.hpp"
#include "impl/wbc/common/command_wait.hpp"

namespace norvik::sdk {

// The zero posture of body and base at once. Safe from any thread.
class ZeroControl {
 public:
  // Where the base goes and how long the joints may take.
  struct Command {
    std::array<double, 3> base_target;  // x, y, yaw
    std::string frame_id;
    std::string reference_frame_id;
    bool blocking;
    double speed;
    double timeout_s;
    std::shared_ptr<Parameter> parameter;  // empty means the defaults
  };

  // The robot's own operation for the base: to `command.base_target` within the time given, without waiting.
  using SetBasePose = std::function<ControlStatus(const Command& command, double time_from_start_s)>;

  ZeroControl(const WbcModulesSlot& modules, SetBasePose set_base_pose);

  // The joints' status, then the base's. With `blocking` until both are done.
  std::pair<ControlStatus, ControlStatus> zero_whole_body_and_base(const Command& command) const;

 private:
  const WbcModulesSlot& modules_;
  const SetBasePose set_base_pose_;
};

}  // namespace norvik::sdk

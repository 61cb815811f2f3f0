#pragma once

#include <memory>
#include <set>

#include "impl/audio_base.hpp"
#include "impl/sensor_base.hpp"
#include "impl/system_base.hpp"
#include "impl/wbc_base.hpp"

namespace norvik::sdk::k2 {

// The order of the bases is the order of destruction reversed: the sensors, which the whole-body layer feeds, go last.
class NorvikRobotK2 : public SensorBase, public SystemBase, public WbcBase, public AudioBase {
 public:
  bool init(const std::set<SensorType>& sensors, bool enable_sync) override;

  // The torso IMU has no topic of its own; its samples come with the whole-body sensor stream.
  std::shared_ptr<ImuData> get_imu_data(SensorType sensor) override;

 protected:
  std::shared_ptr<JointManager> create_joint_manager() override;
  std::shared_ptr<ControllerManager> create_controller_manager(std::shared_ptr<CommonUtils> common_utils) override;
  std::shared_ptr<TargetProtoBuilder> create_target_proto_builder(std::shared_ptr<JointManager> joint_manager) override;
};

}  // namespace norvik::sdk::k2

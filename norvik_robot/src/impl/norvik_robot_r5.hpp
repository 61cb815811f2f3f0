#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>

#include "impl/audio_base.hpp"
#include "impl/sensor_base.hpp"
#include "impl/system_base.hpp"
#include "impl/wbc_base.hpp"

namespace norvik::sdk::r5 {

// The order of the bases is the order of destruction reversed: the sensors, which the whole-body layer feeds, go last.
class NorvikRobotR5 : public SensorBase, public SystemBase, public WbcBase, public AudioBase {
 public:
  bool init(const std::set<SensorType>& sensors, bool enable_sync) override;

  // What this model does not have: each answers with its failure value and a warning.
  bool write_audio_stream_output(const std::string& audio_chunk, const std::string& stream_id) override;
  void stop_audio_stream_output(const std::string& stream_id) override;
  float get_volume() override;
  ControlStatus set_suction_cup_command(const std::string& suction_cup, bool activate) override;
  bool set_volume(float volume) override;
  void stop_microphone_stream_input(const std::string& stream_id) override;
  std::shared_ptr<SuctionCupState> get_suction_cup_state(const std::string& suction_cup) override;
  std::shared_ptr<UltrasonicData> get_ultrasonic_data(UltrasonicType type) override;
  std::shared_ptr<ForceData> get_force_sensor_data(NorvikOneTangoSensor sensor) override;
  std::shared_ptr<BmsInfo> get_bms_information() override;
  std::string start_microphone_stream_input(std::function<void(std::shared_ptr<AudioData>)> callback, int chunk_size,
                                            bool use_raw_audio) override;

 protected:
  // Blocks 4 s: the joint table depends on the hardware version, which the robot has to report first.
  std::shared_ptr<JointManager> create_joint_manager() override;
  std::shared_ptr<ControllerManager> create_controller_manager(std::shared_ptr<CommonUtils> common_utils) override;
  std::shared_ptr<TargetProtoBuilder> create_target_proto_builder(std::shared_ptr<JointManager> joint_manager) override;
};

}  // namespace norvik::sdk::r5

#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "impl/audio_base.hpp"
#include "impl/sensor_base.hpp"
#include "impl/system_base.hpp"
#include "impl/wbc_base.hpp"
#include "support/fake_endpoints.hpp"

namespace norvik::test {

using TargetWriter = FakeWriter<tavrinox_proto::TavrinoXTarget>;
using TargetClient = FakeClient<tavrinox_proto::TavrinoXTarget, tavrinox_proto::TavrinoXError>;
using ControllerClient = FakeClient<tavrinox_proto::TavrinoXController, tavrinox_proto::TavrinoXError>;

// Level of a controller's error just below fatal, and at it.
inline constexpr int kBelowFatal = 0x2ffff;
inline constexpr int kFatal = 0x30000;

// A controller's report; with a group, one error of that group.
std::shared_ptr<tavrinox_proto::TavrinoXError> make_error();
std::shared_ptr<tavrinox_proto::TavrinoXError> make_error(const std::string& group, int code);

// Time, in nanoseconds, that every report of the fake robot bears.
inline constexpr int64_t kReportTimeNs = 12'000'000'034;

// A robot object of either model whose endpoints are fakes: what it sends is kept, what the robot streams is told by
// the report_... operations, which any thread may call.
class FakeRobot : public sdk::SensorBase, public sdk::SystemBase, public sdk::WbcBase, public sdk::AudioBase {
 public:
  explicit FakeRobot(sdk::MachineType machine_type = sdk::MachineType::K2) : machine_type_(machine_type) {}

  bool init(const std::set<sdk::SensorType>&, bool) override { return true; }

  // Makes the endpoints and the modules. Nothing has been reported yet.
  void start();

  // As a healthy robot: no errors, all joints at 0, grippers at 20 mm, cups and hands mounted.
  void start_healthy();

  void report_no_error() { error_info_callback(make_error()); }
  void report_error(const std::string& group, int code) { error_info_callback(make_error(group, code)); }

  // One state report with all joints at 0; the groups named are told as arrived, the others as moving.
  void report_arrived(const std::set<std::string>& groups);
  void report_info(const std::shared_ptr<tavrinox_proto::WBCInfo>& info) { wbc_info_callback(info); }
  void report_sensor(const std::shared_ptr<tavrinox_proto::TavrinoXSensor>& sensor) { sensor_callback(sensor); }
  void report_odom(const std::shared_ptr<navigation_proto::Odometry>& odometry) { odom_callback(odometry); }

  // Targets sent either way.
  std::vector<tavrinox_proto::TavrinoXTarget> sent_targets() const;

  std::shared_ptr<TargetWriter> writer;
  std::shared_ptr<TargetClient> target_client;
  std::shared_ptr<ControllerClient> controller_client;

 protected:
  std::shared_ptr<sdk::JointManager> create_joint_manager() override;
  std::shared_ptr<sdk::ControllerManager> create_controller_manager(
      std::shared_ptr<sdk::CommonUtils> common_utils) override;
  std::shared_ptr<sdk::TargetProtoBuilder> create_target_proto_builder(
      std::shared_ptr<sdk::JointManager> joint_manager) override;

 private:
  const sdk::MachineType machine_type_;
};

// A state report with all joints of the model at 0.
std::shared_ptr<tavrinox_proto::WBCInfo> make_info(sdk::MachineType machine_type);

// A sensor report with both grippers at 20 mm, both suction cups and both hands with `hand_joints` joints.
std::shared_ptr<tavrinox_proto::TavrinoXSensor> make_sensor(int hand_joints = 16);

}  // namespace norvik::test

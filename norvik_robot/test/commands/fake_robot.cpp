#include "fake_robot.hpp"

#include "impl/wbc/joints/joint_manager_k2.hpp"
#include "impl/wbc/joints/joint_manager_r5.hpp"

namespace norvik::test {

using sdk::MachineType;

namespace {

std::shared_ptr<sdk::JointManager> make_joint_manager(MachineType machine_type) {
  return machine_type == MachineType::K2 ? sdk::JointManagerK2::Create() : sdk::JointManagerR5::Create("2.0");
}

template <typename Message>
void stamp(Message& message) {
  auto* time = message.mutable_header()->mutable_timestamp();
  time->set_sec(kReportTimeNs / 1'000'000'000);
  time->set_nanosec(kReportTimeNs % 1'000'000'000);
}

void fill(sensor_proto::JointSensor& sensor, int joints, double position) {
  for (int i = 0; i < joints; ++i) {
    sensor.add_position(position);
    sensor.add_velocity(0.5);
    sensor.add_effort(7.0);
    sensor.add_current(0.25);
  }
}

}  // namespace

std::shared_ptr<tavrinox_proto::TavrinoXError> make_error() {
  return std::make_shared<tavrinox_proto::TavrinoXError>();
}

std::shared_ptr<tavrinox_proto::TavrinoXError> make_error(const std::string& group, int code) {
  auto error = make_error();
  auto& detail = (*error->mutable_error_map())[group + "_max_error_level"];
  detail.set_error_code(code);
  detail.set_description("scripted");
  return error;
}

std::shared_ptr<tavrinox_proto::WBCInfo> make_info(MachineType machine_type) {
  auto info = std::make_shared<tavrinox_proto::WBCInfo>();
  stamp(*info);
  auto* joints = info->mutable_joint_info();
  for (const auto& row : make_joint_manager(machine_type)->joint_group_metadata_table()) {
    (*info->mutable_group_info_map())[row.group_name].set_error_final_pos_norm(1000.0);
    for (const std::string& name : row.joint_names) {
      joints->add_names(name);
      for (auto* values : {joints->mutable_state_pos(), joints->mutable_state_vel(), joints->mutable_state_acc(),
                           joints->mutable_state_eff(), joints->mutable_state_cur()}) {
        values->Add(0.0);
      }
    }
  }
  return info;
}

std::shared_ptr<tavrinox_proto::TavrinoXSensor> make_sensor(int hand_joints) {
  auto sensor = std::make_shared<tavrinox_proto::TavrinoXSensor>();
  stamp(*sensor);
  auto& joints = *sensor->mutable_joint_sensor_map();
  for (const std::string side : {"left_", "right_"}) {
    fill(joints[side + "gripper"], 1, 20.0);
    fill(joints[side + "suction_cup"], 1, 0.75);
    fill(joints[side + "dexhand"], hand_joints, 10.0);
  }
  return sensor;
}

void FakeRobot::start() {
  wbcs_target_writer_ = writer = std::make_shared<TargetWriter>();
  wbcs_target_client_ = target_client = std::make_shared<TargetClient>();
  wbcs_controller_client_ = controller_client = std::make_shared<ControllerClient>();
  create_modules();
}

void FakeRobot::start_healthy() {
  start();
  report_no_error();
  report_info(make_info(machine_type_));
  report_sensor(make_sensor());
}

void FakeRobot::report_arrived(const std::set<std::string>& groups) {
  auto info = make_info(machine_type_);
  for (const std::string& group : groups) {
    auto& state = (*info->mutable_group_info_map())[group];
    state.set_error_final_pos_norm(0.0);
    state.mutable_target_info()->set_sampling_finished(true);
  }
  report_info(info);
}

std::vector<tavrinox_proto::TavrinoXTarget> FakeRobot::sent_targets() const {
  std::vector<tavrinox_proto::TavrinoXTarget> targets = writer->sent();
  for (const auto& call : target_client->calls()) {
    targets.push_back(call.request);
  }
  return targets;
}

std::shared_ptr<sdk::JointManager> FakeRobot::create_joint_manager() { return make_joint_manager(machine_type_); }

std::shared_ptr<sdk::ControllerManager> FakeRobot::create_controller_manager(
    std::shared_ptr<sdk::CommonUtils> common_utils) {
  return machine_type_ == MachineType::K2 ? sdk::ControllerManagerK2::Create(std::move(common_utils))
                                          : sdk::ControllerManagerR5::Create(std::move(common_utils));
}

std::shared_ptr<sdk::TargetProtoBuilder> FakeRobot::create_target_proto_builder(
    std::shared_ptr<sdk::JointManager> joint_manager) {
  return machine_type_ == MachineType::K2 ? sdk::TargetProtoBuilderK2::Create(std::move(joint_manager))
                                          : sdk::TargetProtoBuilderR5::Create(std::move(joint_manager));
}

}  // namespace norvik::test

#include "common_provider.hpp"
#include "facade_fixture.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::sdk {
namespace {

TEST_F(Facade, GivesTheK2ForAnInvalidMachineTypeAndSaysSo) {
  test::SdkLogCapture log;
  for (const int32_t value : {2, -1}) {
    log.clear();
    EXPECT_EQ(&NorvikRobot::get_instance(static_cast<MachineType>(value)), &k2());
    const auto records = log.records();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].level, "error");
    EXPECT_EQ(records[0].source, "norvik_robot");
    EXPECT_EQ(records[0].text, "ERROR: Invalid machine type: " + std::to_string(value));
  }
  EXPECT_NE(&k2(), &r5());
}

// An operation, and whether it answered with its failure value.
struct Operation {
  const char* name;
  std::function<bool(NorvikRobot&)> fails;
};

bool failed(ControlStatus status) { return status != ControlStatus::SUCCESS && status != ControlStatus::IN_PROGRESS; }

bool failed(const std::pair<ControlStatus, ControlStatus>& both) { return failed(both.first) && failed(both.second); }

// Valid as far as that can be told without tables.
TavrinoXTarget some_target() {
  TavrinoXTarget target;
  target.target_group_trajectory_map["left_arm"];
  return target;
}

Trajectory some_trajectory() {
  Trajectory trajectory;
  trajectory.points = {{1.0, {{}, {}}}};
  trajectory.joint_groups = {"head"};
  return trajectory;
}

// All operations that do not end the process's middleware. None of them may crash or hang at any time.
const std::vector<Operation>& operations() {  // NOLINT(readability-function-size) a table
  using R = NorvikRobot;
  using S = SensorType;
  static const std::vector<Operation> all = {
      {"PublishTarget", [](R& r) { return failed(r.PublishTarget(some_target())); }},
      {"RequestTarget", [](R& r) { return !r.RequestTarget(some_target()); }},
      {"set_joint_commands",
       [](R& r) {
         return failed(r.set_joint_commands({{}, {}}, {"head"}));
       }},
      {"set_joint_positions",
       [](R& r) {
         return failed(r.set_joint_positions({0, 0}, {"head"}));
       }},
      {"check_trajectory_execution_status",
       [](R& r) {
         return r.check_trajectory_execution_status({"head", "leg"}).size() == 2;
       }},
      {"execute_joint_trajectory", [](R& r) { return failed(r.execute_joint_trajectory(some_trajectory())); }},
      {"set_joint_commands_batch", [](R& r) { return failed(r.set_joint_commands_batch(some_trajectory())); }},
      {"set_suction_cup_command", [](R& r) { return failed(r.set_suction_cup_command("left_suction_cup", true)); }},
      {"set_gripper_command", [](R& r) { return failed(r.set_gripper_command("left_gripper", 0.05)); }},
      {"get_gripper_state", [](R& r) { return !r.get_gripper_state("left_gripper"); }},
      {"get_suction_cup_state", [](R& r) { return !r.get_suction_cup_state("left_suction_cup"); }},
      {"get_dexhand_state",
       [](R& r) {
         DexhandState state;
         return failed(r.get_dexhand_state("left_dexhand", state)) &&
                failed(r.get_dexhand_state("left_dexhand", state, DexHandType::LINKER_L20));
       }},
      {"set_dexhand_command",
       [](R& r) {
         return failed(r.set_dexhand_command("left_dexhand", {{}})) &&
                failed(r.set_dexhand_command("left_dexhand", std::vector<JointCommand>(22), DexHandType::SHARPA));
       }},
      {"get_joint_positions", [](R& r) { return r.get_joint_positions({"head"}).empty(); }},
      {"get_joint_group_names", [](R& r) { return r.get_joint_group_names().empty(); }},
      {"get_joint_names", [](R& r) { return r.get_joint_names().empty(); }},
      {"get_joint_states", [](R& r) { return r.get_joint_states().empty(); }},
      {"set_base_velocity",
       [](R& r) {
         return failed(r.set_base_velocity({0.1, 0, 0}, {0, 0, 0}));
       }},
      {"set_base_pose of a pose", [](R& r) { return failed(r.set_base_pose(Pose{})); }},
      {"set_base_pose", [](R& r) { return failed(r.set_base_pose(0, 0, 0)); }},
      {"set_base_pose in a time", [](R& r) { return failed(r.set_base_pose(0, 0, 0, "odom", "odom", 0.1)); }},
      {"set_end_effector_command",
       [](R& r) {
         return failed(r.set_end_effector_command({{0, 0, 0, 0, 0, 0, 1}}, {"left_hand"}));
       }},
      {"clear_end_effector_command", [](R& r) { return failed(r.clear_end_effector_command()); }},
      {"get_wbc_end_effector_poses", [](R& r) { return r.get_wbc_end_effector_poses().empty(); }},
      {"stop_base", [](R& r) { return failed(r.stop_base()); }},
      {"zero_whole_body_and_base", [](R& r) { return failed(r.zero_whole_body_and_base(Pose{})); }},
      {"zero_whole_body_and_base by frames", [](R& r) { return failed(r.zero_whole_body_and_base("odom", "odom")); }},
      {"stop_trajectory_execution", [](R& r) { return failed(r.stop_trajectory_execution()); }},
      {"reload_controller", [](R& r) { return failed(r.reload_controller("all")); }},
      {"switch_controller", [](R& r) { return failed(r.switch_controller("head_pvt_ctrl")); }},
      {"get_active_controller",
       [](R& r) {
         const auto name = r.get_active_controller("head");
         return name.empty() || name == "CONTROLLER_NAME_NUM";
       }},
      {"acquire_controller", [](R& r) { return failed(r.acquire_controller("head_pvt_ctrl")); }},
      {"release_controller", [](R& r) { return failed(r.release_controller("head")); }},
      {"start_controller", [](R& r) { return failed(r.start_controller("head")); }},
      {"stop_controller", [](R& r) { return failed(r.stop_controller("head")); }},
      {"get_imu_data", [](R& r) { return !r.get_imu_data(S::CHASSIS_IMU) && !r.get_imu_data(S::TORSO_IMU); }},
      {"get_odom", [](R& r) { return !r.get_odom(); }},
      {"get_device_information", [](R& r) { return r.get_device_information()->model.empty(); }},
      {"get_rgb_data", [](R& r) { return !r.get_rgb_data(S::HEAD_LEFT_CAMERA); }},
      {"get_depth_data", [](R& r) { return !r.get_depth_data(S::LEFT_ARM_DEPTH_CAMERA); }},
      {"get_ir_data", [](R& r) { return !r.get_ir_data(S::LEFT_ARM_INFRA_CAMERA_1); }},
      {"get_synced_observation", [](R& r) { return !r.get_synced_observation({S::HEAD_LEFT_CAMERA}, true); }},
      {"get_lidar_data", [](R& r) { return !r.get_lidar_data(S::BASE_LIDAR); }},
      {"get_ultrasonic_data", [](R& r) { return !r.get_ultrasonic_data(UltrasonicType::ULTRASONIC_0); }},
      {"get_camera_intrinsic", [](R& r) { return !r.get_camera_intrinsic(S::HEAD_LEFT_CAMERA); }},
      {"get_transform", [](R& r) { return r.get_transform("base_link", "odom").first.empty(); }},
      {"get_frame_names", [](R& r) { return r.get_frame_names().empty(); }},
      {"get_sensor_extrinsic", [](R& r) { return r.get_sensor_extrinsic(S::HEAD_LEFT_CAMERA).first.empty(); }},
      {"get_force_sensor_data", [](R& r) { return !r.get_force_sensor_data(NorvikOneTangoSensor::LEFT); }},
      {"microphone",
       [](R& r) {
         r.stop_microphone_stream_input("unknown");
         return r.start_microphone_stream_input(nullptr).empty();
       }},
      {"speaker",
       [](R& r) {
         r.stop_audio_stream_output("unknown");
         return !r.write_audio_stream_output("", "stream");
       }},
      {"volume", [](R& r) { return r.get_volume() == 0.0F && !r.set_volume(101); }},
      {"get_log_information", [](R& r) { return !r.get_log_information(0, static_cast<LogLevel>(9)); }},
  };
  return all;
}

void expect_all_fail(NorvikRobot& robot) {
  for (const auto& operation : operations()) {
    SCOPED_TRACE(operation.name);
    EXPECT_TRUE(operation.fails(robot));
  }
}

TEST_F(Facade, EveryOperationOfAK2FailsBeforeInit) {
  expect_all_fail(k2());
  EXPECT_FALSE(k2().get_bms_information());
  EXPECT_FALSE(k2().write_audio_stream_output("chunk"));
  EXPECT_FALSE(k2().set_volume(1));
}

TEST_F(Facade, EveryOperationOfAnR5FailsBeforeInit) { expect_all_fail(r5()); }

TEST_F(Facade, EveryOperationFailsWhenTheMiddlewareStoppedBeforeInit) {
  k2().request_shutdown();
  const auto start = std::chrono::steady_clock::now();
  k2().init({SensorType::HEAD_LEFT_CAMERA, SensorType::BASE_LIDAR}, true);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_FALSE(k2().is_running());
  expect_all_fail(k2());
  k2().destroy();
  expect_all_fail(k2());
}

TEST_F(Facade, TheTorsoImuOfAK2IsAskedOfTheWholeBodyStream) {
  test::SdkLogCapture log;
  EXPECT_EQ(k2().get_imu_data(SensorType::TORSO_IMU), nullptr);
  EXPECT_EQ(log.texts("error"), std::vector<std::string>{"WBC sensor_module is null"});
  log.clear();
  EXPECT_EQ(r5().get_imu_data(SensorType::TORSO_IMU), nullptr);
  EXPECT_EQ(log.texts("error"), std::vector<std::string>{"get_imu_data error, input invalid, imu_type: TORSO_IMU"});
}

TEST_F(Facade, AnR5AnswersWhatItDoesNotHaveWithAWarning) {
  using R = NorvikRobot;
  const struct {
    const char* name;
    std::function<bool(R&)> gives_the_stub_value;
  } stubs[] = {
      {"write_audio_stream_output", [](R& r) { return !r.write_audio_stream_output("chunk", "s"); }},
      {"stop_audio_stream_output", [](R& r) { return r.stop_audio_stream_output("s"), true; }},
      {"get_volume", [](R& r) { return r.get_volume() == 0.0F; }},
      {"set_suction_cup_command",
       [](R& r) { return r.set_suction_cup_command("left_suction_cup", true) == ControlStatus::INVALID_INPUT; }},
      {"set_volume", [](R& r) { return !r.set_volume(0.5F); }},
      {"stop_microphone_stream_input", [](R& r) { return r.stop_microphone_stream_input("s"), true; }},
      {"get_suction_cup_state", [](R& r) { return !r.get_suction_cup_state("left_suction_cup"); }},
      {"get_ultrasonic_data", [](R& r) { return !r.get_ultrasonic_data(UltrasonicType::ULTRASONIC_1); }},
      {"get_force_sensor_data", [](R& r) { return !r.get_force_sensor_data(NorvikOneTangoSensor::RIGHT); }},
      {"get_bms_information", [](R& r) { return !r.get_bms_information(); }},
      {"start_microphone_stream_input", [](R& r) { return r.start_microphone_stream_input([](auto) {}).empty(); }},
  };
  test::SdkLogCapture log;
  for (const auto& stub : stubs) {
    SCOPED_TRACE(stub.name);
    log.clear();
    EXPECT_TRUE(stub.gives_the_stub_value(r5()));
    const auto records = log.records();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].level, "warning");
    EXPECT_EQ(records[0].text, stub.name + std::string(" is not supported yet (R5)"));
  }
}

TEST_F(Facade, ShutsDownInOrderAndOnlyOnce) {
  ovimux::OvimuxInit();
  test::SdkLogCapture log;
  EXPECT_TRUE(k2().is_running());
  k2().register_exit_callback([] {});
  std::thread waiter([] { k2().wait_for_shutdown(); });
  k2().request_shutdown();
  waiter.join();
  EXPECT_FALSE(k2().is_running());
  EXPECT_EQ(log.texts("debug"),
            (std::vector<std::string>{"SystemBase::is_running", "SystemBase::register_exit_callback",
                                      "SystemBase::is_running"}));
  EXPECT_TRUE(log.has("info", "SystemBase::request_shutdown"));
  EXPECT_TRUE(log.has("info", "SystemBase::wait_for_shutdown"));
  k2().destroy();
  k2().destroy();
  k2().wait_for_shutdown();
}

// The planner works with the robot that was initialised last, also with one that was there before.
TEST_F(Facade, EveryInitialisationFillsTheProviderSlots) {
  const SilentController controller;
  // Only a K2 has a leg. Its command is refused for want of error reports, not for its arguments.
  const auto leg_status = [] {
    return JointPositionControlProvider::set_joint_positions_func_(std::vector<double>(5), {"leg"}, {}, false, 0.1,
                                                                   1.0);
  };
  ASSERT_TRUE(k2().init());
  EXPECT_EQ(leg_status(), ControlStatus::COMM_DISCONNECTED);
  ASSERT_TRUE(r5().init());
  EXPECT_EQ(leg_status(), ControlStatus::INVALID_INPUT);
  ASSERT_TRUE(k2().init());
  EXPECT_EQ(leg_status(), ControlStatus::COMM_DISCONNECTED);
}

}  // namespace
}  // namespace norvik::sdk

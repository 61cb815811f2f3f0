#include <limits>

#include "wbc_fixture.hpp"

namespace norvik::sdk {
namespace {

using test::make_wbc_info;
using test::WbcModules;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// Beyond what a 64-bit float holds exactly.
constexpr int64_t kTime = 1'700'000'000'123'456'789;

std::shared_ptr<tavrinox_proto::TavrinoXSensor> make_sensor_report() {
  auto report = std::make_shared<tavrinox_proto::TavrinoXSensor>();
  test::set_time(kTime, *report->mutable_header());
  return report;
}

void add_joint(sensor_proto::JointSensor& sensor, double position) {
  sensor.add_name("name of its own");
  sensor.add_position(position);
  sensor.add_velocity(position + 1);
  sensor.add_effort(position + 2);
  sensor.add_current(position + 3);
}

TEST(ForceSensor, FailsByCause) {
  struct Case {
    int32_t sensor;
    std::shared_ptr<tavrinox_proto::TavrinoXSensor> report;
    const char* text;
  };
  const auto only_left = make_sensor_report();
  (*only_left->mutable_effort_sensor_map())["left_effort"];
  const Case cases[] = {
      {2, only_left, "get_force_sensor_data invalid input"},
      {-1, only_left, "get_force_sensor_data invalid input"},
      {0, nullptr, "get_force_sensor_data data fetch failed"},
      {1, only_left, "get_force_sensor_data data fetch failed"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.sensor << " " << c.text);
    WbcModules modules;
    if (c.report != nullptr) modules.sensors->sensor_callback(c.report);
    test::SdkLogCapture log;
    EXPECT_EQ(modules.sensors->get_force_sensor_data(static_cast<NorvikOneTangoSensor>(c.sensor)), nullptr);
    EXPECT_THAT(log.texts("error"), ElementsAre(c.text));
  }
}

TEST(ForceSensor, TakesEachSideFromItsKeyAtTheExactTime) {
  WbcModules modules;
  const auto report = make_sensor_report();
  (*report->mutable_effort_sensor_map())["left_effort"].mutable_force()->set_x(1.0);
  sensor_proto::EffortSensor& right = (*report->mutable_effort_sensor_map())["right_effort"];
  right.mutable_force()->set_z(2.0);
  right.mutable_torque()->set_y(3.0);
  modules.sensors->sensor_callback(report);
  const auto force = modules.sensors->get_force_sensor_data(NorvikOneTangoSensor::RIGHT);
  ASSERT_NE(force, nullptr);
  EXPECT_EQ(force->timestamp_ns, kTime);
  EXPECT_EQ(force->force_z, 2.0);
  EXPECT_EQ(force->torque_y, 3.0);
  EXPECT_EQ(modules.sensors->get_force_sensor_data(NorvikOneTangoSensor::LEFT)->force_x, 1.0);
}

TEST(TorsoImu, IsTheOnlyOneAndComesUnscaled) {
  WbcModules modules;
  test::SdkLogCapture log;
  EXPECT_EQ(modules.sensors->get_imu_data(SensorType::HEAD_IMU), nullptr);
  EXPECT_EQ(modules.sensors->get_imu_data(SensorType::TORSO_IMU), nullptr);
  modules.sensors->sensor_callback(nullptr);
  const auto report = make_sensor_report();
  modules.sensors->sensor_callback(report);
  EXPECT_EQ(modules.sensors->get_imu_data(SensorType::TORSO_IMU), nullptr);
  EXPECT_THAT(log.texts("error"), ElementsAre("imu_type invalid , input imu_type is 14", "get_imu_data fetch failed",
                                              "sensor callback message is nullptr", "get_imu_data fetch failed"));

  const auto complete = make_sensor_report();
  sensor_proto::ImuSensor& sensor = (*complete->mutable_imu_sensor_map())["torso_imu"];
  sensor.mutable_accel()->set_z(9.8);
  sensor.mutable_gyro()->set_y(0.5);
  sensor.mutable_magnet()->set_x(0.25);
  modules.sensors->sensor_callback(complete);
  const auto imu = modules.sensors->get_imu_data(SensorType::TORSO_IMU);
  ASSERT_NE(imu, nullptr);
  EXPECT_EQ(imu->timestamp_ns, kTime);
  EXPECT_EQ(imu->accel_z, 9.8);
  EXPECT_EQ(imu->gyro_y, 0.5);
  EXPECT_EQ(imu->magnet_x, 0.25);
}

TEST(ForceSensor, SurvivesAnyTime) {
  WbcModules modules;
  const auto report = make_sensor_report();
  (*report->mutable_effort_sensor_map())["left_effort"];
  report->mutable_header()->mutable_timestamp()->set_sec(std::numeric_limits<int64_t>::min());
  modules.sensors->sensor_callback(report);
  EXPECT_EQ(modules.sensors->get_force_sensor_data(NorvikOneTangoSensor::LEFT)->timestamp_ns,
            std::numeric_limits<int64_t>::min());
}

TEST(SensorJointState, IsNamedByTheTableAndKeepsTheSensorsUnits) {
  WbcModules modules;
  const auto report = make_sensor_report();
  sensor_proto::JointSensor& sensor = (*report->mutable_joint_sensor_map())["left_gripper"];
  add_joint(sensor, 35.0);
  add_joint(sensor, 99.0);
  modules.sensors->sensor_callback(report);
  JointStateMessage state;
  state.joint_states.resize(3);
  EXPECT_EQ(modules.sensors->get_joint_state_from_sensor("left_gripper", state), ControlStatus::SUCCESS);
  ASSERT_EQ(state.joint_states.size(), 1u);
  const JointState& joint = state.joint_states[0];
  EXPECT_EQ(joint.name, "left_gripper_joint1");
  EXPECT_EQ(joint.timestamp_ns, static_cast<int64_t>(1'700'000'000 * 1e9 + 123'456'789.0));
  EXPECT_EQ(state.timestamp_ns, joint.timestamp_ns);
  EXPECT_THAT((std::vector<double>{joint.position, joint.velocity, joint.acceleration, joint.effort, joint.current}),
              ElementsAre(35.0, 36.0, 0.0, 37.0, 38.0));
}

TEST(SensorJointState, FailsByCause) {
  using Sensor = sensor_proto::JointSensor;
  void (*const shortened[])(Sensor&) = {
      [](Sensor& s) { s.mutable_position()->RemoveLast(); }, [](Sensor& s) { s.mutable_velocity()->RemoveLast(); },
      [](Sensor& s) { s.mutable_effort()->RemoveLast(); }, [](Sensor& s) { s.mutable_current()->RemoveLast(); }};
  WbcModules modules;
  JointStateMessage state;
  test::SdkLogCapture log;
  EXPECT_EQ(modules.sensors->get_joint_state_from_sensor("no_such", state), ControlStatus::INVALID_INPUT);
  EXPECT_THAT(log.texts("error"), ElementsAre("get_joint_state_from_sensor invalid input"));
  log.clear();
  EXPECT_EQ(modules.sensors->get_joint_state_from_sensor("left_dexhand", state), ControlStatus::DATA_FETCH_FAILED);
  for (const auto& shorten : shortened) {
    const auto report = make_sensor_report();
    sensor_proto::JointSensor& sensor = (*report->mutable_joint_sensor_map())["left_dexhand"];
    for (int i = 0; i < 6; ++i) add_joint(sensor, i);
    modules.sensors->sensor_callback(report);
    EXPECT_EQ(modules.sensors->get_joint_state_from_sensor("left_dexhand", state), ControlStatus::SUCCESS);
    shorten(sensor);
    EXPECT_EQ(modules.sensors->get_joint_state_from_sensor("left_dexhand", state), ControlStatus::DATA_FETCH_FAILED);
  }
  EXPECT_EQ(log.texts("error"), std::vector<std::string>(5, "get_joint_state_from_sensor fetch failed"));
}

TEST(JointMetadata, KnowsWhatTheRobotReports) {
  WbcModules modules;
  test::SdkLogCapture log;
  EXPECT_THAT(modules.metadata.get_joint_group_names(), IsEmpty());
  EXPECT_THAT(modules.metadata.get_joint_names(true, {}), IsEmpty());
  EXPECT_THAT(log.texts("error"),
              ElementsAre("[get_joint_group_names] joint sensor fetch failed", "get wbc_info_ptr is nullptr"));

  const auto report = make_sensor_report();
  for (const char* group : {"left_gripper", "head", "tail"}) (*report->mutable_joint_sensor_map())[group];
  modules.sensors->sensor_callback(report);
  EXPECT_THAT(modules.metadata.get_joint_group_names(), UnorderedElementsAre("left_gripper", "head"));

  modules.utils->wbc_info_buffer().set_data(
      make_wbc_info({{"leg_joint2", 0}, {"chassis_joint1", 0}, {"tail_joint1", 0}, {"head_joint1", 0}}));
  log.clear();
  EXPECT_THAT(modules.metadata.get_joint_names(true, {}), ElementsAre("leg_joint2", "head_joint1"));
  EXPECT_THAT(modules.metadata.get_joint_names(false, {}), ElementsAre("leg_joint2", "chassis_joint1", "head_joint1"));
  EXPECT_EQ(log.texts("info"), std::vector<std::string>(2, "joint_group_vec is empty , use all joints"));
  EXPECT_THAT(modules.metadata.get_joint_names(false, {"tail", "head"}), ElementsAre("head_joint1"));
  EXPECT_THAT(log.texts("error"), ElementsAre("[convert_joint_names] unknown joint group: tail"));
}

}  // namespace
}  // namespace norvik::sdk

#include <filesystem>
#include <fstream>
#include <iterator>

#include "facade_fixture.hpp"
#include "norvik/system_proto/mission_manager_proto/onboard_config.pb.h"
#include "norvik/tf2_proto/tf2_message.pb.h"

namespace norvik::sdk {
namespace {

namespace fs = std::filesystem;
using system_proto::mission_manager_proto::OnboardConfig;

int count_log_files(const fs::path& directory) {
  std::error_code error;
  const fs::directory_iterator files(directory, error);
  return error ? 0 : static_cast<int>(std::distance(begin(files), end(files)));
}

TEST_F(Facade, InitOpensEverythingOnceAndLogsBelowHome) {
  const SilentController controller;
  ASSERT_TRUE(k2().init({SensorType::HEAD_LEFT_CAMERA}, true));
  ASSERT_TRUE(k2().init());

  EXPECT_EQ(count_log_files(home_.path() / "norvik_sdk_log" / "k2"), 1);
  const auto records = log_of_init();
  EXPECT_EQ(count_text(records, "info", "NorvikRobotK2 init 1.9.1"), 2);
  EXPECT_EQ(count_text(records, "info", "SystemBase::init"), 2);
  for (const char* const once :
       {"wbc_node create success", "sensor interface init success", "create onboard_config_reader success",
        "create bms_info_reader success", "SystemBase init success", "wbc interface init success",
        "create audio reader success.", "create audio writer success.",
        "create robot_sensor_reader /front_head_camera/left_color/image_raw success."}) {
    EXPECT_EQ(count_text(records, "info", once), 1) << once;
  }

  ASSERT_NE(k2().get_bms_information(), nullptr);  // All zero before the first report.
  EXPECT_EQ(k2().get_bms_information()->voltage, 0.0F);
}

TEST_F(Facade, InitLogsInTheWorkingDirectoryWithoutAHome) {
  ::unsetenv("HOME");
  fs::current_path(home_.path());
  EXPECT_FALSE(k2().init({SensorType::HEAD_IMU}));
  EXPECT_EQ(count_log_files(home_.path()), 1);
  EXPECT_EQ(Logger::get_instance().get_log_path(), "./");
  fs::current_path("/");
}

TEST_F(Facade, InitWorksWithoutALog) {
  const std::string file = home_ / "file";
  std::ofstream(file) << "in the way";
  ::setenv("HOME", file.c_str(), 1);
  const SilentController controller;
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(k2().init());
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("norvik_sdk: no log in " + file), std::string::npos);
}

TEST_F(Facade, InitRefusesSensorsOfTheOtherModelAndCanBeRepeated) {
  const struct {
    NorvikRobot& robot;
    SensorType sensor;
    const char* text;
  } cases[] = {
      {k2(), SensorType::HEAD_IMU, "Sensor HEAD_IMU is not valid for machine type 0"},
      {r5(), SensorType::BASE_LIDAR, "Sensor BASE_LIDAR is not valid for machine type 1"},
  };
  test::SdkLogCapture log;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    log.clear();
    EXPECT_FALSE(c.robot.init({SensorType::CHASSIS_IMU, c.sensor}));
    EXPECT_EQ(log.texts("error"), std::vector<std::string>{c.text});
    EXPECT_FALSE(log.has("info", "wbc_node create success"));
    EXPECT_FALSE(log.has("info", "SystemBase::init"));
  }
  const SilentController controller;
  EXPECT_TRUE(k2().init({SensorType::CHASSIS_IMU}));
}

// The hardware version decides the joint table of an R5; the robot reports it while init waits.
void expect_hardware_version(NorvikRobot& robot, const std::string& version, const std::string& logged) {
  const SilentController controller;
  const auto node = ovimux::CreateNode("mission_manager", "");
  const auto writer = node->CreateWriter<OnboardConfig>("/norvik/mission_manager/onboard_config", ovimux::Qos());
  auto config = std::make_shared<OnboardConfig>();
  config->set_robot_type(OnboardConfig::R5);
  config->set_robot_hardware_version(version);
  std::atomic<bool> running{true};
  std::thread reports([&] {
    while (running) {
      writer->Publish(config);
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  });
  EXPECT_TRUE(robot.init());
  running = false;
  reports.join();

  test::SdkLogCapture wait_for_writer;
  const auto records =
      test::read_log_file(Logger::get_instance().get_log_path() + Logger::get_instance().get_log_file_name());
  EXPECT_EQ(count_text(records, "info", "NorvikRobotR5 create joint manager with hardware_version: " + logged), 1);
  EXPECT_EQ(count_text(records, "info", "NorvikRobotR5 init 1.9.1"), 1);
}

TEST_F(Facade, InitOfAnR5TakesTheReportedHardwareVersion) {
  expect_hardware_version(r5(), "2.0", "2.0");
  EXPECT_EQ(r5().get_device_information()->model, "R5");
  EXPECT_EQ(count_log_files(home_.path() / "norvik_sdk_log" / "r5"), 1);
}

TEST_F(Facade, InitOfAnR5TakesAnEmptyHardwareVersion) { expect_hardware_version(r5(), "", "empty"); }

std::shared_ptr<tf2_proto::TF2Message> transform_of(const std::string& parent, const std::string& child, double x,
                                                    int64_t sec) {
  auto message = std::make_shared<tf2_proto::TF2Message>();
  auto& transform = *message->add_transforms();
  transform.mutable_header()->set_frame_id(parent);
  transform.mutable_header()->mutable_timestamp()->set_sec(sec);
  transform.mutable_header()->mutable_timestamp()->set_nanosec(7);
  transform.set_child_frame_id(child);
  transform.mutable_transform()->mutable_translation()->set_x(x);
  transform.mutable_transform()->mutable_rotation()->set_w(1);
  return message;
}

TEST_F(Facade, TransformsAndBatteryArriveOverTheWire) {
  const SilentController controller;
  ASSERT_TRUE(k2().init());
  test::SdkLogCapture log;

  const auto start = std::chrono::steady_clock::now();
  const auto unknown = k2().get_transform("base_link", "nowhere", 0, 300);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
  EXPECT_TRUE(unknown.first.empty());
  EXPECT_TRUE(log.has("error", "Transform from nowhere to base_link failed"));

  const auto node = ovimux::CreateNode("publisher", "");
  ovimux::Qos latched;
  latched.opaque_5 = 5;
  latched.opaque_6 = 1;
  const auto static_writer = node->CreateWriter<tf2_proto::TF2Message>("/ovimux_tf_static", latched);
  const auto writer = node->CreateWriter<tf2_proto::TF2Message>("/ovimux_tf", ovimux::Qos());
  static_writer->Publish(transform_of("base_link", "head_left_camera_color_optical_frame", 0.5, 0));
  EXPECT_TRUE(eventually([] { return !k2().get_sensor_extrinsic(SensorType::HEAD_LEFT_CAMERA, "").first.empty(); }));
  EXPECT_TRUE(eventually([&] {
    writer->Publish(transform_of("odom", "base_link", 1.0, 1000));
    return !k2().get_transform("odom", "base_link").first.empty();
  }));
  const auto chain = k2().get_transform("odom", "head_left_camera_color_optical_frame");
  EXPECT_EQ(chain.first, (std::vector<double>{1.5, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(chain.second, 1'000'000'000'007);
  EXPECT_EQ(k2().get_frame_names().size(), 3U);
  EXPECT_TRUE(k2().get_sensor_extrinsic(SensorType::TORSO_IMU).first.empty());
  EXPECT_TRUE(k2().get_transform("odom", "base_link", INT64_MIN, 0).first.empty());

  const auto battery = node->CreateWriter("bms", ovimux::Qos(), false);
  EXPECT_TRUE(eventually([&] {
    battery->Publish(std::string(R"({"soc":73})"));
    return k2().get_bms_information()->soc == 73.0F;
  }));
}

}  // namespace
}  // namespace norvik::sdk

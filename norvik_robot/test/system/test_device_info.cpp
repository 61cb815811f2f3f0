#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "impl/norvik_robot_k2.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::sdk {
namespace {

using system_proto::mission_manager_proto::OnboardConfig;

TEST(DeviceInfo, ComesFromTheOnboardConfigurationAfterTwoSeconds) {
  test::SdkLogCapture log;
  k2::NorvikRobotK2 robot;
  robot.onboard_config_callback(nullptr);
  EXPECT_TRUE(log.has("error", "onboard_config_callback message is nullptr"));

  const auto start = std::chrono::steady_clock::now();
  const auto unknown = robot.get_device_information();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  ASSERT_NE(unknown, nullptr);
  EXPECT_EQ(unknown->model + unknown->serial_number + unknown->software_version + unknown->hardware_version, "");
  EXPECT_EQ(unknown->manufacturer, "Norvik");
  EXPECT_TRUE(log.has("warning", "onboard_config is nullptr, returning default device info"));

  auto config = std::make_shared<OnboardConfig>();
  config->set_robot_type(OnboardConfig::R5);
  config->set_robot_serial_number("SN7");
  config->set_robot_hardware_version("2.0");
  config->set_mainline_version("3.1");
  robot.onboard_config_callback(config);
  const auto known = robot.get_device_information();
  EXPECT_EQ(known->model, "R5");
  EXPECT_EQ(known->serial_number, "SN7");
  EXPECT_EQ(known->hardware_version, "2.0");
  EXPECT_EQ(known->software_version, "3.1");
  EXPECT_EQ(known->manufacturer, "Norvik");
}

}  // namespace
}  // namespace norvik::sdk

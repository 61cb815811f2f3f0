#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "impl/norvik_robot_k2.hpp"
#include "impl/system/bms_info.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::sdk {
namespace {

BmsInfo bms(float voltage, float current, float soc, float temperature, int charge, int protect, float capacity) {
  BmsInfo info;
  info.voltage = voltage;
  info.current = current;
  info.soc = soc;
  info.temperature = temperature;
  info.charge_status = static_cast<uint8_t>(charge);
  info.protect_state = static_cast<uint8_t>(protect);
  info.capacity = capacity;
  return info;
}

void expect_equal(const BmsInfo& actual, const BmsInfo& expected) {
  EXPECT_EQ(actual.voltage, expected.voltage);
  EXPECT_EQ(actual.current, expected.current);
  EXPECT_EQ(actual.soc, expected.soc);
  EXPECT_EQ(actual.temperature, expected.temperature);
  EXPECT_EQ(actual.charge_status, expected.charge_status);
  EXPECT_EQ(actual.protect_state, expected.protect_state);
  EXPECT_EQ(actual.capacity, expected.capacity);
}

void send(SystemBase& robot, const std::string& text) {
  robot.bms_info_callback(text.data(), static_cast<int>(text.size()));
}

TEST(BmsInfo, ReadsEveryMemberAndLeavesMissingOnesAtZero) {
  const struct {
    const char* text;
    BmsInfo expected;
  } cases[] = {
      {R"({"voltage":48.5,"current":-3.5,"soc":80,"average_tempture":31.5,"charge_status":1,"protect_state":2,)"
       R"("capacity":40})",
       bms(48.5F, -3.5F, 80, 31.5F, 1, 1, 40)},
      {R"({"average_voltage":48.5})", bms(48.5F, 0, 0, 0, 0, 0, 0)},
      {R"({"voltage":1,"average_voltage":2})", bms(1, 0, 0, 0, 0, 0, 0)},
      {R"({"charge_status":5})", bms(0, 0, 0, 0, 1, 0, 0)},
      {R"({"charge_status":-1,"protect_state":0})", bms(0, 0, 0, 0, 1, 0, 0)},
      {R"({"charge_status":0.5,"protect_state":4294967296})", bms(0, 0, 0, 0, 0, 1, 0)},
      {R"({"average_temperature":20,"other":"text"})", bms(0, 0, 0, 0, 0, 0, 0)},
      {"[1,2]", bms(0, 0, 0, 0, 0, 0, 0)},
      {"null", bms(0, 0, 0, 0, 0, 0, 0)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    expect_equal(parse_bms_info(c.text), c.expected);
  }
}

TEST(BmsInfo, BadTextKeepsTheRecordAndAnEmptyReportClearsIt) {
  test::SdkLogCapture log;
  k2::NorvikRobotK2 robot;
  EXPECT_EQ(robot.get_bms_information(), nullptr);

  send(robot, R"({"soc":50})");
  const auto good = robot.get_bms_information();
  ASSERT_NE(good, nullptr);
  for (const char* const bad : {"{", R"({"soc":"50"})", R"({"voltage":null,"average_voltage":2})", "{} trailing"}) {
    SCOPED_TRACE(bad);
    log.clear();
    send(robot, bad);
    EXPECT_EQ(robot.get_bms_information(), good);
    EXPECT_TRUE(log.has_containing("error", "bms_info_callback: json parse error: [json.exception."));
  }

  const struct {
    const void* data;
    int size;
  } empty_reports[] = {{nullptr, 5}, {"{}", 0}, {"{}", -1}};
  for (const auto& report : empty_reports) {
    SCOPED_TRACE(report.size);
    send(robot, "{}");
    ASSERT_NE(robot.get_bms_information(), nullptr);
    log.clear();
    robot.bms_info_callback(report.data, report.size);
    EXPECT_EQ(robot.get_bms_information(), nullptr);
    EXPECT_EQ(log.texts("error"), std::vector<std::string>{"bms_info_callback: data invalid"});
  }
}

}  // namespace
}  // namespace norvik::sdk

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "fake_robot.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::ControllerManagerK2;
using sdk::ControllerManagerR5;
using sdk::ControlStatus;
using sdk::MachineType;

struct Model {
  MachineType type;
  const char* name;
  const std::vector<sdk::ControllerManager::CtrlRoute>& (*routes)();
  size_t route_count;
};

class ControllerManagerOf : public ::testing::TestWithParam<Model> {
 protected:
  void SetUp() override { robot_.start(); }

  tavrinox_proto::TavrinoXController last_request() const { return robot_.controller_client->calls().back().request; }

  SdkLogCapture log_;
  FakeRobot robot_{GetParam().type};
};

TEST_P(ControllerManagerOf, EveryRouteSwitchesOnceAndIsRemembered) {
  ASSERT_EQ(GetParam().routes().size(), GetParam().route_count);
  size_t requests = 0;
  for (const auto& route : GetParam().routes()) {
    SCOPED_TRACE(route.controller_name);
    log_.clear();
    EXPECT_EQ(robot_.switch_controller(route.controller_name), ControlStatus::SUCCESS);
    ASSERT_EQ(robot_.controller_client->calls().size(), ++requests);
    EXPECT_EQ(robot_.controller_client->calls().back().timeout, std::chrono::seconds(5));
    const auto request = last_request();
    ASSERT_EQ(request.ctrl_config_map_size(), 1);
    ASSERT_EQ(request.ctrl_config_map().count(route.group_name), 1U);
    EXPECT_EQ(request.ctrl_config_map().at(route.group_name).ctrl_id(), route.ctrl_id);
    EXPECT_EQ(request.ctrl_config_map().at(route.group_name).ctrl_option(), 9);
    EXPECT_FALSE(request.has_header());
    EXPECT_EQ(robot_.get_active_controller(route.group_name), route.controller_name);

    EXPECT_EQ(robot_.acquire_controller(route.controller_name), ControlStatus::SUCCESS);
    EXPECT_EQ(robot_.controller_client->calls().size(), requests);
    EXPECT_TRUE(log_.has(
        "warning", std::string("switch_controller ignored, current controller is already ") + route.controller_name));
  }
}

TEST_P(ControllerManagerOf, GroupOperationsSendTheirOption) {
  const struct {
    const char* name;
    ControlStatus (sdk::WbcBase::*call)(const std::string&);
    int option;
  } operations[] = {{"reload_controller", &sdk::WbcBase::reload_controller, 8},
                    {"start_controller", &sdk::WbcBase::start_controller, 7},
                    {"stop_controller", &sdk::WbcBase::stop_controller, 6},
                    {"release_controller", &sdk::WbcBase::release_controller, 5}};
  sdk::WbcBase& commands = robot_;
  for (const auto& operation : operations) {
    for (const std::string group : {"head", "all"}) {
      SCOPED_TRACE(operation.name + (" " + group));
      const std::string name = operation.name;
      robot_.controller_client->reply = [](const auto&) { return make_error("leg", kFatal); };
      // Of another group than the one asked for; R5 has no leg at all, so "all" does not look at it either.
      const bool concerned = group == "all" && GetParam().type == MachineType::K2;
      EXPECT_EQ((commands.*operation.call)(group), concerned ? ControlStatus::FAULT : ControlStatus::SUCCESS);
      EXPECT_TRUE(concerned ? log_.has("error", name + " fault") : log_.has("info", name + " success"));
      ASSERT_EQ(last_request().ctrl_config_map().count(group), 1U);
      EXPECT_EQ(last_request().ctrl_config_map().at(group).ctrl_option(), operation.option);

      robot_.controller_client->reply = [](const auto&) { return make_error("head", kFatal); };
      EXPECT_EQ((commands.*operation.call)(group), ControlStatus::FAULT);
      robot_.controller_client->reply = [](const auto&) { return nullptr; };
      EXPECT_EQ((commands.*operation.call)(group), ControlStatus::TIMEOUT);
      EXPECT_TRUE(log_.has("error", name + " timeout"));
      log_.clear();
    }
    const size_t requests = robot_.controller_client->calls().size();
    EXPECT_EQ((commands.*operation.call)("tail"), ControlStatus::INVALID_INPUT);
    EXPECT_TRUE(log_.has("error", std::string(operation.name) + " invalid input, group_name: tail"));
    EXPECT_EQ(robot_.controller_client->calls().size(), requests);
  }
}

TEST_P(ControllerManagerOf, FailedSwitchKeepsTheActiveController) {
  ASSERT_EQ(robot_.switch_controller("head_pvt_ctrl"), ControlStatus::SUCCESS);
  const struct {
    std::function<std::shared_ptr<tavrinox_proto::TavrinoXError>(const tavrinox_proto::TavrinoXController&)> reply;
    ControlStatus status;
    std::string text;
  } cases[] = {
      {[](const auto&) { return nullptr; }, ControlStatus::TIMEOUT, "switch_controller timeout"},
      {[](const auto&) { return make_error("left_arm", kFatal); }, ControlStatus::FAULT, "switch_controller fault"},
  };
  for (const auto& c : cases) {
    robot_.controller_client->reply = c.reply;
    EXPECT_EQ(robot_.switch_controller("left_arm_pvt_ctrl"), c.status);
    EXPECT_TRUE(log_.has("error", c.text));
    EXPECT_EQ(robot_.get_active_controller("left_arm"), "CONTROLLER_NAME_NUM");
    EXPECT_EQ(robot_.get_active_controller("head"), "head_pvt_ctrl");
  }
}

INSTANTIATE_TEST_SUITE_P(Models, ControllerManagerOf,
                         ::testing::Values(Model{MachineType::K2, "K2", ControllerManagerK2::routes, 12},
                                           Model{MachineType::R5, "R5", ControllerManagerR5::routes, 10}),
                         [](const auto& test) { return test.param.name; });

TEST(ControllerManager, WhatOnlyOneModelHas) {
  SdkLogCapture log;
  FakeRobot k2(MachineType::K2);
  FakeRobot r5(MachineType::R5);
  k2.start();
  r5.start();
  EXPECT_EQ(k2.start_controller("left_suction_cup"), ControlStatus::SUCCESS);
  EXPECT_EQ(r5.start_controller("left_suction_cup"), ControlStatus::INVALID_INPUT);
  EXPECT_EQ(r5.start_controller("left_camera"), ControlStatus::SUCCESS);
  EXPECT_EQ(k2.switch_controller("left_arm_pvt_bypass_ctrl"), ControlStatus::SUCCESS);
  EXPECT_EQ(r5.switch_controller("left_arm_pvt_bypass_ctrl"), ControlStatus::INVALID_INPUT);
  EXPECT_TRUE(log.has("error", "switch_controller invalid input, controller_name: left_arm_pvt_bypass_ctrl"));
  sdk::ErrorInfo error_info;
  EXPECT_EQ(k2.switch_controller("left_suction_cup", error_info, 0), ControlStatus::INVALID_INPUT);
  EXPECT_TRUE(log.has("error", "switch_controller invalid input, group_name: left_suction_cup, ctrl_id: 0"));
}

TEST(ControllerManager, TellsWhyItSwitches) {
  SdkLogCapture log;
  FakeRobot robot;
  robot.start();
  EXPECT_EQ(robot.get_active_controller("head"), "CONTROLLER_NAME_NUM");
  EXPECT_TRUE(log.has("warning", "get_active_controller: active controller is unknown for group head"));
  EXPECT_EQ(robot.get_active_controller("tail"), "CONTROLLER_NAME_NUM");
  EXPECT_TRUE(log.has("error", "get_active_controller: unsupported group name tail"));
  robot.switch_controller("head_pvt_ctrl");
  EXPECT_TRUE(log.has("info", "cur controller mode is unknown, will switch to head_pvt_ctrl"));
  robot.switch_controller("head_pvt_bypass_ctrl");
  EXPECT_TRUE(log.has("info", "cur controller mode is head_pvt_ctrl ,will switch to head_pvt_bypass_ctrl"));
}

TEST(ControllerManager, ReleaseForgetsAndStopKeeps) {
  FakeRobot robot;
  robot.start();
  const auto active = [&](const std::string& group) { return robot.get_active_controller(group); };
  for (const char* controller : {"head_pvt_ctrl", "leg_pvt_ctrl", "left_arm_pvt_ctrl"}) {
    robot.switch_controller(controller);
  }
  robot.stop_controller("all");
  EXPECT_EQ(active("head"), "head_pvt_ctrl");
  robot.release_controller("head");
  EXPECT_EQ(active("head"), "CONTROLLER_NAME_NUM");
  EXPECT_EQ(active("leg"), "leg_pvt_ctrl");
  robot.controller_client->reply = [](const auto&) { return nullptr; };
  robot.release_controller("all");  // unanswered
  EXPECT_EQ(active("leg"), "leg_pvt_ctrl");
  robot.controller_client->reply = [](const auto&) { return make_error(); };
  robot.release_controller("all");
  EXPECT_EQ(active("leg"), "CONTROLLER_NAME_NUM");
  EXPECT_EQ(active("left_arm"), "CONTROLLER_NAME_NUM");
}

TEST(ControllerManager, UseFromManyThreadsKeepsTheMapWhole) {
  FakeRobot robot;
  robot.start();
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (const std::string side : {"left", "right", "left", "right"}) {
    threads.emplace_back([&, side] {
      for (int i = 0; i < 300; ++i) {
        const std::string wanted = side + (i % 2 == 0 ? "_arm_pvt_ctrl" : "_arm_pvt_bypass_ctrl");
        robot.switch_controller(wanted);
        if (i % 50 == 0) {
          robot.release_controller("all");
        }
        const std::string active = robot.get_active_controller(side + "_arm");
        if (active.rfind(side, 0) != 0 && active != "CONTROLLER_NAME_NUM") {
          ++wrong;
        }
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

// What was made active says nothing of a robot that was restarted; the table stays, a record names the remedy.
TEST(ControllerMemory, WarnsOnceOfALostServerAndCanBeForgotten) {
  SdkLogCapture log;
  FakeRobot robot;
  robot.forget_active_controllers();
  robot.start_healthy();
  const auto warned = [&] { return log.has_containing("warning", "forget_controllers(robot)"); };
  const auto drive = [&] {
    log.clear();
    return robot.set_base_velocity({0.1, 0, 0}, {0, 0, 0}, 0.0);
  };
  EXPECT_EQ(drive(), ControlStatus::SUCCESS);
  EXPECT_EQ(drive(), ControlStatus::SUCCESS);
  EXPECT_FALSE(warned());
  robot.controller_client->lost_servers = 1;
  EXPECT_EQ(drive(), ControlStatus::SUCCESS);
  EXPECT_TRUE(warned());
  EXPECT_EQ(drive(), ControlStatus::SUCCESS);
  EXPECT_FALSE(warned());
  EXPECT_EQ(robot.controller_client->calls().size(), 1U);

  robot.forget_active_controllers();
  EXPECT_EQ(robot.get_active_controller("chassis"), "CONTROLLER_NAME_NUM");
  EXPECT_EQ(drive(), ControlStatus::SUCCESS);
  EXPECT_EQ(robot.controller_client->calls().size(), 2U);
  EXPECT_FALSE(warned());
}

}  // namespace
}  // namespace norvik::test

// Grippers, suction cups and dexterous hands.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <future>
#include <limits>
#include <string>
#include <vector>

#include "fake_robot.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::ControlStatus;
using sdk::DexHandType;
using sdk::JointCommand;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

class EndEffectors : public ::testing::Test {
 protected:
  void SetUp() override { robot_.start_healthy(); }

  void expect_hand_command(DexHandType type, const std::string& hand, const std::vector<JointCommand>& commands,
                           const std::string& refusal) {
    log_.clear();
    SCOPED_TRACE(refusal);
    EXPECT_EQ(robot_.set_dexhand_command(hand, commands, type, false),
              refusal.empty() ? ControlStatus::SUCCESS : ControlStatus::INVALID_INPUT);
    EXPECT_TRUE(refusal.empty() || log_.has("error", refusal));
  }

  SdkLogCapture log_;
  FakeRobot robot_;
};

TEST_F(EndEffectors, GripperArguments) {
  const struct {
    std::string group;
    double width, velocity, effort;
    std::string refusal;
  } cases[] = {
      {"left_gripper", 0.0, 0.2, 100.0, ""},
      {"right_gripper", 1000.0, 1e-9, 1e-9, ""},  // the width has no upper limit
      {"left_arm", 0.0, 0.2, 100.0, "gripper invalid ,input left_arm"},
      {"left_gripper", -0.001, 0.1, 50, "Invalid input: width_m=-0.001, velocity_mps=0.1, effort=50"},
      {"left_gripper", kNan, 0.1, 50, "Invalid input: width_m=nan, velocity_mps=0.1, effort=50"},
      {"left_gripper", HUGE_VAL, 0.1, 50, "Invalid input: width_m=inf, velocity_mps=0.1, effort=50"},
      {"left_gripper", 0.01, 0.2001, 50, "Invalid input: width_m=0.01, velocity_mps=0.2001, effort=50"},
      {"left_gripper", 0.01, 0.0, 50, "Invalid input: width_m=0.01, velocity_mps=0, effort=50"},
      {"left_gripper", 0.01, kNan, 50, "Invalid input: width_m=0.01, velocity_mps=nan, effort=50"},
      {"left_gripper", 0.01, 0.1, 100.1, "Invalid input: width_m=0.01, velocity_mps=0.1, effort=100.1"},
      {"left_gripper", 0.01, 0.1, 0, "Invalid input: width_m=0.01, velocity_mps=0.1, effort=0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refusal);
    log_.clear();
    EXPECT_EQ(robot_.set_gripper_command(c.group, c.width, c.velocity, c.effort, false),
              c.refusal.empty() ? ControlStatus::SUCCESS : ControlStatus::INVALID_INPUT);
    EXPECT_TRUE(c.refusal.empty() || log_.has("error", c.refusal));
    EXPECT_EQ(log_.has_containing("warning", "if millimetres were meant"), c.width == 1000.0);
  }
}

TEST_F(EndEffectors, GripperGoesOutInMillimetresAtOnce) {
  // From 20 mm to 50 mm at 20 mm/s: 1.5 s.
  ASSERT_EQ(robot_.set_gripper_command("left_gripper", 0.05, 0.02, 40, false), ControlStatus::SUCCESS);
  EXPECT_TRUE(log_.has("info", "gripper pos diff is 30 ,velocity is 0.02 ,time_from_start is 1.5"));
  EXPECT_TRUE(log_.has("info", "set_gripper_command success"));
  auto call = robot_.target_client->calls().back();
  EXPECT_EQ(call.timeout, std::chrono::seconds(2));
  const auto& target = call.request.target_group_trajectory_map().at("left_gripper");
  EXPECT_EQ(target.target_config().target_type(), 10);
  EXPECT_EQ(target.joint_names(0), "left_gripper_joint1");
  const auto& command = target.group_commands(0);
  EXPECT_DOUBLE_EQ(command.time_from_start().sec(), 0.0);
  EXPECT_DOUBLE_EQ(command.joint_commands(0).position(), 50.0);
  EXPECT_DOUBLE_EQ(command.joint_commands(0).velocity(), 20.0);
  EXPECT_DOUBLE_EQ(command.joint_commands(0).effort(), 40.0);

  ASSERT_EQ(robot_.set_gripper_command("left_gripper", 0.02, 0.02, 40, false), ControlStatus::SUCCESS);
  EXPECT_EQ(robot_.target_client->calls().back().timeout, std::chrono::seconds(0));  // stands there already
}

TEST_F(EndEffectors, WhatIsNotMountedIsNotCommanded) {
  robot_.report_sensor(std::make_shared<tavrinox_proto::TavrinoXSensor>());
  EXPECT_EQ(robot_.set_gripper_command("left_gripper", 0.02, 0.1, 40, false), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_TRUE(log_.has("error", "end effector not installed: left_gripper"));
  EXPECT_EQ(robot_.set_suction_cup_command("right_suction_cup", true), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_FALSE(robot_.get_gripper_state("left_gripper"));
  EXPECT_FALSE(robot_.get_suction_cup_state("left_suction_cup"));
  FakeRobot silent;
  silent.start();
  EXPECT_FALSE(silent.get_gripper_state("left_gripper"));
  EXPECT_TRUE(log_.has("error", "sensor data fetch failed"));
}

TEST_F(EndEffectors, GripperWaitHandsOnLostState) {
  robot_.target_client->reply = [this](const auto&) {
    robot_.report_info(std::make_shared<tavrinox_proto::WBCInfo>());
    return make_error();
  };
  EXPECT_EQ(robot_.set_gripper_command("left_gripper", 0.03, 0.1, 50, true), ControlStatus::DATA_FETCH_FAILED);
}

TEST_F(EndEffectors, GripperStateInMetres) {
  const auto state = robot_.get_gripper_state("left_gripper");
  ASSERT_TRUE(state);
  EXPECT_DOUBLE_EQ(state->width, 0.02);
  EXPECT_DOUBLE_EQ(state->velocity, 0.0005);
  EXPECT_DOUBLE_EQ(state->effort, 7.0);
  // A single sample of history: the controller's word decides.
  EXPECT_TRUE(log_.has("info", "History not stable yet, fall back to original reached-based logic."));
  EXPECT_TRUE(state->is_moving);
  robot_.report_arrived({});  // a second sample of the same width
  log_.clear();
  EXPECT_FALSE(robot_.get_gripper_state("left_gripper")->is_moving);
  EXPECT_FALSE(log_.has("info", "History not stable yet, fall back to original reached-based logic."));
  EXPECT_FALSE(robot_.get_gripper_state("head"));
  EXPECT_TRUE(log_.has("error", "gripper invalid ,input head"));
}

TEST_F(EndEffectors, SuctionCupState) {
  EXPECT_FALSE(robot_.get_suction_cup_state("left_gripper"));
  EXPECT_TRUE(log_.has("error", "suction_cup invalid ,input left_gripper"));
  EXPECT_FALSE(robot_.get_suction_cup_state("left_suction_cup"));
  EXPECT_TRUE(log_.has("error", "other_info_map data fetch failed"));
  const struct {
    int action;  // -1: a string instead
    int32_t reported;
    bool activated;
  } cases[] = {{0, 0, false}, {1, 1, true}, {2, 2, true}, {3, 3, false}, {-1, 0, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.action);
    auto info = make_info(sdk::MachineType::K2);
    auto& value = (*info->mutable_other_info_map())["left_suction_cup_state"];
    if (c.action >= 0) {
      value.set_int_value(c.action);
    } else {
      value.set_str_value("2");
    }
    robot_.report_info(info);
    const auto state = robot_.get_suction_cup_state("left_suction_cup");
    ASSERT_TRUE(state);
    EXPECT_EQ(state->action_state, c.reported);
    EXPECT_EQ(state->activated, c.activated);
    EXPECT_DOUBLE_EQ(state->pressure, 0.75);
    EXPECT_TRUE(log_.has("info", "suction_action_state is " + std::to_string(c.reported)));
  }
}

TEST_F(EndEffectors, SuctionCupCommand) {
  for (const bool activate : {true, false}) {
    ASSERT_EQ(robot_.set_suction_cup_command("left_suction_cup", activate), ControlStatus::SUCCESS);
    const auto call = robot_.target_client->calls().back();
    const auto& target = call.request.target_group_trajectory_map().at("left_suction_cup");
    EXPECT_EQ(call.timeout, std::chrono::seconds(5));
    EXPECT_DOUBLE_EQ(target.group_commands(0).joint_commands(0).position(), activate ? 1.0 : 0.0);
  }
}

TEST_F(EndEffectors, HandCommandArguments) {
  const auto six = [](JointCommand last) {
    std::vector<JointCommand> commands(6);
    commands[5] = last;
    return commands;
  };
  const auto inspire = [](const std::string& values) {
    return "inspire dexhand command out of range at index 5, expect position/velocity/effort in [0,1000], got " +
           values;
  };
  const auto brainco = [](const std::string& values) {
    return "brainco dexhand command out of range at index 5, expect position in [0,100], velocity in [-100,100], got " +
           values;
  };
  const struct {
    DexHandType type;
    std::string hand;
    std::vector<JointCommand> commands;
    std::string refusal;
  } cases[] = {
      {DexHandType::INSPIRE, "left_dexhand", six({1000, 1000, kNan, 1000}), ""},
      {DexHandType::INSPIRE, "left_dexhand", six({1000.5, 0, 0, 0}), inspire("position=1000.5, velocity=0, effort=0")},
      {DexHandType::INSPIRE, "left_dexhand", six({0, -1, 0, 0}), inspire("position=0, velocity=-1, effort=0")},
      {DexHandType::INSPIRE, "left_dexhand", six({0, 0, 0, kNan}), inspire("position=0, velocity=0, effort=nan")},
      {DexHandType::BRAINCO, "right_dexhand", six({100, -100, 0, 1e9}), ""},
      {DexHandType::BRAINCO, "right_dexhand", six({100.5, 0, 0, 0}), brainco("position=100.5, velocity=0")},
      {DexHandType::BRAINCO, "right_dexhand", six({0, -100.5, 0, 0}), brainco("position=0, velocity=-100.5")},
      {DexHandType::BRAINCO, "right_dexhand", six({kNan, 0, 0, 0}), brainco("position=nan, velocity=0")},
      {static_cast<DexHandType>(9), "left_dexhand", six({-1e9, 1e9, 0, 0}), ""},
      {DexHandType::INSPIRE, "left_arm", six({}), "dexhand invalid ,input left_arm"},
      {DexHandType::INSPIRE, "left_dexhand", {}, "dexhand_command is empty"},
      {DexHandType::INSPIRE, "left_dexhand", {{}}, "set_joint_commands invalid input"},
      {DexHandType::SHARPA, "left_arm", {}, "sharpa dexhand invalid, input left_arm"},
      {DexHandType::SHARPA, "left_dexhand", std::vector<JointCommand>(21),
       "sharpa dexhand need 22 joint commands, but input 21"},
      {DexHandType::LINKER_L20, "left_arm", {}, "linker L20 dexhand invalid, input left_arm"},
      {DexHandType::LINKER_L20, "left_dexhand", std::vector<JointCommand>(17),
       "linker L20 dexhand need 16 joint commands, but input 17"},
      {DexHandType::LINKER_L20, "left_dexhand", std::vector<JointCommand>(16, {kNan, 0, 0, 0}),
       "linker L20 dexhand command invalid (NaN/Inf) at index 0, position=nan"},
      {DexHandType::LINKER_L20, "left_dexhand", std::vector<JointCommand>(16), ""},
  };
  for (const auto& c : cases) {
    expect_hand_command(c.type, c.hand, c.commands, c.refusal);
  }
}

TEST_F(EndEffectors, LinkerCommandIsATrajectoryOfItsOwnJoints) {
  ASSERT_EQ(robot_.set_dexhand_command("right_dexhand", std::vector<JointCommand>(16, {12.0, 0, 0, 0}),
                                       DexHandType::LINKER_L20, true),
            ControlStatus::SUCCESS);  // 2.0 away: arrived
  const auto target = robot_.writer->sent().at(0).target_group_trajectory_map().at("right_dexhand");
  EXPECT_EQ(target.target_config().target_type(), 14);
  ASSERT_EQ(target.joint_names_size(), 16);
  EXPECT_EQ(target.joint_names(0), "right_dexhand_thumb_roll");
  EXPECT_EQ(target.joint_names(8), "right_dexhand_middle_root");
  EXPECT_EQ(target.joint_names(15), "right_dexhand_little_tip");
}

TEST_F(EndEffectors, HandStates) {
  sdk::DexhandState state;
  state.effort_map["stale"] = {};
  EXPECT_EQ(robot_.get_dexhand_state("left_arm", state, DexHandType::SHARPA), ControlStatus::INVALID_INPUT);
  EXPECT_TRUE(log_.has("error", "dexhand invalid ,input left_arm"));

  ASSERT_EQ(robot_.get_dexhand_state("left_dexhand", state, DexHandType::LINKER_L20), ControlStatus::SUCCESS);
  EXPECT_TRUE(state.effort_map.empty());
  EXPECT_EQ(state.timestamp_ns, kReportTimeNs);
  ASSERT_EQ(state.joint_state.joint_states.size(), 16U);
  EXPECT_EQ(state.joint_state.joint_states[1].name, "left_dexhand_thumb_yaw");
  EXPECT_DOUBLE_EQ(state.joint_state.joint_states[1].current, 0.25);

  ASSERT_EQ(robot_.get_dexhand_state("left_dexhand", state, DexHandType::BRAINCO), ControlStatus::SUCCESS);
  ASSERT_EQ(state.joint_state.joint_states.size(), 6U);
  EXPECT_EQ(state.joint_state.joint_states[5].name, "left_dexhand_joint6");

  robot_.report_sensor(make_sensor(15));
  EXPECT_EQ(robot_.get_dexhand_state("left_dexhand", state, DexHandType::LINKER_L20), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_TRUE(log_.has("error", "linker L20 dexhand joint sensor data is incomplete"));
  robot_.report_sensor(make_sensor(5));
  EXPECT_EQ(robot_.get_dexhand_state("left_dexhand", state, DexHandType::INSPIRE), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_TRUE(log_.has("error", "get dexterous hand joint state fail"));
  robot_.report_sensor(std::make_shared<tavrinox_proto::TavrinoXSensor>());
  EXPECT_EQ(robot_.get_dexhand_state("left_dexhand", state, DexHandType::LINKER_L20), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_TRUE(log_.has("error", "get linker L20 dexhand joint state fail"));
}

TEST_F(EndEffectors, WristEffort) {
  sdk::EffortInfo info;
  EXPECT_EQ(robot_.get_effort("left_arm", info), ControlStatus::DATA_FETCH_FAILED);
  auto sensor = make_sensor();
  (*sensor->mutable_effort_sensor_map())["right_effort"].mutable_torque()->set_z(-3.0);
  robot_.report_sensor(sensor);
  EXPECT_EQ(robot_.get_effort("head", info), ControlStatus::INVALID_INPUT);
  EXPECT_TRUE(log_.has("error", "get_effort invalid input"));
  EXPECT_EQ(robot_.get_effort("left_arm", info), ControlStatus::DATA_FETCH_FAILED);
  ASSERT_EQ(robot_.get_effort("right_arm", info), ControlStatus::SUCCESS);
  EXPECT_DOUBLE_EQ(info.torque_z, -3.0);
  EXPECT_EQ(info.timestamp_ns, kReportTimeNs);
}

// A Sharpa hand whose topics are fakes.
class FakeSharpaHand : public sdk::SharpaHand {
 public:
  using sdk::SharpaHand::left_;
  using sdk::SharpaHand::right_;
  using sdk::SharpaHand::SharpaHand;
  using Writer = FakeWriter<tavrinox_proto::GroupCommand>;

  void report_joints(Side& side, int count, double position) {
    auto report = std::make_shared<tavrinox_proto::TavrinoXSensor>();
    report->mutable_header()->mutable_timestamp()->set_sec(5);
    auto& joints = (*report->mutable_joint_sensor_map())["whatever"];
    for (int i = 0; i < count; ++i) {
      joints.add_position(position);
      joints.add_velocity(1.0);
      joints.add_effort(2.0);
    }
    joints.add_current(3.0);  // fewer than joints: the rest is 0
    side.joint.set_data(report);
  }

  std::shared_ptr<Writer> writer = std::make_shared<Writer>();
  bool opens = true;
  int openings = 0;

 protected:
  bool open_interface() override {
    ++openings;
    left_.writer = writer;
    return opens;
  }
};

class Sharpa : public ::testing::Test {
 protected:
  ControlStatus command(bool blocking, const std::string& hand = "left_dexhand") {
    return hand_.set_sharpa_dexhand_command(hand, std::vector<JointCommand>(22, {12.0, 1, 2, 3}), blocking);
  }

  SdkLogCapture log_;
  sdk::TargetWriterPtr target_writer_;
  sdk::TargetClientPtr target_client_;
  sdk::ControllerClientPtr controller_client_;
  FakeSharpaHand hand_{std::make_shared<sdk::CommonUtils>(target_writer_, target_client_, controller_client_)};
};

TEST_F(Sharpa, OpensOnceAndOnlyWhenNeeded) {
  EXPECT_EQ(hand_.set_sharpa_dexhand_command("left_dexhand", std::vector<JointCommand>(21), false),
            ControlStatus::INVALID_INPUT);
  EXPECT_EQ(hand_.openings, 0);
  hand_.opens = false;
  sdk::JointStateMessage message;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(command(false), ControlStatus::INIT_FAILED);
    EXPECT_EQ(hand_.build_sharpa_joint_state("left_dexhand", message), ControlStatus::INIT_FAILED);
  }
  EXPECT_TRUE(log_.has("error", "sharpa dexhand init failed"));
  EXPECT_EQ(hand_.openings, 1);
}

TEST_F(Sharpa, CommandNamesItsJoints) {
  ASSERT_EQ(command(false), ControlStatus::SUCCESS);
  const auto sent = hand_.writer->sent().at(0);
  ASSERT_EQ(sent.joint_commands_size(), 22);
  EXPECT_EQ(sent.joint_commands(0).header().frame_id(), "LEFT_joint_1");
  EXPECT_EQ(sent.joint_commands(21).header().frame_id(), "LEFT_joint_22");
  EXPECT_DOUBLE_EQ(sent.joint_commands(21).effort(), 3.0);
  EXPECT_EQ(sent.time_from_start().nanosec(), 0);
  hand_.writer->accepts = false;
  EXPECT_EQ(command(false), ControlStatus::PUBLISH_FAIL);
  EXPECT_TRUE(log_.has("error", "set_sharpa_dexhand_command publish fail"));
  EXPECT_EQ(command(false, "right_dexhand"), ControlStatus::INIT_FAILED);
  EXPECT_TRUE(log_.has("error", "sharpa dexhand writer is nullptr"));
}

TEST_F(Sharpa, ErrorsOfItsOwnTopicRefuseAndEndTheWait) {
  hand_.right_.error.set_data(make_error("left_dexhand", kFatal));  // the other hand's topic
  EXPECT_EQ(command(false), ControlStatus::SUCCESS);
  hand_.writer->on_publish = [this](const auto&) { hand_.left_.error.set_data(make_error("left_dexhand", kFatal)); };
  EXPECT_EQ(command(true), ControlStatus::FAULT);
  EXPECT_TRUE(log_.has("error", "set_sharpa_dexhand_command fault"));
  EXPECT_EQ(command(true), ControlStatus::FAULT);
  EXPECT_TRUE(log_.has("error", "sharpa dexhand has fatal error before command"));
}

TEST_F(Sharpa, WaitsUntilAllJointsHaveArrived) {
  hand_.report_joints(hand_.left_, 22, 9.5);
  auto running = std::async(std::launch::async, [this] { return command(true); });
  EXPECT_EQ(running.wait_for(std::chrono::milliseconds(250)), std::future_status::timeout);
  EXPECT_TRUE(log_.has("info", "set_sharpa_dexhand_command not reached, joint i=0 cmd_rad=12 fb_rad=9.5 err_rad=2.5"));
  hand_.report_joints(hand_.left_, 22, 10.0);
  EXPECT_EQ(running.get(), ControlStatus::SUCCESS);
  EXPECT_TRUE(log_.has("info", "set_sharpa_dexhand_command done"));
}

TEST_F(Sharpa, State) {
  sdk::DexhandState state;
  EXPECT_EQ(hand_.get_sharpa_dexhand_state("left_dexhand", state), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_TRUE(log_.has("error", "get sharpa dexhand joint state fail"));
  hand_.report_joints(hand_.left_, 21, 0.0);
  EXPECT_EQ(hand_.get_sharpa_dexhand_state("left_dexhand", state), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_TRUE(log_.has("error", "sharpa dexhand joint sensor data is incomplete"));

  hand_.report_joints(hand_.left_, 23, 4.0);
  auto force = std::make_shared<tavrinox_proto::TavrinoXSensor>();
  force->mutable_header()->mutable_timestamp()->set_nanosec(8);
  (*force->mutable_effort_sensor_map())["thumb"].mutable_force()->set_x(1.5);
  hand_.left_.force.set_data(force);
  ASSERT_EQ(hand_.get_sharpa_dexhand_state("left_dexhand", state), ControlStatus::SUCCESS);
  EXPECT_EQ(state.timestamp_ns, 5'000'000'000);
  ASSERT_EQ(state.joint_state.joint_states.size(), 22U);
  EXPECT_TRUE(state.joint_state.joint_states[0].name.empty());
  EXPECT_DOUBLE_EQ(state.joint_state.joint_states[0].current, 3.0);
  EXPECT_DOUBLE_EQ(state.joint_state.joint_states[1].current, 0.0);
  EXPECT_DOUBLE_EQ(state.effort_map.at("thumb").force_x, 1.5);
  EXPECT_EQ(state.effort_map.at("thumb").timestamp_ns, 8);
}

// The long time-outs, side by side, since each takes its full length.
TEST(EndEffectorTimeouts, EachWaitEndsAtItsOwnTime) {
  struct Wait {
    std::string text;
    double seconds;
    std::function<ControlStatus(FakeRobot&)> call;
  };
  sdk::TargetWriterPtr target_writer;
  sdk::TargetClientPtr target_client;
  sdk::ControllerClientPtr controller_client;
  FakeSharpaHand sharpa(std::make_shared<sdk::CommonUtils>(target_writer, target_client, controller_client));
  const Wait waits[] = {
      {"set_gripper_command timeout", 8.0,
       [](FakeRobot& robot) { return robot.set_gripper_command("left_gripper", 0.02, 0.1, 50, true); }},
      {"execute_joint_trajectory timeout", 5.5,
       [](FakeRobot& robot) {
         return robot.execute_joint_trajectory({{{0.5, {{}, {}}}}, {"head"}, {}}, true);
       }},
      {"set_dexhand_command timeout", 15.0,
       [](FakeRobot& robot) {
         return robot.set_dexhand_command("left_dexhand", std::vector<JointCommand>(6), DexHandType::INSPIRE, true);
       }},
      {"set_linker_l20_dexhand_command timeout", 15.0,
       [](FakeRobot& robot) {
         return robot.set_dexhand_command("left_dexhand", std::vector<JointCommand>(16), DexHandType::LINKER_L20, true);
       }},
      {"set_sharpa_dexhand_command timeout", 15.0,
       [&](FakeRobot&) {
         return sharpa.set_sharpa_dexhand_command("left_dexhand", std::vector<JointCommand>(22), true);
       }},
  };
  SdkLogCapture log;
  std::vector<std::future<void>> running;
  for (const Wait& wait : waits) {
    running.push_back(std::async(std::launch::async, [&wait] {
      FakeRobot robot;
      robot.start_healthy();
      const auto start = std::chrono::steady_clock::now();
      EXPECT_EQ(wait.call(robot), ControlStatus::TIMEOUT) << wait.text;
      const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
      EXPECT_GE(elapsed.count(), wait.seconds) << wait.text;
      EXPECT_LT(elapsed.count(), wait.seconds + 2.0) << wait.text;
      EXPECT_TRUE(robot.controller_client->calls().empty()) << wait.text;  // nothing is stopped
    }));
  }
  for (auto& wait : running) {
    wait.get();
  }
  for (const Wait& wait : waits) {
    EXPECT_TRUE(log.has("error", wait.text));
  }
}

}  // namespace
}  // namespace norvik::test

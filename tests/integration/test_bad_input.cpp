// Arguments that no application should pass: the status told, nothing sent, no crash, no endless line in the log.

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "live/operations.hpp"

namespace norvik::test {
namespace {

using sdk::DexHandType;
using sdk::JointCommand;
using sdk::NorvikRobot;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr size_t kMillion = 1000000;
constexpr size_t kLongestRecord = 20000;
const std::string kMegabyte(1 << 20, 'x');

// The record's text begins with this.
struct Row {
  std::string name;
  Call call;
  std::string text;
};

Call positions(std::vector<double> values, std::vector<std::string> groups, std::vector<std::string> names = {},
               double speed = 0.2) {
  return [=](NorvikRobot& robot) { return to_text(robot.set_joint_positions(values, groups, names, true, speed)); };
}

Call commands(std::vector<JointCommand> values, std::vector<std::string> groups, std::vector<std::string> names = {},
              double time = 0.0) {
  return [=](NorvikRobot& robot) { return to_text(robot.set_joint_commands(values, groups, names, time)); };
}

Call trajectory(const sdk::Trajectory& trajectory, bool batch = false) {
  return [=](NorvikRobot& robot) {
    return to_text(batch ? robot.set_joint_commands_batch(trajectory) : robot.execute_joint_trajectory(trajectory));
  };
}

Call gripper(const std::string& group, double width, double velocity, double effort) {
  return [=](NorvikRobot& robot) { return to_text(robot.set_gripper_command(group, width, velocity, effort)); };
}

Call velocity(double vx, double wz) {
  return [=](NorvikRobot& robot) { return to_text(robot.set_base_velocity({vx, 0, 0}, {0, 0, wz}, 1.0)); };
}

Call pose(double x, const std::string& frame, const std::string& reference, double time, double timeout) {
  return
      [=](NorvikRobot& robot) { return to_text(robot.set_base_pose(x, 0, 0, frame, reference, time, true, timeout)); };
}

// By message and by request, which both refuse it for the same reason.
Call target(const std::string& group, double position, double time, size_t count) {
  return [=](NorvikRobot& robot) {
    sdk::TavrinoXTarget target;
    auto& trajectory = target.target_group_trajectory_map[group];
    trajectory.joint_names = {"head_joint1"};
    trajectory.group_commands = {{time, std::vector<JointCommand>(count, {position})}};
    const auto report = robot.RequestTarget(target);
    EXPECT_TRUE(report && report->errors.size() == 1 && report->errors[0].code == 65585);
    return to_text(robot.PublishTarget(target));
  };
}

Call frames(const std::vector<std::vector<double>>& poses, const std::vector<std::string>& ends,
            const std::vector<std::string>& references = {}) {
  return [=](NorvikRobot& robot) { return to_text(robot.set_end_effector_command(poses, ends, references)); };
}

Call hand(const std::string& group, DexHandType type, const std::vector<JointCommand>& values) {
  return [=](NorvikRobot& robot) { return to_text(robot.set_dexhand_command(group, values, type)); };
}

std::vector<Row> rows_of_both_models() {
  const std::vector<JointCommand> two(2);
  const std::vector<sdk::TrajectoryPoint> million_points(kMillion, {1.0, {}});
  const std::string no_positions = "[calculate_move_time] max_move_speed_rad_second <= 0";
  return {
      {"nan position", positions({kNan, 0}, {"head"}), "joint_position_vec[0] (head_joint1) is not finite: nan"},
      {"infinite position", positions({0, -kInf}, {"head"}), "joint_position_vec[1] (head_joint2) is not finite: -inf"},
      {"no speed", positions({0, 0}, {"head"}, {}, 0.0), no_positions},
      {"negative speed", positions({0, 0}, {"head"}, {}, -1.0), no_positions},
      {"nan speed", positions({0, 0}, {"head"}, {}, kNan), no_positions},
      {"nothing at all", positions({}, {}), "check_joint_command_valid: both joint_names and joint_groups are empty. "},
      {"unknown group", positions({0}, {"tail"}), "has unknown joint group : tail"},
      {"empty group", positions({0}, {""}), "has unknown joint group : "},
      {"duplicate group", positions({0, 0}, {"head", "head"}), "need 4 positions, but joint_positions size is 2"},
      {"empty joint", positions({0}, {}, {""}), "joint name is not active or invalid : "},
      {"megabyte group", positions({0}, {kMegabyte}), "has unknown joint group : xxx"},
      {"megabyte joint", positions({0}, {"head"}, {kMegabyte}), "joint name is not active or invalid : xxx"},
      {"million positions", positions(std::vector<double>(kMillion), {"head"}),
       "need 2 positions, but joint_positions size is 1000000"},
      {"million groups", positions({0}, std::vector<std::string>(kMillion, "tail")), "has unknown joint group : tail"},
      {"nan time", commands(two, {"head"}, {}, kNan), "set_joint_commands invalid time_from_start_s: nan"},
      {"infinite time", commands(two, {"head"}, {}, kInf), "set_joint_commands invalid time_from_start_s: inf"},
      {"negative time", commands(two, {"head"}, {}, -1), "set_joint_commands invalid time_from_start_s: -1"},
      {"million commands", commands(std::vector<JointCommand>(kMillion), {}, {"head_joint1"}),
       "invalid input, joint_names size is 1joint_positions size is 1000000"},
      {"gripper without effort", commands({{0.05}}, {"left_gripper"}),
       "effort out of range, expect effort in (0,100], got effort=0"},
      {"no points", trajectory({}), "trajectory invalid, trajectory.points is empty"},
      {"million empty points", trajectory({million_points, {"head"}, {}}),
       "need 2 positions, but joint_positions size is 0"},
      {"uneven points", trajectory({{{0.1, two}, {0.2, {}}}, {"head"}, {}}, true),
       "The number of joint commands in the trajectory is inconsistent"},
      {"nan effort", trajectory({{{0.1, {{0, 0, 0, kNan}}}}, {"left_gripper"}, {}}, true),
       "effort out of range, expect effort in (0,100], got effort=nan"},
      {"negative width", gripper("left_gripper", -0.01, 0.1, 30), "Invalid input: width_m=-0.01"},
      {"nan velocity", gripper("left_gripper", 0.05, kNan, 30), "Invalid input: width_m=0.05, velocity_mps=nan"},
      {"infinite effort", gripper("left_gripper", 0.05, 0.1, kInf), "Invalid input: width_m=0.05, velocity_mps=0.1"},
      {"no gripper", gripper("", 0.05, 0.1, 30), "gripper invalid ,input "},
      {"nan twist", velocity(kNan, 0), "velocity contains NaN or Inf, got vx=nan, vy=0, wz=0"},
      {"infinite twist", velocity(0, kInf), "velocity contains NaN or Inf, got vx=0, vy=0, wz=inf"},
      {"fast twist", velocity(0, -5), "angular_velocity out of range, expect wz in [-5,5], got wz=-5"},
      {"nan pose", pose(kNan, "odom", "odom", 1, 1), "set_base_pose contains NaN or Inf"},
      {"infinite pose time", pose(0, "odom", "odom", kInf, 1), "set_base_pose contains NaN or Inf"},
      {"nan pose time-out", pose(0, "odom", "odom", 1, kNan), "set_base_pose contains NaN or Inf"},
      {"empty frame", pose(0, "", "odom", 1, 1), "set_base_pose invalid frame_id/reference_frame_id:   /  odom"},
      {"megabyte frame", pose(0, "odom", kMegabyte, 1, 1),
       "set_base_pose invalid frame_id/reference_frame_id: odom  /"},
      {"empty controller", [](auto& robot) { return to_text(robot.switch_controller("")); },
       "switch_controller invalid input, controller_name: "},
      {"megabyte controller", [](auto& robot) { return to_text(robot.stop_controller(kMegabyte)); },
       "stop_controller invalid input, group_name: xxx"},
      {"empty target group", target("", 0, 1, 1),
       "PublishTarget invalid input: target_group_trajectory_map contains empty group name"},
      {"nan target time", target("head", 0, kNan, 1),
       "PublishTarget invalid input: group command has invalid time_from_start_s"},
      {"nan target", target("head", kNan, 1, 1),
       "PublishTarget invalid input: group command contains non-finite joint command"},
      {"million targets", target("head", 0, 1, kMillion),
       "PublishTarget invalid input: group command joint_commands size mismatch with joint_names"},
      {"no end effector", frames({}, {}), "set_end_effector_command: empty input"},
      {"uneven end effectors", frames({{}}, {}), "set_end_effector_command: poses/end_effector_frames size mismatch"},
      {"uneven references", frames({{0, 0, 0, 0, 0, 0, 1}}, {"a"}, {"b", "c"}),
       "set_end_effector_command: reference_frames must be empty (use default world) or match poses length"},
      {"unknown hand", hand("left_arm", DexHandType::INSPIRE, two), "dexhand invalid ,input left_arm"},
      {"unknown sharpa hand", hand("", DexHandType::SHARPA, two), "sharpa dexhand invalid, input "},
  };
}

std::vector<Row> rows_of_k2() {
  return {
      {"no hand command", hand("left_dexhand", DexHandType::INSPIRE, {}), "dexhand_command is empty"},
      {"nan hand command", hand("left_dexhand", DexHandType::BRAINCO, {{kNan}}),
       "brainco dexhand command out of range at index 0"},
      {"million hand commands", hand("left_dexhand", DexHandType::INSPIRE, std::vector<JointCommand>(kMillion)),
       "need 6 positions, but joint_positions size is 1000000"},
      {"short linker command", hand("left_dexhand", DexHandType::LINKER_L20, std::vector<JointCommand>(15)),
       "linker L20 dexhand need 16 joint commands, but input 15"},
      {"no suction cup", [](auto& robot) { return to_text(robot.set_suction_cup_command("", true)); },
       "suction_cup invalid ,input "},
  };
}

class BadInput : public ::testing::TestWithParam<Setup> {};

TEST_P(BadInput, IsRefusedAndNothingIsSent) {
  LiveRobot live(GetParam());
  ASSERT_TRUE(live.start());
  auto rows = rows_of_both_models();
  if (GetParam().type == sdk::MachineType::K2) {
    const auto more = rows_of_k2();
    rows.insert(rows.end(), more.begin(), more.end());
  }
  live.take_log();
  const auto counters = live.state()["counters"];
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.call(live.robot()), "INVALID_INPUT");
    const auto log = live.take_log();
    EXPECT_TRUE(std::any_of(log.begin(), log.end(), [&](const LogRecord& record) {
      return record.level == "error" && record.text.rfind(row.text, 0) == 0;
    })) << row.text;
    for (const LogRecord& record : log) {
      EXPECT_LT(record.text.size(), kLongestRecord);
    }
  }
  for (const char* endpoint :
       {"tavrinox/wbcs/target", "tavrinox/wbcs/target_server", "tavrinox/wbcs/controller_server"}) {
    EXPECT_EQ(live.heard(endpoint), counters.value(endpoint, 0)) << endpoint;
  }
  EXPECT_EQ(to_text(live.robot().set_joint_positions({0.2, 0.0}, {"head"}, {}, true, 1.0)), "SUCCESS");
}

// Values that pass the library's checks are refused by the robot, and harm neither. A request without time to wait may
// still see its answer.
TEST_P(BadInput, ThatGoesOutIsAnswered) {
  LiveRobot live(GetParam());
  ASSERT_TRUE(live.start());
  struct Sent {
    std::string name;
    Call call;
    std::string answer;
    std::string other_answer;
  };
  const Sent rows[] = {
      {"not finite", commands({{kNan}, {kInf}}, {"head"}), "SUCCESS", ""},
      {"joints twice", positions({0, 0, 0, 0}, {"head", "head"}), "FAULT", ""},
      {"nan width", gripper("left_gripper", kNan, 0.1, 30), "TIMEOUT", "FAULT"},
      {"infinite width", gripper("left_gripper", kInf, 0.1, 30), "FAULT", ""},
      {"nan frame", frames({{kNan, 0, 0, 0, 0, 0, 1}}, {""}), "SUCCESS", ""},
      {"no time-out", pose(0, "odom", "odom", 0.1, 0.0), "TIMEOUT", "SUCCESS"},
      {"negative time-out", pose(0, "odom", "odom", 0.1, -1.0), "TIMEOUT", "SUCCESS"},
      {"nan time-out",
       [](auto& robot) {
         return to_text(robot.set_joint_positions({0, 0}, {"head"}, {}, true, 1, kNan));
       },
       "TIMEOUT", ""},
      {"nan point", trajectory({{{0.1, {{kNan}, {}}}}, {"head"}, {}}), "FAULT", ""},
      {"nan time", trajectory({{{kNan, {{}, {}}}}, {"head"}, {}}), "TIMEOUT", "FAULT"},
  };
  for (const Sent& row : rows) {
    const std::string answer = row.call(live.robot());
    EXPECT_TRUE(answer == row.answer || answer == row.other_answer) << row.name << ": " << answer;
  }
  EXPECT_EQ(to_text(live.robot().set_joint_positions({0.2, 0.0}, {"head"}, {}, true, 1.0)), "SUCCESS");
}

INSTANTIATE_TEST_SUITE_P(All, BadInput, ::testing::Values(kK2, kR5), [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test

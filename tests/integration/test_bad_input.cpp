// Arguments that no application should pass: the status told, nothing sent, no crash, no endless line in the log.

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "live/operations.hpp"

namespace norvik::test {
namespace {

using sdk::DexHandType;
using sdk::JointCommand;
using sdk::TrajectoryPoint;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr size_t kMillion = 1000000;
constexpr size_t kLongestRecord = 20000;
const std::string kMegabyte(1 << 20, 'x');
const std::vector<JointCommand> kTwo(2);

struct Row {
  Call call;
  std::string text;  // the record begins with it
};

Call positions(const std::vector<double>& values, const std::vector<std::string>& groups,
               const std::vector<std::string>& names = {}, double speed = 1.0, double timeout_s = 5.0) {
  return status_of([=](auto& r) { return r.set_joint_positions(values, groups, names, true, speed, timeout_s); });
}

Call commands(const std::vector<JointCommand>& values, const std::string& group, double time_s) {
  return status_of([=](auto& robot) { return robot.set_joint_commands(values, {group}, {}, time_s); });
}

Call trajectory(const std::vector<TrajectoryPoint>& points, const std::string& group) {
  return status_of([=](auto& robot) { return robot.execute_joint_trajectory({points, {group}, {}}); });
}

Call gripper(double width, double velocity, double effort) {
  return status_of([=](auto& r) { return r.set_gripper_command("left_gripper", width, velocity, effort); });
}

Call velocity(double vx, double wz) {
  return status_of([=](auto& robot) { return robot.set_base_velocity({vx, 0, 0}, {0, 0, wz}, 1.0); });
}

Call pose(double x, const std::string& frame, double time_s, double timeout_s) {
  return status_of([=](auto& r) { return r.set_base_pose(x, 0, 0, "odom", frame, time_s, true, timeout_s); });
}

Call target(const std::string& group, double position, double time_s, size_t count) {
  return status_of([=](auto& robot) {
    sdk::TavrinoXTarget target;
    auto& trajectory = target.target_group_trajectory_map[group];
    trajectory.joint_names = {"head_joint1"};
    trajectory.group_commands = {{time_s, std::vector<JointCommand>(count, {position})}};
    const auto report = robot.RequestTarget(target);
    EXPECT_TRUE(report && report->errors.size() == 1 && report->errors[0].code == 65585);
    return robot.PublishTarget(target);
  });
}

Call frames(const std::vector<std::vector<double>>& poses, const std::vector<std::string>& ends) {
  return status_of([=](auto& robot) { return robot.set_end_effector_command(poses, ends, {"a", "b"}); });
}

Call hand(const std::string& group, DexHandType type, const std::vector<JointCommand>& values) {
  return status_of([=](auto& robot) { return robot.set_dexhand_command(group, values, type); });
}

Call controller(const std::string& name) {
  return status_of([=](auto& robot) { return robot.switch_controller(name); });
}

std::vector<Row> refused_by_the_library() {
  const std::string no_speed = "[calculate_move_time] max_move_speed_rad_second <= 0";
  const std::string bad_pose = "set_base_pose contains NaN or Inf";
  return {
      {positions({0, -kInf}, {"head"}), "joint_position_vec[1] (head_joint2) is not finite: -inf"},
      {positions({0, 0}, {"head"}, {}, 0.0), no_speed},
      {positions({0, 0}, {"head"}, {}, -1.0), no_speed},
      {positions({0, 0}, {"head"}, {}, kNan), no_speed},
      {positions({}, {}), "check_joint_command_valid: both joint_names and joint_groups are empty. "},
      {positions({0}, {""}), "has unknown joint group : "},
      {positions({0, 0}, {"head", "head"}), "need 4 positions, but joint_positions size is 2"},
      {positions({0}, {}, {""}), "joint name is not active or invalid : "},
      {positions({0}, {kMegabyte}), "has unknown joint group : xxx"},
      {positions({0}, {"head"}, {kMegabyte}), "joint name is not active or invalid : xxx"},
      {positions(std::vector<double>(kMillion), {"head"}), "need 2 positions, but joint_positions size is 1000000"},
      {positions({0}, std::vector<std::string>(kMillion, "tail")), "has unknown joint group : tail"},
      {commands(kTwo, "head", kNan), "set_joint_commands invalid time_from_start_s: nan"},
      {commands(kTwo, "head", kInf), "set_joint_commands invalid time_from_start_s: inf"},
      {commands({{0.05}}, "left_gripper", 0), "effort out of range, expect effort in (0,100], got effort=0"},
      {trajectory(std::vector<TrajectoryPoint>(kMillion), "head"), "need 2 positions, but joint_positions size is 0"},
      {trajectory({{0.1, kTwo}, {0.2, {}}}, "head"), "The number of joint commands in the trajectory is inconsistent"},
      {trajectory({{0.1, {{0, 0, 0, kNan}}}}, "left_gripper"), "effort out of range, expect effort in (0,100], got"},
      {gripper(-0.01, 0.1, 30), "Invalid input: width_m=-0.01"},
      {gripper(kNan, 0.1, 30), "Invalid input: width_m=nan"},
      {gripper(kInf, 0.1, 30), "Invalid input: width_m=inf"},
      {gripper(0.05, kNan, 30), "Invalid input: width_m=0.05, velocity_mps=nan"},
      {gripper(0.05, 0.1, kInf), "Invalid input: width_m=0.05, velocity_mps=0.1, effort=inf"},
      {velocity(kNan, 0), "velocity contains NaN or Inf, got vx=nan, vy=0, wz=0"},
      {velocity(0, kInf), "velocity contains NaN or Inf, got vx=0, vy=0, wz=inf"},
      {velocity(0, -5), "angular_velocity out of range, expect wz in [-5,5], got wz=-5"},
      {pose(kNan, "odom", 1, 1), bad_pose},
      {pose(0, "odom", kInf, 1), bad_pose},
      {pose(0, "odom", 1, kNan), bad_pose},
      {pose(0, "", 1, 1), "set_base_pose invalid frame_id/reference_frame_id: odom  /  "},
      {pose(0, kMegabyte, 1, 1), "set_base_pose invalid frame_id/reference_frame_id: odom  /  xxx"},
      {controller(""), "switch_controller invalid input, controller_name: "},
      {controller(kMegabyte), "switch_controller invalid input, controller_name: xxx"},
      {target("", 0, 1, 1), "PublishTarget invalid input: target_group_trajectory_map contains empty group name"},
      {target("head", 0, kNan, 1), "PublishTarget invalid input: group command has invalid time_from_start_s"},
      {target("head", kNan, 1, 1), "PublishTarget invalid input: group command contains non-finite joint command"},
      {target("head", 0, 1, kMillion), "PublishTarget invalid input: group command joint_commands size mismatch"},
      {frames({}, {}), "set_end_effector_command: empty input"},
      {frames({{}}, {}), "set_end_effector_command: poses/end_effector_frames size mismatch"},
      {frames({{}}, {"a"}), "set_end_effector_command: reference_frames must be empty"},
      {hand("left_arm", DexHandType::INSPIRE, kTwo), "dexhand invalid ,input left_arm"},
      {hand("", DexHandType::SHARPA, kTwo), "sharpa dexhand invalid, input "},
      {hand("left_dexhand", DexHandType::LINKER_L20, kTwo), "linker L20 dexhand need 16 joint commands, but input 2"},
  };
}

class BadInput : public ::testing::TestWithParam<Setup> {
 protected:
  void SetUp() override { ASSERT_TRUE(live_.start()); }

  LiveRobot live_{GetParam()};
};

TEST_P(BadInput, IsRefusedAndNothingIsSent) {
  live_.take_log();
  const auto counters = live_.state()["counters"];
  for (const Row& row : refused_by_the_library()) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(row.call(live_.robot()), "INVALID_INPUT");
    const auto log = live_.take_log();
    EXPECT_TRUE(std::any_of(log.begin(), log.end(), [&](const LogRecord& record) {
      return record.level == "error" && record.text.rfind(row.text, 0) == 0;
    }));
    for (const LogRecord& record : log) {
      EXPECT_LT(record.text.size(), kLongestRecord);
    }
  }
  for (const char* service : {"target", "target_server", "controller_server"}) {
    const std::string endpoint = std::string("tavrinox/wbcs/") + service;
    EXPECT_EQ(live_.heard(endpoint), counters.value(endpoint, 0)) << endpoint;
  }
  EXPECT_EQ(positions({0.2, 0.0}, {"head"})(live_.robot()), "SUCCESS");
}

// Values that pass the library's checks are refused by the robot, and harm neither. A request without time to wait may
// still see its answer.
TEST_P(BadInput, ThatGoesOutIsAnswered) {
  const struct {
    Call call;
    std::string answer, other_answer;
  } rows[] = {
      {commands({{kNan}, {kInf}}, "head", 0), "SUCCESS", ""},
      {positions({0, 0, 0, 0}, {"head", "head"}), "FAULT", ""},
      {positions({0, 0}, {"head"}, {}, 1.0, kNan), "TIMEOUT", ""},
      {pose(0, "odom", 0.1, 0.0), "TIMEOUT", "SUCCESS"},
      {pose(0, "odom", 0.1, -1.0), "TIMEOUT", "SUCCESS"},
      {trajectory({{0.1, {{kNan}, {}}}}, "head"), "FAULT", ""},
      {trajectory({{kNan, kTwo}}, "head"), "TIMEOUT", "FAULT"},
  };
  for (const auto& row : rows) {
    const std::string answer = row.call(live_.robot());
    EXPECT_TRUE(answer == row.answer || answer == row.other_answer) << answer << ", row " << &row - rows;
  }
  EXPECT_EQ(positions({0.2, 0.0}, {"head"})(live_.robot()), "SUCCESS");
}

INSTANTIATE_TEST_SUITE_P(All, BadInput, ::testing::Values(kK2, kR5), [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test

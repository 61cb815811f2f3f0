// The pure steps of a command: checks, conversions, time-outs.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "impl/wbc/commands/joint_command_rules.hpp"
#include "impl/wbc/commands/trajectory_rules.hpp"
#include "impl/wbc/common/command_wait.hpp"
#include "impl/wbc/controllers/base_control.hpp"
#include "impl/wbc/effectors/dexhand_arrival.hpp"
#include "impl/wbc/joints/joint_manager_k2.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using namespace sdk;
using Names = std::vector<std::string>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

const std::string kNoJoints =
    "both joint_names and joint_groups are empty. You must explicitly specify which joints to control. Use "
    "joint_groups (e.g. {\"left_arm\",\"right_arm\"}) or joint_names.";

class CommandRules : public ::testing::Test {
 protected:
  // The refusal of one call, if it was one: exactly one error record.
  std::string refusal() {
    const auto texts = log_.texts("error");
    log_.clear();
    EXPECT_LE(texts.size(), 1U);
    return texts.empty() ? "" : texts.front();
  }

  SdkLogCapture log_;
  const std::shared_ptr<JointManager> joints_ = JointManagerK2::Create();
  const std::shared_ptr<ControllerManager> controllers_ = ControllerManagerK2::Create(nullptr);
};

TEST_F(CommandRules, JointsAndCountMustFit) {
  const struct {
    size_t count;
    Names groups;
    Names names;
    std::string refusal;
  } cases[] = {
      {2, {"head"}, {}, ""},
      {9, {"head", "left_arm"}, {}, ""},
      {6, {"left_dexhand"}, {}, ""},
      {1, {"left_arm"}, {"head_joint2"}, ""},  // names win, the groups are not even looked at
      {1, {"nonsense"}, {"head_joint2"}, ""},
      {0, {}, {}, "check_joint_command_valid: " + kNoJoints},
      {1, {"head"}, {}, "need 2 positions, but joint_positions size is 1"},
      {2, {"tail"}, {}, "has unknown joint group : tail"},
      {4, {"chassis"}, {}, "joint group is not active or unsupported : chassis"},
      {3, {}, {"head_joint1", "head_joint2"}, "invalid input, joint_names size is 2joint_positions size is 3"},
      {1, {}, {"chassis_joint1"}, "joint name is not active or invalid : chassis_joint1"},
      {2, {}, {"head_joint1", "tail"}, "joint name is not active or invalid : tail"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refusal);
    EXPECT_EQ(check_joint_command_valid(joints_.get(), c.count, c.groups, c.names), c.refusal.empty());
    EXPECT_EQ(refusal(), c.refusal);
  }
}

TEST_F(CommandRules, OnlyLengthsAreCheckedBeforeInitialisation) {
  EXPECT_TRUE(check_joint_command_valid(nullptr, 1, {}, {"tail"}));
  EXPECT_TRUE(check_joint_command_valid(nullptr, 1, {"tail"}, {}));
  EXPECT_FALSE(check_joint_command_valid(nullptr, 2, {}, {"tail"}));
  EXPECT_FALSE(check_joint_command_valid(nullptr, 0, {}, {}));
}

TEST_F(CommandRules, SetPointsOfGrippersNeedAnEffortAndBecomeMillimetres) {
  for (const double effort : {0.0, -1.0, 100.1, kNan}) {
    std::vector<JointCommand> commands = {{0.05, 0.1, 0.2, effort}};
    EXPECT_FALSE(convert_commands_to_internal_unit({"left_gripper_joint1"}, commands)) << effort;
    EXPECT_EQ(refusal().rfind("effort out of range, expect effort in (0,100], got effort=", 0), 0U);
  }
  std::vector<JointCommand> commands = {{1.0, 2.0, 3.0, 0.0}, {0.05, 0.1, 0.2, 100.0}};
  ASSERT_TRUE(convert_commands_to_internal_unit({"head_joint1", "left_gripper_joint1"}, commands));
  EXPECT_DOUBLE_EQ(commands[0].position, 1.0);
  EXPECT_DOUBLE_EQ(commands[1].position, 50.0);
  EXPECT_DOUBLE_EQ(commands[1].velocity, 100.0);
  EXPECT_DOUBLE_EQ(commands[1].acceleration, 200.0);
  EXPECT_DOUBLE_EQ(commands[1].effort, 100.0);
  EXPECT_TRUE(log_.has("info",
                       "joint left_gripper_joint1 is gripper joint, do unit conversion from m to mm. position is 50 "
                       "mm, velocity is 100 mm/s, acceleration is 200 mm/s²."));
}

TEST_F(CommandRules, TrajectoriesGiveGrippersADefaultEffort) {
  const struct {
    double effort;
    double converted;  // 0: refused
  } cases[] = {{0.0, 5.0}, {1e-9, 1e-9}, {100.0, 100.0}, {100.1, 0.0}, {-0.1, 0.0}, {kNan, 0.0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.effort);
    Trajectory trajectory;
    trajectory.points = {{0.0, {{1.0, 0, 0, 0}, {0.05, 0, 0, c.effort}}}};
    EXPECT_EQ(convert_trajectory_points_to_internal_unit(trajectory, {"head_joint1", "right_gripper_joint1"}),
              c.converted > 0.0);
    EXPECT_EQ(refusal().empty(), c.converted > 0.0);
    if (c.converted > 0.0) {
      const auto& commands = trajectory.points[0].joint_command_vec;
      EXPECT_DOUBLE_EQ(commands[0].position, 1.0);
      EXPECT_DOUBLE_EQ(commands[0].effort, 0.0);
      EXPECT_DOUBLE_EQ(commands[1].position, 50.0);
      EXPECT_DOUBLE_EQ(commands[1].effort, c.converted);
    }
  }
  Trajectory empty;
  EXPECT_FALSE(convert_trajectory_points_to_internal_unit(empty, {}));
  EXPECT_EQ(refusal(), "ERROR: convert_trajectory_points_to_internal_unit: target_joint_names is empty");
}

TEST_F(CommandRules, PositionsAreSortedByGroup) {
  JointInfoMap map;
  ASSERT_TRUE(build_joint_prefix_map(*joints_, {"head_joint2", "left_arm_joint7", "head_joint1"},
                                     std::vector<double>{2.0, 7.0, 1.0}, map));
  ASSERT_EQ(map.size(), 2U);
  ASSERT_EQ(map["head"].size(), 2U);
  EXPECT_EQ(map["head"][0].name, "head_joint2");
  EXPECT_DOUBLE_EQ(map["head"][1].position, 1.0);
  EXPECT_DOUBLE_EQ(map["left_arm"][0].position, 7.0);

  JointInfoMap commanded;
  ASSERT_TRUE(build_joint_prefix_map(*joints_, {"head_joint1"}, std::vector<JointCommand>{{1, 2, 3, 4}}, commanded));
  EXPECT_DOUBLE_EQ(commanded["head"][0].acceleration, 3.0);
  EXPECT_DOUBLE_EQ(commanded["head"][0].effort, 4.0);
}

TEST_F(CommandRules, PrefixMapRefusals) {
  const struct {
    Names names;
    std::vector<double> positions;
    std::string refusal;
  } cases[] = {
      {{"head_joint1"},
       {},
       "joiont_name_vec.size() != joint_position_vec.size(), joint_name_vec size is 1 ,joint_position_vec size is 0"},
      {{"head_joint1", "tail"}, {0.0, kInf}, "joint_position_vec[1] (tail) is not finite: inf"},  // before the name
      {{"tail"}, {0.0}, "unknown joint name: tail"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refusal);
    JointInfoMap map;
    EXPECT_FALSE(build_joint_prefix_map(*joints_, c.names, c.positions, map));
    EXPECT_EQ(refusal(), c.refusal);
  }
  JointInfoMap map;
  EXPECT_FALSE(build_joint_prefix_map(*joints_, {}, std::vector<JointCommand>(2), map));
  EXPECT_EQ(refusal(),
            "joiont_name_vec.size() != joint_commands.size(), joint_name_vec size is 0 ,joint_commands size is 2");
  // A set-point's numbers are passed on as they are.
  EXPECT_TRUE(build_joint_prefix_map(*joints_, {"head_joint1"}, std::vector<JointCommand>{{kNan, 0, 0, 0}}, map));
}

TEST_F(CommandRules, MoveTimeComesFromTheFarthestJoint) {
  std::unordered_map<std::string, JointState> states;
  states["a"].position = 1.0;
  states["b"].position = -1.0;
  double time_s = 10.0;
  EXPECT_EQ(calculate_move_time(states, {"a", "b"}, {1.5, -3.0}, 0.5, time_s), ControlStatus::SUCCESS);
  EXPECT_DOUBLE_EQ(time_s, 4.0);
  EXPECT_TRUE(log_.has("info", "max_pos_diff is 2 ,max_move_speed_rad_second is 0.5 ,time_from_start_second is 4"));
  for (const double speed : {0.0, -0.5, kNan}) {  // looked at before the joints
    EXPECT_EQ(calculate_move_time(states, {"c"}, {0.0}, speed, time_s), ControlStatus::INVALID_INPUT);
    EXPECT_EQ(refusal(), "[calculate_move_time] max_move_speed_rad_second <= 0");
  }
  EXPECT_EQ(calculate_move_time(states, {"a", "c"}, {0.0, 0.0}, 1.0, time_s), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_EQ(refusal(), "[calculate_move_time] joint missing in map: c");
  EXPECT_DOUBLE_EQ(time_s, 4.0);
}

TEST_F(CommandRules, TrajectoryShape) {
  const auto check = [this](const std::vector<TrajectoryPoint>& points, const Names& groups, double& max_time_s) {
    return trajectory_is_valid(joints_.get(), Trajectory{points, groups, {}}, max_time_s);
  };
  double max_time_s = 0.0;
  EXPECT_FALSE(check({}, {"head"}, max_time_s));
  EXPECT_EQ(refusal(), "trajectory invalid, trajectory.points is empty");
  EXPECT_FALSE(check({{1.0, std::vector<JointCommand>(2)}, {2.0, std::vector<JointCommand>(1)}}, {"head"}, max_time_s));
  EXPECT_EQ(refusal(), "The number of joint commands in the trajectory is inconsistent");
  EXPECT_FALSE(check({{1.0, {}}}, {"head"}, max_time_s));
  EXPECT_EQ(refusal(), "need 2 positions, but joint_positions size is 0");
  max_time_s = 0.0;
  const std::vector<JointCommand> head(2);
  EXPECT_TRUE(check({{3.0, head}, {kNan, head}, {1.0, head}, {-5.0, head}}, {"head"}, max_time_s));
  EXPECT_DOUBLE_EQ(max_time_s, 3.0);  // the largest, in whatever order
}

TEST_F(CommandRules, TrajectoryIsSplitByGroup) {
  const std::vector<TrajectoryPoint> points = {{0.5, {{1, 0, 0, 0}, {2, 0, 0, 0}, {3, 0, 0, 0}}},
                                               {1.5, {{4, 0, 0, 0}, {5, 0, 0, 0}, {6, 0, 0, 0}}}};
  const auto map = build_joint_group_to_trajectory_map(*joints_, *controllers_,
                                                       {"head_joint2", "leg_joint1", "head_joint1"}, points);
  ASSERT_TRUE(map);
  ASSERT_EQ(map->size(), 2U);
  const GroupTrajectory& head = map->at("head");
  EXPECT_EQ(head.joint_names, (Names{"head_joint2", "head_joint1"}));
  ASSERT_EQ(head.points.size(), 2U);
  EXPECT_DOUBLE_EQ(head.points[1].time_from_start, 1.5);
  ASSERT_EQ(head.points[1].joint_command_vec.size(), 2U);
  EXPECT_DOUBLE_EQ(head.points[1].joint_command_vec[0].position, 4.0);
  EXPECT_DOUBLE_EQ(head.points[1].joint_command_vec[1].position, 6.0);
  EXPECT_DOUBLE_EQ(map->at("leg").points[0].joint_command_vec[0].position, 2.0);
}

TEST_F(CommandRules, TrajectoryMapRefusals) {
  const struct {
    Names names;
    size_t length;
    std::string refusal;
  } cases[] = {
      {{}, 0, "joint_names is empty."},
      {{"tail"}, 2, "TrajectoryPoint.joint_command_vec size mismatch: 2 != 1"},  // before the name
      {{"tail"}, 1, "Unknown joint group for joint name: tail"},
      {{"left_dexhand_joint1"}, 1, "Invalid joint group: left_dexhand"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refusal);
    const std::vector<TrajectoryPoint> points = {{0.0, std::vector<JointCommand>(c.length)}};
    EXPECT_FALSE(build_joint_group_to_trajectory_map(*joints_, *controllers_, c.names, points));
    EXPECT_EQ(refusal(), c.refusal);
  }
}

TEST(CommandWait, TimeoutsAreRoundedUpAndBounded) {
  const struct {
    double timeout_s;
    int64_t seconds;
  } cases[] = {{2.5, 3},
               {2.0, 2},
               {0.2, 1},
               {1e-300, 1},
               {0.0, 0},
               {-0.5, 0},
               {-1e300, 0},
               {kNan, 0},
               {-kInf, 0},
               {kInf, kLongestWait.count()},
               {1e300, kLongestWait.count()}};
  for (const auto& c : cases) {
    EXPECT_EQ(ceil_to_seconds(c.timeout_s).count(), c.seconds) << c.timeout_s;
  }
}

TEST(CommandWait, EndsAtTheTimeoutAndNeverRunsOnNonsense) {
  MotionsUnderWay motions;
  MotionsUnderWay::Motion motion(motions, {});
  for (const double timeout_s : {kNan, -1.0, -kInf}) {
    EXPECT_EQ(wait_for_motion(motion, {"test", steady_now() - std::chrono::seconds(1), timeout_s},
                              [] {
                                ADD_FAILURE() << "polled";
                                return std::optional<ControlStatus>{ControlStatus::SUCCESS};
                              }),
              ControlStatus::TIMEOUT);
  }
  int polls = 0;
  const SteadyTime start = steady_now();
  const auto poll = [&] { return ++polls, std::optional<ControlStatus>{}; };
  EXPECT_EQ(wait_for_motion(motion, {"test", start, 0.15}, poll), ControlStatus::TIMEOUT);
  EXPECT_EQ(polls, 2);  // at 100 and at 200 ms
  EXPECT_GE(steady_now() - start, std::chrono::milliseconds(200));
  sleep_for_seconds(kNan);
  sleep_for_seconds(-kInf);
  EXPECT_LT(steady_now() - start, std::chrono::seconds(5));
}

TEST(DexhandArrival, ThresholdIsInclusive) {
  SdkLogCapture log;
  std::vector<JointState> joints(2);
  joints[0].position = 10.0;
  joints[1].position = -2.0;
  EXPECT_TRUE(has_dexhand_arrived(joints, {{12.0, 0, 0, 0}, {0.0, 0, 0, 0}}, "move"));
  EXPECT_FALSE(has_dexhand_arrived(joints, {{12.0, 0, 0, 0}, {0.5, 0, 0, 0}}, "move"));
  EXPECT_TRUE(log.has("info", "move not reached, joint i=1 cmd_rad=0.5 fb_rad=-2 err_rad=2.5"));
}

TEST(BaseRules, YawOfAQuaternion) {
  for (const double yaw : {0.0, 0.5, -2.0, 3.1}) {
    EXPECT_NEAR(yaw_from_quat(0, 0, std::sin(yaw / 2), std::cos(yaw / 2)), yaw, 1e-12);
  }
  EXPECT_DOUBLE_EQ(yaw_from_quat(0, 0, 0, 0), 0.0);
  // Roll and pitch do not disturb: 90 degrees of roll after 90 of yaw.
  EXPECT_NEAR(yaw_from_quat(0.5, 0.5, 0.5, 0.5), M_PI / 2, 1e-12);
}

}  // namespace
}  // namespace norvik::test

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "fake_planner.hpp"
#include "impl/tables/motion_plan_data_checker.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::DataChecker;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNan = std::nan("");

std::vector<double> pose_of_norm(double norm) { return {1, 2, 3, 0, norm, 0, 0}; }

// One check, acceptable for an empty reason.
struct Check {
  std::function<bool(const DataChecker&, bool)> call;
  std::string reason;
};

DataChecker make_checker() {
  DataChecker checker;
  checker.robot_dof = 3;
  checker.chain_dof = {{"left_arm", 2}};
  checker.support_links = {"a_link"};
  checker.support_chains = {"left_arm"};
  checker.support_frames = {"world"};
  checker.support_ee_frames = {"ee_base"};
  checker.support_tool_names = {"cup"};
  checker.support_simple_object_types = {"box"};
  return checker;
}

Check pose_check(const std::vector<double>& pose, const std::string& reason) {
  return {[=](const auto& c, bool t) { return c.check_pose_7d_size(pose, t); }, reason};
}

Check chain_check(const std::string& chain, const std::vector<double>& joints, const std::string& reason) {
  return {[=](const auto& c, bool t) { return c.check_chain_joint_state({{chain, joints}}, t); }, reason};
}

TEST(DataChecker, DecidesAtItsBounds) {
  const std::string unnormalised = "input quaternion is not normalized";
  const std::string not_finite = "input quaternion contains invalid value (NaN or Inf)";
  const Check checks[] = {
      {[](const auto& c, bool t) {
         return c.check_chains({"left_arm", "left_arm"}, t);
       },
       ""},
      {[](const auto& c, bool t) { return c.check_chains({}, t); }, ""},
      {[](const auto& c, bool t) {
         return c.check_chains({"left_arm", "Left_Arm", "x"}, t);
       },
       "unsupport chain name: Left_Arm"},
      {[](const auto& c, bool t) {
         return c.check_links({"a_link", ""}, t);
       },
       "unsupport link name: "},
      {[](const auto& c, bool t) {
         return c.check_frames({"world", "map"}, t);
       },
       "unsupport frame name: map"},
      {[](const auto& c, bool t) {
         return c.check_ee_frames({"ee_base", "EE_BASE"}, t);
       },
       "unsupport ee frame name: EE_BASE"},
      {[](const auto& c, bool t) {
         return c.check_tool_names({"cup", "None"}, t);
       },
       "unsupport tool name: None"},
      {[](const auto& c, bool t) { return c.check_simple_object_type("cone", t); }, "unsupport simple obj type: cone"},
      pose_check(pose_of_norm(1.0), ""),
      pose_check(pose_of_norm(1.004), ""),
      pose_check(pose_of_norm(1.006), unnormalised),
      pose_check(pose_of_norm(std::sqrt(0.9901)), ""),
      pose_check(pose_of_norm(std::sqrt(0.9899)), unnormalised),
      pose_check(pose_of_norm(0.0), unnormalised),
      pose_check(pose_of_norm(kInfinity), not_finite),
      pose_check({kNan, 0, 0, 0, 0, 0, 1}, not_finite),
      pose_check({0, 0, 0, 0, 0, 1}, "input pose size 6 is not equal to 7"),
      {[](const auto& c, bool t) { return c.check_quaternion_validity({}, t); },
       "input quaternion size 0 is not equal to 7, sequence requirement is [x, y, z, qx, qy, qz, qw]"},
      {[](const auto& c, bool t) {
         return c.check_whole_body_state({kNan, kNan, kNan}, t);
       },
       ""},
      {[](const auto& c, bool t) {
         return c.check_whole_body_state({1, 2}, t);
       },
       "input joint size 2 is not equal to robot dof 3"},
      {[](const auto& c, bool t) { return c.check_chain_joint_state({}, t); }, ""},
      chain_check("left_arm", {1, 2}, ""),
      chain_check("x", {kNan}, "unsupport chain name: x"),
      chain_check("left_arm", {1, -kInfinity, 3}, "chain left_arm contains invalid joint value (NaN or Inf)"),
      chain_check("left_arm", {}, "chain left_arm dof is 2, input size is 0"),
  };
  const DataChecker checker = make_checker();
  for (const Check& check : checks) {
    SCOPED_TRACE(check.reason);
    EXPECT_EQ(check.call(checker, false), check.reason.empty());
    try {
      EXPECT_TRUE(check.call(checker, true));
      EXPECT_EQ(check.reason, "");
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(error.what(), check.reason);
    }
  }
}

TEST(DataChecker, LogsWhatItDoesNotThrow) {
  SdkLogCapture log;
  const DataChecker checker = make_checker();
  checker.check_whole_body_state({}, false);
  checker.check_chain_joint_state({{"x", {}}}, false);
  checker.check_chain_joint_state({{"left_arm", {1}}}, false);
  checker.check_chain_joint_state({{"left_arm", {kNan}}}, false);
  checker.check_pose_7d_size({}, false);
  EXPECT_TRUE(log.has("error", "input joint size 0 is not equal to robot dof 3, invalid whole body state."));
  EXPECT_TRUE(log.has("warning", "check_chain_joint_state: unsupport chain name: x"));
  EXPECT_TRUE(log.has("warning", "check_chain_joint_state: chain left_arm dof is 2, input size is 1"));
  EXPECT_EQ(log.records().size(), 3U);
}

TEST(DataChecker, ComparesTextsInAnyCase) {
  EXPECT_TRUE(sdk::equals_ignore_case("Ee_BASE", "eE_base"));
  EXPECT_TRUE(sdk::equals_ignore_case("", ""));
  EXPECT_FALSE(sdk::equals_ignore_case("ee_base", "ee_bas"));
  EXPECT_EQ(sdk::check_str_and_to_lower("EE_BASE", "ee_base"), "ee_base");
  EXPECT_EQ(sdk::check_str_and_to_lower("EE_CASE", "ee_base"), "EE_CASE");
}

TEST(Facade, ChecksAnswerAsWithEmptyTablesBeforeInit) {
  sdk::k2::NorvikMotionK2 object;
  sdk::NorvikMotion& motion = object;  // It has the default arguments.
  std::vector<double> none;
  EXPECT_FALSE(motion.is_valid());
  EXPECT_FALSE(motion.is_chain_name_valid("left_arm"));
  EXPECT_FALSE(motion.is_obstacle_type_valid("box"));
  EXPECT_TRUE(motion.is_whole_body_state_valid({}));
  EXPECT_TRUE(motion.is_pose_7d_valid(kPose));
  EXPECT_THROW(motion.is_link_name_valid("x", true), std::invalid_argument);
  EXPECT_FALSE(motion.replace_joint_state("left_arm", {1}, none));
  EXPECT_EQ(motion.get_robot_dof(), 0);
  EXPECT_TRUE(motion.get_whole_body_state().empty());
  EXPECT_TRUE(motion.get_link_names().empty());
  EXPECT_EQ(motion.get_support_tool_list().size(), 7U);
  EXPECT_EQ(motion.get_support_obstacle_type().size(), 6U);
  EXPECT_EQ(std::get<0>(motion.get_motion_plan_config()), sdk::MotionStatus::DATA_FETCH_FAILED);
}

}  // namespace
}  // namespace norvik::test

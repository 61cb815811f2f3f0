#include "live/operations.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <future>
#include <limits>

namespace norvik::test {

using sdk::DexHandType;
using sdk::JointCommand;
using sdk::NorvikRobot;

Told told(const std::string& answer) { return {answer, "", ""}; }
Told info(const std::string& answer, const std::string& text) { return {answer, "info", text}; }
Told error(const std::string& answer, const std::string& text) { return {answer, "error", text}; }

namespace {

constexpr const char* kTargets = "tavrinox/wbcs/target";
constexpr const char* kTargetServer = "tavrinox/wbcs/target_server";
constexpr const char* kControllerServer = "tavrinox/wbcs/controller_server";
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

const Told kUnheard = error("COMM_DISCONNECTED", "get error info fail");
const Told kFatal = error("FAULT", "has fatal error");
const Told kNoReply = error("TIMEOUT", "request_proto_target failed: request timed out or returned nullptr.");

// Of the two, the one farther away: a motion always takes its time.
double far_from(double position, double one, double other) {
  return std::abs(position - one) > std::abs(position - other) ? one : other;
}

// One point 0.4 s ahead, for the whole group.
sdk::Trajectory trajectory(NorvikRobot& robot, const std::string& group) {
  const auto joints = robot.get_joint_positions({group});
  sdk::Trajectory result;
  result.joint_groups = {group};
  result.points = {{0.4, std::vector<JointCommand>(joints.size())}};
  result.points[0].joint_command_vec[0].position = far_from(joints[0], 0.3, -0.3);
  return result;
}

sdk::TavrinoXTarget head_target(double time_from_start_s) {
  sdk::TavrinoXTarget target;
  auto& head = target.target_group_trajectory_map["head"];
  head.target_config = {255, 14, 0, 1, "", {}};
  head.joint_names = {"head_joint1", "head_joint2"};
  head.group_commands = {{time_from_start_s, std::vector<JointCommand>(2)}};
  return target;
}

std::string request(NorvikRobot& robot, const sdk::TavrinoXTarget& target) {
  const auto report = robot.RequestTarget(target);
  if (!report) {
    return "no report";
  }
  return report->errors.empty() ? "no errors" : std::to_string(report->errors[0].code);
}

Call joint_positions(bool blocking, double speed, double timeout_s) {
  return [=](NorvikRobot& robot) {
    const double pan = far_from(robot.get_joint_positions({"head"})[0], 0.3, -0.3);
    return to_text(robot.set_joint_positions({pan, 0.1}, {"head"}, {}, blocking, speed, timeout_s));
  };
}

Call whole_trajectory(bool blocking) {
  return [=](NorvikRobot& robot) {
    return to_text(robot.execute_joint_trajectory(trajectory(robot, "left_arm"), blocking));
  };
}

std::vector<Operation> joint_operations() {
  return {
      {"set_joint_commands",
       "head",
       kTargets,
       {[](auto& robot) {
          return to_text(robot.set_joint_commands({{0.1}, {0.1}}, {"head"}, {}, 0.2));
        },
        told("SUCCESS")},
       Attempt{[](auto& robot) {
                 return to_text(robot.set_joint_commands({{0.1}, {0.1}}, {"head"}, {}, -0.1));
               },
               error("INVALID_INPUT", "set_joint_commands invalid time_from_start_s: -0.1")},
       kUnheard,
       kFatal,
       {},
       {}},
      {"set_joint_commands_batch",
       "head",
       kTargets,
       {[](auto& robot) { return to_text(robot.set_joint_commands_batch(trajectory(robot, "head"))); },
        told("SUCCESS")},
       Attempt{[](auto& robot) { return to_text(robot.set_joint_commands_batch({})); },
               error("INVALID_INPUT", "set_joint_commands_batch: trajectory invalid")},
       kUnheard,
       kFatal,
       {},
       {}},
      {"set_joint_positions",
       "head",
       kTargetServer,
       {joint_positions(false, 1.0, 1.0), told("SUCCESS")},
       Attempt{[](auto& robot) {
                 return to_text(robot.set_joint_positions({0.1, kNan}, {"head"}));
               },
               error("INVALID_INPUT", "joint_position_vec[1] (head_joint2) is not finite: nan")},
       kUnheard,
       kFatal,
       Replies{error("FAULT", "set_joint_positions fault"), error("TIMEOUT", "set_joint_positions dispatch fail")},
       Waiting{joint_positions(true, 1.0, 2.0), info("SUCCESS", "set_joint_positions success"),
               error("TIMEOUT", "set_joint_positions timeout")}},
      {"execute_joint_trajectory",
       "left_arm",
       kTargetServer,
       {whole_trajectory(false), told("SUCCESS")},
       Attempt{[](auto& robot) { return to_text(robot.execute_joint_trajectory({})); },
               error("INVALID_INPUT", "trajectory invalid")},
       kUnheard,
       kFatal,
       Replies{error("FAULT", "execute_joint_trajectory fault"),
               error("TIMEOUT", "execute_joint_trajectory dispatch fail")},
       Waiting{whole_trajectory(true), info("SUCCESS", "execute_joint_trajectory success"),
               error("TIMEOUT", "execute_joint_trajectory timeout")}},
  };
}

Call gripper(bool blocking) {
  return [=](NorvikRobot& robot) {
    const auto state = robot.get_gripper_state("left_gripper");
    const double width = far_from(state ? state->width : 0.05, 0.02, 0.08);
    return to_text(robot.set_gripper_command("left_gripper", width, 0.1, 30.0, blocking));
  };
}

Operation gripper_operation() {
  return {"set_gripper_command",
          "left_gripper",
          kTargetServer,
          {gripper(false), info("SUCCESS", "set_gripper_command success")},
          Attempt{[](auto& robot) { return to_text(robot.set_gripper_command("left_gripper", 0.02, 0.21)); },
                  error("INVALID_INPUT", "Invalid input: width_m=0.02, velocity_mps=0.21, effort=30")},
          kUnheard,
          error("FAULT", "set_gripper_command fault"),
          Replies{error("FAULT", "set_gripper_command fault"), kNoReply},
          Waiting{gripper(true), info("SUCCESS", "set_gripper_command done"),
                  error("TIMEOUT", "set_gripper_command timeout")}};
}

// A cup whose controller is silent counts as commanded.
Operation suction_operation() {
  return {"set_suction_cup_command",
          "left_suction_cup",
          kTargetServer,
          {[](auto& robot) { return to_text(robot.set_suction_cup_command("left_suction_cup", true)); },
           info("SUCCESS", "set_suction_cup_command success")},
          Attempt{[](auto& robot) { return to_text(robot.set_suction_cup_command("left_arm", true)); },
                  error("INVALID_INPUT", "suction_cup invalid ,input left_arm")},
          kUnheard,
          error("FAULT", "set_suction_cup_command fault"),
          Replies{error("FAULT", "set_suction_cup_command fault"), error("SUCCESS", kNoReply.text)},
          {}};
}

// One make of hand: how far its joints are sent, and how many it has.
struct Hand {
  std::string group;
  DexHandType type;
  size_t joints;
  double farthest;
};

Call hand_call(const Hand& hand, bool blocking) {
  return [=](NorvikRobot& robot) {
    sdk::DexhandState state;
    robot.get_dexhand_state(hand.group, state, hand.type);
    const auto& joints = state.joint_state.joint_states;
    const double position = far_from(joints.empty() ? 0.0 : joints[0].position, 0.0, hand.farthest);
    return to_text(
        robot.set_dexhand_command(hand.group, std::vector<JointCommand>(hand.joints, {position}), hand.type, blocking));
  };
}

Attempt bad_hand_call(const Hand& hand, double position, const std::string& text) {
  return {[=](NorvikRobot& robot) {
            const std::vector<JointCommand> commands(hand.joints, {position});
            return to_text(robot.set_dexhand_command(hand.group, commands, hand.type));
          },
          error("INVALID_INPUT", text)};
}

Operation inspire_operation() {
  const Hand hand = {"left_dexhand", DexHandType::INSPIRE, 6, 900.0};
  return {"set_dexhand_command (INSPIRE)",
          hand.group,
          kTargets,
          {hand_call(hand, false), told("SUCCESS")},
          bad_hand_call(hand, 1001.0,
                        "inspire dexhand command out of range at index 0, expect position/velocity/effort in [0,1000], "
                        "got position=1001, velocity=0, effort=0"),
          kUnheard,
          kFatal,
          {},
          Waiting{hand_call(hand, true), info("SUCCESS", "set_dexhand_command done"),
                  error("TIMEOUT", "set_dexhand_command timeout")}};
}

// The whole range of this hand lies within the distance that counts as arrived.
Operation brainco_operation() {
  const Hand hand = {"left_dexhand", DexHandType::BRAINCO, 6, 80.0};
  return {"set_dexhand_command (BRAINCO)",
          hand.group,
          kTargets,
          {hand_call(hand, false), told("SUCCESS")},
          bad_hand_call(hand, 100.5,
                        "brainco dexhand command out of range at index 0, expect position in [0,100], velocity in "
                        "[-100,100], got position=100.5, velocity=0"),
          kUnheard,
          kFatal,
          {},
          Waiting{hand_call(hand, true), info("SUCCESS", "set_dexhand_command done"), {}}};
}

// Has error reports of its own, and needs none to move.
Operation sharpa_operation() {
  const Hand hand = {"right_dexhand", DexHandType::SHARPA, 22, 60.0};
  Hand crippled = hand;
  crippled.joints = 21;
  return {"set_dexhand_command (SHARPA)",
          hand.group,
          "/endtool/sharpa_dexhand_R/command_noblock",
          {hand_call(hand, false), told("SUCCESS")},
          bad_hand_call(crippled, 0.0, "sharpa dexhand need 22 joint commands, but input 21"),
          told("SUCCESS"),
          error("FAULT", "sharpa dexhand has fatal error before command"),
          {},
          Waiting{hand_call(hand, true), info("SUCCESS", "set_sharpa_dexhand_command done"),
                  error("TIMEOUT", "set_sharpa_dexhand_command timeout")}};
}

Operation linker_operation() {
  const Hand hand = {"left_dexhand", DexHandType::LINKER_L20, 16, 60.0};
  return {"set_dexhand_command (LINKER_L20)",
          hand.group,
          kTargets,
          {hand_call(hand, false), told("SUCCESS")},
          bad_hand_call(hand, kInf, "linker L20 dexhand command invalid (NaN/Inf) at index 0, position=inf"),
          kUnheard,
          error("FAULT", "linker L20 dexhand has fatal error before command"),
          {},
          Waiting{hand_call(hand, true), info("SUCCESS", "set_linker_l20_dexhand_command done"),
                  error("TIMEOUT", "set_linker_l20_dexhand_command timeout")}};
}

Call base_pose(bool blocking) {
  return [=](NorvikRobot& robot) {
    return to_text(robot.set_base_pose(0.1, 0.0, 0.0, "odom", "odom", 0.3, blocking, 1.0));
  };
}

std::vector<Operation> base_operations(const std::string& chassis) {
  return {
      {"set_base_velocity",
       chassis,
       kTargets,
       {[](auto& robot) {
          return to_text(robot.set_base_velocity({0.1, 0, 0}, {0, 0, 0}));
        },
        info("SUCCESS", "set_base_velocity success")},
       Attempt{[](auto& robot) {
                 return to_text(robot.set_base_velocity({5, 0, 0}, {0, 0, 0}));
               },
               error("INVALID_INPUT", "linear_velocity out of range, expect vx,vy in (-5,5), got vx=5, vy=0")},
       kUnheard,
       kFatal,
       {},
       Waiting{[](auto& robot) {
                 return to_text(robot.set_base_velocity({0.1, 0, 0}, {0, 0, 0}, 0.3));
               },
               info("SUCCESS", "stop_base success"),
               {}}},
      {"set_base_pose",
       chassis,
       kTargetServer,
       {base_pose(false), info("SUCCESS", "set_base_pose success")},
       Attempt{[](auto& robot) { return to_text(robot.set_base_pose(0, 0, 0, "odom", "rel(0)")); },
               error("INVALID_INPUT", "set_base_pose invalid frame_id/reference_frame_id: odom  /  rel(0)")},
       kUnheard,
       error("FAULT", "switch controller mode to 0 fail"),
       Replies{error("FAULT", "set_base_pose fault"), error("TIMEOUT", "set_base_pose dispatch fail")},
       Waiting{base_pose(true), info("SUCCESS", "set_base_pose success"), {}}},
      {"stop_base",
       chassis,
       kTargetServer,
       {[](auto& robot) { return to_text(robot.stop_base()); }, info("SUCCESS", "stop_base success")},
       {},
       kUnheard,
       kFatal,
       Replies{error("FAULT", "stop_base fault"), error("TIMEOUT", "stop_base dispatch fail")},
       {}},
  };
}

// The service's answer carries the errors of the robot; nothing is looked at before.
Operation controller_operation(const std::string& name, const std::string& group, const Call& call,
                               const Attempt& refused) {
  return {name,
          group,
          kControllerServer,
          {call, info("SUCCESS", name + " success")},
          refused,
          info("SUCCESS", name + " success"),
          error("FAULT", name + " fault"),
          Replies{error("FAULT", name + " fault"), error("TIMEOUT", name + " timeout")},
          {}};
}

Operation group_operation(const std::string& name, sdk::ControlStatus (NorvikRobot::*operation)(const std::string&)) {
  const auto call_with = [operation](const std::string& group) {
    return [=](NorvikRobot& robot) { return to_text((robot.*operation)(group)); };
  };
  return controller_operation(name, "left_arm", call_with("left_arm"),
                              {call_with("tail"), error("INVALID_INPUT", name + " invalid input, group_name: tail")});
}

std::vector<Operation> controller_operations(const std::string& chassis) {
  const auto switch_to_other = [chassis](NorvikRobot& robot) {
    const std::string twist = chassis + "_twist_ctrl";
    return to_text(
        robot.switch_controller(robot.get_active_controller(chassis) == twist ? chassis + "_pose_ctrl" : twist));
  };
  return {
      controller_operation("switch_controller", chassis, switch_to_other,
                           {[](auto& robot) { return to_text(robot.switch_controller("tail_ctrl")); },
                            error("INVALID_INPUT", "switch_controller invalid input, controller_name: tail_ctrl")}),
      group_operation("reload_controller", &NorvikRobot::reload_controller),
      group_operation("stop_controller", &NorvikRobot::stop_controller),
      group_operation("release_controller", &NorvikRobot::release_controller),
      group_operation("start_controller", &NorvikRobot::start_controller),
      {"stop_trajectory_execution",
       "left_arm",
       kControllerServer,
       {[](auto& robot) { return to_text(robot.stop_trajectory_execution()); },
        info("SUCCESS", "stop_all_action success")},
       {},
       info("SUCCESS", "stop_all_action success"),
       info("SUCCESS", "stop_all_action success"),
       Replies{info("SUCCESS", "stop_all_action success"), error("TIMEOUT", "stop_all_action timeout")},
       {}},
  };
}

std::vector<Operation> target_operations() {
  return {
      {"PublishTarget",
       "head",
       kTargets,
       {[](auto& robot) { return to_text(robot.PublishTarget(head_target(0.1))); }, told("SUCCESS")},
       Attempt{[](auto& robot) { return to_text(robot.PublishTarget(head_target(-0.1))); },
               error("INVALID_INPUT", "PublishTarget invalid input: group command has invalid time_from_start_s")},
       told("SUCCESS"),
       told("SUCCESS"),
       {},
       {}},
      {"RequestTarget",
       "head",
       kTargetServer,
       {[](auto& robot) { return request(robot, head_target(0.1)); }, told("no errors")},
       Attempt{[](auto& robot) { return request(robot, {}); },
               error("65585", "RequestTarget invalid input: target is empty")},
       error("no report", "RequestTarget failed: current error buffer is unavailable."),
       error("65586", "RequestTarget blocked by current runtime errors."),
       Replies{told("196609"), error("no report", "RequestTarget failed: dispatch status is 1")},
       {}},
      {"set_end_effector_command",
       "left_arm",
       kTargets,
       {[](auto& robot) {
          return to_text(robot.set_end_effector_command({robot.get_wbc_end_effector_poses()["lee_pose"]},
                                                        {"left_arm_end_effector_link"}, {"base_link"}));
        },
        told("SUCCESS")},
       Attempt{[](auto& robot) {
                 return to_text(robot.set_end_effector_command({{0, 0, 0, 0, 1}}, {"left_hand"}));
               },
               error("INVALID_INPUT", "set_end_effector_command: pose 0 needs at least 7 values [x,y,z,qx,qy,qz,qw]")},
       told("SUCCESS"),
       told("SUCCESS"),
       {},
       {}},
      {"clear_end_effector_command",
       "left_arm",
       kTargets,
       {[](auto& robot) { return to_text(robot.clear_end_effector_command()); }, told("SUCCESS")},
       {},
       told("SUCCESS"),
       told("SUCCESS"),
       {},
       {}},
  };
}

void append(std::vector<Operation>& operations, const std::vector<Operation>& more) {
  operations.insert(operations.end(), more.begin(), more.end());
}

void expect_record(const std::vector<LogRecord>& log, const Told& told) {
  const bool logged = std::any_of(log.begin(), log.end(), [&](const LogRecord& record) {
    return record.level == told.level && record.text == told.text;
  });
  std::string all;
  for (const LogRecord& record : log) {
    all += "\n  " + record.level + ": " + record.text;
  }
  EXPECT_TRUE(told.text.empty() || logged) << "no record " << told.level << ": " << told.text << "\nbut" << all;
}

}  // namespace

std::vector<Operation> operations_of(const Setup& setup) {
  if (setup.name == kK2Linker.name) {
    return {linker_operation()};
  }
  if (setup.name == kK2Brainco.name) {
    return {brainco_operation()};
  }
  std::vector<Operation> operations = controller_operations(setup.chassis);
  append(operations, joint_operations());
  operations.push_back(gripper_operation());
  if (setup.type == sdk::MachineType::K2) {
    append(operations, {suction_operation(), inspire_operation(), sharpa_operation()});
  }
  append(operations, base_operations(setup.chassis));
  append(operations, target_operations());
  return operations;
}

void expect_told(LiveRobot& live, const Call& call, const Told& told) {
  live.take_log();
  EXPECT_EQ(call(live.robot()), told.answer);
  expect_record(live.take_log(), told);
}

void expect_told_at_once(LiveRobot& live, const std::vector<std::pair<std::string, Attempt>>& attempts,
                         const std::function<void()>& meanwhile) {
  live.take_log();
  std::vector<std::future<std::string>> answers;
  for (const auto& [name, attempt] : attempts) {
    answers.push_back(std::async(std::launch::async, attempt.call, std::ref(live.robot())));
  }
  if (meanwhile) {
    meanwhile();
  }
  for (size_t i = 0; i < attempts.size(); ++i) {
    EXPECT_EQ(answers[i].get(), attempts[i].second.told.answer) << attempts[i].first;
  }
  const auto log = live.take_log();
  for (const auto& [name, attempt] : attempts) {
    SCOPED_TRACE(name);
    expect_record(log, attempt.told);
  }
}

}  // namespace norvik::test

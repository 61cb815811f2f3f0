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
Told info(const std::string& text) { return {"SUCCESS", "info", text}; }
Told error(const std::string& answer, const std::string& text) { return {answer, "error", text}; }

Operation::Operation(std::string name_, std::string group_, std::string endpoint_, Call call, const Told& told)
    : name(std::move(name_)),
      group(std::move(group_)),
      endpoint(std::move(endpoint_)),
      accepted{std::move(call), told},
      unheard(told),
      faulty(told),
      restarted(told) {}

Operation& Operation::refuses(Call call, const std::string& text, const std::string& answer) {
  refused = {std::move(call), error(answer, text)};
  return *this;
}

Operation& Operation::looks(const Told& faulty_, const Told& unheard_) {
  faulty = faulty_;
  unheard = unheard_;
  return *this;
}

Operation& Operation::asks(const Told& rejected_, const Told& silence_) {
  rejected = rejected_;
  silence = silence_;
  return *this;
}

Operation& Operation::waits(const Call& call, const Told& done, const std::optional<Told>& late) {
  arrived = {call, done};
  if (late) {
    timed_out = {call, *late};
  }
  return *this;
}

Operation& Operation::cut_short(const Call& slow, const Told& by_fault, const Told& by_stop) {
  failed = {slow, by_fault};
  stopped = {slow, by_stop};
  return *this;
}

Operation& Operation::after_restart(const Told& told) {
  restarted = told;
  return *this;
}

namespace {

using Operations = std::vector<Operation>;

constexpr const char* kTargets = "tavrinox/wbcs/target";
constexpr const char* kTargetServer = "tavrinox/wbcs/target_server";
constexpr const char* kControllerServer = "tavrinox/wbcs/controller_server";
constexpr double kSlow = 3.0;  // seconds that a motion takes which is cut short
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

const Told kSuccess = told("SUCCESS");
const Told kFatal = error("FAULT", "has fatal error");
const Told kNoReply = error("TIMEOUT", "request_proto_target failed: request timed out or returned nullptr.");

// Of the two, the one farther away: a motion always takes its time.
double far_from(double position, double one, double other) {
  return std::abs(position - one) > std::abs(position - other) ? one : other;
}

// One point for the whole group.
sdk::Trajectory trajectory(NorvikRobot& robot, const std::string& group, double time_s = 0.4) {
  const auto joints = robot.get_joint_positions({group});
  sdk::Trajectory result{{{time_s, std::vector<JointCommand>(joints.size())}}, {group}, {}};
  result.points[0].joint_command_vec[0].position = far_from(joints[0], 0.3, -0.3);
  return result;
}

Operations joint_operations() {
  const auto set_point = [](double time_s) {
    return status_of([=](auto& robot) { return robot.set_joint_commands({{0.1}, {0.1}}, {"head"}, {}, time_s); });
  };
  const auto positions = [](bool blocking, double timeout_s, double speed = 1.0) {
    return status_of([=](auto& robot) {
      const double pan = far_from(robot.get_joint_positions({"head"})[0], 0.3, -0.3);
      return robot.set_joint_positions({pan, 0.1}, {"head"}, {}, blocking, speed, timeout_s);
    });
  };
  const auto whole = [](bool blocking, double time_s = 0.4) {
    return status_of([=](auto& r) { return r.execute_joint_trajectory(trajectory(r, "left_arm", time_s), blocking); });
  };
  return {
      Operation("set_joint_commands", "head", kTargets, set_point(0.2), kSuccess)
          .refuses(set_point(-0.1), "set_joint_commands invalid time_from_start_s: -0.1")
          .looks(kFatal),
      Operation("set_joint_commands_batch", "head", kTargets,
                status_of([](auto& robot) { return robot.set_joint_commands_batch(trajectory(robot, "head")); }),
                kSuccess)
          .refuses(status_of([](auto& robot) { return robot.set_joint_commands_batch({}); }),
                   "set_joint_commands_batch: trajectory invalid")
          .looks(kFatal),
      Operation("set_joint_positions", "head", kTargetServer, positions(false, 1.0), kSuccess)
          .refuses(status_of([](auto& robot) {
                     return robot.set_joint_positions({0.1, kNan}, {"head"});
                   }),
                   "joint_position_vec[1] (head_joint2) is not finite: nan")
          .looks(kFatal)
          .asks(error("FAULT", "set_joint_positions fault"), error("TIMEOUT", "set_joint_positions dispatch fail"))
          .waits(positions(true, 2.0), info("set_joint_positions success"),
                 error("TIMEOUT", "set_joint_positions timeout"))
          .cut_short(positions(true, 5.0, 0.1), error("FAULT", "set_joint_positions fault"),
                     error("TIMEOUT", "set_joint_positions timeout")),
      Operation("execute_joint_trajectory", "left_arm", kTargetServer, whole(false), kSuccess)
          .refuses(status_of([](auto& robot) { return robot.execute_joint_trajectory({}); }), "trajectory invalid")
          .looks(kFatal)
          .asks(error("FAULT", "execute_joint_trajectory fault"),
                error("TIMEOUT", "execute_joint_trajectory dispatch fail"))
          .waits(whole(true), info("execute_joint_trajectory success"),
                 error("TIMEOUT", "execute_joint_trajectory timeout"))
          .cut_short(whole(true, kSlow), error("FAULT", "execute_joint_trajectory fault"),
                     error("TIMEOUT", "execute_joint_trajectory timeout")),
  };
}

Operation gripper_operation() {
  const auto move = [](bool blocking, double velocity = 0.1) {
    return status_of([=](auto& robot) {
      const auto state = robot.get_gripper_state("left_gripper");
      const double width = far_from(state ? state->width : 0.05, 0.02, 0.08);
      return robot.set_gripper_command("left_gripper", width, velocity, 30.0, blocking);
    });
  };
  const Told late = error("TIMEOUT", "set_gripper_command timeout");
  const Told fault = error("FAULT", "set_gripper_command fault");
  return Operation("set_gripper_command", "left_gripper", kTargetServer, move(false),
                   info("set_gripper_command success"))
      .refuses(status_of([](auto& robot) { return robot.set_gripper_command("left_gripper", 0.02, 0.21); }),
               "Invalid input: width_m=0.02, velocity_mps=0.21, effort=30")
      .looks(fault)
      .asks(fault, kNoReply)
      .waits(move(true), info("set_gripper_command done"), late)
      .cut_short(move(true, 0.03 / kSlow), fault, late);
}

// A cup whose controller is silent counts as commanded.
Operation suction_operation() {
  const auto suck = [](const char* group) {
    return status_of([=](auto& robot) { return robot.set_suction_cup_command(group, true); });
  };
  const Told fault = error("FAULT", "set_suction_cup_command fault");
  return Operation("set_suction_cup_command", "left_suction_cup", kTargetServer, suck("left_suction_cup"),
                   info("set_suction_cup_command success"))
      .refuses(suck("left_arm"), "suction_cup invalid ,input left_arm")
      .looks(fault)
      .asks(fault, error("SUCCESS", kNoReply.text));
}

// One make of hand: the texts of its own, how many joints it has and how far they are sent.
struct Hand {
  std::string make, group, endpoint;
  DexHandType type;
  size_t joints;
  double farthest;
  double bad_position;
  std::string bad_text, operation;
  Told faulty;
};

// `velocity` of each joint, in the hand's own unit; 0 leaves it to the hand.
Call hand_call(const Hand& hand, bool blocking, double velocity = 0.0) {
  return status_of([=](auto& robot) {
    sdk::DexhandState state;
    robot.get_dexhand_state(hand.group, state, hand.type);
    const auto& joints = state.joint_state.joint_states;
    const double position = far_from(joints.empty() ? 0.0 : joints[0].position, 0.0, hand.farthest);
    return robot.set_dexhand_command(hand.group, std::vector<JointCommand>(hand.joints, {position, velocity}),
                                     hand.type, blocking);
  });
}

Operation hand_operation(const Hand& hand) {
  const bool whole_body = hand.endpoint == kTargets;           // The other one needs no errors reported.
  const bool can_be_late = hand.type != DexHandType::BRAINCO;  // All of its range counts as arrived.
  const Told late = error("TIMEOUT", hand.operation + " timeout");
  const Told done = info(hand.operation + " done");
  Operation operation("set_dexhand_command (" + hand.make + ")", hand.group, hand.endpoint, hand_call(hand, false),
                      kSuccess);
  operation
      .refuses(status_of([=](auto& robot) {
                 const std::vector<JointCommand> commands(hand.joints, {hand.bad_position});
                 return robot.set_dexhand_command(hand.group, commands, hand.type);
               }),
               hand.bad_text)
      .looks(hand.faulty, whole_body ? error("COMM_DISCONNECTED", "get error info fail") : kSuccess)
      .waits(hand_call(hand, true), done, can_be_late ? std::optional(late) : std::nullopt);
  if (can_be_late) {  // A hand outside the whole-body controller is not stopped with everything else.
    operation.cut_short(hand_call(hand, true, hand.farthest / 2.0 / kSlow), error("FAULT", hand.operation + " fault"),
                        whole_body ? late : done);
  }
  return operation;
}

const Hand kInspire = {
    "INSPIRE",
    "left_dexhand",
    kTargets,
    DexHandType::INSPIRE,
    6,
    900.0,
    1001.0,
    "inspire dexhand command out of range at index 0, expect position/velocity/effort in [0,1000], got position=1001, "
    "velocity=0, effort=0",
    "set_dexhand_command",
    kFatal};
const Hand kBrainco = {
    "BRAINCO",
    "left_dexhand",
    kTargets,
    DexHandType::BRAINCO,
    6,
    80.0,
    100.5,
    "brainco dexhand command out of range at index 0, expect position in [0,100], velocity in [-100,100], got "
    "position=100.5, velocity=0",
    "set_dexhand_command",
    kFatal};
const Hand kSharpa = {"SHARPA",
                      "right_dexhand",
                      "/endtool/sharpa_dexhand_R/command_noblock",
                      DexHandType::SHARPA,
                      22,
                      60.0,
                      0.0,
                      "",
                      "set_sharpa_dexhand_command",
                      error("FAULT", "sharpa dexhand has fatal error before command")};
const Hand kLinker = {"LINKER_L20",
                      "left_dexhand",
                      kTargets,
                      DexHandType::LINKER_L20,
                      16,
                      60.0,
                      kInf,
                      "linker L20 dexhand command invalid (NaN/Inf) at index 0, position=inf",
                      "set_linker_l20_dexhand_command",
                      error("FAULT", "linker L20 dexhand has fatal error before command")};

// Takes any number, but not any number of numbers.
Operation sharpa_operation() {
  return hand_operation(kSharpa).refuses(status_of([](auto& robot) {
                                           return robot.set_dexhand_command(
                                               kSharpa.group, std::vector<JointCommand>(21), kSharpa.type);
                                         }),
                                         "sharpa dexhand need 22 joint commands, but input 21");
}

Operations base_operations(const std::string& chassis) {
  const auto drive = [](double vx, double duration_s) {
    return status_of([=](auto& robot) { return robot.set_base_velocity({vx, 0, 0}, {0, 0, 0}, duration_s); });
  };
  const auto move = [](const char* reference, bool blocking, double time_s = 0.3) {
    return status_of([=](auto& robot) {
      const auto odom = robot.get_odom();
      const double x = far_from(odom ? odom->position[0] : 0.0, 0.1, -0.1);
      return robot.set_base_pose(x, 0, 0, "odom", reference, time_s, blocking, 1);
    });
  };
  const Told stop_refused = error("FAULT", "stop_base fault");
  return {
      Operation("set_base_velocity", chassis, kTargets, drive(0.1, 0.0), info("set_base_velocity success"))
          .refuses(drive(5.0, 0.0), "linear_velocity out of range, expect vx,vy in (-5,5), got vx=5, vy=0")
          .looks(kFatal)
          .waits(drive(0.1, 0.3), info("stop_base success"))
          .cut_short(drive(0.1, kSlow), kFatal, info("stop_base success"))
          .after_restart(info("set_base_velocity success")),
      Operation("set_base_pose", chassis, kTargetServer, move("odom", false), info("set_base_pose success"))
          .refuses(move("rel(0)", false), "set_base_pose invalid frame_id/reference_frame_id: odom  /  rel(0)")
          .looks(error("FAULT", "switch controller mode to 0 fail"))
          .asks(error("FAULT", "set_base_pose fault"), error("TIMEOUT", "set_base_pose dispatch fail"))
          .waits(move("odom", true), info("set_base_pose success"))
          .cut_short(move("odom", true, kSlow), info("set_base_pose success"), info("set_base_pose success")),
      Operation("stop_base", chassis, kTargetServer, status_of([](auto& robot) { return robot.stop_base(); }),
                info("stop_base success"))
          .looks(kFatal)
          .asks(stop_refused, error("TIMEOUT", "stop_base dispatch fail"))
          .after_restart(stop_refused),
  };
}

// Nothing is looked at before, but the service's answer carries the errors of the robot.
Operation controller_operation(const std::string& name, const std::string& group, const Call& call, const Call& wrong,
                               const std::string& wrong_text) {
  const Told fault = error("FAULT", name + " fault");
  return Operation(name, group, kControllerServer, call, info(name + " success"))
      .refuses(wrong, name + " invalid input, " + wrong_text)
      .looks(fault, info(name + " success"))
      .asks(fault, error("TIMEOUT", name + " timeout"));
}

Operation group_operation(const std::string& name, sdk::ControlStatus (NorvikRobot::*operation)(const std::string&)) {
  const auto call_with = [operation](const char* group) {
    return status_of([=](auto& robot) { return (robot.*operation)(group); });
  };
  return controller_operation(name, "left_arm", call_with("left_arm"), call_with("tail"), "group_name: tail");
}

Operations controller_operations(const std::string& chassis) {
  const auto switch_to_other = status_of([chassis](auto& robot) {
    const std::string twist = chassis + "_twist_ctrl";
    return robot.switch_controller(robot.get_active_controller(chassis) == twist ? chassis + "_pose_ctrl" : twist);
  });
  const auto switch_to_none = status_of([](auto& robot) { return robot.switch_controller("tail_ctrl"); });
  const Told stopped = info("stop_all_action success");
  return {
      controller_operation("switch_controller", chassis, switch_to_other, switch_to_none, "controller_name: tail_ctrl"),
      group_operation("reload_controller", &NorvikRobot::reload_controller),
      group_operation("stop_controller", &NorvikRobot::stop_controller),
      group_operation("release_controller", &NorvikRobot::release_controller),
      group_operation("start_controller", &NorvikRobot::start_controller),
      Operation("stop_trajectory_execution", "left_arm", kControllerServer,
                status_of([](auto& robot) { return robot.stop_trajectory_execution(); }), stopped)
          .asks(stopped, error("TIMEOUT", "stop_all_action timeout")),
  };
}

sdk::TavrinoXTarget head_target(double time_from_start_s) {
  sdk::TavrinoXTarget target;
  auto& head = target.target_group_trajectory_map["head"];
  head.target_config = {255, 14, 0, 1, "", {}};
  head.joint_names = {"head_joint1", "head_joint2"};
  head.group_commands = {{time_from_start_s, std::vector<JointCommand>(2)}};
  return target;
}

Call request(double time_from_start_s) {
  return [=](NorvikRobot& robot) -> std::string {
    const auto report = robot.RequestTarget(head_target(time_from_start_s));
    if (!report) {
      return "no report";
    }
    return report->errors.empty() ? "no errors" : std::to_string(report->errors[0].code);
  };
}

Operations target_operations() {
  const std::string bad_time = " invalid input: group command has invalid time_from_start_s";
  const auto publish = [](double time_s) {
    return status_of([=](auto& robot) { return robot.PublishTarget(head_target(time_s)); });
  };
  const auto hold_pose = status_of([](auto& robot) {
    const auto pose = robot.get_wbc_end_effector_poses()["lee_pose"];
    return robot.set_end_effector_command({pose}, {"left_arm_end_effector_link"}, {"base_link"});
  });
  const auto bad_pose = status_of([](auto& robot) { return robot.set_end_effector_command({{0, 0, 0, 1}}, {"x"}); });
  return {
      Operation("PublishTarget", "head", kTargets, publish(0.1), kSuccess)
          .refuses(publish(-0.1), "PublishTarget" + bad_time),
      Operation("RequestTarget", "head", kTargetServer, request(0.1), told("no errors"))
          .refuses(request(-0.1), "RequestTarget" + bad_time, "65585")
          .looks(error("65586", "RequestTarget blocked by current runtime errors."),
                 error("no report", "RequestTarget failed: current error buffer is unavailable."))
          .asks(told("196609"), error("no report", "RequestTarget failed: dispatch status is 1")),
      Operation("set_end_effector_command", "left_arm", kTargets, hold_pose, kSuccess)
          .refuses(bad_pose, "set_end_effector_command: pose 0 needs at least 7 values [x,y,z,qx,qy,qz,qw]"),
      Operation("clear_end_effector_command", "left_arm", kTargets,
                status_of([](auto& robot) { return robot.clear_end_effector_command(); }), kSuccess),
  };
}

void append(Operations& operations, const Operations& more) {
  operations.insert(operations.end(), more.begin(), more.end());
}

void expect_record(const std::vector<LogRecord>& log, const Told& told) {
  std::string all;
  bool logged = told.text.empty();
  for (const LogRecord& record : log) {
    logged = logged || (record.level == told.level && record.text == told.text);
    all += "\n  " + record.level + ": " + record.text;
  }
  EXPECT_TRUE(logged) << "no record " << told.level << ": " << told.text << "\nbut" << all;
}

}  // namespace

Operations operations_of(const Setup& setup) {
  if (setup.hand != "inspire") {
    return {hand_operation(setup.hand == "linker_l20" ? kLinker : kBrainco)};
  }
  Operations operations = controller_operations(setup.chassis);
  append(operations, joint_operations());
  operations.push_back(gripper_operation());
  if (setup.type == sdk::MachineType::K2) {
    append(operations, {suction_operation(), hand_operation(kInspire), sharpa_operation()});
  }
  append(operations, base_operations(setup.chassis));
  append(operations, target_operations());
  return operations;
}

void expect_told(LiveRobot& live, const Attempt& attempt) {
  live.take_log();
  EXPECT_EQ(attempt.call(live.robot()), attempt.told.answer);
  expect_record(live.take_log(), attempt.told);
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

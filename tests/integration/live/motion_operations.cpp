#include "live/motion_operations.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace norvik::test {

using sdk::MotionStatus;
using sdk::NorvikMotion;

namespace {

constexpr double kBudget = 3.0;  // seconds
const double kNan = std::numeric_limits<double>::quiet_NaN();
const std::vector<double> kBent = {0.3, -0.4, 0.0, -0.8, 0.0, 0.3, 0.0};
const std::vector<double> kElsewhere = {0.1, -0.5, 0.0, -1.0, 0.0, 0.3, 0.0};
const std::string kHand = "left_arm_end_effector_mount_link";

const MotionOutcomes kTask = {"SUCCESS", "INIT_FAILED", "PUBLISH_FAIL", "TIMEOUT", "PUBLISH_FAIL",
                              "TIMEOUT", "TIMEOUT",     "FAULT",        "TIMEOUT", "INIT_FAILED"};
// Takes no time-out of the caller's: 20 s are waited for once.
const MotionOutcomes kChange = {"SUCCESS", "INIT_FAILED", "PUBLISH_FAIL", "", "PUBLISH_FAIL",
                                "",        "TIMEOUT",     "FAULT",        "", "INIT_FAILED"};
const MotionOutcomes kJacobian = {"SUCCESS", "INIT_FAILED", "COMM_DISCONNECTED", "",        "TIMEOUT",
                                  "",        "SUCCESS",     "SUCCESS",           "SUCCESS", "SUCCESS"};
// Of the local transforms, and of the links that the service told last.
const MotionOutcomes kTransform = {"SUCCESS", "INIT_FAILED", "",        "",        "SUCCESS",
                                   "",        "SUCCESS",     "SUCCESS", "SUCCESS", ""};
const MotionOutcomes kNames = {"values", "nothing", "nothing", "",       "nothing",
                               "",       "values",  "values",  "values", "nothing"};
const MotionOutcomes kLastNames = {"values", "nothing", "values", "",       "values",
                                   "",       "values",  "values", "values", "values"};

// Asks nobody.
MotionOutcomes local(const std::string& answer, const std::string& uninitialised) {
  return {answer, uninitialised, answer, answer, answer, answer, answer, answer, answer, answer};
}

std::string name_of(MotionStatus status) { return to_text(static_cast<sdk::ControlStatus>(status)); }
template <typename... Rest>
std::string name_of(const std::tuple<MotionStatus, Rest...>& result) {
  return name_of(std::get<0>(result));
}
std::string name_of(bool value) { return value ? "true" : "false"; }
template <typename Values>
std::string amount(const Values& values) {
  return values.empty() ? "nothing" : "values";
}

template <typename Function>
MotionCall status(Function function) {
  return [function](NorvikMotion& motion, const Reachable& reachable) { return name_of(function(motion, reachable)); };
}
template <typename Function>
MotionCall values(Function function) {
  return [function](NorvikMotion& motion, const Reachable&) { return amount(function(motion)); };
}

std::shared_ptr<sdk::Parameter> options(double timeout_s = kBudget) {
  auto parameter = std::make_shared<sdk::Parameter>();
  parameter->timeout = timeout_s;
  return parameter;
}

std::shared_ptr<sdk::JointStates> arm(const std::string& chain = "left_arm",
                                      const std::vector<double>& joints = kElsewhere) {
  auto target = std::make_shared<sdk::JointStates>();
  target->chain = chain;
  target->joint_positions = joints;
  return target;
}

std::shared_ptr<sdk::PoseState> hand(const std::vector<double>& pose) {
  auto target = std::make_shared<sdk::PoseState>();
  target->chain = "left_arm";
  target->reference_frame = "base_link";
  target->pose = {pose[0], pose[1], pose[2], pose[3], pose[4], pose[5], pose[6]};
  return target;
}

// The joints of the right arm mirror those of the left one.
std::vector<double> mirrored(std::vector<double> joints) {
  for (double& joint : joints) {
    joint = -joint;
  }
  return joints;
}

using Operations = std::vector<MotionOperation>;

Operations kinematic_operations() {
  const auto forward = [](const std::string& link) {
    return status([=](auto& m, auto&) { return m.forward_kinematics(link, "base_link", {}, options()); });
  };
  const auto forward_by_state = [](double timeout_s) {
    return status(
        [=](auto& m, auto&) { return m.forward_kinematics_by_state(kHand, nullptr, "base_link", options(timeout_s)); });
  };
  const auto inverse = [](const std::string& chain) {
    return status([=](auto& m, auto& r) {
      return m.inverse_kinematics(r.other, {chain}, "EndEffector", "base_link", {}, true, options());
    });
  };
  const auto inverse_by_state = [](const std::string& frame) {
    return status([=](auto& m, auto& r) {
      return m.inverse_kinematics_by_state(r.other, {"left_arm"}, frame, "base_link", nullptr, true, options());
    });
  };
  const auto jacobian = [](const std::string& frame) {
    return status([=](auto& m, auto&) { return m.get_jacobian("left_arm", frame, "base_link", {}, options()); });
  };
  const auto jacobian_by_state = [](const std::string& chain) {
    return status(
        [=](auto& m, auto&) { return m.get_jacobian_by_state(chain, "EndEffector", "base_link", nullptr, options()); });
  };
  const auto pose = [](const std::string& link) {
    return status([=](auto& m, auto&) { return m.get_end_effector_pose(link, "base_link"); });
  };
  const auto pose_on_chain = [](const std::string& frame) {
    return status([=](auto& m, auto&) { return m.get_end_effector_pose_on_chain("left_arm", frame, "base_link"); });
  };
  return {{"forward_kinematics", forward(kHand), kTask, forward("nose")},
          {"forward_kinematics_by_state", forward_by_state(kBudget), kTask, forward_by_state(0.0)},
          {"inverse_kinematics", inverse("left_arm"), kTask, inverse("head")},
          {"inverse_kinematics_by_state", inverse_by_state("EndEffector"), kTask, inverse_by_state("Nose")},
          {"get_jacobian", jacobian("EndEffector"), kJacobian, jacobian("Tool")},
          {"get_jacobian_by_state", jacobian_by_state("left_arm"), kJacobian, jacobian_by_state("tail")},
          {"get_end_effector_pose", pose(kHand), kTransform, pose("world")},
          {"get_end_effector_pose_on_chain", pose_on_chain("EndEffector"), kTransform, pose_on_chain("Nose")}};
}

Operations planning_operations() {
  const auto to_pose = [](size_t numbers) {
    return status([=](auto& m, auto& r) {
      auto goal = r.other;
      goal.resize(numbers);
      return m.set_end_effector_pose(goal, "left_arm_end_effector", "base_link", nullptr, true, true, kBudget,
                                     options());
    });
  };
  const auto plan = [](bool has_target) {
    return status(
        [=](auto& m, auto&) { return m.motion_plan(has_target ? arm() : nullptr, nullptr, nullptr, true, options()); });
  };
  const auto waypoints = [](bool plan_path) {
    return status([=](auto& m, auto& r) {
      return m.motion_plan_multi_waypoints(hand(r.other), {r.present, r.other}, nullptr, nullptr, plan_path, options());
    });
  };
  const auto chains = [](const std::string& other) {
    return status([=](auto& m, auto&) {
      return m.motion_plan_multi_waypoints(
          {{arm(), {kBent, kElsewhere}}, {arm(other), {mirrored(kBent), mirrored(kElsewhere)}}}, {}, nullptr, false,
          options());
    });
  };
  const auto zero = [](double timeout_s) {
    return status([=](auto& m, auto&) { return m.move_whole_body_joint_zero(false, 2.0, 5.0, options(timeout_s)); });
  };
  const auto check = [](std::vector<double> joints) {
    return status([joints = std::move(joints)](auto& m, auto&) {
      auto state = std::make_shared<sdk::RobotStates>();
      state->whole_body_joint = joints.empty() ? m.get_whole_body_state() : joints;
      state->base_state = {0, 0, 0, 0, 0, 0, 1};
      return m.check_collision({state}, true, options());
    });
  };
  MotionOutcomes by_joints_first = kTask;
  by_joints_first.uninitialised = "INVALID_INPUT";  // Without NorvikRobot, either.
  by_joints_first.absent = "TIMEOUT";               // Of the joint layer, which is asked first.
  by_joints_first.lost = by_joints_first.unended = by_joints_first.collision = "";
  return {{"set_end_effector_pose", to_pose(7), kTask, to_pose(6)},
          {"motion_plan", plan(true), kTask, plan(false)},
          {"motion_plan_multi_waypoints", waypoints(false), kTask, waypoints(true)},
          {"motion_plan_multi_waypoints (chains)", chains("right_arm"), kTask, chains("leg")},
          {"check_collision", check({}), kTask, check({1.0, kNan})},
          {"move_whole_body_joint_zero", zero(8.0), by_joints_first, zero(0.0)}};
}

Operations scene_operations() {
  const auto attach = [](const std::string& tool) {
    return status([=](auto& m, auto&) { return m.attach_tool("left_arm", tool); });
  };
  const auto detach = [](const std::string& chain) {
    return status([=](auto& m, auto&) { return m.detach_tool(chain); });
  };
  const std::vector<double> far = {3.0, 0, 1, 0, 0, 0, 1};
  const auto add = [=](double size) {
    return status([=](auto& m, auto&) { return m.add_obstacle("wall", "box", far, {1, 1, size}); });
  };
  const auto hold = [](const std::string& kind) {
    return status([=](auto& m, auto&) {
      return m.attach_target_object("cup", kind, {0, 0, 0.2, 0, 0, 0, 1}, {0.02, 0.02, 0.02}, "", "left_arm",
                                    "ee_base");
    });
  };
  const auto set_config = [](bool has_config) {
    return status([=](auto& m, auto&) {
      auto config = has_config ? std::make_shared<sdk::MotionPlanConfig>() : nullptr;
      return m.set_motion_plan_config(config);
    });
  };
  // Old after three seconds without a status.
  MotionOutcomes config = local("SUCCESS", "DATA_FETCH_FAILED");
  config.absent = config.lost = "";
  MotionOutcomes listed = local("values", "nothing");
  listed.absent = listed.lost = listed.reply_lost = listed.no_time = "";
  listed.unended = listed.failed = listed.collision = listed.init_failed = "";
  MotionOutcomes held = listed;
  return {{"attach_tool", attach("suction_cup"), kChange, attach("hammer")},
          {"detach_tool", detach("left_arm"), kChange, detach("torso")},
          {"add_obstacle", add(1.0), kChange, add(0.0)},
          {"get_built_object_list", values([](auto& m) { return m.get_built_object_list(); }), listed, {}},
          {"remove_obstacle", status([](auto& m, auto&) { return m.remove_obstacle("wall"); }), kChange, {}},
          {"clear_obstacle", status([](auto& m, auto&) { return m.clear_obstacle(); }), kChange, {}},
          {"attach_target_object", hold("sphere"), kChange, hold("mesh"), "UNSUPPORTED_FUNCRION"},
          {"get_attached_object_list", values([](auto& m) { return m.get_attached_object_list(); }), held, {}},
          {"detach_target_object", status([](auto& m, auto&) { return m.detach_target_object("cup"); }), kChange, {}},
          {"set_motion_plan_config", set_config(true), kChange, set_config(false)},
          {"get_motion_plan_config", status([](auto& m, auto&) { return m.get_motion_plan_config(); }), config, {}}};
}

// A check of a value and its answers to a good and a bad one.
template <typename Check, typename Value>
MotionOperation valid(const std::string& name, Check check, const Value& good, const Value& bad) {
  const auto answer = [check](const Value& value) {
    return [check, value](NorvikMotion& m, const Reachable&) { return name_of((m.*check)(value, false)); };
  };
  return {name, answer(good), local("true", "false"), answer(bad), "false"};
}

Operations name_operations() {
  MotionOutcomes always_known = kLastNames;
  always_known.uninitialised = "values";
  const auto known = local("values", "values");
  const std::string text = "text";
  using M = NorvikMotion;
  return {{"get_link_names", values([](auto& m) { return m.get_link_names(); }), kNames, {}},
          {"get_support_links", values([](auto& m) { return m.get_support_links(); }), kLastNames, {}},
          {"get_support_chains", values([](auto& m) { return m.get_support_chains(); }), always_known, {}},
          {"get_support_frame", values([](auto& m) { return m.get_support_frame(); }), known, {}},
          {"get_support_ee_frame",
           values([](auto& m) { return m.get_support_ee_frame(); }),
           local("values", "nothing"),
           {}},
          {"get_support_tool_list", values([](auto& m) { return m.get_support_tool_list(); }), always_known, {}},
          {"get_support_obstacle_type", values([](auto& m) { return m.get_support_obstacle_type(); }), known, {}},
          valid("is_link_name_valid", &M::is_link_name_valid, kHand, std::string("nose")),
          valid("is_chain_name_valid", &M::is_chain_name_valid, std::string("head"), std::string("Head")),
          valid("is_tool_name_valid", &M::is_tool_name_valid, std::string("None"), std::string("hammer")),
          valid("is_frame_name_valid", &M::is_frame_name_valid, std::string("map"), std::string("odom")),
          valid("is_ee_frame_valid", &M::is_ee_frame_valid, std::string("ee_base"), std::string("EE")),
          valid("is_obstacle_type_valid", &M::is_obstacle_type_valid, std::string("mesh"), std::string("cone")),
          valid("is_chain_joint_state_valid", &M::is_chain_joint_state_valid, M::JointMap{{"left_arm", kBent}},
                M::JointMap{{"left_arm", {}}})};
}

Operations state_operations() {
  const auto whole = [](size_t fewer) {
    return [=](NorvikMotion& m, const Reachable&) {
      const auto dof = static_cast<size_t>(m.get_robot_dof());
      return name_of(dof > 0 && m.is_whole_body_state_valid(std::vector<double>(dof - fewer), false));
    };
  };
  const auto pose = [](double w) {
    return [=](NorvikMotion& m, const Reachable&) { return name_of(m.is_pose_7d_valid({0, 0, 0, 0, 0, 0, w}, false)); };
  };
  const auto replace = [](const std::string& chain) {
    return [=](NorvikMotion& m, const Reachable&) {
      std::vector<double> joints(static_cast<size_t>(m.get_robot_dof()));
      return name_of(m.replace_joint_state(chain, kBent, joints));
    };
  };
  return {
      {"is_valid", [](NorvikMotion& m, const Reachable&) { return name_of(m.is_valid()); }, local("true", "false"), {}},
      {"is_whole_body_state_valid", whole(0), local("true", "false"), whole(1), "false"},
      {"is_pose_7d_valid", pose(1.0), local("true", "true"), pose(kNan), "false"},
      {"get_robot_dof",
       [](NorvikMotion& m, const Reachable&) { return m.get_robot_dof() > 0 ? "values" : "nothing"; },
       local("values", "nothing"),
       {}},
      {"get_robot_states",
       values([](auto& m) { return m.get_robot_states().whole_body_joint; }),
       local("values", "nothing"),
       {}},
      {"get_whole_body_state",
       values([](auto& m) { return m.get_whole_body_state(); }),
       local("values", "nothing"),
       {}},
      {"get_chassis_state", values([](auto& m) { return m.get_chassis_state(); }), local("nothing", "nothing"), {}},
      {"get_chain_joint_state",
       values([](auto& m) { return m.get_chain_joint_state(); }),
       local("values", "nothing"),
       {}},
      {"get_chain_pose_state",
       values([](auto& m) { return m.get_chain_pose_state("left_arm"); }),
       local("nothing", "nothing"),
       {}},
      {"replace_joint_state", replace("left_arm"), local("true", "false"), replace("nose"), "false"},
      {"status_to_string",
       values([](auto& m) { return m.status_to_string(MotionStatus::FAULT); }),
       local("values", "values"),
       {}},
      {"resolve_jacobian_target_link",
       values([](auto& m) { return m.resolve_jacobian_target_link("left_arm", "EndEffector"); }),
       local("values", "values"),
       {}},
      {"init",
       [](NorvikMotion& m, const Reachable&) { return name_of(m.init()); },
       {"true", "", "", "", "", "", "", "", "", ""},
       {}}};
}

Operations all_operations() {
  Operations all;
  for (const Operations& family :
       {kinematic_operations(), planning_operations(), scene_operations(), name_operations(), state_operations()}) {
    all.insert(all.end(), family.begin(), family.end());
  }
  return all;
}

}  // namespace

const std::vector<MotionOperation>& motion_operations() {
  static const auto* const operations = new Operations(all_operations());
  return *operations;
}

LiveMotion::LiveMotion(const Setup& setup) : live_(setup), motion_(NorvikMotion::get_instance(setup.type)) {}

bool LiveMotion::start() {
  std::vector<double> both = kBent;
  const std::vector<double> right = mirrored(kBent);
  both.insert(both.end(), right.begin(), right.end());
  if (!live_.start() || !motion_.init()) {
    ADD_FAILURE() << "the robot or its planner did not start";
    return false;
  }
  const auto bent = live_.robot().set_joint_positions(both, {"left_arm", "right_arm"}, {}, true, 2.0, 10.0);
  EXPECT_EQ(to_text(bent), "SUCCESS");
  reachable_.present = std::get<1>(motion_.forward_kinematics(kHand));
  reachable_.other = std::get<1>(motion_.forward_kinematics(kHand, "base_link", {{"left_arm", kElsewhere}}));
  return reachable_.present.size() == 7 && reachable_.other.size() == 7;
}

}  // namespace norvik::test

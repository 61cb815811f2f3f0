// Every refusal of an argument: its status, its text, and which comes first where two apply.

#include <gtest/gtest.h>

#include <limits>

#include "fake_planner.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::MotionStatus;
using sdk::NorvikMotion;

constexpr auto kInvalid = MotionStatus::INVALID_INPUT;
const double kNan = std::numeric_limits<double>::quiet_NaN();

struct Refusal {
  std::function<MotionStatus(NorvikMotion&)> call;
  const char* text;
  MotionStatus status = kInvalid;
};

const char* const kReferenceText =
    "invalid [reference_robot_states] type, only support ROBOT_STATES type, for whole body joint.";
const char* const kTargetText = "target must not be nullptr, should be PoseType or JointStates type.";
const char* const kLegPathText =
    "leg chain not support single_chain_plan. Will support in future. use move line instead to execute leg.";

auto arm(const std::vector<double>& joints = {1, 2}) { return joint_target("left_arm", joints); }

auto with(const std::function<void(sdk::Parameter&)>& change) {
  return parameter([&](auto& options) {
    options.immediate_execute = true;
    change(options);
  });
}
auto at_once() {
  return with([](auto&) {});
}
auto line() {
  return with([](auto& options) { options.move_line = true; });
}

MotionStatus plan(NorvikMotion& m, std::shared_ptr<sdk::RobotStates> target, bool plan_path = true,
                  std::shared_ptr<sdk::Parameter> options = at_once(),
                  std::shared_ptr<sdk::RobotStates> start = nullptr,
                  std::shared_ptr<sdk::RobotStates> reference = nullptr) {
  return std::get<0>(m.motion_plan(target, start, reference, plan_path, options));
}

MotionStatus waypoints(NorvikMotion& m, std::shared_ptr<sdk::RobotStates> target, const NorvikMotion::Waypoints& points,
                       bool plan_path = false, std::shared_ptr<sdk::Parameter> options = at_once(),
                       std::shared_ptr<sdk::RobotStates> start = nullptr,
                       std::shared_ptr<sdk::RobotStates> reference = nullptr) {
  return std::get<0>(m.motion_plan_multi_waypoints(target, points, start, reference, plan_path, options));
}

MotionStatus chains(NorvikMotion& m,
                    const std::map<std::shared_ptr<sdk::RobotStates>, NorvikMotion::Waypoints>& targets,
                    bool plan_path = true, std::shared_ptr<sdk::Parameter> options = at_once(),
                    const std::vector<std::shared_ptr<sdk::RobotStates>>& starts = {},
                    std::shared_ptr<sdk::RobotStates> reference = nullptr) {
  return std::get<0>(m.motion_plan_multi_waypoints(targets, starts, reference, plan_path, options));
}

MotionStatus inverse(NorvikMotion& m, const std::vector<double>& pose, const std::vector<std::string>& names,
                     const std::string& frame = "Tool", const std::string& reference = "world",
                     const NorvikMotion::JointMap& joints = {}) {
  return std::get<0>(m.inverse_kinematics(pose, names, frame, reference, joints, true, at_once()));
}

MotionStatus limits(NorvikMotion& m, const std::function<void(sdk::MotionPlanConfig&)>& change) {
  const auto config = std::make_shared<sdk::MotionPlanConfig>();
  change(*config);
  return m.set_motion_plan_config(config);
}

MotionStatus ik_limit(NorvikMotion& m, const sdk::KinematicsBoundary& boundary) {
  return limits(m, [&](auto& config) { config.ik_joint_limit = {boundary}; });
}

const std::vector<Refusal>& refusals() {
  static const std::vector<Refusal> all{
      // motion_plan: start, reference, target, time-out, then what the request needs.
      {[](auto& m) { return plan(m, nullptr, true, at_once(), pose_target("left_arm", "map"), arm()); },
       "invalid [start] type, current version only support JOINT type, for chain joint state."},
      {[](auto& m) { return plan(m, nullptr, true, at_once(), nullptr, arm()); }, kReferenceText},
      {[](auto& m) { return plan(m, nullptr, true, nullptr); }, kTargetText},
      {[](auto& m) { return plan(m, robot_state({}, {})); }, kTargetText},
      {[](auto& m) { return plan(m, arm(), true, nullptr); }, "motion_plan: params is nullptr."},
      {[](auto& m) { return plan(m, joint_target("nose", {1})); }, "unsupport chain name: nose"},
      {[](auto& m) {
         return plan(m, joint_target("mobile_base", {1, 2}));
       },
       "unsupport chain name: mobile_base"},
      {[](auto& m) { return plan(m, arm({1})); }, "chain left_arm dof is 2, input size is 1"},
      {[](auto& m) {
         return plan(m, arm({1, kNan}));
       },
       "chain left_arm contains invalid joint value (NaN or Inf)"},
      {[](auto& m) { return plan(m, pose_target("left_arm", "nose")); }, "unsupport chain name: nose"},
      {[](auto& m) { return plan(m, pose_target("left_arm", "mobile_base")); }, "unsupport chain_name: mobile_base"},
      {[](auto& m) { return plan(m, joint_target("leg", {1})); }, kLegPathText},
      {[](auto& m) { return plan(m, joint_target("leg", {1}), false); },
       "chain_type LEG is not supported for cartesian trajectory planning."},
      {[](auto& m) { return plan(m, arm(), true, with([](auto& o) { o.actuate_type = sdk::ActuateType::type_num; })); },
       "unsupport actuate_type: 3"},
      {[](auto& m) {
         return plan(m, arm(), false, with([](auto& o) { o.actuate_type = sdk::ActuateType::type_num; }));
       },
       "actuate_type_map_ not find actuate type 3"},
      {[](auto& m) { return plan(m, arm(), true, parameter(), nullptr, robot_state({1}, {})); },
       "input joint size 1 is not equal to robot dof 6"},
      {[](auto& m) { return plan(m, arm(), false, parameter(), nullptr, robot_state({1}, {})); },
       "whole body state invalid."},
      {[](auto& m) { return plan(m, arm(), false, parameter(), nullptr, robot_state({}, {1})); },
       "start pose state invalid."},
      {[](auto& m) { return plan(m, arm(), true, parameter(), arm({1})); },
       "replace_joint_state, invalid chain joint state."},
      // Waypoints of one chain: the reference state comes before the target.
      {[](auto& m) { return waypoints(m, nullptr, {}, false, parameter(), nullptr, arm()); }, kReferenceText},
      {[](auto& m) { return waypoints(m, nullptr, {}, false, parameter(), arm()); }, kTargetText},
      {[](auto& m) { return waypoints(m, arm(), {}); }, "waypoints empty."},
      {[](auto& m) {
         return waypoints(m, arm(), {{1, 2}, {1}});
       },
       "chain state invalid."},
      {[](auto& m) { return waypoints(m, pose_target("left_arm", "map"), {{1}}); }, "pose state invalid."},
      {[](auto& m) { return waypoints(m, joint_target("nose", {}), {{1}}); }, "setupTrajectory failed."},
      {[](auto& m) {
         return waypoints(m, arm(), {{1, 2}, {1, 2}}, true);
       },
       "plan_single_chain only support waypoint size = 1, will be supported in future."},
      {[](auto& m) {
         return waypoints(m, arm(), {{1, 2}, {1, 2}}, true, line());
       },
       "plan_move_line only support waypoint size > 1, will be supported in future."},
      // Several chains.
      {[](auto& m) {
         return chains(m, {{nullptr, {}}}, true, parameter(), {}, arm());
       },
       kReferenceText},
      {[](auto& m) {
         return chains(m, {{nullptr, {}}});
       },
       kTargetText},
      {[](auto& m) {
         return chains(m, {{arm(), {{1, 2}}}, {pose_target("head", "map"), {kPose}}});
       },
       "all target type must be same."},
      {[](auto& m) {
         return chains(m, {{pose_target("left_arm", "map"), {kPose}}, {pose_target("right_arm", "world"), {kPose}}});
       },
       "all target reference_frame must be same."},
      {[](auto& m) {
         return chains(m, {{arm(), {{1, 2}}}, {arm(), {{1, 2}}}});
       },
       "chain left_arm is named by two targets."},
      {[](auto& m) {
         return chains(m, {{arm(), {{1, 2}, {1, 2}}}});
       },
       "only support single target state for each chain. Will support multi target states in future."},
      {[](auto& m) {
         return chains(m, {{arm(), {}}});
       },
       "chain left_arm dof is 2, input size is 0"},
      {[](auto& m) {
         return chains(m, {{joint_target("leg", {}), {{1}}}});
       },
       kLegPathText},
      {[](auto& m) {
         return chains(m, {{arm(), {}}}, true, line());
       },
       "Only one target state is supported for each chain"},
      {[](auto& m) { return chains(m, {}, false); }, "waypoints empty."},
      {[](auto& m) {
         return chains(m, {{arm(), {{1, 2}}}}, true, parameter(), {arm({1})});
       },
       "replace_joint_state, invalid chain joint state."},
      // An arm to a pose.
      {[](auto& m) { return m.set_end_effector_pose({1}, "left_arm", "world", nullptr, true, true, -1, nullptr); },
       "cartesian pose size must be 7."},
      {[](auto& m) { return m.set_end_effector_pose(kPose, "left_arm", "world", nullptr, true, false, 0); },
       "invalid [timeout_second] value, must be positive: 0"},
      // Collisions.
      {[](auto& m) { return std::get<0>(m.check_collision({pose_target("head", "map")})); },
       "check collision state can not be POSE type."},
      {[](auto& m) { return std::get<0>(m.check_collision({nullptr})); }, "check collision state must not be nullptr."},
      {[](auto& m) { return std::get<0>(m.check_collision({arm({1})})); }, "replace_joint_state failed."},
      {[](auto& m) { return std::get<0>(m.check_collision({robot_state({1}, {1})})); },
       "whole body state size invalid."},
      {[](auto& m) { return std::get<0>(m.check_collision({robot_state(std::vector<double>(kDof), {1})})); },
       "base state size invalid."},
      // Kinematics.
      {[](auto& m) {
         return std::get<0>(m.forward_kinematics("nose", "world", {{"nose", {}}}));
       },
       "target link is not in support links"},
      {[](auto& m) {
         return std::get<0>(m.forward_kinematics("hand_link", "world", {{"head", {}}}));
       },
       "forward_kinematic: check_chain_joint_state failed"},
      {[](auto& m) { return std::get<0>(m.forward_kinematics("hand_link", "world", {}, nullptr)); },
       "forward_kinematics: params is nullptr."},
      {[](auto& m) { return inverse(m, {1}, {"head"}); },
       "invalid chain names input,only support:\n{left_arm}, {leg},{leg, left_arm},{torso, left_arm},\n"
       "{right_arm},{leg, right_arm},{torso, right_arm},\n{leg, head},{torso, head}"},
      {[](auto& m) { return inverse(m, {1}, {"left_arm"}); }, "cartesian pose size must be 7."},
      {[](auto& m) { return inverse(m, kPose, {"left_arm"}, "nose", "base"); }, "unsupport frame name: base"},
      {[](auto& m) { return inverse(m, kPose, {"left_arm"}, "nose"); },
       "invalid frame_id: nose support frame_id: [EndEffector, Tool]"},
      {[](auto& m) {
         return std::get<0>(m.inverse_kinematics_by_state({1}, {"left_arm"}, "Tool", "world", arm(), true, at_once()));
       },
       kReferenceText},
      {[](auto& m) {
         return std::get<0>(
             m.inverse_kinematics_by_state({1}, {"left_arm"}, "Tool", "world", nullptr, true, at_once()));
       },
       "input pose size 1 is not equal to 7"},
      {[](auto& m) { return std::get<0>(m.get_jacobian("left_arm", "Tool", "world", {}, nullptr)); },
       "get_jacobian: params is nullptr."},
      {[](auto& m) {
         return std::get<0>(m.get_jacobian("nose", "Tool", "x", {}, with([](auto& o) { o.timeout = 0; })));
       },
       "Invalid [timeout_second] value, must be positive."},
      {[](auto& m) { return std::get<0>(m.get_jacobian("nose", "Tool", "x")); }, "unsupport chain name: nose"},
      {[](auto& m) { return std::get<0>(m.get_jacobian("left_arm", "Tool", "x")); }, "unsupport frame name: x"},
      {[](auto& m) { return std::get<0>(m.get_jacobian("left_arm", "Tool", "world")); },
       "jacobian: target_frame 'Tool' is not supported. The kinematic service computes the Jacobian by link name and "
       "has no tool-pose (TCP) Jacobian capability. Use 'EndEffector' or a valid URDF link name from "
       "get_support_links()."},
      {[](auto& m) { return std::get<0>(m.get_jacobian("left_arm", "nose", "world")); },
       "jacobian: target_frame 'nose' resolved to link 'nose' which is not a valid URDF link. Use 'EndEffector' or a "
       "link name from get_support_links() / get_link_names(). support_links(5)=[ base_link hand_link "
       "left_arm_end_effector_mount_link leg_end_effector_mount_link torso_base_link ]"},
      {[](auto& m) { return std::get<0>(m.get_jacobian_by_state("left_arm", "Tool", "world", arm())); },
       kReferenceText},
      {[](auto& m) { return std::get<0>(m.get_jacobian_by_state("left_arm", "Tool", "world", robot_state({1}, {}))); },
       "jacobian: check_whole_body_state failed."},
      {[](auto& m) {
         return std::get<0>(
             m.get_jacobian_by_state("left_arm", "Tool", "world", robot_state(std::vector<double>(kDof), {1})));
       },
       "jacobian: base pose size must be 7."},
      {[](auto& m) { return std::get<0>(m.get_end_effector_pose("nose", "world")); },
       "Reference frame world not found in support links."},
      {[](auto& m) { return std::get<0>(m.get_end_effector_pose("nose", "base_link")); },
       "End effector frame nose not found in support links."},
      {[](auto& m) { return std::get<0>(m.get_end_effector_pose_on_chain("nose", "x")); }, "invalid chain name: nose"},
      {[](auto& m) { return std::get<0>(m.get_end_effector_pose_on_chain("head", "x")); },
       "invalid frame_id input, only support: EndEffector, Camera"},
      {[](auto& m) { return std::get<0>(m.get_end_effector_pose("hand_link", "base_link")); },
       "Transform from hand_link to base_link failed", MotionStatus::DATA_FETCH_FAILED},
      // Scene.
      {[](auto& m) { return m.attach_tool("torso", "nose"); },
       "attach tool only support chain with [left_arm] or [right_arm]"},
      {[](auto& m) { return m.attach_tool("left_arm", "nose"); }, "unsupport tool name: nose"},
      {[](auto& m) { return m.detach_tool("torso"); }, "detach tool only support chain with [left_arm] or [right_arm]"},
      {[](auto& m) { return m.add_obstacle("b", "cone", {}); }, "unsupport simple obj type: cone"},
      {[](auto& m) { return m.add_obstacle("b", "box", {1}); }, "creat object prop failed."},
      {[](auto& m) {
         return m.add_obstacle("b", "box", kPose, {1, 1, 0});
       },
       "invalid box scale[2]: 0"},
      {[](auto& m) {
         return m.add_obstacle("b", "sphere", kPose, {kNan, 1, 0});
       },
       "invalid sphere radius: nan"},
      {[](auto& m) {
         return m.add_obstacle("b", "cylinder", kPose, {-1, 1, 0});
       },
       "invalid cylinder base_radius: -1"},
      {[](auto& m) {
         return m.add_obstacle("b", "cylinder", kPose, {1, 0, 0});
       },
       "invalid cylinder height: 0"},
      {[](auto& m) {
         return m.add_obstacle("b", "box", kPose, {1, 1, 1}, "", "nose");
       },
       "target link is not in support links"},
      {[](auto& m) {
         return m.add_obstacle("b", "box", kPose, {1, 1, 1}, "", "head", "nose");
       },
       "unsupport ee frame name: nose"},
      {[](auto& m) {
         return m.add_obstacle("b", "box", kPose, {1, 1, 1}, "", "world", "", {}, kPose);
       },
       "Please specify both reference_joint_positions and reference_base_pose parameters simultaneously"},
      {[](auto& m) { return m.add_obstacle("b", "depth_image", kPose, {}, "nose"); }, "unsupport camera type: nose"},
      {[](auto& m) { return m.attach_target_object("b", "point_cloud", {}); },
       "attach mesh to frame Robot is not support yet.", MotionStatus::UNSUPPORTED_FUNCRION},
      // Configuration.
      {[](auto& m) { return m.set_motion_plan_config(nullptr); }, "config nullptr, set failed."},
      {[](auto& m) { return limits(m, [](auto& c) { c.feasibility_boundary.resize(2); }); },
       "set_feasibility_boundary failed."},
      {[](auto& m) {
         return limits(m, [](auto& c) { c.feasibility_boundary = {{"leg", {}, {}, {}, {}, {}, {}, {}, {}}}; });
       },
       "feasibility boundary only support arm chain."},
      {[](auto& m) {
         return limits(m, [](auto& c) {
           c.feasibility_boundary = {{"left_arm", {}, {}, {}, {}, {1, 2}, {1, 1}, {}, {}}};
         });
       },
       "acceleration limit lower greater than upper at index 1, lower=2, upper=1"},
      {[](auto& m) {
         return ik_limit(m, {"leg", {1}, {1, 2}, {}, {}, {}, {}, {}, {}});
       },
       "ik joint limit lower/upper size mismatch."},
      {[](auto& m) {
         return ik_limit(m, {"leg", {1, 1}, {1, 2}, {}, {}, {}, {}, {}, {}});
       },
       "set_ik_joint_limit failed."},
      {[](auto& m) {
         return limits(m, [](auto& c) {
           c.sampler_config = std::make_shared<sdk::SamplerConfig>();
           c.sampler_config->max_planning_time = kNan;
         });
       },
       "SamplerConfig contains invalid value (NaN or Inf)"},
      {[](auto& m) {
         return limits(m, [](auto& c) {
           c.ik_solver_config = std::make_shared<sdk::IKSolverConfig>();
           c.ik_solver_config->seed_type = static_cast<sdk::IKSolverConfig::SeedType>(7);
         });
       },
       "unsupport seed_type: 7"},
  };
  return all;
}

TEST(Refusals, TellTheFirstReasonAndSendNothing) {
  SdkLogCapture log;
  FakeMotion motion;
  size_t row = 0;
  for (const Refusal& refusal : refusals()) {
    SCOPED_TRACE(std::to_string(row++) + ": " + refusal.text);
    log.clear();
    EXPECT_EQ(refusal.call(motion), refusal.status);
    EXPECT_TRUE(log.has("error", refusal.text) || log.has("info", refusal.text));
    EXPECT_TRUE(motion.plan_client->calls().empty());
    EXPECT_TRUE(motion.kinematic_client->calls().empty());
  }
}

TEST(Refusals, WithoutTheRobotsJoints) {
  SdkLogCapture log;
  FakeMotion motion;
  motion.joints_known = false;
  const std::vector<std::function<MotionStatus(NorvikMotion&)>> calls{
      [](auto& m) { return plan(m, arm(), true, parameter(), arm()); },
      [](auto& m) {
        return waypoints(m, arm(), {{1, 2}}, true, parameter(), arm());
      },
      [](auto& m) {
        return chains(m, {{arm(), {{1, 2}}}}, true, parameter(), {arm()});
      },
      [](auto& m) { return std::get<0>(m.forward_kinematics("hand_link")); },
      [](auto& m) {
        return inverse(m, kPose, {"left_arm"}, "Tool", "world", {{"left_arm", {1, 2}}});
      },
      [](auto& m) { return std::get<0>(m.get_jacobian("left_arm")); },
      [](auto& m) { return std::get<0>(m.get_jacobian_by_state("left_arm")); },
      [](auto& m) { return std::get<0>(m.check_collision({arm()})); },
  };
  for (size_t i = 0; i < calls.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(calls[i](motion), MotionStatus::DATA_FETCH_FAILED);
  }
  EXPECT_TRUE(motion.plan_client->calls().empty());
  EXPECT_TRUE(log.has_containing("error", "get_joint_positions failed or size mismatch for chain "));
}

}  // namespace
}  // namespace norvik::test

// The request of each operation as a whole message: what is set and what is absent.

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "fake_planner.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::MotionStatus;
using sdk::NorvikMotion;

const std::string kPoseText = "pose { position { x: 0.1 y: 0.2 z: 0.3 } orientation { x: 0 y: 0 z: 0 w: 1 } } ";
const std::string kBaseText = "base { pose { position { x: 1 y: 2 z: 0 } orientation { x: 0 y: 0 z: 0 w: 1 } } } ";
const std::string kWholeText = "body { joint { positions { data: [0.5, 0.5, 0.5, 0.5, 0.5, 0.5] } } } ";
// The left arm laid into the robot as it stands.
const std::string kStartText =
    "start_state { " + kBaseText + "body { joint { positions { data: [0.5, 0.5, 7, 8, 0.5, 0.5] } } } } ";
const std::string kOptions = "options { is_traj_plan { value: true } is_check_traj_validity { value: true } } ";

std::string joint_body(const char* data) { return std::string("body { joint { positions { data: ") + data + " } } }"; }

struct Case {
  const char* name;
  std::function<MotionStatus(NorvikMotion&)> call;
  std::string prefix;
  std::string expected;
};

template <typename Result>
MotionStatus first(const Result& result) {
  return std::get<0>(result);
}

auto now() {
  return parameter([](auto& options) { options.immediate_execute = true; });
}

std::vector<double> whole(double value = 0.25) { return std::vector<double>(kDof, value); }

const std::vector<Case>& cases() {
  static const std::vector<Case> all{
      {"motion_plan joints",
       [](NorvikMotion& m) {
         return first(m.motion_plan(joint_target("left_arm", {1, 2}), joint_target("right_arm", {7, 8}), nullptr, true,
                                    parameter()));
       },
       "single_chain_plan",
       "immediate_execute { value: false } motion_plan_req { actuate_type: ACTUATE_WITH_CHAIN_ONLY " + kStartText +
           "target_state { chain: left_arm chain_state { " + joint_body("[1, 2]") + " } } " + kOptions + "}"},
      {"motion_plan pose in a chain's frame, at once",
       [](NorvikMotion& m) {
         auto options = now();
         options->relative_pose = options->tool_pose = true;
         options->actuate_type = sdk::ActuateType::with_leg;
         return first(m.motion_plan(pose_target("right_arm", "head"), nullptr, nullptr, true, options));
       },
       "single_chain_plan",
       "immediate_execute { value: true } motion_plan_req { actuate_type: ACTUATE_WITH_LEG target_state { "
       "chain: right_arm chain_state { body { type: CART pose { " +
           kPoseText + "parent_frame { chain_frame { chain: head } } is_relative: true is_tool_pose: true } } } } " +
           kOptions + "}"},
      {"motion_plan line of the leg wins over plan_path",
       [](NorvikMotion& m) {
         auto options = now();
         options->move_line = true;
         return first(m.motion_plan(joint_target("leg", {1}), nullptr, nullptr, false, options));
       },
       "move_line",
       "immediate_execute { value: true } move_line { target_state { chain: leg chain_state { " + joint_body("[1]") +
           " } } options { is_traj_plan { value: true } is_check_traj_validity { value: false } } }"},
      {"motion_plan through one waypoint marks the base",
       [](NorvikMotion& m) {
         return first(m.motion_plan(pose_target("left_arm", "map"), nullptr,
                                    robot_state(std::vector<double>(kDof, 0.5), {1, 2, 0, 0, 0, 0, 1}), false,
                                    parameter()));
       },
       "move_waypoint_with_single_chain",
       "immediate_execute { value: false } mul_point_req { start_state { base { map_frame: BASE pose { position { x: 1 "
       "y: 2 z: 0 } orientation { x: 0 y: 0 z: 0 w: 1 } } } " +
           kWholeText + "} target_state { trajectories { chain: left_arm poses { " + kPoseText +
           "parent_frame { map_frame: WORLD } } } } " + kOptions + "}"},
      {"waypoints of one chain",
       [](NorvikMotion& m) {
         return first(m.motion_plan_multi_waypoints(joint_target("left_arm", {}), {{1, 2}, {3, 4}}, nullptr, nullptr,
                                                    false, now()));
       },
       "move_waypoint_with_single_chain",
       "immediate_execute { value: true } mul_point_req { target_state { trajectories { chain: left_arm joints { "
       "positions { data: [1, 2] } } joints { positions { data: [3, 4] } } } } " +
           kOptions + "}"},
      {"paths of several chains",
       [](NorvikMotion& m) {
         return first(m.motion_plan_multi_waypoints(
             {{joint_target("left_arm", {}), {{1, 2}}}, {joint_target("right_arm", {}), {{3, 4}}}},
             {joint_target("left_arm", {7, 8})}, nullptr, true, parameter()));
       },
       "single_chain_plan",
       "immediate_execute { value: false } motion_plan_req { " + kStartText +
           "target_state { chain: left_arm chain_state { " + joint_body("[1, 2]") +
           " } } target_state { chain: right_arm chain_state { " + joint_body("[3, 4]") + " } } " + kOptions + "}"},
      {"lines of several chains have no options",
       [](NorvikMotion& m) {
         auto options = parameter([](auto& o) { o.move_line = true; });
         return first(m.motion_plan_multi_waypoints({{pose_target("left_arm", "base_link"), {kPose}}},
                                                    {joint_target("left_arm", {7, 8})}, nullptr, true, options));
       },
       "move_line",
       "immediate_execute { value: false } move_line { " + kStartText +
           "target_state { chain: left_arm chain_state { body { type: CART pose { " + kPoseText +
           "parent_frame { map_frame: BASE } } } } } }"},
      {"waypoints of several chains leave the base unmarked",
       [](NorvikMotion& m) {
         return first(m.motion_plan_multi_waypoints({{joint_target("left_arm", {}), {{1, 2}}}},
                                                    {joint_target("left_arm", {7, 8})}, nullptr, false, parameter()));
       },
       "move_waypoint_with_single_chain",
       "immediate_execute { value: false } mul_point_req { " + kStartText +
           "target_state { trajectories { chain: left_arm joints { positions { data: [1, 2] } } } } " + kOptions + "}"},
      {"set_end_effector_pose",
       [](NorvikMotion& m) {
         return m.set_end_effector_pose(kPose, "left_arm_end_effector", "world", robot_state(whole(), kPose));
       },
       "single_chain_plan",
       "immediate_execute { value: true } motion_plan_req { target_state { chain: left_arm chain_state { body { type: "
       "CART pose { " +
           kPoseText + "parent_frame { map_frame: WORLD } } } } } " + kOptions + "}"},
      {"check_collision",
       [](NorvikMotion& m) {
         return first(m.check_collision({joint_target("left_arm", {7, 8}), robot_state(whole(0.5), kPose)}));
       },
       "check_collision",
       "check_collision { robot_state { " + kBaseText +
           "body { joint { positions { data: [0.5, 0.5, 7, 8, 0.5, 0.5] } } } } robot_state { base { " + kPoseText +
           "} " + kWholeText + "} is_check_once: [true, true] is_log: [true, true] }"},
      {"forward_kinematics",
       [](NorvikMotion& m) {
         return first(m.forward_kinematics("hand_link", "map", {{"head", {3}}}));
       },
       "planner_forward_kinematic",
       "forward_kinematics { link_names: 'hand_link' robot_state { " + joint_body("[0.5, 3, 0.5, 0.5, 0.5, 0.5]") +
           " } parent_frame: WORLD }"},
      {"forward_kinematics_by_state without a state",
       [](NorvikMotion& m) { return first(m.forward_kinematics_by_state("hand_link")); }, "planner_forward_kinematic",
       "forward_kinematics { link_names: 'hand_link' parent_frame: BASE }"},
      {"inverse_kinematics of a tool",
       [](NorvikMotion& m) {
         return first(m.inverse_kinematics(kPose, {"left_arm", "leg"}, "Tool", "world", {{"left_arm", {7, 8}}}, true,
                                           parameter()));
       },
       "planner_inverse_kinematic",
       "inverse_kinematics { chain: left_arm actuate_type: ACTUATE_WITH_LEG is_check_collision: true start_state { "
       "body { joint { positions { data: [0.5, 0.5, 7, 8, 0.5, 0.5] } } } } target_state { body { type: CART pose { " +
           kPoseText + "parent_frame { map_frame: WORLD } is_tool_pose: true } } } }"},
      {"inverse_kinematics_by_state drops half a state",
       [](NorvikMotion& m) {
         return first(m.inverse_kinematics_by_state(kPose, {"head", "torso"}, "head_end_effector_mount_link",
                                                    "base_link", robot_state(whole(), {}), false, parameter()));
       },
       "planner_inverse_kinematic",
       "inverse_kinematics { chain: head actuate_type: ACTUATE_WITH_TORSO target_state { body { type: CART pose { " +
           kPoseText + "parent_frame { map_frame: BASE } } } } }"},
      {"inverse_kinematics_by_state",
       [](NorvikMotion& m) {
         return first(m.inverse_kinematics_by_state(kPose, {"right_arm"}, "EndEffector", "base_link",
                                                    robot_state(whole(0.5), kPose), false, parameter()));
       },
       "planner_inverse_kinematic",
       "inverse_kinematics { chain: right_arm start_state { base { " + kPoseText + "} " + kWholeText +
           "} target_state { body { type: CART pose { " + kPoseText + "parent_frame { map_frame: BASE } } } } }"},
      {"attach_tool", [](NorvikMotion& m) { return m.attach_tool("left_arm", "suction_cup"); }, "attach_tool",
       "common_request { attach_tool { chain_name: 'left_arm' tool_name: 'suction_cup' } }"},
      {"detach_tool", [](NorvikMotion& m) { return m.detach_tool("right_arm"); }, "detach_tool",
       "common_request { detach_tool { chain_name: 'right_arm' } }"},
      {"add_obstacle box in a chain's frame",
       [](NorvikMotion& m) {
         return m.add_obstacle("b", "box", kPose, {1, 2, 3}, "", "left_arm", "Camera_Base", whole(0.5), kPose,
                               {"hand_link"}, 0.5);
       },
       "attach_obj_to_map",
       "common_request { build_collision_object { object_config { frame_prop { object_name: 'b' parent_frame { "
       "chain_frame { chain: left_arm frame_type: CAMERA_BASE } } object_" +
           kPoseText + "} robot_state { base { " + kPoseText + "} " + kWholeText +
           "} ignore_collision_link_names: 'hand_link' safe_margin: 0.5 } simple_object_req { simple_object { type: "
           "BOX "
           "box { length: 1 width: 2 height: 3 } } } } }"},
      {"attach_target_object sphere on a link",
       [](NorvikMotion& m) {
         return m.attach_target_object("s", "sphere", kPose, {0.5, 0, 0}, "", "hand_link");
       },
       "attach_obj_to_robot",
       "common_request { attach_collision_object { object_config { frame_prop { object_name: 's' parent_frame { "
       "parent_link_name: 'hand_link' } object_" +
           kPoseText + "} } simple_object { simple_object { type: SPHERE sphere { radius: 0.5 } } } } }"},
      {"add_obstacle cylinder",
       [](NorvikMotion& m) {
         return m.add_obstacle("c", "cylinder", kPose, {0.5, 2, 0}, "", "world");
       },
       "attach_obj_to_map",
       "common_request { build_collision_object { object_config { frame_prop { object_name: 'c' parent_frame { "
       "map_frame: WORLD } object_" +
           kPoseText +
           "} } simple_object_req { simple_object { type: CYLINDER cylinder { base_radius: 0.5 height: 2 } } } } }"},
      {"add_obstacle mesh", [](NorvikMotion& m) { return m.add_obstacle("m", "mesh", kPose, {}, "/a.stl"); },
       "attach_obj_to_map",
       "common_request { build_collision_object { object_config { frame_prop { object_name: 'm' parent_frame { "
       "map_frame: BASE } object_" +
           kPoseText + "} } mesh_req { object_file_path: '/a.stl' } } }"},
      {"add_obstacle point cloud",
       [](NorvikMotion& m) {
         return m.add_obstacle("p", "point_cloud", kPose, {}, "/a.pcd", "base_link", "", {}, {}, {}, 0, 0.02);
       },
       "attach_obj_to_map",
       "common_request { build_collision_object { object_config { frame_prop { object_name: 'p' parent_frame { "
       "map_frame: BASE } object_" +
           kPoseText + "} } pcd_req { point_cloud_params { pcd_file_path: '/a.pcd' resolution: 0.02 } } } }"},
      {"add_obstacle depth image",
       [](NorvikMotion& m) { return m.add_obstacle("d", "depth_image", kPose, {}, "front_head"); }, "attach_obj_to_map",
       "common_request { build_collision_object { object_config { frame_prop { object_name: 'd' parent_frame { "
       "map_frame: BASE } object_" +
           kPoseText + "} } depth_image_req { depth_image_params { camera_type: FRONT_HEAD resolution: 0.01 } } } }"},
      {"remove_obstacle", [](NorvikMotion& m) { return m.remove_obstacle("x"); }, "remove_obj_from_map",
       "common_request { remove_collision_object { object_name: 'x' } }"},
      {"detach_target_object", [](NorvikMotion& m) { return m.detach_target_object("x"); }, "remove_obj_from_robot",
       "common_request { remove_collision_object { object_name: 'x' } }"},
      {"clear_obstacle", [](NorvikMotion& m) { return m.clear_obstacle(); }, "remove_obj_from_map",
       "common_request { remove_collision_object { is_remove_all: true } }"},
      {"set_motion_plan_config, nothing",
       [](NorvikMotion& m) { return m.set_motion_plan_config(std::make_shared<sdk::MotionPlanConfig>()); },
       "set_motion_config", "config_setting_req { }"},
      {"set_motion_plan_config, everything",
       [](NorvikMotion& m) {
         const auto config = std::make_shared<sdk::MotionPlanConfig>();
         config->sampler_config = std::make_shared<sdk::SamplerConfig>();
         config->sampler_config->state_check_type = sdk::SamplerConfig::StateCheckType::RADIAN_DISTANCE;
         config->sampler_config->termination_condition_type =
             sdk::SamplerConfig::TerminationConditionType::TIMEOUT_AND_EXACT_SOLUTION;
         config->trajectory_plan_config = std::make_shared<sdk::TrajectoryPlanConfig>();
         config->ik_solver_config = std::make_shared<sdk::IKSolverConfig>();
         config->ik_solver_config->seed_type = sdk::IKSolverConfig::SeedType::USER_DEFINED_SEED;
         config->ik_solver_config->rotation_eps = {1, 2, 3};
         config->collision_check_option = std::make_shared<sdk::CollisionCheckOption>();
         config->collision_check_option->disable_env_collision_check = true;
         config->trajectory_feasibility_check_option = std::make_shared<sdk::TrajectoryFeasibilityCheckOption>();
         config->trajectory_feasibility_check_option->disable_joint_limit_check = true;
         config->line_traj_check_primitive = std::make_shared<sdk::LineTrajCheckPrimitive>();
         config->line_traj_check_primitive->line_check_primitive_type =
             sdk::LineTrajCheckPrimitive::PrimitiveType::CYLINDER;
         config->feasibility_boundary = {{"left_arm", {}, {}, {-1, -1}, {1, -1}, {}, {2, 2}, {-3, -3}, {3, 3}}};
         config->ik_joint_limit = {{"leg", {-1}, {1}, {}, {}, {}, {}, {}, {}}};
         config->sampler_joint_limit = {{"head", {}, {}, {}, {}, {}, {}, {}, {}}};
         return m.set_motion_plan_config(config);
       },
       "set_motion_config",
       "config_setting_req { set_planner_config { planner_config { state_check_type: RADIAN_DISTANCE "
       "state_check_resolution: 0.01 max_simplification_time: -1 termination_condition_type: TimeoutAndExactSolution "
       "max_planning_time: 2 } } set_traj_planner_prop { traj_planner_prop { min_move_time { } "
       "move_line_intermidiate_point { value: 50 } way_point_plan_expected_time { value: 0.5 } } } set_ik_config { "
       "ik_solver_config { col_aware_ik_timeout: 10 seed_type: USER_DEFINED_SEED col_aware_ik_joint_limit_bias: 0.001 "
       "translation_eps { } rotation_eps { x: 1 y: 2 z: 3 } } } set_ik_soft_limit { chain: leg soft_lower_limit { "
       "data: -1 } soft_upper_limit { data: 1 } } refresh_ik_soft_limit: true set_collision_check_option { "
       "disable_env_collision_check: true } set_traj_valid_check_option { disable_joint_limit_check: true } "
       "set_feasibility_bound { chain: left_arm soft_vel_lower_limit { data: [-1, -1] } soft_vel_upper_limit { data: "
       "[1, -1] } soft_jerk_lower_limit { data: [-3, -3] } soft_jerk_upper_limit { data: [3, 3] } } "
       "set_line_check_primitive { line_check_primitive_type: CYLINDER } }"},
  };
  return all;
}

TEST(Requests, OfEachOperationAreWhole) {
  for (const Case& row : cases()) {
    SCOPED_TRACE(row.name);
    SdkLogCapture log;
    FakeMotion motion;
    row.call(motion);
    ASSERT_EQ(motion.plan_client->calls().size(), 1U);
    const auto call = motion.plan_client->calls().front();
    EXPECT_EQ(call.timeout, std::chrono::seconds(5));
    EXPECT_THAT(call.request.task_id(), ::testing::MatchesRegex(row.prefix + "-[0-9]+-[0-9]+-0"));
    PlanServerRequest expected;
    ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(row.expected, &expected));
    expected.set_task_id(call.request.task_id());
    google::protobuf::util::MessageDifferencer differ;
    std::string difference;
    differ.ReportDifferencesToString(&difference);
    EXPECT_TRUE(differ.Compare(expected, call.request)) << difference;
    if (call.request.common_request().has_build_collision_object()) {  // Told whole, with the id of the task.
      const char* const kinds[] = {"add geom: ", "add mesh: ", "add point cloud: ", "add depth: "};
      EXPECT_TRUE(std::any_of(std::begin(kinds), std::end(kinds),
                              [&](const char* kind) { return log.has("info", kind + call.request.DebugString()); }));
    }
  }
}

TEST(Requests, JacobianGoesStraightToItsService) {
  FakeMotion motion;
  motion.api().get_jacobian("left_arm", "EndEffector", "world", {{"left_arm", {7, 8}}});
  ASSERT_EQ(motion.kinematic_client->calls().size(), 1U);
  const auto request = motion.kinematic_client->calls().front().request;
  kelvorn_proto::KinematicRequest expected;
  ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(
      "jacobian_req { link_names: 'left_arm_end_effector_mount_link' robot_state { " + kBaseText +
          "body { joint { positions { data: [0.5, 0.5, 7, 8, 0.5, 0.5] } } } } parent_frame: WORLD }",
      &expected));
  EXPECT_THAT(request.task_id(), ::testing::StartsWith("planner_jacobian-"));
  expected.set_task_id(request.task_id());
  EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(expected, request)) << request.DebugString();
  EXPECT_TRUE(motion.plan_client->calls().empty());
}

TEST(Requests, WriteIntoTheCallersParameter) {
  FakeMotion motion;
  const auto options = parameter();
  motion.api().motion_plan(joint_target("left_arm", {1, 2}), nullptr, nullptr, false, options);
  EXPECT_FALSE(options->plan_path);
  motion.api().inverse_kinematics(kPose, {"torso", "right_arm"}, "EndEffector", "base_link", {}, true, options);
  EXPECT_EQ(options->actuate_type, sdk::ActuateType::with_torso);
}

}  // namespace
}  // namespace norvik::test

#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/motion_plan_config.hpp>
#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// Motion planning, kinematics and the planning scene. One object per robot model and process:
//
//   auto& motion = norvik::sdk::NorvikMotion::get_instance(norvik::sdk::MachineType::K2);
//   if (!motion.init()) return 1;
//   auto target = std::make_shared<norvik::sdk::JointStates>();
//   target->chain = "left_arm";
//   target->joint_positions = {0.3, -0.4, 0.0, -1.2, 0.0, 0.0, 0.0};
//   const auto [status, path] = motion.motion_plan(target);
//
// All computing is done by the motion planning service of the robot. Rules that hold for every operation unless its
// comment says otherwise:
//  - Lengths are metres, angles radians, durations seconds. A pose as numbers is [x, y, z, qx, qy, qz, qw] with a unit
//    quaternion (squared norm within 0.01 of 1).
//  - Nothing throws. A failure is a status, false or an empty result, and one record in the log that gives the reason.
//  - Any thread may call, several at once; the service works off one request after the other. `init` is for one thread.
//  - The robot's own joints are read through NorvikRobot, the pose of its base through the navigation facade: what
//  needs
//    them fails with DATA_FETCH_FAILED, INVALID_INPUT or an empty result while that facade has not been initialised.
//  - A chain is one of get_support_chains(), such as "left_arm", "right_arm", "head", "leg", "torso". A chain's joints
//    and the whole-body vector (get_robot_dof() values) are in the order of the service.
//
// Results of requests to the service: SUCCESS; INVALID_INPUT (an argument, nothing was sent); INIT_FAILED (no
// successful init(), or the service reports that it could not start); TIMEOUT (the service was not ready, or not done,
// in time); PUBLISH_FAIL (the service did not confirm the request within 5 s); FAULT (the service ended the task
// without success). They block up to the `timeout` of their parameter, and for the confirmation up to 5 s more if that
// is late. A shutdown of the process ends all waits at once.
//
// An operation without a Parameter argument of the caller's uses `default_param`, one object for the process.
// motion_plan() and its kin write into the parameter that they are given (`plan_path`, the inverse kinematics
// `actuate_type`), also into that one: the last writer wins. The library's own accesses to parameters are serialised;
// an application that changes a parameter while other threads plan with it gives each thread its own.
class NORVIK_SDK_EXPORT NorvikMotion {
 public:
  using JointMap = std::unordered_map<std::string, std::vector<double>>;  // joint values by chain
  using Waypoints = std::vector<std::vector<double>>;                     // one pose or joint vector per point
  // Joint positions of each point, by joint group. A planned path carries no times and no velocities: choose them when
  // executing it, for instance as `time_from_start` of a Trajectory for NorvikRobot::execute_joint_trajectory().
  using PlannedPath = std::unordered_map<std::string, std::vector<std::vector<double>>>;
  using PlanResult = std::tuple<MotionStatus, PlannedPath>;

  // The object of the given model; made at the first request, lives until the process exits. A value outside
  // MachineType is logged as an error and gives the K2 object. Does not communicate. Safe from any thread.
  static NorvikMotion& get_instance(MachineType machine_type);

  virtual ~NorvikMotion() = default;

  // Opens the log and the channels to the planning service, waits until the service has started and reads its names and
  // tables; before anything else. False when a channel could not be opened or the service did not start in 10 s: that
  // is final for this process. A second call after a success reads the tables anew. Blocks up to 30 s without a
  // service, and up to 70 s with one that does not answer.
  virtual bool init() = 0;

  // Whether init() has succeeded. Does not block.
  virtual bool is_valid() const = 0;

  // ---- Kinematics ----

  // Pose of `target_link` in `reference_frame` ("world", "map"; anything else means the base).
  //   joint_state  joints of some chains; all others, and all if it is empty, stand as they do now.
  // The pose is empty in failure. Requests of the service; DATA_FETCH_FAILED when the joints cannot be read.
  virtual std::tuple<MotionStatus, std::vector<double>> forward_kinematics(
      const std::string& target_link, const std::string& reference_frame = "base_link",
      const JointMap& joint_state = {}, std::shared_ptr<Parameter> parameter = default_param) = 0;

  // The same for a whole state; without one, or where its vectors are empty, the service uses the robot's own.
  virtual std::tuple<MotionStatus, std::vector<double>> forward_kinematics_by_state(
      const std::string& target_link, std::shared_ptr<RobotStates> state = nullptr,
      const std::string& reference_frame = "base_link", std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Joints with which an end effector takes a pose.
  //   pose             in `reference_frame`: "world", "map", "base_link".
  //   chain_names      which chains may move, in any order: {left_arm}, {right_arm}, {leg}, {leg, left_arm},
  //                    {torso, left_arm}, {leg, right_arm}, {torso, right_arm}, {leg, head}, {torso, head}.
  //   target_frame     "EndEffector", or "Tool" for the tip of the attached tool.
  //   joint_state      start of the search for some chains.
  //   check_collision  accept only solutions that collide with nothing.
  // Joint values by chain, empty in failure. Writes `actuate_type` of the parameter. Requests of the service;
  // DATA_FETCH_FAILED when joints are given and the robot's cannot be read.
  virtual std::tuple<MotionStatus, JointMap> inverse_kinematics(
      const std::vector<double>& pose, const std::vector<std::string>& chain_names,
      const std::string& target_frame = "EndEffector", const std::string& reference_frame = "base_link",
      const JointMap& joint_state = {}, bool check_collision = true,
      std::shared_ptr<Parameter> parameter = default_param) = 0;

  // The same with a whole state (exactly a RobotStates) as the start; it counts if it has both joints and base.
  virtual std::tuple<MotionStatus, JointMap> inverse_kinematics_by_state(
      const std::vector<double>& pose, const std::vector<std::string>& chain_names,
      const std::string& target_frame = "EndEffector", const std::string& reference_frame = "base_link",
      std::shared_ptr<RobotStates> state = nullptr, bool check_collision = true,
      std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Jacobian of a chain: six rows (linear, then angular velocity), one column for each joint.
  //   target_frame     "EndEffector" or a link of get_link_names(); "Tool" is refused.
  //   reference_frame  "world", "map", "base_link".
  //   joint_state      joints of some chains; the others stand as they do now.
  // Empty in failure: INVALID_INPUT, INIT_FAILED, COMM_DISCONNECTED (no kinematic service), DATA_FETCH_FAILED, TIMEOUT,
  // FAULT. The answer is waited for up to 5 s, whatever the parameter says.
  virtual std::tuple<MotionStatus, std::vector<std::vector<double>>> get_jacobian(
      const std::string& chain, const std::string& target_frame = "EndEffector",
      const std::string& reference_frame = "base_link", const JointMap& joint_state = {},
      std::shared_ptr<Parameter> parameter = default_param) = 0;

  // The same for a whole state (exactly a RobotStates); what it lacks is read from the robot.
  virtual std::tuple<MotionStatus, std::vector<std::vector<double>>> get_jacobian_by_state(
      const std::string& chain, const std::string& target_frame = "EndEffector",
      const std::string& reference_frame = "base_link", std::shared_ptr<RobotStates> state = nullptr,
      std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Present pose of one link in another, both of get_support_links(), from the robot's transforms. Empty in failure:
  // INVALID_INPUT, INIT_FAILED, DATA_FETCH_FAILED (no such transform). Waits for the transform up to 100 ms; asking for
  // the links takes up to 15 s when the service is busy.
  virtual std::tuple<MotionStatus, std::vector<double>> get_end_effector_pose(
      const std::string& end_effector_frame, const std::string& reference_frame = "base_link") = 0;

  // The same for the "EndEffector" or the "Camera" of a chain.
  virtual std::tuple<MotionStatus, std::vector<double>> get_end_effector_pose_on_chain(
      const std::string& chain, std::string frame_id = "EndEffector",
      const std::string& reference_frame = "base_link") = 0;

  // ---- Planning ----

  // Plans and at once executes a motion of an arm to a pose.
  //   pose             in `reference_frame`: "world", "map", "base_link" or a chain.
  //   end_effector     a chain, or its name with "_end_effector" behind it.
  //   reference_state  not used; nor is the bool behind it.
  //   blocking         waits for the end. Otherwise SUCCESS means that a background task has begun; its outcome is
  //                    logged only, and there is one at a time: IN_PROGRESS while it runs. An exit or a shutdown ends
  //                    it.
  //   timeout          replaces that of `parameter` unless it is negative.
  // Requests of the service.
  virtual MotionStatus set_end_effector_pose(const std::vector<double>& pose, const std::string& end_effector,
                                             const std::string& reference_frame = "base_link",
                                             std::shared_ptr<RobotStates> reference_state = nullptr,
                                             bool check_collision = true, bool blocking = true, double timeout = -1.0,
                                             std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Plans a motion of one chain; executes it if `parameter->immediate_execute`.
  //   target     a JointStates or a PoseState: its chain, and what it is to reach.
  //   start      a JointStates: where its chain starts; the rest of the robot as it stands. Empty: as it stands.
  //   reference  a RobotStates: where the whole robot starts; wins over `start`. Neither counts with immediate_execute.
  //   plan_path  a collision-free path (true; not for the leg), or a move to the target as one waypoint. Written into
  //              the parameter. A parameter with `move_line` asks for a straight line and wins.
  // The path is empty in failure. Requests of the service; DATA_FETCH_FAILED when the robot's joints cannot be read.
  virtual PlanResult motion_plan(std::shared_ptr<RobotStates> target, std::shared_ptr<RobotStates> start = nullptr,
                                 std::shared_ptr<RobotStates> reference = nullptr, bool plan_path = true,
                                 std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Plans through waypoints. `target` tells the chain, whether the points are joints or poses, and the frame; its own
  // values are not planned to. With `plan_path`, or `move_line` in the parameter, exactly one waypoint is accepted.
  virtual PlanResult motion_plan_multi_waypoints(std::shared_ptr<RobotStates> target, const Waypoints& waypoints,
                                                 std::shared_ptr<RobotStates> start = nullptr,
                                                 std::shared_ptr<RobotStates> reference = nullptr,
                                                 bool plan_path = false,
                                                 std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Plans several chains at once. Each target names its chain, which no other target may name; all are of one kind and,
  // as poses, in one frame.
  virtual PlanResult motion_plan_multi_waypoints(const std::map<std::shared_ptr<RobotStates>, Waypoints>& targets,
                                                 const std::vector<std::shared_ptr<RobotStates>>& starts = {},
                                                 std::shared_ptr<RobotStates> reference = nullptr,
                                                 bool plan_path = false,
                                                 std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Drives the robot to its zero posture: leg or torso together with the head, then the left arm, then the right arm.
  //   blocking, speed  of the first of these motions; rad/s, above 0.
  //   timeout          of the first motion, seconds. That of `parameter` holds for each arm and is above 0.
  // An empty parameter stands for `default_param`, and none is written to. INVALID_INPUT also when NorvikRobot has not
  // been initialised; else requests of the service.
  virtual MotionStatus move_whole_body_joint_zero(bool blocking = true, double speed = 0.2, double timeout = 15.0,
                                                  std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Whether the robot would collide in each of the states: RobotStates, or JointStates for one chain with the rest as
  // it stands. A missing base pose is read. One bool for each state, empty in failure. The bool argument is not used.
  // Requests of the service; DATA_FETCH_FAILED when the robot's joints cannot be read.
  virtual std::tuple<MotionStatus, std::vector<bool>> check_collision(
      const std::vector<std::shared_ptr<RobotStates>>& states, bool check_once = true,
      std::shared_ptr<Parameter> parameter = default_param) = 0;

  // ---- Scene; requests of the service with a time-out of 20 s ----

  // Tells the service which tool ("None" for none) is on "left_arm" or "right_arm".
  virtual MotionStatus attach_tool(const std::string& chain, const std::string& tool) = 0;
  virtual MotionStatus detach_tool(const std::string& chain) = 0;

  // Adds an object to the environment.
  //   object_type    "box" (scale: length, width, height), "sphere" (scale[0]: radius), "cylinder" (scale[0]: radius,
  //                  scale[1]: height), "mesh" and "point_cloud" (key: a file on the robot), "depth_image" (key: camera
  //                  "front_head", "left_arm" or "right_arm").
  //   pose           in `parent_frame`: "world", "map", "base_link", a link, or a chain with `ee_frame` ("ee_base",
  //                  "camera_base", "camera_object"; any case).
  //   reference_...  whole-body joints and base pose at which the pose was told: both or neither.
  //   ignore_links   links that may touch the object.
  //   safe_margin    metres around it.
  //   resolution     metres, of point clouds and depth images.
  virtual MotionStatus add_obstacle(const std::string& object_id, const std::string& object_type,
                                    const std::vector<double>& pose, const std::array<double, 3>& scale = {},
                                    const std::string& key = "", const std::string& parent_frame = "base_link",
                                    const std::string& ee_frame = "ee_base",
                                    const std::vector<double>& reference_joint_positions = {},
                                    const std::vector<double>& reference_base_pose = {},
                                    const std::vector<std::string>& ignore_links = {}, double safe_margin = 0.0,
                                    double resolution = 0.01) = 0;

  // Removes one object; of an unknown one the service decides.
  virtual MotionStatus remove_obstacle(const std::string& object_id) = 0;
  virtual MotionStatus clear_obstacle() = 0;

  // The same for an object that the robot holds. Meshes, point clouds and depth images: UNSUPPORTED_FUNCRION.
  virtual MotionStatus attach_target_object(const std::string& object_id, const std::string& object_type,
                                            const std::vector<double>& pose, const std::array<double, 3>& scale = {},
                                            const std::string& key = "", const std::string& parent_frame = "base_link",
                                            const std::string& ee_frame = "ee_base",
                                            const std::vector<double>& reference_joint_positions = {},
                                            const std::vector<double>& reference_base_pose = {},
                                            const std::vector<std::string>& ignore_links = {}, double safe_margin = 0.0,
                                            double resolution = 0.01) = 0;
  virtual MotionStatus detach_target_object(const std::string& object_id) = 0;

  // ---- Configuration ----

  // Changes settings of the service, all in one request with a time-out of 20 s. Leave empty what is to stay: a
  // configuration that was read holds limits of every chain, and a request carries those of one.
  virtual MotionStatus set_motion_plan_config(std::shared_ptr<MotionPlanConfig> config) = 0;

  // The configuration that the service reported last. DATA_FETCH_FAILED, with an empty record, when that was never or
  // more than 3 s ago. A change shows with the service's next report. Does not block.
  virtual std::tuple<MotionStatus, MotionPlanConfig> get_motion_plan_config() = 0;

  // ---- Names ----

  // Links that the service knows, or only those of end effectors. Empty in failure. Blocks up to 15 s.
  virtual std::vector<std::string> get_link_names(bool only_end_effector = false) = 0;

  // What the service supports; links, chains and tools are asked for anew, which blocks up to 15 s, and are those of
  // the last answer without one.
  virtual std::set<std::string> get_support_links() = 0;
  virtual std::set<std::string> get_support_chains() = 0;
  virtual std::set<std::string> get_support_frame() = 0;
  virtual std::set<std::string> get_support_ee_frame() = 0;
  virtual std::set<std::string> get_support_tool_list() = 0;
  virtual std::set<std::string> get_support_obstacle_type() = 0;

  // Objects of the environment as the service last reported them (does not block), and objects on the robot (asks the
  // service, blocks up to 15 s).
  virtual std::vector<std::string> get_built_object_list() = 0;
  virtual std::vector<std::string> get_attached_object_list() = 0;

  // Whether a value is acceptable to this robot, by what the service told init(); before that nothing is known. With
  // `throw_on_error` a refusal is thrown as std::invalid_argument with the reason; these are the only operations that
  // throw. None blocks.
  virtual bool is_link_name_valid(const std::string& link, bool throw_on_error = false) const = 0;
  virtual bool is_chain_name_valid(const std::string& chain, bool throw_on_error = false) const = 0;
  virtual bool is_frame_name_valid(const std::string& frame, bool throw_on_error = false) const = 0;
  virtual bool is_ee_frame_valid(const std::string& ee_frame, bool throw_on_error = false) const = 0;
  virtual bool is_tool_name_valid(const std::string& tool, bool throw_on_error = false) const = 0;
  virtual bool is_obstacle_type_valid(const std::string& object_type, bool throw_on_error = false) const = 0;
  virtual bool is_whole_body_state_valid(const std::vector<double>& state, bool throw_on_error = false) const = 0;
  virtual bool is_pose_7d_valid(const std::vector<double>& pose, bool throw_on_error = false) const = 0;
  virtual bool is_chain_joint_state_valid(const JointMap& joint_state, bool throw_on_error = false) const = 0;

  // ---- State; none of these blocks ----

  // Number of joints of the whole body; 0 before init().
  virtual int32_t get_robot_dof() const = 0;

  // Whole-body joints and base pose as they are now. A vector is empty when it cannot be read.
  virtual RobotStates get_robot_states() = 0;
  virtual std::vector<double> get_whole_body_state() = 0;
  virtual std::vector<double> get_chassis_state() = 0;

  // Joints by chain, empty when those of one chain cannot be read. R5 leaves the chain "leg" out.
  virtual JointMap get_chain_joint_state() = 0;

  // Always empty: poses come from get_end_effector_pose_on_chain().
  virtual JointMap get_chain_pose_state(const std::string& chain) = 0;

  // Puts a chain's joints into a whole-body vector. False, with nothing changed, for an unknown chain or a wrong size.
  virtual bool replace_joint_state(const std::string& chain, const std::vector<double>& joint_values,
                                   std::vector<double>& whole_body) = 0;

  // Readable text of a status; empty for a value that is none.
  virtual std::string status_to_string(MotionStatus status) const = 0;

  // The link whose Jacobian get_jacobian() asks for; empty for "Tool".
  virtual std::string resolve_jacobian_target_link(const std::string& chain, const std::string& target_frame) const = 0;
};

}  // namespace norvik::sdk

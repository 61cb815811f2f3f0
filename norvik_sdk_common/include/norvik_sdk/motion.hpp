#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/export.hpp>

namespace norvik::sdk {

// Position in metres and orientation as a unit quaternion. As seven numbers a pose always has this order.
struct Pose {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double qx = 0.0;
  double qy = 0.0;
  double qz = 0.0;
  double qw = 1.0;
};

// State of the robot for planning; also the base of the two kinds of target. The kinds are told apart by get_type().
class NORVIK_SDK_EXPORT RobotStates {
 public:
  virtual ~RobotStates() = default;
  virtual int32_t get_type() const { return 2; }  // ROBOT_STATES

  std::string chain;                     // joint chain or group the state speaks of, such as "left_arm"
  std::vector<double> whole_body_joint;  // joints of the whole body, radians
  std::vector<double> base_state;        // pose of the base, seven numbers
};

// Target in joint space.
class NORVIK_SDK_EXPORT JointStates : public RobotStates {
 public:
  int32_t get_type() const override { return 1; }  // JOINT

  std::vector<double> joint_positions;  // joints of `chain`, radians
};

// Target in Cartesian space.
class NORVIK_SDK_EXPORT PoseState : public RobotStates {
 public:
  int32_t get_type() const override { return 0; }  // POSE

  std::string frame_id;         // the frame that is to take the pose
  std::string reference_frame;  // the frame the pose is told in: "world", "map", "base_link" or a chain
  Pose pose;
};

// How much of the body a planning operation may move.
enum class ActuateType : int32_t { with_chain_only = 0, with_torso = 1, with_leg = 2, type_num = 3 };

static const std::unordered_map<std::string, ActuateType> g_actuate_type_map = {
    {"with_chain_only", ActuateType::with_chain_only},
    {"with_torso", ActuateType::with_torso},
    {"with_leg", ActuateType::with_leg},
    {"type_num", ActuateType::type_num},
};

// Options common to planning and motion operations.
struct Parameter {
  bool first_flag = false;         // not used
  bool immediate_execute = false;  // carry the plan out at once
  bool blocking = false;           // wait until the motion has ended; not read by planning operations
  double timeout = 20.0;           // seconds, above 0
  ActuateType actuate_type = ActuateType::with_chain_only;
  bool tool_pose = false;      // a target pose is that of the tool
  bool relative_pose = false;  // a target pose is relative to the present one
  bool plan_path = true;       // plan a collision-free path and not a move through way-points
  std::string reference_frame = "base_link";
  std::unordered_map<std::string, std::string> extra;
  bool move_line = false;  // plan a straight line; wins over plan_path
};

// Stands in for every omitted Parameter argument. One object for the whole process: operations that write into the
// parameter they are given write into this one too.
NORVIK_SDK_EXPORT extern const std::shared_ptr<Parameter> default_param;

}  // namespace norvik::sdk

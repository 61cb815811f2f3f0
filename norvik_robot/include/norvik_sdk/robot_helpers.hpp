#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/norvik_robot.hpp>
#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// What programs need beside the operations of NorvikRobot. Nothing throws; any thread may call.

// ---- The robot's state ----
// `robot` is one from NorvikRobot::get_instance. These functions leave no record in the log.

// Waits until commands are not refused any more for want of the robot's state: both services of the whole-body
// controller are on the network, and its error report, its joint states, its sensor report and the odometry have
// arrived. Looks every 10 ms.
//   timeout_s  seconds; 0 and below look once.
// False when the time is over, before `init`, and once a shutdown was asked for. Blocks at most `timeout_s`.
NORVIK_SDK_EXPORT bool wait_until_ready(NorvikRobot& robot, double timeout_s = 10.0);

// The errors that the robot reports now; no errors in it means all is well. Empty before its first report. A command is
// refused with FAULT when a group concerned has the component "<group>_max_error_level" with a code of 0x30000 or
// above. Does not block.
NORVIK_SDK_EXPORT std::shared_ptr<ErrorInfo> current_errors(NorvikRobot& robot);

// Forgets which controllers this process has made active: for use after the robot was restarted, when its controllers
// are not the remembered ones. The next command then switches whatever it needs. Sends nothing, does not block.
NORVIK_SDK_EXPORT void forget_controllers(NorvikRobot& robot);

// ---- Names ----

// The name as in the source, such as "SUCCESS", "HEAD_LEFT_CAMERA" or "warning"; a number that has no name as it is.
// The two hands of NorvikOneTangoSensor are "LEFT" and "RIGHT".
NORVIK_SDK_EXPORT std::string to_string(MachineType value);
NORVIK_SDK_EXPORT std::string to_string(ControlStatus value);
NORVIK_SDK_EXPORT std::string to_string(MotionStatus value);
NORVIK_SDK_EXPORT std::string to_string(TrajectoryControlStatus value);
NORVIK_SDK_EXPORT std::string to_string(SensorType value);
NORVIK_SDK_EXPORT std::string to_string(UltrasonicType value);
NORVIK_SDK_EXPORT std::string to_string(NorvikOneTangoSensor value);
NORVIK_SDK_EXPORT std::string to_string(DexHandType value);
NORVIK_SDK_EXPORT std::string to_string(ActuateType value);
NORVIK_SDK_EXPORT std::string to_string(LogLevel value);

NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, MachineType value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, ControlStatus value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, MotionStatus value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, TrajectoryControlStatus value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, SensorType value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, UltrasonicType value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, NorvikOneTangoSensor value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, DexHandType value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, ActuateType value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, LogLevel value);

// Joint groups, as the operations take them.
namespace groups {

inline constexpr char kHead[] = "head";
inline constexpr char kLeftArm[] = "left_arm";
inline constexpr char kRightArm[] = "right_arm";
inline constexpr char kLeg[] = "leg";                       // K2
inline constexpr char kTorso[] = "torso";                   // R5
inline constexpr char kChassis[] = "chassis";               // K2; its controllers only, its joints take no commands
inline constexpr char kSwerveChassis[] = "swerve_chassis";  // R5; likewise
inline constexpr char kLeftGripper[] = "left_gripper";
inline constexpr char kRightGripper[] = "right_gripper";
inline constexpr char kLeftSuctionCup[] = "left_suction_cup";    // K2
inline constexpr char kRightSuctionCup[] = "right_suction_cup";  // K2
inline constexpr char kLeftDexhand[] = "left_dexhand";           // K2
inline constexpr char kRightDexhand[] = "right_dexhand";         // K2
inline constexpr char kLeftCamera[] = "left_camera";             // R5; its controller only
inline constexpr char kRightCamera[] = "right_camera";           // R5; its controller only
inline constexpr char kAll[] = "all";                            // for the operations on controllers, except switching

}  // namespace groups

// Controllers, as switch_controller() takes them. One without a remark is of both models.
namespace controllers {

inline constexpr char kHeadPvt[] = "head_pvt_ctrl";
inline constexpr char kHeadPvtBypass[] = "head_pvt_bypass_ctrl";  // K2
inline constexpr char kLeftArmPvt[] = "left_arm_pvt_ctrl";
inline constexpr char kLeftArmPvtBypass[] = "left_arm_pvt_bypass_ctrl";  // K2
inline constexpr char kRightArmPvt[] = "right_arm_pvt_ctrl";
inline constexpr char kRightArmPvtBypass[] = "right_arm_pvt_bypass_ctrl";   // K2
inline constexpr char kLegPvt[] = "leg_pvt_ctrl";                           // K2
inline constexpr char kLegPvtBypass[] = "leg_pvt_bypass_ctrl";              // K2
inline constexpr char kElevator[] = "elevator_ctrl";                        // R5, group "torso"
inline constexpr char kChassisPose[] = "chassis_pose_ctrl";                 // K2
inline constexpr char kChassisTwist[] = "chassis_twist_ctrl";               // K2
inline constexpr char kSwerveChassisPose[] = "swerve_chassis_pose_ctrl";    // R5
inline constexpr char kSwerveChassisTwist[] = "swerve_chassis_twist_ctrl";  // R5
inline constexpr char kLeftGripper[] = "left_gripper_ctrl";
inline constexpr char kRightGripper[] = "right_gripper_ctrl";
inline constexpr char kLeftCamera[] = "left_camera_ctrl";    // R5
inline constexpr char kRightCamera[] = "right_camera_ctrl";  // R5
inline constexpr char kNone[] = "CONTROLLER_NAME_NUM";       // what get_active_controller() answers for none

}  // namespace controllers

// ---- Joint limits ----

struct JointLimit {
  std::string group;
  std::string joint;
  double lower = 0.0;  // radians; metres for grippers and the torso of R5
  double upper = 0.0;
  double max_velocity = 0.0;  // per second
};

// Limits of the body's joints and the grippers, in the order in which commands to a group take them. They are those of
// the model that the simulated robot obeys; the library does not enforce them, and the controller of a real robot has
// the last word. The joint names of R5 are those of its hardware from version 2 on. Empty for a value that is no model.
NORVIK_SDK_EXPORT std::vector<JointLimit> joint_limits(MachineType machine_type);

// ---- Point clouds ----

struct PointXyz {
  float x = 0.0F;  // metres, in the frame of the cloud
  float y = 0.0F;
  float z = 0.0F;
};

// The points of a cloud, in its order. Points with a coordinate that is no finite number are left out, and so is what
// the cloud announces beyond the bytes that it has. Empty when there are no fields x, y, z of 32 or 64 bit floating
// point inside the points, or the layout contradicts itself.
NORVIK_SDK_EXPORT std::vector<PointXyz> to_xyz(const LidarData& cloud);

}  // namespace norvik::sdk

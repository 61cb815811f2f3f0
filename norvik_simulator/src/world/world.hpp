#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "model/kinematics.hpp"
#include "model/robot_model.hpp"
#include "norvik/tavrinox_proto/tavrinox_controller.pb.h"
#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "things/things.hpp"
#include "world/chassis.hpp"
#include "world/group_follower.hpp"
#include "world/localisation.hpp"
#include "world/refusal.hpp"

namespace norvik::simulator {

// From this level on an error is fatal: its group does not move. Negative codes are fatal too.
inline constexpr int32_t kFatalErrorCode = 0x30000;

// Action states of a suction cup, as the wire counts them.
enum class SuctionState { kOff = 0, kBuildingUp = 1, kHolding = 2 };

struct GroupState {
  std::string name;
  GroupKind kind = GroupKind::kBody;
  std::vector<std::string> joint_names;
  std::vector<JointMotion> joints;
  double effort = 0.0;  // Of a gripper, percent; above 0 while it presses on something.
  MotionProgress progress;
  double final_error = 0.0;
  SuctionState suction = SuctionState::kOff;
};

struct GroupError {
  int32_t code = 0;
  std::string description;
};

// One moment of the robot.
struct WorldState {
  std::vector<GroupState> groups;
  PlanarPose base_pose;  // As odometry has it.
  PlanarTwist base_twist;
  PlanarPose base_truth;            // On the map.
  PlanarPose map_from_odom;         // Where localisation believes that odometry began, on the map.
  double localisation_score = 0.0;  // 0 to 1
  std::vector<Thing> things;
  MotionProgress wbc_progress;
  std::map<std::string, GroupError> errors;        // By group.
  std::map<std::string, std::string> controllers;  // Active controller by group; absent when released.
  Refusals refusals;                               // Of published targets, for a second each.
  bool emergency_stop = false;
  uint64_t steps = 0;

  JointPositions positions() const;
  // Where localisation believes the base to be, on the map.
  PlanarPose believed_pose() const { return compose(map_from_odom, base_pose); }
  // Neither a joint nor the base moves.
  bool is_at_rest() const;
};

// The robot's body: joints, base, tools, controllers and their errors. Every operation may be called from any thread;
// one mutex guards it all and is never held across a call to the outside.
class World {
 public:
  // `seed` as in make_things().
  World(RobotModel robot, Kinematics kinematics, uint64_t seed = 0);

  const RobotModel& robot() const { return robot_; }
  const Kinematics& kinematics() const { return kinematics_; }

  void step(double dt);
  WorldState state() const;
  // What can be grasped, where it is now.
  std::vector<Thing> things() const;

  // Carried out as a whole, or not at all when anything in it is refused.
  Refusals follow(const tavrinox_proto::TavrinoXTarget& target);
  Refusals control(const tavrinox_proto::TavrinoXController& request);
  // Makes refusals visible that no reply can carry.
  void report(const Refusals& refusals);

  // A code of 0 clears the error. False for an unknown group.
  bool set_error(const std::string& group, int32_t code, const std::string& description);
  std::map<std::string, GroupError> errors() const;
  // Why nothing of a group may move, whoever drives it: a fatal error, or the emergency stop. Empty when it may.
  std::string halt_reason(const std::string& group) const;
  // False for an unknown joint, a joint that cannot be placed (wheels, suction cups), or a position outside its range.
  bool set_frozen(const std::string& joint, bool frozen);
  bool set_position(const std::string& joint, double position);
  // What a gripper finds between its fingers, or a suction cup before its lip, whatever lies there; 0 takes it away.
  // False for other groups.
  bool set_object(const std::string& group, double width_mm);
  void clear_faults();

  // Stands a thing upright there, on the map; without `z` on what is below. False for an unknown name or a place that
  // is not within 100 m.
  bool place_thing(const std::string& name, double x, double y, std::optional<double> z, double yaw);

  // Moves the base by `displacement`, told in its own frame, unnoticed by its odometry.
  void push_base(const PlanarPose& displacement);
  // Tells the localisation where the base is on the map.
  void relocalise(const PlanarPose& guess);

  // Targets and stops that the base got so far.
  uint64_t base_commands() const;
  // Gives the base the twist for the next step, on behalf of a driver that began when there were `commands` of others.
  // Returns why not: the base may not move, or somebody else took it over. Empty when it moves.
  std::string drive_base(const PlanarTwist& twist, uint64_t commands);
  // It ran into something.
  void stop_base_dead();

 private:
  struct Controller {
    const ControllerModel* active = nullptr;  // Null for groups without choice.
    bool released = false;
  };
  struct SuctionCup {
    bool on = false;
    double pressure = 0.0;  // kPa, relative to the room.
    bool touches = false;
  };
  // What can take hold of things.
  struct Hand {
    const GroupModel* group;
    std::string link;  // Of a finger, at the middle when the fingers are closed; of a cup, at its lip.
    std::optional<Things::Contact> contact;
  };
  using Action = std::function<void()>;
  using TaskTarget = tavrinox_proto::TargetTaskTrajectory;
  using GroupTarget = tavrinox_proto::TargetGroupTrajectory;

  // Each plan_... checks one part of a command, and on success appends what carries it out; else it returns why not.
  std::string plan_group(const std::string& name, const GroupTarget& target, std::vector<Action>& actions);
  std::string plan_joints(const GroupModel& group, const GroupTarget& target, std::vector<Action>& actions);
  std::string plan_suction_cup(const GroupModel& group, const GroupTarget& target, std::vector<Action>& actions);
  std::string plan_task(const std::string& name, const TaskTarget& target, std::vector<Action>& actions);
  std::string plan_chassis(const TaskTarget& target, std::vector<Action>& actions);
  std::string plan_chassis_pose(const TaskTarget& target, std::vector<Action>& actions);
  std::string plan_chassis_twist(const TaskTarget& target, std::vector<Action>& actions);
  std::string plan_frames(const TaskTarget& target, std::vector<Action>& actions);
  std::string plan_frame(const FrameTarget& frame, Motion motion, double duration_s, std::vector<Action>& actions);
  std::string plan_control(const std::string& group, const tavrinox_proto::ControllerConfig& config,
                           std::vector<Action>& actions);
  std::string plan_switch(const std::string& group, int id, std::vector<Action>& actions);
  void control_group(const GroupModel& group, tavrinox_proto::ControllerOption option);

  std::string why_halted(const std::string& group) const;
  std::string why_not_movable(const std::string& group) const;
  void stop_group(const GroupModel& group);
  void stop_all();
  bool is_active_controller(const std::string& group, int id) const;
  std::optional<KDL::Frame> reference_pose(const std::string& frame) const;
  GroupFollower* find_joint(const std::string& joint, size_t& index);
  JointPositions positions() const;
  std::vector<JointMotion> joints_of(const GroupModel& group) const;
  bool is_blocked(const std::string& gripper) const;
  GroupState group_state(const GroupModel& group) const;
  void step_hands();
  void follow_gripper(Hand& hand, const KDL::Frame& base, const JointPositions& positions);
  void follow_cup(Hand& hand, const KDL::Frame& base, const JointPositions& positions);
  void step_suction_cups(double dt);
  void drop_old_refusals();
  void update_wbc_progress();

  const RobotModel robot_;
  const Kinematics kinematics_;

  mutable std::mutex mutex_;
  std::map<std::string, GroupFollower> followers_;  // Groups of joints that follow positions.
  std::map<std::string, SuctionCup> suction_cups_;
  std::map<std::string, double> gripper_efforts_;  // Last commanded, percent.
  std::map<std::string, double> object_widths_;    // Millimetres, by gripper or suction cup.
  Chassis chassis_;
  Localisation localisation_;
  Things things_;
  std::vector<Hand> hands_;
  std::map<std::string, Controller> controllers_;
  std::map<std::string, GroupError> errors_;
  struct TimedRefusal {
    Refusal refusal;
    double until;
  };
  std::vector<TimedRefusal> refusals_;
  std::vector<std::string> wbc_groups_;  // Groups that follow the "wbc" task.
  MotionProgress wbc_progress_;
  bool emergency_stop_ = false;
  double time_ = 0.0;
  uint64_t steps_ = 0;
};

}  // namespace norvik::simulator

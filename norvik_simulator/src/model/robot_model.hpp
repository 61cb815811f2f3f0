#pragma once

#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace norvik::simulator {

enum class GroupKind { kBody, kChassis, kGripper, kSuctionCup, kHand, kCamera };

// What a joint can do, in the unit its positions have on the wire.
struct JointLimits {
  double lower;
  double upper;
  double speed;                                                   // Per second, above 0.
  double acceleration = std::numeric_limits<double>::infinity();  // Per second squared, above 0.
};

struct GroupModel {
  std::string name;
  GroupKind kind;
  std::vector<std::string> joints;
};

struct ControllerModel {
  std::string name;
  std::string group;
  int id;
  bool bypass = false;  // Set-points go to the drives as they come, without interpolation.
};

// Everything that tells one model and hardware revision from another.
struct RobotModel {
  std::string name;  // As people write it: "K2", "R5".
  std::string hardware_version;
  std::string urdf_file;
  std::vector<GroupModel> groups;            // Wire order of the joints.
  std::vector<ControllerModel> controllers;  // The first one of a group is active after start-up.
  std::string chassis_group;
  JointLimits hand_limits;
  std::map<std::string, std::string> urdf_to_wire_joint;  // Only the joints whose names differ.

  const GroupModel* find_group(const std::string& group) const;
};

struct RobotOptions {
  std::string model = "k2";
  std::string hardware_version = "2.0";
  std::string hand = "inspire";
};

std::vector<std::string> supported_models();
std::vector<std::string> supported_hands();

// Empty when the model or the hand is unknown.
std::optional<RobotModel> make_robot_model(const RobotOptions& options);

}  // namespace norvik::simulator

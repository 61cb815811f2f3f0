#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>
#include <kdl/frames.hpp>

namespace norvik::simulator::planning {

// Joint positions of the whole body, chain after chain in the order of PlanningModel::chains(); radians and metres.
using Joints = std::vector<double>;

struct RobotState {
  Joints joints;
  KDL::Frame base;  // Pose of the base link in the world.
};

// Which joints below the chain help to reach a pose. Numbered as on the wire.
enum class Actuate { kChainOnly = 0, kWithTorso = 1, kWithLeg = 2 };

// Places on a chain that poses may refer to. Numbered as on the wire.
enum class ChainFrame { kEndEffector = 0, kCamera = 1, kCameraObject = 2 };

// The frame that a pose is given in.
struct FrameRef {
  enum class Kind { kWorld, kBase, kChain, kLink };
  Kind kind = Kind::kWorld;
  std::string name = {};                              // Of the chain or of the link.
  ChainFrame chain_frame = ChainFrame::kEndEffector;  // Of a chain.

  static FrameRef world() { return {}; }
  static FrameRef base() { return {Kind::kBase}; }
  static FrameRef chain(std::string name, ChainFrame frame = ChainFrame::kEndEffector) {
    return {Kind::kChain, std::move(name), frame};
  }
  static FrameRef link(std::string name) { return {Kind::kLink, std::move(name)}; }
};

enum class Reason {
  kNone,
  kInvalidInput,   // Unknown name, wrong size, not a number.
  kUnreachable,    // No joint positions put the chain at the pose.
  kOutsideLimits,  // The description names the joint.
  kCollision,      // The description names the two bodies.
  kNoPath,         // None found within the planning time.
  kNotStraight,    // The chain cannot follow the line.
  kTooFast,        // The speed limits cannot be kept.
  kInterrupted,
};

// How a call ended. Converts to true when it did what was asked.
struct Outcome {
  Reason reason = Reason::kNone;
  std::string description = {};  // Empty on success.

  explicit operator bool() const { return reason == Reason::kNone; }
};

// That all numbers of a pose are finite.
Outcome check_pose(const KDL::Frame& pose);

struct PoseTarget {
  KDL::Frame pose;        // Of the end effector link; of the tool's tip with `tool`.
  FrameRef frame;         // Chains and links stand where the start state has them.
  bool relative = false;  // `pose` is a displacement from the start, along the axes of `frame`.
  bool tool = false;
};

// Where a chain is to go: to its joints' positions, or to a pose.
using Goal = std::variant<std::vector<double>, PoseTarget>;

// One goal for a motion, one or more for waypoints.
struct ChainGoals {
  std::string chain;
  std::vector<Goal> goals;
};

// A motion of the whole body; chains that are not listed stay where they are.
struct Path {
  std::vector<std::string> chains;  // Those that may move.
  std::vector<Joints> points;       // Whole body, the first is the start.
  std::vector<double> times;        // Seconds since the start, as many as points, rising.
};

struct PlanResult {
  Outcome outcome;
  Path path;  // Empty on failure.
};

// Asked again and again during long work, true ends it with Reason::kInterrupted. May be empty. Must not block.
using Interrupt = std::function<bool()>;

}  // namespace norvik::simulator::planning

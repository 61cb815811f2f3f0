#pragma once

#include <functional>
#include <string>
#include <vector>

#include <norvik_sdk/norvik_motion.hpp>

#include "live/live_robot.hpp"

namespace norvik::test {

// Poses that the left arm can take in the base.
struct Reachable {
  std::vector<double> present;
  std::vector<double> other;
};

// A call and what it answers: the name of a status, "true" or "false", or whether it gave something ("values") or
// nothing.
using MotionCall = std::function<std::string(sdk::NorvikMotion&, const Reachable&)>;

// What an operation answers, by what befalls the planner. Empty where the operation is not tried.
struct MotionOutcomes {
  std::string accepted;
  std::string uninitialised;
  std::string absent;      // The planner has ended before.
  std::string lost;        // It is killed while it works on the request.
  std::string reply_lost;  // No service answers any more.
  std::string no_time;     // It never gets ready.
  std::string unended;     // It never tells the end of a task.
  std::string failed;      // Tasks end in EXECUTE_FAILED.
  std::string collision;   // Tasks end in TRAJ_COLLISION.
  std::string init_failed;
};

struct MotionOperation {
  std::string name;
  MotionCall call;
  MotionOutcomes outcomes;
  MotionCall refused;  // With an argument that is no good; empty for an operation that takes everything.
  std::string refusal = "INVALID_INPUT";
};

// All operations, in an order in which each leaves the planner fit for the next.
const std::vector<MotionOperation>& motion_operations();

// The library in this process, with a robot and its planner in another.
class LiveMotion {
 public:
  explicit LiveMotion(const Setup& setup);

  // Robot and planner are ready, the arms bent clear of the body.
  bool start();

  LiveRobot& live() { return live_; }
  sdk::NorvikMotion& motion() { return motion_; }
  const Reachable& reachable() const { return reachable_; }

 private:
  LiveRobot live_;
  sdk::NorvikMotion& motion_;
  Reachable reachable_;
};

}  // namespace norvik::test

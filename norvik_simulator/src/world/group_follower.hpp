#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "model/robot_model.hpp"

namespace norvik::simulator {

// Maps the share of time passed between two waypoints to the share of the way, both 0 to 1.
using Blend = double (*)(double);

struct Waypoint {
  double duration = 0.0;  // Seconds after the waypoint before it.
  std::vector<double> positions;
  std::vector<double> speeds;  // Cap for each joint; 0 leaves the joint's own limit.
};

// A new trajectory of a group, checked already: all waypoints have one value per joint.
struct Motion {
  bool clear = true;          // Drop what is still to come.
  bool from_measured = true;  // Start where the joints are, not where they were last told to be.
  bool in_front = false;      // Go before what is still to come instead of after it.
  Blend blend = nullptr;
  std::vector<Waypoint> waypoints;
  std::string target_id;
  int64_t target_sec = 0;
  uint32_t target_nanosec = 0;
};

struct JointMotion {
  double position = 0.0;  // Measured.
  double velocity = 0.0;
  double acceleration = 0.0;
  double command_position = 0.0;  // What the trajectory asks for now.
  double command_velocity = 0.0;
  double target_position = 0.0;  // Where the trajectory ends.
};

struct MotionProgress {
  bool sampling_finished = true;
  bool target_finished = true;
  int64_t index = 0;       // Waypoints passed.
  double percent = 100.0;  // Of the time of the trajectory.
  std::string target_id;
  int64_t target_sec = 0;
  uint32_t target_nanosec = 0;
};

// Moves the joints of one group along waypoints. The trajectory gives the commanded position; the joint follows it
// within its speed and acceleration and never leaves its range. The end of the last trajectory stays the reference of
// what is reported, also when the motion was cut short. Not thread-safe.
class GroupFollower {
 public:
  // Waypoints that may wait at once. Only a flood of appended trajectories reaches it.
  static constexpr size_t kMaxWaypoints = 200000;

  GroupFollower(std::vector<JointLimits> limits, const std::vector<double>& positions);

  bool has_room_for(const Motion& motion) const;
  void accept(const Motion& motion);

  // Drops the trajectory and brakes.
  void stop();
  void step(double dt);

  // Puts the joints at `positions`, with nothing to follow; at rest when there are no `velocities`.
  void place(const std::vector<double>& positions, const std::vector<double>& velocities = {});
  void set_frozen(size_t joint, bool frozen) { frozen_[joint] = frozen; }
  // Narrows the range of a joint, as an object between the fingers does; the joint's own limit returns with
  // `lower` at or below it.
  void set_obstacle(size_t joint, double lower) { obstacles_[joint] = lower; }

  const std::vector<JointMotion>& joints() const { return joints_; }
  const std::vector<JointLimits>& limits() const { return limits_; }
  const MotionProgress& progress() const { return progress_; }
  // Euclidean distance between the end of the trajectory and the measured positions.
  double final_error() const;
  std::vector<double> commanded() const;

 private:
  void begin(const Motion& motion);
  void cut_in();
  void enqueue(const Motion& motion);
  void advance_trajectory(double dt);
  double sample(size_t i) const;
  void follow(size_t i, double command, double dt);
  double wanted_velocity(size_t i, double new_command, double dt) const;
  void update_progress();
  std::vector<double> measured() const;

  const std::vector<JointLimits> limits_;
  std::vector<JointMotion> joints_;
  std::vector<bool> frozen_;
  std::vector<double> obstacles_;

  struct Segment {
    Waypoint waypoint;
    Blend blend;
  };
  std::deque<Segment> segments_;
  std::vector<double> segment_start_;
  std::vector<double> speeds_;  // Caps of the segment being followed.
  double segment_time_ = 0.0;
  double done_time_ = 0.0;
  double total_time_ = 0.0;
  bool cut_short_ = false;  // The last trajectory was dropped before its end.
  MotionProgress progress_;
};

}  // namespace norvik::simulator

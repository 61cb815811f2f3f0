#pragma once

#include <string>
#include <vector>

#include "navigation/follower.hpp"
#include "navigation/obstacles.hpp"
#include "navigation/path_finder.hpp"
#include "navigation/settings.hpp"
#include "navigation/task.hpp"

namespace norvik::simulator {

// One moment of the base, as navigation needs it.
struct Moment {
  double time = 0.0;    // s since start-up
  PlanarPose believed;  // On the map.
  PlanarPose truth;     // On the map; where it bumps into things and sees them.
  PlanarTwist twist;
  bool localised = true;
};

// Carries out one task at a time. Pure: it is told the moment and returns the twist for the next step. Not thread-safe.
class Navigator {
 public:
  Navigator(Obstacles& obstacles, const NavigationSettings& settings) : obstacles_(obstacles), settings_(settings) {}

  // Takes a task; a running one is interrupted. Returns why it is refused, empty when it is not.
  std::string start(Task task, const Moment& moment);
  // Ends the running task, and brakes.
  void end(TaskStatus status, const std::string& message);
  // Somebody else drives the base now.
  void lose_base(const std::string& reason);

  void set_outline(Outline outline) { outline_ = std::move(outline); }
  const Outline& outline() const { return outline_; }

  // False when the base needs nothing from here.
  bool step(const Moment& moment, double dt, PlanarTwist& twist);

  bool is_running() const { return phase_ != Phase::kIdle && phase_ != Phase::kBraking; }
  // It ran into something: the base stands at once.
  bool was_hit() const { return hit_; }
  const std::string& task_id() const { return task_.id; }
  // What happened since the last call, in its order.
  std::vector<Report> take_reports();

  struct Evaluation {
    bool start_is_free;
    bool goal_is_free;
    bool has_way;
  };
  // By the same search that the tasks use.
  Evaluation evaluate(const PlanarPose& start, const PlanarPose& goal) const;

 private:
  enum class Phase { kIdle, kPlanning, kDriving, kBlocked, kVelocity, kBraking };

  PathFinder make_finder(std::vector<Shape> shapes) const;
  MotionLimits limits_of(const Target& target) const;
  const Target& target() const { return task_.targets[target_]; }
  const PlanarPose& goal() const { return goals_[target_]; }
  Search plan(const Moment& moment) const;
  void decide(const Moment& moment);
  void begin_driving(const Moment& moment);
  void look_ahead(const Moment& moment);
  void look_at_goal(const Moment& moment);
  void wait_for_way(const Moment& moment);
  void keep_velocity(const Moment& moment);
  void move(const Moment& moment, double dt);
  bool is_arrived(const Moment& moment) const;
  bool is_blocked(const Moment& moment) const;
  bool bumps(const Moment& moment);
  bool is_too_late(const Moment& moment) const;

  Obstacles& obstacles_;
  const NavigationSettings& settings_;
  Outline outline_;
  Phase phase_ = Phase::kIdle;
  Task task_;
  std::vector<PlanarPose> goals_;  // Of the targets, on the map.
  size_t target_ = 0;
  double begun_ = 0.0;          // When the task began, s.
  double blocked_since_ = 0.0;  // s
  PlanarPose blocked_at_;
  double planned_ = 0.0;   // When the last search was, s.
  bool touching_ = false;  // It has touched something since the task began, and may leave it.
  PlanarPose touched_at_;
  bool hit_ = false;
  Follower follower_;
  std::vector<Report> reports_;
};

}  // namespace norvik::simulator

#include "planning/collision/path_check.hpp"

#include <cmath>

namespace norvik::simulator::planning {

namespace {

Outcome check_points(const PlanningModel& model, const Path& path) {
  if (path.points.empty() || (!path.times.empty() && path.times.size() != path.points.size())) {
    return {Reason::kInvalidInput, "a path needs points, and as many times or none"};
  }
  for (const Joints& point : path.points) {
    if (Outcome checked = model.check({point, KDL::Frame::Identity()}); !checked) {
      return checked;
    }
  }
  return {};
}

Outcome check_limits(const PlanningModel& model, const Path& path) {
  const auto moved = model.joints_of(path.chains);
  for (const Joints& point : path.points) {
    if (Outcome checked = model.check_limits(point, moved); !checked) {
      return checked;
    }
  }
  return {};
}

Outcome check_speeds(const PlanningModel& model, const Path& path) {
  constexpr double kRounding = 1.001;
  for (size_t i = 1; i < path.times.size(); ++i) {
    const double time = path.times[i] - path.times[i - 1];
    for (size_t joint = 0; joint < model.dof(); ++joint) {
      const double way = std::abs(path.points[i][joint] - path.points[i - 1][joint]);
      if (!(way <= model.joint(joint).speed * time * kRounding)) {
        return {Reason::kTooFast, model.joint(joint).name + " would have to be faster than " +
                                      std::to_string(model.joint(joint).speed) + " per second"};
      }
    }
  }
  return {};
}

}  // namespace

double distance(const Joints& from, const Joints& to) {
  double sum = 0.0;
  for (size_t i = 0; i < from.size(); ++i) {
    sum += (to[i] - from[i]) * (to[i] - from[i]);
  }
  return std::sqrt(sum);
}

Joints between(const Joints& from, const Joints& to, double part) {
  Joints result(from.size());
  for (size_t i = 0; i < from.size(); ++i) {
    result[i] = from[i] + part * (to[i] - from[i]);
  }
  return result;
}

Outcome describe(const Contact& contact) {
  return {Reason::kCollision, contact.first + " collides with " + contact.second};
}

std::optional<Contact> check_motion(const CollisionWorld& world, const Joints& from, const Joints& to, double step) {
  const double count = std::max(1.0, std::ceil(distance(from, to) / step));
  for (double i = 1.0; i <= count; ++i) {
    if (auto contact = world.check(between(from, to, i / count))) {
      return contact;
    }
  }
  return std::nullopt;
}

Outcome check_path(const PlanningModel& model, const CollisionWorld& world, const Path& path, const Settings& settings,
                   const Interrupt& interrupt) {
  Outcome checked = check_points(model, path);
  if (checked && !settings.feasibility.disable_joint_limit_check) {
    checked = check_limits(model, path);
  }
  if (checked && !settings.feasibility.disable_velocity_feasibility_check) {
    checked = check_speeds(model, path);
  }
  if (!checked || settings.feasibility.disable_collision_check) {
    return checked;
  }
  for (size_t i = 0; i < path.points.size(); ++i) {
    if (interrupt && interrupt()) {
      return {Reason::kInterrupted, "interrupted"};
    }
    if (const auto contact = check_motion(world, path.points[i == 0 ? 0 : i - 1], path.points[i], kFineStep)) {
      return describe(*contact);
    }
  }
  return {};
}

}  // namespace norvik::simulator::planning

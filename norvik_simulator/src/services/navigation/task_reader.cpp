#include "services/navigation/task_reader.hpp"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "world/refusal.hpp"

namespace norvik::simulator {

namespace {

namespace proto = norvik::kelvorn_proto;

constexpr double kFarthest = 1e6;  // m
constexpr int kMostTargets = 100000;
constexpr double kLongest = 3600.0;  // s, of a velocity
constexpr size_t kLongestId = 4096;

bool is_usable(double value) { return std::abs(value) <= kFarthest; }  // Not for NaN.

std::string check_id(const std::string& id) { return id.size() <= kLongestId ? "" : "the task id is too long"; }

// A share that makes no sense is taken for the whole.
double read_share(bool given, double value) { return given && value > 0.0 && value <= 1.0 ? value : 1.0; }

Scales read_scales(const proto::KinematicsScales& scales) {
  return {read_share(scales.has_vel_scale(), scales.vel_scale().value()),
          read_share(scales.has_acc_scale(), scales.acc_scale().value()),
          read_share(scales.has_jerk_scale(), scales.jerk_scale().value())};
}

// Only the values above 0 count; a target without any has the threshold that is set.
std::optional<Threshold> read_threshold(const proto::NaviRuntimeParams& params) {
  const Threshold threshold = {params.arrival_pos_err_x().value(), params.arrival_pos_err_y().value(),
                               params.arrival_ori_err().value()};
  const bool usable =
      std::all_of(threshold.begin(), threshold.end(), [](double value) { return std::isfinite(value) && value > 0.0; });
  return usable ? std::optional(threshold) : std::nullopt;
}

std::string read_target(const proto::NaviPlanTarget& message, Target& target) {
  const spatial_proto::FrameTriad& base = message.robot_state().base_states();
  const std::string& frame = base.reference_frame_id();
  if (frame != "map" && frame != "base_link") {
    return "unknown frame " + printable_name(frame);
  }
  target.in_base_frame = frame == "base_link";
  target.omni = message.options().dir() == proto::Omni;
  target.scales = read_scales(message.scales());
  target.threshold = read_threshold(message.runtime_params());
  return read_planar_pose(base.pose_msg().pose(), target.pose);
}

std::string read_velocity(const proto::NaviPlanTarget& message, Task& task) {
  task.kind = Task::Kind::kVelocity;
  const auto& twist = message.robot_state().base_states().twist_msg().twist();
  task.twist = {twist.linear().x(), twist.linear().y(), twist.angular().z()};
  if (!is_usable(task.twist.vx) || !is_usable(task.twist.vy) || !is_usable(task.twist.wz)) {
    return "a velocity that is not finite";
  }
  const auto config = nlohmann::json::parse(message.configs().config_msg(), nullptr, false);
  const auto duration = config.is_object() ? config.find("duration") : config.end();
  if (!config.is_object() || duration == config.end() || !duration->is_number()) {
    return "a velocity without duration";
  }
  task.duration = duration->get<double>();
  return task.duration > 0.0 && task.duration <= kLongest ? "" : "a duration that is not above 0, or above an hour";
}

// Absent means with a look-out.
bool wants_check(const proto::NaviPlanTarget& target) {
  return !target.runtime_params().has_check_collision() || target.runtime_params().check_collision().value();
}

}  // namespace

std::string read_pose(const spatial_proto::Pose& message, KDL::Frame& pose) {
  const auto& p = message.position();
  const auto& q = message.orientation();
  const double norm = std::sqrt(q.x() * q.x() + q.y() * q.y() + q.z() * q.z() + q.w() * q.w());
  if (!is_usable(p.x()) || !is_usable(p.y()) || !is_usable(p.z()) || !is_usable(norm) || norm < 1e-6) {
    return "a pose that is not finite, too far away, or without orientation";
  }
  pose = KDL::Frame(KDL::Rotation::Quaternion(q.x() / norm, q.y() / norm, q.z() / norm, q.w() / norm),
                    KDL::Vector(p.x(), p.y(), p.z()));
  return "";
}

std::string read_planar_pose(const spatial_proto::Pose& message, PlanarPose& pose) {
  KDL::Frame frame;
  std::string reason = read_pose(message, frame);
  const KDL::Vector ahead = frame.M.UnitX();
  pose = {frame.p.x(), frame.p.y(), std::atan2(ahead.y(), ahead.x())};
  return reason;
}

std::string read_task(const std::string& id, const proto::NavigationMotionPlanReq& request, Task& task) {
  const proto::BaseState& base = request.goal_state().base();
  Target target;
  target.in_base_frame = base.map_frame() == proto::BASE;
  target.omni = request.omini_plan();
  task.id = id;
  task.kind = target.in_base_frame ? Task::Kind::kStraight : Task::Kind::kGoals;
  task.check_collision = !request.disable_collision_check();
  std::string reason = check_id(id);
  if (reason.empty()) {
    reason = read_planar_pose(base.pose(), target.pose);
  }
  task.targets = {target};
  return reason;
}

std::string read_task(const proto::NavigationPlanRequest& request, Task& task) {
  const auto& targets = request.navi_task_request().targets();
  if (targets.empty() || targets.size() > kMostTargets) {
    return targets.empty() ? "no targets" : "too many targets";
  }
  task.id = request.task_id();
  task.check_collision = wants_check(targets[0]);
  if (request.has_timeout_sec() && std::isfinite(request.timeout_sec().value())) {
    task.timeout = request.timeout_sec().value();
  }
  std::string reason = check_id(task.id);
  if (reason.empty() && targets[0].options().use_dyn_plan().value()) {
    return read_velocity(targets[0], task);
  }
  if (targets[0].options().use_waypoint_plan().value()) {
    task.kind = Task::Kind::kTrajectory;
  }
  for (int i = 0; reason.empty() && i < targets.size(); ++i) {
    Target target;
    reason = read_target(targets[i], target);
    task.targets.push_back(target);
  }
  return reason;
}

}  // namespace norvik::simulator

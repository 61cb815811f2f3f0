#include "services/planning/execution.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

namespace norvik::simulator {

namespace {

namespace proto = norvik::tavrinox_proto;

// Longer than its time plus this a motion takes only if joints do not follow.
constexpr double kPatienceS = 5.0;
constexpr std::chrono::milliseconds kLookForStop{50};

void set_config(const std::string& id, proto::TargetGroupTrajectory& trajectory) {
  auto& config = *trajectory.mutable_target_config();
  config.set_target_data(proto::TARGET_DATA_JOINT_POS);
  config.set_target_type(proto::TARGET_TYPE_PROVERRIDE);
  config.set_target_sampling(proto::TARGET_SAMPLING_LINEAR_INTERPOLATE);
  config.set_target_id(id);
}

double duration_of(const proto::TargetGroupTrajectory& trajectory) {
  const int size = trajectory.group_commands_size();
  const auto& last = trajectory.group_commands(size - 1).time_from_start();
  return last.sec() + 1e-9 * static_cast<double>(last.nanosec());
}

std::string text_of(const Refusals& refusals) {
  std::string text;
  for (const Refusal& refusal : refusals) {
    text += (text.empty() ? "" : "; ") + refusal.reason;
  }
  return text;
}

}  // namespace

std::string Execution::run(proto::TavrinoXTarget target, const std::string& id, const std::atomic<bool>& stop) {
  Motion motion;
  motion.id = id.substr(0, 256);  // As the world keeps it.
  for (auto& [group, trajectory] : *target.mutable_target_group_trajectory_map()) {
    if (!trajectory.group_commands().empty()) {
      motion.groups.push_back(group);
      motion.duration_s = std::max(motion.duration_s, duration_of(trajectory));
      set_config(motion.id, trajectory);
    }
  }
  if (const Refusals refusals = world_.follow(target); !refusals.empty()) {
    return text_of(refusals);
  }
  motion.accepted_at = world_.state().steps;
  std::unique_lock<std::mutex> lock(mutex_);
  motion_ = std::move(motion);
  while (!motion_->outcome && !stop) {
    settled_.wait_for(lock, kLookForStop);
  }
  const Motion ended = *std::exchange(motion_, std::nullopt);
  lock.unlock();
  const std::string outcome = ended.outcome.value_or("the planner ends");
  if (!outcome.empty()) {
    halt(ended);
  }
  return outcome;
}

void Execution::observe(const WorldState& state, double time) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (motion_ && !motion_->outcome && state.steps > motion_->accepted_at) {
    motion_->outcome = look_at(*motion_, state, time);
    if (motion_->outcome) {
      settled_.notify_one();
    }
  }
}

std::optional<std::string> Execution::look_at(Motion& motion, const WorldState& state, double time) const {
  motion.due = motion.due.value_or(time + motion.duration_s + kPatienceS);
  bool arrived = true;
  for (const GroupState& group : state.groups) {
    if (std::find(motion.groups.begin(), motion.groups.end(), group.name) == motion.groups.end()) {
      continue;
    }
    const auto outcome = look_at(motion, group);
    if (outcome && !outcome->empty()) {
      return outcome;
    }
    arrived = arrived && outcome;
  }
  if (arrived) {
    return "";
  }
  return time > *motion.due ? std::optional<std::string>("the joints did not arrive in time") : std::nullopt;
}

std::optional<std::string> Execution::look_at(const Motion& motion, const GroupState& group) const {
  const MotionProgress& progress = group.progress;
  if (progress.target_id != motion.id) {
    return group.name + " was given another target on its way";
  }
  if (std::string reason = world_.halt_reason(group.name); !reason.empty()) {
    return group.name + " " + reason;
  }
  if (progress.sampling_finished && progress.percent < 100.0) {
    return group.name + " was stopped on its way";
  }
  return progress.target_finished ? std::optional<std::string>("") : std::nullopt;
}

// Not those that somebody else drives now. Each by itself: one that failed takes no target.
void Execution::halt(const Motion& motion) {
  for (const GroupState& group : world_.state().groups) {
    if (group.progress.target_id == motion.id &&
        std::find(motion.groups.begin(), motion.groups.end(), group.name) != motion.groups.end()) {
      proto::TavrinoXTarget clear;
      auto& config = *(*clear.mutable_target_group_trajectory_map())[group.name].mutable_target_config();
      config.set_target_data(proto::TARGET_DATA_JOINT_POS);
      config.set_target_type(proto::TARGET_TYPE_CLEAR);
      world_.follow(clear);
    }
  }
}

}  // namespace norvik::simulator

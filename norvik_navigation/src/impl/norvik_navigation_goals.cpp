// Single goals: sent, then followed by the call itself or by a thread in the background.

#include <algorithm>
#include <cmath>

#include "impl/norvik_navigation_base.hpp"
#include "impl/requests/navigation_checks.hpp"
#include "ovimux/ovimux.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr int kRepetitions = 4;
constexpr RequestLimits kGoalLimits{std::chrono::seconds(5), kRepetitions};
constexpr RequestLimits kVelocityLimits{std::chrono::seconds(3), kRepetitions};
constexpr std::chrono::seconds kTimeToStop{1};
// The service's own time-out is to come first.
constexpr double kExtraTimeS = 5.0;

// How a watched goal ends by what the service says of it.
struct GoalEnd {
  int32_t status;
  const char* name;
  NaviStatus result;
};
constexpr std::array<GoalEnd, 3> kGoalEnds = {{{NaviTaskStatus::SUCCESS, "SUCCESS", NaviStatus::SUCCESS},
                                               {NaviTaskStatus::FAILED, "FAILED", NaviStatus::FAILED},
                                               {NaviTaskStatus::INTERRUPTED, "INTERRUPTED", NaviStatus::SUCCESS}}};

// Whole seconds, at least one: a request does not wait for less.
std::chrono::seconds whole_seconds(double seconds) {
  constexpr double kHourS = 3600.0;
  return std::chrono::seconds(static_cast<int64_t>(std::clamp(std::trunc(seconds), 1.0, kHourS)));
}

}  // namespace

// A goal of which only the arrival is looked for.
struct NorvikNavigationBase::SimpleGoal {
  std::shared_ptr<const NaviRequest> request;
  RequestLimits limits;
  const char* send_text;
  const char* repeated_text;  // Logged after repetitions, whatever came of them; or nullptr.
  bool blocking;
  NaviTime deadline;
};

// A goal with a monitor.
struct NorvikNavigationBase::WatchedGoal {
  std::string task_id;
  std::shared_ptr<const NaviPlanRequest> request;
  std::optional<NaviTime> deadline;
};

NaviStatus NorvikNavigationBase::navigate_to_goal(const Pose& pose, bool check_collision, bool blocking, float timeout,
                                                  bool omni) {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  if (!check_goal("navigate_to_goal", pose, timeout)) {
    return NaviStatus::INVALID_INPUT;
  }
  const NaviTime start = navigation_now();
  SDK_LOG(info) << "navi_start_time_: " << std::to_string(clock_.now().seconds());
  watcher_.reset_navi_control_thread();
  stop_running_goal();
  return run_simple_goal({generate_navi_request(tasks_.next_goal_id(), pose, check_collision, "map", omni), kGoalLimits,
                          "navi to goal send success ", nullptr, blocking, navigation_deadline(start, timeout)});
}

NaviStatus NorvikNavigationBase::move_straight_to(const Pose& pose, bool blocking, float timeout) {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  if (!check_goal("move_straight_to", pose, timeout)) {
    return NaviStatus::INVALID_INPUT;
  }
  watcher_.reset_navi_control_thread();
  const NaviTime start = navigation_now();
  SDK_LOG(info) << "start time: " << std::to_string(clock_.now().seconds());
  stop_running_goal();
  return run_simple_goal({generate_navi_request(tasks_.next_goal_id(), pose, false, "base_link", true),
                          {whole_seconds(timeout), kRepetitions},
                          "move odom send success ",
                          "navigation send fail, retry = 3",
                          blocking,
                          navigation_deadline(start, timeout)});
}

NaviStatus NorvikNavigationBase::run_simple_goal(const SimpleGoal& goal) {
  tasks_.set_status(NaviTaskStatus::RUNNING);
  std::optional<GoalsUnderWay::Goal> under_way;
  if (goal.blocking) {
    under_way.emplace(goals_under_way_);
  }
  const RequestOutcome outcome = send_repeatedly(plan_client_, goal.request, goal.limits);
  if (outcome.kind == RequestOutcome::kUnanswered) {
    SDK_LOG(error) << "navigation action timeout";
    return NaviStatus::REQUEST_FAILED;
  }
  if (outcome.repeated && goal.repeated_text != nullptr) {
    SDK_LOG(error) << goal.repeated_text;
  }
  if (outcome.kind == RequestOutcome::kRefused) {
    return NaviStatus::REQUEST_FAILED;
  }
  SDK_LOG(info) << goal.send_text << goal.request->task_id();
  if (under_way) {
    under_way->sent();
    return wait_for_arrival(goal.deadline, *under_way);
  }
  watcher_.start([this, deadline = goal.deadline] { watch_arrival(deadline); });
  return NaviStatus::SUCCESS;
}

NaviStatus NorvikNavigationBase::wait_for_arrival(NaviTime deadline, GoalsUnderWay::Goal& goal) {
  while (!check_goal_arrival()) {
    if (!sleep_until_next_look()) {
      SDK_LOG(error) << "navigation ended early, the program is told to stop";
      return NaviStatus::TIMEOUT;
    }
    if (navigation_now() > deadline) {
      send_stop_navigation();
      goal.ended();
      return NaviStatus::TIMEOUT;
    }
  }
  goal.ended();
  return NaviStatus::SUCCESS;
}

void NorvikNavigationBase::watch_arrival(NaviTime deadline) {
  bool arrived = check_goal_arrival();
  while (!arrived && watcher_.goes_on() && sleep_until_next_look()) {
    if (navigation_now() > deadline) {
      SDK_LOG(error) << "navigation timeout";
      send_stop_navigation();
      return;
    }
    arrived = check_goal_arrival();
  }
}

bool NorvikNavigationBase::check_goal_arrival() {
  return is_service_working() && tasks_.status() == NaviTaskStatus::SUCCESS;
}

// Watched goals.

NaviStatus NorvikNavigationBase::navigate_to_goal_v2(const Pose& pose, const std::array<double, 3>& velocity_limit,
                                                     const std::string& pose_frame, bool check_collision, bool blocking,
                                                     float timeout, bool omni) {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  if (!has_plan_v2_client()) {
    return NaviStatus::REQUEST_FAILED;
  }
  if (!is_navigation_frame(pose_frame)) {
    SDK_LOG(error) << "pose_frame must be map or base_link, input: " << pose_frame;
    return NaviStatus::INVALID_INPUT;
  }
  if (!check_goal("navigate_to_goal_v2", pose, timeout)) {
    return NaviStatus::INVALID_INPUT;
  }
  const NaviStatus limited = set_goal_limits(velocity_limit, timeout);
  if (limited != NaviStatus::SUCCESS) {
    return limited;
  }
  watcher_.reset_navi_control_thread();
  stop_running_goal();
  const std::string task_id = tasks_.next_goal_id();
  WatchedGoal goal{task_id, generate_navi_v2_request(task_id, pose, pose_frame, check_collision, omni), {}};
  std::optional<GoalsUnderWay::Goal> under_way;
  if (blocking) {
    under_way.emplace(goals_under_way_);
  }
  const NaviStatus sent = send_watched_goal(goal);
  if (sent != NaviStatus::SUCCESS) {
    return sent;
  }
  if (timeout >= 0.0F) {
    goal.deadline = navigation_deadline(navigation_now(), timeout + kExtraTimeS);
  }
  if (!under_way) {
    watcher_.start([this, goal] {
      const NaviStatus result = monitor_goal(goal);
      SDK_LOG(info) << "navigate_to_goal_v2 async monitor finished, status: " << static_cast<int32_t>(result);
    });
    return NaviStatus::SUCCESS;
  }
  under_way->sent();
  const GoalWatcher::OnThisThread watch(watcher_);
  const NaviStatus result = monitor_goal(goal);
  if (ovimux::OK()) {
    under_way->ended();
  }
  return result;
}

NaviStatus NorvikNavigationBase::set_goal_limits(const AxisLimits& velocity_limit, float timeout) {
  const NaviStatus velocity_set = set_navigation_velocity_limit(velocity_limit);
  if (velocity_set != NaviStatus::SUCCESS) {
    SDK_LOG(error) << "set navigation velocity limit failed";
    return velocity_set;
  }
  const NaviStatus timeout_set = set_navigation_timeout(timeout);
  if (timeout_set != NaviStatus::SUCCESS) {
    SDK_LOG(error) << "set navigation timeout failed";
  }
  return timeout_set;
}

NaviStatus NorvikNavigationBase::send_watched_goal(const WatchedGoal& goal) {
  tasks_.set_status(NaviTaskStatus::RUNNING);
  tasks_.set_current_task_id(goal.task_id);
  const RequestOutcome outcome = send_repeatedly(plan_v2_client_, goal.request, kGoalLimits);
  if (outcome.kind == RequestOutcome::kUnanswered) {
    SDK_LOG(error) << "navigate_to_goal_v2 request timeout";
  }
  if (outcome.kind != RequestOutcome::kAccepted) {
    return NaviStatus::REQUEST_FAILED;
  }
  tasks_.set_active_task_id(goal.task_id);
  SDK_LOG(info) << "navigate_to_goal_v2 send success " << goal.task_id;
  return NaviStatus::SUCCESS;
}

NaviStatus NorvikNavigationBase::monitor_goal(const WatchedGoal& goal) {
  while (watcher_.goes_on()) {
    if (const std::optional<NaviStatus> result = look_at_goal(goal)) {
      return *result;
    }
    if (!sleep_until_next_look()) {
      break;
    }
  }
  SDK_LOG(warning) << "navigate_to_goal_v2 monitor stopped";
  if (ovimux::OK()) {
    send_stop_navigation();
  }
  return NaviStatus::FAILED;
}

// What has become of the goal; nothing while it is under way.
std::optional<NaviStatus> NorvikNavigationBase::look_at_goal(const WatchedGoal& goal) {
  const int32_t status = get_navigation_status();
  const std::string active = tasks_.active_task_id();
  if (!active.empty() && active != goal.task_id) {
    SDK_LOG(warning) << "navigate_to_goal_v2 task overridden, expected task_id: " << goal.task_id
                     << ", active task_id: " << active << ", current status: " << status;
    return NaviStatus::SUCCESS;
  }
  for (const GoalEnd& end : kGoalEnds) {
    if (status == end.status) {
      SDK_LOG(info) << "navigate_to_goal_v2 finished with " << end.name;
      send_stop_navigation();
      return end.result;
    }
  }
  if (goal.deadline && navigation_now() > *goal.deadline) {
    SDK_LOG(error) << "navigate_to_goal_v2 sdk monitor timeout";
    send_stop_navigation();
    return NaviStatus::TIMEOUT;
  }
  return std::nullopt;
}

// Velocity.

NaviStatus NorvikNavigationBase::navigate_with_velocity(double vx, double vy, double wz, double duration_s,
                                                        bool check_collision) {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  if (!has_plan_v2_client()) {
    return NaviStatus::REQUEST_FAILED;
  }
  if (!(duration_s > 0.0)) {
    SDK_LOG(error) << "navigate_with_velocity duration_s must be greater than 0";
    return NaviStatus::INVALID_INPUT;
  }
  if (!std::isfinite(vx) || !std::isfinite(vy) || !std::isfinite(wz) || !std::isfinite(duration_s)) {
    SDK_LOG(error) << "navigate_with_velocity velocity and duration_s must be finite";
    return NaviStatus::INVALID_INPUT;
  }
  watcher_.reset_navi_control_thread();
  stop_running_goal();
  const std::shared_ptr<const NaviPlanRequest> request =
      generate_velocity_request(tasks_.next_goal_id(), {vx, vy, wz, duration_s}, check_collision);
  tasks_.set_status(NaviTaskStatus::RUNNING);
  const RequestOutcome outcome = send_repeatedly(plan_v2_client_, request, kVelocityLimits);
  if (outcome.kind == RequestOutcome::kUnanswered) {
    SDK_LOG(error) << "navigate_with_velocity request timeout";
  }
  if (outcome.kind != RequestOutcome::kAccepted) {
    return NaviStatus::REQUEST_FAILED;
  }
  SDK_LOG(info) << "navigate_with_velocity send success " << request->task_id();
  return NaviStatus::SUCCESS;
}

bool NorvikNavigationBase::has_plan_v2_client() const {
  if (!plan_v2_client_) {
    SDK_LOG(error) << "pns plan client /norvik/pns/navigation_plan_v2 is null";
  }
  return plan_v2_client_ != nullptr;
}

// Stopping.

NaviStatus NorvikNavigationBase::stop_navigation() {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  watcher_.reset_navi_control_thread();
  return send_stop_navigation();
}

void NorvikNavigationBase::stop_running_goal() {
  if (tasks_.status() == NaviTaskStatus::RUNNING) {
    send_stop_navigation();
    ovimux::sleep_while_running(navigation_now() + kTimeToStop);
  }
}

NaviStatus NorvikNavigationBase::send_stop_navigation() {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  const std::shared_ptr<const NaviRequest> request = generate_stop_request(tasks_.present_goal_id());
  const RequestOutcome outcome = send_repeatedly(plan_client_, request, kGoalLimits);
  if (outcome.kind == RequestOutcome::kUnanswered) {
    SDK_LOG(error) << "navigation stop timeout";
  }
  return outcome.kind == RequestOutcome::kAccepted ? NaviStatus::SUCCESS : NaviStatus::REQUEST_FAILED;
}

}  // namespace norvik::sdk

// Tasks that are handed over and polled, and the question whether there is a way.

#include <algorithm>

#include "impl/norvik_navigation_base.hpp"
#include "impl/requests/navigation_checks.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr std::chrono::seconds kTaskWait{5};
constexpr RequestLimits kOnce{kTaskWait, 0};
constexpr int kMostRefusals = 4;
constexpr double kEvaluationTimeS = 5.0;
// What the small envelope holds, beside the id. More would fail as if nobody had answered.
constexpr size_t kLargestRequest = 65'536 - 64;

TaskHandle refused(const std::string& reason) { return {"", NaviTaskStatus::UNKNOWN, reason}; }

}  // namespace

// What differs between the operations that hand over a task.
struct NorvikNavigationBase::TaskTexts {
  const char* success;     // Before the id.
  const char* unanswered;  // In the log and for the caller.
  const char* failure;     // For the caller when the service gives no reason.
  int repetitions;
};

TaskHandle NorvikNavigationBase::navigate_along_trajectory(const std::vector<Pose>& poses, const std::string& frame,
                                                           float speed_ratio, bool check_collision) {
  if (!is_service_working()) {
    return refused("navigation service not ready");
  }
  if (const char* const reason = check_trajectory(poses, frame, speed_ratio)) {
    return refused(reason);
  }
  return submit_task(
      generate_traj_navi_request("", poses, check_collision, frame, speed_ratio, true, false),
      {"navigate_along_trajectory send success ", "navigation action timeout", "navigation request submit failed", 3});
}

TaskHandle NorvikNavigationBase::navigate_through_waypoints(const std::vector<Waypoint>& waypoints,
                                                            const std::string& frame, bool check_collision) {
  if (!is_service_working()) {
    return refused("navigation service not ready");
  }
  if (const char* const reason = check_waypoints(waypoints, frame)) {
    return refused(reason);
  }
  return submit_task(generate_multi_waypoints_navi_request("", waypoints, check_collision, frame, false, false),
                     {"navigate_through_waypoints send success ", "navigation request timeout",
                      "navigation request submit failed", 3});
}

TaskHandle NorvikNavigationBase::set_navigation_target(const Pose& pose, const std::string& frame, float speed_ratio,
                                                       bool check_collision) {
  if (!is_service_working()) {
    return refused("navigation service not ready");
  }
  if (const char* const reason = check_target(pose, frame, speed_ratio)) {
    return refused(reason);
  }
  watcher_.reset_navi_control_thread();
  SDK_LOG(info) << "dynamic target start time: " << std::to_string(clock_.now().seconds());
  return submit_task(
      generate_target_navi_request("", pose, frame, speed_ratio, check_collision),
      {"set_navigation_target send success ", "navigation target timeout", "navigation target submit failed", 4});
}

// Gives the request its id. One that is refused here leaves everything as it is.
TaskHandle NorvikNavigationBase::submit_task(const std::shared_ptr<NaviPlanRequest>& request, const TaskTexts& texts) {
  if (request->ByteSizeLong() > kLargestRequest) {
    SDK_LOG(error) << "navigation request is too large: " << request->ByteSizeLong() << " bytes";
    return refused("navigation request is too large");
  }
  watcher_.reset_navi_control_thread();
  const std::string task_id = tasks_.next_goal_id();
  request->set_task_id(task_id);
  tasks_.set_current_task_id(task_id);
  tasks_.set_status(NaviTaskStatus::RUNNING);
  tasks_.enter(task_id);
  const RequestOutcome outcome =
      send_repeatedly(plan_v2_client_, std::shared_ptr<const NaviPlanRequest>(request), {kTaskWait, texts.repetitions});
  if (outcome.kind == RequestOutcome::kAccepted) {
    SDK_LOG(info) << texts.success << task_id;
    return {task_id, NaviTaskStatus::RUNNING, "accepted"};
  }
  std::string reason = outcome.message;
  if (outcome.kind == RequestOutcome::kUnanswered) {
    SDK_LOG(error) << texts.unanswered;
    reason = texts.unanswered;
  }
  if (reason.empty()) {
    reason = texts.failure;
  }
  tasks_.set_status(NaviTaskStatus::FAILED);
  tasks_.fail(task_id, reason);
  return {task_id, NaviTaskStatus::UNKNOWN, reason};
}

// The question whether there is a way.

bool NorvikNavigationBase::check_path_reachability(const Pose& goal, const Pose& start) {
  if (!is_service_working()) {
    return false;
  }
  if (!check_pose("check_path_reachability", goal) || !check_pose("check_path_reachability", start)) {
    return false;
  }
  const std::shared_ptr<const NaviRequest> request = generate_evaluate_request(evaluation_.begin(), goal, start);
  const RequestOutcome outcome = send_repeatedly(plan_client_, request, kOnce);
  if (outcome.kind == RequestOutcome::kUnanswered) {
    SDK_LOG(error) << "evaluate request send error";
    return false;
  }
  if (outcome.kind == RequestOutcome::kRefused) {
    return repeat_evaluation(request);
  }
  SDK_LOG(info) << "evaluate request send success, id: " << request->task_id();
  return wait_for_evaluation();
}

// After a first refusal the answer is false, whatever the service says to the repetitions; those it accepts do not
// count, so that their time is what ends them.
bool NorvikNavigationBase::repeat_evaluation(const std::shared_ptr<const NaviRequest>& request) {
  const NaviTime deadline = navigation_deadline(navigation_now(), kEvaluationTimeS);
  for (int refusals = 0; refusals < kMostRefusals && sleep_until_next_look() && navigation_now() < deadline;) {
    const auto left = std::chrono::ceil<std::chrono::seconds>(deadline - navigation_now());
    if (send_repeatedly(plan_client_, request, {left, 0}).kind == RequestOutcome::kAccepted) {
      SDK_LOG(info) << "evaluate request send success";
    } else {
      ++refusals;
    }
  }
  SDK_LOG(error) << "evaluate request send error";
  return false;
}

bool NorvikNavigationBase::wait_for_evaluation() {
  const NaviTime deadline = navigation_deadline(navigation_now(), kEvaluationTimeS);
  while (!evaluation_.is_ready()) {
    if (navigation_now() > deadline || !sleep_until_next_look()) {
      SDK_LOG(error) << "evaluate request send error";
      return false;
    }
  }
  return evaluation_.result();
}

}  // namespace norvik::sdk

#include "services/planning/status_reporter.hpp"

#include <algorithm>

#include "ovimux/dds/envelope.hpp"
#include "services/services.hpp"

namespace norvik::simulator {

namespace {

constexpr double kHertz = 10.0;
// For the envelope's own fields, the task's id and the description.
constexpr size_t kReserve = 4096;

}  // namespace

StatusReporter::StatusReporter(Environment& environment)
    : faults_(environment.planner_faults), statuses_(environment, kPlannerStatusTopic), regular_(kHertz) {
  now_.set_status(PlannerStatus::SERVICE_STATUS_INITING);
}

void StatusReporter::set_standing(const PlannerStatus& standing) {
  const std::lock_guard<std::mutex> lock(mutex_);
  standing_ = standing;
}

void StatusReporter::enter(PlannerStatus::ServiceStatus status, const std::string& task_id) {
  const std::lock_guard<std::mutex> lock(mutex_);
  now_.set_status(status);
  now_.set_task_id(task_id);
  publish_locked(now_);
}

void StatusReporter::end(const PlannerStatus& result) {
  const std::lock_guard<std::mutex> lock(mutex_);
  publish_locked(result);
}

void StatusReporter::beat(double time) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (regular_.due(time)) {
    publish_locked(now_);
  }
}

size_t StatusReporter::room_for_results() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const size_t taken = standing_.ByteSizeLong() + kReserve;
  return taken < ovimux::kSmallPayloadBound ? ovimux::kSmallPayloadBound - taken : 0;
}

// The lock keeps the order of the statuses.
void StatusReporter::publish_locked(const PlannerStatus& now) {
  auto message = std::make_shared<PlannerStatus>(standing_);
  const PlannerStart start = faults_.start();
  if (start == PlannerStart::kDone) {
    message->MergeFrom(now);
  } else {
    message->set_status(start == PlannerStart::kIniting ? PlannerStatus::SERVICE_STATUS_INITING
                                                        : PlannerStatus::SERVICE_STATUS_INIT_FAILED);
    message->set_error_code(start == PlannerStart::kIniting ? PlannerStatus::NO_ERROR
                                                            : PlannerStatus::INIT_FAIL_PLANNER_MANAGER);
  }
  statuses_.publish(message);
}

}  // namespace norvik::simulator

#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

#include <norvik_sdk/types.hpp>

#include "impl/session/planner_wait.hpp"
#include "norvik/kelvorn_proto/mps_status.pb.h"

namespace norvik::sdk {

using ServiceStatus = kelvorn_proto::PlannerStatus::ServiceStatus;

// "SERVICE_STATUS_READY (0)"; a value without a name is "UNKNOWN_STATUS (" and the number.
std::string planner_status_to_string(ServiceStatus status);

// Whether a task that reports it has ended. TRAJ_COLLISION is deliberately no end: such a task is waited for until its
// time is up.
bool is_terminal(ServiceStatus status);

// What the planning service said last, and waits for it. Any thread.
class ServiceStatusCell {
 public:
  // Stores a status and wakes all waits.
  void set(ServiceStatus status);

  // Ends all waits, for good.
  void stop();

  // Waits until the service is READY: SUCCESS. INVALID_INPUT for a time that is not above 0, INIT_FAILED when the
  // service says that it could not start, TIMEOUT. Ends early, as TIMEOUT, when the process shuts down.
  MotionStatus wait_mps_ready(double timeout_s);

  // Waits until `ready` holds, which is asked again with every status; false at `deadline` and on shutdown.
  bool wait_until(PlannerTime deadline, const std::function<bool()>& ready);

 private:
  bool wait_locked(std::unique_lock<std::mutex>& lock, PlannerTime deadline, const std::function<bool()>& ready);
  std::string text_locked() const;

  std::mutex mps_status_mutex_;
  std::condition_variable mps_status_cv_;
  ServiceStatus mps_status_ = kelvorn_proto::PlannerStatus::SERVICE_STATUS_INITING;
  bool mps_status_valid_ = false;
  bool stopped_ = false;
};

}  // namespace norvik::sdk

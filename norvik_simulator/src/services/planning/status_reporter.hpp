#pragma once

#include <mutex>
#include <string>

#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "wire/publisher.hpp"
#include "wire/service.hpp"

namespace norvik::simulator {

// The status topic of the planning service: what it does now, ten times a second and at every change, each time with
// the whole configuration and the objects of the scene. Any thread.
class StatusReporter {
 public:
  using PlannerStatus = kelvorn_proto::PlannerStatus;

  explicit StatusReporter(Environment& environment);

  // What every status says beside what is going on: configuration, limits, objects. From the next status on.
  void set_standing(const PlannerStatus& standing);

  // Goes into `status`, on behalf of a task or of none; said at once and from then on at every beat.
  void enter(PlannerStatus::ServiceStatus status, const std::string& task_id = "");
  // Says once how a task ended. `result` holds what belongs to that task alone.
  void end(const PlannerStatus& result);

  // Called by the thread that steps.
  void beat(double time);

  // Bytes that the results of a task may take, so that the status fits its envelope.
  size_t room_for_results() const;

 private:
  void publish_locked(const PlannerStatus& now);

  const PlannerFaults& faults_;
  mutable std::mutex mutex_;
  Publisher<PlannerStatus> statuses_;
  PlannerStatus standing_;
  PlannerStatus now_;  // Status and task alone.
  Periodic regular_;
};

}  // namespace norvik::simulator

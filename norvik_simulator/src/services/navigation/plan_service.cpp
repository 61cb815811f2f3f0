// Takes navigation tasks, drives them, and reports how they go.
#include <mutex>

#include "navigation/navigation.hpp"
#include "norvik/kelvorn_proto/pns_status.pb.h"
#include "services/navigation/task_reader.hpp"
#include "services/services.hpp"
#include "wire/publisher.hpp"
#include "wire/service_server.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

namespace {

using kelvorn_proto::EvaluateGoalAvailabilityReq;
using kelvorn_proto::EvaluateGoalAvailabilityResponse;
using kelvorn_proto::NavigationPlanRequest;
using kelvorn_proto::NavigationRequest;
using kelvorn_proto::NavigationResponse;
using kelvorn_proto::NavigationResult;
using kelvorn_proto::PNSStatus;

constexpr double kStatusHertz = 20.0;
constexpr double kRunningHertz = 10.0;

template <typename Request>
NavigationResponse answer(const Request& request, const std::string& refusal) {
  NavigationResponse response;
  *response.mutable_header()->mutable_timestamp() = now_stamp();
  response.set_task_id(request.task_id().substr(0, 256));
  response.set_status(refusal.empty() ? NavigationResponse::SUCCESS : NavigationResponse::FAILED);
  response.set_msg(refusal.empty() ? "accepted" : refusal);
  return response;
}

std::string read_base(const kelvorn_proto::RobotStates& state, PlanarPose& pose) {
  return state.base().map_frame() == kelvorn_proto::WORLD ? read_planar_pose(state.base().pose(), pose)
                                                          : "a pose that is not on the map";
}

std::string attach(Navigation& navigation, const std::string& id,
                   const kelvorn_proto::attachCollisionObjectRequest& request) {
  const kelvorn_proto::FrameProp& frame = request.object_config().frame_prop();
  const kelvorn_proto::SimpleObjectInput& object = request.simple_object().simple_object();
  if (!object.has_box()) {
    return "only boxes can be attached";
  }
  KDL::Frame pose;
  if (std::string reason = read_pose(frame.object_pose(), pose); !reason.empty()) {
    return reason;
  }
  const auto& box = object.box();
  return navigation.attach(id, frame.object_name(), frame.parent_frame().parent_link_name(), pose,
                           {box.length(), box.width(), box.height()});
}

std::string change_attached(Navigation& navigation, const NavigationRequest& request) {
  const kelvorn_proto::CommonRequest& common = request.common_request();
  if (common.has_attach_collision_object()) {
    return attach(navigation, request.task_id(), common.attach_collision_object());
  }
  if (common.has_remove_collision_object()) {
    const auto& removed = common.remove_collision_object();
    return navigation.detach(request.task_id(), {removed.object_name().begin(), removed.object_name().end()},
                             removed.is_remove_all());
  }
  return "a common request that is not simulated";
}

class PlanService : public Service {
 public:
  explicit PlanService(Environment& environment)
      : navigation_(environment.navigation),
        step_s_(environment.pace.step_s()),
        results_(environment, kNavigationStatusTopic),
        status_(environment, kNavigationServiceTopic),
        evaluations_(environment, kEvaluationTopic),
        plan_server_(
            kPlanService, {}, environment, [this](const NavigationRequest& request) { return plan(request); },
            answer<NavigationRequest>),
        plan_v2_server_(
            kPlanV2Service, {}, environment, [this](const NavigationPlanRequest& request) { return plan(request); },
            answer<NavigationPlanRequest>) {}

  void tick(const Tick& tick) override {
    navigation_.step(tick.time, step_s_);
    publish_reports();
    if (running_.due(tick.time)) {
      publish_running();
    }
    if (regular_.due(tick.time)) {
      auto status = std::make_shared<PNSStatus>();
      status->set_service_status(static_cast<PNSStatus::ServiceStatus>(navigation_.service_status()));
      status_.publish(status);
    }
  }

 private:
  NavigationResponse plan(const NavigationRequest& request) {
    const NavigationResponse response = answer(request, carry_out(request));
    publish_reports();
    return response;
  }

  // What became of the task before is told ahead of the answer, so that it is not taken for what becomes of this one.
  NavigationResponse plan(const NavigationPlanRequest& request) {
    Task task;
    std::string refusal = read_task(request, task);
    if (refusal.empty()) {
      refusal = navigation_.start(std::move(task));
    }
    publish_reports();
    return answer(request, refusal);
  }

  std::string carry_out(const NavigationRequest& request) {
    switch (request.request_type_case()) {
      case NavigationRequest::kMotionPlan: {
        Task task;
        std::string refusal = read_task(request.task_id(), request.motion_plan(), task);
        return refusal.empty() ? navigation_.start(std::move(task)) : refusal;
      }
      case NavigationRequest::kStopNavigationReq:
        return navigation_.stop();
      case NavigationRequest::kEvaluateGoalAvailabilityReq:
        return evaluate(request.task_id(), request.evaluate_goal_availability_req());
      case NavigationRequest::kCommonRequest:
        return change_attached(navigation_, request);
      default:
        return "a request that is not simulated";
    }
  }

  std::string evaluate(const std::string& id, const EvaluateGoalAvailabilityReq& request) {
    if (navigation_.service_status() != ServiceStatus::kWorking) {
      return "the service is not working";
    }
    PlanarPose start;
    PlanarPose goal;
    std::string refusal = read_base(request.goal_state(), goal);
    if (refusal.empty() && request.use_start_state()) {
      refusal = read_base(request.start_state(), start);
    }
    if (!refusal.empty()) {
      return refusal;
    }
    const auto found = navigation_.evaluate(request.use_start_state() ? std::optional(start) : std::nullopt, goal);
    auto evaluation = std::make_shared<EvaluateGoalAvailabilityResponse>();
    evaluation->set_task_id(id);
    evaluation->mutable_start_pose()->set_available(found.start_is_free);
    evaluation->mutable_goal_pose()->set_available(found.goal_is_free);
    evaluation->set_has_solution(found.has_way);
    evaluation->set_path_collision(!found.has_way);
    evaluation->set_available(found.has_way);
    const std::lock_guard<std::mutex> lock(mutex_);
    evaluations_.publish(evaluation);
    return "";
  }

  // Under the mutex from the look to the last word: the order of two reports is that of what happened.
  void publish_reports() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const Report& report : navigation_.take_reports()) {
      publish(report);
    }
  }

  void publish_running() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const Report& report : navigation_.running()) {
      publish(report);
    }
  }

  void publish(const Report& report) {
    auto result = std::make_shared<NavigationResult>();
    *result->mutable_header()->mutable_timestamp() = now_stamp();
    result->mutable_header()->set_seq(++seq_);
    result->set_task_id(report.task_id);
    result->set_status(static_cast<NavigationResult::TaskStatus>(report.status));
    result->set_msg(report.message);
    results_.publish(result);
  }

  Navigation& navigation_;
  const double step_s_;
  std::mutex mutex_;  // Guards the two publishers that requests use, too.
  Publisher<NavigationResult> results_;
  Publisher<PNSStatus> status_;
  Publisher<EvaluateGoalAvailabilityResponse> evaluations_;
  uint32_t seq_ = 0;
  Periodic regular_{kStatusHertz};
  Periodic running_{kRunningHertz};
  ServiceServer<NavigationRequest, NavigationResponse> plan_server_;
  ServiceServer<NavigationPlanRequest, NavigationResponse> plan_v2_server_;
};

}  // namespace

std::unique_ptr<Service> make_plan_service(Environment& environment) {
  return std::make_unique<PlanService>(environment);
}

}  // namespace norvik::simulator

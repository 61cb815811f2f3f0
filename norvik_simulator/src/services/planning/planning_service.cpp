// The motion planning service: takes tasks and works them off, tells what it is doing, answers questions meanwhile.
#include <atomic>
#include <chrono>
#include <future>
#include <iostream>

#include "model/model_folder.hpp"
#include "ovimux/ovimux.hpp"
#include "services/planning/depth_camera.hpp"
#include "services/planning/kinematic_answers.hpp"
#include "services/planning/messages/data_answers.hpp"
#include "services/planning/planner_tasks.hpp"
#include "services/planning/result_faults.hpp"
#include "services/planning/status_reporter.hpp"
#include "services/planning/task_worker.hpp"
#include "services/services.hpp"
#include "wire/service_server.hpp"

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;
using proto::MotionPlannerOutput;
using proto::MotionPlanServerRequest;
using proto::PlannerStatus;

constexpr size_t kLongestTaskId = 256;
// For a reply that is to come after its task's end: below the five seconds that a client waits for it.
constexpr std::chrono::seconds kLongestHold{4};
constexpr std::chrono::milliseconds kLookForShutdown{20};
constexpr const char* kNotStarted = "the planner has not started";

MotionPlannerOutput make_output(MotionPlannerOutput::RpcErrorCode code, const std::string& text) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  MotionPlannerOutput output;
  output.set_res(code);
  output.set_desp(text);
  output.set_time_stamp(std::chrono::duration<double>(now).count());
  return output;
}

void wait_for_end(const std::future<void>& ended) {
  const auto deadline = std::chrono::steady_clock::now() + kLongestHold;
  while (ended.wait_for(kLookForShutdown) != std::future_status::ready && ovimux::OK() &&
         std::chrono::steady_clock::now() < deadline) {
  }
}

class PlanningService : public Service {
 public:
  PlanningService(Environment& environment, planning::Planner planner)
      : environment_(environment),
        planner_(std::move(planner)),
        state_(PlannerSettings(planner_.model())),
        execution_(environment.world),
        reporter_(environment),
        camera_(environment),
        tasks_({planner_, environment.world, state_, execution_,
                [this](proto::CameraType camera) { return camera_.take(camera, time_); }, stopping_}),
        worker_(stopping_, [this](const PlanTask& task) { run(task); }),
        plans_(
            kPlannerService, {}, environment, [this](const auto& request) { return accept(request); },
            [](const auto&, const std::string& why) { return make_output(MotionPlannerOutput::UNKNOWN, why); }),
        data_(
            kPlannerDataService, {}, environment, [this](const auto& request) { return answer(request); }, refuse_data),
        kinematics_(
            kPlannerKinematicService, {}, environment, [this](const auto& request) { return answer(request); },
            refuse_kinematics) {
    tell_standing();
    reporter_.enter(PlannerStatus::SERVICE_STATUS_READY);
  }

  void tick(const Tick& tick) override {
    time_ = tick.time;
    execution_.observe(tick.state, tick.time);
    reporter_.beat(tick.time);
  }

 private:
  // On workers of the middleware.
  MotionPlannerOutput accept(const MotionPlanServerRequest& request) {
    if (environment_.planner_faults.start() != PlannerStart::kDone) {
      return make_output(MotionPlannerOutput::UNKNOWN, kNotStarted);
    }
    if (request.task_id().empty() || request.task_id().size() > kLongestTaskId) {
      return make_output(MotionPlannerOutput::UNKNOWN, "no task_id, or one of more than 256 bytes");
    }
    PlanTask task{request, environment_.planner_faults.take(), std::make_shared<std::promise<void>>()};
    const bool is_held = task.fault == TaskFault::kStatusFirst;
    const std::future<void> ended = task.ended->get_future();
    if (!worker_.offer(std::move(task))) {
      return make_output(MotionPlannerOutput::ERROR_TASK_IS_RUNING, "too many tasks wait");
    }
    if (is_held) {
      wait_for_end(ended);
    }
    return make_output(MotionPlannerOutput::SUCCESS, "accepted");
  }

  proto::DataResponse answer(const proto::GetDataRequest& request) {
    return answer_data(request, planner_.model(), environment_.world.robot(), state_.snapshot()->scene);
  }

  proto::KinematicResponse answer(const proto::KinematicRequest& request) {
    auto response =
        answer_kinematics(request, planner_, robot_now(environment_.world, planner_.model()), *state_.snapshot());
    spoil(environment_.planner_faults.take_for_answer(), response);
    return response;
  }

  // On the worker of the tasks. Between two tasks the service is ready, so that whoever waits for that may go on.
  void run(const PlanTask& task) {
    const std::string& id = task.request.task_id();
    reporter_.enter(PlannerStatus::SERVICE_STATUS_BUSY, id);
    PlannerStatus end = outcome(task);
    end.set_task_id(id);
    if (task.request.has_common_request() || task.request.has_config_setting_req()) {
      tell_standing();
    }
    const int times = task.fault == TaskFault::kNever ? 0 : task.fault == TaskFault::kTwice ? 2 : 1;
    for (int i = 0; i < times; ++i) {
      reporter_.end(end);
    }
    reporter_.enter(PlannerStatus::SERVICE_STATUS_READY);
  }

  PlannerStatus outcome(const PlanTask& task) {
    PlannerStatus end;
    if (task.fault == TaskFault::kCollision || task.fault == TaskFault::kFailed) {
      end.set_status(task.fault == TaskFault::kCollision ? PlannerStatus::SERVICE_STATUS_TRAJ_COLLISION
                                                         : PlannerStatus::SERVICE_STATUS_EXECUTE_FAILED);
      end.set_error_desp("injected fault");
      return end;
    }
    end = tasks_.run(task.request, reporter_.room_for_results());
    spoil(task.fault, end);
    return end;
  }

  void tell_standing() {
    const auto snapshot = state_.snapshot();
    PlannerStatus standing;
    snapshot->settings.write(standing);
    for (const auto& [name, object] : snapshot->scene.obstacles()) {
      standing.add_env_objs(name);
    }
    reporter_.set_standing(standing);
  }

  Environment& environment_;
  const planning::Planner planner_;
  PlannerState state_;
  Execution execution_;
  StatusReporter reporter_;
  DepthCamera camera_;  // The worker's.
  std::atomic<double> time_{0.0};
  std::atomic<bool> stopping_{false};
  const PlannerTasks tasks_;
  TaskWorker worker_;
  ServiceServer<MotionPlanServerRequest, MotionPlannerOutput> plans_;  // Last: requests arrive as soon as they exist.
  ServiceServer<proto::GetDataRequest, proto::DataResponse> data_;
  ServiceServer<proto::KinematicRequest, proto::KinematicResponse> kinematics_;
};

// Says that there is no planner.
class FailedPlanningService : public Service {
 public:
  explicit FailedPlanningService(Environment& environment) : reporter_(environment) {
    reporter_.enter(PlannerStatus::SERVICE_STATUS_INIT_FAILED);
  }
  void tick(const Tick& tick) override { reporter_.beat(tick.time); }

 private:
  StatusReporter reporter_;
};

}  // namespace

std::unique_ptr<Service> make_planning_service(Environment& environment) {
  std::string error;
  auto planner = planning::Planner::load(environment.world.robot(), model_folder(), error);
  if (!planner) {
    std::cerr << "norvik_simulator: the planner cannot start: " << error << std::endl;
    return std::make_unique<FailedPlanningService>(environment);
  }
  return std::make_unique<PlanningService>(environment, std::move(*planner));
}

}  // namespace norvik::simulator

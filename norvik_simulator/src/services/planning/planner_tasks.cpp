#include "services/planning/planner_tasks.hpp"

#include <cmath>
#include <map>
#include <utility>

#include "services/planning/kinematic_answers.hpp"
#include "services/planning/messages/bad_request.hpp"
#include "services/planning/messages/wire_reading.hpp"
#include "services/planning/messages/wire_writing.hpp"
#include "world/refusal.hpp"

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;
using proto::PlannerStatus;

// How far the robot may have moved since it was planned for; radians or metres.
constexpr double kAtStart = 0.02;
// Bytes. Descriptions name what callers send.
constexpr size_t kLongestDescription = 1024;

void require(const planning::Outcome& outcome) {
  if (!outcome) {
    const bool is_input = outcome.reason == planning::Reason::kInvalidInput;
    throw BadRequest(outcome.description, is_input ? PlannerStatus::PARAM_ERROR : PlannerStatus::NO_ERROR);
  }
}

planning::Settings settings_of(const PlannerTasks::Request& request, const PlannerSettings& configured) {
  planning::Settings settings = configured.settings();
  if (request.has_enable_env_collision_check() && !request.enable_env_collision_check().value()) {
    settings.collision.disable_env_collision_check = true;
  }
  return settings;
}

}  // namespace

// One task while it runs.
struct PlannerTasks::Task {
  const Tools& tools;
  const Request& request;
  const size_t room;
  const planning::RobotState now;
  const PlannerState::Snapshot& snapshot;
  const planning::Settings settings;
  const planning::Interrupt interrupt;
  PlannerStatus& status;

  const planning::PlanningModel& model() const { return tools.planner.model(); }
};

PlannerStatus PlannerTasks::run(const Request& request, size_t room) const {
  using Action = void (*)(const Task&);
  static const std::map<Request::RequestCase, Action> kActions = {{Request::kConfigSettingReq, change_settings},
                                                                  {Request::kCommonRequest, change_objects},
                                                                  {Request::kMotionPlanReq, plan},
                                                                  {Request::kMoveLine, plan_line},
                                                                  {Request::kMulPointReq, plan_waypoints},
                                                                  {Request::kSigPointReq, plan_single_points},
                                                                  {Request::kInverseKinematics, inverse},
                                                                  {Request::kForwardKinematics, forward},
                                                                  {Request::kCheckCollision, check_collision}};
  PlannerStatus status;
  try {
    const auto action = kActions.find(request.Request_case());
    if (action == kActions.end()) {
      throw BadRequest("this kind of request is not implemented", PlannerStatus::FUNTION_NOT_IMPLEMTED);
    }
    const auto snapshot = tools_.state.snapshot();
    const planning::Settings settings = settings_of(request, snapshot->settings);
    action->second({tools_, request, room, robot_now(tools_.world, tools_.planner.model()), *snapshot, settings,
                    [&stop = tools_.stop] { return stop.load(); }, status});
    if (status.ByteSizeLong() > room) {
      throw BadRequest("the result does not fit into a status");
    }
    status.set_status(PlannerStatus::SERVICE_STATUS_FINISHED);
    return status;
  } catch (const BadRequest& error) {
    status.Clear();
    status.set_error_code(error.code);
    status.set_error_desp(printable_name(error.what(), kLongestDescription));
  } catch (const std::exception& error) {
    status.Clear();
    status.set_error_desp(error.what());
  }
  status.set_status(PlannerStatus::SERVICE_STATUS_EXECUTE_FAILED);
  return status;
}

void PlannerTasks::change_settings(const Task& task) {
  PlannerState::Snapshot changed = task.snapshot;
  changed.settings.apply(task.request.config_setting_req());
  task.tools.state.replace(std::move(changed));
}

void PlannerTasks::change_objects(const Task& task) {
  PlannerState::Snapshot changed = task.snapshot;
  change_scene(task.request.common_request(), task.model(), task.now, task.tools.take_depth, changed.scene);
  task.tools.state.replace(std::move(changed));
}

void PlannerTasks::plan(const Task& task) {
  const auto request = read_plan(task.request.motion_plan_req(), task.now);
  finish_plan(task, task.tools.planner.plan(request, task.snapshot.scene, task.settings, task.interrupt));
}

void PlannerTasks::plan_line(const Task& task) {
  const auto request = read_plan(task.request.move_line(), task.now);
  finish_plan(task, task.tools.planner.plan_line(request, task.snapshot.scene, task.settings, task.interrupt));
}

void PlannerTasks::plan_waypoints(const Task& task) {
  const auto request = read_waypoints(task.request.mul_point_req(), task.now);
  finish_plan(task, task.tools.planner.plan_waypoints(request, task.snapshot.scene, task.settings, task.interrupt));
}

void PlannerTasks::plan_single_points(const Task& task) {
  const auto request = read_plan(task.request.sig_point_req(), task.now);
  finish_plan(task, task.tools.planner.plan_waypoints(request, task.snapshot.scene, task.settings, task.interrupt));
}

void PlannerTasks::finish_plan(const Task& task, const planning::PlanResult& result) {
  require(result.outcome);
  std::string note;
  *task.status.mutable_tavrinox_target() = make_target_within(task.room, result.path, task.model(), note);
  task.status.set_error_desp(note);
  if (task.request.immediate_execute().value()) {
    execute(task, result.path);
  }
}

void PlannerTasks::execute(const Task& task, const planning::Path& path) {
  const planning::Joints now = robot_now(task.tools.world, task.model()).joints;
  for (const std::string& chain : path.chains) {
    for (const size_t index : task.model().find_chain(chain)->indices) {
      if (std::abs(now[index] - path.points.front()[index]) > kAtStart) {
        throw BadRequest("the robot does not stand where the motion starts: " + task.model().joint(index).name);
      }
    }
  }
  const std::string failure =
      task.tools.execution.run(make_target(path, task.model()), task.request.task_id(), task.tools.stop);
  if (!failure.empty()) {
    throw BadRequest("not carried out: " + failure, PlannerStatus::NO_ERROR);
  }
}

void PlannerTasks::inverse(const Task& task) {
  const auto request = read_inverse(task.request.inverse_kinematics(), task.now);
  const auto result =
      task.tools.planner.inverse_kinematics(request, task.snapshot.scene, task.settings, task.interrupt);
  require(result.outcome);
  write_solution(result, task.model(), *task.status.mutable_inverse_kinematic_result());
}

void PlannerTasks::forward(const Task& task) {
  write_link_poses(task.tools.planner, task.request.forward_kinematics(), task.now,
                   *task.status.mutable_forward_kinematic_result());
}

// 1 for a state that collides, else 0.
void PlannerTasks::check_collision(const Task& task) {
  auto& result = *task.status.mutable_collision_result();
  for (const proto::RobotStates& wire : task.request.check_collision().robot_state()) {
    const planning::RobotState state = read_state(wire, task.now);
    require(task.model().check(state));
    const auto contact = task.tools.planner.check_collision(state, task.snapshot.scene, task.settings);
    result.add_data(contact ? 1.0 : 0.0);
    if (contact && task.status.error_desp().empty()) {
      task.status.set_error_desp(contact->first + " touches " + contact->second);
    }
  }
}

}  // namespace norvik::simulator

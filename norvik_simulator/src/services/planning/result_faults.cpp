#include "services/planning/result_faults.hpp"

namespace norvik::simulator {

namespace {

void shorten(core_proto::Vector& vector) {
  if (!vector.data().empty()) {
    vector.mutable_data()->RemoveLast();
  }
}

void shorten_results(kelvorn_proto::PlannerStatus& status) {
  for (auto& [chain, joints] : *status.mutable_inverse_kinematic_result()) {
    shorten(joints);
  }
  for (auto& [group, trajectory] : *status.mutable_tavrinox_target()->mutable_target_group_trajectory_map()) {
    for (auto& command : *trajectory.mutable_group_commands()) {
      command.mutable_joint_commands()->RemoveLast();
    }
  }
  status.mutable_collision_result()->add_data(0.0);
}

void clear_results(kelvorn_proto::PlannerStatus& status) {
  status.clear_tavrinox_target();
  status.clear_inverse_kinematic_result();
  status.clear_forward_kinematic_result();
  status.clear_collision_result();
}

}  // namespace

void spoil(TaskFault fault, kelvorn_proto::PlannerStatus& status) {
  if (fault == TaskFault::kNoResult) {
    clear_results(status);
  } else if (fault == TaskFault::kWrongSize) {
    shorten_results(status);
  }
}

void spoil(TaskFault fault, kelvorn_proto::KinematicResponse& response) {
  if (fault == TaskFault::kNoResult) {
    response.clear_kinematic_result();
    return;
  }
  for (auto& [link, matrix] : *response.mutable_jacobian_result()->mutable_jacobian_result()) {
    if (fault == TaskFault::kWrongSize && !matrix.elements().empty()) {
      matrix.mutable_elements()->RemoveLast();
    } else if (fault == TaskFault::kWrongShape) {
      matrix.set_cols(0);
    }
  }
}

}  // namespace norvik::simulator

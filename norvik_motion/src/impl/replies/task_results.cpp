#include "impl/replies/task_results.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "impl/requests/proto_conversion.hpp"
#include "impl/tables/text_lists.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using kelvorn_proto::KinematicResponse;
using kelvorn_proto::PlannerStatus;

namespace {

DoubleRows to_rows(const core_proto::Matrix& matrix) {
  DoubleRows rows;
  rows.reserve(matrix.rows());
  for (uint32_t row = 0; row < matrix.rows(); ++row) {
    const auto begin = matrix.elements().begin() + static_cast<std::ptrdiff_t>(row) * matrix.cols();
    rows.emplace_back(begin, begin + matrix.cols());
  }
  return rows;
}

bool has_valid_shape(const core_proto::Matrix& matrix) {
  constexpr uint32_t kLargest = std::numeric_limits<int32_t>::max();
  const uint32_t rows = matrix.rows();
  const uint32_t cols = matrix.cols();
  if (rows == 0 || cols == 0 || rows > kLargest || cols > kLargest) {
    SDK_LOG(error) << "Jacobian response has invalid matrix shape: " << static_cast<int32_t>(rows) << "x"
                   << static_cast<int32_t>(cols);
    return false;
  }
  return true;
}

bool has_valid_size(const core_proto::Matrix& matrix) {
  const uint32_t rows = matrix.rows();
  const uint32_t cols = matrix.cols();
  if (static_cast<uint64_t>(matrix.elements_size()) != uint64_t{rows} * cols) {
    SDK_LOG(error) << "Jacobian response matrix size mismatch: rows=" << rows << ", cols=" << cols
                   << ", elements_size=" << matrix.elements_size();
    return false;
  }
  return true;
}

}  // namespace

MotionStatus finish_status(const PlannerStatus& status) {
  return status.status() == PlannerStatus::SERVICE_STATUS_FINISHED ? MotionStatus::SUCCESS : MotionStatus::FAULT;
}

RowsByGroup convert_target_to_joint_trajectory(const tavrinox_proto::TavrinoXTarget& target) {
  RowsByGroup path;
  for (const auto& [group, trajectory] : target.target_group_trajectory_map()) {
    SDK_LOG(info) << "group: " << group << ", size: " << trajectory.group_commands_size();
    DoubleRows& rows = path[group];
    rows.reserve(static_cast<size_t>(trajectory.group_commands_size()));
    for (const auto& command : trajectory.group_commands()) {
      std::vector<double>& row = rows.emplace_back();
      row.reserve(static_cast<size_t>(command.joint_commands_size()));
      for (const auto& joint : command.joint_commands()) {
        row.push_back(joint.position());
      }
    }
  }
  return path;
}

std::tuple<MotionStatus, RowsByGroup> parse_plan_result(const PlannerStatus& status) {
  if (finish_status(status) != MotionStatus::SUCCESS) {
    return {MotionStatus::FAULT, {}};
  }
  return {MotionStatus::SUCCESS, convert_target_to_joint_trajectory(status.tavrinox_target())};
}

std::tuple<MotionStatus, std::vector<double>> parse_fk_result(const PlannerStatus& status) {
  if (finish_status(status) != MotionStatus::SUCCESS) {
    return {MotionStatus::FAULT, {}};
  }
  const auto& results = status.forward_kinematic_result();
  if (results.empty()) {
    SDK_LOG(error) << "return status SUCCESS but has no result.";
    return {MotionStatus::FAULT, {}};
  }
  SDK_LOG(info) << "FK Results :";
  std::vector<double> pose;
  for (const auto& [chain, result] : results) {
    std::vector<double> values = convert_pose_to_vec(result);
    SDK_LOG(info) << "  Chain '" << chain << "': " << join_values(values);
    if (pose.empty()) {
      pose = std::move(values);
    }
  }
  return {MotionStatus::SUCCESS, std::move(pose)};
}

std::tuple<MotionStatus, ValuesByChain> parse_ik_result(const PlannerStatus& status) {
  if (finish_status(status) != MotionStatus::SUCCESS) {
    return {MotionStatus::FAULT, {}};
  }
  const auto& results = status.inverse_kinematic_result();
  if (results.empty()) {
    SDK_LOG(error) << "return status SUCCESS but has no result.";
    return {MotionStatus::FAULT, {}};
  }
  SDK_LOG(info) << "IK Results (" << results.size() << " chains):";
  ValuesByChain joints;
  for (const auto& [chain, result] : results) {
    std::vector<double>& values = joints[chain];
    values = {result.data().begin(), result.data().end()};
    SDK_LOG(info) << "  Chain '" << chain << "': " << values.size() << " joints " << join_values(values);
  }
  return {MotionStatus::SUCCESS, std::move(joints)};
}

std::tuple<MotionStatus, DoubleRows> parse_jacobian_result(const KinematicResponse& response) {
  if (!response.ret()) {
    SDK_LOG(error) << "Jacobian computation failed: " << response.msg();
    return {MotionStatus::FAULT, {}};
  }
  if (response.kinematic_result_case() != KinematicResponse::kJacobianResult) {
    SDK_LOG(error) << "Jacobian response has no jacobian_result field.";
    return {MotionStatus::FAULT, {}};
  }
  const auto& results = response.jacobian_result().jacobian_result();
  if (results.empty()) {
    SDK_LOG(error) << "Jacobian response has empty result map.";
    return {MotionStatus::FAULT, {}};
  }
  const auto& [link, matrix] = *results.begin();
  if (!has_valid_shape(matrix)) {
    return {MotionStatus::FAULT, {}};
  }
  SDK_LOG(info) << "Jacobian for link '" << link << "': " << matrix.rows() << "x" << matrix.cols();
  if (!has_valid_size(matrix)) {
    return {MotionStatus::FAULT, {}};
  }
  return {MotionStatus::SUCCESS, to_rows(matrix)};
}

std::tuple<MotionStatus, std::vector<bool>> parse_collision_result(const PlannerStatus& status, size_t states) {
  if (finish_status(status) != MotionStatus::SUCCESS) {
    return {MotionStatus::FAULT, {}};
  }
  const auto& results = status.collision_result().data();
  if (static_cast<size_t>(results.size()) != states) {
    SDK_LOG(error) << "result size unmatch input joint list size.";
    return {MotionStatus::FAULT, {}};
  }
  std::vector<bool> collisions;
  collisions.reserve(states);
  std::transform(results.begin(), results.end(), std::back_inserter(collisions),
                 [](double value) { return std::round(value) != 0.0; });  // Not-a-number counts as a collision.
  SDK_LOG(info) << "Collision Results (" << states << " items):\n  Data: ["
                << join_values({results.begin(), results.end()}) << "]";
  return {MotionStatus::SUCCESS, std::move(collisions)};
}

}  // namespace norvik::sdk

// The state of the robot in the order of the service, and the zero posture.

#include <algorithm>
#include <exception>

#include "common_provider.hpp"
#include "impl/norvik_motion_base.hpp"
#include "impl/parameter_access.hpp"
#include "ovimux/basic_interface/duration.hpp"
#include "ovimux/tf2_ovimux/buffer.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

int32_t NorvikMotionBase::get_robot_dof() const { return chain_tables()->robot_dof_; }

int32_t NorvikMotionBase::get_chain_dof(const std::string& chain) const {
  const auto tables = chain_tables();
  const auto row = tables->chain_dof_map_.find(chain);
  return row == tables->chain_dof_map_.end() ? -1 : row->second;
}

RobotStates NorvikMotionBase::get_robot_states() {
  RobotStates states;
  states.whole_body_joint = get_whole_body_joint_state();
  states.base_state = get_base_state();
  return states;
}

NorvikMotion::JointMap NorvikMotionBase::get_chain_pose_state(const std::string& /*chain*/) { return {}; }

NorvikMotion::JointMap NorvikMotionBase::read_chain_joint_state(const std::set<std::string>& skipped) {
  const auto& get_joint_positions = JointStateProvider::get_joint_positions_func_;
  const auto tables = chain_tables();
  JointMap state;
  for (const auto& [chain, joint_names] : tables->chain_joint_names_) {
    if (skipped.count(chain) != 0) {
      continue;
    }
    auto positions = get_joint_positions ? get_joint_positions({}, joint_names) : std::vector<double>{};
    if (!get_joint_positions || positions.size() != joint_names.size()) {
      SDK_LOG(error) << "get_chain_joint_state: get_joint_positions failed or size mismatch for chain " << chain
                     << " (got " << positions.size() << ", expect " << joint_names.size() << ")";
      return {};
    }
    state[chain] = std::move(positions);
  }
  return state;
}

std::vector<double> NorvikMotionBase::get_whole_body_joint_state() {
  const auto tables = chain_tables();
  SDK_LOG(info) << "get_whole_body_joint_state: robot_dof_ = " << tables->robot_dof_;
  const JointMap chain_state = get_chain_joint_state();
  if (chain_state.empty()) {
    SDK_LOG(error) << "get_whole_body_joint_state: chain_state is empty after get_chain_joint_state.";
    return {};
  }
  if (!data_checker()->check_chain_joint_state(chain_state, false)) {
    SDK_LOG(error) << "get_whole_body_joint_state: check_chain_joint_state failed, joint_state invalid.";
    return {};
  }
  for (const auto& [chain, indices] : tables->joint_index_map_) {
    if (!indices.empty()) {
      SDK_LOG(info) << "get_whole_body_joint_state: chain: " << chain << ", start id: " << indices.front()
                    << ", end id: " << indices.back();
    }
  }
  std::vector<double> whole_body(static_cast<size_t>(tables->robot_dof_), 0.0);
  for (const auto& [chain, joints] : chain_state) {
    place_chain(chain, joints, *tables, whole_body);
  }
  SDK_LOG(info) << "get_whole_body_joint_state: joint_positions size: " << whole_body.size();
  return whole_body;
}

void NorvikMotionBase::place_chain(const std::string& chain, const std::vector<double>& joints,
                                   const ChainTables& tables, std::vector<double>& whole_body) const {
  const auto row = tables.joint_index_map_.find(chain);
  if (row == tables.joint_index_map_.end()) {
    SDK_LOG(error) << "get_whole_body_joint_state: chain [" << chain << "] not found in joint_index_map_, skip.";
    return;
  }
  const std::vector<int32_t>& indices = row->second;
  if (indices.size() < joints.size()) {
    SDK_LOG(error) << "get_whole_body_joint_state: index size (" << indices.size()
                   << ") smaller than joint vector size (" << joints.size() << ") for chain [" << chain
                   << "], some joints will be ignored.";
  }
  for (size_t i = 0; i < std::min(indices.size(), joints.size()); ++i) {
    if (indices[i] < 0 || static_cast<size_t>(indices[i]) >= whole_body.size()) {
      SDK_LOG(error) << "get_whole_body_joint_state: invalid joint index " << indices[i] << " for chain [" << chain
                     << "], skip this element.";
      continue;
    }
    whole_body[static_cast<size_t>(indices[i])] = joints[i];
  }
}

bool NorvikMotionBase::replace_joint_state(const std::string& chain, const std::vector<double>& joint_values,
                                           std::vector<double>& whole_body) {
  const auto checker = data_checker();
  if (!checker->check_whole_body_state(whole_body, false)) {
    SDK_LOG(error) << "replace_joint_state, invalid whole body state.";
    return false;
  }
  if (!checker->check_chain_joint_state({{chain, joint_values}}, false)) {
    SDK_LOG(error) << "replace_joint_state, invalid chain joint state.";
    return false;
  }
  const auto tables = chain_tables();
  const auto row = tables->joint_index_map_.find(chain);
  if (row == tables->joint_index_map_.end()) {
    SDK_LOG(error) << "replace_joint_state, unsupport chain name: " << chain;
    return false;
  }
  // The service may have told more places than joints, or places beyond the vector.
  const auto& indices = row->second;
  if (indices.size() > joint_values.size() || std::any_of(indices.begin(), indices.end(), [&](int32_t index) {
        return index < 0 || static_cast<size_t>(index) >= whole_body.size();
      })) {
    SDK_LOG(error) << "replace_joint_state, the joint indices of chain " << chain << " do not fit the robot.";
    return false;
  }
  for (size_t i = 0; i < indices.size(); ++i) {
    whole_body[static_cast<size_t>(indices[i])] = joint_values[i];
  }
  return true;
}

std::vector<double> NorvikMotionBase::get_base_state() {
  const auto& get_base_state = BaseStateProvider::get_base_state_func_;
  if (!get_base_state) {
    SDK_LOG(error) << "BaseStateProvider callback is not set. Navigation may not be initialized. "
                   << "If you need base pose for motion planning, please initialize Navigation first, "
                   << "or provide reference_base_pose parameter explicitly.";
    return {};
  }
  std::vector<double> base = get_base_state();
  if (base.empty()) {
    SDK_LOG(error) << "get_base_state returned empty. Navigation may not be localized or base state unavailable.";
  }
  return base;
}

std::string NorvikMotionBase::status_to_string(MotionStatus status) const {
  const auto text = status_string_map_.find(status);
  return text == status_string_map_.end() ? std::string() : text->second;
}

MotionStatus NorvikMotionBase::control_status_to_motion_status(ControlStatus status) {
  const auto value = static_cast<int32_t>(status);
  return value < 0 || value >= static_cast<int32_t>(ControlStatus::STATUS_NUM) ? MotionStatus::FAULT
                                                                               : static_cast<MotionStatus>(value);
}

MotionStatus NorvikMotionBase::get_transform(const std::string& target, const std::string& source, int64_t time_ns,
                                             int64_t timeout_ms, std::array<double, 7>& pose, int64_t& timestamp_ns) {
  const ovimux::basic_interface::Time time(time_ns, ovimux::basic_interface::RCL_SYSTEM_TIME);
  const ovimux::basic_interface::Duration timeout(timeout_ms * 1'000'000);
  const auto buffer = tf_buffer_.get_data();
  try {
    if (buffer && buffer->canTransform(target, source, time, timeout)) {
      const auto message = buffer->lookupTransform(target, source, time, timeout);
      const auto& translation = message.transform().translation();
      const auto& rotation = message.transform().rotation();
      pose = {translation.x(), translation.y(), translation.z(), rotation.x(),
              rotation.y(),    rotation.z(),    rotation.w()};
      const auto& stamp = message.header().timestamp();
      timestamp_ns = static_cast<int64_t>(stamp.sec()) * 1'000'000'000 + static_cast<int64_t>(stamp.nanosec());
      return MotionStatus::SUCCESS;
    }
  } catch (const std::exception&) {
    // The samples can leave the cache between the question and the look-up.
  }
  SDK_LOG(error) << "Transform from " << source << " to " << target << " failed";
  return MotionStatus::DATA_FETCH_FAILED;
}

// The lower body and the head move by the joint layer, then the arms by the planner.
MotionStatus NorvikMotionBase::move_to_zero(const ZeroPosture& posture, bool blocking, double speed, double timeout,
                                            std::shared_ptr<Parameter> parameter) {
  const auto options = read_parameter(parameter ? parameter : default_param, "move_whole_body_joint_zero");
  if (!options || !(options->timeout > 0.0)) {
    SDK_LOG(error) << "invalid [timeout_ms] value, must be positive.";
    return MotionStatus::INVALID_INPUT;
  }
  const auto& set_joint_positions = JointPositionControlProvider::set_joint_positions_func_;
  if (!set_joint_positions) {
    SDK_LOG(error) << "move_whole_body_joint_zero: no joint control, initialize Robot first.";
    return MotionStatus::INVALID_INPUT;
  }
  std::vector<double> joints = posture.lower_body_joints;
  joints.insert(joints.end(), posture.head.begin(), posture.head.end());
  const MotionStatus lower = control_status_to_motion_status(
      set_joint_positions(joints, {posture.lower_body, "head"}, {}, blocking, speed, timeout));
  if (lower != MotionStatus::SUCCESS) {
    return lower;
  }
  const auto copy = std::make_shared<Parameter>(*options);
  copy->immediate_execute = true;
  copy->blocking = blocking;
  copy->plan_path = true;
  copy->actuate_type = g_actuate_type_map.at("with_chain_only");
  const auto move_arm = [&](const char* chain, const std::vector<double>& positions) {
    const auto target = std::make_shared<JointStates>();
    target->chain = chain;
    target->joint_positions = positions;
    return std::get<0>(motion_plan(target, nullptr, nullptr, true, copy));
  };
  const MotionStatus left = move_arm("left_arm", posture.left_arm);
  return left == MotionStatus::SUCCESS ? move_arm("right_arm", posture.right_arm) : left;
}

}  // namespace norvik::sdk

#include "impl/wbc/joints/joint_state_module.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <utility>

#include "impl/common/proto_time.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

using SharedLock = std::shared_lock<ovimux::SharedMutex>;
using UniqueLock = std::unique_lock<ovimux::SharedMutex>;

constexpr int64_t kGripperHistoryNs = 400'000'000;
constexpr double kGripperStillWidthM = 0.0005;
// Keeps the rounding of a difference such as 0.0405 - 0.04, which comes out above 0.0005, from counting as motion.
constexpr double kWidthRoundingM = 1e-9;
constexpr double kMillimetresPerMetre = 1000.0;
constexpr std::string_view kJointMark = "_joint";

// Groups that the controller reports only among its sensors.
constexpr std::string_view kSensorGroups[] = {"left_gripper", "right_gripper", "left_suction_cup", "right_suction_cup"};

bool is_gripper_name(const std::string& name) { return name.find("gripper") != std::string::npos; }

int64_t oldest_kept_time(int64_t latest_ns) {
  constexpr int64_t kEarliest = std::numeric_limits<int64_t>::min();
  return latest_ns < kEarliest + kGripperHistoryNs ? kEarliest : latest_ns - kGripperHistoryNs;
}

JointState make_joint_state(const tavrinox_proto::JointInfo& joints, int index, int64_t timestamp_ns) {
  JointState joint(joints.state_pos(index), joints.state_vel(index), joints.state_acc(index), joints.state_eff(index),
                   joints.state_cur(index), timestamp_ns);
  joint.name = joints.names(index);
  return joint;
}

bool has_state_of_every_joint(const tavrinox_proto::JointInfo& joints) {
  const int count = joints.names_size();
  return joints.state_pos_size() == count && joints.state_vel_size() == count && joints.state_acc_size() == count &&
         joints.state_eff_size() == count && joints.state_cur_size() == count;
}

std::shared_ptr<JointStateMessage> make_joint_state_message(const tavrinox_proto::WBCInfo& info) {
  auto message = std::make_shared<JointStateMessage>();
  message->timestamp_ns = header_time_ns_float(info.header());
  const tavrinox_proto::JointInfo& joints = info.joint_info();
  message->joint_states.reserve(joints.names_size());
  for (int i = 0; i < joints.names_size(); ++i) {
    message->joint_states.push_back(make_joint_state(joints, i, message->timestamp_ns));
  }
  return message;
}

std::vector<std::string> joints_of_all_but_end_effectors(const JointManager& manager) {
  std::vector<std::string> joints;
  for (const JointManager::JointGroupMetadata& row : manager.joint_group_metadata_table()) {
    if (!row.is_end_effector) {
      joints.insert(joints.end(), row.joint_names.begin(), row.joint_names.end());
    }
  }
  return joints;
}

// The state of a gripper joint named again goes on from what its previous mention became.
void convert_grippers_to_metres(std::vector<JointState>& states) {
  for (auto state = states.begin(); state != states.end(); ++state) {
    if (!is_gripper_name(state->name)) {
      continue;
    }
    const auto previous = std::find_if(std::make_reverse_iterator(state), states.rend(),
                                       [&](const JointState& other) { return other.name == state->name; });
    if (previous != states.rend()) {
      *state = *previous;
    }
    state->position /= kMillimetresPerMetre;
    state->velocity /= kMillimetresPerMetre;
    state->acceleration /= kMillimetresPerMetre;
  }
}

// A gripper's history in numbers.
struct WidthSummary {
  std::size_t size = 0;
  JointStateModule::GripperWidthSample oldest;
  JointStateModule::GripperWidthSample latest;
  double min_m = 0.0;
  double max_m = 0.0;

  double delta_m() const { return max_m - min_m; }
  bool is_decidable() const { return size >= 2; }
  bool is_moving() const { return delta_m() > kGripperStillWidthM + kWidthRoundingM; }
  double span_ms() const {
    return (static_cast<double>(latest.timestamp_ns) - static_cast<double>(oldest.timestamp_ns)) / 1e6;
  }
};

WidthSummary summarize(const std::deque<JointStateModule::GripperWidthSample>& history) {
  WidthSummary widths;
  if (history.empty()) {
    return widths;
  }
  const auto [narrowest, widest] = std::minmax_element(
      history.begin(), history.end(), [](const auto& left, const auto& right) { return left.width_m < right.width_m; });
  widths.size = history.size();
  widths.oldest = history.front();
  widths.latest = history.back();
  widths.min_m = narrowest->width_m;
  widths.max_m = widest->width_m;
  return widths;
}

void log_undecidable(const std::string& group, const WidthSummary& widths) {
  if (widths.size == 0) {
    SDK_LOG(warning) << "[gripper_moving_decision] group_name: " << group << " unstable: history empty";
    return;
  }
  SDK_LOG(warning) << "[gripper_moving_decision] group_name: " << group << " unstable: not enough samples"
                   << " ,history_size: " << widths.size << " ,t_first_ns: " << widths.oldest.timestamp_ns
                   << " ,t_last_ns: " << widths.latest.timestamp_ns << " ,span_ms: " << widths.span_ms()
                   << " ,width_first_m: " << widths.oldest.width_m << " ,width_last_m: " << widths.latest.width_m;
}

void log_decision(const std::string& group, const WidthSummary& widths) {
  SDK_LOG(info) << "[gripper_moving_decision] group_name: " << group << " ,history_size: " << widths.size
                << " ,t_oldest_ns: " << widths.oldest.timestamp_ns << " ,t_latest_ns: " << widths.latest.timestamp_ns
                << " ,span_ms: " << widths.span_ms() << " ,min_width_m: " << widths.min_m
                << " ,max_width_m: " << widths.max_m << " ,delta_width_m: " << widths.delta_m();
}

using IndexOfJoint = std::unordered_map<std::string_view, std::size_t>;

IndexOfJoint index_joints(const tavrinox_proto::JointInfo& joints) {
  IndexOfJoint index_of;
  index_of.reserve(joints.names_size());
  for (int i = 0; i < joints.names_size(); ++i) {
    index_of.emplace(joints.names(i), i);
  }
  return index_of;
}

// False, with a record, when one of `joint_names` is not reported.
bool find_indices(const IndexOfJoint& index_of, const std::vector<std::string>& joint_names,
                  std::vector<std::size_t>& indices) {
  indices.clear();
  for (const std::string& joint : joint_names) {
    const auto index = index_of.find(joint);
    if (index == index_of.end()) {
      SDK_LOG(error) << "get_whole_body_joint_state: joint not found in joint_info.names(): " << joint;
      return false;
    }
    indices.push_back(index->second);
  }
  return true;
}

bool has_state_at(const tavrinox_proto::JointInfo& joints, std::size_t index) {
  const int shortest = std::min({joints.names_size(), joints.state_pos_size(), joints.state_vel_size(),
                                 joints.state_acc_size(), joints.state_eff_size(), joints.state_cur_size()});
  return index < static_cast<std::size_t>(shortest);
}

}  // namespace

JointStateModule::JointStateModule(std::shared_ptr<CommonUtils> common_utils,
                                   std::shared_ptr<JointManager> joint_manager,
                                   std::shared_ptr<SensorModule> sensor_module)
    : common_utils_(std::move(common_utils)),
      joint_manager_(std::move(joint_manager)),
      sensor_module_(std::move(sensor_module)),
      default_joint_names_(joints_of_all_but_end_effectors(*joint_manager_)) {}

void JointStateModule::update_wbc_info(const std::shared_ptr<tavrinox_proto::WBCInfo>& info) {
  convert_joint_state_map(info);
}

void JointStateModule::convert_joint_state_map(const std::shared_ptr<tavrinox_proto::WBCInfo>& info) {
  if (info == nullptr) {
    return;
  }
  if (!has_state_of_every_joint(info->joint_info())) {
    SDK_LOG(error) << "joint_info_proto field size mismatch!";
    return;
  }
  // Declared ahead of the lock, so that the replaced message is released after it.
  auto message = make_joint_state_message(*info);
  UniqueLock lock(state_mutex_);
  joint_state_map_.clear();
  for (const JointState& joint : message->joint_states) {
    joint_state_map_.emplace(joint.name, joint);
    remember_gripper_width(joint);
  }
  latest_joint_state_message_.swap(message);
}

// Takes millimetres, drops what is older than the history reaches. The caller holds the lock exclusively.
void JointStateModule::remember_gripper_width(const JointState& joint) {
  const std::size_t group_length = joint.name.find(kJointMark);
  if (group_length == std::string::npos || !is_gripper_name(joint.name)) {
    return;
  }
  WidthHistory& history = gripper_width_history_map_[joint.name.substr(0, group_length)];
  history.push_back({joint.timestamp_ns, joint.position / kMillimetresPerMetre});
  const int64_t cutoff = oldest_kept_time(joint.timestamp_ns);
  while (!history.empty() && history.front().timestamp_ns < cutoff) {
    history.pop_front();
  }
}

std::shared_ptr<JointStateMessage> JointStateModule::get_latest_joint_state_message() const {
  SharedLock lock(state_mutex_);
  return latest_joint_state_message_;
}

JointStateModule::JointStateMap JointStateModule::get_joint_state_map_snapshot() const {
  SharedLock lock(state_mutex_);
  return joint_state_map_;
}

bool JointStateModule::joint_group_is_valid(const std::string& group) const {
  if (!joint_manager_->has_joint_group(group)) {
    SDK_LOG(error) << "joint group invalid: " << group;
    return false;
  }
  return true;
}

ControlStatus JointStateModule::get_joint_state(const std::string& group,
                                                const std::shared_ptr<tavrinox_proto::WBCInfo>& info,
                                                JointStateMessage& out) const {
  if (!joint_group_is_valid(group)) {
    SDK_LOG(error) << "input invalid";
    return ControlStatus::INVALID_INPUT;
  }
  if (std::find(std::begin(kSensorGroups), std::end(kSensorGroups), group) != std::end(kSensorGroups)) {
    return sensor_module_->get_joint_state_from_sensor(group, out);
  }
  GroupStateMap groups;
  const ControlStatus status = get_whole_body_joint_state(info, groups);
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << "get whole body joint state fail";
    return status;
  }
  const auto state = groups.find(group);
  if (state == groups.end()) {
    SDK_LOG(error) << "joint_state_map not find joint group " << group;
    return ControlStatus::DATA_FETCH_FAILED;
  }
  out = std::move(state->second);
  SDK_LOG(info) << "get_joint_state success";
  return ControlStatus::SUCCESS;
}

ControlStatus JointStateModule::get_whole_body_joint_state(const std::shared_ptr<tavrinox_proto::WBCInfo>& info,
                                                           GroupStateMap& out) const {
  if (info == nullptr) {
    SDK_LOG(error) << "get_whole_body_joint_state: wbc_info_ptr is nullptr";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  const int64_t timestamp_ns = header_time_ns_float(info->header());
  const IndexOfJoint index_of = index_joints(info->joint_info());
  std::vector<std::size_t> indices;
  for (const JointManager::JointGroupMetadata& row : joint_manager_->joint_group_metadata_table()) {
    if (row.is_end_effector) {
      continue;
    }
    if (!find_indices(index_of, row.joint_names, indices)) {
      return ControlStatus::DATA_FETCH_FAILED;
    }
    if (!parse_jonit_info_proto(out, info->joint_info(), row.group_name, timestamp_ns, indices)) {
      SDK_LOG(error) << "get_whole_body_joint_state fetch failed";
      return ControlStatus::DATA_FETCH_FAILED;
    }
  }
  SDK_LOG(info) << "get_whole_body_joint_state success";
  return ControlStatus::SUCCESS;
}

bool JointStateModule::parse_jonit_info_proto(GroupStateMap& out, const tavrinox_proto::JointInfo& joint_info,
                                              const std::string& group, int64_t timestamp_ns,
                                              const std::vector<std::size_t>& indices) const {
  for (const std::size_t index : indices) {
    if (!has_state_at(joint_info, index)) {
      SDK_LOG(error) << "parse_jonit_info_proto fail, cur index is " << index << " ,state_pos_size is "
                     << joint_info.state_pos_size() << " ,state_vel_size is " << joint_info.state_vel_size()
                     << " ,state_acc_size is " << joint_info.state_acc_size() << " ,state_eff_size is "
                     << joint_info.state_eff_size() << " ,state_cur_size is " << joint_info.state_cur_size();
      return false;
    }
    JointStateMessage& message = out[group];
    message.timestamp_ns = timestamp_ns;
    message.joint_states.push_back(make_joint_state(joint_info, static_cast<int>(index), timestamp_ns));
  }
  return true;
}

std::vector<JointState> JointStateModule::get_joint_states(const std::vector<std::string>& joint_names) const {
  for (const std::string& joint : joint_names) {
    if (!joint_manager_->has_joint(joint)) {
      SDK_LOG(error) << "joint name invalid : " << joint;
      return {};
    }
  }
  return get_public_states(joint_names);
}

std::vector<JointState> JointStateModule::get_joint_states(const std::vector<std::string>& joint_groups,
                                                           const std::vector<std::string>& joint_names) const {
  if (!joint_names.empty()) {
    return get_joint_states(joint_names);
  }
  if (joint_groups.empty()) {
    return get_wire_states(default_joint_names_);
  }
  std::vector<std::string> joints_of_groups;
  joint_manager_->convert_joint_names(joint_groups, joints_of_groups);
  return get_public_states(joints_of_groups);
}

std::vector<double> JointStateModule::get_joint_positions(const std::vector<std::string>& joint_groups,
                                                          const std::vector<std::string>& joint_names) const {
  const std::vector<JointState> states = get_joint_states(joint_groups, joint_names);
  std::vector<double> positions(states.size());
  std::transform(states.begin(), states.end(), positions.begin(),
                 [](const JointState& joint) { return joint.position; });
  return positions;
}

std::vector<JointState> JointStateModule::get_public_states(const std::vector<std::string>& joint_names) const {
  std::vector<JointState> states = get_wire_states(joint_names);
  convert_grippers_to_metres(states);
  return states;
}

std::vector<JointState> JointStateModule::get_wire_states(const std::vector<std::string>& joint_names) const {
  std::vector<JointState> states;
  states.reserve(joint_names.size());
  if (const std::string* missing = copy_joint_states(joint_names, states)) {
    SDK_LOG(error) << "[get_joint_state] joint name not found: " << *missing;
    return {};
  }
  return states;
}

// All from one report. The first joint that is not reported, null if there is none.
const std::string* JointStateModule::copy_joint_states(const std::vector<std::string>& joint_names,
                                                       std::vector<JointState>& states) const {
  SharedLock lock(state_mutex_);
  for (const std::string& joint : joint_names) {
    const auto state = joint_state_map_.find(joint);
    if (state == joint_state_map_.end()) {
      return &joint;
    }
    states.push_back(state->second);
  }
  return nullptr;
}

bool JointStateModule::is_gripper_moving(const std::string& group, bool& moving) {
  moving = true;
  bool is_known = false;
  WidthSummary widths;
  std::optional<bool> replaced_decision;
  {
    UniqueLock lock(state_mutex_);
    const auto history = gripper_width_history_map_.find(group);
    is_known = history != gripper_width_history_map_.end();
    if (is_known) {
      widths = summarize(history->second);
    }
    if (widths.is_decidable()) {
      replaced_decision = exchange_gripper_decision(group, widths.is_moving());
    }
  }
  if (!is_known) {
    SDK_LOG(error) << "gripper_width_history_map_ not find group_name: " << group;
    return false;
  }
  if (!widths.is_decidable()) {
    log_undecidable(group, widths);
    return false;
  }
  moving = widths.is_moving();
  log_decision(group, widths);
  if (replaced_decision) {
    SDK_LOG(info) << "[gripper_moving_state] group_name: " << group << " change from " << *replaced_decision << " to "
                  << moving << " ,delta_width_m: " << widths.delta_m();
  }
  return true;
}

// Remembers the decision and returns the one it replaces: nothing when it is the same, the opposite when it is the
// first. The caller holds the lock exclusively.
std::optional<bool> JointStateModule::exchange_gripper_decision(const std::string& group, bool moving) {
  const auto [decision, is_first] = gripper_moving_map_.emplace(group, moving);
  if (!is_first && decision->second == moving) {
    return std::nullopt;
  }
  decision->second = moving;
  return !moving;
}

}  // namespace norvik::sdk

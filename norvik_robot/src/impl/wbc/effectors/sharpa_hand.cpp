#include "impl/wbc/effectors/sharpa_hand.hpp"

#include "impl/common/proto_time.hpp"
#include "impl/wbc/common/command_wait.hpp"
#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/effectors/dexhand_arrival.hpp"
#include "impl/wbc/joints/effort_info.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

// The hand's command: one frame id per joint, numbered from 1, and no planned time.
std::shared_ptr<tavrinox_proto::GroupCommand> make_group_command(const std::string& label,
                                                                 const std::vector<JointCommand>& commands) {
  auto group_command = std::make_shared<tavrinox_proto::GroupCommand>();
  group_command->mutable_time_from_start();
  for (size_t i = 0; i < commands.size(); ++i) {
    auto* joint = group_command->add_joint_commands();
    joint->mutable_header()->mutable_timestamp();
    joint->mutable_header()->set_frame_id(label + "_joint_" + std::to_string(i + 1));
    joint->set_position(commands[i].position);
    joint->set_velocity(commands[i].velocity);
    joint->set_acceleration(commands[i].acceleration);
    joint->set_effort(commands[i].effort);
  }
  return group_command;
}

bool has_joint_count(const sensor_proto::JointSensor& sensor, int count) {
  return sensor.position_size() >= count && sensor.velocity_size() >= count && sensor.effort_size() >= count;
}

}  // namespace

bool SharpaHand::is_sharpa_dexhand(const std::string& group) {
  return group == "left_dexhand" || group == "right_dexhand";
}

std::string SharpaHand::get_sharpa_hand_label(const std::string& group) {
  if (group == "left_dexhand") {
    return "LEFT";
  }
  return group == "right_dexhand" ? "RIGHT" : "";
}

bool SharpaHand::init_sharpa_dexhand() {
  std::call_once(init_once_, [this] { init_success_ = open_interface(); });
  return init_success_;
}

bool SharpaHand::has_sharpa_fatal_error(const std::string& group) {
  const auto error = side_of(group).error.get_data();
  return error && common_utils_->has_fatal_error(group, error);
}

ControlStatus SharpaHand::build_sharpa_joint_state(const std::string& group, JointStateMessage& message) {
  if (!is_sharpa_dexhand(group)) {
    SDK_LOG(error) << "sharpa dexhand invalid, input " << group;
    return ControlStatus::INVALID_INPUT;
  }
  if (!init_sharpa_dexhand()) {
    SDK_LOG(error) << "sharpa dexhand init failed";
    return ControlStatus::INIT_FAILED;
  }
  const auto report = side_of(group).joint.get_data();
  if (!report || report->joint_sensor_map().empty()) {
    SDK_LOG(error) << "get sharpa dexhand joint state fail";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  // A hand reports one entry; under which key is its own affair.
  const sensor_proto::JointSensor& sensor = report->joint_sensor_map().begin()->second;
  if (!has_joint_count(sensor, kJointCount)) {
    SDK_LOG(error) << "sharpa dexhand joint sensor data is incomplete";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  message.timestamp_ns = header_time_ns_integer(report->header());
  message.joint_states.clear();
  message.joint_states.reserve(kJointCount);
  for (int i = 0; i < static_cast<int>(kJointCount); ++i) {
    const double current = i < sensor.current_size() ? sensor.current(i) : 0.0;
    message.joint_states.emplace_back(sensor.position(i), sensor.velocity(i), 0.0, sensor.effort(i), current,
                                      message.timestamp_ns);
  }
  return ControlStatus::SUCCESS;
}

ControlStatus SharpaHand::get_sharpa_dexhand_state(const std::string& group, DexhandState& state) {
  if (const auto status = build_sharpa_joint_state(group, state.joint_state); status != ControlStatus::SUCCESS) {
    return status;
  }
  if (const auto report = side_of(group).force.get_data()) {
    const int64_t timestamp_ns = header_time_ns_integer(report->header());
    for (const auto& [name, sensor] : report->effort_sensor_map()) {
      state.effort_map[name] = convert_effort_to_struct(sensor, timestamp_ns);
    }
  }
  state.timestamp_ns = state.joint_state.timestamp_ns;
  return ControlStatus::SUCCESS;
}

ControlStatus SharpaHand::set_sharpa_dexhand_command(const std::string& group,
                                                     const std::vector<JointCommand>& commands, bool blocking) {
  const SteadyTime start = steady_now();
  if (const auto status = check_command(group, commands); status != ControlStatus::SUCCESS) {
    return status;
  }
  if (!blocking) {
    return publish_command(group, commands);
  }
  MotionsUnderWay::Motion motion(common_utils_->motions_under_way(), {},
                                 [this, group, commands] { hold(group, commands); });
  const ControlStatus status = publish_command(group, commands);
  motion.commanded(status);
  return status == ControlStatus::SUCCESS ? wait_for_hand(motion, start, group, commands) : status;
}

ControlStatus SharpaHand::wait_for_hand(MotionsUnderWay::Motion& motion, SteadyTime start, const std::string& group,
                                        const std::vector<JointCommand>& commands) {
  const auto poll = [&]() -> std::optional<ControlStatus> {
    if (has_sharpa_fatal_error(group)) {
      SDK_LOG(error) << "set_sharpa_dexhand_command fault";
      return ControlStatus::FAULT;
    }
    JointStateMessage state;
    if (build_sharpa_joint_state(group, state) != ControlStatus::SUCCESS ||
        !has_dexhand_arrived(state.joint_states, commands, "set_sharpa_dexhand_command")) {
      return std::nullopt;
    }
    SDK_LOG(info) << "set_sharpa_dexhand_command done";
    return ControlStatus::SUCCESS;
  };
  return wait_for_motion(motion, {"set_sharpa_dexhand_command", start, kDexhandTimeoutS}, poll);
}

void SharpaHand::hold(const std::string& group, std::vector<JointCommand> commands) {
  JointStateMessage state;
  const bool known = build_sharpa_joint_state(group, state) == ControlStatus::SUCCESS;
  for (size_t i = 0; known && i < commands.size(); ++i) {
    commands[i].position = state.joint_states[i].position;
  }
  if (known && publish_command(group, commands) == ControlStatus::SUCCESS) {
    SDK_LOG(info) << "stop " << group << " action success.";
  } else {
    SDK_LOG(error) << "stop " << group << " action timeout.";
  }
}

ControlStatus SharpaHand::check_command(const std::string& group, const std::vector<JointCommand>& commands) {
  if (!is_sharpa_dexhand(group)) {
    SDK_LOG(error) << "sharpa dexhand invalid, input " << group;
    return ControlStatus::INVALID_INPUT;
  }
  if (commands.size() != kJointCount) {
    SDK_LOG(error) << "sharpa dexhand need " << kJointCount << " joint commands, but input " << commands.size();
    return ControlStatus::INVALID_INPUT;
  }
  if (!init_sharpa_dexhand()) {
    SDK_LOG(error) << "sharpa dexhand init failed";
    return ControlStatus::INIT_FAILED;
  }
  if (has_sharpa_fatal_error(group)) {
    SDK_LOG(error) << "sharpa dexhand has fatal error before command";
    return ControlStatus::FAULT;
  }
  return ControlStatus::SUCCESS;
}

ControlStatus SharpaHand::publish_command(const std::string& group, const std::vector<JointCommand>& commands) {
  const auto writer = side_of(group).writer;
  if (!writer) {
    SDK_LOG(error) << "sharpa dexhand writer is nullptr";
    return ControlStatus::INIT_FAILED;
  }
  if (!writer->Publish(make_group_command(get_sharpa_hand_label(group), commands))) {
    SDK_LOG(error) << "set_sharpa_dexhand_command publish fail";
    return ControlStatus::PUBLISH_FAIL;
  }
  return ControlStatus::SUCCESS;
}

}  // namespace norvik::sdk

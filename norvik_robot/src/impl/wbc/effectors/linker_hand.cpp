#include "impl/wbc/effectors/linker_hand.hpp"

#include <cmath>
#include <utility>

#include "impl/common/proto_time.hpp"
#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/command_wait.hpp"
#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/effectors/dexhand_arrival.hpp"
#include "impl/wbc/joints/sensor_module.hpp"
#include "impl/wbc/targets/target_proto_builder.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

std::vector<std::string> make_joint_names(const std::string& group) {
  std::vector<std::string> names;
  for (const char* joint :
       {"thumb_roll", "thumb_yaw", "index_yaw", "middle_yaw", "ring_yaw", "little_yaw", "thumb_root", "index_root",
        "middle_root", "ring_root", "little_root", "thumb_tip", "index_tip", "middle_tip", "ring_tip", "little_tip"}) {
    names.push_back(group + "_" + joint);
  }
  return names;
}

bool has_joint_count(const sensor_proto::JointSensor& sensor, int count) {
  return sensor.position_size() >= count && sensor.velocity_size() >= count && sensor.effort_size() >= count &&
         sensor.current_size() >= count;
}

}  // namespace

LinkerHand::LinkerHand(std::shared_ptr<CommonUtils> common_utils,
                       std::shared_ptr<TargetProtoBuilder> target_proto_builder,
                       std::shared_ptr<SensorModule> sensor_module)
    : common_utils_(std::move(common_utils)),
      target_proto_builder_(std::move(target_proto_builder)),
      sensor_module_(std::move(sensor_module)) {}

const std::vector<std::string>* LinkerHand::linker_l20_joint_names(const std::string& group) {
  static const std::vector<std::string> kLeftNames = make_joint_names("left_dexhand");
  static const std::vector<std::string> kRightNames = make_joint_names("right_dexhand");
  if (group == "left_dexhand") {
    return &kLeftNames;
  }
  return group == "right_dexhand" ? &kRightNames : nullptr;
}

ControlStatus LinkerHand::build_linker_l20_joint_state(const std::string& group, JointStateMessage& message) const {
  const std::vector<std::string>* names = linker_l20_joint_names(group);
  if (names == nullptr) {
    SDK_LOG(error) << "linker L20 dexhand invalid, input " << group;
    return ControlStatus::INVALID_INPUT;
  }
  const auto report = sensor_module_->get_sensor_data();
  if (!report || report->joint_sensor_map().count(group) == 0) {
    SDK_LOG(error) << "get linker L20 dexhand joint state fail";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  const sensor_proto::JointSensor& sensor = report->joint_sensor_map().at(group);
  if (!has_joint_count(sensor, kJointCount)) {
    SDK_LOG(error) << "linker L20 dexhand joint sensor data is incomplete";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  message.timestamp_ns = header_time_ns_integer(report->header());
  message.joint_states.clear();
  message.joint_states.reserve(kJointCount);
  for (int i = 0; i < static_cast<int>(kJointCount); ++i) {
    message.joint_states.emplace_back(sensor.position(i), sensor.velocity(i), 0.0, sensor.effort(i), sensor.current(i),
                                      message.timestamp_ns);
    message.joint_states.back().name = (*names)[static_cast<size_t>(i)];
  }
  return ControlStatus::SUCCESS;
}

ControlStatus LinkerHand::get_linker_l20_dexhand_state(const std::string& group, DexhandState& state) const {
  state.effort_map.clear();
  const ControlStatus status = build_linker_l20_joint_state(group, state.joint_state);
  if (status == ControlStatus::SUCCESS) {
    state.timestamp_ns = state.joint_state.timestamp_ns;
  }
  return status;
}

ControlStatus LinkerHand::set_linker_l20_dexhand_command(const std::string& group,
                                                         const std::vector<JointCommand>& commands, bool blocking) {
  const SteadyTime start = steady_now();
  if (const auto status = check_command(group, commands); status != ControlStatus::SUCCESS) {
    return status;
  }
  if (!blocking) {
    return publish_command(group, commands);
  }
  MotionsUnderWay::Motion motion(common_utils_->motions_under_way(), {group});
  const ControlStatus status = publish_command(group, commands);
  motion.commanded(status);
  return status == ControlStatus::SUCCESS ? wait_for_hand(motion, start, group, commands) : status;
}

ControlStatus LinkerHand::wait_for_hand(MotionsUnderWay::Motion& motion, SteadyTime start, const std::string& group,
                                        const std::vector<JointCommand>& commands) const {
  const auto poll = [&]() -> std::optional<ControlStatus> {
    const auto health = check_no_fatal_error(*common_utils_, group, "set_linker_l20_dexhand_command fault");
    if (health != ControlStatus::SUCCESS) {
      return health;
    }
    JointStateMessage state;
    if (build_linker_l20_joint_state(group, state) != ControlStatus::SUCCESS ||
        !has_dexhand_arrived(state.joint_states, commands, "set_linker_l20_dexhand_command")) {
      return std::nullopt;
    }
    SDK_LOG(info) << "set_linker_l20_dexhand_command done";
    return ControlStatus::SUCCESS;
  };
  return wait_for_motion(motion, {"set_linker_l20_dexhand_command", start, kDexhandTimeoutS}, poll);
}

ControlStatus LinkerHand::check_command(const std::string& group, const std::vector<JointCommand>& commands) const {
  if (linker_l20_joint_names(group) == nullptr) {
    SDK_LOG(error) << "linker L20 dexhand invalid, input " << group;
    return ControlStatus::INVALID_INPUT;
  }
  if (commands.size() != kJointCount) {
    SDK_LOG(error) << "linker L20 dexhand need " << kJointCount << " joint commands, but input " << commands.size();
    return ControlStatus::INVALID_INPUT;
  }
  for (size_t i = 0; i < commands.size(); ++i) {
    if (!std::isfinite(commands[i].position)) {
      SDK_LOG(error) << "linker L20 dexhand command invalid (NaN/Inf) at index " << i
                     << ", position=" << commands[i].position;
      return ControlStatus::INVALID_INPUT;
    }
  }
  return check_no_fatal_error(*common_utils_, group, "linker L20 dexhand has fatal error before command");
}

ControlStatus LinkerHand::publish_command(const std::string& group, const std::vector<JointCommand>& commands) {
  TrajectoryPoint point;
  point.time_from_start = 0.0;
  point.joint_command_vec = commands;
  const auto& names = *linker_l20_joint_names(group);
  if (!common_utils_->publish_target(target_proto_builder_->generate_target_trajectory(group, names, {point}, true))) {
    SDK_LOG(error) << "set_linker_l20_dexhand_command publish fail";
    return ControlStatus::PUBLISH_FAIL;
  }
  return ControlStatus::SUCCESS;
}

}  // namespace norvik::sdk

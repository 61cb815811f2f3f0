#include "impl/wbc/commands/cartesian_control.hpp"

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr size_t kPoseValues = 7;

bool is_end_effector_command_valid(const std::vector<std::vector<double>>& poses,
                                   const std::vector<std::string>& end_effector_frames,
                                   const std::vector<std::string>& reference_frames) {
  if (poses.size() != end_effector_frames.size()) {
    SDK_LOG(error) << "set_end_effector_command: poses/end_effector_frames size mismatch";
    return false;
  }
  if (poses.empty()) {
    SDK_LOG(error) << "set_end_effector_command: empty input";
    return false;
  }
  if (!reference_frames.empty() && reference_frames.size() != poses.size()) {
    SDK_LOG(error) << "set_end_effector_command: reference_frames must be empty (use default world) or match poses "
                      "length";
    return false;
  }
  for (size_t i = 0; i < poses.size(); ++i) {
    if (poses[i].size() < kPoseValues) {
      SDK_LOG(error) << "set_end_effector_command: pose " << i << " needs at least 7 values [x,y,z,qx,qy,qz,qw]";
      return false;
    }
  }
  return true;
}

}  // namespace

ControlStatus CartesianControl::set_end_effector_command(const std::vector<std::vector<double>>& poses,
                                                         const std::vector<std::string>& end_effector_frames,
                                                         const std::vector<std::string>& reference_frames) const {
  const WbcModules& modules = modules_.get();
  if (!is_end_effector_command_valid(poses, end_effector_frames, reference_frames)) {
    return ControlStatus::INVALID_INPUT;
  }
  if (!modules.target_proto_builder || !modules.target_dispatcher) {
    SDK_LOG(error) << "set_end_effector_command: not initialized";
    return ControlStatus::INIT_FAILED;
  }
  const std::vector<std::string> references =
      reference_frames.empty() ? std::vector<std::string>(poses.size(), "world") : reference_frames;
  const ControlStatus status = modules.target_dispatcher->publish_proto_target(
      modules.target_proto_builder->generate_target_end_effector_command(poses, end_effector_frames, references));
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << "set_end_effector_command: publish fail";
  }
  return status;
}

ControlStatus CartesianControl::clear_end_effector_command() const {
  const WbcModules& modules = modules_.get();
  if (!modules.target_proto_builder || !modules.target_dispatcher) {
    SDK_LOG(error) << "clear_end_effector_command: not initialized";
    return ControlStatus::INIT_FAILED;
  }
  const ControlStatus status = modules.target_dispatcher->publish_proto_target(
      modules.target_proto_builder->generate_target_end_effector_clear());
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << "clear_end_effector_command: publish fail";
  }
  return status;
}

std::unordered_map<std::string, std::vector<double>> CartesianControl::get_wbc_end_effector_poses() const {
  const WbcModules& modules = modules_.get();
  const auto wbc_info = modules.common_utils ? modules.common_utils->wbc_info_buffer().get_data() : nullptr;
  if (!wbc_info) {
    SDK_LOG(error) << "get_wbc_end_effector_poses: wbc_info is nullptr";
    return {};
  }
  std::unordered_map<std::string, std::vector<double>> poses;
  for (const char* key : {"lee_pose", "ree_pose", "head_pose"}) {
    std::vector<double>& pose = poses[key];
    const auto entry = wbc_info->other_info_map().find(key);
    if (entry == wbc_info->other_info_map().end()) {
      SDK_LOG(error) << "get_wbc_end_effector_poses: " << key << " not found";
      continue;
    }
    const auto& values = entry->second.list_value().values();
    pose.assign(values.begin(), values.end());
  }
  return poses;
}

}  // namespace norvik::sdk

// Targets that the user builds, and Cartesian set-points.

#include "impl/wbc/targets/target_proto_converter.hpp"
#include "impl/wbc_base.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr std::chrono::seconds kRequestTargetTimeout{5};
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

ControlStatus WbcBase::PublishTarget(const TavrinoXTarget& target) {
  if (const auto finding = TargetProtoConverter::validate_target_input(target)) {
    SDK_LOG(error) << "PublishTarget invalid input: " << *finding;
    return ControlStatus::INVALID_INPUT;
  }
  if (!target_dispatcher_) {
    SDK_LOG(error) << "PublishTarget failed: target_dispatcher_ is nullptr, please init.";
    return ControlStatus::INIT_FAILED;
  }
  const TargetPtr proto = TargetProtoConverter::convert_target_to_proto(target);
  if (!proto) {
    SDK_LOG(error) << "PublishTarget failed: convert target to proto returned nullptr.";
    return ControlStatus::INVALID_INPUT;
  }
  return target_dispatcher_->publish_proto_target(proto);
}

std::shared_ptr<ErrorInfo> WbcBase::RequestTarget(const TavrinoXTarget& target) {
  if (const auto finding = TargetProtoConverter::validate_target_input(target)) {
    SDK_LOG(error) << "RequestTarget invalid input: " << *finding;
    return CommonUtils::make_local_error_info(kRequestTargetComponent, kRequestTargetInvalidCode, *finding);
  }
  if (!target_dispatcher_) {
    SDK_LOG(error) << "RequestTarget failed: target_dispatcher_ is nullptr, please init.";
    return nullptr;
  }
  const auto current = common_utils_->error_buffer().get_data();
  if (!current) {
    SDK_LOG(error) << "RequestTarget failed: current error buffer is unavailable.";
    return nullptr;
  }
  const auto involved = CommonUtils::collect_involved_groups(target);
  if (auto blocking_errors = common_utils_->build_request_screening_error(current, involved)) {
    SDK_LOG(error) << "RequestTarget blocked by current runtime errors.";
    return blocking_errors;
  }
  const TargetPtr proto = TargetProtoConverter::convert_target_to_proto(target);
  if (!proto) {
    SDK_LOG(error) << "RequestTarget failed: convert target to proto returned nullptr.";
    return CommonUtils::make_local_error_info(kRequestTargetComponent, kRequestTargetConversionCode,
                                              "failed to convert target to proto");
  }
  const auto [status, response] = target_dispatcher_->request_proto_target(proto, kRequestTargetTimeout);
  if (status != ControlStatus::SUCCESS || !response) {
    SDK_LOG(error) << "RequestTarget failed: dispatch status is " << static_cast<int32_t>(status);
    return nullptr;
  }
  auto report = std::make_shared<ErrorInfo>();
  common_utils_->transform_to_error_info(response, *report);
  return report;
}

ControlStatus WbcBase::set_end_effector_command(const std::vector<std::vector<double>>& poses,
                                                const std::vector<std::string>& end_effector_frames,
                                                const std::vector<std::string>& reference_frames) {
  if (!is_end_effector_command_valid(poses, end_effector_frames, reference_frames)) {
    return ControlStatus::INVALID_INPUT;
  }
  if (!target_proto_builder_ || !target_dispatcher_) {
    SDK_LOG(error) << "set_end_effector_command: not initialized";
    return ControlStatus::INIT_FAILED;
  }
  const std::vector<std::string> references =
      reference_frames.empty() ? std::vector<std::string>(poses.size(), "world") : reference_frames;
  const ControlStatus status = target_dispatcher_->publish_proto_target(
      target_proto_builder_->generate_target_end_effector_command(poses, end_effector_frames, references));
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << "set_end_effector_command: publish fail";
  }
  return status;
}

ControlStatus WbcBase::clear_end_effector_command() {
  if (!target_proto_builder_ || !target_dispatcher_) {
    SDK_LOG(error) << "clear_end_effector_command: not initialized";
    return ControlStatus::INIT_FAILED;
  }
  const ControlStatus status =
      target_dispatcher_->publish_proto_target(target_proto_builder_->generate_target_end_effector_clear());
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << "clear_end_effector_command: publish fail";
  }
  return status;
}

std::unordered_map<std::string, std::vector<double>> WbcBase::get_wbc_end_effector_poses() {
  const auto wbc_info = common_utils_ ? common_utils_->wbc_info_buffer().get_data() : nullptr;
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

#include "impl/wbc/common/common_utils.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

#include "impl/common/proto_time.hpp"
#include "impl/wbc/common/frame_ids.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace common_utils_detail {

int64_t now_timestamp_ns() {
  const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(since_epoch).count();
}

bool parse_group_max_error_level_component(const std::string& component, std::string& group) {
  constexpr std::string_view kSuffix = kMaxErrorLevelSuffix;
  if (component.size() <= kSuffix.size()) {
    return false;
  }
  const std::size_t group_length = component.size() - kSuffix.size();
  if (component.compare(group_length, kSuffix.size(), kSuffix) != 0) {
    return false;
  }
  group.assign(component, 0, group_length);
  return true;
}

}  // namespace common_utils_detail

namespace {

// A negative wire code becomes larger than every level.
uint64_t sign_extended_code(const tavrinox_proto::ErrorDetail& detail) {
  return static_cast<uint64_t>(static_cast<int64_t>(detail.error_code()));
}

void log_error_entry(const std::string& component, uint64_t code, const std::string& description) {
  SDK_LOG(error) << "has error: " << component << " ,code: " << code << " ,description is " << description;
}

}  // namespace

CommonUtils::CommonUtils(TargetWriterPtr& wbcs_target_writer, TargetClientPtr& wbcs_target_client,
                         ControllerClientPtr& wbcs_controller_client)
    : wbcs_target_writer_(wbcs_target_writer),
      wbcs_target_client_(wbcs_target_client),
      wbcs_controller_client_(wbcs_controller_client),
      fatal_level_(kFatalErrorLevel) {}

TargetWriterPtr CommonUtils::get_wbcs_target_writer() const { return std::atomic_load(&wbcs_target_writer_); }

TargetClientPtr CommonUtils::get_wbcs_target_client() const { return std::atomic_load(&wbcs_target_client_); }

ControllerClientPtr CommonUtils::get_wbcs_controller_client() const {
  return std::atomic_load(&wbcs_controller_client_);
}

bool CommonUtils::is_valid_frame_id(const std::string& frame_id) { return frame_ids::is_valid(frame_id); }

bool CommonUtils::is_valid_reference_frame_id(const std::string& frame_id) {
  return frame_ids::is_valid_reference(frame_id);
}

bool CommonUtils::publish_target(const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& target) const {
  const TargetWriterPtr writer = get_wbcs_target_writer();
  return writer != nullptr && writer->Publish(target);
}

bool CommonUtils::is_timeout(std::chrono::steady_clock::time_point start, double timeout_s) {
  const auto elapsed = std::chrono::steady_clock::now() - start;
  const auto elapsed_ns = std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count();
  return static_cast<double>(elapsed_ns) / 1e9 > timeout_s;
}

ControlStatus CommonUtils::check_joint_reached(const std::string& group, double threshold) const {
  const auto info = wbc_info_buffer_.get_data();
  if (info == nullptr || info->group_info_map().count(group) == 0) {
    SDK_LOG(error) << "check_joint_reached data fetch failed";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  const tavrinox_proto::GroupInfo& group_info = info->group_info_map().at(group);
  const double norm = group_info.error_final_pos_norm();
  const bool finished = group_info.target_info().sampling_finished();

  // Written so that a norm that is not a number counts as arrived.
  const bool too_far = norm > threshold;
  if (finished && !too_far) {
    SDK_LOG(info) << "check_joint_reached success, error_final_pos_norm is " << norm
                  << " ,error_final_pos_threashold is " << threshold << " ,sampling_finished is " << finished;
    return ControlStatus::SUCCESS;
  }
  SDK_LOG(info) << "check " << group << " motion, error_final_pos_norm is " << norm
                << " ,error_final_pos_threashold is " << threshold << " ,sampling_finished is " << finished;
  return ControlStatus::IN_PROGRESS;
}

void CommonUtils::transform_to_error_info(const std::shared_ptr<tavrinox_proto::TavrinoXError>& error,
                                          ErrorInfo& info) {
  if (error == nullptr) {
    SDK_LOG(error) << "error_ptr is nullptr";
    return;
  }
  info.timestamp_ns = header_time_ns_float(error->header());
  info.errors.reserve(info.errors.size() + error->error_map().size());
  for (const auto& [component, detail] : error->error_map()) {
    info.errors.push_back({component, sign_extended_code(detail), detail.description()});
  }
}

void CommonUtils::add_error_from_proto(const std::shared_ptr<tavrinox_proto::TavrinoXError>& error) {
  auto info = std::make_shared<ErrorInfo>();
  if (error == nullptr) {
    SDK_LOG(error) << "error_info_callback message is nullptr";
  } else {
    transform_to_error_info(error, *info);
  }
  error_buffer_.set_data(std::move(info));
}

std::shared_ptr<ErrorInfo> CommonUtils::make_local_error_info(const std::string& component, uint64_t code,
                                                              const std::string& description) {
  auto info = std::make_shared<ErrorInfo>();
  info->timestamp_ns = common_utils_detail::now_timestamp_ns();
  info->errors.push_back({component, code, description});
  return info;
}

std::unordered_set<std::string> CommonUtils::collect_involved_groups(const TavrinoXTarget& target) {
  std::unordered_set<std::string> groups;
  for (const auto& [group, trajectory] : target.target_group_trajectory_map) {
    groups.insert(group);
  }
  for (const auto& [task, trajectory] : target.target_task_trajectory_map) {
    groups.insert(trajectory.group_names.begin(), trajectory.group_names.end());
  }
  return groups;
}

std::shared_ptr<ErrorInfo> CommonUtils::build_request_screening_error(
    const std::shared_ptr<ErrorInfo>& current, const std::unordered_set<std::string>& involved) const {
  if (current == nullptr) {
    return nullptr;
  }
  std::shared_ptr<ErrorInfo> blocking;
  std::string group;
  for (const Error& error : current->errors) {
    if (!common_utils_detail::parse_group_max_error_level_component(error.component, group)) {
      continue;
    }
    if (!is_at_level(error.code, involved.count(group) != 0 ? kScreeningErrorLevel : fatal_level_)) {
      continue;
    }
    if (blocking == nullptr) {
      blocking = std::make_shared<ErrorInfo>();
      blocking->timestamp_ns = current->timestamp_ns;
      blocking->errors.push_back({kRequestTargetComponent, kRequestTargetPrecheckBlockedCode,
                                  "RequestTarget blocked by current runtime errors"});
    }
    blocking->errors.push_back(error);
  }
  return blocking;
}

bool CommonUtils::has_fatal_error(const std::string& group, const std::shared_ptr<ErrorInfo>& error_info) const {
  if (error_info == nullptr) {
    SDK_LOG(error) << "error_info is nullptr";
    return false;
  }
  const std::string wanted = group + kMaxErrorLevelSuffix;
  for (const Error& error : error_info->errors) {
    log_error_entry(error.component, error.code, error.description);
    if (error.component == wanted && is_at_level(error.code, fatal_level_)) {
      SDK_LOG(error) << "has fatal error";
      return true;
    }
  }
  return false;
}

bool CommonUtils::has_fatal_error(const std::string& group,
                                  const std::shared_ptr<tavrinox_proto::TavrinoXError>& error) const {
  if (error == nullptr) {
    SDK_LOG(error) << "error_data is nullptr";
    return false;
  }
  const std::string wanted = group + kMaxErrorLevelSuffix;
  for (const auto& [component, detail] : error->error_map()) {
    const uint64_t code = sign_extended_code(detail);
    log_error_entry(component, code, detail.description());
    if (component == wanted && is_at_level(code, fatal_level_)) {
      return true;
    }
  }
  return false;
}

bool CommonUtils::has_fatal_error(const std::vector<std::string>& groups,
                                  const std::shared_ptr<ErrorInfo>& error_info) const {
  return std::any_of(groups.begin(), groups.end(),
                     [&](const std::string& group) { return has_fatal_error(group, error_info); });
}

bool CommonUtils::has_fatal_error(const std::vector<std::string>& groups,
                                  const std::shared_ptr<tavrinox_proto::TavrinoXError>& error) const {
  return std::any_of(groups.begin(), groups.end(),
                     [&](const std::string& group) { return has_fatal_error(group, error); });
}

}  // namespace norvik::sdk

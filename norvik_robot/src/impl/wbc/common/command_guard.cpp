#include "impl/wbc/common/command_guard.hpp"

#include "impl/wbc/common/common_utils.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

template <typename Groups>
ControlStatus check_groups(const CommonUtils& common_utils, const Groups& groups, const char* fault_text) {
  const std::shared_ptr<ErrorInfo> error_info = fetch_error_info(common_utils);
  if (!error_info) {
    return ControlStatus::COMM_DISCONNECTED;
  }
  if (!common_utils.has_fatal_error(groups, error_info)) {
    return ControlStatus::SUCCESS;
  }
  if (fault_text != nullptr) {
    SDK_LOG(error) << fault_text;
  }
  return ControlStatus::FAULT;
}

}  // namespace

std::shared_ptr<ErrorInfo> fetch_error_info(const CommonUtils& common_utils) {
  std::shared_ptr<ErrorInfo> error_info = common_utils.error_buffer().get_data();
  if (!error_info) {
    SDK_LOG(error) << "get error info fail";
  }
  return error_info;
}

ControlStatus check_no_fatal_error(const CommonUtils& common_utils, const std::vector<std::string>& groups,
                                   const char* fault_text) {
  return check_groups(common_utils, groups, fault_text);
}

ControlStatus check_no_fatal_error(const CommonUtils& common_utils, const std::string& group, const char* fault_text) {
  return check_groups(common_utils, group, fault_text);
}

}  // namespace norvik::sdk

#pragma once

#include <memory>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

class CommonUtils;

// The controller's latest error report; empty, with one record, before the first one.
std::shared_ptr<ErrorInfo> fetch_error_info(const CommonUtils& common_utils);

// Whether a command to the given groups may go out now: SUCCESS, COMM_DISCONNECTED before the controller's first error
// report, FAULT when the report has a fatal error of one of them. A fault is recorded under `fault_text`, if one is
// given.
ControlStatus check_no_fatal_error(const CommonUtils& common_utils, const std::vector<std::string>& groups,
                                   const char* fault_text = nullptr);
ControlStatus check_no_fatal_error(const CommonUtils& common_utils, const std::string& group,
                                   const char* fault_text = nullptr);

}  // namespace norvik::sdk

#pragma once

#include <exception>
#include <utility>

#include <norvik_sdk/types.hpp>

#include "sdk_log.hpp"

namespace norvik::sdk {

// The status of `step`; INVALID_INPUT, with the reason in the log, when a check in it throws.
template <typename Step>
MotionStatus guarded(Step&& step) {
  try {
    return std::forward<Step>(step)();
  } catch (const std::exception& error) {
    SDK_LOG(error) << error.what();
  } catch (...) {
    SDK_LOG(error) << "catch unknow exception.";
  }
  return MotionStatus::INVALID_INPUT;
}

}  // namespace norvik::sdk

#pragma once

#include "sdk_log.hpp"

// Whether a creation gave a result; logs which way it went, as a record of the calling file.
#define SDK_LOG_CREATED(pointer, success, failure) \
  ((pointer) != nullptr ? (SDK_LOG(info) << (success), true) : (SDK_LOG(error) << (failure), false))

// The same for creations that are logged only when they fail.
#define SDK_LOG_IF_EMPTY(pointer, failure) ((pointer) != nullptr || (SDK_LOG(error) << (failure), false))

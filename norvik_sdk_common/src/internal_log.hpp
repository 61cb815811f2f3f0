#pragma once

#include <string>

#include <norvik_sdk/export.hpp>

namespace norvik::sdk {

// Opens the internal log in $HOME/norvik_sdk_log/<model>/, or in the working directory when HOME is unset. A log that
// cannot be opened is reported on standard error; the robot works without it. Exported for libnorvik_sdk_perception.
NORVIK_SDK_EXPORT void open_internal_log(const std::string& model);

}  // namespace norvik::sdk

#pragma once

#include <string>

namespace norvik::sdk {

// Opens the internal log in $HOME/norvik_sdk_log/<model>/, or in the working directory when HOME is unset. A log that
// cannot be opened is reported on standard error; the robot works without it.
void open_internal_log(const std::string& model);

}  // namespace norvik::sdk

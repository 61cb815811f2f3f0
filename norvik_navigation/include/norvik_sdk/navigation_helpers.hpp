#pragma once

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/norvik_navigation.hpp>

namespace norvik::sdk {

// What programs need beside the operations of NorvikNavigation. Nothing throws; any thread may call.

// Waits until goals are not refused any more for want of the robot: the navigation service reports that it works, and
// the robot knows where it is. Looks every 10 ms; leaves no record in the log.
//   navigation  one from NorvikNavigation::get_instance.
//   timeout_s   seconds; 0 and below look once.
// False when the time is over, before `init`, and once a shutdown was asked for. Blocks at most `timeout_s`.
NORVIK_SDK_EXPORT bool wait_until_ready(NorvikNavigation& navigation, double timeout_s = 10.0);

}  // namespace norvik::sdk

#pragma once

#include <vector>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// Longest blocking wait of a dexterous hand, counted from the start of the call.
inline constexpr double kDexhandTimeoutS = 15.0;

// Largest difference, per joint and in the hand's own unit, at which a hand with position feedback has arrived.
inline constexpr double kDexhandReachThreshold = 2.0;

// Whether every joint stands within the threshold of its command; the first one that does not is recorded under
// `operation`. Both lists have the same length. A difference that is not a number counts as arrived.
bool has_dexhand_arrived(const std::vector<JointState>& joints, const std::vector<JointCommand>& commands,
                         const char* operation);

}  // namespace norvik::sdk

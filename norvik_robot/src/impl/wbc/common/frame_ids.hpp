#pragma once

#include <string>

namespace norvik::sdk::frame_ids {

inline constexpr const char* kBaseLink = "base_link";

// Frames that may be told a pose in and stay where they are while the robot moves.
inline bool is_valid_reference(const std::string& frame_id) { return frame_id == "odom" || frame_id == "map"; }

inline bool is_valid(const std::string& frame_id) { return frame_id == kBaseLink || is_valid_reference(frame_id); }

}  // namespace norvik::sdk::frame_ids

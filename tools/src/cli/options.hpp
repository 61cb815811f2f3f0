#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace norvik::tools {

// Exit statuses of the tool.
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;  // Nothing found, nothing received, or problems found.
inline constexpr int kUsageError = 2;

struct CommonOptions {
  std::optional<int> domain;  // Unset: OVIMUX_DOMAIN_ID, else 0.
  bool local = false;
  bool json = false;
  double timeout_s = 5.0;  // For processes, topics and first messages to appear; 0: no limit.
};

struct TopicsOptions {
  bool rate = false;
  double window_s = 2.0;
};

struct EchoOptions {
  std::string topic;
  uint64_t count = 0;  // Messages to print; 0: until interrupted.
  bool raw = false;    // Not decoded.
};

struct HzOptions {
  std::string topic;
  double window_s = 2.0;
  uint64_t count = 0;  // Reports, one a window; 0: until interrupted.
};

struct DoctorOptions {
  std::string model;  // "k2", "r5", or empty: nothing is expected of the robot.
};

// One call of the tool.
struct Command {
  CommonOptions common;
  std::variant<TopicsOptions, EchoOptions, HzOptions, DoctorOptions> verb;
};

}  // namespace norvik::tools

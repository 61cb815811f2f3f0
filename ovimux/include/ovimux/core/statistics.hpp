#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

enum ChannelKind : int { kReaderChannel = 0, kClientChannel = 1 };

// Counters of one channel since the process began.
struct ChannelStatistics {
  std::string name;
  int kind = kReaderChannel;
  bool matched = false;
  uint64_t received = 0;
  uint64_t bytes = 0;
  uint64_t lost = 0;
  int64_t last_latency_us = 0;
  int64_t max_latency_us = 0;
};

// Counts what the channels of this process receive and lose. Safe from any thread; names that were never created are
// ignored.
class OVIMUX_EXPORT Statistics {
 public:
  static Statistics& Instance();

  void create_channel_statistics(const std::string& name, int kind);
  void on_channel_match(const std::string& name, int kind, bool matched);
  void on_channel_msg_recv(const std::string& name, int kind, uint64_t size, int64_t latency_us);
  void on_channel_msg_lost(const std::string& name, int kind, int32_t count);

  std::vector<ChannelStatistics> snapshot() const;

 private:
  Statistics();
  struct State;
  State* const state_;
};

}  // namespace norvik::ovimux

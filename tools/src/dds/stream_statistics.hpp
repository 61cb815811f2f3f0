#pragma once

#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "dds/sample_header.hpp"

namespace norvik::tools {

// Counts the samples of one sender by their running index. Counting begins with the first sample that is seen.
struct SenderCount {
  uint64_t received = 0;
  uint64_t lost = 0;        // Gaps in the index, which wraps round.
  uint64_t unexpected = 0;  // An index that was passed already.
  int64_t least_latency_ns = std::numeric_limits<int64_t>::max();
  uint32_t last_seq = 0;

  void add(const SampleHeader& sample);
  bool has_latency() const { return least_latency_ns != std::numeric_limits<int64_t>::max(); }
};

// One window of a topic, and totals since the beginning.
struct StreamReport {
  size_t samples = 0;           // In the window.
  double hertz = 0.0;           // 0 for fewer than two samples.
  double bytes_per_second = 0;  // Of payload.
  double mean_size = 0.0;
  double shortest_period_s = 0.0;
  double longest_period_s = 0.0;
  double jitter_s = 0.0;   // Standard deviation of the period.
  size_t stamped = 0;      // Samples that tell when they were sent.
  double latency_s = 0.0;  // Mean; contains the difference of the clocks.
  double least_latency_s = 0.0;
  double greatest_latency_s = 0.0;
  double silence_s = -1.0;  // Since the last sample ever; negative before the first.
  uint64_t received = 0;
  uint64_t lost = 0;
  uint64_t unexpected = 0;
  uint64_t malformed = 0;
  size_t senders = 0;
};
nlohmann::ordered_json to_json(const StreamReport& report);
// One line for people.
std::string to_text(const StreamReport& report);

// Collects the samples of one topic. Used by one thread at a time.
class StreamStatistics {
 public:
  explicit StreamStatistics(double window_s);

  void add(const SampleHeader& sample);
  // `now_ns` on the steady clock.
  StreamReport report(int64_t now_ns);
  const std::map<Sender, SenderCount>& senders() const { return senders_; }

 private:
  void forget_before(int64_t arrival_ns);
  void describe_window(int64_t now_ns, StreamReport& report) const;
  void describe_latency(StreamReport& report) const;
  void describe_periods(int64_t now_ns, StreamReport& report) const;

  const int64_t window_ns_;
  std::deque<SampleHeader> window_;
  std::map<Sender, SenderCount> senders_;
  int64_t last_arrival_ns_ = -1;
  uint64_t malformed_ = 0;
};

}  // namespace norvik::tools

#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "dds/bytes.hpp"
#include "dds/listen_target.hpp"
#include "dds/participant.hpp"
#include "dds/stream_statistics.hpp"

namespace norvik::tools {

// Nanoseconds of the steady clock, as in SampleHeader::arrival_ns.
int64_t steady_now_ns();

// Listens to a topic below the message level: samples with their envelopes, if they have one, and nothing decoded.
class SampleTap {
 public:
  // Runs on a DDS thread, so it must be quick; never after the tap's destruction. May take the payload.
  using Handler = std::function<void(const SampleHeader& header, Bytes& payload)>;

  // `history`: a latched topic's last sample is wanted too.
  SampleTap(Participant& participant, const ListenTarget& target, bool history, Handler handler);
  ~SampleTap();
  SampleTap(const SampleTap&) = delete;
  SampleTap& operator=(const SampleTap&) = delete;

  // Writers that are matched now.
  int publisher_count() const;

 private:
  class Listener;

  Participant& participant_;
  const std::unique_ptr<Listener> listener_;
  eprosima::fastdds::dds::DataReader* reader_;
};

// A tap that keeps statistics.
class Meter {
 public:
  Meter(Participant& participant, const ListenTarget& target, double window_s);

  StreamReport report();
  std::map<Sender, SenderCount> senders() const;
  int publisher_count() const { return tap_.publisher_count(); }

 private:
  mutable std::mutex mutex_;
  StreamStatistics statistics_;
  SampleTap tap_;  // Last: samples arrive as soon as it exists.
};

}  // namespace norvik::tools

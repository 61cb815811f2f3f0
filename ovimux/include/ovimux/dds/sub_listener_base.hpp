#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "ovimux/core/warning_throttle.hpp"
#include "ovimux/dds/buffer_recycler.hpp"
#include "ovimux/dds/envelope.hpp"
#include "ovimux/dds/sample_identity.hpp"
#include "ovimux/export.hpp"
#include "ovimux/qos.hpp"
#include "ovimux/threadpool/ovimux_thread_pool.hpp"

namespace eprosima::fastdds::dds {
class DataReader;
class DataReaderListener;
}  // namespace eprosima::fastdds::dds

namespace norvik::ovimux {

// What the receiving side of readers, clients and servers has in common. On the DDS thread a sample is taken, checked
// and moved into a queue, and the drain task is kicked; nothing is parsed there and no user code runs there.
class OVIMUX_EXPORT SubListenerBase {
 public:
  // What differs between the kinds of listener.
  struct Kind {
    const char* name;            // Begins the log texts.
    const char* small_received;  // Log text of a sample in the small envelope.
    int statistics_kind;
    // The plain listener spares the broadcasts of the topology its slowness warning, in the small envelope only.
    bool spares_broadcasts;
  };

  SubListenerBase(const Kind& kind, std::string topic, const Qos& qos);
  virtual ~SubListenerBase();
  SubListenerBase(const SubListenerBase&) = delete;
  SubListenerBase& operator=(const SubListenerBase&) = delete;

  // What DDS calls. Lives as long as this object.
  eprosima::fastdds::dds::DataReaderListener* dds_listener() { return dds_listener_.get(); }

  const std::string& topic() const { return topic_; }

 protected:
  // Whether the sample is meant for this listener.
  virtual bool accept(const SampleOrigin& origin) = 0;
  // Moves the bytes out of `envelope` into the queue; 0 on success. Logs nothing.
  virtual int enqueue(Envelope& envelope, const SampleOrigin& origin) = 0;
  virtual int64_t transit_threshold_ms() const = 0;
  // Whether samples are taken at all: until shutdown.
  virtual bool receives() const;
  // What finds the large part of this listener's messages, if they have one.
  virtual FindBulk find_bulk() const { return nullptr; }
  virtual bool kicks_task() const { return true; }
  // The number that names a sample in the log.
  virtual uint32_t log_index(const Envelope& envelope) const { return envelope.seq; }
  virtual void on_match_count(int32_t /*current_count*/) {}

  bool uses_large_envelope() const { return qos_.payload_kind == kLargePayloadKind; }
  void kick();
  BufferRecycler& recycler() { return recycler_; }
  // For the large parts of messages; shared, since their users may hold them longer than this listener lives.
  const std::shared_ptr<BufferRecycler>& bulk_recycler() const { return bulk_recycler_; }

  std::shared_ptr<Task> task_;
  const Qos qos_;

 private:
  class DdsListener;  // Keeps Fast DDS out of this header, which every user of a node reads.

  void receive(eprosima::fastdds::dds::DataReader& reader);
  void refill(Envelope& envelope);
  void handle_sample(Envelope& envelope, const SampleOrigin& origin);
  bool is_alive(int instance_state, bool valid_data) const;
  bool is_usable(const Envelope& envelope, const SampleOrigin& origin);
  void handle_match(int32_t current_count, int32_t change, int32_t total_count);
  void account(const Envelope& envelope);
  bool was_kept_for_late_joiners(int64_t transit_us) const;

  const Kind kind_;
  const std::string topic_;
  const std::unique_ptr<eprosima::fastdds::dds::DataReaderListener> dds_listener_;
  std::mutex receive_mutex_;
  int32_t match_count_ = 0;
  const bool latched_;
  std::atomic<int64_t> last_match_us_;  // Steady clock.
  WarningThrottle late_samples_;
  BufferRecycler recycler_;
  const std::shared_ptr<BufferRecycler> bulk_recycler_ = std::make_shared<BufferRecycler>();
};

// What DDS calls, sharing the life of `listener`.
inline std::shared_ptr<eprosima::fastdds::dds::DataReaderListener> dds_listener_of(
    const std::shared_ptr<SubListenerBase>& listener) {
  return {listener, listener->dds_listener()};
}

}  // namespace norvik::ovimux

#include "dds/sample_tap.hpp"

#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>

#include <atomic>
#include <chrono>
#include <cstring>
#include <utility>

#include "dds/raw_type.hpp"

namespace norvik::tools {
namespace {

using eprosima::fastdds::dds::DataReader;
using eprosima::fastdds::dds::SampleInfo;
using eprosima::fastrtps::types::ReturnCode_t;

constexpr int64_t kNanosecondsPerSecond = 1000000000;

template <typename Clock>
int64_t now_ns() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

EndpointId writer_of(const SampleInfo& info) {
  EndpointId id{};
  std::memcpy(id.data(), info.publication_handle.value, id.size());
  return id;
}

void describe_envelope(const RawSample& sample, SampleHeader& header) {
  const ovimux::Envelope& envelope = sample.envelope;
  header.sender.pid = envelope.pid;
  header.sender.token = envelope.token;
  header.seq = envelope.seq;
  header.size = envelope.raw_data.size();
  header.stamp_ns = envelope.timestamp_sec * kNanosecondsPerSecond + envelope.timestamp_nsec;
  header.malformed =
      sample.is_malformed || envelope.pkg_len < 0 || static_cast<size_t>(envelope.pkg_len) != envelope.raw_data.size();
}

void describe_bytes(const RawSample& sample, const SampleInfo& info, SampleHeader& header) {
  header.seq = static_cast<uint32_t>(info.sample_identity.sequence_number().to64long());
  header.size = sample.bytes.size();
  header.stamp_ns = info.source_timestamp.to_ns();
}

SampleHeader header_of(const RawSample& sample, const SampleInfo& info) {
  SampleHeader header;
  header.sender.writer = writer_of(info);
  header.received_ns = now_ns<std::chrono::system_clock>();
  header.arrival_ns = steady_now_ns();
  if (sample.is_enveloped) {
    describe_envelope(sample, header);
  } else {
    describe_bytes(sample, info, header);
  }
  return header;
}

}  // namespace

int64_t steady_now_ns() { return now_ns<std::chrono::steady_clock>(); }

class SampleTap::Listener : public eprosima::fastdds::dds::DataReaderListener {
 public:
  explicit Listener(Handler handler) : handler_(std::move(handler)) {}

  void on_data_available(DataReader* reader) override {
    RawSample sample;
    SampleInfo info;
    while (reader->take_next_sample(&sample, &info) == ReturnCode_t::RETCODE_OK) {
      if (info.valid_data) {
        handler_(header_of(sample, info), sample.is_enveloped ? sample.envelope.raw_data : sample.bytes);
      }
    }
  }

  void on_subscription_matched(DataReader* /*reader*/,
                               const eprosima::fastdds::dds::SubscriptionMatchedStatus& status) override {
    publisher_count_ = status.current_count;
  }

  int publisher_count() const { return publisher_count_; }

 private:
  const Handler handler_;
  std::atomic<int> publisher_count_{0};
};

SampleTap::SampleTap(Participant& participant, const ListenTarget& target, bool history, Handler handler)
    : participant_(participant),
      listener_(std::make_unique<Listener>(std::move(handler))),
      reader_(participant.create_reader(target, history, *listener_)) {}

SampleTap::~SampleTap() {
  if (reader_ != nullptr) {
    participant_.delete_reader(reader_);
  }
}

int SampleTap::publisher_count() const { return listener_->publisher_count(); }

Meter::Meter(Participant& participant, const ListenTarget& target, double window_s)
    : statistics_(window_s),
      tap_(participant, target, false, [this](const SampleHeader& header, const Bytes& /*payload*/) {
        const std::lock_guard<std::mutex> lock(mutex_);
        statistics_.add(header);
      }) {}

StreamReport Meter::report() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return statistics_.report(steady_now_ns());
}

std::map<Sender, SenderCount> Meter::senders() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return statistics_.senders();
}

}  // namespace norvik::tools

#include "network/sample_tap.hpp"

#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>

#include <utility>

#include "ovimux/dds/dds_node_factory.hpp"

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

SampleHeader header_of(const ovimux::Envelope& envelope) {
  SampleHeader header;
  header.sender = {envelope.pid, envelope.token};
  header.seq = envelope.seq;
  header.size = envelope.raw_data.size();
  header.stamp_ns = envelope.timestamp_sec * kNanosecondsPerSecond + envelope.timestamp_nsec;
  header.received_ns = now_ns<std::chrono::system_clock>();
  header.arrival_ns = steady_now_ns();
  header.malformed = envelope.pkg_len < 0 || static_cast<size_t>(envelope.pkg_len) != envelope.raw_data.size();
  return header;
}

ovimux::Qos qos_of(const ListenTarget& target, bool history) {
  ovimux::Qos qos;
  qos.payload_kind = target.large ? ovimux::kLargePayloadKind : 0;
  qos.opaque_3 = history && target.latched ? 1 : 0;
  return qos;
}

}  // namespace

int64_t steady_now_ns() { return now_ns<std::chrono::steady_clock>(); }

class SampleTap::Listener : public eprosima::fastdds::dds::DataReaderListener {
 public:
  explicit Listener(Handler handler) : handler_(std::move(handler)) {}

  void on_data_available(DataReader* reader) override {
    ovimux::Envelope envelope;
    SampleInfo info;
    while (reader->take_next_sample(&envelope, &info) == ReturnCode_t::RETCODE_OK) {
      if (info.valid_data) {
        handler_(header_of(envelope), envelope.raw_data);
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

SampleTap::SampleTap(const ListenTarget& target, bool history, Handler handler)
    : listener_(std::make_shared<Listener>(std::move(handler))),
      reader_(ovimux::DDSNodeFactory::Instance()->CreateReader(target.topic, listener_, qos_of(target, history),
                                                               nullptr)) {}

SampleTap::~SampleTap() { ovimux::DDSNodeFactory::Instance()->DeleteReader(reader_, true); }

int SampleTap::publisher_count() const { return listener_->publisher_count(); }

Meter::Meter(const ListenTarget& target, double window_s)
    : statistics_(window_s), tap_(target, false, [this](const SampleHeader& header, const Bytes& /*payload*/) {
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

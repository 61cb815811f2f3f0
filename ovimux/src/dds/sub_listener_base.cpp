#include "ovimux/dds/sub_listener_base.hpp"

#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>

#include <chrono>
#include <ctime>
#include <utility>

#include "dds/dds_identity.hpp"
#include "dds/dds_thread.hpp"
#include "dds/endpoint_qos.hpp"
#include "dds/entity_state.hpp"
#include "ovimux/core/statistics.hpp"
#include "ovimux/dds/dds_tools.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {
namespace {

using eprosima::fastdds::dds::SampleInfo;
using eprosima::fastrtps::types::ReturnCode_t;

int64_t now_us() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

int64_t transit_time_us(const Envelope& envelope) {
  return now_us() - (static_cast<int64_t>(envelope.timestamp_sec) * 1000000 + envelope.timestamp_nsec / 1000);
}

int64_t steady_us() {
  const auto since_boot = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::microseconds>(since_boot).count();
}

}  // namespace

class SubListenerBase::DdsListener : public eprosima::fastdds::dds::DataReaderListener, public EntityState {
 public:
  explicit DdsListener(SubListenerBase& owner) : owner_(owner) {}

  void on_data_available(eprosima::fastdds::dds::DataReader* reader) override;
  void on_subscription_matched(eprosima::fastdds::dds::DataReader* reader,
                               const eprosima::fastdds::dds::SubscriptionMatchedStatus& status) override;
  void on_entity_gone() override;
  void on_sample_lost(eprosima::fastdds::dds::DataReader* reader,
                      const eprosima::fastdds::dds::SampleLostStatus& status) override;
  void on_requested_incompatible_qos(eprosima::fastdds::dds::DataReader* reader,
                                     const eprosima::fastdds::dds::RequestedIncompatibleQosStatus& status) override;

 private:
  SubListenerBase& owner_;
};

SubListenerBase::SubListenerBase(const Kind& kind, std::string topic, const Qos& qos)
    : qos_(qos),
      kind_(kind),
      topic_(std::move(topic)),
      dds_listener_(std::make_unique<DdsListener>(*this)),
      latched_(DDSTools::PolicyOf(qos).latched),
      last_match_us_(steady_us()) {}

// Waits for a reception that is about to return.
SubListenerBase::~SubListenerBase() { const std::lock_guard<std::mutex> lock(receive_mutex_); }

bool SubListenerBase::receives() const { return OK(); }

void SubListenerBase::DdsListener::on_data_available(eprosima::fastdds::dds::DataReader* reader) {
  const DdsThreadScope dds_thread;
  if (!owner_.receives()) {
    OVIMUX_LOG(kInfo) << owner_.kind_.name << ": ovimux state is shutdown, topic: " << owner_.topic_;
    return;
  }
  owner_.receive(*reader);
}

void SubListenerBase::receive(eprosima::fastdds::dds::DataReader& reader) {
  const std::lock_guard<std::mutex> lock(receive_mutex_);
  OVIMUX_LOG(kDebug) << (uses_large_envelope() ? "DDSSubSerializationListener: large data received"
                                               : kind_.small_received)
                     << ", topic: " << topic_;
  Envelope envelope;
  envelope.find_bulk = find_bulk();
  refill(envelope);
  SampleInfo info;
  while (reader.take_next_sample(&envelope, &info) == ReturnCode_t::RETCODE_OK) {
    if (is_alive(info.instance_state, info.valid_data)) {
      handle_sample(envelope, {from_dds(info.sample_identity), from_dds(info.related_sample_identity)});
    }
    refill(envelope);
  }
  recycler_.give(std::move(envelope.raw_data));
  bulk_recycler_->give(std::move(envelope.bulk));
}

// Replaces the buffers that have gone with a sample.
void SubListenerBase::refill(Envelope& envelope) {
  if (envelope.raw_data.capacity() == 0) {
    envelope.raw_data = recycler_.take();
  }
  if (envelope.find_bulk != nullptr && envelope.bulk.capacity() == 0) {
    envelope.bulk = bulk_recycler_->take();
  }
}

void SubListenerBase::handle_sample(Envelope& envelope, const SampleOrigin& origin) {
  if (!is_usable(envelope, origin)) {
    return;
  }
  account(envelope);
  if (enqueue(envelope, origin) != 0) {
    OVIMUX_LOG(kError) << "process_data error, write ref to queue fail, topic: " << topic_;
  }
  if (kicks_task()) {
    kick();
  }
}

bool SubListenerBase::is_alive(int instance_state, bool valid_data) const {
  if (instance_state != eprosima::fastdds::dds::ALIVE_INSTANCE_STATE) {
    OVIMUX_LOG(kError) << kind_.name << ": no ALIVE_INSTANCE_STATE, topic: " << topic_;
    return false;
  }
  if (!valid_data) {
    OVIMUX_LOG(kError) << kind_.name << ": invalid_data, topic: " << topic_;
    return false;
  }
  return true;
}

bool SubListenerBase::is_usable(const Envelope& envelope, const SampleOrigin& origin) {
  if (!accept(origin)) {
    return false;
  }
  if (envelope.pkg_len < 0 || static_cast<size_t>(envelope.pkg_len) != envelope.payload_size) {
    OVIMUX_LOG(kError) << kind_.name << ": data vector check failed, topic: " << topic_;
    return false;
  }
  return true;
}

// A latched topic's last sample is as old as it may be when somebody joins.
bool SubListenerBase::was_kept_for_late_joiners(int64_t transit_us) const {
  return latched_ && transit_us > steady_us() - last_match_us_.load();
}

// Statistics, and the warning about a sample that was long on its way. A peer whose clock is off makes every sample
// look late.
void SubListenerBase::account(const Envelope& envelope) {
  const int64_t transit_us = transit_time_us(envelope);
  const bool spared =
      kind_.spares_broadcasts && !uses_large_envelope() && topic_.find("_change_broadcast") != std::string::npos;
  if (transit_threshold_ms() <= transit_us / 1000 && !spared && !was_kept_for_late_joiners(transit_us)) {
    if (const auto count = late_samples_.admit(std::chrono::steady_clock::now())) {
      OVIMUX_LOG(kWarning) << kind_.name << ": data used time " << transit_us / 1000 << " ms, over sub threshold "
                           << transit_threshold_ms() << " ms, topic: " << topic_ << ", index: " << log_index(envelope)
                           << *count;
    }
  }
  Statistics::Instance().on_channel_msg_recv(topic_, kind_.statistics_kind, envelope.payload_size, transit_us);
  OVIMUX_LOG(kDebug) << kind_.name << " data available, topic: " << topic_ << ", index: " << log_index(envelope)
                     << ", token: " << envelope.token << ", timestamp_sec: " << envelope.timestamp_sec
                     << ", timestamp_nsec: " << envelope.timestamp_nsec << ", pkg_len: " << envelope.pkg_len
                     << ", data_len: " << envelope.payload_size << ", crc: " << envelope.crc;
}

void SubListenerBase::kick() {
  if (task_ && task_->request_run()) {
    OvimuxThreadPool::Instance()->push_arrival(task_);
  }
}

void SubListenerBase::DdsListener::on_subscription_matched(
    eprosima::fastdds::dds::DataReader* /*reader*/, const eprosima::fastdds::dds::SubscriptionMatchedStatus& status) {
  const DdsThreadScope dds_thread;
  if (!owner_.receives()) {
    OVIMUX_LOG(kInfo) << owner_.kind_.name << ": ovimux state is shutdown, topic: " << owner_.topic_;
    return;
  }
  owner_.handle_match(status.current_count, status.current_count_change, status.total_count);
}

void SubListenerBase::handle_match(int32_t current_count, int32_t change, int32_t total_count) {
  if (change == 1 || change == -1) {
    match_count_ = total_count;
    OVIMUX_LOG(kInfo) << kind_.name << (change == 1 ? " matched" : " unmatched") << ". topic: " << topic_
                      << ", total match count: " << total_count << ", current match count: " << current_count;
  } else {
    OVIMUX_LOG(kInfo) << kind_.name << ": topic: " << topic_ << ", " << change
                      << " is not a valid value for SubscriptionMatchedStatus current count change";
  }
  if (change > 0) {
    last_match_us_.store(steady_us());
  }
  on_match_count(current_count);
  Statistics::Instance().on_channel_match(topic_, kind_.statistics_kind, total_count >= 1);
}

void SubListenerBase::DdsListener::on_entity_gone() { owner_.on_match_count(0); }

void SubListenerBase::DdsListener::on_sample_lost(eprosima::fastdds::dds::DataReader* /*reader*/,
                                                  const eprosima::fastdds::dds::SampleLostStatus& status) {
  const DdsThreadScope dds_thread;
  OVIMUX_LOG(kError) << owner_.kind_.name << ": on_sample_lost, topic: " << owner_.topic_ << ", total_count "
                     << status.total_count << ", total_count_change: " << status.total_count_change;
  Statistics::Instance().on_channel_msg_lost(owner_.topic_, owner_.kind_.statistics_kind, status.total_count_change);
}

void SubListenerBase::DdsListener::on_requested_incompatible_qos(
    eprosima::fastdds::dds::DataReader* /*reader*/,
    const eprosima::fastdds::dds::RequestedIncompatibleQosStatus& status) {
  const DdsThreadScope dds_thread;
  if (status.total_count == status.total_count_change) {  // The first time only.
    OVIMUX_LOG(kWarning) << "a writer offers less than this reader requests and stays unmatched, policy: "
                         << policy_name(status.last_policy_id) << ", topic: " << owner_.topic_;
  }
}

}  // namespace norvik::ovimux

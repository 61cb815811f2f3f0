#include "ovimux/dds/dds_client_base.hpp"

#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/DataWriterListener.hpp>

#include <algorithm>
#include <sstream>
#include <utility>

#include "dds/dds_identity.hpp"
#include "dds/dds_thread.hpp"
#include "dds/drain.hpp"
#include "dds/entity_state.hpp"
#include "dds/token.hpp"
#include "ovimux/core/active_wait.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/core/statistics.hpp"
#include "ovimux/dds/dds_tools.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {
namespace {

constexpr SubListenerBase::Kind kClientKind = {
    "DDSClientSubSerializationListener", "DDSClientSubSerializationListener: 64k data received", kClientChannel, false};
constexpr std::chrono::milliseconds kServerPollPeriod{100};

// Counts the servers that read this client's requests, and tells the receiving side which answers are its own.
class DDSClientPubListener : public eprosima::fastdds::dds::DataWriterListener, public EntityState {
 public:
  DDSClientPubListener(std::weak_ptr<ClientMatchCounts> counts, std::weak_ptr<DDSClientSubListenerCore> receiver)
      : counts_(std::move(counts)), receiver_(std::move(receiver)) {}

  void on_publication_matched(eprosima::fastdds::dds::DataWriter* /*writer*/,
                              const eprosima::fastdds::dds::PublicationMatchedStatus& status) override {
    const DdsThreadScope dds_thread;
    if (const auto counts = counts_.lock()) {
      const auto count = static_cast<uint32_t>(std::max(0, status.current_count));
      const uint32_t before = counts->pub.exchange(count);
      counts->lost += before > count ? before - count : 0;
    } else {
      OVIMUX_LOG(kWarning) << "DDSSerializationDataClient already destroyed";
    }
  }

  // No server is lost: it is this side that has gone.
  void on_entity_gone() override {
    if (const auto counts = counts_.lock()) {
      counts->pub = 0;
    }
  }

  void on_writer_made(const eprosima::fastrtps::rtps::GUID_t& guid) override {
    if (const auto receiver = receiver_.lock()) {
      receiver->set_writer_guid(from_dds(guid));
    }
  }

 private:
  const std::weak_ptr<ClientMatchCounts> counts_;
  const std::weak_ptr<DDSClientSubListenerCore> receiver_;
};

}  // namespace

DDSClientSubListenerCore::DDSClientSubListenerCore(const std::string& topic, const Qos& qos,
                                                   std::function<void(int32_t)> on_match_count)
    : SubListenerBase(kClientKind, topic, qos), on_match_count_(std::move(on_match_count)), queue_(topic) {
  queue_.create(kQueueDepth, true);
}

void DDSClientSubListenerCore::set_task() {
  task_ = std::make_shared<Task>([weak = weak_core()] {
    if (const auto self = weak.lock()) {
      drain_past_exceptions([&self] { self->threadpoll_task(); });
    }
  });
  task_->set_state(Task::kIdle);
}

void DDSClientSubListenerCore::set_writer_guid(const std::array<uint8_t, 16>& guid) {
  writer_guid_ = guid;
  writer_guid_known_.store(true, std::memory_order_release);
}

int64_t DDSClientSubListenerCore::transit_threshold_ms() const {
  return GlobalData::Instance()->getClientSubThreshold();
}

bool DDSClientSubListenerCore::accept(const SampleOrigin& origin) {
  const SampleIdentity& request = origin.related;
  const bool is_mine = writer_guid_known_.load(std::memory_order_acquire) && request.writer_guid == writer_guid_;
  if (is_mine) {
    OVIMUX_LOG(kInfo) << "DDSClientSubSerializationListener: related_sample_identity success, topic: " << topic()
                      << ", writer sn: " << request.sequence_number;
  } else {
    OVIMUX_LOG(kInfo) << "DDSClientSubSerializationListener: data id from other client, writer guid origin: "
                      << to_dds(writer_guid_) << ", writer guid income: " << to_dds(request.writer_guid)
                      << ", writer sn income: " << request.sequence_number << ", topic: " << topic();
  }
  return is_mine;
}

int DDSClientSubListenerCore::enqueue(Envelope& envelope, const SampleOrigin& /*origin*/) {
  auto entry = std::make_shared<ClientQueueData>();
  entry->length = static_cast<uint32_t>(envelope.raw_data.size());
  entry->bytes = std::make_shared<std::vector<uint8_t>>(std::move(envelope.raw_data));
  entry->rpc_seq = envelope.rpc_seq;
  return queue_.write(entry);
}

bool DDSClientSubListenerCore::receives() const { return delivers_answers(); }

int DDSClientSubListenerCore::threadpoll_task() {
  if (!receives()) {
    OVIMUX_LOG(kInfo) << "msg_threadpoll_task: ovimux state is shutdown, topic: " << topic();
    return -2;
  }
  if (!has_callback()) {
    OVIMUX_LOG(kError) << "msg_threadpoll_task: cbk is null, topic: " << topic();
    return -1;
  }
  while (receives() && deliver_next()) {
  }
  return 0;
}

bool DDSClientSubListenerCore::deliver_next() {
  const CallbackGate::Pass pass(gate_);
  std::shared_ptr<ClientQueueData> entry;
  if (!pass || queue_.read(entry) != 0) {
    return false;
  }
  if (entry) {  // Empty only where the 32-bit indices have wrapped.
    deliver_timed(*entry);
    recycler().give(std::move(*entry->bytes));
  }
  return true;
}

void DDSClientSubListenerCore::deliver_timed(const ClientQueueData& entry) {
  const int64_t threshold_ms = GlobalData::Instance()->getClientCallbackThreshold();
  const auto start = std::chrono::steady_clock::now();
  deliver(*entry.bytes, entry.rpc_seq);
  const auto elapsed = std::chrono::steady_clock::now() - start;
  const int64_t elapsed_ms = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
  if (threshold_ms <= elapsed_ms) {
    OVIMUX_LOG(kWarning) << "DDSClientSubSerializationListener rpc callback used time " << elapsed_ms
                         << " ms, over callback threshold, topic:" << topic() << " , index: " << entry.rpc_seq;
  }
}

DDSClientBase::DDSClientBase(const std::string& service, const RpcQos& rpc_qos)
    : factory_(DDSNodeFactory::Instance(true)),
      service_(service),
      request_topic_(service + RPC_CHANNEL_REQ_SUFFIX),
      response_topic_(service + RPC_CHANNEL_RES_SUFFIX),
      token_(draw_token()),
      tid_(GlobalData::ThreadId()) {
  DDSTools::Instance(true)->TransformQos(rpc_qos, request_qos_, response_qos_);
}

DDSClientBase::~DDSClientBase() { close_endpoints(); }

bool DDSClientBase::open_endpoints(const std::shared_ptr<DDSClientSubListenerCore>& listener) {
  listener_ = listener;
  listener_->set_task();
  // The writer first: its name on the wire tells this client's answers from others'.
  writer_ = factory_->CreateWriter(request_topic_, std::make_shared<DDSClientPubListener>(match_counts_, listener_),
                                   request_qos_);
  if (writer_ != nullptr) {
    reader_ = factory_->CreateReader(response_topic_, dds_listener_of(listener_), response_qos_, nullptr);
  }
  open_.store(writer_ != nullptr && reader_ != nullptr);
  return open_.load();
}

void DDSClientBase::close_endpoints() {
  factory_->DeleteWriter(writer_, true);
  factory_->DeleteReader(reader_, true);
  if (listener_) {
    listener_->close();
  }
}

unsigned DDSClientBase::matched_server_count() const {
  const uint32_t pub = match_counts_->pub.load();
  const uint32_t sub = match_counts_->sub.load();
  if (pub != sub) {
    OVIMUX_LOG(kInfo) << "DDSSerializationDataClient: topic: " << topic()
                      << ", current pub/sub match different count, pub match count: " << pub
                      << ", sub match count: " << sub;
  }
  return std::min(pub, sub);
}

void DDSClientBase::wait_for_server(const std::chrono::seconds& timeout) const {
  const ActiveWait wait;
  const auto start = std::chrono::steady_clock::now();
  while (OK() && std::chrono::steady_clock::now() - start < timeout) {
    const unsigned count = matched_server_count();
    if (count != 0) {
      OVIMUX_LOG(kInfo) << "Matched server, count: " << count << ", topic: " << topic();
      sleep_while_running(std::chrono::steady_clock::now() + kServerPollPeriod);  // The other direction settles.
      return;
    }
    sleep_while_running(std::chrono::steady_clock::now() + kServerPollPeriod);
  }
  if (OK()) {
    OVIMUX_LOG(kWarning) << "WaitForServerConnectThread timeout after " << timeout.count()
                         << " seconds, topic: " << topic();
  } else {
    OVIMUX_LOG(kInfo) << "WaitForServerConnectThread exited due to shutdown, topic: " << topic();
  }
}

bool DDSClientBase::require_running(bool running) const {
  if (!running) {
    OVIMUX_LOG(kInfo) << "DDSSerializationDataClient: ovimux state is shutdown, topic: " << topic();
  }
  return running;
}

bool DDSClientBase::check_running() const { return require_running(may_send()); }

bool DDSClientBase::check_delivering() const { return require_running(delivers_answers()); }

bool DDSClientBase::check_open_and_log() const {
  if (!is_open()) {
    OVIMUX_LOG(kError) << "DDSSerializationDataClient: init failed, topic: " << topic();
  }
  return is_open();
}

bool DDSClientBase::begin_publish(unsigned& seq) {
  if (!check_running()) {
    return false;
  }
  if (writer_ == nullptr) {
    OVIMUX_LOG(kError) << "DDSSerializationDataClient is empty, publish data failed, topic: " << topic();
    return false;
  }
  seq = ++rpc_seq_;
  OVIMUX_LOG(kDebug) << "DDSSerializationDataClient: publish data, topic: " << topic() << ", index: " << seq;
  return true;
}

}  // namespace norvik::ovimux

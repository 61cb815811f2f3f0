#include "ovimux/dds/service_server_base.hpp"

#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/DataWriterListener.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <utility>

#include "dds/dds_thread.hpp"
#include "dds/drain.hpp"
#include "dds/entity_state.hpp"
#include "dds/token.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/core/statistics.hpp"
#include "ovimux/dds/callback_gate.hpp"
#include "ovimux/dds/dds_client_base.hpp"
#include "ovimux/dds/dds_node_factory.hpp"
#include "ovimux/dds/dds_tools.hpp"
#include "ovimux/dds/sub_listener_base.hpp"
#include "ovimux/msg_queue/msg_queue.hpp"
#include "ovimux/ovimux.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::ovimux {
namespace {

constexpr SubListenerBase::Kind kServerKind = {"DDSServiceListener", "DDSServiceListener: 64k data received",
                                               kReaderChannel, false};
constexpr unsigned kRequestQueueDepth = 1000;
constexpr std::chrono::seconds kReaderDiscoveryLimit{1};
constexpr size_t kGuidPrefixSize = 12;
constexpr size_t kMostAbsent = 100;

using GuidPrefix = std::array<uint8_t, kGuidPrefixSize>;

GuidPrefix prefix_of(const SampleIdentity& identity) {
  GuidPrefix prefix{};
  std::copy_n(identity.writer_guid.begin(), kGuidPrefixSize, prefix.begin());
  return prefix;
}

Membership announce(const std::string& service, const Qos& request_qos, const std::string& request_type) {
  const auto* process = GlobalData::Instance();
  proto::RoleAttributes attributes;
  attributes.set_host_name(process->host_name());
  attributes.set_host_ip(process->host_ip());
  attributes.set_process_id(process->process_id());
  attributes.set_channel_name(service);
  attributes.set_channel_id(GlobalData::RegisterService(service));
  attributes.set_channel_count(1);
  attributes.set_message_type(request_type);
  attributes.mutable_qos_profile()->set_type(proto::PROFILE_RPC_INTRA_CORE);
  attributes.mutable_qos_profile()->mutable_intra_core()->set_payload_kind(request_qos.payload_kind);
  return Manager::Instance()->Join(attributes, proto::ROLE_TYPE_SERVER, true);
}

// Knows the processes whose reader of the responses is matched, and those last found to have none: they are gone.
class ResponseListener : public eprosima::fastdds::dds::DataWriterListener, public EntityState {
 public:
  void on_publication_matched(eprosima::fastdds::dds::DataWriter* /*writer*/,
                              const eprosima::fastdds::dds::PublicationMatchedStatus& status) override {
    const DdsThreadScope dds_thread;
    GuidPrefix prefix{};
    std::memcpy(prefix.data(), &status.last_subscription_handle, kGuidPrefixSize);
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (status.current_count_change > 0) {
        matched_.push_back(prefix);
        absent_.erase(std::remove(absent_.begin(), absent_.end(), prefix), absent_.end());
      } else if (const auto it = find(matched_, prefix); it != matched_.end()) {
        matched_.erase(it);
        note_absent(prefix);
      }
    }
    changed_.notify_all();
  }

  void on_entity_gone() override {
    const std::lock_guard<std::mutex> lock(mutex_);
    matched_.clear();
    absent_.clear();
  }

  // Once for each process: the requests that one has left behind must not hold up those of the others.
  void wait_for(const GuidPrefix& prefix) {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto is_known = [this, &prefix] { return has(matched_, prefix) || has(absent_, prefix); };
    if (!changed_.wait_for(lock, kReaderDiscoveryLimit, is_known)) {
      note_absent(prefix);
    }
  }

 private:
  using Prefixes = std::deque<GuidPrefix>;

  static Prefixes::iterator find(Prefixes& among, const GuidPrefix& prefix) {
    return std::find(among.begin(), among.end(), prefix);
  }
  static bool has(Prefixes& among, const GuidPrefix& prefix) { return find(among, prefix) != among.end(); }

  void note_absent(const GuidPrefix& prefix) {
    absent_.push_back(prefix);
    if (absent_.size() > kMostAbsent) {
      absent_.pop_front();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  Prefixes matched_;  // A process as often as it has readers.
  Prefixes absent_;
};

}  // namespace

class ServiceServerBase::RequestListener : public SubListenerBase,
                                           public std::enable_shared_from_this<RequestListener> {
 public:
  RequestListener(const std::string& topic, const Qos& qos, Handler handler)
      : SubListenerBase(kServerKind, topic, qos), handler_(std::move(handler)), queue_(topic) {
    queue_.create(kRequestQueueDepth, true);
  }

  void open(const Qos& qos) {
    task_ = std::make_shared<Task>([weak = weak_from_this()] {
      if (const auto self = weak.lock()) {
        drain_past_exceptions([&self] { self->drain(); });
      }
    });
    reader_ = DDSNodeFactory::Instance()->CreateReader(topic(), dds_listener_of(shared_from_this()), qos, nullptr);
  }

  void close() {
    DDSNodeFactory::Instance()->DeleteReader(reader_, true);
    gate_.close();
  }

  bool is_open() const { return reader_ != nullptr; }

 protected:
  bool accept(const SampleOrigin& /*origin*/) override { return true; }

  int enqueue(Envelope& envelope, const SampleOrigin& origin) override {
    auto request = std::make_shared<Request>();
    request->context = {origin.sample, envelope.rpc_seq};
    request->bytes = std::move(envelope.raw_data);
    return queue_.write(request);
  }

  int64_t transit_threshold_ms() const override { return GlobalData::Instance()->getReaderSubThreshold(); }

 private:
  struct Request {
    RequestContext context;
    std::vector<uint8_t> bytes;
  };

  void drain() {
    std::shared_ptr<Request> request;
    while (OK()) {
      const CallbackGate::Pass pass(gate_);
      if (!pass || queue_.read(request) != 0) {
        return;
      }
      if (request) {
        handler_(request->context, request->bytes);
      }
    }
  }

  const Handler handler_;
  MsgQueue<Request> queue_;
  CallbackGate gate_;
  DataReader* reader_ = nullptr;
};

class ServiceServerBase::ResponseWriter {
 public:
  ResponseWriter(const std::string& topic, const Qos& qos)
      : writer_(DDSNodeFactory::Instance()->CreateWriter(topic, listener_, qos)) {}
  ~ResponseWriter() { DDSNodeFactory::Instance()->DeleteWriter(writer_, true); }
  ResponseWriter(const ResponseWriter&) = delete;
  ResponseWriter& operator=(const ResponseWriter&) = delete;

  bool is_open() const { return writer_ != nullptr; }

  bool send(const RequestContext& context, const std::string& response) {
    listener_->wait_for(prefix_of(context.request));
    return DDSNodeFactory::Instance()->PublishReply(writer_, response, ++seq_, context.rpc_seq, token_, tid_,
                                                    context.request);
  }

 private:
  const std::shared_ptr<ResponseListener> listener_ = std::make_shared<ResponseListener>();
  DataWriter* writer_;
  std::atomic<uint32_t> seq_{0};
  const int token_ = draw_token();
  const int tid_ = GlobalData::ThreadId();
};

ServiceServerBase::ServiceServerBase(const std::string& service, const RpcQos& rpc_qos, Handler handler,
                                     const std::string& request_type) {
  Qos request_qos;
  Qos response_qos;
  DDSTools::Instance()->TransformQos(rpc_qos, request_qos, response_qos);
  const std::string request_topic = service + RPC_CHANNEL_REQ_SUFFIX;
  Statistics::Instance().create_channel_statistics(request_topic, kReaderChannel);
  // The answering side first: a client counts a server only when it sees both.
  writer_ = std::make_unique<ResponseWriter>(service + RPC_CHANNEL_RES_SUFFIX, response_qos);
  listener_ = std::make_shared<RequestListener>(request_topic, request_qos, std::move(handler));
  listener_->open(request_qos);
  if (is_open()) {
    membership_ = announce(service, request_qos, request_type);
  }
}

ServiceServerBase::~ServiceServerBase() { listener_->close(); }

bool ServiceServerBase::is_open() const { return writer_->is_open() && listener_->is_open(); }

bool ServiceServerBase::Reply(const RequestContext& context, const std::string& response) {
  return writer_->send(context, response);
}

}  // namespace norvik::ovimux

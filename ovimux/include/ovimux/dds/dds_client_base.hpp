#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ovimux/core/manager.hpp"
#include "ovimux/dds/callback_gate.hpp"
#include "ovimux/dds/dds_node_factory.hpp"
#include "ovimux/dds/sub_listener_base.hpp"
#include "ovimux/export.hpp"
#include "ovimux/msg_queue/msg_queue.hpp"
#include "ovimux/qos.hpp"

namespace norvik::ovimux {

inline constexpr const char* RPC_CHANNEL_REQ_SUFFIX = "__RPC__REQUEST";
inline constexpr const char* RPC_CHANNEL_RES_SUFFIX = "__RPC__RESPONSE";

// One answer on its way to the client.
struct ClientQueueData {
  std::shared_ptr<std::vector<uint8_t>> bytes;
  uint32_t length = 0;
  uint32_t rpc_seq = 0;
};

// The receiving side of a client, without its message types. Every client of a service receives every answer, so the
// answers to other clients are dropped here.
class OVIMUX_EXPORT DDSClientSubListenerCore : public SubListenerBase {
 public:
  static constexpr unsigned kQueueDepth = 1000;

  DDSClientSubListenerCore(const std::string& topic, const Qos& qos, std::function<void(int32_t)> on_match_count);

  void set_task();
  void set_writer_guid(const std::array<uint8_t, 16>& guid);
  void close() { gate_.close(); }
  int threadpoll_task();

 protected:
  virtual bool has_callback() const = 0;
  virtual void deliver(const std::vector<uint8_t>& bytes, uint32_t rpc_seq) = 0;
  virtual std::weak_ptr<DDSClientSubListenerCore> weak_core() = 0;

  bool accept(const SampleOrigin& origin) override;
  int enqueue(Envelope& envelope, const SampleOrigin& origin) override;
  int64_t transit_threshold_ms() const override;
  bool receives() const override;
  uint32_t log_index(const Envelope& envelope) const override { return envelope.rpc_seq; }
  void on_match_count(int32_t current_count) override { on_match_count_(current_count); }

 private:
  bool deliver_next();
  void deliver_timed(const ClientQueueData& entry);

  const std::function<void(int32_t)> on_match_count_;
  std::array<uint8_t, 16> writer_guid_{};
  std::atomic<bool> writer_guid_known_{false};
  CallbackGate gate_;
  MsgQueue<ClientQueueData> queue_;
};

// Servers that a client's two DDS entities are matched with, and how many have gone. The listeners write it.
struct ClientMatchCounts {
  std::atomic<uint32_t> pub{0};
  std::atomic<uint32_t> sub{0};
  std::atomic<uint32_t> lost{0};
};

// Endpoints, match counts and waiting of a client, without its message types.
class OVIMUX_EXPORT DDSClientBase {
 public:
  DDSClientBase(const std::string& service, const RpcQos& rpc_qos);
  DDSClientBase(const DDSClientBase&) = delete;
  DDSClientBase& operator=(const DDSClientBase&) = delete;

  bool is_open() const { return open_.load(); }
  const std::string& topic() const { return service_; }
  void set_membership(Membership membership) { membership_ = std::move(membership); }

 protected:
  ~DDSClientBase();

  // Makes the DDS writer and reader.
  bool open_endpoints(const std::shared_ptr<DDSClientSubListenerCore>& listener);
  void close_endpoints();

  unsigned matched_server_count() const;
  void wait_for_server(const std::chrono::seconds& timeout) const;

  // Sends with the next rpc_seq, which it stores in `seq`. The caller holds the request mutex.
  template <typename Req>
  bool publish_request(const std::shared_ptr<const Req>& request, unsigned& seq);

  // Log when they give false. The first asks for the calling thread, the second for answers.
  bool check_running() const;
  bool check_delivering() const;
  bool check_open_and_log() const;

  DDSNodeFactory* const factory_;
  const std::string service_;
  const std::string request_topic_;
  const std::string response_topic_;
  Qos request_qos_;
  Qos response_qos_;
  const std::shared_ptr<ClientMatchCounts> match_counts_ = std::make_shared<ClientMatchCounts>();

 private:
  bool begin_publish(unsigned& seq);
  bool require_running(bool running) const;

  std::shared_ptr<DDSClientSubListenerCore> listener_;
  DataWriter* writer_ = nullptr;
  DataReader* reader_ = nullptr;
  std::atomic<bool> open_{false};
  uint32_t rpc_seq_ = 0;
  const int token_;
  const int tid_;
  Membership membership_;
};

template <typename Req>
bool DDSClientBase::publish_request(const std::shared_ptr<const Req>& request, unsigned& seq) {
  return begin_publish(seq) && factory_->Publish<const Req>(writer_, request, seq, seq, token_, tid_);
}

}  // namespace norvik::ovimux

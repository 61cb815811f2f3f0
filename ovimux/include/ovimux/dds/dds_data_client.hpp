#pragma once

#include <algorithm>
#include <chrono>
#include <future>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ovimux/base/client_base.hpp"
#include "ovimux/core/active_wait.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/dds/dds_client_base.hpp"
#include "ovimux/dds/payload_codec.hpp"
#include "ovimux/export.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {

// The receiving side of a client: parses an answer and hands it on with its rpc_seq.
template <typename Req, typename Resp>
class DDSClientSubSerializationListener
    : public DDSClientSubListenerCore,
      public std::enable_shared_from_this<DDSClientSubSerializationListener<Req, Resp>> {
 public:
  using Callback = std::function<void(const std::shared_ptr<Resp>&, unsigned)>;

  DDSClientSubSerializationListener(const std::string& topic, const Qos& qos, Callback callback,
                                    std::function<void(int32_t)> on_match_count)
      : DDSClientSubListenerCore(topic, qos, std::move(on_match_count)), callback_(std::move(callback)) {}

 protected:
  bool has_callback() const override { return static_cast<bool>(callback_); }

  void deliver(const std::vector<uint8_t>& bytes, uint32_t rpc_seq) override {
    const auto response = std::make_shared<Resp>();
    PayloadCodec<Resp>::decode(bytes.data(), bytes.size(), *response);
    callback_(response, rpc_seq);
  }

  std::weak_ptr<DDSClientSubListenerCore> weak_core() override { return this->weak_from_this(); }

 private:
  const Callback callback_;
};

// Request and response over two topics. The request mutex makes a sequence number, the order of the samples and the
// entry of the pending request one step, so that an answer cannot overtake its entry; the wait for it is outside.
template <typename Req, typename Resp>
class DDSSerializationDataClient : public SerializationClient<Req, Resp>,
                                   public DDSClientBase,
                                   public std::enable_shared_from_this<DDSSerializationDataClient<Req, Resp>> {
  using Base = SerializationClient<Req, Resp>;

 public:
  using typename Base::ResponseCallback;
  using typename Base::ResponseFuture;
  using typename Base::ResponsePtr;

  using DDSClientBase::DDSClientBase;

  ~DDSSerializationDataClient() override { close_endpoints(); }

  // Opens the endpoints; needs the client to be owned by a shared pointer already.
  bool Init() {
    const std::weak_ptr<DDSSerializationDataClient> weak = this->weak_from_this();
    auto on_response = [weak](const ResponsePtr& response, unsigned seq) {
      if (const auto self = weak.lock()) {
        self->HandleResponse(response, seq);
      } else {
        OVIMUX_LOG(kWarning) << "DDSSerializationDataClient already destroyed";
      }
    };
    auto on_match = [counts = match_counts_](int32_t count) { counts->sub.store(std::max(0, count)); };
    using Listener = DDSClientSubSerializationListener<Req, Resp>;
    return open_endpoints(std::make_shared<Listener>(response_topic_, response_qos_, std::move(on_response), on_match));
  }

  ResponsePtr SendRequest(std::shared_ptr<const Req> request, const std::chrono::seconds& timeout) override {
    if (!check_running() || !check_open_and_log()) {
      return nullptr;
    }
    if (!has_server()) {
      return nullptr;
    }
    unsigned seq = std::numeric_limits<unsigned>::max();
    const ResponseFuture future = IntraAsyncSendRequest(
        std::move(request), [](const ResponseFuture&) {}, seq);
    if (!future.valid()) {
      OVIMUX_LOG(kError) << "DDSSerializationDataClient: future valid failed, topic: " << topic() << ", index: " << seq;
      return nullptr;
    }
    return wait_for_response(future, timeout, seq);
  }

  ResponsePtr SendRequest(const Req& request, const std::chrono::seconds& timeout) override {
    if (!check_running() || !check_open_and_log()) {
      return nullptr;
    }
    return SendRequest(std::make_shared<const Req>(request), timeout);
  }

  ResponseFuture AsyncSendRequest(std::shared_ptr<const Req> request, ResponseCallback callback) override {
    unsigned seq = std::numeric_limits<unsigned>::max();
    return IntraAsyncSendRequest(std::move(request), std::move(callback), seq);
  }

  ResponseFuture AsyncSendRequest(const Req& request) override {
    return AsyncSendRequest(std::make_shared<const Req>(request));
  }

  ResponseFuture AsyncSendRequest(std::shared_ptr<const Req> request) override {
    return AsyncSendRequest(std::move(request), [](const ResponseFuture&) {});
  }

  void WaitForServerConnected(const std::chrono::seconds& timeout) override { wait_for_server(timeout); }

  unsigned GetMatchedServerCount() override { return matched_server_count(); }

  unsigned GetLostServerCount() override { return match_counts_->lost.load(); }

 private:
  using Promise = std::promise<ResponsePtr>;
  using PendingRequest = std::tuple<ResponseFuture, ResponseCallback, std::shared_ptr<Promise>>;

  bool has_server() const {
    if (matched_server_count() == 0) {
      OVIMUX_LOG(kInfo) << "DDSSerializationDataClient: no match server, request return. topic: " << topic();
      return false;
    }
    return true;
  }

  ResponseFuture IntraAsyncSendRequest(std::shared_ptr<const Req> request, ResponseCallback&& callback, unsigned& seq) {
    if (!check_running() || !is_open() || !request) {
      return {};
    }
    const std::lock_guard<std::mutex> lock(request_mutex_);
    if (!has_server()) {
      return {};
    }
    if (!publish_request<Req>(request, seq)) {
      OVIMUX_LOG(kInfo) << "DDSSerializationDataClient: publish failed. topic: " << topic();
      return {};
    }
    auto promise = std::make_shared<Promise>();
    ResponseFuture future = promise->get_future().share();
    pending_requests_[seq] = {future, std::move(callback), std::move(promise)};
    return future;
  }

  ResponsePtr wait_for_response(const ResponseFuture& future, const std::chrono::seconds& timeout, unsigned seq) {
    if (wait_until_ready(future, timeout)) {
      OVIMUX_LOG(kDebug) << "DDSSerializationDataClient: future get success, topic: " << topic() << ", index: " << seq;
      return future.get();
    }
    if (check_running()) {
      OVIMUX_LOG(kError) << "DDSSerializationDataClient: future get failed, timeout, topic: " << topic()
                         << ", index: " << seq;
    }
    const std::lock_guard<std::mutex> lock(request_mutex_);
    pending_requests_.erase(seq);
    return nullptr;
  }

  // False on time-out, and early on shutdown.
  static bool wait_until_ready(const ResponseFuture& future, const std::chrono::seconds& timeout) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kShutdownCheckPeriod{50};
    constexpr std::chrono::hours kLongestWait{24 * 365};  // Keeps the deadline within the range of the clock.
    const ActiveWait active;
    const auto deadline = Clock::now() + std::min<std::chrono::seconds>(timeout, kLongestWait);
    while (may_send()) {
      const auto slice = std::min(deadline, Clock::now() + kShutdownCheckPeriod);
      if (future.wait_until(slice) == std::future_status::ready) {
        return true;
      }
      if (Clock::now() >= deadline) {
        return false;
      }
    }
    return false;
  }

  void HandleResponse(const ResponsePtr& response, unsigned seq) {
    if (!check_delivering()) {
      return;
    }
    OVIMUX_LOG(kDebug) << "DDSSerializationDataClient: client recv response, topic: " << topic()
                       << ", seq_num: " << seq;
    const std::lock_guard<std::mutex> lock(request_mutex_);
    const auto it = pending_requests_.find(seq);
    if (it == pending_requests_.end()) {
      OVIMUX_LOG(kError) << "DDSSerializationDataClient: pending_requests_ count failed, seq_num: " << seq
                         << ", topic: " << topic();
      return;
    }
    const auto [future, callback, promise] = std::move(it->second);
    pending_requests_.erase(it);
    if (!promise) {
      OVIMUX_LOG(kError) << "DDSDataClient: call_promise invaild, topic : " << topic();
      return;
    }
    if (!future.valid()) {
      OVIMUX_LOG(kError) << "DDSDataClient: future invaild, topic : " << topic();
      return;
    }
    promise->set_value(response);
    if (callback) {
      callback(future);
    }
  }

  std::mutex request_mutex_;
  std::unordered_map<unsigned, PendingRequest> pending_requests_;
};

}  // namespace norvik::ovimux

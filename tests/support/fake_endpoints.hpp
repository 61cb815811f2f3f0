#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <vector>

#include "ovimux/base/client_base.hpp"
#include "ovimux/base/writer_base.hpp"

namespace norvik::test {

// Keeps what is published. Any thread.
template <typename Message>
class FakeWriter : public ovimux::SerializationWriter<Message> {
 public:
  bool Publish(const Message& message) override {
    if (!accepts) {
      return false;
    }
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      sent_.push_back(message);
    }
    if (on_publish) {
      on_publish(message);
    }
    return true;
  }
  bool Publish(const std::shared_ptr<Message>& message) override { return Publish(*message); }

  std::vector<Message> sent() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sent_;
  }

  bool accepts = true;
  std::function<void(const Message&)> on_publish;

 private:
  mutable std::mutex mutex_;
  std::vector<Message> sent_;
};

// Keeps what is requested and answers as scripted: by default with an empty response. Any thread.
template <typename Req, typename Resp>
class FakeClient : public ovimux::SerializationClient<Req, Resp> {
 public:
  using Base = ovimux::SerializationClient<Req, Resp>;

  struct Call {
    Req request;
    std::chrono::seconds timeout;
  };

  typename Base::ResponsePtr SendRequest(std::shared_ptr<const Req> request,
                                         const std::chrono::seconds& timeout) override {
    return SendRequest(*request, timeout);
  }
  typename Base::ResponsePtr SendRequest(const Req& request, const std::chrono::seconds& timeout) override {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      calls_.push_back({request, timeout});
    }
    return reply(request);
  }
  typename Base::ResponseFuture AsyncSendRequest(std::shared_ptr<const Req> request,
                                                 typename Base::ResponseCallback) override {
    return AsyncSendRequest(*request);
  }
  typename Base::ResponseFuture AsyncSendRequest(std::shared_ptr<const Req> request) override {
    return AsyncSendRequest(*request);
  }
  // Without an answer the future stays pending.
  typename Base::ResponseFuture AsyncSendRequest(const Req& request) override {
    std::promise<typename Base::ResponsePtr> promise;
    if (auto response = SendRequest(request, std::chrono::seconds(0))) {
      promise.set_value(std::move(response));
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    promises_.push_back(std::move(promise));
    return promises_.back().get_future().share();
  }
  void WaitForServerConnected(const std::chrono::seconds&) override {}
  unsigned GetMatchedServerCount() override { return servers; }
  unsigned GetLostServerCount() override { return lost_servers; }

  std::vector<Call> calls() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
  }

  unsigned servers = 1;
  unsigned lost_servers = 0;
  std::function<std::shared_ptr<Resp>(const Req&)> reply = [](const Req&) { return std::make_shared<Resp>(); };

 private:
  mutable std::mutex mutex_;
  std::vector<Call> calls_;
  std::vector<std::promise<typename Base::ResponsePtr>> promises_;
};

}  // namespace norvik::test

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ovimux/dds/callback_gate.hpp"
#include "ovimux/dds/payload_codec.hpp"
#include "ovimux/dds/sub_listener_base.hpp"
#include "ovimux/export.hpp"
#include "ovimux/log.hpp"
#include "ovimux/msg_queue/msg_queue.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {

// The receiving side of a reader, without its message type. In auto mode an arriving sample kicks the drain task; in
// sync mode the program drains the queue through SyncAll and SyncOnce.
class OVIMUX_EXPORT DDSSubListenerCore : public SubListenerBase {
 public:
  static constexpr unsigned kAutoQueueDepth = 1000;

  DDSSubListenerCore(const std::string& topic, const Qos& qos);

  bool CallbackModeIsAuto() const { return callback_auto_; }
  bool SyncAll();
  bool SyncOnce();

  // Makes the drain task; not needed when callbacks run inline. Must run before samples can arrive.
  void set_task();

  // Stops delivery and waits for callbacks that run on other threads.
  void close() { gate_.close(); }

  // Delivers everything queued, on the calling thread: 0, -1 without a callback, -2 after shutdown.
  int threadpoll_task();
  // Delivers at most one entry.
  int threadpoll_callonce_task();

 protected:
  struct Sample {
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> bulk;  // The large part, which `bytes` lacks; empty for a message without one.
    uint32_t seq;
  };

  virtual bool has_callback() const = 0;
  virtual void deliver(Sample& sample) = 0;
  virtual std::weak_ptr<DDSSubListenerCore> weak_core() = 0;

  bool accept(const SampleOrigin& /*origin*/) override { return true; }
  int enqueue(Envelope& envelope, const SampleOrigin& origin) override;
  int64_t transit_threshold_ms() const override;
  bool kicks_task() const override { return callback_auto_; }

 private:
  int check_ready(const char* missing_callback_text) const;
  bool deliver_next();
  void deliver_timed(Sample& sample);

  const bool callback_auto_;
  const bool callback_inline_;
  CallbackGate gate_;
  MsgQueue<Sample> queue_;
};

// The receiving side of a reader of T: parses and calls back.
template <typename T>
class DDSSubSerializationListener : public DDSSubListenerCore,
                                    public std::enable_shared_from_this<DDSSubSerializationListener<T>> {
 public:
  using Callback = std::function<void(const std::shared_ptr<T>&, const void*)>;

  DDSSubSerializationListener(const std::string& topic, Callback callback, const Qos& qos, const void* ctx)
      : DDSSubListenerCore(topic, qos), user_callback_(std::move(callback)), ctx_(ctx) {}

  // Wraps the callback so that it holds the listener alive while it runs, and does nothing once the listener is gone.
  // Needs the listener to be owned by a shared pointer already.
  void PostConstructInit() {
    guarded_callback_ = [weak = this->weak_from_this(), callback = user_callback_](const std::shared_ptr<T>& message,
                                                                                   const void* ctx) {
      if (!OK()) {
        return;
      }
      const auto self = weak.lock();
      if (!self) {
        OVIMUX_LOG(kError) << "Ignoring callback - DDSSubSerializationListener already destroyed";
        return;
      }
      if (callback) {
        callback(message, ctx);
      }
    };
  }

 protected:
  using Sample = DDSSubListenerCore::Sample;

  bool has_callback() const override { return static_cast<bool>(guarded_callback_); }

  FindBulk find_bulk() const override { return PayloadCodec<T>::kFindBulk; }

  void deliver(Sample& sample) override {
    const auto message = std::make_shared<T>();
    PayloadCodec<T>::decode(sample.bytes.data(), sample.bytes.size(), *message);
    PayloadCodec<T>::take_bulk(std::move(sample.bulk), bulk_recycler(), *message);
    guarded_callback_(message, ctx_);
  }

  std::weak_ptr<DDSSubListenerCore> weak_core() override { return this->weak_from_this(); }

 private:
  const Callback user_callback_;
  Callback guarded_callback_;
  const void* const ctx_;
};

}  // namespace norvik::ovimux

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ovimux/core/statistics.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "support/eventually.hpp"
#include "support/log_capture.hpp"
#include "support/peer_process.hpp"

namespace norvik::ovimux::test {

// What a reader received. Messages that begin with "probe" only find out whether the other side is connected.
class Inbox {
 public:
  void add(std::string message) {
    const std::lock_guard<std::mutex> lock(mutex_);
    (is_probe(message) ? probes_ : messages_).push_back(std::move(message));
  }
  std::vector<std::string> messages() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return messages_;
  }
  size_t size() const { return messages().size(); }
  bool connected() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return !probes_.empty();
  }
  bool awaits(size_t count) const {
    return eventually([&] { return size() >= count; });
  }
  RawReaderCallback callback() {
    return [this](const void* data, int size, const void*) {
      add(std::string(static_cast<const char*>(data), static_cast<size_t>(size)));
    };
  }

 private:
  static bool is_probe(const std::string& message) { return message.rfind("probe", 0) == 0; }

  mutable std::mutex mutex_;
  std::vector<std::string> messages_;
  std::vector<std::string> probes_;
};

inline Qos large_qos() {
  Qos qos;
  qos.payload_kind = kLargePayloadKind;
  return qos;
}

inline Qos latched_qos() {
  Qos qos;
  qos.opaque_3 = 1;
  return qos;
}

inline Qos sync_qos(bool run_inline, int depth = 100) {
  Qos qos;
  qos.callback_mode = 1;
  qos.callback_inline = run_inline ? 1 : 0;
  qos.queue_depth = depth;
  return qos;
}

inline ChannelStatistics statistics_of(const std::string& topic) {
  const auto all = Statistics::Instance().snapshot();
  const auto it = std::find_if(all.begin(), all.end(), [&topic](const auto& c) { return c.name == topic; });
  return it != all.end() ? *it : ChannelStatistics{};
}

class WireTest : public ::testing::Test {
 protected:
  void SetUp() override {
    OvimuxInitInternal();
    node_ = CreateNode("wire_test", "");
  }

  std::shared_ptr<RawReader> read(const std::string& topic, Inbox& inbox, const Qos& qos = {}) {
    return node_->CreateReader(topic, inbox.callback(), qos, nullptr, false);
  }
  std::shared_ptr<RawWriter> write(const std::string& topic, const Qos& qos = {}) {
    return node_->CreateWriter(topic, qos, false);
  }

  std::unique_ptr<Node> node_;
};

}  // namespace norvik::ovimux::test

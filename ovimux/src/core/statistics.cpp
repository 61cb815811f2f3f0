#include "ovimux/core/statistics.hpp"

#include <algorithm>
#include <array>
#include <mutex>
#include <unordered_map>

namespace norvik::ovimux {

struct Statistics::State {
  mutable std::mutex mutex;
  std::array<std::unordered_map<std::string, ChannelStatistics>, 2> channels;

  // Calls `change` with the counters of the channel, under the lock.
  template <typename Change>
  void update(const std::string& name, int kind, Change change) {
    const std::lock_guard<std::mutex> lock(mutex);
    auto& map = channels.at(kind == kClientChannel ? 1 : 0);
    if (const auto it = map.find(name); it != map.end()) {
      change(it->second);
    }
  }
};

Statistics& Statistics::Instance() {
  static auto* const instance = new Statistics;
  return *instance;
}

Statistics::Statistics() : state_(new State) {}

void Statistics::create_channel_statistics(const std::string& name, int kind) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  auto& channel = state_->channels.at(kind == kClientChannel ? 1 : 0)[name];
  channel.name = name;
  channel.kind = kind;
}

void Statistics::on_channel_match(const std::string& name, int kind, bool matched) {
  state_->update(name, kind, [matched](ChannelStatistics& channel) { channel.matched = matched; });
}

void Statistics::on_channel_msg_recv(const std::string& name, int kind, uint64_t size, int64_t latency_us) {
  state_->update(name, kind, [size, latency_us](ChannelStatistics& channel) {
    ++channel.received;
    channel.bytes += size;
    channel.last_latency_us = latency_us;
    channel.max_latency_us = std::max(channel.max_latency_us, latency_us);
  });
}

void Statistics::on_channel_msg_lost(const std::string& name, int kind, int32_t count) {
  state_->update(name, kind,
                 [count](ChannelStatistics& channel) { channel.lost += count > 0 ? static_cast<uint64_t>(count) : 0; });
}

std::vector<ChannelStatistics> Statistics::snapshot() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  std::vector<ChannelStatistics> result;
  for (const auto& map : state_->channels) {
    for (const auto& [name, channel] : map) {
      result.push_back(channel);
    }
  }
  return result;
}

}  // namespace norvik::ovimux

#include "wire/wire_faults.hpp"

namespace norvik::simulator {

void WireFaults::set_reply_fault(const std::string& service, const PlannedReplyFault& fault) {
  const std::lock_guard<std::mutex> lock(mutex_);
  reply_faults_[service] = fault;
}

PlannedReplyFault WireFaults::take_reply_fault(const std::string& service) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto it = reply_faults_.find(service);
  if (it == reply_faults_.end() || it->second.count == 0) {
    return {};
  }
  if (it->second.count > 0) {
    --it->second.count;
  }
  return it->second;
}

void WireFaults::set_topic_fault(const std::string& topic, const PlannedTopicFault& fault) {
  const std::lock_guard<std::mutex> lock(mutex_);
  topic_faults_[topic] = {fault, 0.0};
}

PlannedTopicFault WireFaults::take_topic_fault(const std::string& topic) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto it = topic_faults_.find(topic);
  if (it == topic_faults_.end()) {
    return {};
  }
  auto& [planned, due] = it->second;
  due += planned.share;
  if (due < 1.0) {
    return {};
  }
  due -= 1.0;
  return planned;
}

void WireFaults::clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  reply_faults_.clear();
  topic_faults_.clear();
  clock_skew_ms_ = 0;
}

void WireFaults::count(const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++counters_[what];
}

std::map<std::string, uint64_t> WireFaults::counters() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return counters_;
}

}  // namespace norvik::simulator

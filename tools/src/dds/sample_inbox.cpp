#include "dds/sample_inbox.hpp"

#include <utility>

namespace norvik::tools {
namespace {

// What a sample costs besides its payload.
constexpr size_t kOverhead = sizeof(Sample);

}  // namespace

void SampleInbox::put(const SampleHeader& header, Bytes& payload) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const size_t cost = payload.size() + kOverhead;
  if (!samples_.empty() && bytes_ + cost > byte_limit_) {
    ++skipped_;
    return;
  }
  bytes_ += cost;
  samples_.push_back({header, std::move(payload)});
}

std::optional<Sample> SampleInbox::take() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (samples_.empty()) {
    return std::nullopt;
  }
  Sample sample = std::move(samples_.front());
  samples_.pop_front();
  bytes_ -= sample.payload.size() + kOverhead;
  return sample;
}

bool SampleInbox::is_empty() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return samples_.empty();
}

uint64_t SampleInbox::take_skipped() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(skipped_, 0);
}

}  // namespace norvik::tools

#include "frame_history.hpp"

#include <algorithm>

namespace norvik::ovimux::tf2_ovimux {
namespace {

constexpr int64_t kStepNs = 1000000000;
// A tenth of a second of a fast frame, ten seconds of a slow one.
constexpr int kSamplesThatTell = 10;

bool is_before(const Sample& sample, int64_t stamp_ns) { return sample.stamp_ns < stamp_ns; }

Sample interpolate(const Sample& older, const Sample& newer, int64_t stamp_ns) {
  const double ratio =
      static_cast<double>(stamp_ns - older.stamp_ns) / static_cast<double>(newer.stamp_ns - older.stamp_ns);
  Sample result;
  result.stamp_ns = stamp_ns;
  result.parent = older.parent;
  result.pose.translation = older.pose.translation + ratio * (newer.pose.translation - older.pose.translation);
  result.pose.rotation = older.pose.rotation.slerp(ratio, newer.pose.rotation);
  return result;
}

}  // namespace

FrameHistory::Insertion FrameHistory::insert(const Sample& sample) {
  if (is_static_) {
    samples_.assign(1, sample);
    samples_.front().stamp_ns = 0;
    return Insertion::kStored;
  }
  const bool stepped = shows_clock_step(sample.stamp_ns);
  if (stepped) {
    forget_after(sample.stamp_ns);
  }
  if (!samples_.empty() && samples_.back().stamp_ns - sample.stamp_ns > cache_ns_) {
    return Insertion::kTooOld;
  }
  const auto place = std::lower_bound(samples_.begin(), samples_.end(), sample.stamp_ns, is_before);
  if (place != samples_.end() && place->stamp_ns == sample.stamp_ns) {
    return Insertion::kRepeated;
  }
  samples_.insert(place, sample);
  prune();
  return stepped ? Insertion::kStoredAfterStep : Insertion::kStored;
}

bool FrameHistory::shows_clock_step(int64_t stamp_ns) {
  const bool is_old = !samples_.empty() && samples_.back().stamp_ns - stamp_ns > kStepNs;
  const bool goes_on = old_in_a_row_ == 0 || stamp_ns >= last_old_ns_;
  old_in_a_row_ = is_old ? (goes_on ? old_in_a_row_ + 1 : 1) : 0;
  last_old_ns_ = stamp_ns;
  return old_in_a_row_ >= kSamplesThatTell;
}

void FrameHistory::forget_after(int64_t stamp_ns) {
  const auto newer = std::lower_bound(samples_.begin(), samples_.end(), stamp_ns + 1, is_before);
  samples_.erase(newer, samples_.end());
  old_in_a_row_ = 0;
}

void FrameHistory::prune() {
  const int64_t newest = samples_.back().stamp_ns;
  while (newest - samples_.front().stamp_ns > cache_ns_ || samples_.size() > kMaxSamples) {
    samples_.pop_front();
  }
}

std::optional<Sample> FrameHistory::at(int64_t stamp_ns) const {
  if (samples_.empty()) {
    return std::nullopt;
  }
  if (is_static_ || stamp_ns == 0) {
    return samples_.back();
  }
  const auto newer = std::lower_bound(samples_.begin(), samples_.end(), stamp_ns, is_before);
  if (newer == samples_.end()) {
    return std::nullopt;
  }
  if (newer->stamp_ns == stamp_ns) {
    return *newer;
  }
  if (newer == samples_.begin()) {
    return std::nullopt;
  }
  const Sample& older = *std::prev(newer);
  return older.parent == newer->parent ? interpolate(older, *newer, stamp_ns) : older;
}

void FrameHistory::clear() {
  if (!is_static_) {
    samples_.clear();
    old_in_a_row_ = 0;
  }
}

}  // namespace norvik::ovimux::tf2_ovimux

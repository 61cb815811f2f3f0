#include "frame_history.hpp"

#include <algorithm>

namespace norvik::ovimux::tf2_ovimux {
namespace {

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
  if (!samples_.empty() && samples_.back().stamp_ns - sample.stamp_ns > cache_ns_) {
    return Insertion::kTooOld;
  }
  const auto place = std::lower_bound(samples_.begin(), samples_.end(), sample.stamp_ns, is_before);
  if (place != samples_.end() && place->stamp_ns == sample.stamp_ns) {
    return Insertion::kRepeated;
  }
  samples_.insert(place, sample);
  prune();
  return Insertion::kStored;
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
  }
}

}  // namespace norvik::ovimux::tf2_ovimux

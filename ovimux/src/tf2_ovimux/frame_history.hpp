#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <Eigen/Geometry>

namespace norvik::ovimux::tf2_ovimux {

using FrameId = uint32_t;
inline constexpr FrameId kNoFrame = UINT32_MAX;

// Pose of a child frame in its parent: p_parent = rotation * p_child + translation. Metres, unit quaternion.
struct RigidTransform {
  Eigen::Vector3d translation = Eigen::Vector3d::Zero();
  Eigen::Quaterniond rotation = Eigen::Quaterniond::Identity();

  RigidTransform operator*(const RigidTransform& inner) const {
    return {rotation * inner.translation + translation, rotation * inner.rotation};
  }
  RigidTransform inverse() const {
    const Eigen::Quaterniond back = rotation.conjugate();
    return {-(back * translation), back};
  }
};

struct Sample {
  int64_t stamp_ns = 0;
  FrameId parent = kNoFrame;
  RigidTransform pose;
};

// What is known of one frame: its pose over time, or one pose for all times if it is static. Not synchronised.
class FrameHistory {
 public:
  // Bounds one frame's memory to about 7 MB: at a cache of 10 s it is reached above 10 kHz. The oldest samples go.
  static constexpr std::size_t kMaxSamples = 100000;

  enum class Insertion { kStored, kTooOld, kRepeated, kStoredAfterStep };

  FrameHistory(bool is_static, int64_t cache_ns) : is_static_(is_static), cache_ns_(cache_ns) {}

  // A sample that is older than the newest one by more than the cache length, or has a stored stamp, is not taken.
  // A static frame takes any sample in place of the old one. When samples in a row are all older than the newest one by
  // more than a second, and go on in time, the sender's clock has stepped back: what is newer than the last of them is
  // forgotten, and that one stored. Samples that are merely late or out of order are mixed with newer ones.
  Insertion insert(const Sample& sample);

  // The sample at a time, interpolated between its neighbours; the newest for time 0. Between two samples with
  // different parents the older one holds. Empty outside the stored span: nothing is extrapolated.
  std::optional<Sample> at(int64_t stamp_ns) const;

  // nullptr if there is no sample. The stamp of a static frame is 0.
  const Sample* newest() const { return samples_.empty() ? nullptr : &samples_.back(); }
  const Sample* oldest() const { return samples_.empty() ? nullptr : &samples_.front(); }

  // Forgets the samples of a frame that is not static.
  void clear();

 private:
  bool shows_clock_step(int64_t stamp_ns);
  void forget_after(int64_t stamp_ns);
  void prune();

  const bool is_static_;
  const int64_t cache_ns_;
  std::deque<Sample> samples_;  // Ascending stamps, no two alike.
  int old_in_a_row_ = 0;
  int64_t last_old_ns_ = 0;
};

}  // namespace norvik::ovimux::tf2_ovimux

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame_history.hpp"

namespace norvik::ovimux::tf2_ovimux {

enum class Failure { kNone, kInvalidFrameId, kUnknownFrame, kUnconnected, kExtrapolation, kLoop };

// Answer to one question. On failure `frame` is the frame at which the search ended, where that says something.
struct Resolution {
  Failure failure = Failure::kNone;
  FrameId frame = kNoFrame;
  int64_t stamp_ns = 0;
  RigidTransform pose;
};

enum class Storing { kStored, kStoredAfterStep, kTooOld, kRepeated, kTooManyFrames };

// The forest of frames and the search for paths in it. Frames may change their parent in time, so that a path exists
// at a time, not as such. Not synchronised: any number of readers, or one writer.
class FrameGraph {
 public:
  // Frame names come from the wire and are never forgotten, hence this bound. A robot has some hundred.
  static constexpr std::size_t kMaxFrames = 10000;
  // A path of more hops than this towards one root is taken for a loop.
  static constexpr std::size_t kMaxDepth = 1000;

  explicit FrameGraph(int64_t cache_ns) : cache_ns_(cache_ns) {}

  // The first sample of a child decides whether that frame is static. `sample.parent` is filled in here.
  Storing insert(const std::string& parent, const std::string& child, bool is_static, Sample sample);

  // Pose of `source` in `target` at a time; time 0 stands for the newest time at which all frames of the path have
  // data. A frame in itself is the identity, whether known or not.
  Resolution resolve(const std::string& target, const std::string& source, int64_t stamp_ns) const;

  const std::vector<std::string>& names() const { return names_; }

  // The stamps between which a frame can be interpolated.
  std::string describe_span(FrameId frame) const;

  // Forgets all samples of frames that are not static. Names and static frames stay.
  void clear();

 private:
  FrameId find(const std::string& name) const;
  FrameId find_or_add(const std::string& name);
  const Sample* newest(FrameId frame) const;
  bool has_history(FrameId frame) const { return histories_[frame] != nullptr; }

  Resolution resolve_self(FrameId frame, int64_t stamp_ns) const;
  Resolution resolve_path(FrameId target, FrameId source, int64_t stamp_ns) const;
  Failure latest_common_time(FrameId target, FrameId source, int64_t& stamp_ns) const;

  // A walk from a frame towards its root. `pose` is the pose of the start in `end`.
  struct Walk {
    Failure failure = Failure::kNone;
    FrameId end = kNoFrame;
    RigidTransform pose;
  };
  // Ends at `goal_a` or `goal_b`, at a frame without a parent, or (kExtrapolation) at one without data at that time.
  Walk walk_up(FrameId start, FrameId goal_a, FrameId goal_b, int64_t stamp_ns) const;

  const int64_t cache_ns_;
  std::unordered_map<std::string, FrameId> ids_;
  std::vector<std::string> names_;
  std::vector<std::unique_ptr<FrameHistory>> histories_;  // By id. Empty for a frame that is only a parent.
};

}  // namespace norvik::ovimux::tf2_ovimux

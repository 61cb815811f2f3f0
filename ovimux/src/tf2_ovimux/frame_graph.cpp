#include "frame_graph.hpp"

#include <algorithm>
#include <limits>

namespace norvik::ovimux::tf2_ovimux {
namespace {

constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

// Queries must name a frame as it is stored, and no stored name begins with a slash unless it was sent with two.
bool is_queryable(const std::string& name) { return !name.empty() && name.front() != '/'; }

Resolution failed(Failure failure, FrameId frame = kNoFrame) {
  Resolution result;
  result.failure = failure;
  result.frame = frame;
  return result;
}

Resolution found(int64_t stamp_ns, const RigidTransform& pose) {
  Resolution result;
  result.stamp_ns = stamp_ns;
  result.pose = pose;
  return result;
}

// The earlier of two newest stamps. Static frames have stamp 0 and do not limit the common time.
int64_t earlier(int64_t common_ns, int64_t newest_ns) {
  return newest_ns == 0 ? common_ns : std::min(common_ns, newest_ns);
}

}  // namespace

Storing FrameGraph::insert(const std::string& parent, const std::string& child, bool is_static, Sample sample) {
  const std::size_t added = (find(parent) == kNoFrame ? 1 : 0) + (find(child) == kNoFrame ? 1 : 0);
  if (added > 0 && names_.size() + added > kMaxFrames) {
    return Storing::kTooManyFrames;
  }
  const FrameId child_id = find_or_add(child);
  sample.parent = find_or_add(parent);
  std::unique_ptr<FrameHistory>& history = histories_[child_id];
  if (!history) {
    history = std::make_unique<FrameHistory>(is_static, cache_ns_);
  }
  switch (history->insert(sample)) {
    case FrameHistory::Insertion::kTooOld:
      return Storing::kTooOld;
    case FrameHistory::Insertion::kRepeated:
      return Storing::kRepeated;
    case FrameHistory::Insertion::kStoredAfterStep:
      return Storing::kStoredAfterStep;
    case FrameHistory::Insertion::kStored:
      break;
  }
  return Storing::kStored;
}

FrameId FrameGraph::find(const std::string& name) const {
  const auto entry = ids_.find(name);
  return entry == ids_.end() ? kNoFrame : entry->second;
}

FrameId FrameGraph::find_or_add(const std::string& name) {
  const auto [entry, is_new] = ids_.emplace(name, static_cast<FrameId>(names_.size()));
  if (is_new) {
    names_.push_back(name);
    histories_.emplace_back();
  }
  return entry->second;
}

const Sample* FrameGraph::newest(FrameId frame) const {
  return has_history(frame) ? histories_[frame]->newest() : nullptr;
}

Resolution FrameGraph::resolve(const std::string& target, const std::string& source, int64_t stamp_ns) const {
  if (target == source) {
    return resolve_self(find(target), stamp_ns);
  }
  if (!is_queryable(target) || !is_queryable(source)) {
    return failed(Failure::kInvalidFrameId);
  }
  const FrameId target_id = find(target);
  const FrameId source_id = find(source);
  if (target_id == kNoFrame || source_id == kNoFrame) {
    return failed(Failure::kUnknownFrame);
  }
  if (stamp_ns == 0) {
    const Failure failure = latest_common_time(target_id, source_id, stamp_ns);
    if (failure != Failure::kNone) {
      return failed(failure);
    }
  }
  return resolve_path(target_id, source_id, stamp_ns);
}

Resolution FrameGraph::resolve_self(FrameId frame, int64_t stamp_ns) const {
  if (stamp_ns == 0 && frame != kNoFrame) {
    if (const Sample* sample = newest(frame)) {
      stamp_ns = sample->stamp_ns;
    }
  }
  return found(stamp_ns, RigidTransform());
}

FrameGraph::Walk FrameGraph::walk_up(FrameId start, FrameId goal_a, FrameId goal_b, int64_t stamp_ns) const {
  Walk walk;
  walk.end = start;
  for (std::size_t hops = 0; walk.end != goal_a && walk.end != goal_b && has_history(walk.end);) {
    const std::optional<Sample> sample = histories_[walk.end]->at(stamp_ns);
    if (!sample) {
      walk.failure = Failure::kExtrapolation;
      break;
    }
    walk.pose = sample->pose * walk.pose;
    walk.end = sample->parent;
    if (++hops > kMaxDepth) {
      walk.failure = Failure::kLoop;
      break;
    }
  }
  return walk;
}

// From the source up to the target or as far as there is data; then from the target up to where that ended. A source
// walk that ran out of data is no failure yet: the target may join it at that very frame.
Resolution FrameGraph::resolve_path(FrameId target, FrameId source, int64_t stamp_ns) const {
  const Walk up = walk_up(source, target, target, stamp_ns);
  if (up.failure == Failure::kLoop) {
    return failed(up.failure, up.end);
  }
  if (up.end == target) {
    return found(stamp_ns, up.pose);
  }
  const Walk down = walk_up(target, up.end, source, stamp_ns);
  if (down.end == source && down.failure == Failure::kNone) {
    return found(stamp_ns, down.pose.inverse());
  }
  if (down.failure != Failure::kNone) {
    return failed(down.failure, down.end);
  }
  if (down.end != up.end) {
    return up.failure == Failure::kNone ? failed(Failure::kUnconnected) : failed(up.failure, up.end);
  }
  return found(stamp_ns, down.pose.inverse() * up.pose);
}

// The path is looked for among the newest samples alone; 0 if no frame on it limits the time.
Failure FrameGraph::latest_common_time(FrameId target, FrameId source, int64_t& stamp_ns) const {
  std::vector<Sample> source_chain;
  int64_t common = kNever;
  const auto finish = [&] {
    stamp_ns = common == kNever ? 0 : common;
    return Failure::kNone;
  };
  FrameId frame = source;
  while (const Sample* sample = newest(frame)) {
    common = earlier(common, sample->stamp_ns);
    source_chain.push_back(*sample);
    frame = sample->parent;
    if (frame == target) {
      return finish();
    }
    if (source_chain.size() > kMaxDepth) {
      return Failure::kLoop;
    }
  }

  common = kNever;
  frame = target;
  for (std::size_t hops = 0; const Sample* sample = newest(frame); ++hops) {
    if (hops > kMaxDepth) {
      return Failure::kLoop;
    }
    common = earlier(common, sample->stamp_ns);
    frame = sample->parent;
    const auto meeting = std::find_if(source_chain.begin(), source_chain.end(),
                                      [frame](const Sample& hop) { return hop.parent == frame; });
    if (meeting != source_chain.end()) {
      std::for_each(source_chain.begin(), meeting + 1,
                    [&common](const Sample& hop) { common = earlier(common, hop.stamp_ns); });
      return finish();
    }
    if (frame == source) {
      return finish();
    }
  }
  return Failure::kUnconnected;
}

std::string FrameGraph::describe_span(FrameId frame) const {
  const Sample* last = newest(frame);
  if (last == nullptr) {
    return "no data";
  }
  const Sample* first = histories_[frame]->oldest();
  return "data from " + std::to_string(first->stamp_ns) + " to " + std::to_string(last->stamp_ns) + " ns";
}

void FrameGraph::clear() {
  for (const std::unique_ptr<FrameHistory>& history : histories_) {
    if (history) {
      history->clear();
    }
  }
}

}  // namespace norvik::ovimux::tf2_ovimux

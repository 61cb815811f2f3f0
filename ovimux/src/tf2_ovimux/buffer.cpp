#include "ovimux/tf2_ovimux/buffer.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <iterator>
#include <limits>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "fair_shared_mutex.hpp"
#include "frame_graph.hpp"
#include "ovimux/core/active_wait.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux::tf2_ovimux {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int64_t kNanosecondsPerSecond = 1000000000;
constexpr int64_t kMaxSeconds = (std::numeric_limits<int64_t>::max() - UINT32_MAX) / kNanosecondsPerSecond;
constexpr std::size_t kMaxFrameIdLength = 255;
constexpr double kNormTolerance = 0.01;  // Of the squared norm.
constexpr auto kShutdownPoll = std::chrono::milliseconds(50);
constexpr auto kLongestWait = std::chrono::hours(24 * 365);  // Keeps deadlines inside the steady clock's range.

// One leading slash is a habit of older programs and names the same frame.
std::string without_leading_slash(const std::string& frame_id) {
  return !frame_id.empty() && frame_id.front() == '/' ? frame_id.substr(1) : frame_id;
}

Eigen::Vector3d translation_of(const spatial_proto::Transform& transform) {
  const core_proto::Vector3& t = transform.translation();
  return {t.x(), t.y(), t.z()};
}

Eigen::Quaterniond rotation_of(const spatial_proto::Transform& transform) {
  const core_proto::Quaternion& q = transform.rotation();
  return {q.w(), q.x(), q.y(), q.z()};
}

int64_t nanoseconds_of(const core_proto::Timestamp& stamp) {
  return stamp.sec() * kNanosecondsPerSecond + stamp.nanosec();
}

void write_timestamp(int64_t stamp_ns, core_proto::Timestamp& out) {
  const int64_t remainder = stamp_ns % kNanosecondsPerSecond;
  const int64_t nanosec = remainder < 0 ? remainder + kNanosecondsPerSecond : remainder;
  out.set_sec((stamp_ns - nanosec) / kNanosecondsPerSecond);
  out.set_nanosec(static_cast<uint32_t>(nanosec));
}

void write_pose(const RigidTransform& pose, spatial_proto::Transform& out) {
  core_proto::Vector3& translation = *out.mutable_translation();
  translation.set_x(pose.translation.x());
  translation.set_y(pose.translation.y());
  translation.set_z(pose.translation.z());
  core_proto::Quaternion& rotation = *out.mutable_rotation();
  rotation.set_x(pose.rotation.x());
  rotation.set_y(pose.rotation.y());
  rotation.set_z(pose.rotation.z());
  rotation.set_w(pose.rotation.w());
}

SteadyClock::time_point deadline_after(int64_t timeout_ns) {
  const std::chrono::nanoseconds limit = kLongestWait;
  return SteadyClock::now() + std::clamp(std::chrono::nanoseconds(timeout_ns), std::chrono::nanoseconds(0), limit);
}

const char* text_of(Failure failure) {
  switch (failure) {
    case Failure::kInvalidFrameId:
      return "frame ids must not be empty or begin with a slash";
    case Failure::kUnknownFrame:
      return "no such frame has been received";
    case Failure::kUnconnected:
      return "the frames are not in one tree";
    case Failure::kExtrapolation:
      return "it would need extrapolation";
    case Failure::kLoop:
      return "the tree has a loop";
    case Failure::kNone:
      break;
  }
  return "";
}

std::string explain(const FrameGraph& graph, const Resolution& failed, const std::string& target,
                    const std::string& source, int64_t stamp_ns) {
  std::string text = "no transform from " + source + " to " + target + " at " + std::to_string(stamp_ns) +
                     " ns: " + text_of(failed.failure);
  if (failed.failure == Failure::kExtrapolation) {
    text += ", frame " + graph.names()[failed.frame] + " has " + graph.describe_span(failed.frame);
  }
  return text;
}

}  // namespace

TransformException::~TransformException() = default;

struct Buffer::State {
  using ReadLock = std::shared_lock<FairSharedMutex>;
  using WriteLock = std::unique_lock<FairSharedMutex>;

  explicit State(int64_t cache_ns) : graph(cache_ns) {}

  Resolution resolve(ReadLock& lock, const std::string& target, const std::string& source, int64_t stamp_ns,
                     int64_t wait_ns);

  FairSharedMutex mutex;                // Guards graph.
  std::condition_variable_any changed;  // With mutex: the graph has got new data.
  FrameGraph graph;
};

// Sleeps on the graph's own lock, so that data stored between the test and the sleep cannot be missed.
Resolution Buffer::State::resolve(ReadLock& lock, const std::string& target, const std::string& source,
                                  int64_t stamp_ns, int64_t wait_ns) {
  Resolution result = graph.resolve(target, source, stamp_ns);
  if (result.failure == Failure::kNone || wait_ns <= 0) {
    return result;
  }
  const ActiveWait active;
  const SteadyClock::time_point deadline = deadline_after(wait_ns);
  while (result.failure != Failure::kNone && OK()) {
    const SteadyClock::time_point now = SteadyClock::now();
    if (now >= deadline) {
      break;
    }
    changed.wait_until(lock, std::min(deadline, now + kShutdownPoll));
    result = graph.resolve(target, source, stamp_ns);
  }
  return result;
}

Buffer::Buffer(std::shared_ptr<basic_interface::Clock> clock, basic_interface::Duration cache_length)
    : clock_(std::move(clock)), state_(std::make_unique<State>(std::max<int64_t>(cache_length.nanoseconds(), 0))) {}

Buffer::~Buffer() = default;

bool Buffer::setTransform(const spatial_proto::TransformMsg& transform, bool is_static) {
  const std::string parent = without_leading_slash(transform.header().frame_id());
  const std::string child = without_leading_slash(transform.child_frame_id());
  std::optional<Refusal> refusal = check(transform, parent, child);
  if (!refusal) {
    refusal = store(transform, parent, child, is_static);
  }
  if (refusal) {
    report(*refusal, parent, child);
    return false;
  }
  state_->changed.notify_all();
  return true;
}

std::optional<Buffer::Refusal> Buffer::check(const spatial_proto::TransformMsg& transform, const std::string& parent,
                                             const std::string& child) {
  const Eigen::Vector3d translation = translation_of(transform.transform());
  const Eigen::Quaterniond rotation = rotation_of(transform.transform());
  const core_proto::Timestamp& stamp = transform.header().timestamp();
  if (parent.empty() || child.empty()) {
    return Refusal::kEmptyFrameId;
  }
  if (std::max(parent.size(), child.size()) > kMaxFrameIdLength) {
    return Refusal::kLongFrameId;
  }
  if (parent == child) {
    return Refusal::kSelfTransform;
  }
  if (!translation.allFinite() || !rotation.coeffs().allFinite()) {
    return Refusal::kNotFinite;
  }
  if (std::abs(rotation.squaredNorm() - 1.0) >= kNormTolerance) {
    return Refusal::kNotNormalised;
  }
  if (stamp.sec() < 0 || stamp.sec() > kMaxSeconds) {
    return Refusal::kBadStamp;
  }
  return std::nullopt;
}

std::optional<Buffer::Refusal> Buffer::store(const spatial_proto::TransformMsg& transform, const std::string& parent,
                                             const std::string& child, bool is_static) {
  Sample sample;
  sample.stamp_ns = nanoseconds_of(transform.header().timestamp());
  sample.pose = {translation_of(transform.transform()), rotation_of(transform.transform()).normalized()};

  const State::WriteLock lock(state_->mutex);
  switch (state_->graph.insert(parent, child, is_static, sample)) {
    case Storing::kTooOld:
      return Refusal::kTooOld;
    case Storing::kRepeated:
      return Refusal::kRepeated;
    case Storing::kTooManyFrames:
      return Refusal::kTooManyFrames;
    case Storing::kStoredAfterStep:
      OVIMUX_LOG(kInfo) << "the clock that stamps the transforms of " << child
                        << " stepped back, its newer transforms are forgotten";
      break;
    case Storing::kStored:
      break;
  }
  return std::nullopt;
}

void Buffer::report(Refusal refusal, const std::string& parent, const std::string& child) {
  static constexpr const char* kTexts[] = {
      "a frame id is empty",
      "a frame id is longer than 255 bytes",
      "parent and child are the same frame",
      "a number is not finite",
      "the quaternion is not normalised",
      "the stamp is negative or too large",
      "the stamp is older than the cache reaches",
      "the frame has a sample with this stamp",
      "the limit of 10000 frame names is reached",
  };
  static_assert(std::size(kTexts) == static_cast<std::size_t>(Refusal::kCount));

  const auto index = static_cast<std::size_t>(refusal);
  // Names from the wire may be of any length.
  const auto shown = [](const std::string& name) { return name.substr(0, kMaxFrameIdLength); };
  if (reported_[index].exchange(true)) {
    OVIMUX_LOG(kDebug) << "transform of " << shown(child) << " in " << shown(parent) << " refused: " << kTexts[index];
  } else {
    OVIMUX_LOG(kWarning) << "transform of " << shown(child) << " in " << shown(parent) << " refused: " << kTexts[index]
                         << "; further ones are not reported";
  }
}

int64_t Buffer::allowed_wait_ns(const basic_interface::Duration& timeout) const {
  return isUsingDedicatedThread() ? timeout.nanoseconds() : 0;
}

bool Buffer::canTransform(const std::string& target_frame, const std::string& source_frame,
                          const basic_interface::Time& time, const basic_interface::Duration& timeout) const {
  State::ReadLock lock(state_->mutex);
  return state_->resolve(lock, target_frame, source_frame, time.nanoseconds(), allowed_wait_ns(timeout)).failure ==
         Failure::kNone;
}

spatial_proto::TransformMsg Buffer::lookupTransform(const std::string& target_frame, const std::string& source_frame,
                                                    const basic_interface::Time& time,
                                                    const basic_interface::Duration& timeout) const {
  State::ReadLock lock(state_->mutex);
  const Resolution result =
      state_->resolve(lock, target_frame, source_frame, time.nanoseconds(), allowed_wait_ns(timeout));
  if (result.failure != Failure::kNone) {
    throw TransformException(explain(state_->graph, result, target_frame, source_frame, time.nanoseconds()));
  }
  lock.unlock();

  spatial_proto::TransformMsg message;
  message.mutable_header()->set_frame_id(target_frame);
  message.set_child_frame_id(source_frame);
  write_timestamp(result.stamp_ns, *message.mutable_header()->mutable_timestamp());
  write_pose(result.pose, *message.mutable_transform());
  return message;
}

std::vector<std::string> Buffer::getAllFrameNames() const {
  const State::ReadLock lock(state_->mutex);
  return state_->graph.names();
}

void Buffer::clear() {
  const State::WriteLock lock(state_->mutex);
  state_->graph.clear();
}

}  // namespace norvik::ovimux::tf2_ovimux

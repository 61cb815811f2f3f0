#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "norvik/spatial_proto/transform.pb.h"
#include "ovimux/basic_interface/clock.hpp"
#include "ovimux/basic_interface/duration.hpp"
#include "ovimux/basic_interface/time.hpp"
#include "ovimux/export.hpp"

namespace norvik::ovimux::tf2_ovimux {

// Why lookupTransform has no answer. The text names both frames, the time and what is known.
class OVIMUX_EXPORT TransformException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  ~TransformException() override;
};

// The tree of coordinate frames over the last seconds.
//
// Each frame's pose in its parent is kept for the cache length before its newest stamp, and interpolated (position
// linearly, rotation spherically) between stamps, never beyond them. Static frames are valid at any time. A frame may
// move to another parent in time.
//
// Frame names: setTransform drops one leading slash; a query with a leading slash finds nothing. Times are nanoseconds
// in the clock of the stamps; time 0 stands for the newest time at which the whole path is known.
//
// Every operation may be called from any thread. Queries run side by side; only setTransform and clear exclude them.
class OVIMUX_EXPORT Buffer {
 public:
  // `clock` is the clock of the stamps. A negative cache length counts as 0.
  Buffer(std::shared_ptr<basic_interface::Clock> clock, basic_interface::Duration cache_length);
  ~Buffer();
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  // Stores one pose of a child frame. False, with nothing stored, if
  // - a frame id is empty, longer than 255 bytes, or both name the same frame;
  // - a number is not finite, the squared norm of the quaternion is off 1 by 0.01 or more, or the stamp is negative or
  //   does not fit into 64-bit nanoseconds;
  // - the frame has a sample with that stamp, or one newer by more than the cache length;
  // - more than 10000 frame names would be known.
  // The first refusal of each kind is logged as a warning, later ones at debug level. Quaternions are normalised.
  // The first transform of a child decides whether that frame is static, later values of `is_static` do not count.
  bool setTransform(const spatial_proto::TransformMsg& transform, bool is_static);

  // Whether lookupTransform would succeed. Waits for data up to `timeout`; ends early when data arrives that settles
  // it, or within 50 ms of the middleware's shutdown. Does not wait while the middleware is not running, nor unless
  // told that a dedicated thread feeds the buffer.
  bool canTransform(const std::string& target_frame, const std::string& source_frame, const basic_interface::Time& time,
                    const basic_interface::Duration& timeout = basic_interface::Duration(0)) const;

  // Pose of `source_frame` in `target_frame`: header.frame_id is the target, child_frame_id the source, the stamp the
  // time that was used (0 if it is asked for the latest of static frames only). Waits as canTransform does, then
  // throws TransformException on failure.
  spatial_proto::TransformMsg lookupTransform(
      const std::string& target_frame, const std::string& source_frame, const basic_interface::Time& time,
      const basic_interface::Duration& timeout = basic_interface::Duration(0)) const;

  // Every frame ever named as child or parent, once each, in no particular order.
  std::vector<std::string> getAllFrameNames() const;

  // Forgets the samples of all frames that are not static. Static frames and all names stay.
  void clear();

  // Tells that another thread than those that wait feeds the buffer, so that waiting makes sense. Initially false.
  void setUsingDedicatedThread(bool value) { using_dedicated_thread_.store(value); }
  bool isUsingDedicatedThread() const { return using_dedicated_thread_.load(); }

  const std::shared_ptr<basic_interface::Clock>& clock() const { return clock_; }

 private:
  enum class Refusal {
    kEmptyFrameId,
    kLongFrameId,
    kSelfTransform,
    kNotFinite,
    kNotNormalised,
    kBadStamp,
    kTooOld,
    kRepeated,
    kTooManyFrames,
    kCount
  };

  struct State;  // The frames and the lock on them.

  static std::optional<Refusal> check(const spatial_proto::TransformMsg& transform, const std::string& parent,
                                      const std::string& child);
  std::optional<Refusal> store(const spatial_proto::TransformMsg& transform, const std::string& parent,
                               const std::string& child, bool is_static);
  void report(Refusal refusal, const std::string& parent, const std::string& child);
  int64_t allowed_wait_ns(const basic_interface::Duration& timeout) const;

  const std::shared_ptr<basic_interface::Clock> clock_;
  std::atomic<bool> using_dedicated_thread_{false};
  std::array<std::atomic<bool>, static_cast<std::size_t>(Refusal::kCount)> reported_{};
  const std::unique_ptr<State> state_;
};

}  // namespace norvik::ovimux::tf2_ovimux

#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace norvik::simulator {

enum class ReplyFault {
  kNone,
  kReject,
  kDelay,
  kLose,
  kDuplicate,
  kWrongId,        // Of another task.
  kShort,          // Its first three bytes.
  kNegativeCount,  // -5 where the count of a list is.
  kHugeCount,      // 2^31 - 1 there.
  kGarbage,        // As many other bytes.
};
enum class TopicFault {
  kNone,
  kSilent,
  kMalformed,
  kDrop,
  kDelay,
  kCorrupt,
  kWrongSize,
  kEmpty,
  kMislabel,
  kHuge,
  kDuplicate
};

struct PlannedReplyFault {
  ReplyFault fault = ReplyFault::kNone;
  int64_t count = 0;  // Requests it still applies to; below 0 for all.
  std::chrono::milliseconds delay{0};
};

struct PlannedTopicFault {
  TopicFault fault = TopicFault::kNone;
  double share = 1.0;  // Of the messages; 0 to 1.
  std::chrono::milliseconds delay{0};
  std::shared_ptr<const std::string> payload{};  // What a malformed message consists of.
};

// What is to go wrong between the robot and the wire, and how much passed. Safe to use from any thread.
class WireFaults {
 public:
  void set_reply_fault(const std::string& service, const PlannedReplyFault& fault);
  // The fault for the request at hand; uses it up.
  PlannedReplyFault take_reply_fault(const std::string& service);

  void set_topic_fault(const std::string& topic, const PlannedTopicFault& fault);
  // The fault for the message at hand: of a share of a half, every second message gets it.
  PlannedTopicFault take_topic_fault(const std::string& topic);

  void set_clock_skew(std::chrono::milliseconds skew) { clock_skew_ms_ = skew.count(); }
  std::chrono::milliseconds clock_skew() const { return std::chrono::milliseconds(clock_skew_ms_); }

  void clear();

  void count(const std::string& what);
  std::map<std::string, uint64_t> counters() const;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, PlannedReplyFault> reply_faults_;
  struct ActiveTopicFault {
    PlannedTopicFault planned;
    double due = 0.0;  // Messages that should have had it by now.
  };
  std::map<std::string, ActiveTopicFault> topic_faults_;
  std::atomic<int64_t> clock_skew_ms_{0};
  std::map<std::string, uint64_t> counters_;
};

}  // namespace norvik::simulator

#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace norvik::simulator {

enum class ReplyFault { kNone, kReject, kDelay, kLose, kDuplicate };
enum class TopicFault { kNone, kSilent, kMalformed };

struct PlannedReplyFault {
  ReplyFault fault = ReplyFault::kNone;
  int64_t count = 0;  // Requests it still applies to; below 0 for all.
  std::chrono::milliseconds delay{0};
};

// What is to go wrong between the robot and the wire, and how much passed. Safe to use from any thread.
class WireFaults {
 public:
  void set_reply_fault(const std::string& service, const PlannedReplyFault& fault);
  // The fault for the request at hand; uses it up.
  PlannedReplyFault take_reply_fault(const std::string& service);

  void set_topic_fault(const std::string& topic, TopicFault fault);
  TopicFault topic_fault(const std::string& topic) const;

  void clear();

  void count(const std::string& what);
  std::map<std::string, uint64_t> counters() const;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, PlannedReplyFault> reply_faults_;
  std::map<std::string, TopicFault> topic_faults_;
  std::map<std::string, uint64_t> counters_;
};

}  // namespace norvik::simulator

#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace norvik::simulator {

// What the planning service says of its own start.
enum class PlannerStart { kDone, kIniting, kFailed };

// What befalls a task of the planning service. The last three also befall the answers of its kinematic service.
enum class TaskFault {
  kNone,
  kCollision,    // Ends as a trajectory that would collide, without being carried out.
  kFailed,       // Ends as failed, without being carried out.
  kNever,        // Its end is not reported.
  kTwice,        // Its end is reported twice.
  kStatusFirst,  // Its end is reported before its request is answered.
  kNoResult,     // Its result is missing.
  kWrongSize,    // Its result has a value too few, or one too many.
  kWrongShape,   // A matrix says that it has other rows and columns than it has.
};

// What is to go wrong in the planning service, beside what can befall every topic and service. Any thread.
class PlannerFaults {
 public:
  // False for an unknown name. `count` is how many tasks it befalls, below 0 for all; the faults of the start hold
  // until the next one.
  bool set(const std::string& name, int64_t count);
  void clear();

  PlannerStart start() const;
  // The fault for the task at hand; uses it up.
  TaskFault take();
  // The same for an answer of the kinematic service: only what can befall an answer.
  TaskFault take_for_answer();

 private:
  TaskFault take_locked();

  mutable std::mutex mutex_;
  PlannerStart start_ = PlannerStart::kDone;
  TaskFault fault_ = TaskFault::kNone;
  int64_t count_ = 0;
};

}  // namespace norvik::simulator

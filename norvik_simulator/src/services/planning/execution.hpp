#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "world/world.hpp"

namespace norvik::simulator {

// Drives the joints of the world along a planned trajectory, the way every whole-body target does, and waits for them
// to arrive. One trajectory at a time.
class Execution {
 public:
  explicit Execution(World& world) : world_(world) {}

  // Returns when the joints have arrived: empty. Else why they did not; what still moves is stopped then. `id` marks
  // the trajectory, and `stop` ends the wait.
  std::string run(tavrinox_proto::TavrinoXTarget target, const std::string& id, const std::atomic<bool>& stop);

  // A moment of the world, `time` seconds after start-up; called by the thread that steps.
  void observe(const WorldState& state, double time);

 private:
  // What is on its way.
  struct Motion {
    std::string id;
    std::vector<std::string> groups;
    double duration_s = 0.0;
    uint64_t accepted_at = 0;   // The step that the world had made then.
    std::optional<double> due;  // When it is late; known from the first moment that shows it.
    std::optional<std::string> outcome;
  };

  std::optional<std::string> look_at(Motion& motion, const WorldState& state, double time) const;
  // Whether a group has arrived, or why it will not.
  std::optional<std::string> look_at(const Motion& motion, const GroupState& group) const;
  void halt(const Motion& motion);

  World& world_;
  std::mutex mutex_;
  std::condition_variable settled_;
  std::optional<Motion> motion_;
};

}  // namespace norvik::simulator

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "live/live_robot.hpp"

namespace norvik::test {

using Call = std::function<std::string(sdk::NorvikRobot&)>;

// An operation that answers with a status.
template <typename Operation>
Call status_of(Operation operation) {
  return [operation](sdk::NorvikRobot& robot) { return to_text(operation(robot)); };
}

// What a call tells its caller and the log.
struct Told {
  std::string answer;  // name of the status; of RequestTarget "no errors", "no report" or the first error's code
  std::string level;   // of the record that tells why; empty when there is none
  std::string text;
};
Told told(const std::string& answer);
Told info(const std::string& text);  // with SUCCESS
Told error(const std::string& answer, const std::string& text);

struct Attempt {
  Call call;
  Told told;
};

// One command operation of the facade, and everything that can happen to it.
struct Operation {
  Operation(std::string name_, std::string group_, std::string endpoint_, Call call, const Told& told);
  Operation& refuses(Call call, const std::string& text, const std::string& answer = "INVALID_INPUT");
  // Looks at the robot's errors before it sends.
  Operation& looks(const Told& faulty_, const Told& unheard_ = error("COMM_DISCONNECTED", "get error info fail"));
  // Is a request: a fatal error in the answer, no answer.
  Operation& asks(const Told& rejected_, const Told& silence_);
  // Can wait for its motion; without `late` nothing keeps that from ending.
  Operation& waits(const Call& call, const Told& done, const std::optional<Told>& late = {});
  // Waits for the motion of `slow`, some seconds, when its group fails, or when somebody stops all motion.
  Operation& cut_short(const Call& slow, const Told& by_fault, const Told& by_stop);
  // Tells something else when the robot was restarted after its base had been driven by velocity.
  Operation& after_restart(const Told& told);

  bool looks_at_errors() const { return unheard.answer != accepted.told.answer; }

  std::string name;
  std::string group;     // whose errors concern it
  std::string endpoint;  // topic or service that hears it
  Attempt accepted;
  Told unheard;                    // the robot has never reported its errors
  Told faulty;                     // the group is in fatal error
  std::optional<Attempt> refused;  // none for an operation without arguments
  std::optional<Told> rejected;
  std::optional<Told> silence;
  std::optional<Attempt> arrived;
  std::optional<Attempt> timed_out;
  std::optional<Attempt> failed;   // the group fails during the wait
  std::optional<Attempt> stopped;  // another thread stops all motion during the wait
  Told restarted;
};

// The operations of one robot, in an order in which each leaves the robot fit for the next.
std::vector<Operation> operations_of(const Setup& setup);

// Calls, and expects answer and log record.
void expect_told(LiveRobot& live, const Attempt& attempt);
// The same for several calls at once, each on a thread of its own; `meanwhile` runs once they are on their way.
void expect_told_at_once(LiveRobot& live, const std::vector<std::pair<std::string, Attempt>>& attempts,
                         const std::function<void()>& meanwhile = {});

}  // namespace norvik::test

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "live/live_robot.hpp"

namespace norvik::test {

// What a call tells its caller and the log.
struct Told {
  std::string answer;  // name of the status; of RequestTarget "no errors", "no report" or the first error's code
  std::string level;   // of the record that tells why; empty when there is none
  std::string text;
};
Told told(const std::string& answer);
Told info(const std::string& answer, const std::string& text);
Told error(const std::string& answer, const std::string& text);

using Call = std::function<std::string(sdk::NorvikRobot&)>;

struct Attempt {
  Call call;
  Told told;
};

// What becomes of a request, besides being carried out.
struct Replies {
  Told rejected;
  Told silence;
};

// A call that waits for the motion. Without `timed_out` it cannot be kept from ending.
struct Waiting {
  Call call;
  Told arrived;
  std::optional<Told> timed_out;
};

// One command operation of the facade, and everything that can happen to it.
struct Operation {
  std::string name;
  std::string group;     // whose errors concern it
  std::string endpoint;  // topic or service that hears it
  Attempt accepted;
  std::optional<Attempt> refused;  // none for an operation without arguments
  Told unheard;                    // the robot has never reported its errors
  Told faulty;                     // the group is in fatal error
  std::optional<Replies> replies;  // of a request
  std::optional<Waiting> waiting;

  bool looks_at_errors() const { return unheard.answer != accepted.told.answer; }
};

// The operations of one robot, in an order in which each leaves the robot fit for the next.
std::vector<Operation> operations_of(const Setup& setup);

// Calls, and expects answer and log record.
void expect_told(LiveRobot& live, const Call& call, const Told& told);
// The same for several calls at once, each on a thread of its own; `meanwhile` runs once they are on their way.
void expect_told_at_once(LiveRobot& live, const std::vector<std::pair<std::string, Attempt>>& attempts,
                         const std::function<void()>& meanwhile = {});

}  // namespace norvik::test

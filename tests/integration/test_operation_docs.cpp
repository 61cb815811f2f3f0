// docs/operations.md is made from the table of operations that the tests run through.
// NORVIK_WRITE_DOCS=1 writes the file; without it the committed one is compared.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "live/motion_operations.hpp"
#include "live/navigation_operations.hpp"
#include "live/operations.hpp"
#include "live/perception_outcomes.hpp"

namespace norvik::test {
namespace {

constexpr const char* kHead = R"(# Command operations and their tested outcomes

Made by `test_operation_docs` from the table that the integration tests run against the simulated robot; do not edit. To
make it anew: `NORVIK_WRITE_DOCS=1 build/dev/bin/test_operation_docs`.

Each cell is the status the operation returned in the test, checked together with its record in the log. `RequestTarget`
returns a report instead: its first error's code, or that there is none. An empty cell is an outcome that the operation
does not have: it is published instead of requested, takes no argument, or never waits.

- *refused*: a wrong argument; nothing is sent.
- *unheard*: the robot has never reported its errors.
- *fault before*, *in the reply*: a fatal error of the group concerned.
- *no reply*: lost, late, or the robot killed during the call.
- *waiting*, *time-out*: the blocking form, with a motion that ends and with joints that do not move.
- *fault meanwhile*: the group fails half way through a blocking motion. The base does not look at faults while it waits:
  a pose is a planned time, and after a velocity it is the stop that is refused.
- *stopped meanwhile*: another thread calls `stop_trajectory_execution` half way. What waits for arrival waits on, until
  its time-out, since the robot goes on reporting the way that is left. A Sharpa hand is not stopped by it.
- *restarted*: the first call after the robot was killed and restarted, without a restart of the application. The library
  remembers the controllers that it has switched to, and the new robot starts with its own: when the base was last driven
  by velocity, `set_base_velocity` is accepted but the robot ignores it, and with a duration its stop is refused. Either
  `set_base_pose` or `release_controller` of the base mends that.

An operation without *time-out* and *meanwhile* cells does not wait for arrival, or counts all of its range as arrived.

| operation | models | accepted | refused | unheard | fault before | in the reply | no reply | waiting | time-out | fault meanwhile | stopped meanwhile | restarted |
|---|---|---|---|---|---|---|---|---|---|---|---|---|
)";

constexpr const char* kPerceptionHead = R"(
## Perception

`run_once`, `wait_for_new_result` and `get_latest_result`, one after the other, of a module that has given a result before.
`run_once` tells that the service has answered, whatever it answered. The record is the one among the warnings and errors that
tells why; what a result lacks is empty in the application's record, or the identity for a pose.

| situation | `run_once` | `wait_for_new_result` | `get_latest_result` | record |
|---|---|---|---|---|
)";

std::string perception_rows() {
  std::string rows = kPerceptionHead;
  const auto word = [](bool value) { return value ? "true" : "false"; };
  for (const PerceptionOutcome& outcome : perception_outcomes()) {
    rows += "| " + outcome.situation + " | " + word(outcome.run_once) + " | " + word(outcome.wait_for_new_result) +
            " | " + word(outcome.get_latest_result) + " | " + outcome.record + " |\n";
  }
  return rows;
}

constexpr const char* kNavigationHead = R"(
## Navigation

On both models. The tasks answer with a handle; its message is in the cells.

- *refused*: a wrong argument; nothing is sent.
- *not working*: the service has not been heard. Boxes of the world model have a service of their own.
- *refused once*, *refused always*: by the service, which is asked again up to four times. To settings it is not: their
  answer is looked at for its id only.
- *no reply*: lost.
- *arrives*, *time-out*: the blocking form; the service's own time-out is over before that of `navigate_to_goal_v2`.
- *stopped meanwhile*: another thread calls `stop_navigation`.
- *overridden*: another program gives the robot a task. `SUCCESS` is no arrival there.

| operation | accepted | refused | not working | refused once | refused always | no reply | arrives | time-out | stopped meanwhile | overridden |
|---|---|---|---|---|---|---|---|---|---|---|
)";

constexpr const char* kMotionHead = R"(
## Planning

Every operation of `NorvikMotion`, on both models. A cell is the status, `true` or `false`, or whether the operation gave
`values` or `nothing`; an empty one was not tried. Lists that the service told once are kept when it does not answer.

- *refused*: a wrong argument; no task is sent.
- *absent*: the planner has ended before. *lost*: it is killed while it works on the request.
- *no reply*: no service answers any more, though all do what they are asked.
- *not ready*: the planner says that it is starting, until the time is up. *no end*: it never tells the end of a task.
- *failed*, *collision*: the task ends so. *start failed*: what the planner says of itself from now on.

A planner that is starting for ten seconds, or says that it could not, fails `init` for good.

| operation | accepted | refused | not initialised | absent | lost | no reply | not ready | no end | failed | collision | start failed |
|---|---|---|---|---|---|---|---|---|---|---|---|
)";

std::string row_of(const MotionOperation& operation) {
  const MotionOutcomes& o = operation.outcomes;
  std::string row = "| `" + operation.name + "` |";
  for (const std::string& cell :
       {o.accepted, operation.refused ? operation.refusal : std::string(), o.uninitialised, o.absent, o.lost,
        o.reply_lost, o.no_time, o.unended, o.failed, o.collision, o.init_failed}) {
    row += " " + cell + " |";
  }
  return row + "\n";
}

bool has_operation(const Setup& setup, const std::string& name) {
  for (const Operation& operation : operations_of(setup)) {
    if (operation.name == name) {
      return true;
    }
  }
  return false;
}

// Robots with other hands are not restarted in the tests.
std::string row_of(const Operation& operation, const Setup& setup) {
  const std::string models = has_operation(kR5, operation.name) ? "K2, R5" : "K2";
  const std::string restarted = setup.name == kK2.name ? operation.restarted.answer : "";
  const auto answer = [](const auto& attempt) { return attempt ? attempt->told.answer : ""; };
  const auto text = [](const auto& told) { return told ? told->answer : ""; };
  std::string row = "| `" + operation.name + "` | " + models + " |";
  for (const std::string& cell :
       {operation.accepted.told.answer, answer(operation.refused), operation.unheard.answer, operation.faulty.answer,
        text(operation.rejected), text(operation.silence), answer(operation.arrived), answer(operation.timed_out),
        answer(operation.failed), answer(operation.stopped), restarted}) {
    row += " " + cell + " |";
  }
  return row + "\n";
}

std::string navigation_row_of(const NavigationOperation& operation) {
  const auto answer = [](const auto& attempt) { return attempt ? attempt->answer : ""; };
  std::string row = "| `" + operation.name + "` |";
  for (const std::string& cell :
       {operation.accepted.answer, answer(operation.refused), operation.unheard, operation.refused_once.value_or(""),
        operation.refused_always.value_or(""), answer(operation.silent), answer(operation.arrived),
        answer(operation.timed_out), answer(operation.stopped), answer(operation.overridden)}) {
    row += " " + cell + " |";
  }
  return row + "\n";
}

std::string make_page() {
  std::string page = kHead;
  for (const Setup& setup : {kK2, kK2Linker, kK2Brainco}) {
    for (const Operation& operation : operations_of(setup)) {
      page += row_of(operation, setup);
    }
  }
  page += kMotionHead;
  for (const MotionOperation& operation : motion_operations()) {
    page += row_of(operation);
  }
  page += kNavigationHead;
  for (const NavigationOperation& operation : navigation_operations()) {
    page += navigation_row_of(operation);
  }
  return page + perception_rows();
}

TEST(OperationDocs, AreUpToDate) {
  const std::string path = std::string(NORVIK_DOCS_DIR) + "/operations.md";
  const char* write = std::getenv("NORVIK_WRITE_DOCS");
  if (write != nullptr && std::string(write) == "1") {
    std::ofstream(path) << make_page();
  }
  std::ostringstream committed;
  committed << std::ifstream(path).rdbuf();
  EXPECT_EQ(committed.str(), make_page()) << "run with NORVIK_WRITE_DOCS=1 and commit " << path;
  for (const Operation& operation : operations_of(kR5)) {
    EXPECT_TRUE(has_operation(kK2, operation.name)) << operation.name;
  }
}

}  // namespace
}  // namespace norvik::test

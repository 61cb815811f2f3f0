#include <gtest/gtest.h>

#include <cstdint>
#include <set>

#include "control/command_shape.hpp"
#include "control/fault_plan.hpp"
#include "wire/pace.hpp"
#include "wire/wire_faults.hpp"

namespace norvik::simulator {
namespace {

TEST(FaultPlan, CommandsBecomeDueOnceInOrderOfTime) {
  std::string error;
  auto plan =
      FaultPlan::parse(R"([{"op":"state","at_s":2},{"op":"clear"},{"op":"crash","at_s":1.5},{"op":"state"}])", error);
  ASSERT_TRUE(plan) << error;
  const auto names = [&plan](double time) {
    std::string result;
    for (const auto& command : plan->take_due(time)) {
      result += command["op"].get<std::string>() + " ";
    }
    return result;
  };
  EXPECT_EQ(names(0.0), "clear state ");
  EXPECT_EQ(names(1.0), "");
  EXPECT_EQ(names(2.0), "crash state ");
  EXPECT_EQ(names(9.0), "");
}

TEST(FaultPlan, RefusesWhatIsNoListOfCommands) {
  struct Row {
    const char* text;
    const char* error;
  };
  const Row rows[] = {
      {"", "not a JSON list of commands"},
      {"{", "not a JSON list of commands"},
      {"{}", "not a JSON list of commands"},
      {"[1]", "command 1: a command is an object"},
      {R"([{"at_s":1}])", R"(command 1: "op" is missing)"},
      {R"([{"op":"state"},{"op":"fly"}])", "command 2: unknown op: fly"},
      {R"([{"op":"state","at_s":"soon"}])", R"(command 1: "at_s" is not a number)"},
      {R"([{"op":"reply","service":"x","fault":"lose","delay":1}])", R"(command 1: "delay" is no member of op reply)"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    std::string error;
    EXPECT_FALSE(FaultPlan::parse(row.text, error));
    EXPECT_EQ(error, row.error);
  }
}

// Every member of every command, missing and with every type of value: what passes can be carried out.
TEST(CommandShape, TellsWhatIsWrongInItsOwnWords) {
  using nlohmann::json;
  const json good[] = {
      {{"op", "error"}, {"group", "head"}, {"code", 1}, {"description", "x"}},
      {{"op", "reply"}, {"service", "s"}, {"fault", "lose"}, {"count", -1}, {"delay_ms", 5}},
      {{"op", "topic"},
       {"topic", "t"},
       {"fault", "drop"},
       {"share", 0.5},
       {"delay_ms", 5},
       {"payload", ""},
       {"repeat", 2},
       {"at_s", 1.5}},
      {{"op", "clock"}, {"skew_ms", -7}},
      {{"op", "infrared"}, {"side", "left"}, {"enabled", true}},
      {{"op", "freeze"}, {"joints", {"a", "b"}}, {"frozen", false}},
      {{"op", "set_positions"}, {"positions", {{"a", 1}, {"b", 0.5}}}},
      {{"op", "place_object"}, {"group", "left_gripper"}, {"width_mm", 3}},
      {{"op", "place_thing"}, {"name", "book"}, {"x", 1}, {"y", 2.5}, {"z", 1}, {"yaw", 0.5}},
      {{"op", "observe"}, {"file", "a.png"}},
      {{"op", "push_base"}, {"x", 0.5}, {"y", 0}, {"yaw", -0.1}},
      {{"op", "navigation_service"}, {"status", 3}},
      {{"op", "navigation_report"}, {"task_id", "t"}, {"status", 2}, {"message", "m"}},
      {{"op", "draw_map"}, {"file", "a.png"}},
      {{"op", "crash"}, {"how", "abort"}},
      {{"op", "clear"}},
      {{"op", "state"}},
  };
  const json values[] = {nullptr,        true,         7,        -7,        0.5, "text", json::array(),
                         json::object(), {{"a", "b"}}, {1, "a"}, UINT64_MAX};
  const std::set<std::string> optional = {"description", "count",  "delay_ms", "share", "payload", "repeat",
                                          "at_s",        "frozen", "how",      "z",     "yaw",     "message"};
  int wrong_kinds = 0;
  for (const json& command : good) {
    SCOPED_TRACE(command.dump());
    EXPECT_EQ(check_shape(command), "");
    json more = command;
    more["colour"] = 1;
    EXPECT_EQ(check_shape(more), "\"colour\" is no member of op " + command["op"].get<std::string>());
    for (const auto& [member, value] : command.items()) {
      json less = command;
      less.erase(member);
      const bool may_lack = optional.count(member) != 0 || (command["op"] == "push_base" && member != "op");
      EXPECT_EQ(check_shape(less), may_lack ? "" : "\"" + member + "\" is missing");
      for (const json& other : values) {
        json changed = command;
        changed[member] = other;
        const std::string reason = check_shape(changed);
        EXPECT_TRUE(reason.empty() || reason.rfind("\"" + member + "\" is not ", 0) == 0 || member == "op") << reason;
        wrong_kinds += reason.empty() ? 0 : 1;
      }
    }
  }
  EXPECT_GT(wrong_kinds, 250);
  json code = good[0];
  code["code"] = INT64_C(1) << 31;
  EXPECT_EQ(check_shape(code), "\"code\" is not a whole number of 32 bits");
}

TEST(Pace, CatchesUpWithALittleAndCountsTheRest) {
  using namespace std::chrono_literals;
  const Pace::Clock::time_point start{};
  Pace pace(100.0);
  pace.start(start);
  EXPECT_EQ(pace.next(start + 1ms), start + 10ms);
  EXPECT_EQ(pace.next(start + 90ms), start + 20ms);  // Eight steps late: all are caught up.
  EXPECT_EQ(pace.dropped_s(), 0.0);
  EXPECT_EQ(pace.next(start + 1000ms), start + 900ms);
  EXPECT_NEAR(pace.dropped_s(), 0.87, 1e-9);
  EXPECT_EQ(pace.next(start + 2000ms), start + 1900ms);
  EXPECT_NEAR(pace.dropped_s(), 1.86, 1e-9);
}

TEST(WireFaults, ReplyFaultIsUsedUp) {
  struct Row {
    int64_t count;
    int befallen;  // Of four requests.
  };
  for (const Row& row : {Row{0, 0}, Row{1, 1}, Row{3, 3}, Row{-1, 4}}) {
    SCOPED_TRACE(row.count);
    WireFaults faults;
    faults.set_reply_fault("service", {ReplyFault::kLose, row.count, {}});
    int befallen = 0;
    for (int i = 0; i < 4; ++i) {
      befallen += faults.take_reply_fault("service").fault == ReplyFault::kLose ? 1 : 0;
    }
    EXPECT_EQ(befallen, row.befallen);
    EXPECT_EQ(faults.take_reply_fault("other").fault, ReplyFault::kNone);
  }
}

}  // namespace
}  // namespace norvik::simulator

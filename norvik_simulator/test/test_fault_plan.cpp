#include <gtest/gtest.h>

#include "control/fault_plan.hpp"
#include "wire/wire_faults.hpp"

namespace norvik::simulator {
namespace {

TEST(FaultPlan, CommandsBecomeDueOnceInOrderOfTime) {
  std::string error;
  auto plan = FaultPlan::parse(R"([{"op":"late","at_s":2},{"op":"a"},{"op":"early","at_s":1.5},{"op":"b"}])", error);
  ASSERT_TRUE(plan) << error;
  const auto names = [&plan](double time) {
    std::string result;
    for (const auto& command : plan->take_due(time)) {
      result += command["op"].get<std::string>() + " ";
    }
    return result;
  };
  EXPECT_EQ(names(0.0), "a b ");
  EXPECT_EQ(names(1.0), "");
  EXPECT_EQ(names(2.0), "early late ");
  EXPECT_EQ(names(9.0), "");
}

TEST(FaultPlan, RefusesWhatIsNoListOfCommands) {
  for (const char* text : {"", "{", "{}", "[1]", R"([{"at_s":1}])", R"([{"op":"state","at_s":"soon"}])"}) {
    SCOPED_TRACE(text);
    std::string error;
    EXPECT_FALSE(FaultPlan::parse(text, error));
    EXPECT_FALSE(error.empty());
  }
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

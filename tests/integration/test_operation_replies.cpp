// Requests whose answer is lost or late: the caller hears of it in time, and the next command works.

#include <gtest/gtest.h>

#include <ostream>

#include "live/operations.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;

struct Row {
  std::string name;
  Setup setup;
  nlohmann::json fault;
};
std::ostream& operator<<(std::ostream& stream, const Row& row) { return stream << row.name; }

class Replies : public ::testing::TestWithParam<Row> {};

// One service at a time: driving the base needs the other one.
void expect_silence(LiveRobot& live, const std::vector<Operation>& operations, const std::string& service) {
  std::vector<std::pair<std::string, Attempt>> attempts;
  for (const Operation& operation : operations) {
    if (operation.silence && operation.endpoint == service) {
      attempts.push_back({operation.name, {operation.accepted.call, *operation.silence}});
    }
  }
  const int heard = live.heard(service);
  const auto start = std::chrono::steady_clock::now();
  expect_told_at_once(live, attempts);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 8s);  // The longest waits 5 s.
  EXPECT_GE(live.heard(service) - heard, static_cast<int>(attempts.size()));
}

TEST_P(Replies, AreMissedAndTheNextCommandWorks) {
  LiveRobot live(GetParam().setup);
  ASSERT_TRUE(live.start());
  const auto operations = operations_of(GetParam().setup);
  for (const char* service : {"tavrinox/wbcs/target_server", "tavrinox/wbcs/controller_server"}) {
    SCOPED_TRACE(service);
    nlohmann::json fault = GetParam().fault;
    fault.update({{"op", "reply"}, {"service", service}, {"count", -1}});
    live.control(fault);
    expect_silence(live, operations, service);
    live.control({{"op", "clear"}});
  }
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    expect_told(live, operation.accepted);
  }
}

// Late answers arrive while the next commands are on their way.
INSTANTIATE_TEST_SUITE_P(All, Replies,
                         ::testing::Values(Row{"LostK2", kK2, {{"fault", "lose"}}},
                                           Row{"LostR5", kR5, {{"fault", "lose"}}},
                                           Row{"LateK2", kK2, {{"fault", "delay"}, {"delay_ms", 5200}}},
                                           Row{"LateR5", kR5, {{"fault", "delay"}, {"delay_ms", 5200}}}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test

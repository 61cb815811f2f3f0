// What every command operation tells at once: accepted, refused, a fault before and in the reply, errors never
// reported.

#include <gtest/gtest.h>

#include <fstream>

#include "live/operations.hpp"

namespace norvik::test {
namespace {

class Answers : public ::testing::TestWithParam<Setup> {
 protected:
  const std::vector<Operation> operations_ = operations_of(GetParam());
};

void expect_faulty(LiveRobot& live, const Operation& operation) {
  ASSERT_TRUE(live.make_faulty(operation.group));
  if (operation.endpoint.rfind("/endtool/", 0) == 0) {  // Its errors come on a topic of their own.
    ASSERT_TRUE(eventually([&] { return operation.accepted.call(live.robot()) == operation.faulty.answer; }));
  }
  const int heard = live.heard(operation.endpoint);
  expect_told(live, {operation.accepted.call, operation.faulty});
  if (operation.looks_at_errors()) {
    EXPECT_EQ(live.heard(operation.endpoint), heard);
  }
  ASSERT_TRUE(live.clear_faults());
}

TEST_P(Answers, AcceptedRefusedFaulty) {
  LiveRobot live(GetParam());
  ASSERT_TRUE(live.start());
  for (const Operation& operation : operations_) {
    SCOPED_TRACE(operation.name);
    const int before = live.heard(operation.endpoint);
    expect_told(live, operation.accepted);
    EXPECT_TRUE(eventually([&] { return live.heard(operation.endpoint) > before; }));
    if (operation.refused) {
      const int heard = live.heard(operation.endpoint);
      expect_told(live, *operation.refused);
      EXPECT_EQ(live.heard(operation.endpoint), heard);
    }
    expect_faulty(live, operation);
    if (operation.rejected) {
      live.control({{"op", "reply"}, {"service", operation.endpoint}, {"fault", "reject"}});
      expect_told(live, {operation.accepted.call, *operation.rejected});
    }
  }
}

TEST_P(Answers, ErrorsNeverReported) {
  const TempDir folder;
  std::ofstream(folder / "faults") << R"([{"op":"topic","topic":"tavrinox/wbcs/error","fault":"silent"}])";
  LiveRobot live(GetParam(), {"--faults", folder / "faults"});
  ASSERT_TRUE(live.start(false));
  for (const Operation& operation : operations_) {
    SCOPED_TRACE(operation.name);
    const int heard = live.heard(operation.endpoint);
    expect_told(live, {operation.accepted.call, operation.unheard});
    if (operation.looks_at_errors()) {
      EXPECT_EQ(live.heard(operation.endpoint), heard);
    }
  }
  live.control({{"op", "clear"}});
  for (const Operation& operation : operations_) {
    EXPECT_TRUE(eventually([&] { return operation.accepted.call(live.robot()) == operation.accepted.told.answer; }))
        << operation.name;
  }
}

std::string name_of(const ::testing::TestParamInfo<Setup>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(All, Answers, ::testing::Values(kK2, kK2Linker, kK2Brainco, kR5), name_of);

}  // namespace
}  // namespace norvik::test

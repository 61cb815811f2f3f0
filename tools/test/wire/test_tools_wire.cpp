// The built tool against the simulator's process.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/simulator_process.hpp"
#include "wire/tool_process.hpp"

namespace norvik::test {
namespace {

using ::testing::HasSubstr;

constexpr const char* kEmptyDomain = "100";

class ToolOnSimulator : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    simulator = std::make_unique<SimulatorProcess>(std::vector<std::string>{"--model", "k2"});
    ASSERT_TRUE(simulator->start());
  }
  static void TearDownTestSuite() { simulator.reset(); }

  static std::unique_ptr<SimulatorProcess> simulator;
};
std::unique_ptr<SimulatorProcess> ToolOnSimulator::simulator;

TEST_F(ToolOnSimulator, topics_names_every_endpoint_its_owner_and_rate) {
  const Outcome outcome = run_json("topics --rate");
  ASSERT_EQ(outcome.status, 0);
  const json document = outcome.document();
  struct Case {
    const char* channel;
    const char* kind;
    const char* type;
    const char* role;
    double least_rate;
    double greatest_rate;
  };
  const Case cases[] = {
      {"tavrinox/wbcs/wbc_info", "topic", "norvik.tavrinox_proto.WBCInfo", "publishes", 30, 150},
      {"tavrinox/wbcs/target", "topic", "norvik.tavrinox_proto.TavrinoXTarget", "reads", 0, 0},
      {"tavrinox/wbcs/target_server", "service", "norvik.tavrinox_proto.TavrinoXTarget", "serves", 0, 0},
      {"bms", "topic", "raw", "publishes", 0.5, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.channel);
    const json channel = channel_named(document, c.channel);
    ASSERT_EQ(channel["type"], c.type);
    EXPECT_EQ(channel["kind"], c.kind);
    EXPECT_EQ(channel["endpoints"][0]["role"], c.role);
    EXPECT_EQ(channel["endpoints"][0]["process"], "norvik_simulator");
    EXPECT_EQ(channel["endpoints"][0]["pid"], simulator->pid());
    if (c.greatest_rate > 0) {
      EXPECT_GE(channel["measured"]["rate_hz"], c.least_rate);
      EXPECT_LE(channel["measured"]["rate_hz"], c.greatest_rate);
      EXPECT_EQ(channel["measured"]["lost"], 0);
    }
  }
  EXPECT_THAT(run_tool("topics").output, HasSubstr("tavrinox/wbcs/target_server  service of norvik.tavrinox_proto"));
}

TEST_F(ToolOnSimulator, echo_shows_typed_latched_and_json_messages) {
  const std::pair<const char*, const char*> cases[] = {
      {"tavrinox/wbcs/sensor", "/message"},
      {"/ovimux_tf_static", "/message/transforms/0/transform"},
      {"/norvik/mission_manager/onboard_config", "/message/robot_type"},
      {"bms", "/message/soc"},
      {"bms --raw", "/text"},
      {"tavrinox/wbcs/sensor --raw", "/hex"},
  };
  for (const auto& [arguments, member] : cases) {
    SCOPED_TRACE(arguments);
    const Outcome outcome = run_json("echo --count 1 " + std::string(arguments));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.document().contains(json::json_pointer(member))) << outcome.output;
    EXPECT_EQ(outcome.document()["pid"], simulator->pid());
  }
}

TEST_F(ToolOnSimulator, echo_survives_malformed_payloads) {
  const json fault = {{"op", "topic"}, {"topic", "tavrinox/wbcs/error"}, {"fault", "malformed"}};
  SimulatorControl control;
  ASSERT_EQ(control.send(fault)["ok"], true);
  const Outcome outcome = run_json("echo tavrinox/wbcs/error --count 3");
  EXPECT_EQ(control.send({{"op", "clear"}})["ok"], true);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr("malformed norvik.tavrinox_proto.TavrinoXError"));
  EXPECT_THAT(outcome.output, HasSubstr("\"hex\":"));
}

TEST_F(ToolOnSimulator, hz_measures_without_loss) {
  const Outcome outcome = run_json("hz tavrinox/wbcs/wbc_info --window 1.5 --count 1");
  ASSERT_EQ(outcome.status, 0);
  const json report = outcome.document();
  EXPECT_GE(report["rate_hz"], 30);
  EXPECT_LE(report["rate_hz"], 150);
  EXPECT_EQ(report["lost"], 0);
  EXPECT_EQ(report["publishers"], 1);
  EXPECT_GT(report["mean_size"], 0);
  EXPECT_GT(report["mean_latency_s"], 0);
  EXPECT_LT(report["mean_latency_s"], 0.5);
  EXPECT_THAT(run_tool("hz bms --window 2.5 --count 1").output, HasSubstr("Hz, period"));
}

TEST_F(ToolOnSimulator, doctor_finds_the_robot_and_its_model) {
  const Outcome k2 = run_json("doctor --model k2");
  EXPECT_EQ(k2.status, 0) << k2.output;
  EXPECT_EQ(k2.document()["problems"], 0);
  for (const char* text : {"norvik_simulator (", "all essential channels of a k2", "processes agree within",
                           "writers and readers fit", "norvik_sdk 1.9.1"}) {
    EXPECT_THAT(k2.output, HasSubstr(text));
  }
  const Outcome r5 = run_tool("doctor --model r5");
  EXPECT_EQ(r5.status, 1);
  EXPECT_THAT(r5.output, HasSubstr("the robot is a k2, not a r5"));
  EXPECT_THAT(r5.output, HasSubstr("norvik doctor --model k2"));
}

TEST_F(ToolOnSimulator, mistakes_are_explained) {
  struct Case {
    std::string arguments;
    int status;
    std::string text;
  };
  const Case cases[] = {
      {"echo tavrinox/wbc/sensor --timeout 1.5", 1, "did you mean: tavrinox/wbcs/sensor"},
      {"hz tavrinox/wbcs/target --timeout 1.5", 1, "nobody publishes \"tavrinox/wbcs/target\""},
      {"echo tavrinox/wbcs/target_server --timeout 1.5", 1, "is a service"},
      {"echo tavrinox/wbcs/target_server__RPC__REQUEST --timeout 1.5", 1, "no message on"},
      {"topics --timeout 1 --domain " + std::string(kEmptyDomain), 1, "try --domain " + own_domain()},
      {"echo bms --timeout 1 --domain " + std::string(kEmptyDomain), 1, "try --domain " + own_domain()},
      {"hz bms --timeout 1 --json --domain " + std::string(kEmptyDomain), 1, "{\"error\":\"nobody answers on domain"},
      {"doctor --timeout 1 --domain " + std::string(kEmptyDomain), 1, "uses DDS on domain " + own_domain()},
      {"", 2, "subcommand is required"},
      {"topics --domain 233", 2, "--domain"},
      {"doctor --model q7", 2, "--model"},
      {"--version", 0, "1.9.1"},
      {"--help", 0, "doctor"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    const Outcome outcome = run_tool(c.arguments);
    EXPECT_EQ(outcome.status, c.status);
    EXPECT_THAT(outcome.output, HasSubstr(c.text));
  }
}

TEST(ToolAlone, says_that_nobody_is_there) {
  for (const char* verb : {"topics", "echo bms", "hz bms", "doctor"}) {
    SCOPED_TRACE(verb);
    const Outcome outcome = run_tool(std::string(verb) + " --timeout 1");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, HasSubstr("nobody answers on domain " + own_domain()));
  }
}

TEST(ToolAndKilledPeer, notices_and_goes_on_or_ends) {
  SimulatorProcess simulator({"--model", "r5"});
  ASSERT_TRUE(simulator.start());
  Tool hz("hz tavrinox/wbcs/wbc_info --window 1 --count 12 --json", "2>/dev/null");
  Tool echo("echo tavrinox/wbcs/wbc_info");
  ASSERT_GT(json::parse(hz.line())["rate_hz"], 0);
  ASSERT_FALSE(echo.line().empty());
  simulator.kill_hard();
  json last;
  do {
    last = json::parse(hz.line(), nullptr, false);
  } while (last.is_object() && last["publishers"] != 0);
  ASSERT_TRUE(last.is_object()) << "the dead publisher was never forgotten";
  EXPECT_EQ(last["samples"], 0);
  EXPECT_GT(last["silence_s"], 1.0);
  EXPECT_THAT(echo.rest(), HasSubstr("the last publisher of \"tavrinox/wbcs/wbc_info\" is gone"));
  EXPECT_EQ(echo.finish(), 1);
  EXPECT_EQ(run_tool("topics --timeout 1").status, 1);
}

}  // namespace
}  // namespace norvik::test

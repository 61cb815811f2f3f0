// The built tool against a robot that uses nothing but Fast DDS and announces nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <vector>

#include "wire/tool_process.hpp"

namespace norvik::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

using Endpoints = std::vector<std::string>;

constexpr const char* kSmall = "ovimux_idl::data64k";
constexpr const char* kLarge = "ovimux_idl::data10m";
constexpr const char* kInfo = "tavrinox/wbcs/wbc_info";
constexpr const char* kOnboardConfig = "/norvik/mission_manager/onboard_config";
constexpr const char* kModelK2 = "1801";  // robot_type: K2
constexpr const char* kModelR5 = "1802";

std::string endpoint(const std::string& kind, const std::string& topic, const std::string& type,
                     const std::string& quality, const std::string& payload = "") {
  return kind + "," + topic + "," + type + "," + quality + "," + payload;
}

// What a K2 needs to be moved and watched, in words of its own. `info_quality` is that of one of its topics.
Endpoints whole_robot(const std::string& model = kModelK2, const std::string& info_quality = "r") {
  Endpoints robot = {
      endpoint("r", "tavrinox/wbcs/target", kSmall, "r"),
      endpoint("w", kInfo, kSmall, info_quality),
      endpoint("w", "tavrinox/wbcs/error", kSmall, "r"),
      endpoint("w", "tavrinox/wbcs/sensor", kSmall, "r"),
      endpoint("w", "/odom/base_link", kSmall, "r"),
      endpoint("w", "/ovimux_tf", kSmall, "r"),
      endpoint("w", "/ovimux_tf_static", kSmall, "l"),
      endpoint("w", kOnboardConfig, kSmall, "r", model),
      endpoint("w", "/front_head_camera/left_color/image_raw", kLarge, "r", "2a04ffd8ffd9"),
      endpoint("w", "bms", kSmall, "r", "7b22736f63223a38317d"),  // {"soc":81}
      endpoint("w", "weather", "station::Report", "b", "00414243"),
      endpoint("w", "a/secret", kSmall, "b", "ff01"),
  };
  for (const std::string service : {"tavrinox/wbcs/target_server", "tavrinox/wbcs/controller_server"}) {
    robot.push_back(endpoint("r", service + "__RPC__REQUEST", kLarge, "r"));
    robot.push_back(endpoint("w", service + "__RPC__RESPONSE", kLarge, "r"));
  }
  return robot;
}

// Ends with the object, which closes its input.
class PlainRobot {
 public:
  explicit PlainRobot(const Endpoints& endpoints, int clock_offset_ms = 0) {
    std::string command =
        std::string("exec ") + TOOLS_PLAIN_ROBOT + " " + own_domain() + " " + std::to_string(clock_offset_ms);
    for (const std::string& text : endpoints) {
      command += " '" + text + "'";
    }
    pipe_ = ::popen(command.c_str(), "w");
  }
  ~PlainRobot() { ::pclose(pipe_); }
  PlainRobot(const PlainRobot&) = delete;
  PlainRobot& operator=(const PlainRobot&) = delete;

 private:
  FILE* pipe_;
};

class ToolOnPlainRobot : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { robot = std::make_unique<PlainRobot>(whole_robot()); }
  static void TearDownTestSuite() { robot.reset(); }

  static std::unique_ptr<PlainRobot> robot;
};
std::unique_ptr<PlainRobot> ToolOnPlainRobot::robot;

TEST_F(ToolOnPlainRobot, topics_lists_channels_with_their_process) {
  const Outcome outcome = run_json("topics");
  ASSERT_EQ(outcome.status, 0) << outcome.output;
  struct Case {
    const char* channel;
    const char* kind;
    const char* role;
    const char* type;
    const char* dds_type;
    bool reliable;
  };
  const Case cases[] = {
      {kInfo, "topic", "publishes", "norvik.tavrinox_proto.WBCInfo", kSmall, true},
      {"tavrinox/wbcs/target", "topic", "reads", "norvik.tavrinox_proto.TavrinoXTarget", kSmall, true},
      {"tavrinox/wbcs/target_server", "service", "serves", "norvik.tavrinox_proto.TavrinoXTarget", kLarge, true},
      {"bms", "topic", "publishes", "raw", kSmall, true},
      {"a/secret", "topic", "publishes", "unknown", kSmall, false},
      {"weather", "topic", "publishes", "unknown", "station::Report", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.channel);
    const json channel = channel_named(outcome.document(), c.channel);
    ASSERT_EQ(channel["type"], c.type);
    EXPECT_EQ(channel["kind"], c.kind);
    ASSERT_EQ(channel["endpoints"].size(), 1U);
    const json& held = channel["endpoints"][0];
    EXPECT_EQ(held["role"], c.role);
    EXPECT_EQ(held["dds_type"], c.dds_type);
    EXPECT_EQ(held["reliable"], c.reliable);
    EXPECT_EQ(held["announced"], false);
    std::string running;
    std::ifstream("/proc/" + std::to_string(held["pid"].get<int>()) + "/comm") >> running;
    EXPECT_EQ(running, held["process"]);
    EXPECT_EQ(running, "tools_plain_rob");  // The system keeps 15 characters.
  }
  EXPECT_THAT(run_tool("topics").output, HasSubstr("weather  DDS type station::Report\n"));
}

TEST_F(ToolOnPlainRobot, hz_measures_every_type_and_quality) {
  for (const char* topic : {kInfo, "/front_head_camera/left_color/image_raw", "weather"}) {
    SCOPED_TRACE(topic);
    const Outcome outcome = run_json(std::string("hz --window 1 --count 1 ") + topic);
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    const json report = outcome.document();
    EXPECT_GT(report["rate_hz"], 20);
    EXPECT_LT(report["rate_hz"], 80);
    EXPECT_EQ(report["lost"], 0);
    EXPECT_EQ(report["publishers"], 1);
    EXPECT_LT(report["mean_latency_s"], 0.2);
  }
}

TEST_F(ToolOnPlainRobot, echo_decodes_what_is_known_and_shows_the_rest) {
  const std::tuple<const char*, const char*, json> cases[] = {
      {kOnboardConfig, "/message/robot_type", "K2"},
      {"/front_head_camera/left_color/image_raw", "/type", "norvik.sensor_proto.CompressedImage"},
      {"bms", "/message/soc", 81},
      {"a/secret", "/hex", "ff 01"},
      {"weather", "/hex", "00 01 00 00 00 41 42 43"},
      {"weather", "/size", 8},
  };
  for (const auto& [topic, member, expected] : cases) {
    SCOPED_TRACE(topic);
    const Outcome outcome = run_json(std::string("echo --count 1 ") + topic);
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.document().value(json::json_pointer(member), json()), expected) << outcome.output;
    EXPECT_FALSE(outcome.document().contains("error"));
  }
}

TEST_F(ToolOnPlainRobot, signals_and_lost_output_have_statuses_of_their_own) {
  const std::string echo = std::string("echo ") + kInfo;
  const std::string once = echo + " --count 1";
  struct Case {
    std::string before;
    std::string arguments;
    std::string redirection;
    int status;
    std::string output;
  };
  const std::string pipe_before = "{ { ";
  const std::string pipe_after = "2>&4; echo status $? >&3; } | head -n 1 >/dev/null; } 3>&1 4>&1";
  const Case cases[] = {
      {"timeout --preserve-status -s INT 3 ", echo, ">/dev/null 2>&1", 130, ""},
      {"timeout --preserve-status -s TERM 3 ", "hz bms", ">/dev/null 2>&1", 143, ""},
      {"timeout --preserve-status -s INT 1 ", "hz nobodys --timeout 0", "2>&1", 130, ""},
      {pipe_before, echo, pipe_after, 0, "status 141\n"},
      {"", once, "2>&1 >/dev/full", 1, "norvik: the output cannot be written: No space left on device\n"},
      {"", "hz bms --window 0.2", "2>&1 >/dev/full", 1, "norvik: the output cannot be written"},
      {"", "topics", "2>&1 >/dev/full", 1, "norvik: the output cannot be written"},
      {"", "doctor", "2>&1 >/dev/full", 1, "norvik: the output cannot be written"},
      {"", "--help", "2>&1 >/dev/full", 1, "norvik: the output cannot be written"},
      {"", once, "2>/dev/full >/dev/null", 0, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.before + c.arguments + c.redirection);
    const Outcome outcome = run_tool(c.arguments, c.redirection, c.before);
    EXPECT_EQ(outcome.status, c.status);
    EXPECT_EQ(outcome.output.substr(0, c.output.size()), c.output);
    EXPECT_EQ(outcome.output.empty(), c.output.empty()) << outcome.output;
  }
}

struct Illness {
  const char* name;
  std::vector<Endpoints> robots;
  int clock_offset_ms;
  int status;
  std::vector<std::string> findings;
};

class DoctorOnPlainRobot : public ::testing::TestWithParam<Illness> {};

TEST_P(DoctorOnPlainRobot, finds_what_is_wrong) {
  std::vector<std::unique_ptr<PlainRobot>> robots;
  for (const Endpoints& endpoints : GetParam().robots) {
    robots.push_back(std::make_unique<PlainRobot>(endpoints, GetParam().clock_offset_ms));
  }
  const Outcome outcome = run_tool("doctor --model k2");
  EXPECT_EQ(outcome.status, GetParam().status);
  for (const std::string& text : GetParam().findings) {
    EXPECT_THAT(outcome.output, ::testing::ContainsRegex(text));
  }
  EXPECT_THAT(outcome.output, Not(HasSubstr("essential channels of a k2 are missing")));
}

INSTANTIATE_TEST_SUITE_P(
    Illnesses, DoctorOnPlainRobot,
    ::testing::Values(
        Illness{
            "none",
            {whole_robot()},
            0,
            0,
            {"ok       model           all essential channels of a k2 are there",
             "ok       clock           1 processes agree", "ok       processes       tools_plain_rob \\([0-9]+\\) on ",
             "ok       robot           k2 ", "writers and readers fit", "0 problems, "}},
        Illness{"two_robots",
                {whole_robot(), whole_robot()},
                0,
                1,
                {"problem  servers         \"tavrinox/wbcs/controller_server\", \"tavrinox/wbcs/target_server\" are "
                 "answered by 2 servers: tools_plain_rob \\([0-9]+\\) on .*, tools_plain_rob \\([0-9]+\\) on ",
                 "OVIMUX_DOMAIN_ID of its own"}},
        Illness{"another_model",
                {whole_robot(kModelR5)},
                0,
                1,
                {"problem  robot           the robot is a r5, not a k2", "norvik doctor --model r5"}},
        Illness{"best_effort",
                {whole_robot(kModelK2, "b")},
                0,
                1,
                {"\"tavrinox/wbcs/wbc_info\" of tools_plain_rob .* reach programs of this release: it is sent best"}},
        Illness{"clock_behind",
                {whole_robot()},
                -1000,
                1,
                {"problem  clock           tools_plain_rob \\([0-9]+\\) on .* is 1\\.0[0-9]+ s behind this machine",
                 "sudo chronyc makestep"}},
        Illness{"clock_ahead",
                {whole_robot()},
                1000,
                1,
                {"problem  clock           tools_plain_rob \\([0-9]+\\) on .* is 0?\\.?[01][.0-9]+ s ahead of this"}}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace norvik::test

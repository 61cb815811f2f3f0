// What the announcements say, and what is to be made of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "cli/near_names.hpp"
#include "doctor/wire_findings.hpp"
#include "impl/sensors/sensor_tables.hpp"
#include "model/model_channels.hpp"
#include "network/channel.hpp"
#include "network/domain_probe.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::tools {
namespace {

using ::testing::HasSubstr;

struct Announced {
  std::string channel;
  ovimux::proto::RoleType role;
  std::string type;
  int payload_kind = 0;
  int opaque_3 = 0;
};

constexpr auto kWriter = ovimux::proto::ROLE_TYPE_WRITER;
constexpr auto kReader = ovimux::proto::ROLE_TYPE_READER;
constexpr auto kServer = ovimux::proto::ROLE_TYPE_SERVER;
constexpr auto kClient = ovimux::proto::ROLE_TYPE_CLIENT;

Topology announce(const std::vector<Announced>& roles) {
  auto state = std::make_shared<ovimux::proto::TopologyState>();
  state->set_process_name("robot");
  state->set_process_id(7);
  state->set_host_name("k2");
  for (const Announced& role : roles) {
    auto& attributes = *state->add_roles();
    attributes.set_channel_name(role.channel);
    attributes.set_role_type(role.role);
    attributes.set_message_type(role.type);
    attributes.mutable_qos_profile()->mutable_intra_core()->set_payload_kind(role.payload_kind);
    attributes.mutable_qos_profile()->mutable_intra_core()->set_opaque_3(role.opaque_3);
  }
  return {state};
}

TEST(FindTarget, tells_what_to_listen_to_or_why_not) {
  const auto channels = channels_of(announce({{"camera", kReader, "raw"},
                                              {"camera", kWriter, "p.Image", 6},
                                              {"pose", kWriter, "p.Pose", 0, 1},
                                              {"wish", kReader, "p.Wish"},
                                              {"plan", kServer, "raw", 6},
                                              {"plan", kClient, "p.Plan", 6},
                                              {"odd", ovimux::proto::ROLE_TYPE_NODE, "p.Odd"}}));
  struct Case {
    std::string topic;
    std::string type;  // Empty: not found.
    bool large;
    bool latched;
    std::string complaint;
  };
  const Case cases[] = {
      {"camera", "p.Image", true, false, ""},
      {"pose", "p.Pose", false, true, ""},
      {"plan__RPC__REQUEST", "p.Plan", true, false, ""},
      {"plan__RPC__RESPONSE", "raw", true, false, ""},
      {"plan", "", false, false, "\"plan\" is a service|its requests: plan__RPC__REQUEST"},
      {"wish", "", false, false, "nobody publishes \"wish\"|robot (7) on k2 reads it"},
      {"camrea", "", false, false, "nobody announces a topic \"camrea\"|did you mean: camera"},
      {"odd", "", false, false, "nobody announces"},
      {"wish__RPC__REQUEST", "", false, false, "nobody announces"},
      {"__RPC__REQUEST", "", false, false, "nobody announces"},
      {"", "", false, false, "nobody announces"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.topic);
    ListenTarget target;
    Complaint complaint;
    EXPECT_EQ(find_target(channels, c.topic, target, complaint), !c.type.empty());
    std::string text = complaint.text;
    for (const std::string& hint : complaint.hints) {
      text += "|" + hint;
    }
    EXPECT_THAT(text, HasSubstr(c.complaint));
    if (!c.type.empty()) {
      EXPECT_EQ(target.topic, c.topic);
      EXPECT_EQ(target.type, c.type);
      EXPECT_EQ(target.large, c.large);
      EXPECT_EQ(target.latched, c.latched);
    }
  }
}

TEST(NearNames, finds_what_was_meant) {
  const std::vector<std::string> names = {"bms", "tavrinox/wbcs/error", "tavrinox/wbcs/sensor", "tavrinox/wbcs/target",
                                          "/odom/base_link"};
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"bsm", {"bms"}},
      {"BMS", {"bms"}},
      {"odom", {"/odom/base_link"}},
      {"wbcs", {"tavrinox/wbcs/error", "tavrinox/wbcs/sensor", "tavrinox/wbcs/target"}},
      {"tavrinox/wbc/sensor", {"tavrinox/wbcs/sensor"}},
      {"something_else_entirely", {}},
  };
  for (const auto& [typed, expected] : cases) {
    SCOPED_TRACE(typed);
    const auto found = near_names(typed, names);
    for (const std::string& name : expected) {
      EXPECT_THAT(found, ::testing::Contains(name));
    }
    EXPECT_EQ(found.empty(), expected.empty());
  }
}

TEST(WireFindings, endpoints_that_cannot_understand_each_other) {
  struct Case {
    const char* name;
    std::vector<Announced> roles;
    Level level;
    const char* text;
  };
  const Case cases[] = {
      {"fit", {{"t", kWriter, "A", 6}, {"t", kReader, "A", 6}}, Level::kOk, "1, writers and readers fit"},
      {"raw reader fits all", {{"t", kWriter, "A"}, {"t", kReader, "raw"}}, Level::kOk, "fit"},
      {"latched writer, plain reader", {{"t", kWriter, "A", 0, 1}, {"t", kReader, "A"}}, Level::kOk, "fit"},
      {"envelope", {{"t", kWriter, "A", 6}, {"t", kReader, "A"}}, Level::kProblem, "large envelope"},
      {"history", {{"t", kWriter, "A"}, {"t", kReader, "A", 0, 1}}, Level::kProblem, "does not keep it"},
      {"type", {{"t", kWriter, "A"}, {"t", kReader, "B"}}, Level::kProblem, "A is sent, B is expected"},
      {"service", {{"t", kServer, "A"}, {"t", kClient, "A", 6}}, Level::kProblem, "small envelope"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Findings findings = judge_compatibility(channels_of(announce(c.roles)));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].level, c.level);
    EXPECT_THAT(findings[0].text, HasSubstr(c.text));
  }
}

TEST(WireFindings, clocks_losses_silence_and_the_robots_report) {
  const nlohmann::ordered_json robot = {{"robot_type", "K2"}, {"mainline_version", "3.1"}, {"emergency_stop", true}};
  struct Case {
    const char* name;
    Findings findings;
    size_t count;
    Level worst;
    const char* last_text;
  };
  const Case cases[] = {
      {"clocks agree", judge_clocks({{"a", 0.001}, {"b", -0.049}}), 1, Level::kOk, "2 processes agree"},
      {"clock ahead", judge_clocks({{"a", 0.001}, {"b", -0.25}}), 1, Level::kWarning, "b is 0.250 s ahead of"},
      {"clock far behind", judge_clocks({{"a", 90.0}}), 1, Level::kProblem, "a is 90.000 s behind"},
      {"no stream, no verdict", judge_clocks({}), 0, Level::kOk, ""},
      {"losses", judge_losses({{"a", 0}, {"b", 3}}), 1, Level::kWarning, "3 samples of \"b\""},
      {"wrong domain", {judge_silence(0, {{7, "this machine"}})}, 1, Level::kProblem, "domain 7 (this machine)"},
      {"emergency stop", judge_robot(robot, "k2"), 2, Level::kWarning, "emergency stop is pressed"},
      {"other model", judge_robot({{"robot_type", "R5"}}, "k2"), 2, Level::kProblem, "the robot is a r5, not a k2"},
      {"report of wrong types", judge_robot({{"robot_type", 3}, {"emergency_stop", "yes"}}, "k2"), 1, Level::kOk, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(c.findings.size(), c.count);
    if (c.count > 0) {
      EXPECT_EQ(c.findings.back().level, c.worst);
      EXPECT_THAT(c.findings.back().text, HasSubstr(c.last_text));
    }
  }
}

// The tool's tables against those that the library opens its channels from.
TEST(ModelChannels, hold_every_sensor_that_the_library_reads) {
  const auto has = [](const std::string& model, const std::string& topic) {
    const auto channels = channels_of_model(model);
    return std::any_of(channels.begin(), channels.end(), [&](const ModelChannel& c) { return c.name == topic; });
  };
  for (const auto& [model, machine] : {std::pair{"k2", sdk::MachineType::K2}, std::pair{"r5", sdk::MachineType::R5}}) {
    for (const auto& camera : sdk::camera_channels()) {
      EXPECT_EQ(has(model, camera.image_topic), sdk::is_sensor_valid_for_machine(camera.sensor, machine))
          << model << camera.image_topic;
    }
    for (const auto& lidar : sdk::lidar_channels()) {
      EXPECT_TRUE(has(model, lidar.topic) || !sdk::is_sensor_valid_for_machine(lidar.sensor, machine)) << lidar.topic;
    }
    for (const auto& imu : sdk::imu_channels(machine)) {
      EXPECT_TRUE(has(model, imu.topic)) << model << imu.topic;
    }
  }
}

TEST(DomainProbe, reads_domains_from_discovery_ports) {
  const std::pair<int, std::optional<int>> ports[] = {
      {7400, 0}, {7650, 1}, {7400 + 250 * 232, 232}, {7400 + 250 * 233, {}}, {7410, {}}, {7150, {}}, {0, {}}};
  for (const auto& [port, domain] : ports) {
    EXPECT_EQ(domain_of_port(port), domain) << port;
  }
  const std::string table =
      "   sl  local_address rem_address   st tx_queue rx_queue\n"
      "  430: 0100007F:0035 00000000:0000 07 00000000:00000000\n"  // 53
      " 9504: 0100FFEF:1CE8 00000000:0000 07 00000000:00000000\n"  // 7400
      "10504: 00000000:23BE 00000000:0000 07 00000000:00000000\n"  // 9150
      "broken line without newline";
  EXPECT_EQ(domains_in_udp_table(table), (std::set<int>{0, 7}));
}

}  // namespace
}  // namespace norvik::tools

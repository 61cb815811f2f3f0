// What discovery and announcements say, and what is to be made of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <nlohmann/json.hpp>

#include "cli/near_names.hpp"
#include "cli/output.hpp"
#include "doctor/link_findings.hpp"
#include "doctor/wire_findings.hpp"
#include "host/port_owners.hpp"
#include "impl/sensors/sensor_tables.hpp"
#include "messages/message_decoder.hpp"
#include "model/model_channels.hpp"
#include "network/channel.hpp"
#include "network/domain_probe.hpp"
#include "network/held_channels.hpp"
#include "ovimux/dds/envelope.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::tools {
namespace {

using ::testing::HasSubstr;

// An endpoint of a process, and what it announces of it.
struct Held {
  std::string topic;
  bool is_writer;
  std::string message;  // Announced type; empty: not announced.
  std::string dds_type = ovimux::kSmallEnvelopeName;
  bool is_latched = false;
  bool is_reliable = true;
};
constexpr bool kWriter = true;
constexpr bool kReader = false;
const std::string kLarge = ovimux::kLargeEnvelopeName;
const std::string kSmall = ovimux::kSmallEnvelopeName;

Member process(uint8_t number, const std::vector<Held>& endpoints) {
  Member member;
  member.peer.id[0] = number;
  member.owner = {"robot", number, "k2", ""};
  auto announcement = std::make_shared<ovimux::proto::TopologyState>();
  for (const Held& held : endpoints) {
    EndpointId id{number};
    id.back() = static_cast<uint8_t>(member.peer.endpoints.size());
    auto& dds = member.peer.endpoints[id];
    dds.topic = held.topic;
    dds.type = held.dds_type;
    dds.is_writer = held.is_writer;
    dds.is_latched = held.is_latched;
    dds.is_reliable = held.is_reliable;
    const auto side = service_side(held.topic);
    if (!held.message.empty() && !(side && !side->is_request)) {
      auto& role = *announcement->add_roles();
      role.set_channel_name(side ? side->service : held.topic);
      role.set_message_type(held.message);
      const auto of_service = held.is_writer ? ovimux::proto::ROLE_TYPE_CLIENT : ovimux::proto::ROLE_TYPE_SERVER;
      const auto of_topic = held.is_writer ? ovimux::proto::ROLE_TYPE_WRITER : ovimux::proto::ROLE_TYPE_READER;
      role.set_role_type(side ? of_service : of_topic);
    }
  }
  member.announcement = announcement->roles().empty() ? nullptr : announcement;
  return member;
}

TEST(FindTarget, tells_what_to_listen_to_or_why_not) {
  const Picture picture = {process(7, {{"camera", kReader, "raw", kLarge},
                                       {"camera", kWriter, "p.Image", kLarge},
                                       {"pose", kWriter, "p.Pose", kSmall, true},
                                       {"wish", kReader, "p.Wish"},
                                       {"mixed", kWriter, "", "odd::Type"},
                                       {"mixed", kWriter, "p.Mixed", kSmall, true, false},
                                       {"plan__RPC__REQUEST", kReader, "p.Plan", kLarge},
                                       {"plan__RPC__RESPONSE", kWriter, "p.Plan", kLarge},
                                       {"half__RPC__REQUEST", kReader, ""},
                                       {"ovimux/own", kWriter, ""}}),
                           process(8, {{"bms", kWriter, ""},
                                       {"tavrinox/wbcs/target_server__RPC__REQUEST", kReader, "", kLarge},
                                       {"tavrinox/wbcs/target_server__RPC__RESPONSE", kWriter, "", kLarge},
                                       {"tavrinox/wbcs/error", kWriter, "", "odd::Type"}})};
  struct Case {
    std::string topic;
    std::string type;  // Empty: not found.
    std::string dds_type;
    bool latched;
    bool reliable;
    std::string complaint;
  };
  const Case cases[] = {
      {"camera", "p.Image", kLarge, false, true, ""},
      {"pose", "p.Pose", kSmall, true, true, ""},
      {"mixed", "p.Mixed", kSmall, true, false, ""},
      {"bms", "raw", kSmall, false, true, ""},
      {"tavrinox/wbcs/error", "unknown", "odd::Type", false, true, ""},
      {"plan__RPC__REQUEST", "p.Plan", kLarge, false, true, ""},
      {"plan__RPC__RESPONSE", "unknown", kLarge, false, true, ""},
      {"tavrinox/wbcs/target_server__RPC__RESPONSE", "norvik.tavrinox_proto.TavrinoXError", kLarge, false, true, ""},
      {"half__RPC__REQUEST", "unknown", kSmall, false, true, ""},
      {"plan", "", "", false, false, "\"plan\" is a service|its requests: plan__RPC__REQUEST"},
      {"wish", "", "", false, false, "nobody publishes \"wish\"|robot (7) on k2 reads it"},
      {"camrea", "", "", false, false, "nobody has a topic \"camrea\"|did you mean: camera"},
      {"half", "", "", false, false, "nobody has a topic"},
      {"wish__RPC__REQUEST", "", "", false, false, "nobody has a topic"},
      {"__RPC__REQUEST", "", "", false, false, "nobody has a topic"},
      {"", "", "", false, false, "nobody has a topic"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.topic);
    ListenTarget target;
    Complaint complaint;
    EXPECT_EQ(find_target(picture, c.topic, target, complaint), !c.type.empty());
    std::string text = complaint.text;
    for (const std::string& hint : complaint.hints) {
      text += "|" + hint;
    }
    EXPECT_THAT(text, HasSubstr(c.complaint));
    if (!c.type.empty()) {
      EXPECT_EQ(target.topic, c.topic);
      EXPECT_EQ(target.type, c.type);
      EXPECT_EQ(target.dds_type, c.dds_type);
      EXPECT_EQ(target.is_latched, c.latched);
      EXPECT_EQ(target.is_reliable, c.reliable);
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

TEST(LinkFindings, endpoints_that_cannot_understand_each_other) {
  struct Case {
    const char* name;
    Held sender;
    Held receiver;
    Level level;
    const char* text;
  };
  const Case cases[] = {
      {"fit", {"t", kWriter, "A", kLarge}, {"t", kReader, "A", kLarge}, Level::kOk, "1, writers and readers fit"},
      {"raw reader fits all", {"t", kWriter, "A"}, {"t", kReader, "raw"}, Level::kOk, "fit"},
      {"latched writer", {"t", kWriter, "A", kSmall, true}, {"t", kReader, "A"}, Level::kOk, "fit"},
      {"envelope", {"t", kWriter, "A", kLarge}, {"t", kReader, "A"}, Level::kProblem, "large envelope"},
      {"foreign", {"t", kWriter, "", "x::Y"}, {"t", kReader, "A"}, Level::kProblem, "DDS type x::Y is sent"},
      {"history", {"t", kWriter, "A"}, {"t", kReader, "A", kSmall, true}, Level::kProblem, "does not keep it"},
      {"reliability", {"t", kWriter, "A", kSmall, false, false}, {"t", kReader, "A"}, Level::kProblem, "best effort"},
      {"type", {"t", kWriter, "A"}, {"t", kReader, "B"}, Level::kProblem, "A is sent, B is expected"},
      {"internal", {"ovimux/t", kWriter, "", kLarge}, {"ovimux/t", kReader, ""}, Level::kOk, "fit"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Findings findings = judge_compatibility({process(1, {c.sender}), process(2, {c.receiver})}, "");
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].level, c.level);
    EXPECT_THAT(findings[0].text, HasSubstr(c.text));
  }
}

TEST(WireFindings, more_servers_than_one) {
  const std::vector<Held> server = {{"a__RPC__REQUEST", kReader, "A"},
                                    {"a__RPC__RESPONSE", kWriter, "A"},
                                    {"b__RPC__REQUEST", kReader, "B"},
                                    {"b__RPC__RESPONSE", kWriter, "B"}};
  const std::vector<Held> client = {{"a__RPC__REQUEST", kWriter, "A"}, {"a__RPC__RESPONSE", kReader, "A"}};
  EXPECT_TRUE(judge_servers(channels_of({process(1, server), process(2, client), process(3, client)})).empty());
  const Findings findings = judge_servers(channels_of({process(1, server), process(2, server)}));
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].level, Level::kProblem);
  EXPECT_EQ(findings[0].text, "\"a\", \"b\" are answered by 2 servers: robot (1) on k2, robot (2) on k2");
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
      {"clocks agree", judge_clocks({{"a", {0.001}}, {"b", {-0.049}}}), 1, Level::kOk, "2 processes agree"},
      {"clock ahead", judge_clocks({{"a", {0.001}}, {"b", {-0.25, -0.25, 7.0}}}), 1, Level::kWarning,
       "b is 0.250 s ahead of"},
      {"clock far behind", judge_clocks({{"a", {90.0}}}), 1, Level::kProblem, "a is 90.000 s behind"},
      {"no stream, no verdict", judge_clocks({}), 0, Level::kOk, ""},
      {"losses", judge_losses({{"a", 0}, {"b", 3}}), 1, Level::kWarning, "3 samples of \"b\""},
      {"wrong domain", {judge_silence(0, {{7, "this machine"}})}, 1, Level::kProblem, "domain 7 (this machine)"},
      {"emergency stop", judge_robot(robot, "k2"), 2, Level::kWarning, "emergency stop is pressed"},
      {"other model", judge_robot({{"robot_type", "R5"}}, "k2"), 2, Level::kProblem, "the robot is a r5, not a k2"},
      {"a model of the future", judge_robot({{"robot_type", 9}}, "k2"), 2, Level::kProblem, "is a model number 9, not"},
      {"untold model", judge_robot({{"robot_type", "UNKNOWN_ROBOT_TYPE"}}, "k2"), 2, Level::kWarning, "does not tell"},
      {"report of wrong types", judge_robot({{"robot_type", {}}, {"emergency_stop", "yes"}}, ""), 1, Level::kOk, ""},
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

// Envelope and history as the library asks for them, type as it decodes.
TEST(ModelChannels, are_as_the_library_opens_them) {
  for (const auto& camera : sdk::camera_channels()) {
    ASSERT_NE(known_channel(camera.info_topic), nullptr) << camera.info_topic;
    EXPECT_TRUE(known_channel(camera.image_topic)->large);
    EXPECT_FALSE(known_channel(camera.info_topic)->large);
  }
  for (const auto& arm : sdk::arm_camera_channels()) {
    ASSERT_NE(known_channel(arm.param_topic), nullptr) << arm.param_topic;
    EXPECT_TRUE(known_channel(arm.param_topic)->latched);
    EXPECT_NE(known_channel(arm.infrared[0].image_topic), nullptr);
  }
  for (const auto& imu : sdk::imu_channels(sdk::MachineType::R5)) {
    EXPECT_EQ(known_channel(imu.topic)->large, imu.is_stream) << imu.topic;
  }
  for (const auto& channel : channels_of_model("k2")) {
    for (const std::string& type : {channel.type, channel.response_type}) {
      EXPECT_TRUE(type.empty() || type == kRawType || MessageDecoder(std::string(), type).is_usable()) << type;
    }
  }
}

TEST(PortOwners, reads_the_systems_table) {
  const std::string table =
      "   sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode ref pointer\n"
      "  430: 0100007F:1CF2 00000000:0000 07 00000000:00000000 00:00000000 00000000     0        0 4711 2 0 0\n"
      "  431: 0200007F:1CF2 00000000:0000 07 00000000:00000000 00:00000000 00000000     0        0 4712 2 0 0\n"
      "broken";
  EXPECT_EQ(inodes_of_udp_ports(table), (std::map<uint16_t, std::set<uint64_t>>{{7410, {4711, 4712}}}));
}

TEST(WithoutControls, takes_from_a_terminal_what_it_would_obey) {
  EXPECT_EQ(without_controls("a\x1B[2J\x7F\xC2\x9B grüß\tGott\n"), "a?[2J?? grüß\tGott\n");
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

// The simulator as its peers see it, without the library.
#include <unistd.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/TypeSupport.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

#include "norvik/tavrinox_proto/tavrinox_command.pb.h"
#include "norvik/tavrinox_proto/tavrinox_controller.pb.h"
#include "norvik/tavrinox_proto/tavrinox_error.pb.h"
#include "norvik/tavrinox_proto/tavrinox_info.pb.h"
#include "norvik/tavrinox_proto/tavrinox_sensor.pb.h"
#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "support/simulator_process.hpp"

namespace norvik::test {
namespace {

namespace dds = eprosima::fastdds::dds;
using namespace std::chrono_literals;
using tavrinox_proto::TavrinoXController;
using tavrinox_proto::TavrinoXError;
using tavrinox_proto::TavrinoXTarget;
using tavrinox_proto::WBCInfo;
using TargetClient = ovimux::SerializationClient<TavrinoXTarget, TavrinoXError>;

constexpr const char* kTargetServer = "tavrinox/wbcs/target_server";

bool eventually(const std::function<bool()>& condition, std::chrono::seconds limit = 20s) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

TavrinoXTarget head_target(double position, double time_s) {
  TavrinoXTarget target;
  auto& head = (*target.mutable_target_group_trajectory_map())["head"];
  head.mutable_target_config()->set_target_data(255);
  head.mutable_target_config()->set_target_type(14);
  auto& command = *head.add_group_commands();
  command.mutable_time_from_start()->set_sec(time_s);
  for (const char* joint : {"head_joint1", "head_joint2"}) {
    head.add_joint_names(joint);
    command.add_joint_commands()->set_position(position);
  }
  return target;
}

// A peer of the simulator on the wire.
class Peer {
 public:
  Peer() {
    ovimux::OvimuxInit();
    node_ = ovimux::CreateNode("peer", "");
    ovimux::RpcQos qos;
    qos.payload_kind = ovimux::kLargePayloadKind;
    target_client = node_->CreateClient<TavrinoXTarget, TavrinoXError>(kTargetServer, qos);
    raw_target_client = node_->CreateClient(kTargetServer, qos, false);
    raw_target_writer = node_->CreateWriter("tavrinox/wbcs/target", {}, false);
    info_reader_ = node_->CreateReader<WBCInfo>("tavrinox/wbcs/wbc_info",
                                                [this](const std::shared_ptr<WBCInfo>& message, const void*) {
                                                  const std::lock_guard<std::mutex> lock(mutex_);
                                                  info_ = message;
                                                  ++info_count_;
                                                },
                                                {});
    target_client->WaitForServerConnected(20s);
    raw_target_client->WaitForServerConnected(20s);
  }

  // Of the head in the latest report; empty before the first.
  std::optional<tavrinox_proto::GroupInfo> head() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return info_ ? std::optional(info_->group_info_map().at("head")) : std::nullopt;
  }
  int info_count() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return info_count_;
  }

 private:
  std::unique_ptr<ovimux::Node> node_;
  std::mutex mutex_;
  std::shared_ptr<WBCInfo> info_;
  int info_count_ = 0;
  std::shared_ptr<ovimux::SerializationReader<WBCInfo>> info_reader_;

 public:
  std::shared_ptr<TargetClient> target_client;
  std::shared_ptr<ovimux::RawClient> raw_target_client;
  std::shared_ptr<ovimux::RawWriter> raw_target_writer;
};

TEST(SimulatorProgram, BadArgumentsEndWithStatus2) {
  const std::string bad_file = ::testing::TempDir() + "bad_faults_" + std::to_string(::getpid());
  const std::string unknown_op = bad_file + "_op";
  std::ofstream(bad_file) << "{\"op\":\"state\"}";
  std::ofstream(unknown_op) << R"([{"op":"fly"}])";
  const std::vector<std::vector<std::string>> rows = {{"--model", "q7"},
                                                      {"--rate", "0"},
                                                      {"--rate", "fast"},
                                                      {"--hand", "hook"},
                                                      {"--camera-size", "64x480"},
                                                      {"--camera-size", "640x480x"},
                                                      {"--speaker-folder", "/no/such/folder"},
                                                      {"--nonsense"},
                                                      {"--faults", bad_file},
                                                      {"--faults", "/no/such/file"},
                                                      {"--faults", unknown_op},
                                                      {"--hardware-version", "banana"},
                                                      {"--hardware-version", "2."},
                                                      {"positional"}};
  for (const auto& arguments : rows) {
    SCOPED_TRACE(arguments[0] + " " + arguments.back());
    EXPECT_EQ(run_simulator(arguments).exit_status, 2);
  }
  EXPECT_EQ(run_simulator({"--help"}).exit_status, 0);
  ::unlink(bad_file.c_str());
  ::unlink(unknown_op.c_str());
}

constexpr int kOccupied = 3;

TEST(SimulatorProgram, RefusesADomainThatAnotherRobotServes) {
  SimulatorProcess first;
  ASSERT_TRUE(first.start());
  EXPECT_EQ(run_simulator({"--model", "r5"}).exit_status, kOccupied);
  {
    SimulatorProcess forced({"--model", "r5", "--force"});
    EXPECT_TRUE(forced.start());
    EXPECT_EQ(forced.terminate(), 0);
  }
  ASSERT_TRUE(first.restart());  // A robot that was killed does not stand in the way of its successor.
  EXPECT_EQ(first.terminate(), 0);
  EXPECT_TRUE(first.start());
}

// The type that large payloads have on the wire; no sample of it is ever made.
class PlainType : public dds::TopicDataType {
  using Payload = eprosima::fastrtps::rtps::SerializedPayload_t;

 public:
  PlainType() {
    setName("ovimux_idl::data10m");
    m_typeSize = 1024;
  }
  bool serialize(void*, Payload*) override { return false; }
  bool deserialize(Payload*, void*) override { return false; }
  std::function<uint32_t()> getSerializedSizeProvider(void*) override {
    return [] { return 0; };
  }
  void* createData() override { return nullptr; }
  void deleteData(void*) override {}
  bool getKey(void*, eprosima::fastrtps::rtps::InstanceHandle_t*, bool) override { return false; }
};

// A robot's service that announces nothing but its endpoints, with the defaults of Fast DDS.
class PlainServer {
 public:
  explicit PlainServer(const std::string& service) {
    participant_ = factory_->create_participant(domain(), dds::PARTICIPANT_QOS_DEFAULT);
    dds::TypeSupport(new PlainType).register_type(participant_);
    dds::DataReaderQos reliable = dds::DATAREADER_QOS_DEFAULT;
    reliable.reliability().kind = dds::RELIABLE_RELIABILITY_QOS;
    participant_->create_subscriber(dds::SUBSCRIBER_QOS_DEFAULT)
        ->create_datareader(topic(service + "__RPC__REQUEST"), reliable);
    participant_->create_publisher(dds::PUBLISHER_QOS_DEFAULT)
        ->create_datawriter(topic(service + "__RPC__RESPONSE"), dds::DATAWRITER_QOS_DEFAULT);
  }
  ~PlainServer() {
    participant_->delete_contained_entities();
    factory_->delete_participant(participant_);
  }
  PlainServer(const PlainServer&) = delete;
  PlainServer& operator=(const PlainServer&) = delete;

 private:
  static uint32_t domain() { return static_cast<uint32_t>(std::stoul(std::getenv("OVIMUX_DOMAIN_ID"))); }
  dds::Topic* topic(const std::string& name) {
    return participant_->create_topic(name, "ovimux_idl::data10m", dds::TOPIC_QOS_DEFAULT);
  }

  std::shared_ptr<dds::DomainParticipantFactory> factory_ = dds::DomainParticipantFactory::get_shared_instance();
  dds::DomainParticipant* participant_ = nullptr;
};

TEST(SimulatorProgram, RefusesADomainOfARobotOnPlainFastDds) {
  const PlainServer robot("tavrinox/wbcs/controller_server");
  EXPECT_EQ(run_simulator({}).exit_status, kOccupied);
}

// A machine that stands still for a while.
TEST(SimulatorProgram, CountsTheTimeThatItDrops) {
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  SimulatorControl control;
  const double before = control.state()["dropped_s"];
  ASSERT_EQ(::kill(simulator.pid(), SIGSTOP), 0);
  std::this_thread::sleep_for(600ms);
  ASSERT_EQ(::kill(simulator.pid(), SIGCONT), 0);
  EXPECT_TRUE(eventually([&] { return control.state()["dropped_s"] > before + 0.4; }));
}

TEST(SimulatorProgram, ListNamesEveryEndpointOnce) {
  struct Row {
    const char* model;
    size_t lines;
  };
  for (const Row& row : {Row{"k2", 76}, Row{"r5", 61}}) {
    SCOPED_TRACE(row.model);
    const ProgramResult result = run_simulator({"--model", row.model, "--list"});
    EXPECT_EQ(result.exit_status, 0);
    std::istringstream lines(result.output);
    std::set<std::string> names;
    for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      std::string verb, name, type;
      words >> verb >> name >> type;
      EXPECT_TRUE(verb == "publishes" || verb == "subscribes" || verb == "serves") << line;
      EXPECT_FALSE(type.empty()) << line;
      EXPECT_TRUE(names.insert(name).second) << line;
    }
    EXPECT_EQ(names.size(), row.lines);
    for (const char* name :
         {"tavrinox/wbcs/target", kTargetServer, "tavrinox/wbcs/controller_server", "tavrinox/wbcs/error",
          "tavrinox/wbcs/wbc_info", "tavrinox/wbcs/sensor", "/odom/base_link", "/norvik/mission_manager/onboard_config",
          "/ovimux_tf", "/ovimux_tf_static", "bms", "norvik_simulator/control"}) {
      EXPECT_EQ(names.count(name), 1u) << name;
    }
  }
}

TEST(SimulatorProgram, EndsCleanlyOnSignalsAndWhenAbandoned) {
  for (const char* model : {"k2", "r5"}) {
    SimulatorProcess simulator({"--model", model});
    ASSERT_TRUE(simulator.start());
    EXPECT_EQ(simulator.terminate(), 0) << model;
  }
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  ASSERT_EQ(::kill(simulator.pid(), SIGINT), 0);
  EXPECT_EQ(simulator.wait_for_exit(10s), 0);
  ASSERT_TRUE(simulator.start());
  simulator.abandon();
  EXPECT_EQ(simulator.wait_for_exit(10s), 0);
}

TEST(SimulatorWire, MotionTakesItsTimeAndIsReported) {
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  Peer peer;
  const auto start = std::chrono::steady_clock::now();
  const auto answer = peer.target_client->SendRequest(head_target(0.4, 1.0), 5s);
  ASSERT_TRUE(answer);
  EXPECT_TRUE(answer->error_map().empty());
  ASSERT_TRUE(eventually([&] { return peer.head() && !peer.head()->target_info().sampling_finished(); }));
  ASSERT_TRUE(eventually([&] { return peer.head()->target_info().target_finished(); }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 950ms);
  EXPECT_LT(peer.head()->error_final_pos_norm(), 0.001);
}

// What tests look at in order to see that the robot stands still.
TEST(SimulatorWire, StateTellsOfMotion) {
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  Peer peer;
  SimulatorControl control;
  EXPECT_EQ(control.state()["at_rest"], true);
  EXPECT_EQ(control.state()["open_tasks"], nlohmann::json::array());
  ASSERT_TRUE(peer.target_client->SendRequest(head_target(0.4, 1.0), 5s));
  nlohmann::json state;
  ASSERT_TRUE(eventually([&] { return (state = control.state())["at_rest"] == false; }));
  EXPECT_EQ(state["open_tasks"], nlohmann::json::array({"head"}));
  const auto& joint = state["groups"]["head"]["joints"]["head_joint1"];
  EXPECT_NEAR(joint["velocity"], 0.4, 0.01);
  EXPECT_EQ(joint["target"], 0.4);
  EXPECT_EQ(state["controllers"]["head"], "head_pvt_ctrl");
  ASSERT_TRUE(eventually([&] { return (state = control.state())["at_rest"] == true; }));
  EXPECT_NEAR(state["groups"]["head"]["joints"]["head_joint2"]["position"], 0.4, 1e-9);
  EXPECT_EQ(state["open_tasks"], nlohmann::json::array());
}

TEST(SimulatorWire, FatalErrorStopsASharpaHand) {
  using tavrinox_proto::GroupCommand;
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  SimulatorControl control;
  const auto node = ovimux::CreateNode("hand", "");
  std::atomic<double> position{0.0};
  std::atomic<double> velocity{0.0};
  const auto reader = node->CreateReader<tavrinox_proto::TavrinoXSensor>(
      "/endtool/sharpa_dexhand_L/joint",
      [&](const std::shared_ptr<tavrinox_proto::TavrinoXSensor>& message, const void*) {
        const auto& hand = message->joint_sensor_map().at("left_dexhand");
        position = hand.position(0);
        velocity = hand.velocity(0);
      },
      {});
  const auto writer = node->CreateWriter<GroupCommand>("/endtool/sharpa_dexhand_L/command_noblock", {});
  const auto command = std::make_shared<GroupCommand>();
  for (int i = 0; i < 22; ++i) {
    command->add_joint_commands()->set_position(100.0);
    command->mutable_joint_commands(i)->set_velocity(50.0);
  }
  ASSERT_TRUE(eventually([&] { return writer->Publish(command) && position > 1.0; }));
  const auto fault = [&](int code) {
    ASSERT_TRUE(control.send({{"op", "error"}, {"group", "left_dexhand"}, {"code", code}})["ok"]);
  };
  fault(0x30000);
  ASSERT_TRUE(eventually([&] { return velocity == 0.0; }));
  const double stopped_at = position;
  EXPECT_LT(stopped_at, 95.0);
  const int heard = control.state()["counters"]["/endtool/sharpa_dexhand_L/command_noblock"];
  ASSERT_TRUE(writer->Publish(command));
  ASSERT_TRUE(
      eventually([&] { return control.state()["counters"]["/endtool/sharpa_dexhand_L/command_noblock"] > heard; }));
  const int steps = control.state()["steps"];
  ASSERT_TRUE(eventually([&] { return control.state()["steps"] > steps + 20; }));
  EXPECT_EQ(position, stopped_at);
  fault(0);
  ASSERT_TRUE(eventually([&] { return writer->Publish(command) && position > stopped_at + 1.0; }));
}

TEST(SimulatorWire, FaultsOfReplies) {
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  Peer peer;
  SimulatorControl control;
  struct Row {
    const char* fault;
    int delay_ms;
    bool answered;
    int32_t error_code;  // Of the head in the answer.
  };
  const Row rows[] = {{"reject", 0, true, 0x30001}, {"lose", 0, false, 0},     {"delay", 1500, false, 0},
                      {"delay", 100, true, 0},      {"duplicate", 0, true, 0}, {"none", 0, true, 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.fault);
    ASSERT_TRUE(control.send(
        {{"op", "reply"}, {"service", kTargetServer}, {"fault", row.fault}, {"delay_ms", row.delay_ms}})["ok"]);
    const auto answer = peer.target_client->SendRequest(head_target(0.1, 0.1), 1s);
    ASSERT_EQ(answer != nullptr, row.answered);
    if (answer) {
      const auto& errors = answer->error_map();
      const auto head = errors.find("head_max_error_level");
      EXPECT_EQ(head == errors.end() ? 0 : head->second.error_code(), row.error_code);
    }
    // The fault befell one request only.
    const auto next = peer.target_client->SendRequest(head_target(0.1, 0.1), 5s);
    ASSERT_TRUE(next);
    EXPECT_TRUE(next->error_map().empty());
  }
}

TEST(SimulatorWire, SurvivesGarbage) {
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  Peer peer;
  SimulatorControl control;
  const std::string garbage[] = {"", std::string(1, '\0'), "\xff\xff\xff\xff", std::string(60000, '\x0f'),
                                 head_target(0.1, 0.1).SerializeAsString().substr(0, 40)};
  for (const std::string& bytes : garbage) {
    SCOPED_TRACE(bytes.size());
    EXPECT_TRUE(peer.raw_target_writer->Publish(bytes));
    const auto answer = peer.raw_target_client->SendRequest(bytes, 5s);
    ASSERT_TRUE(answer);
    TavrinoXError error;
    ASSERT_TRUE(error.ParseFromString(*answer));
    EXPECT_EQ(error.error_map().empty(), bytes.empty());  // No bytes are a message that asks for nothing.
  }
  for (const char* text :
       {"", "{", "[]", "7", "{}", "{\"op\":7}", "{\"op\":\"fly\"}", "{\"op\":\"error\",\"group\":\"head\"}",
        "{\"op\":\"topic\",\"topic\":\"x\",\"fault\":\"silent\"}", "\xff\xfe",
        "{\"op\":\"set_positions\",\"positions\":{\"head_joint1\":9}}"}) {
    SCOPED_TRACE(text);
    const auto answer = control.send_text(text);
    EXPECT_EQ(answer.value("ok", true), false);
    EXPECT_NE(answer.value("error", ""), "");
    EXPECT_EQ(answer.value("error", "").find("json.exception"), std::string::npos);
  }
  EXPECT_EQ(control.state()["ok"], true);
}

TEST(SimulatorWire, SilentTopicFrozenJointCrashAndRestart) {
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  Peer peer;
  SimulatorControl control;
  ASSERT_TRUE(eventually([&] { return peer.info_count() > 0; }));

  ASSERT_TRUE(control.send({{"op", "topic"}, {"topic", "tavrinox/wbcs/wbc_info"}, {"fault", "silent"}})["ok"]);
  const int steps_before = control.state()["steps"];
  const int count_before = peer.info_count();
  ASSERT_TRUE(eventually([&] { return control.state()["steps"] > steps_before + 50; }));
  EXPECT_LE(peer.info_count(), count_before + 2);  // What was on its way.
  ASSERT_TRUE(control.send({{"op", "freeze"}, {"joints", {"head_joint1"}}})["ok"]);
  ASSERT_TRUE(control.send({{"op", "topic"}, {"topic", "tavrinox/wbcs/wbc_info"}, {"fault", "none"}})["ok"]);
  ASSERT_TRUE(peer.target_client->SendRequest(head_target(0.3, 0.2), 5s));
  ASSERT_TRUE(eventually([&] {
    return peer.head()->target_info().sampling_finished() && std::abs(peer.head()->error_final_pos_norm() - 0.3) < 1e-3;
  }));

  control.send({{"op", "crash"}}, 1s);
  EXPECT_EQ(simulator.wait_for_exit(10s), 1);
  ASSERT_TRUE(simulator.restart());
  ASSERT_TRUE(eventually([&] {
    const auto answer = peer.target_client->SendRequest(head_target(0.2, 0.2), 1s);
    return answer != nullptr && answer->error_map().empty();
  }));
}

TEST(SimulatorWire, MalformedPayloadsUntilCleared) {
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  SimulatorControl control;
  std::atomic<bool> last_is_malformed{false};
  std::atomic<int> received{0};
  const auto node = ovimux::CreateNode("listener", "");
  const auto reader = node->CreateReader(
      "tavrinox/wbcs/error",
      [&](const void* data, int size, const void*) {
        TavrinoXError error;
        last_is_malformed = !error.ParseFromArray(data, size);
        ++received;
      },
      {}, nullptr, false);
  ASSERT_TRUE(eventually([&] { return received > 0; }));
  for (const bool malformed : {false, true, false}) {
    const char* fault = malformed ? "malformed" : "none";
    ASSERT_TRUE(control.send({{"op", "topic"}, {"topic", "tavrinox/wbcs/error"}, {"fault", fault}})["ok"]);
    const int before = received;
    EXPECT_TRUE(eventually([&] { return received > before + 1 && last_is_malformed == malformed; })) << fault;
  }
}

TEST(SimulatorWire, TimedFaultsFromAFile) {
  const std::string file = ::testing::TempDir() + "faults_" + std::to_string(::getpid());
  std::ofstream(file) << R"([{"op":"error","group":"leg","code":196608,"at_s":0.2,"description":"from the file"}])";
  SimulatorProcess simulator({"--model", "k2", "--faults", file});
  ASSERT_TRUE(simulator.start());
  SimulatorControl control;
  EXPECT_TRUE(eventually([&] { return control.state()["errors"].contains("leg"); }));
  EXPECT_EQ(control.state()["errors"]["leg"]["description"], "from the file");
  ::unlink(file.c_str());
}

}  // namespace
}  // namespace norvik::test

// However an application ends, and whatever became of the robot: at once, with its own exit status.

#include <stdlib.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <thread>

#include "live/live_robot.hpp"
#include "live/self_process.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;
using sdk::NorvikRobot;

constexpr int kStatus = 7;

std::filesystem::path in_home(const std::string& file) { return std::filesystem::path(std::getenv("HOME")) / file; }

void create(const std::string& file) { std::ofstream(in_home(file)) << "x"; }

bool await(const std::string& file) {
  return eventually([&] { return std::filesystem::exists(in_home(file)); });
}

NorvikRobot& robot() { return NorvikRobot::get_instance(sdk::MachineType::K2); }

// Each role tells that it is ready, waits until the robot has met its fate, and ends.
void be_ready() {
  create("ready");
  await("go");
}

bool has_started() {
  return robot().init() && eventually([] { return robot().get_joint_states({"head"}).size() == 2; });
}

int play_return() {
  if (!has_started()) return 1;
  be_ready();
  return kStatus;
}

int play_exit() {
  if (!has_started()) return 1;
  be_ready();
  std::exit(kStatus);
}

int play_shutdown() {
  if (!has_started()) return 1;
  be_ready();
  robot().request_shutdown();
  robot().wait_for_shutdown();
  robot().destroy();
  return kStatus;
}

// Another thread waits for a motion of 30 s.
int play_moving() {
  if (!has_started()) return 1;
  std::thread([] { robot().set_joint_positions({1.5, 0.0}, {"head"}, {}, true, 0.05, 60.0); }).detach();
  if (!eventually([] { return robot().get_joint_positions({"head"})[0] > 0.01; })) return 2;
  be_ready();
  return kStatus;
}

// Another thread waits for an answer that does not come.
int play_requesting() {
  if (!has_started()) return 1;
  SimulatorControl control;
  control.send({{"op", "reply"}, {"service", "tavrinox/wbcs/controller_server"}, {"fault", "lose"}, {"count", -1}});
  std::thread([] { robot().start_controller("all"); }).detach();
  if (!eventually([&] { return control.state()["counters"].value("tavrinox/wbcs/controller_server", 0) > 0; }))
    return 2;
  be_ready();
  return kStatus;
}

// Another thread waits for a robot that has never been there.
int play_init() {
  std::thread([] { robot().init(); }).detach();
  const auto is_waiting = [] {
    std::error_code error;
    for (const auto& log : std::filesystem::directory_iterator(in_home("norvik_sdk_log/k2"), error)) {
      std::ifstream file(log.path());
      const std::string text{std::istreambuf_iterator<char>(file), {}};
      if (text.find("wbc interface init success") != std::string::npos) return true;
    }
    return false;
  };
  if (!eventually(is_waiting)) return 1;
  be_ready();
  return kStatus;
}

const std::map<std::string, int (*)()>& roles() {
  static const std::map<std::string, int (*)()> kRoles = {{"return", play_return},         {"exit", play_exit},
                                                          {"shutdown", play_shutdown},     {"moving", play_moving},
                                                          {"requesting", play_requesting}, {"init", play_init}};
  return kRoles;
}

enum class Fate { kAlive, kDead, kNeverSeen };

struct Row {
  std::string name;
  std::string role;
  Fate fate;
};
std::ostream& operator<<(std::ostream& stream, const Row& row) { return stream << row.name; }

class ProcessExit : public ::testing::TestWithParam<Row> {};

TEST_P(ProcessExit, IsPromptAndKeepsItsStatus) {
  const TempDir home;
  ::setenv("HOME", home.path().c_str(), 1);
  SimulatorProcess simulator;
  if (GetParam().fate != Fate::kNeverSeen) {
    ASSERT_TRUE(simulator.start());
  }
  SelfProcess process(GetParam().role);
  ASSERT_TRUE(await("ready"));
  if (GetParam().fate == Fate::kDead) {
    simulator.kill_hard();
  }
  create("go");
  EXPECT_EQ(process.wait_for_exit(5s), kStatus);
}

INSTANTIATE_TEST_SUITE_P(
    All, ProcessExit,
    ::testing::Values(Row{"ReturnAlive", "return", Fate::kAlive}, Row{"ReturnDead", "return", Fate::kDead},
                      Row{"ExitDead", "exit", Fate::kDead}, Row{"ShutdownAlive", "shutdown", Fate::kAlive},
                      Row{"ShutdownDead", "shutdown", Fate::kDead}, Row{"MovingAlive", "moving", Fate::kAlive},
                      Row{"MovingDead", "moving", Fate::kDead}, Row{"RequestingAlive", "requesting", Fate::kAlive},
                      Row{"RequestingDead", "requesting", Fate::kDead}, Row{"InitNeverSeen", "init", Fate::kNeverSeen}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test

int main(int argc, char** argv) {
  const auto role = norvik::test::roles().find(norvik::test::role_of_this_process());
  if (role != norvik::test::roles().end()) {
    return role->second();
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

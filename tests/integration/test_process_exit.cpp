// However an application ends, and whatever became of the robot: at once, with its own exit status.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "live/self_process.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;

constexpr int kStatus = 7;

sdk::NorvikRobot& robot() { return sdk::NorvikRobot::get_instance(sdk::MachineType::K2); }

std::filesystem::path in_home(const std::string& file) { return std::filesystem::path(std::getenv("HOME")) / file; }

void create(const std::string& file) { std::ofstream(in_home(file)) << "x"; }

bool await(const std::string& file) {
  return eventually([&] { return std::filesystem::exists(in_home(file)); });
}

bool has_logged(const std::string& text) {
  std::error_code error;
  for (const auto& log : std::filesystem::directory_iterator(in_home("norvik_sdk_log/k2"), error)) {
    std::ifstream file(log.path());
    return std::string(std::istreambuf_iterator<char>(file), {}).find(text) != std::string::npos;
  }
  return false;
}

bool starts() {
  return robot().init() && eventually([] {
           return robot().set_joint_positions({0, 0}, {"head"}, {}, false, 0) == sdk::ControlStatus::INVALID_INPUT;
         });
}

// Each leaves another thread waiting for something that takes longer than this process lives.
bool wait_for_motion() {
  std::thread([] { robot().set_joint_positions({1.5, 0.0}, {"head"}, {}, true, 0.05, 60.0); }).detach();
  return eventually([] { return robot().get_joint_positions({"head"})[0] > 0.01; });
}

bool wait_for_answer() {
  const std::string service = "tavrinox/wbcs/controller_server";
  SimulatorControl control;
  control.send({{"op", "reply"}, {"service", service}, {"fault", "lose"}, {"count", -1}});
  std::thread([] { robot().start_controller("all"); }).detach();
  return eventually([&] { return control.state()["counters"].value(service, 0) > 0; });
}

bool wait_for_robot() {
  std::thread([] { robot().init(); }).detach();
  return eventually([] { return has_logged("wbc interface init success"); });
}

// The role is what the process is doing, and how it ends once the robot has met its fate.
int play(const std::string& role) {
  const auto has = [&](const char* word) { return role.find(word) != std::string::npos; };
  if (has("unborn") ? !wait_for_robot() : !starts()) return 1;
  if (has("moving") && !wait_for_motion()) return 2;
  if (has("asking") && !wait_for_answer()) return 3;
  create("ready");
  await("go");
  if (has("exit")) {
    std::exit(kStatus);
  }
  if (has("shutdown")) {
    robot().request_shutdown();
    robot().wait_for_shutdown();
    robot().destroy();
  }
  return kStatus;
}

class ProcessExit : public ::testing::TestWithParam<const char*> {};

TEST_P(ProcessExit, IsPromptAndKeepsItsStatus) {
  const std::string role = GetParam();
  const TempDir home;
  ::setenv("HOME", home.path().c_str(), 1);
  SimulatorProcess simulator;
  ASSERT_TRUE(role.find("unborn") != std::string::npos || simulator.start());
  SelfProcess process(role);
  ASSERT_TRUE(await("ready"));
  if (role.find("dead") != std::string::npos) {
    simulator.kill_hard();
  }
  create("go");
  EXPECT_EQ(process.wait_for_exit(5s), kStatus);
}

INSTANTIATE_TEST_SUITE_P(All, ProcessExit,
                         ::testing::Values("return_alive", "return_dead", "exit_dead", "shutdown_alive",
                                           "shutdown_dead", "moving_alive", "moving_dead_exit", "asking_alive",
                                           "asking_dead_exit", "unborn"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace norvik::test

int main(int argc, char** argv) {
  if (const std::string role = norvik::test::role_of_this_process(); !role.empty()) {
    return norvik::test::play(role);
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

// However an application ends, and whatever became of the robot: at once, with its own exit status.

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>

#include <norvik_sdk/sensor_callbacks.hpp>

#include "live/operations.hpp"
#include "live/self_process.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;

constexpr int kStatus = 7;
constexpr std::chrono::seconds kLimit{3};  // One second on a machine that does nothing else.

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

using Calls = std::vector<std::function<void()>>;

Calls getters() {
  using sdk::SensorType;
  return {[] { robot().get_joint_states({}); },
          [] { robot().get_joint_positions({"head"}); },
          [] { robot().get_joint_names(); },
          [] { robot().get_joint_group_names(); },
          [] { robot().check_trajectory_execution_status({}); },
          [] { robot().get_gripper_state("left_gripper"); },
          [] { robot().get_suction_cup_state("left_suction_cup"); },
          [] { robot().get_wbc_end_effector_poses(); },
          [] { robot().get_active_controller("head"); },
          [] { robot().get_imu_data(SensorType::TORSO_IMU); },
          [] { robot().get_odom(); },
          [] { robot().get_rgb_data(SensorType::HEAD_LEFT_CAMERA); },
          [] { robot().get_depth_data(SensorType::LEFT_ARM_DEPTH_CAMERA); },
          [] { robot().get_camera_intrinsic(SensorType::HEAD_LEFT_CAMERA); },
          [] { robot().get_lidar_data(SensorType::BASE_LIDAR); },
          [] { robot().get_synced_observation({SensorType::HEAD_LEFT_CAMERA}, {}); },
          [] { robot().get_transform("base_link", "odom", 0, 10); },
          [] { robot().get_transform("nowhere", "odom", 0, 60000); },
          [] { robot().get_sensor_extrinsic(SensorType::HEAD_LEFT_CAMERA); },
          [] { robot().get_frame_names(); },
          [] { robot().get_bms_information(); },
          [] { robot().get_log_information(); },
          [] { robot().get_device_information(); },
          [] { robot().get_volume(); },
          [] { robot().is_running(); }};
}

Calls commands(bool blocking) {
  Calls calls;
  for (const Operation& operation : operations_of(kK2)) {
    const auto& attempt = blocking ? operation.arrived : operation.accepted;
    if (attempt) {
      calls.push_back([call = attempt->call] { call(robot()); });
    }
  }
  return calls;
}

Calls registrations() {
  using sdk::SensorType;
  return {[] { sdk::get_sensor_callbacks(robot())->add_rgb_data_callback(SensorType::HEAD_LEFT_CAMERA, [](auto) {}); },
          [] { robot().start_microphone_stream_input([](auto) {}); },
          [] { robot().write_audio_stream_output(std::string(320, 'x')); },
          [] { robot().stop_microphone_stream_input(); }, [] { robot().register_exit_callback([] {}); }};
}

Calls beginnings() {
  return {[] { sdk::NorvikRobot::get_instance(sdk::MachineType::K2).init({sdk::SensorType::HEAD_LEFT_CAMERA}); },
          [] { sdk::NorvikRobot::get_instance(sdk::MachineType::R5).init(); },
          [] { sdk::NorvikRobot::get_instance(sdk::MachineType::R5).is_running(); }};
}

Calls endings() {
  return {[] { robot().request_shutdown(); }, [] { robot().wait_for_shutdown(); }, [] { robot().destroy(); }};
}

// Each call is made again and again on a thread of its own, while this process leaves.
int leave_while_inside(const std::string& kind) {
  const std::set<sdk::SensorType> sensors = {sdk::SensorType::HEAD_LEFT_CAMERA, sdk::SensorType::LEFT_ARM_DEPTH_CAMERA,
                                             sdk::SensorType::BASE_LIDAR, sdk::SensorType::TORSO_IMU};
  if (kind != "beginnings" && !(robot().init(sensors, true) && starts())) return 1;
  const Calls calls = kind == "getters"         ? getters()
                      : kind == "commands"      ? commands(false)
                      : kind == "waits"         ? commands(true)
                      : kind == "registrations" ? registrations()
                      : kind == "beginnings"    ? beginnings()
                                                : endings();
  for (const auto& call : calls) {
    std::thread([call] {
      while (true) {
        call();
        std::this_thread::sleep_for(std::chrono::microseconds(100));  // Leaves something of two processors.
      }
    }).detach();
  }
  std::mt19937 random(std::random_device{}());
  std::this_thread::sleep_for(std::chrono::milliseconds(random() % 300));
  create("leaving");
  return kStatus;
}

// Standard error is a pipe that nobody reads, and everything is logged to it: data stays fresh, commands arrive.
int work_unread() {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return 1;
  dup2(ends[1], STDERR_FILENO);
  ::setenv("OVIMUX_LOG_LEVEL", "0", 1);
  if (!starts() || !wait_for_motion()) return 2;
  const auto stamp = [] { return robot().get_odom() ? robot().get_odom()->timestamp_ns : 0; };
  for (int i = 0; i < 20; ++i) {
    const int64_t before = stamp();
    if (!eventually([&] { return stamp() > before; }, 1s)) return 3;
    std::this_thread::sleep_for(100ms);
  }
  return kStatus;
}

// The role is what the process is doing, and how it ends once the robot has met its fate.
int play(const std::string& role) {
  const auto has = [&](const char* word) { return role.find(word) != std::string::npos; };
  if (role.rfind("inside_", 0) == 0) return leave_while_inside(role.substr(std::strlen("inside_")));
  if (has("unread")) return work_unread();
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

class LeavingWhileInside : public ::testing::TestWithParam<const char*> {};

TEST_P(LeavingWhileInside, EndsWithItsStatusWithinASecond) {
  const char* const runs = std::getenv("NORVIK_TEST_RUNS");  // More of them for a search.
  const TempDir home;
  ::setenv("HOME", home.path().c_str(), 1);
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  for (int i = 0; i < (runs != nullptr ? std::atoi(runs) : 3); ++i) {
    std::filesystem::remove(in_home("leaving"));
    SelfProcess process("inside_" + std::string(GetParam()));
    ASSERT_TRUE(await("leaving"));
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(process.wait_for_exit(5s), kStatus) << "run " << i;
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit) << "run " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(, LeavingWhileInside,
                         ::testing::Values("getters", "commands", "waits", "registrations", "beginnings", "endings"),
                         [](const auto& test) { return std::string(test.param); });

TEST(UnreadStandardError, LeavesDataFreshAndTheProcessFreeToEnd) {
  const TempDir home;
  ::setenv("HOME", home.path().c_str(), 1);
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  SelfProcess process("unread");
  EXPECT_EQ(process.wait_for_exit(20s), kStatus);
}

}  // namespace
}  // namespace norvik::test

int main(int argc, char** argv) {
  if (const std::string role = norvik::test::role_of_this_process(); !role.empty()) {
    return norvik::test::play(role);
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

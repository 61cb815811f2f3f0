#include "live/live_robot.hpp"

#include <stdlib.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace norvik::test {

using sdk::ControlStatus;

const Setup kK2 = {"K2", sdk::MachineType::K2, "k2", "inspire", "2.0", "chassis"};
const Setup kK2Linker = {"K2_linker", sdk::MachineType::K2, "k2", "linker_l20", "2.0", "chassis"};
const Setup kK2Brainco = {"K2_brainco", sdk::MachineType::K2, "k2", "brainco", "2.0", "chassis"};
const Setup kR5 = {"R5", sdk::MachineType::R5, "r5", "inspire", "2.0", "swerve_chassis"};
const Setup kR5FirstRevision = {"R5_1_0", sdk::MachineType::R5, "r5", "inspire", "1.0", "swerve_chassis"};

namespace {

constexpr int kFatalCode = 0x30001;

std::vector<std::string> simulator_arguments(const Setup& setup, const std::vector<std::string>& more) {
  std::vector<std::string> arguments = {"--model", setup.model, "--hardware-version", setup.hardware_version};
  arguments.insert(arguments.end(), {"--hand", setup.hand});
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

// Before anything of the library exists.
const std::filesystem::path& use_as_home(const std::filesystem::path& path) {
  ::setenv("HOME", path.c_str(), 1);
  return path;
}

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

bool eventually(const std::function<bool()>& condition, std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

std::string to_text(ControlStatus status) {
  const std::string text = sdk::status_string_map_.at(static_cast<sdk::MotionStatus>(status));
  return text.substr(0, text.find(':'));
}

LiveRobot::LiveRobot(const Setup& setup, std::vector<std::string> arguments)
    : setup_(setup),
      simulator_(simulator_arguments(setup, arguments)),
      robot_((use_as_home(home_.path()), sdk::NorvikRobot::get_instance(setup.type))) {}

bool LiveRobot::start(bool with_errors) { return simulator_.start() && robot_.init() && becomes_ready(with_errors); }

bool LiveRobot::start_with(const std::set<sdk::SensorType>& sensors) {
  return simulator_.start() && robot_.init(sensors, true) && becomes_ready(true);
}

bool LiveRobot::becomes_ready(bool with_errors) {
  const auto reports = [this] {
    return robot_.get_joint_states({"head"}).size() == 2 && robot_.get_odom() &&
           robot_.get_gripper_state("left_gripper");
  };
  return eventually(reports) && (!with_errors || eventually([this] { return reports_errors(); })) &&
         hears_sharpa_commands();
}

// A motion without speed is refused after the look at the errors: nothing is sent either way.
bool LiveRobot::reports_errors() const {
  return robot_.set_joint_positions({0.0, 0.0}, {"head"}, {}, false, 0.0) == ControlStatus::INVALID_INPUT;
}

// Its channels open with the first command, which therefore may be lost.
bool LiveRobot::hears_sharpa_commands() {
  return setup_.model != "k2" || eventually([this] {
           robot_.set_dexhand_command("right_dexhand", std::vector<sdk::JointCommand>(22), sdk::DexHandType::SHARPA,
                                      false);
           sdk::DexhandState state;
           return robot_.get_dexhand_state("right_dexhand", state, sdk::DexHandType::SHARPA) ==
                      ControlStatus::SUCCESS &&
                  heard("/endtool/sharpa_dexhand_R/command_noblock") > 0;
         });
}

// Asks for nothing that could tell the base which controller it has.
bool LiveRobot::takes_targets() {
  sdk::TavrinoXTarget target;
  auto& head = target.target_group_trajectory_map["head"];
  head.target_config = {255, 14, 0, 1, "", {}};
  head.joint_names = {"head_joint1", "head_joint2"};
  head.group_commands = {{0.1, std::vector<sdk::JointCommand>(2)}};
  const auto report = robot_.RequestTarget(target);
  return report && report->errors.empty();
}

bool LiveRobot::restart_simulator() {
  const int64_t last_ns = robot_.get_odom()->timestamp_ns;
  // The stream is back when odometry is newer than what the dead one sent, and both services answer.
  return simulator_.restart() && eventually([&] { return robot_.get_odom()->timestamp_ns > last_ns; }) &&
         eventually([this] { return robot_.start_controller("left_arm") == ControlStatus::SUCCESS; }) &&
         eventually([this] { return takes_targets(); }) && hears_sharpa_commands();
}

std::string LiveRobot::log_path() const {
  for (const auto& file : std::filesystem::directory_iterator(home_.path() / "norvik_sdk_log" / setup_.model)) {
    return file.path().string();
  }
  return "";
}

// The log is written by one thread in order: once the mark is in the file, everything before it is too.
std::vector<LogRecord> LiveRobot::take_log() {
  const std::string mark = "mark " + std::to_string(++mark_);
  robot_.get_active_controller(mark);
  const std::string path = log_path();
  std::size_t end = taken_;
  EXPECT_TRUE(eventually([&] {
    log_.read_on(path);
    while (end < log_.records().size() && !ends_with(log_.records()[end].text, mark)) {
      ++end;
    }
    return end < log_.records().size();
  })) << "the log's writer thread did not write";
  const auto first = log_.records().begin() + static_cast<std::ptrdiff_t>(taken_);
  const std::vector<LogRecord> records(first, log_.records().begin() + static_cast<std::ptrdiff_t>(end));
  taken_ = std::min(end + 1, log_.records().size());
  return records;
}

int LiveRobot::heard(const std::string& endpoint) { return state()["counters"].value(endpoint, 0); }

void LiveRobot::control(const nlohmann::json& command) {
  const auto answer = control_.send(command);
  EXPECT_EQ(answer.value("ok", false), true) << command << " " << answer;
}

bool LiveRobot::make_faulty(const std::string& group) {
  faulty_group_ = group;
  control({{"op", "error"}, {"group", group}, {"code", kFatalCode}, {"description", "injected"}});
  return eventually([this] {
    return robot_.check_trajectory_execution_status({faulty_group_})[0] ==
           sdk::TrajectoryControlStatus::TRAJECTORY_FAULT;
  });
}

bool LiveRobot::clear_faults() {
  control({{"op", "clear"}});
  return faulty_group_.empty() || eventually([this] {
           return robot_.check_trajectory_execution_status({faulty_group_})[0] !=
                  sdk::TrajectoryControlStatus::TRAJECTORY_FAULT;
         });
}

}  // namespace norvik::test

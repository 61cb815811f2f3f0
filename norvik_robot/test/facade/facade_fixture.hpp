#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <norvik_sdk/norvik_robot.hpp>

#include "logger.hpp"
#include "ovimux/node.hpp"
#include "support/sdk_log_capture.hpp"
#include "support/temp_dir.hpp"

namespace norvik::sdk {

// Every case runs in a process of its own, with a home of its own.
class Facade : public ::testing::Test {
 protected:
  Facade() { ::setenv("HOME", home_.path().c_str(), 1); }

  static NorvikRobot& k2() { return NorvikRobot::get_instance(MachineType::K2); }
  static NorvikRobot& r5() { return NorvikRobot::get_instance(MachineType::R5); }

  // All records of the log that init() opened.
  static std::vector<test::LogRecord> log_of_init() {
    test::SdkLogCapture wait_for_writer;
    return test::read_log_file(Logger::get_instance().get_log_path() + Logger::get_instance().get_log_file_name());
  }

  test::TempDir home_;
};

// The far ends of the whole-body services, which answer nothing: init() finds them and need not wait for time-outs.
class SilentController {
 public:
  SilentController() : node_(ovimux::CreateNode("silent_controller", "")) {
    for (const char* const service : {"tavrinox/wbcs/target_server", "tavrinox/wbcs/controller_server"}) {
      ovimux::Qos qos;
      qos.payload_kind = ovimux::kLargePayloadKind;
      const auto ignore = [](const void*, int, const void*) {};
      endpoints_.push_back(node_->CreateReader(service + std::string("__RPC__REQUEST"), ignore, qos, nullptr, false));
      writers_.push_back(node_->CreateWriter(service + std::string("__RPC__RESPONSE"), qos, false));
    }
  }

 private:
  std::unique_ptr<ovimux::Node> node_;
  std::vector<std::shared_ptr<ovimux::RawReader>> endpoints_;
  std::vector<std::shared_ptr<ovimux::RawWriter>> writers_;
};

// Repeats `attempt` until it succeeds; false after 10 s.
inline bool eventually(const std::function<bool()>& attempt) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!attempt()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

inline int count_text(const std::vector<test::LogRecord>& records, const std::string& level, const std::string& text) {
  int count = 0;
  for (const auto& record : records) {
    count += record.level == level && record.text == text ? 1 : 0;
  }
  return count;
}

}  // namespace norvik::sdk

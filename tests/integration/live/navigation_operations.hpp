#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <norvik_sdk/norvik_navigation.hpp>

#include "live/live_robot.hpp"

namespace norvik::test {

// The library's navigation in this process, and a simulated robot in another. One for each process.
class LiveNavigation {
 public:
  explicit LiveNavigation(const Setup& setup, const std::vector<std::string>& simulator_arguments = {});

  // Simulator and init; with `ready`, until goals are accepted.
  bool start(bool ready = true);

  void control(const nlohmann::json& command);
  // What happens to the next answers of a service; "none" takes it back.
  void disturb(const std::string& service, const std::string& fault, int count = -1);

  sdk::NorvikNavigation& navigation() { return navigation_; }
  SimulatorProcess& simulator() { return simulator_; }

 private:
  TempDir home_;
  SimulatorProcess simulator_;
  sdk::NorvikNavigation& navigation_;
  SimulatorControl control_;
};

// A call, its answer as text, and a record that tells why; no text, no look.
struct NavigationAttempt {
  std::function<std::string(sdk::NorvikNavigation&)> call;
  std::string answer;
  std::string text;
};

// One operation of the facade, and what can happen to it.
struct NavigationOperation {
  std::string name;
  std::string service;         // that it asks, if it asks one
  NavigationAttempt accepted;  // returns at once where the operation can
  std::optional<NavigationAttempt> refused;
  std::string unheard;                      // answer while the service has never been heard
  std::optional<std::string> refused_once;  // by the service
  std::optional<std::string> refused_always;
  std::optional<NavigationAttempt> silent;      // no answer; the same call as `accepted`
  std::optional<NavigationAttempt> arrived;     // waits
  std::optional<NavigationAttempt> timed_out;   // waits for a goal that it cannot reach in time
  std::optional<NavigationAttempt> stopped;     // another thread stops the robot
  std::optional<NavigationAttempt> overridden;  // another program gives the robot a task
};

std::vector<NavigationOperation> navigation_operations();

// Calls, and expects answer and record.
void expect_attempt(sdk::NorvikNavigation& navigation, const NavigationAttempt& attempt);

}  // namespace norvik::test

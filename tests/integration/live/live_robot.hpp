#pragma once

#include <chrono>
#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <norvik_sdk/norvik_robot.hpp>

#include "support/log_file.hpp"
#include "support/simulator_process.hpp"
#include "support/temp_dir.hpp"

namespace norvik::test {

// One robot as the tests meet it.
struct Setup {
  std::string name;
  sdk::MachineType type;
  std::string model;
  std::string hand;  // of a K2
  std::string hardware_version;
  std::string chassis;  // its base's group
};
inline std::ostream& operator<<(std::ostream& stream, const Setup& setup) { return stream << setup.name; }

extern const Setup kK2;
extern const Setup kK2Linker;
extern const Setup kK2Brainco;
extern const Setup kR5;
extern const Setup kR5FirstRevision;

// Repeats `condition` until it holds; false after `limit`.
bool eventually(const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds(20));

std::string to_text(sdk::ControlStatus status);

// The library in this process, and a simulated robot in another. One for each process: the library starts once.
class LiveRobot {
 public:
  explicit LiveRobot(const Setup& setup, std::vector<std::string> simulator_arguments = {});

  // Simulator, init, and the first reports of everything that commands look at; false when one of them fails.
  // `with_errors` is false for a robot that never reports its errors.
  bool start(bool with_errors = true);
  // The same with sensors, and the histories of synchronised observation.
  bool start_with(const std::set<sdk::SensorType>& sensors);
  // False when the library has not found the new simulator after a while.
  bool restart_simulator();

  // What the library has logged since the last call of this.
  std::vector<LogRecord> take_log();

  // Requests and messages that the simulator has got on a topic or service.
  int heard(const std::string& endpoint);
  // A command for the simulator; a test failure when it refuses.
  void control(const nlohmann::json& command);
  // An error of a group, until the library has heard of it, and no error any more.
  bool make_faulty(const std::string& group);
  bool clear_faults();

  sdk::NorvikRobot& robot() { return robot_; }
  SimulatorProcess& simulator() { return simulator_; }
  nlohmann::json state() { return control_.state(); }

 private:
  bool becomes_ready(bool with_errors);
  bool reports_errors() const;
  bool hears_sharpa_commands();
  bool takes_targets();
  std::string log_path() const;

  const Setup setup_;
  TempDir home_;
  SimulatorProcess simulator_;
  sdk::NorvikRobot& robot_;
  SimulatorControl control_;
  LogFollower log_;
  std::size_t taken_ = 0;
  int mark_ = 0;
  std::string faulty_group_;
};

}  // namespace norvik::test

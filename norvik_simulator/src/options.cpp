#include "options.hpp"

#include <cstdio>
#include <regex>
#include <CLI/CLI.hpp>

#include "navigation/map/map_file.hpp"

namespace norvik::simulator {

namespace {

constexpr int kUsageError = 2;

constexpr const char* kFooter = R"(
Environment:
  OVIMUX_DOMAIN_ID           DDS domain, 0 (default) to 232
  OVIMUX_LOCALHOST_ONLY=1    talk to this machine only
  NORVIK_SIMULATOR_MODELS    folder of the robot models (*.urdf)

Examples:
  norvik_simulator --model k2
  norvik_simulator --control '{"op":"error","group":"left_arm","code":196609,"description":"overheated"}'
  norvik_simulator --control '{"op":"state"}')";

// "640x480"
std::string read_picture_size(const std::string& text, SensorSettings& sensors) {
  int width = 0;
  int height = 0;
  char rest = 0;
  const bool good = std::sscanf(text.c_str(), "%dx%d%c", &width, &height, &rest) == 2;
  if (!good || width < 128 || width > 1920 || height < 96 || height > 1080) {
    return "is no size from 128x96 to 1920x1080: " + text;
  }
  sensors.picture_width = width;
  sensors.picture_height = height;
  return "";
}

// "2.0": numbers with points between them.
std::string check_version(const std::string& text) {
  static const std::regex kVersion("[0-9]{1,4}([.][0-9]{1,4}){1,3}");
  return std::regex_match(text, kVersion) ? "" : "is no version such as 2.0: " + text.substr(0, 64);
}

void declare_sensor_options(CLI::App& app, SensorSettings& sensors) {
  app.add_option_function<std::string>(
         "--camera-size", [](const std::string&) {}, "Pixels of all cameras [640x480]")
      ->check([&sensors](const std::string& text) { return read_picture_size(text, sensors); });
  app.add_option("--camera-rate", sensors.camera_hertz, "Pictures per second")
      ->check(CLI::Range(0.1, 60.0))
      ->capture_default_str();
  app.add_option("--lidar-rate", sensors.lidar_hertz, "Scans per second")
      ->check(CLI::Range(0.1, 60.0))
      ->capture_default_str();
  app.add_flag("--infrared", sensors.infrared, "The arm cameras start in infrared mode");
  app.add_option(
      "--observer-camera", sensors.observer_prefix,
      "Look at the robot from outside: a picture every second in PREFIX0000.png and so on, the last 100; more "
      "on control op observe");
  app.add_option("--speaker-folder", sensors.speaker_folder, "Write what the speaker plays there, a WAV file a stream")
      ->check(CLI::ExistingDirectory);
}

void declare_map_options(CLI::App& app, Options& options) {
  app.add_option_function<std::string>(
         "--map", [](const std::string&) {}, "Map (YAML and PGM) that the robot drives by, in place of what it sees")
      ->check([&options](const std::string& path) {
        std::string error;
        options.map = load_map(path, error);
        return error;
      });
  app.add_option("--save-map", options.save_map, "Write the map of the surroundings to this YAML file, and end");
  app.add_option("--picture-folder", options.picture_folder, "Where pictures of the map and the driven way go")
      ->check(CLI::ExistingDirectory);
}

void declare_options(CLI::App& app, Options& options) {
  app.add_option("--model", options.robot.model, "Robot model")
      ->check(CLI::IsMember(supported_models()))
      ->capture_default_str();
  app.add_option("--hardware-version", options.robot.hardware_version,
                 "Hardware version the robot reports; 1.x selects the first revision of the r5")
      ->check(check_version)
      ->capture_default_str();
  app.add_option("--hand", options.robot.hand, "Dexterous hands of the k2")
      ->check(CLI::IsMember(supported_hands()))
      ->capture_default_str();
  app.add_option("--rate", options.rate, "Steps and reports per second")
      ->check(CLI::Range(1.0, 2000.0))
      ->capture_default_str();
  app.add_option("--seed", options.seed, "Other than 0: moves and turns the things on the tables a little")
      ->capture_default_str();
  declare_sensor_options(app, options.sensors);
  app.add_option("--faults", options.faults_file, "JSON list of control commands, each with an optional \"at_s\"");
  declare_map_options(app, options);
  app.add_option("--control", options.control, "Send one control command to the running simulator, print its answer");
  app.add_flag("--list", options.list, "Print every topic and service of the model, one a line");
  app.add_flag("--force", options.force, "Start even where another robot serves already (status 3 otherwise)");
  app.add_flag("--exit-with-stdin", options.exit_with_stdin, "End when the standard input is closed");
  app.footer(kFooter);
}

}  // namespace

ParsedOptions parse_options(int argc, const char* const* argv) {
  CLI::App app("The simulated robot: speaks the wire as a K2 or R5 would.", "norvik_simulator");
  Options options;
  declare_options(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return {std::nullopt, app.exit(error) == 0 ? 0 : kUsageError};
  }
  return {options, 0};
}

}  // namespace norvik::simulator

#include "options.hpp"

#include <CLI/CLI.hpp>

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

void declare_options(CLI::App& app, Options& options) {
  app.add_option("--model", options.robot.model, "Robot model")
      ->check(CLI::IsMember(supported_models()))
      ->capture_default_str();
  app.add_option("--hardware-version", options.robot.hardware_version,
                 "Hardware version the robot reports; 1.x selects the first revision of the r5")
      ->capture_default_str();
  app.add_option("--hand", options.robot.hand, "Dexterous hands of the k2")
      ->check(CLI::IsMember(supported_hands()))
      ->capture_default_str();
  app.add_option("--rate", options.rate, "Steps and reports per second")
      ->check(CLI::Range(1.0, 2000.0))
      ->capture_default_str();
  app.add_option("--faults", options.faults_file, "JSON list of control commands, each with an optional \"at_s\"");
  app.add_option("--control", options.control, "Send one control command to the running simulator, print its answer");
  app.add_flag("--list", options.list, "Print every topic and service of the model, one a line");
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

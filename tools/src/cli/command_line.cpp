#include "cli/command_line.hpp"

#include <iostream>
#include <sstream>
#include <CLI/CLI.hpp>
#include <norvik_sdk/version.hpp>

#include "cli/output.hpp"
#include "model/model_channels.hpp"

namespace norvik::tools {
namespace {

constexpr double kLongestWindow = 3600.0;

constexpr const char* kFooter = R"(
Environment:
  OVIMUX_DOMAIN_ID           DDS domain, 0 (default) to 232
  OVIMUX_LOCALHOST_ONLY=1    talk to this machine only

Exit status: 0 done, 1 nothing found or received, or problems found, 2 wrong usage, 130 interrupted (128 and the
number of the signal), 141 the reader of the output went away.

Examples:
  norvik topics --rate
  norvik echo tavrinox/wbcs/wbc_info --count 1
  norvik echo bms --json | jq .message.soc
  norvik hz /front_head_camera/left_color/image_raw --window 5
  norvik doctor --model k2)";

void add_common_options(CLI::App& app, CommonOptions& options) {
  app.add_option("--domain", options.domain, "DDS domain, instead of OVIMUX_DOMAIN_ID")->check(CLI::Range(0, 232));
  app.add_flag("--local", options.local, "Talk to this machine only; works without multicast");
  app.add_flag("--json", options.json, "Print JSON, one document a line");
  app.add_option("--timeout", options.timeout_s, "Seconds to wait for what is asked for; 0: no limit")
      ->check(CLI::Range(0.0, kLongestWindow))
      ->capture_default_str();
}

CLI::App* add_topics(CLI::App& app, TopicsOptions& options) {
  auto* verb = app.add_subcommand("topics", "List every channel: who publishes, reads, serves or calls it");
  verb->add_flag("--rate", options.rate, "Measure the rates; receives every published topic for a while");
  verb->add_option("--window", options.window_s, "Seconds to measure the rates for")
      ->check(CLI::Range(0.1, kLongestWindow))
      ->capture_default_str();
  return verb;
}

CLI::App* add_echo(CLI::App& app, EchoOptions& options) {
  auto* verb = app.add_subcommand("echo", "Print the messages of a topic");
  verb->add_option("topic", options.topic, "Name of the topic")->required();
  verb->add_option("--count", options.count, "End after this many messages");
  verb->add_flag("--raw", options.raw, "Do not decode: text or hexadecimal bytes");
  return verb;
}

CLI::App* add_hz(CLI::App& app, HzOptions& options) {
  auto* verb = app.add_subcommand("hz", "Measure rate, size, latency and loss of a topic, without decoding it");
  verb->add_option("topic", options.topic, "Name of the topic")->required();
  verb->add_option("--window", options.window_s, "Seconds that one report covers")
      ->check(CLI::Range(0.1, kLongestWindow))
      ->capture_default_str();
  verb->add_option("--count", options.count, "End after this many reports");
  return verb;
}

CLI::App* add_doctor(CLI::App& app, DoctorOptions& options) {
  auto* verb = app.add_subcommand("doctor", "Find out why nothing, or not everything, arrives");
  verb->add_option("--model", options.model, "Also look for all services and topics of this robot model")
      ->check(CLI::IsMember(known_models()));
  return verb;
}

}  // namespace

ParsedCommandLine parse_command_line(int argc, const char* const* argv) {
  Command command;
  TopicsOptions topics;
  EchoOptions echo;
  HzOptions hz;
  DoctorOptions doctor;
  CLI::App app("Shows what is on the robot's wire, and what is wrong with it.", "norvik");
  app.set_version_flag("--version", NORVIK_SDK_VERSION);
  app.require_subcommand(1);
  app.fallthrough();  // The common options may follow the verb.
  app.footer(kFooter);
  add_common_options(app, command.common);
  add_topics(app, topics)->final_callback([&] { command.verb = topics; });
  add_echo(app, echo)->final_callback([&] { command.verb = echo; });
  add_hz(app, hz)->final_callback([&] { command.verb = hz; });
  add_doctor(app, doctor)->final_callback([&] { command.verb = doctor; });
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::ostringstream wanted;  // Help and version.
    const int status = app.exit(error, wanted, std::cerr) == 0 ? kSuccess : kUsageError;
    print(wanted.str());
    return {std::nullopt, status};
  }
  return {command, kSuccess};
}

}  // namespace norvik::tools

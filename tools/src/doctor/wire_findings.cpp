#include "doctor/wire_findings.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <cmath>

#include <nlohmann/json.hpp>

#include "model/model_channels.hpp"

namespace norvik::tools {
namespace {

constexpr double kNoticeableClockDifference = 0.05;
constexpr double kHarmfulClockDifference = 0.5;
// What a robot reports that was not told its own model.
constexpr const char* kUntold = "unknown_robot_type";

bool is_offered(const std::vector<Channel>& channels, const ModelChannel& wanted) {
  return std::any_of(channels.begin(), channels.end(),
                     [&wanted](const Channel& c) { return c.name == wanted.name && c.has(wanted.role); });
}

Finding judge_presence(const std::vector<std::string>& missing, const std::string& what, Level level,
                       const std::string& remedy) {
  if (missing.empty()) {
    return {Level::kOk, "model", fmt::format("all {} are there", what), ""};
  }
  return {level, "model", fmt::format("{} of the {} are missing: {}", missing.size(), what, fmt::join(missing, ", ")),
          remedy};
}

// Not of an empty list.
double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::string text_of(const nlohmann::ordered_json& report, const char* key) {
  const auto value = report.find(key);
  return value != report.end() && value->is_string() ? value->get<std::string>() : "";
}

// Lower case; a number for a model that this release has no name for, empty when the robot does not tell.
std::string robot_type(const nlohmann::ordered_json& onboard_config) {
  const auto value = onboard_config.find("robot_type");
  if (value != onboard_config.end() && value->is_number_integer()) {
    return "model number " + value->dump();
  }
  std::string type = text_of(onboard_config, "robot_type");
  std::transform(type.begin(), type.end(), type.begin(), [](unsigned char c) { return std::tolower(c); });
  return type == kUntold ? "" : type;
}

std::string remedy_for_model(const std::string& type) {
  const auto& known = known_models();
  return std::find(known.begin(), known.end(), type) != known.end()
             ? "norvik doctor --model " + type
             : fmt::format("this release commands {} only", fmt::join(known, " and "));
}

}  // namespace

Finding judge_silence(int domain, const std::map<int, std::string>& other_domains) {
  Finding finding{Level::kProblem, "processes", fmt::format("nobody answers on domain {}", domain),
                  "start the robot's services, or: norvik_simulator"};
  for (const auto& [other, hosts] : other_domains) {
    finding.text += fmt::format("; somebody uses DDS on domain {} ({})", other, hosts);
  }
  if (!other_domains.empty()) {
    finding.remedy = fmt::format("norvik doctor --domain {}", other_domains.begin()->first);
  }
  return finding;
}

Findings judge_servers(const std::vector<Channel>& channels) {
  std::map<std::vector<std::string>, std::vector<std::string>> services;  // By the texts of their servers.
  for (const Channel& channel : channels) {
    std::vector<std::string> servers;
    for (const Endpoint& endpoint : channel.endpoints) {
      if (endpoint.role == Role::kServes) {
        servers.push_back(endpoint.owner.text());
      }
    }
    if (servers.size() > 1) {
      services[servers].push_back(channel.name);
    }
  }
  Findings findings;
  for (const auto& [servers, names] : services) {
    findings.push_back({Level::kProblem, "servers",
                        fmt::format("\"{}\" {} answered by {} servers: {}", fmt::join(names, "\", \""),
                                    names.size() == 1 ? "is" : "are", servers.size(), fmt::join(servers, ", ")),
                        "stop all but one, or give each robot an OVIMUX_DOMAIN_ID of its own"});
  }
  return findings;
}

Findings judge_model(const std::vector<Channel>& channels, const std::string& model) {
  std::vector<std::string> essential;
  std::vector<std::string> sensors;
  for (const ModelChannel& wanted : channels_of_model(model)) {
    if (wanted.need != Need::kOptional && !is_offered(channels, wanted)) {
      (wanted.need == Need::kEssential ? essential : sensors).push_back(wanted.name);
    }
  }
  return {judge_presence(essential, "essential channels of a " + model, Level::kProblem,
                         "start the robot's services, or: norvik_simulator --model " + model),
          judge_presence(sensors, "sensor channels of a " + model, Level::kWarning,
                         "check that the sensors you need are switched on")};
}

Findings judge_clocks(const std::map<std::string, std::vector<double>>& least_latencies_s) {
  Findings findings;
  for (const auto& [process, least_s] : least_latencies_s) {
    const double difference_s = median(least_s);
    const double size_s = std::abs(difference_s);
    if (size_s >= kNoticeableClockDifference) {
      findings.push_back(
          {size_s >= kHarmfulClockDifference ? Level::kProblem : Level::kWarning, "clock",
           fmt::format("{} is {:.3f} s {} this machine", process, size_s, difference_s > 0 ? "behind" : "ahead of"),
           "sudo chronyc makestep  # on the machine that is wrong"});
    }
  }
  if (findings.empty() && !least_latencies_s.empty()) {
    findings.push_back(
        {Level::kOk, "clock",
         fmt::format("{} processes agree within {:.0f} ms", least_latencies_s.size(), kNoticeableClockDifference * 1e3),
         ""});
  }
  return findings;
}

Findings judge_losses(const std::map<std::string, uint64_t>& lost) {
  Findings findings;
  for (const auto& [topic, number] : lost) {
    if (number > 0) {
      findings.push_back({Level::kWarning, "loss", fmt::format("{} samples of \"{}\" were lost", number, topic),
                          "norvik hz " + topic});
    }
  }
  return findings;
}

Findings judge_robot(const nlohmann::ordered_json& onboard_config, const std::string& model) {
  const std::string type = robot_type(onboard_config);
  Findings findings = {
      {Level::kOk, "robot",
       fmt::format("{} \"{}\", hardware {}, software {}", type.empty() ? "unknown model" : type,
                   text_of(onboard_config, "robot_name"), text_of(onboard_config, "robot_hardware_version"),
                   text_of(onboard_config, "mainline_version")),
       ""}};
  if (!model.empty() && type.empty()) {
    findings.push_back({Level::kWarning, "robot", "the robot does not tell which model it is",
                        "norvik echo /norvik/mission_manager/onboard_config"});
  } else if (!model.empty() && type != model) {
    findings.push_back(
        {Level::kProblem, "robot", fmt::format("the robot is a {}, not a {}", type, model), remedy_for_model(type)});
  }
  if (const auto stop = onboard_config.find("emergency_stop"); stop != onboard_config.end() && *stop == true) {
    findings.push_back({Level::kWarning, "robot", "the emergency stop is pressed: no motion is carried out",
                        "release the emergency stop"});
  }
  return findings;
}

}  // namespace norvik::tools

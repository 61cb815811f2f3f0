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
constexpr double kHarmfulClockDifference = 1.0;

// Why a sender and a receiver of one channel do not match; empty if they do.
std::string mismatch(const Endpoint& sender, const Endpoint& receiver) {
  if (sender.large != receiver.large) {
    return fmt::format("one side uses the {} envelope, the other does not", sender.large ? "large" : "small");
  }
  if (receiver.latched && !sender.latched) {
    return "the reader asks for the last message of before its start, the writer does not keep it";
  }
  if (sender.type != kRawType && receiver.type != kRawType && sender.type != receiver.type) {
    return fmt::format("{} is sent, {} is expected", sender.type, receiver.type);
  }
  return "";
}

bool are_counterparts(const Endpoint& sender, const Endpoint& receiver) {
  return (sender.role == Role::kPublishes && receiver.role == Role::kReads) ||
         (sender.role == Role::kServes && receiver.role == Role::kCalls);
}

void judge_channel(const Channel& channel, Findings& findings) {
  for (const Endpoint& sender : channel.endpoints) {
    for (const Endpoint& receiver : channel.endpoints) {
      const std::string reason = are_counterparts(sender, receiver) ? mismatch(sender, receiver) : "";
      if (!reason.empty()) {
        findings.push_back(
            {Level::kProblem, "mismatch",
             fmt::format("\"{}\" of {} does not reach {}: {}", channel.name, sender.owner(), receiver.owner(), reason),
             "run programs of the same release on both sides"});
      }
    }
  }
}

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

std::string text_of(const nlohmann::ordered_json& report, const char* key) {
  const auto value = report.find(key);
  return value != report.end() && value->is_string() ? value->get<std::string>() : "";
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

Findings judge_compatibility(const std::vector<Channel>& channels) {
  Findings findings;
  for (const Channel& channel : channels) {
    judge_channel(channel, findings);
  }
  if (findings.empty()) {
    findings.push_back({Level::kOk, "channels", fmt::format("{}, writers and readers fit", channels.size()), ""});
  }
  return findings;
}

Findings judge_model(const std::vector<Channel>& channels, const std::string& model) {
  std::vector<std::string> essential;
  std::vector<std::string> sensors;
  for (const ModelChannel& wanted : channels_of_model(model)) {
    if (!is_offered(channels, wanted)) {
      (wanted.essential ? essential : sensors).push_back(wanted.name);
    }
  }
  return {judge_presence(essential, "essential channels of a " + model, Level::kProblem,
                         "start the robot's services, or: norvik_simulator --model " + model),
          judge_presence(sensors, "sensor channels of a " + model, Level::kWarning,
                         "check that the sensors you need are switched on")};
}

Findings judge_clocks(const std::map<std::string, double>& least_latency_s) {
  Findings findings;
  for (const auto& [process, difference_s] : least_latency_s) {
    const double size_s = std::abs(difference_s);
    if (size_s >= kNoticeableClockDifference) {
      findings.push_back(
          {size_s >= kHarmfulClockDifference ? Level::kProblem : Level::kWarning, "clock",
           fmt::format("{} is {:.3f} s {} this machine", process, size_s, difference_s > 0 ? "behind" : "ahead of"),
           "sudo chronyc makestep  # on the machine that is wrong"});
    }
  }
  if (findings.empty() && !least_latency_s.empty()) {
    findings.push_back(
        {Level::kOk, "clock",
         fmt::format("{} processes agree within {:.0f} ms", least_latency_s.size(), kNoticeableClockDifference * 1e3),
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
  std::string type = text_of(onboard_config, "robot_type");
  std::transform(type.begin(), type.end(), type.begin(), [](unsigned char c) { return std::tolower(c); });
  Findings findings = {
      {Level::kOk, "robot",
       fmt::format("{} \"{}\", hardware {}, software {}", type, text_of(onboard_config, "robot_name"),
                   text_of(onboard_config, "robot_hardware_version"), text_of(onboard_config, "mainline_version")),
       ""}};
  if (!model.empty() && !type.empty() && type != model) {
    findings.push_back({Level::kProblem, "robot", fmt::format("the robot is a {}, not a {}", type, model),
                        fmt::format("norvik doctor --model {}", type)});
  }
  if (const auto stop = onboard_config.find("emergency_stop"); stop != onboard_config.end() && *stop == true) {
    findings.push_back({Level::kWarning, "robot", "the emergency stop is pressed: no motion is carried out",
                        "release the emergency stop"});
  }
  return findings;
}

}  // namespace norvik::tools

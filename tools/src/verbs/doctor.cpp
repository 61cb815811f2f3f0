// Looks for reasons why nothing, or not everything, arrives.
#include <fastrtps/config.h>
#include <fmt/format.h>
#include <google/protobuf/stubs/common.h>

#include <iostream>
#include <memory>
#include <set>
#include <norvik_sdk/version.hpp>

#include <nlohmann/json.hpp>

#include "doctor/host_findings.hpp"
#include "doctor/wire_findings.hpp"
#include "messages/message_decoder.hpp"
#include "network/domain_probe.hpp"
#include "network/network.hpp"
#include "network/sample_inbox.hpp"
#include "network/sample_tap.hpp"
#include "ovimux/ovimux.hpp"
#include "ovimux/role_attributes.pb.h"
#include "verbs/verbs.hpp"

namespace norvik::tools {
namespace {

constexpr double kListenTime = 1.5;
constexpr size_t kReportBytes = 1U << 20U;
constexpr const char* kReportTopic = "/norvik/mission_manager/onboard_config";

void append(Findings& findings, const Findings& more) { findings.insert(findings.end(), more.begin(), more.end()); }

Finding versions() {
  return {Level::kOk, "versions",
          fmt::format("norvik_sdk {}, ovimux {}, Fast DDS {}, Protocol Buffers {}", NORVIK_SDK_VERSION,
                      ovimux::kOvimuxBuildVersion, FASTRTPS_VERSION_STR,
                      google::protobuf::internal::VersionString(GOOGLE_PROTOBUF_VERSION)),
          ""};
}

Finding list_processes(const Topology& topology) {
  std::set<std::string> names;
  for (const auto& state : topology) {
    names.insert(fmt::format("{} ({}) on {}", state->process_name(), state->process_id(), state->host_name()));
  }
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return {Level::kOk, "processes", text, ""};
}

// Listens to every small topic: pictures would load the network that is to be examined.
void listen_to_streams(const std::vector<Channel>& channels, Findings& findings) {
  std::map<std::string, std::unique_ptr<Meter>> meters;
  std::map<int, std::string> owners;
  ListenTarget target;
  Complaint ignored;
  for (const Channel& channel : channels) {
    if (channel.has(Role::kPublishes) && find_target(channels, channel.name, target, ignored) && !target.large) {
      meters[channel.name] = std::make_unique<Meter>(target, kListenTime);
      for (const Endpoint& endpoint : channel.endpoints) {
        owners[endpoint.pid] = endpoint.owner();
      }
    }
  }
  wait_until(kListenTime, [] { return false; });
  std::map<std::string, double> least_latency;
  std::map<std::string, uint64_t> lost;
  for (const auto& [topic, meter] : meters) {
    for (const auto& [sender, count] : meter->senders()) {
      const double latency_s = static_cast<double>(count.least_latency_ns) * 1e-9;
      const auto [entry, is_new] = least_latency.emplace(owners[sender.pid], latency_s);
      entry->second = is_new ? latency_s : std::min(entry->second, latency_s);
      lost[topic] += count.lost;
    }
  }
  append(findings, judge_clocks(least_latency));
  append(findings, judge_losses(lost));
}

void ask_robot(const Topology& topology, const std::vector<Channel>& channels, const std::string& model,
               Findings& findings) {
  ListenTarget target;
  Complaint ignored;
  if (!find_target(channels, kReportTopic, target, ignored)) {
    return;
  }
  SampleInbox inbox(kReportBytes);
  const SampleTap tap(target, true,
                      [&inbox](const SampleHeader& header, Bytes& payload) { inbox.put(header, payload); });
  wait_until(kListenTime, [&inbox] { return !inbox.is_empty(); });
  const auto sample = inbox.take();
  const auto decoded =
      sample ? MessageDecoder(topology, target.type).decode(sample->payload) : MessageDecoder::Result();
  const auto report = nlohmann::ordered_json::parse(decoded.json, nullptr, false);
  if (report.is_object()) {
    append(findings, judge_robot(report, model));
  } else {
    findings.push_back({Level::kWarning, "robot", "the robot does not report its model and versions",
                        fmt::format("norvik echo {}", kReportTopic)});
  }
}

void examine_network(const CommonOptions& common, const std::string& model, Findings& findings) {
  const Network network(common);
  const Topology topology = network.await_everybody();
  if (topology.empty()) {
    const int domain = effective_domain(common);
    findings.push_back(judge_silence(domain, find_other_domains(domain, is_local(common))));
    return;
  }
  const auto channels = channels_of(topology);
  findings.push_back(list_processes(topology));
  append(findings, judge_compatibility(channels));
  ask_robot(topology, channels, model, findings);
  if (!model.empty()) {
    append(findings, judge_model(channels, model));
  }
  listen_to_streams(channels, findings);
}

}  // namespace

int run(const CommonOptions& common, const DoctorOptions& options) {
  ovimux::Logger::getInstance().set_log_level(ovimux::kLogOff);  // The findings say it, with a remedy.
  Findings findings = {versions()};
  append(findings, judge_host(read_host_facts(), {effective_domain(common), is_local(common)}));
  examine_network(common, options.model, findings);
  if (common.json) {
    std::cout << to_json(findings) << std::endl;
  } else {
    std::cout << to_text(findings) << std::flush;
  }
  return count(findings, Level::kProblem) > 0 ? kFailure : kSuccess;
}

}  // namespace norvik::tools
